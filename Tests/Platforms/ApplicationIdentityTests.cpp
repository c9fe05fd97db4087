#include "Platforms/Linux/SingleInstance.hpp"
#include "Platforms/Linux/Windows/ApplicationIdentity.hpp"
#include "Tests/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <utility>

namespace {

using Linux::applicationIdentity;
using Linux::ApplicationIdentity;
using Linux::DesktopEntries;
using Linux::Sandbox;
using Linux::WindowClues;

namespace fs = std::filesystem;
using namespace std::string_literals;

/// A machine on which programs of all kinds are installed.
class ApplicationIdentityTest : public testing::Test {
protected:
    ApplicationIdentityTest() {
        install("org.xfce.mousepad", "Name=Mousepad\nExec=mousepad %U\n");
        install("debian-xterm", "Name=XTerm\nExec=xterm\nStartupWMClass=XTerm\n");
        install("teapot", "Name=Teapot\nExec=/opt/Teapot/teapot %U\n");
        install("kettle", "Name=Kettle\nExec=/opt/Kettle/kettle\n");
        install("gimp", "Name=GIMP (native)\nExec=gimp-2.10 %U\n");
        install("org.gimp.GIMP", "Name=GIMP\nExec=flatpak run org.gimp.GIMP\n");
        install("firefox_firefox", "Name=Firefox (Snap)\nExec=snap run firefox\n");
        install("firefox", "Name=Firefox\nExec=firefox %u\n");
        install("google-chrome", "Name=Google Chrome\nExec=google-chrome-stable\n");
        install("chrome-abc-Default", "Name=Mail\nStartupWMClass=crx_abc\n");
        install("electron", "Name=Electron\nExec=electron\n");
        install("python3.11", "Name=Python (v3.11)\nExec=/usr/bin/python3.11\n");
        install("wine-notepad", "Name=Notepad\nExec=wine notepad\nStartupWMClass=notepad.exe\n");
        install("appimagekit_0123-Brew", "Name=Brew\nExec=/home/me/Brew.AppImage\nStartupWMClass=Brew\n");
        install("jetbrains-idea", "Name=IDEA\nExec=/opt/idea/bin/idea.sh\nStartupWMClass=jetbrains-idea\n");
        install("org.gnome.TextEditor", "Name=Text Editor\nExec=gnome-text-editor\n");
        install("org.twice.Installed", "Name=Twice\nExec=twice\n");
        install("org.twice.Installed", "Name=Twice (native)\nExec=twice\n", "second");
    }

    void install(const std::string& id, const std::string& keys, const std::string& place = "first") const {
        fs::create_directories(folder_.path() / place);
        std::ofstream(folder_.path() / place / (id + ".desktop")) << "[Desktop Entry]\n" << keys;
    }

    DesktopEntries programs() const {
        return DesktopEntries({folder_.path() / "first", folder_.path() / "second"}, "en");
    }

private:
    TemporaryFolder folder_;
};

Sandbox flatpak(const std::string& id) {
    return {Sandbox::Kind::flatpak, id};
}

Sandbox snap(const std::string& id) {
    return {Sandbox::Kind::snap, id};
}

} // namespace

