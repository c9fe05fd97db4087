#include "Duvesk/Scanner.hpp"
#include "Platforms/Linux/Storage/LinuxPlaces.hpp"
#include "Tests/Platforms/StorageMachine.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

using Linux::LinuxPlaces;
using storage::Child;
using storage::Machine;
using storage::PlainWalker;

namespace fs = std::filesystem;
using namespace std::string_literals;

namespace {

using Names = std::vector<std::string>;

Names rootNames(const LinuxPlaces& places) {
    Names names;
    for (const auto& root : places.largeFileRoots()) {
        names.push_back(root.name + "=" + root.folder.string());
    }
    return names;
}

} // namespace

TEST(LinuxPlaces, TakesTheFoldersOfTheEnvironmentWhereTheyAreAbsolute) {
    Machine machine;
    EXPECT_EQ(machine.places().caches(), machine.atHome(".cache"));
    EXPECT_EQ(
        machine.places().supportFolders(),
        (std::vector{machine.atHome(".local/share"), machine.atHome(".config"), machine.atHome(".var/app")}));
    machine.environment = {{"XDG_CACHE_HOME", "/srv/cache/"},
                           {"XDG_DATA_HOME", "/srv/data"},
                           {"XDG_CONFIG_HOME", "/srv/config"}};
    EXPECT_EQ(machine.places().caches(), machine.at("/srv/cache"));
    EXPECT_EQ(machine.places().supportFolders(),
              (std::vector{machine.at("/srv/data"), machine.at("/srv/config"), machine.atHome(".var/app")}));
    EXPECT_EQ(machine.layout().dataFolder(), "/srv/data");
    machine.environment = {{"XDG_CACHE_HOME", "cache"}, {"XDG_DATA_HOME", "."}, {"XDG_CONFIG_HOME", ""}};
    EXPECT_EQ(machine.places().caches(), machine.atHome(".cache"));
    EXPECT_EQ(machine.places().supportFolders().size(), 3U);
}

TEST(LinuxPlaces, NamesEachSupportFolderOnceAndFollowsLinks) {
    Machine machine;
    machine.folder("/disk/settings");
    machine.folder("/disk/cache");
    machine.link("/home/alice/.config", machine.at("/disk/settings"));
    machine.link("/home/alice/.cache", machine.at("/disk/cache"));
    machine.environment = {{"XDG_DATA_HOME", "/disk/settings"}};
    EXPECT_EQ(machine.places().supportFolders(),
              (std::vector{machine.at("/disk/settings"), machine.atHome(".var/app")}));
    EXPECT_EQ(machine.places().caches(), machine.at("/disk/cache"));
}

TEST(LinuxPlaces, TakesNoFolderForCachesThatHoldsMore) {
    for (const char* folder : {"/home/alice", "/home", "/", "/home/alice/.config", "/home/alice/.var",
                               "/home/alice/.local/share/", "/home/alice/.config/.."}) {
        SCOPED_TRACE(folder);
        Machine machine;
        machine.environment = {{"XDG_CACHE_HOME", folder}};
        EXPECT_EQ(machine.places().caches(), std::nullopt);
    }
    Machine machine;
    machine.environment = {{"XDG_DATA_HOME", "/home/alice"}, {"XDG_CONFIG_HOME", "/"}};
    EXPECT_EQ(machine.places().supportFolders(), (std::vector{machine.atHome(".var/app")}));
}

TEST(LinuxPlaces, LooksNowhereInAHomeThatIsNotThere) {
    for (const char* home : {"", "alice", "./alice"}) {
        SCOPED_TRACE(home);
        Machine machine;
        machine.home = home;
        EXPECT_EQ(machine.places().caches(), std::nullopt);
        EXPECT_TRUE(machine.places().largeFileRoots().empty());
        EXPECT_TRUE(machine.places().supportFolders().empty());
        machine.launcher("/usr/share/applications/org.example.Editor.desktop", "Exec=editor\n");
        EXPECT_TRUE(machine.places().installedBundleIDs().contains("org.example.Editor"));
        machine.environment = {{"XDG_CACHE_HOME", "/srv/cache"}};
        EXPECT_EQ(machine.places().caches(), machine.at("/srv/cache"));
    }
}

