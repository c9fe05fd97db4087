#include "Platforms/Linux/DesktopEntries.hpp"
#include "Tests/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

using Linux::DesktopEntries;

namespace fs = std::filesystem;

namespace {

class DesktopEntriesTest : public testing::Test {
protected:
    DesktopEntriesTest() {
        fs::create_directory(own());
        fs::create_directory(everybodys());
    }

    fs::path own() const { return root_.path() / "own"; }
    fs::path everybodys() const { return root_.path() / "everybodys"; }

    static void write(const fs::path& file, const std::string& text) { std::ofstream(file) << text; }

    std::optional<std::string> name(const std::string& windowClass,
                                    const std::string& locale = "en_GB") const {
        return nameIn(DesktopEntries({own(), everybodys()}, locale), windowClass);
    }

    static std::optional<std::string> nameIn(const DesktopEntries& entries, const std::string& windowClass) {
        const auto entry = entries.ofClass(windowClass);
        return entry ? std::optional(entry->name) : std::nullopt;
    }

private:
    TemporaryFolder root_;
};

} // namespace

TEST_F(DesktopEntriesTest, FindsAProgramByItsFileOrByTheClassItAnnounces) {
    write(own() / "xterm.desktop", "[Desktop Entry]\nName=Terminal\n");
    write(own() / "org.example.Editor.desktop",
          "[Desktop Entry]\nName = Text Editor \nStartupWMClass=Gedit\n");
    EXPECT_EQ(name("xterm"), "Terminal");
    EXPECT_EQ(name("XTerm"), "Terminal");
    EXPECT_EQ(name("gedit"), "Text Editor");
    EXPECT_EQ(name("org.example.editor"), "Text Editor");
    EXPECT_EQ(name("firefox"), std::nullopt);
    EXPECT_EQ(name(""), std::nullopt);
}

TEST_F(DesktopEntriesTest, FindsAProgramByTheLastPartOfItsFileOrByItsExecutable) {
    write(own() / "org.xfce.mousepad.desktop", "[Desktop Entry]\nName=Mousepad\nExec=mousepad %U\n");
    write(own() / "org.xfce.mousepad-settings.desktop",
          "[Desktop Entry]\nName=Settings\nExec=mousepad --preferences\n");
    write(own() / "debian-xterm.desktop", "[Desktop Entry]\nName=Terminal\nExec=/usr/bin/xterm\n");
    write(own() / "a-debian-xterm.desktop", "[Desktop Entry]\nName=Login\nExec=/usr/bin/xterm -ls\n");
    write(own() / "script.desktop", "[Desktop Entry]\nName=Script\nExec=env A=1 script\n");
    write(own() / "second.desktop", "[Desktop Entry]\nName=Second\nExec=pot %f\n");
    write(own() / "first.desktop", "[Desktop Entry]\nName=First\nExec=pot\n");
    write(own() / "odd.desktop", "[Desktop Entry]\nName=Odd\nExec=/\n");
    EXPECT_EQ(name("Mousepad"), "Mousepad");
    EXPECT_EQ(name("XTerm"), "Terminal");
    EXPECT_EQ(name("env"), std::nullopt) << "a launcher is no program";
    EXPECT_EQ(name("pot"), "First");
    EXPECT_EQ(name(""), std::nullopt);
    write(own() / "xterm.desktop", "[Desktop Entry]\nName=By its name\n");
    EXPECT_EQ(name("xterm"), "By its name");
    write(own() / "org.other.Mousepad.desktop", "[Desktop Entry]\nName=Other\n");
    EXPECT_EQ(name("mousepad"), "Other") << "the same one every time";
}

TEST_F(DesktopEntriesTest, AnAnnouncedClassIsStrongerThanAFileName) {
    write(own() / "code.desktop", "[Desktop Entry]\nName=Something else\n");
    write(own() / "zzz.desktop", "[Desktop Entry]\nName=Code\nStartupWMClass=code\n");
    EXPECT_EQ(name("Code"), "Code");
}

TEST_F(DesktopEntriesTest, TheUsersOwnFolderComesFirst) {
    write(own() / "xterm.desktop", "[Desktop Entry]\nName=Mine\n");
    write(everybodys() / "xterm.desktop", "[Desktop Entry]\nName=Everybody's\n");
    EXPECT_EQ(name("xterm"), "Mine");
}

TEST_F(DesktopEntriesTest, SpeaksTheUsersLanguage) {
    write(own() / "tea.desktop",
          "[Desktop Entry]\nName[de]=Tee\nName=Tea\nName[de_AT]=Jause\nName[sr@latin]=Caj\n"
          "Name[sr]=\xD0\xA7\xD0\xB0\xD1\x98\n");
    const struct {
        const char* locale;
        const char* name;
    } rows[] = {{"en_GB", "Tea"},
                {"de_DE", "Tee"},
                {"de_AT", "Jause"},
                {"de_AT.UTF-8", "Jause"},
                {"sr_RS@latin", "Caj"},
                {"sr_RS", "\xD0\xA7\xD0\xB0\xD1\x98"},
                {"C", "Tea"},
                {"", "Tea"},
                {"d", "Tea"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.locale);
        EXPECT_EQ(name("tea", row.locale), row.name);
    }
}

