#include "Platforms/Linux/MenuBar/TrayIdentity.hpp"
#include "Tests/TemporaryFolder.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <vector>

namespace {

using Linux::distinctIdentity;
using Linux::processIdentity;
using Linux::ProcessIdentity;
using Linux::trayIdentity;

/// A folder that stands for "/proc", made for one test and removed with it; it knows the process 4711.
class FakeProc {
public:
    FakeProc() { std::filesystem::create_directories(process() / "root"); }

    void runs(const std::string& executable) const {
        std::filesystem::remove(process() / "exe");
        std::filesystem::create_symlink(executable, process() / "exe");
    }
    void write(const std::string& file, std::string_view text) const {
        std::ofstream(process() / file, std::ios::binary) << text;
    }
    void writeCommand(const std::vector<std::string>& arguments) const {
        std::string text;
        for (const std::string& argument : arguments) {
            text += argument + '\0';
        }
        write("cmdline", text);
    }
    std::filesystem::path process() const { return folder_.path() / "4711"; }
    std::string program() const { return processIdentity(4711, folder_.path()).program; }
    std::string path() const { return folder_.path(); }

private:
    TemporaryFolder folder_;
};

TEST(TrayIdentity, NamesTheExecutable) {
    const struct {
        const char* name;
        const char* executable;
        const char* program;
    } rows[] = {
        {"usual", "/usr/bin/copyq", "copyq"},
        {"updated while it runs", "/usr/bin/copyq (deleted)", "copyq"},
        {"a name that ends so", "/usr/bin/my (deleted) tool", "my (deleted) tool"},
        {"an electron program of its own", "/opt/Kettle/kettle", "kettle"},
        {"named like an interpreter", "/usr/bin/nodepad", "nodepad"},
        {"named like a shell", "/usr/bin/shutter", "shutter"},
        {"no folder", "kettle", "kettle"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const FakeProc proc;
        proc.runs(row.executable);
        proc.writeCommand({"whatever", "/usr/bin/else.py"});
        proc.write("comm", "else\n");
        EXPECT_EQ(proc.program(), row.program);
    }
}

TEST(TrayIdentity, NamesWhatAnInterpreterRuns) {
    const struct {
        const char* name;
        const char* executable;
        std::vector<std::string> command;
        const char* program;
    } rows[] = {
        {"python", "/usr/bin/python3.11", {"/usr/bin/python3", "/usr/bin/blueman-applet"}, "blueman-applet"},
        {"with options",
         "/usr/bin/python3",
         {"python3", "-u", "-W", "ignore", "-I", "/a/b.py", "c.py"},
         "b.py"},
        {"a module", "/usr/bin/python3.11", {"python3", "-m", "kettle.tray", "--quiet"}, "kettle.tray"},
        {"code", "/usr/bin/python3.11", {"python3", "-c", "import kettle", "x.py"}, "python3.11"},
        {"at its prompt", "/usr/bin/python3.11", {"python3"}, "python3.11"},
        {"replaced", "/usr/bin/python3.11 (deleted)", {"python3", "/usr/bin/kettle"}, "kettle"},
        {"node", "/usr/bin/node", {"node", "-r", "dotenv", "--inspect", "/srv/kettle/tray.js"}, "tray.js"},
        {"electron",
         "/usr/lib/electron28/electron",
         {"electron", "--ozone=x", "/usr/lib/kettle/app.asar"},
         "kettle"},
        {"electron, deeper", "/usr/lib/electron", {"electron", "/opt/Kettle/resources/app/"}, "Kettle"},
        {"electron of some version", "/usr/bin/electron30", {"electron30", "/opt/kettle/main.js"}, "kettle"},
        {"electron in the folder it was started in", "/usr/bin/electron", {"electron", "."}, "electron"},
        {"perl", "/usr/bin/perl", {"perl", "-w", "/usr/bin/shutter"}, "shutter"},
        {"perl of some version", "/usr/bin/perl5.36.0", {"perl", "-I", "lib", "/usr/bin/shutter"}, "shutter"},
        {"ruby", "/usr/bin/ruby3.1", {"ruby", "-r", "gtk", "tray.rb"}, "tray.rb"},
        {"java archive",
         "/usr/lib/jvm/bin/java",
         {"java", "-Xmx1g", "-jar", "/opt/kettle.jar"},
         "kettle.jar"},
        {"java class",
         "/usr/lib/jvm/bin/java",
         {"java", "-cp", "a.jar:b.jar", "org.kettle.Tray"},
         "org.kettle.Tray"},
        {"shell", "/usr/bin/bash", {"/bin/bash", "-e", "/usr/local/bin/battery"}, "battery"},
        {"shell, code", "/usr/bin/dash", {"sh", "-c", "yad --notification"}, "dash"},
        {"shell, an option of two words", "/usr/bin/bash", {"bash", "-o", "pipefail", "tray"}, "tray"},
        {"gjs", "/usr/bin/gjs-console", {"gjs", "-m", "/usr/share/kettle/kettle.js"}, "kettle.js"},
        {"mono", "/usr/bin/mono-sgen", {"mono", "--debug", "/usr/lib/tomboy/Tomboy.exe"}, "Tomboy.exe"},
        {"qmlscene", "/usr/lib/qt6/bin/qmlscene", {"qmlscene", "-I", "x", "Tray.qml"}, "Tray.qml"},
        {"arguments missing", "/usr/bin/python3", {}, "python3"},
        {"arguments rewritten in one", "/usr/bin/node", {"kettle: idle since noon"}, "node"},
        {"empty arguments", "/usr/bin/perl", {"perl", "", "", "/x/y"}, "y"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const FakeProc proc;
        proc.runs(row.executable);
        proc.writeCommand(row.command);
        EXPECT_EQ(proc.program(), row.program);
    }
}

TEST(TrayIdentity, FallsBackToTheNameAProcessGivesItself) {
    const FakeProc proc;
    EXPECT_EQ(proc.program(), "") << "a folder with nothing in it";
    proc.write("comm", "pasystray\n");
    EXPECT_EQ(proc.program(), "pasystray");
    proc.write("comm", "python3\n");
    proc.writeCommand({"python3", "/usr/bin/kettle"});
    EXPECT_EQ(proc.program(), "kettle");

    EXPECT_EQ(processIdentity(4712, proc.path()), (ProcessIdentity{4712, ""})) << "gone already";
    EXPECT_EQ(processIdentity(0, proc.path()), (ProcessIdentity{0, ""}));
    EXPECT_EQ(processIdentity(-1, proc.path()), (ProcessIdentity{-1, ""}));
}

TEST(TrayIdentity, ASandboxedApplicationHasItsIdentifier) {
    const struct {
        const char* name;
        std::string info;
        const char* program;
    } rows[] = {
        {"usual", "[Application]\nname=org.kettle.Tray\nruntime=x\n[Instance]\nname=no\n", "org.kettle.Tray"},
        {"spaces, line ends of elsewhere", "\n [Application] \r\n name = org.kettle-1.T_y \r\n",
         "org.kettle-1.T_y"},
        {"another section first", "[Instance]\nname=no\n[Application]\nname=org.a.B", "org.a.B"},
        {"a runtime", "[Runtime]\nname=org.a.Platform\n", "kettle"},
        {"no name", "[Application]\nruntime=x\n", "kettle"},
        {"empty name", "[Application]\nname=\n", "kettle"},
        {"a name that is a path", "[Application]\nname=../x\n", "kettle"},
        {"a name of odd letters", "[Application]\nname=a\x01\xff\n", "kettle"},
        {"nothing", "", "kettle"},
        {"too far down", "[Application]\n" + std::string(1 << 20, '\n') + "name=org.a.B\n", "kettle"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const FakeProc proc;
        proc.runs("/app/bin/kettle");
        proc.write("root/.flatpak-info", row.info);
        EXPECT_EQ(proc.program(), row.program);
    }
}

TEST(TrayIdentity, WhatAProcessPutsInTheWayIsNotOpened) {
    const auto expectOutside = [](const FakeProc& proc) {
        proc.runs("/usr/bin/kettle");
        EXPECT_EQ(proc.program(), "kettle");
    };
    {
        SCOPED_TRACE("a pipe, which blocks whoever opens it");
        const FakeProc proc;
        ASSERT_EQ(::mkfifo((proc.process() / "root/.flatpak-info").c_str(), 0600), 0);
        expectOutside(proc);
    }
    {
        SCOPED_TRACE("a link out of the sandbox");
        const FakeProc proc;
        proc.write("real", "[Application]\nname=org.other.Program\n");
        std::filesystem::create_symlink(proc.process() / "real", proc.process() / "root/.flatpak-info");
        expectOutside(proc);
    }
    {
        SCOPED_TRACE("a folder");
        const FakeProc proc;
        std::filesystem::create_directory(proc.process() / "root/.flatpak-info");
        expectOutside(proc);
    }
    {
        SCOPED_TRACE("a command line without end");
        const FakeProc proc;
        proc.runs("/usr/bin/python3");
        proc.write("cmdline", "python3" + std::string(1, '\0') + std::string(8 << 20, '-'));
        EXPECT_EQ(proc.program(), "python3");
    }
}

TEST(TrayIdentity, ReadsARealProcess) {
    const ProcessIdentity own = processIdentity(::getpid());
    EXPECT_EQ(own.pid, ::getpid());
    EXPECT_EQ(own.program, std::filesystem::read_symlink("/proc/self/exe").filename());
}

TEST(TrayIdentity, S13_ProgramsThatShareAnIdAreToldApart) {
    const std::string id = "chrome_status_icon_1";
    const std::string kettle = trayIdentity(id, {100, "kettle"});
    EXPECT_EQ(kettle, "sni:chrome_status_icon_1/kettle");
    EXPECT_NE(kettle, trayIdentity(id, {101, "teapot"}));
    EXPECT_EQ(kettle, trayIdentity(id, {2000, "kettle"})) << "after a restart";
}

TEST(TrayIdentity, S14_AnIdThatCarriesTheProcessNumberIsTheSameAfterARestart) {
    const struct {
        const char* name;
        const char* id;
        int pid;
        const char* identity;
    } rows[] = {
        {"at the end", "systray_4711", 4711, "sni:systray_/kettle"},
        {"after a restart", "systray_38001", 38001, "sni:systray_/kettle"},
        {"without a gap", "trayid38001", 38001, "sni:trayid/kettle"},
        {"in the middle", "org.kde.StatusNotifierItem-24724-1", 24724,
         "sni:org.kde.StatusNotifierItem--1/kettle"},
        {"twice", "4711-4711", 4711, "sni:-/kettle"},
        {"the number alone", "4711", 4711, "sni:/kettle"},
        {"another's number", "systray_4711", 4712, "sni:systray_4711/kettle"},
        {"part of a longer number", "systray_47110", 4711, "sni:systray_47110/kettle"},
        {"end of a longer number", "systray_14711", 4711, "sni:systray_14711/kettle"},
        {"with a nought before it", "systray_04711", 4711, "sni:systray_04711/kettle"},
        {"a number that is a name", "chrome_status_icon_1", 4711, "sni:chrome_status_icon_1/kettle"},
        {"process not known", "item_0", 0, "sni:item_0/kettle"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(trayIdentity(row.id, {row.pid, "kettle"}), row.identity);
    }
}

TEST(TrayIdentity, CanBeStoredWhateverAProgramSays) {
    const struct {
        const char* name;
        std::string id;
        std::string program;
        std::string identity;
    } rows[] = {
        {"usual", "copyq", "copyq", "sni:copyq/copyq"},
        {"no program", "copyq", "", "sni:copyq"},
        {"no id", "", "copyq", "sni:/copyq"},
        {"neither", "", "", "sni:"},
        {"letters of all kinds", "Gerät ☕ 🫖", "Kännchen", "sni:Gerät ☕ 🫖/Kännchen"},
        {"control characters", std::string("a\nb\x7f\0", 5), "c\x1b", "sni:a_b__/c_"},
        {"control characters of two bytes",
         "a\xc2\x85"
         "b",
         "c", "sni:a_b/c"},
        {"no UTF-8", "a\xff\xc3", "b\x80", "sni:a__/b_"},
        {"longer than need be", "a\xc0\xaf", "b", "sni:a__/b"},
        {"half a pair", "a\xed\xa0\x80", "b", "sni:a___/b"},
        {"beyond the last character", "\xf4\x90\x80\x80", "b", "sni:____/b"},
        {"too long", std::string(5000, 'a'), "copyq", "sni:" + std::string(190, 'a') + "/copyq"},
        {"too long, no program", std::string(5000, 'a'), "", "sni:" + std::string(196, 'a')},
        {"program too long", "a", std::string(5000, 'b'), "sni:a/" + std::string(80, 'b')},
        {"cut at a character's border", "abcdefghi" + std::string(179, 'a') + "ää€", "copyq",
         "sni:abcdefghi" + std::string(179, 'a') + "ä/copyq"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const std::string identity = trayIdentity(row.id, {4711, row.program});
        EXPECT_EQ(identity, row.identity);
        EXPECT_LE(identity.size(), 200U);
    }
}

TEST(TrayIdentity, ItemsOfOneProgramAreNumberedByArrival) {
    std::set<std::string> taken;
    const auto next = [&] {
        const std::string identity =
            distinctIdentity("sni:a/b", [&](const std::string& each) { return taken.contains(each); });
        taken.insert(identity);
        return identity;
    };
    EXPECT_EQ(next(), "sni:a/b");
    EXPECT_EQ(next(), "sni:a/b#2");
    EXPECT_EQ(next(), "sni:a/b#3");
    taken.erase("sni:a/b#2");
    EXPECT_EQ(next(), "sni:a/b#2") << "a place that has become free";
}

} // namespace