TEST_F(ApplicationIdentityTest, H6_OneProgramHasOneIdentity) {
    using Expected = std::optional<ApplicationIdentity>;
    const struct {
        const char* name;
        WindowClues clues;
        Expected expected;
    } rows[] = {
        {"native, by the class its file announces",
         {.process = {{}, "xterm"}, .windowClass = {"xterm", "XTerm"}},
         Expected({"debian-xterm", "XTerm"})},
        {"native, by the last part of the file's name",
         {.process = {{}, "mousepad"}, .windowClass = {"mousepad", "Mousepad"}},
         Expected({"org.xfce.mousepad", "Mousepad"})},
        {"class other than the launcher, known by the executable",
         {.process = {{}, "teapot"}, .windowClass = {"main", "QtApp"}},
         Expected({"teapot", "Teapot"})},
        {"class other than the launcher, known by the instance",
         {.process = {}, .windowClass = {"teapot", "QtApp"}},
         Expected({"teapot", "Teapot"})},
        {"the toolkit's own word first",
         {.process = {{}, "kettle"},
          .gtkApplication = "org.gnome.TextEditor",
          .windowClass = {"teapot", "Teapot"}},
         Expected({"org.gnome.TextEditor", "Text Editor"})},
        {"the toolkit's own word without a launcher",
         {.process = {}, .gtkApplication = "org.gone.Away", .windowClass = {"teapot", "Teapot"}},
         Expected({"teapot", "Teapot"})},
        {"native copy of what is a Flatpak as well",
         {.process = {{}, "gimp-2.10"}, .windowClass = {"gimp-2.10", "Gimp-2.10"}},
         Expected({"gimp", "GIMP (native)"})},
        {"Flatpak of what is native as well",
         {.process = {flatpak("org.gimp.GIMP"), "gimp-2.10"}, .windowClass = {"gimp-2.10", "Gimp-2.10"}},
         Expected({"org.gimp.GIMP", "GIMP"})},
        {"native copy of a Flatpak whose launcher is named alike",
         {.process = {{}, "twice"}, .windowClass = {"twice", "org.twice.Installed"}},
         Expected({"org.twice.Installed", "Twice"})},
        {"Flatpak of which a native copy is named alike",
         {.process = {flatpak("org.twice.Installed"), "twice"},
          .windowClass = {"twice", "org.twice.Installed"}},
         Expected({"flatpak:org.twice.Installed", "Twice"})},
        {"Flatpak without a launcher",
         {.process = {flatpak("org.gone.Away"), "away"}, .windowClass = {"away", "Away"}},
         Expected({"org.gone.Away", "Away"})},
        {"Flatpak without a launcher or a class",
         {.process = {flatpak("org.gone.Away"), "away"}},
         Expected({"org.gone.Away", "org.gone.Away"})},
        {"Snap",
         {.process = {snap("firefox_firefox"), "firefox"}, .windowClass = {"Navigator", "firefox"}},
         Expected({"firefox_firefox", "Firefox (Snap)"})},
        {"the same, native",
         {.process = {{}, "firefox"}, .windowClass = {"Navigator", "firefox"}},
         Expected({"firefox", "Firefox"})},
        {"Electron, a program of its own",
         {.process = {{}, "teapot"}, .windowClass = {"teapot", "Teapot"}},
         Expected({"teapot", "Teapot"})},
        {"Electron, the shared executable",
         {.process = {{}, "electron"}, .windowClass = {"cosy", "Cosy"}},
         Expected({"cosy", "Cosy"})},
        {"Electron, the shared executable with its version",
         {.process = {{}, "electron19"}, .windowClass = {"kettle", "Kettle"}},
         Expected({"kettle", "Kettle"})},
        {"AppImage",
         {.process = {{}, "AppRun.wrapped"}, .windowClass = {"brew", "Brew"}},
         Expected({"appimagekit_0123-Brew", "Brew"})},
        {"Chrome",
         {.process = {{}, "chrome"}, .windowClass = {"google-chrome", "Google-chrome"}},
         Expected({"google-chrome", "Google Chrome"})},
        {"Chrome app",
         {.process = {{}, "chrome"}, .windowClass = {"crx_abc", "Google-chrome"}},
         Expected({"chrome-abc-Default", "Mail"})},
        {"Chrome app without a launcher",
         {.process = {{}, "chrome"}, .windowClass = {"crx_xyz", "Google-chrome"}},
         Expected({"crx_xyz", "crx_xyz"})},
        {"Wine",
         {.process = {{}, "wine64-preloader"}, .windowClass = {"notepad.exe", "notepad.exe"}},
         Expected({"wine-notepad", "Notepad"})},
        {"Wine without a launcher",
         {.process = {{}, "wine64-preloader"}, .windowClass = {"solitaire.exe", "solitaire.exe"}},
         Expected({"solitaire.exe", "solitaire.exe"})},
        {"Java",
         {.process = {{}, "java"}, .windowClass = {"sun-awt-X11-XFramePeer", "jetbrains-idea"}},
         Expected({"jetbrains-idea", "IDEA"})},
        {"Java by its class path",
         {.process = {{}, "java"}, .windowClass = {"sun-awt-X11-XFramePeer", "org-kettle-Main"}},
         Expected({"org-kettle-main", "org-kettle-Main"})},
        {"Python: the interpreter is no program",
         {.process = {{}, "python3.11"}, .windowClass = {"brewer.py", "Brewer.py"}},
         Expected({"brewer.py", "Brewer.py"})},
        {"two programs with one class, the first",
         {.process = {{}, "teapot"}, .windowClass = {"app", "App"}},
         Expected({"teapot", "Teapot"})},
        {"two programs with one class, the second",
         {.process = {{}, "kettle"}, .windowClass = {"app", "App"}},
         Expected({"kettle", "Kettle"})},
        {"instance alone", {.process = {}, .windowClass = {"Guest", ""}}, Expected({"guest", "Guest"})},
        {"no class, known by the executable", {.process = {{}, "teapot"}}, Expected({"teapot", "Teapot"})},
        {"no class, and nobody knows the executable", {.process = {{}, "bare"}}, std::nullopt},
        {"nothing at all", {}, std::nullopt},
        {"no text",
         {.process = {}, .windowClass = {"\xff", "A\xff"}},
         Expected({"a\xEF\xBF\xBD", "A\xEF\xBF\xBD"})},
        {"ours",
         {.isOurs = true, .process = {{}, "zorbel"}, .windowClass = {"zorbel", "Zorbel"}},
         Expected({Linux::applicationId, "Zorbel"})},
        {"ours without a class", {.isOurs = true}, Expected({Linux::applicationId, Linux::applicationId})},
    };
    const DesktopEntries installed = programs();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(applicationIdentity(row.clues, &installed), row.expected);
    }
}