TEST_F(DesktopEntriesTest, ReadsTheEntryAloneAndItsEscapes) {
    write(own() / "tea.desktop", "# Name=A comment\nName=Before\n[Desktop "
                                 "Entry]\r\nName=Tea\\sat\\\\five\r\n[Desktop Action New]\nName=New "
                                 "window\nStartupWMClass=other\n");
    EXPECT_EQ(name("tea"), "Tea at\\five");
    EXPECT_EQ(name("other"), std::nullopt);
}

TEST_F(DesktopEntriesTest, WhatIsNoDesktopFileIsLeftOut) {
    write(own() / "empty.desktop", "");
    write(own() / "nameless.desktop", "[Desktop Entry]\nExec=x\n");
    write(own() / "notes.txt", "[Desktop Entry]\nName=Notes\n");
    write(own() / "binary.desktop", std::string("\0\xFF\xFE[=\n=\n[Desktop Entry\nName=x", 26));
    write(own() / "broken.desktop", "[Desktop Entry]\nName=caf\xE9\n");
    fs::create_directory(own() / "folder.desktop");
    fs::create_symlink(own() / "nowhere", own() / "dangling.desktop");
    EXPECT_EQ(name("empty"), std::nullopt);
    EXPECT_EQ(name("nameless"), std::nullopt);
    EXPECT_EQ(name("notes"), std::nullopt);
    EXPECT_EQ(name("binary"), std::nullopt);
    EXPECT_EQ(name("folder"), std::nullopt);
    EXPECT_EQ(name("dangling"), std::nullopt);
    EXPECT_EQ(name("broken"), "caf\xEF\xBF\xBD");
}

TEST_F(DesktopEntriesTest, MissingFoldersAreNoTrouble) {
    write(everybodys() / "xterm.desktop", "[Desktop Entry]\nName=Terminal\n");
    const DesktopEntries entries({own() / "nowhere", everybodys()}, "en");
    EXPECT_EQ(nameIn(entries, "xterm"), "Terminal");
    EXPECT_TRUE(entries.isCurrent());
    fs::create_directory(own() / "nowhere");
    EXPECT_FALSE(entries.isCurrent());
}

TEST_F(DesktopEntriesTest, KnowsWhetherProgramsHaveComeOrGone) {
    const DesktopEntries entries({own(), everybodys()}, "en");
    EXPECT_TRUE(entries.isCurrent());
    write(own() / "xterm.desktop", "[Desktop Entry]\nName=Terminal\n");
    fs::last_write_time(own(), fs::file_time_type::clock::now() + std::chrono::seconds(5));
    EXPECT_FALSE(entries.isCurrent());
    EXPECT_EQ(nameIn(entries, "xterm"), std::nullopt) << "it stays as it was read";
}

TEST_F(DesktopEntriesTest, KnowsAProgramsIdAndPicture) {
    write(own() / "org.example.Editor.desktop",
          "[Desktop Entry]\nName=Text Editor\nIcon=org.example.Editor\nStartupWMClass=Gedit\n");
    write(own() / "plain.desktop", "[Desktop Entry]\nName=Plain\n");
    write(own() / "path.desktop", "[Desktop Entry]\nIcon=/usr/share/a\\sb.png\nName=Path\n"
                                  "[Desktop Action New]\nIcon=other\n");
    write(own() / "broken.desktop", "[Desktop Entry]\nName=Broken\nIcon=caf\xE9\n");
    DesktopEntries entries({own(), everybodys()}, "en");
    using Entry = DesktopEntries::Entry;
    const Entry editor{"org.example.Editor", "Text Editor", "org.example.Editor"};
    EXPECT_EQ(entries.ofClass("gedit"), editor);
    EXPECT_EQ(entries.withId("org.example.Editor"), editor);
    EXPECT_EQ(entries.withId("org.example.editor"), editor);
    EXPECT_EQ(entries.withId("gedit"), std::nullopt) << "a class is no id";
    EXPECT_EQ(entries.withId("plain"), (Entry{"plain", "Plain", ""}));
    EXPECT_EQ(entries.withId("path"), (Entry{"path", "Path", "/usr/share/a b.png"}));
    EXPECT_EQ(entries.withId("broken"), (Entry{"broken", "Broken", "caf\xEF\xBF\xBD"}));
    EXPECT_EQ(entries.withId(""), std::nullopt);
}

TEST_F(DesktopEntriesTest, AFileOfTheUsersOwnHidesTheClassOfTheOther) {
    write(own() / "tea.desktop", "[Desktop Entry]\nName=Mine\nIcon=mine\n");
    write(everybodys() / "tea.desktop", "[Desktop Entry]\nName=Theirs\nStartupWMClass=Pot\n");
    DesktopEntries entries({own(), everybodys()}, "en");
    EXPECT_EQ(entries.ofClass("pot"), std::nullopt);
    EXPECT_EQ(entries.ofClass("tea"), (DesktopEntries::Entry{"tea", "Mine", "mine"}));
}