TEST(LinuxPlaces, S09_EachUserFolderOnceAndNoneThatIsSwitchedOff) {
    struct Row {
        const char* name;
        std::string text;
        Names roots; // below the machine
    };
    const std::vector<Row> rows{
        {"no file",
         "",
         {"Downloads=/home/alice/Downloads", "Desktop=/home/alice/Desktop", "Documents=/home/alice/Documents",
          "Videos=/home/alice/Videos"}},
        {"localised",
         "# a comment\n\nXDG_DOWNLOAD_DIR=\"$HOME/T\xC3\xA9l\xC3\xA9"
         "chargements\"\n"
         "  XDG_DESKTOP_DIR = \"$HOME/Bureau\"\r\nXDG_DOCUMENTS_DIR='/disk/Mes documents'\n"
         "XDG_VIDEOS_DIR=\"${HOME}/Vid\xC3\xA9os/\"",
         {"Downloads=/home/alice/T\xC3\xA9l\xC3\xA9"
          "chargements",
          "Desktop=/home/alice/Bureau", "Documents=/disk/Mes documents", "Videos=/home/alice/Vid\xC3\xA9os"}},
        {"escapes and the last of two",
         "XDG_DOWNLOAD_DIR=\"$HOME/first\"\nXDG_DOWNLOAD_DIR=\"$HOME/a \\\"b\\\" \\$HOME \\\\\"\n"
         "XDG_DESKTOP_DIR=$HOME/Bureau\\ 2\nXDG_DOCUMENTS_DIR=\"$HOME/\"\nXDG_VIDEOS_DIR=\"$HOME/.\"\n",
         {"Downloads=/home/alice/a \"b\" $HOME \\", "Desktop=/home/alice/Bureau 2"}},
        {"switched off",
         "XDG_DOWNLOAD_DIR=\"$HOME\"\nXDG_DESKTOP_DIR=\"$HOME/\"\nXDG_DOCUMENTS_DIR=\"/home/alice\"\n"
         "XDG_VIDEOS_DIR=\"$HOME//\"\n",
         {}},
        {"above home",
         "XDG_DOWNLOAD_DIR=\"/home\"\nXDG_DESKTOP_DIR=\"/\"\nXDG_DOCUMENTS_DIR=\"$HOME/..\"\n",
         {"Videos=/home/alice/Videos"}},
        {"identical",
         "XDG_DOWNLOAD_DIR=\"$HOME/All\"\nXDG_DESKTOP_DIR=\"$HOME/All/\"\nXDG_DOCUMENTS_DIR=\"$HOME/x/../"
         "All\"\n",
         {"Downloads=/home/alice/All", "Videos=/home/alice/Videos"}},
        {"what no shell reads is passed over",
         "XDG_DOWNLOAD_DIR=\"$HOMELESS/x\"\nXDG_DESKTOP_DIR=\"Bureau\"\nXDG_DOCUMENTS_DIR=\"$HOME/open\n"
         "XDG_VIDEOS_DIR=\"$OTHER/x\"\nXDG_=\nXDG__DIR=\"/x\"\n=\nXDG_VIDEOS_DIR\n",
         {"Downloads=/home/alice/Downloads", "Desktop=/home/alice/Desktop", "Documents=/home/alice/Documents",
          "Videos=/home/alice/Videos"}},
        {"garbage",
         "\0\xFF\xFE[[[\"\n$"s + std::string(100'000, '"') + "\nXDG_VIDEOS_DIR=\"/\0x\"\n"s,
         {"Downloads=/home/alice/Downloads", "Desktop=/home/alice/Desktop", "Documents=/home/alice/Documents",
          "Videos=/home/alice/Videos"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const Machine machine;
        if (!row.text.empty()) {
            machine.inHome(".config/user-dirs.dirs", row.text);
        }
        Names expected;
        for (const std::string& root : row.roots) {
            const auto equals = root.find('=');
            expected.push_back(root.substr(0, equals + 1) + machine.at(root.substr(equals + 1)).string());
        }
        EXPECT_EQ(rootNames(machine.places()), expected);
    }
}

TEST(LinuxPlaces, S09_FoldersThatAreOneByALinkOrByWalkingAreNamedOnce) {
    const Machine machine;
    for (const char* folder : {"Downloads", "Documents/Films", "Documents/.hidden"}) {
        machine.folder(machine.home / folder);
    }
    machine.link("/home/alice/Desktop", "Downloads");
    machine.inHome(".config/user-dirs.dirs", "XDG_VIDEOS_DIR=\"$HOME/Documents/Films\"\n");
    const Names linked{"Downloads=" + machine.atHome("Downloads").string(),
                       "Documents=" + machine.atHome("Documents").string()};
    EXPECT_EQ(rootNames(machine.places()), linked);

    // A walk leaves hidden folders out, so that this one is on its own.
    machine.inHome(".config/user-dirs.dirs", "XDG_VIDEOS_DIR=\"$HOME/Documents/.hidden\"\n");
    EXPECT_EQ(rootNames(machine.places()).back(), "Videos=" + machine.atHome("Documents/.hidden").string());
}

TEST(LinuxPlaces, ReadsNoUserFoldersFromWhatIsNoFile) {
    const Names english = rootNames(Machine().places());
    const auto put = [](const std::function<void(const fs::path&)>& make) {
        const Machine machine;
        machine.folder("/home/alice/.config");
        make(machine.atHome(".config/user-dirs.dirs"));
        return rootNames(machine.places()).size();
    };
    EXPECT_EQ(put([](const fs::path& path) { fs::create_directory(path); }), english.size());
    EXPECT_EQ(put([](const fs::path& path) { ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0); }), english.size());
    EXPECT_EQ(put([](const fs::path& path) { fs::create_symlink("/dev/zero", path); }), english.size());
    EXPECT_EQ(put([](const fs::path& path) { fs::create_symlink(path, path); }), english.size());
    EXPECT_EQ(put([](const fs::path& path) {
                  std::ofstream(path) << "x";
                  fs::resize_file(path, 100'000'000'000);
              }),
              english.size());
}

TEST(LinuxPlaces, WhatIsInstalledIsLookedUpAfreshWithEachScan) {
    const Machine machine;
    machine.folder("/home/alice/.config/org.example.Editor");
    const fs::path entry = machine.atHome(".config/org.example.Editor");
    const LinuxPlaces places = machine.places();
    EXPECT_TRUE(places.mayBeLeftBehind(entry)); // also before any scan
    machine.folder("/var/lib/flatpak/app/org.example.Editor");
    EXPECT_FALSE(Machine::isLeftBehind(places, entry));
    fs::remove_all(machine.at("/var/lib/flatpak"));
    EXPECT_TRUE(Machine::isLeftBehind(places, entry));
}

TEST(LinuxPlaces, AnswersSeveralThreadsAtOnce) {
    const Machine machine;
    machine.folder("/var/lib/flatpak/app/org.example.Editor");
    machine.folder("/home/alice/.config/org.example.Editor");
    const LinuxPlaces places = machine.places();
    std::array<std::thread, 4> threads;
    std::array<bool, 4> isRight{};
    for (std::size_t index = 0; index < threads.size(); ++index) {
        threads[index] = std::thread([&, index] {
            isRight[index] = true;
            for (int round = 0; round < 20; ++round) {
                isRight[index] = isRight[index] &&
                                 places.installedBundleIDs().contains("org.example.Editor") &&
                                 !places.mayBeLeftBehind(machine.atHome(".config/org.example.Editor"));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(isRight, (std::array{true, true, true, true}));
}

TEST(LinuxPlaces, SurvivesDamagedAndHostileFiles) {
    const Machine machine;
    const fs::path applications = "/usr/share/applications";
    machine.file(applications / "org.good.Editor.desktop", "[Desktop Entry]\nExec=good\n");
    machine.file(applications / "org.huge.File.desktop", "[Desktop Entry]\nStartupWMClass=org.huge.Class\n");
    fs::resize_file(machine.at(applications / "org.huge.File.desktop"), 100'000'000);
    machine.file(applications / "org.binary.File.desktop",
                 "\0\x01\xFF=\0\n[\n[]\n=\n=x\nExec=\\\nExec=\"\nExec='\nIcon=\nName=\\"s);
    machine.file(applications / "org.quotes.File.desktop", "Exec=" + std::string(200'000, '"') + "\n");
    machine.file(applications / "org.words.File.desktop", "Exec=" + std::string(200'000, ' ') + "\\\\ \\");
    machine.file(applications / "org.nested.File.desktop",
                 "Exec=sh -c \"sh -c 'sh -c \\\\\"a b\\\\\" & a;|b c' \"\n");
    ASSERT_EQ(::mkfifo(machine.at(applications / "org.pipe.File.desktop").c_str(), 0600), 0);
    machine.folder(applications / "org.folder.File.desktop");
    machine.link(applications / "circle", machine.at(applications));
    machine.link(applications / "self", "self");
    machine.link(applications / "org.zero.File.desktop", "/dev/zero");
    machine.file("/usr/share/metainfo/a.xml", [] {
        std::string text;
        for (int index = 0; index < 80'000; ++index) {
            text += "<id";
        }
        return text + "><";
    }());
    machine.file("/usr/share/metainfo/b.xml", "<id");
    machine.file("/usr/share/metainfo/c.xml", "<id>");
    machine.file("/usr/share/dbus-1/services/.service", std::string(1000, '\n'));
    machine.file("/var/lib/dpkg/info/.list");
    machine.file("/var/lib/dpkg/info/:.list");
    machine.file("/var/lib/pacman/local/no-dashes");
    machine.file("/var/lib/flatpak"); // no folder
    machine.file("/etc/flatpak/installations.d/x.conf", "Path=\nPath=relative\n=");
    machine.folder("/snap/current");
    machine.inHome(".AppImage");
    machine.inHome("Downloads/_.AppImage");
    machine.inHome("Downloads/-1.AppImage");
    machine.file("/proc/1/cgroup", "0::/snap./snap..scope/app-/app--/app-\\x/\\x2/app-\\x2d-1.scope/.scope");
    machine.file("/proc/2/cmdline", std::string(100'000, '\0'));
    machine.file("/proc/3/cmdline", "sh");
    machine.file("/proc/self/mountinfo", "\n \n1\n1 2 3 4\n1 2 3 4 \\\n1 2 3 4 \\04\n     \n");
    machine.link("/proc/4/exe", "relative");
    machine.folder("/home/alice/.config/com.nowhere.Gone");
    const LinuxPlaces places = machine.places();
    const auto installed = places.installedBundleIDs();
    for (const char* name : {"org.good.Editor", "org.huge.File", "org.huge.Class", "org.binary.File",
                             "org.pipe.File", "org.folder.File", "org.zero.File"}) {
        EXPECT_TRUE(installed.contains(name)) << name;
    }
    EXPECT_FALSE(installed.contains(""));
    EXPECT_TRUE(places.mayBeLeftBehind(machine.atHome(".config/com.nowhere.Gone")));
}

TEST(LinuxPlaces, PassesOverFoldersThatMayNotBeRead) {
    const Machine machine;
    machine.launcher("/usr/share/applications/org.good.Editor.desktop", "");
    machine.launcher("/usr/share/applications/closed/org.closed.Editor.desktop", "");
    machine.folder("/home/alice/.config/com.nowhere.Gone");
    fs::permissions(machine.at("/usr/share/applications/closed"), fs::perms::none);
    fs::permissions(machine.at("/"), fs::perms::owner_all | fs::perms::group_read | fs::perms::group_exec |
                                         fs::perms::others_read | fs::perms::others_exec);
    const pid_t child = ::fork();
    if (child == 0) {
        constexpr uid_t nobody = 65534;
        if (::getuid() == 0 && ::setuid(nobody) != 0) {
            ::_exit(2);
        }
        const LinuxPlaces places = machine.places();
        const auto installed = places.installedBundleIDs();
        const bool isRight = installed.contains("org.good.Editor") &&
                             !installed.contains("org.closed.Editor") &&
                             places.mayBeLeftBehind(machine.atHome(".config/com.nowhere.Gone"));
        ::_exit(isRight ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    fs::permissions(machine.at("/usr/share/applications/closed"), fs::perms::owner_all);
}

TEST(LinuxPlaces, AScanFindsTheAbandonedOnesAndNoOther) {
    const Machine machine;
    machine.link("/proc", "/proc");
    machine.launcher("/usr/share/applications/org.native.Writer.desktop", "Exec=native-writer\n");
    machine.file("/usr/bin/gimp");
    machine.file("/var/lib/dpkg/info/yaak-app.list");
    machine.folder("/var/lib/flatpak/app/org.sandboxed.System");
    machine.folder("/home/alice/.local/share/flatpak/app/org.sandboxed.User");
    machine.link("/snap/spotify/current", "1");
    machine.inHome("Downloads/Obsidian-1.5.3.AppImage");
    machine.folder("/opt/brave.com/brave");
    machine.inHome(".wine/drive_c/Program Files/Ledger/ledger.exe");

    const auto now = ZorbelKit::TimePoint(std::chrono::duration_cast<ZorbelKit::TimePoint::duration>(
        std::chrono::system_clock::now().time_since_epoch()));
    enum class Age { young, old };
    const auto fill = [&](const fs::path& entry, Age age = Age::old, const char* inside = "data.bin") {
        constexpr std::uintmax_t size = 11'000'000;
        machine.inHome(entry / inside);
        fs::resize_file(machine.atHome(entry / inside), size);
        const auto days = std::chrono::hours(age == Age::old ? 24 * 40 : 24 * 20);
        fs::last_write_time(machine.atHome(entry), fs::file_time_type::clock::now() - days);
    };
    const fs::path data = ".local/share";
    const fs::path config = ".config";
    const fs::path sandboxes = ".var/app";
    for (const fs::path& entry :
         {data / "org.native.Writer", data / "org.native.Writer.helper", config / "org.native.shared",
          data / "org.gimp.GIMP", config / "app.yaak.client", sandboxes / "org.sandboxed.System",
          sandboxes / "org.sandboxed.User", config / "com.spotify.Client", config / "md.obsidian.Obsidian",
          data / "com.company.Ledger", data / "gtk-3.0", data / "glib-2.0", data / "python3.11",
          data / "com.gone.Quillwright.bak", data / "org.gnome.Shell", data / "Steam", data / "applications",
          sandboxes / "com.valvesoftware.Steam", config / "org.zorbel.Zorbel"}) {
        fill(entry);
    }
    fill(data / "com.gone.Prefix", Age::old, "drive_c/program.exe");
    fill(config / "com.gone.Young", Age::young);
    fill(config / "com.gone.Used");
    std::vector<fs::path> abandoned{data / "com.gone.Quillwright", config / "io.github.nobody.Zitherbox",
                                    sandboxes / "org.sandboxed.Lumberyard"};
    for (const fs::path& entry : abandoned) {
        fill(entry);
    }

    const auto walker = std::make_shared<PlainWalker>();
    const Duvesk::Scanner scanner(std::make_shared<LinuxPlaces>(machine.layout(), walker), walker);
    const Child child(machine.atHome(config / "com.gone.Used"), {});
    ASSERT_TRUE(child.isReady);
    std::vector<fs::path> found;
    for (const Duvesk::Finding& finding : scanner.run(now)) {
        if (finding.kind == Duvesk::Kind::leftover) {
            found.push_back(finding.url.lexically_relative(machine.atHome("")));
        }
    }
    std::ranges::sort(found);
    std::ranges::sort(abandoned);
    EXPECT_EQ(found, abandoned);
}