TEST_F(ApplicationIdentityTest, WhileNoProgramIsKnownAWindowNamesItself) {
    EXPECT_EQ(applicationIdentity({.windowClass = {"xterm", "XTerm"}}, nullptr),
              (ApplicationIdentity{"xterm", "XTerm"}));
    EXPECT_EQ(applicationIdentity({.process = {flatpak("org.gimp.GIMP"), ""}}, nullptr),
              (ApplicationIdentity{"org.gimp.GIMP", "org.gimp.GIMP"}));
    EXPECT_EQ(applicationIdentity({.process = {{}, "teapot"}}, nullptr), std::nullopt);
}

TEST(ApplicationIdentity, ACopyHasTheLauncherOfItsProgram) {
    EXPECT_EQ(Linux::launcherOf("flatpak:org.gimp.GIMP"), "org.gimp.GIMP");
    EXPECT_EQ(Linux::launcherOf("org.gimp.GIMP"), "org.gimp.GIMP");
    EXPECT_EQ(Linux::launcherOf(""), "");
}

TEST(ApplicationIdentity, AClassHasTwoHalves) {
    const auto halves = [](std::string_view text) {
        const auto found = Linux::windowClass(text);
        return std::pair(found.instance, found.className);
    };
    using namespace std::string_view_literals;
    EXPECT_EQ(halves("xterm\0XTerm\0"sv), std::pair("xterm"s, "XTerm"s));
    EXPECT_EQ(halves("xterm\0XTerm"sv), std::pair("xterm"s, "XTerm"s));
    EXPECT_EQ(halves("xterm\0"sv), std::pair("xterm"s, ""s));
    EXPECT_EQ(halves("xterm"sv), std::pair("xterm"s, ""s));
    EXPECT_EQ(halves("\0XTerm\0more\0"sv), std::pair(""s, "XTerm"s));
    EXPECT_EQ(halves(""), std::pair(""s, ""s));
}

TEST(ApplicationIdentity, AProcessOfAnotherMachineIsNone) {
    using namespace std::string_view_literals;
    const struct {
        const char* name;
        std::string_view machine;
        std::string_view host;
        bool isHere;
    } rows[] = {
        {"this one", "kettle", "kettle", true},
        {"its full name", "kettle.home.arpa", "kettle", true},
        {"our full name", "kettle", "kettle.x", true},
        {"upper case", "Kettle", "kettle", true},
        {"not said", "", "kettle", true},
        {"by its usual name", "localhost", "kettle", true},
        {"another one", "teapot", "kettle", false},
        {"the start of ours", "kett", "kettle", false},
        {"with an end", "kettle\0"sv, "kettle", true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(Linux::isOnMachine(row.machine, row.host), row.isHere);
    }
}

TEST(ApplicationIdentity, ADialogBelongsToTheWindowItIsFor) {
    using Parents = std::map<std::uint32_t, std::uint32_t>;
    EXPECT_EQ(Linux::mainWindow(5, {}), 5U);
    EXPECT_EQ(Linux::mainWindow(5, {{5, 4}}), 4U);
    EXPECT_EQ(Linux::mainWindow(5, {{5, 4}, {4, 9}}), 9U) << "a dialog of a dialog";
    EXPECT_EQ(Linux::mainWindow(4, {{5, 4}}), 4U);
    EXPECT_EQ(Linux::mainWindow(5, {{5, 5}}), 5U) << "its own parent";
    const Parents circle{{1, 7}, {7, 3}, {3, 5}, {5, 7}};
    for (const std::uint32_t window : {1U, 3U, 5U, 7U}) {
        EXPECT_EQ(Linux::mainWindow(window, circle), 3U) << window;
    }
    Parents chain;
    for (std::uint32_t window = 1; window <= 1024; ++window) {
        chain[window] = window + 1;
    }
    EXPECT_EQ(Linux::mainWindow(1, chain), 1025U);
}
