#include "Tests/Platforms/StorageMachine.hpp"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

using storage::Machine;

namespace fs = std::filesystem;
using namespace std::string_literals;

namespace {

using Names = std::vector<std::string>;

struct Installation {
    const char* name;
    std::function<void(Machine&)> install;
    Names own; // folders of its data
    fs::path support = ".local/share";
};

/// Nothing of it is left behind with the program, and all of it without.
void expectClaimed(const std::vector<Installation>& rows) {
    for (const Installation& row : rows) {
        SCOPED_TRACE(row.name);
        const Machine bare;
        Machine machine;
        row.install(machine);
        for (const std::string& name : row.own) {
            SCOPED_TRACE(name);
            EXPECT_TRUE(bare.isLeftBehind(name, row.support));
            EXPECT_FALSE(machine.isLeftBehind(name, row.support));
        }
        EXPECT_TRUE(machine.isLeftBehind("com.nowhere.Gone", row.support));
    }
}

} // namespace

TEST(InstalledNames, S10_WhatIsInstalledInAnyWayIsNotLeftBehind) {
    expectClaimed({
        {"package with a launcher",
         [](Machine& machine) {
             machine.launcher("/usr/share/applications/org.example.Editor.desktop", "Exec=example-edit %U\n");
         },
         {"org.example.Editor", "org.example.editor", "org.example.Editor.Helper"}},
        {"launcher in a folder below",
         [](Machine& machine) {
             machine.launcher("/usr/local/share/applications/org/example/Editor.desktop", "Exec=x\n");
             machine.launcher("/home/alice/.local/share/applications/wine/Programs/com.vendor.Tool.desktop",
                              "");
         },
         {"com.vendor.Tool"}},
        {"data folders of the environment",
         [](Machine& machine) {
             machine.environment["XDG_DATA_DIRS"] = "relative:/srv/one::/srv/two";
             machine.launcher("/srv/two/applications/org.example.Editor.desktop", "");
         },
         {"org.example.Editor"}},
        {"window class, icon, Flatpak and Snap of a launcher",
         [](Machine& machine) {
             machine.launcher("/usr/share/applications/one.desktop",
                              "StartupWMClass=org.one.Class\nIcon=org.two.Icon\nX-Flatpak=org.three.Sandbox\n"
                              "X-SnapInstanceName=org.four.Snap\nTryExec=/usr/bin/org.five.Try\n");
         },
         {"org.one.Class", "org.two.Icon", "org.three.Sandbox", "org.four.Snap", "org.five.Try"}},
        {"package database",
         [](Machine& machine) {
             machine.file("/var/lib/dpkg/info/spacedrive:amd64.list");
             machine.file("/var/lib/dpkg/info/brave-browser.list");
             machine.file("/var/lib/pacman/local/pot-app-3.0.5-1/desc");
             machine.file("/var/db/pkg/media-gfx/krita-5.2.1-r1/PF");
             machine.file("/lib/apk/db/installed", "C:x\nP:alpine-tool\nV:1\n\nP:other\n");
         },
         {"com.spacedrive.client", "com.brave.Browser", "com.pot-app.client", "org.sketch.krita",
          "org.somebody.alpine-tool"}},
        {"Flatpak of the system",
         [](Machine& machine) { machine.folder("/var/lib/flatpak/app/org.example.Editor/current"); },
         {"org.example.Editor", "org.example.Editor.Locale"},
         ".var/app"},
        {"Flatpak of the user",
         [](Machine& machine) { machine.folder("/home/alice/.local/share/flatpak/app/org.example.Editor"); },
         {"org.example.Editor"},
         ".var/app"},
        {"Flatpak of another installation",
         [](Machine& machine) {
             machine.file("/etc/flatpak/installations.d/disk.conf",
                          "[Installation \"disk\"]\nPath=/disk/flatpak\n");
             machine.folder("/disk/flatpak/app/org.example.Editor");
         },
         {"org.example.Editor"},
         ".var/app"},
        {"runtime of Flatpaks",
         [](Machine& machine) { machine.folder("/var/lib/flatpak/runtime/org.example.Platform/x86_64"); },
         {"org.example.Platform"}},
        {"Snap",
         [](Machine& machine) {
             machine.folder("/snap/hexchat/42");
             machine.link("/snap/hexchat/current", "42");
             machine.folder("/var/lib/snapd/snap/drawing_two/7");
             machine.link("/var/lib/snapd/snap/drawing_two/current", "7");
         },
         {"io.github.hexchat", "com.artist.drawing"}},
        {"AppImage",
         [](Machine& machine) {
             machine.inHome("Applications/Obsidian-1.5.3.AppImage");
             machine.inHome("Downloads/balenaEtcher-1.18.11-x64.AppImage");
             machine.inHome("Desktop/Some_Tool-x86_64.appimage");
             machine.inHome("bin/com.vendor.Painter-2.AppImage");
             machine.inHome("Applications/Sketch_0123456789abcdef0123456789abcdef.AppImage");
             machine.inHome(".config/user-dirs.dirs", "XDG_DOWNLOAD_DIR=\"$HOME/Ladda ner\"\n");
             machine.inHome("Ladda ner/LocalSend-1.14.0-linux-x86-64.AppImage");
         },
         {"md.obsidian.Obsidian", "io.balena.etcher.balena-etcher", "org.someone.SomeTool",
          "com.vendor.Painter", "org.drawers.sketch", "org.localsend.localsend_app"}},
        {"by hand",
         [](Machine& machine) {
             machine.file("/opt/google/chrome/chrome");
             machine.file("/opt/Signal/signal-desktop");
             machine.inHome(".local/bin/lazy-paint");
             machine.environment["PATH"] = "/usr/bin:relative:/srv/tools";
             machine.file("/srv/tools/hammer");
             machine.file("/usr/games/marbles");
         },
         {"com.google.Chrome", "com.google.Earth", "org.signal.Signal", "net.artist.LazyPaint",
          "org.smith.hammer", "org.toys.Marbles"}},
        {"Wine",
         [](Machine& machine) {
             machine.inHome(".wine/drive_c/Program Files/Vendor/Ledger/ledger.exe");
             machine.environment["WINEPREFIX"] = "/disk/prefix";
             machine.folder("/disk/prefix/drive_c/Program Files (x86)/Notator");
             machine.folder("/home/alice/.local/share/bottles/bottles/one/drive_c/Program Files/Cellar");
             machine.launcher(
                 "/home/alice/.local/share/applications/wine/Programs/Foo/Foo.desktop",
                 "Exec=env WINEPREFIX=\"/home/alice/.wine\" wine C:\\\\\\\\windows\\\\\\\\command\\\\\\\\"
                 "start.exe /Unix /home/alice/.wine/dosdevices/c:/Start\\\\ Menu/Programs/Quilt.lnk\n");
         },
         {"com.vendor.Ledger", "com.music.Notator", "com.wines.cellar", "com.sewing.Quilt"}},
        {"Steam",
         [](Machine& machine) {
             machine.folder("/home/alice/.local/share/Steam/steamapps/common/Marble Run");
             machine.inHome(".local/share/Steam/steamapps/libraryfolders.vdf",
                            "\"libraryfolders\"\n{\n\"0\"\n{\n\"path\"\t\t\"/disk/games\"\n}\n}\n");
             machine.folder("/disk/games/steamapps/common/Boulders");
         },
         {"com.studio.MarbleRun", "com.studio.boulders"}},
        {"service of the bus",
         [](Machine& machine) {
             machine.file("/usr/share/dbus-1/services/one.service",
                          "[D-BUS Service]\nName=org.example.Serves\nExec=/usr/lib/x\n");
             machine.file("/usr/share/dbus-1/system-services/com.system.Daemon.service", "[D-BUS Service]\n");
         },
         {"org.example.Serves", "com.system.Daemon"}},
        {"description",
         [](Machine& machine) {
             machine.file(
                 "/usr/share/metainfo/a.metainfo.xml",
                 "<component>\n <id>\n  org.example.Editor </id><provides><id type='x'>com.older.Name</id>"
                 "<binary>painter</binary></provides><launchable type=\"desktop-id\">net.launched.It.desktop"
                 "</launchable></component>");
             machine.file("/usr/share/appdata/org.file.Name.appdata.xml", "<");
         },
         {"org.example.Editor", "com.older.Name", "org.art.Painter", "net.launched.It", "org.file.Name"}},
        {"files of packages",
         [](Machine& machine) {
             machine.file("/usr/share/polkit-1/actions/org.example.Editor.policy");
             machine.file("/usr/share/icons/hicolor/scalable/apps/net.vendor.Tool.svg");
             machine.file("/usr/libexec/com.art.Painter/helper");
         },
         {"org.example.Editor", "net.vendor.Tool", "com.art.Painter"}},
        {"running",
         [](Machine& machine) {
             machine.link("/proc/41/exe", "/home/alice/unpacked/Grapher-2.1/grapher (deleted)");
             machine.file("/proc/42/cgroup",
                          "0::/user.slice/app.slice/app-flatpak-org.example.Editor-4242.scope\n");
             machine.file("/proc/43/cgroup", "0::/a/snap.hexchat.hexchat-0f0e.scope\n1:x:/\n");
             machine.file("/proc/44/cgroup", "0::/app-gnome-com.vendor.two\\x2dparts-7.scope/\n");
             machine.link("/proc/45/exe", "/usr/bin/python3.11");
             machine.file("/proc/45/cmdline", "python3\0-O\0/srv/weaver.py\0com.nowhere.Gone\0"s);
         },
         {"org.math.Grapher", "org.example.Editor", "io.github.hexchat", "com.vendor.two-parts",
          "org.cloth.weaver"}},
    });
}

TEST(InstalledNames, S10_CommandsTellOfTheirPrograms) {
    struct Row {
        const char* command;
        const char* own;
    };
    constexpr std::array rows{
        Row{"/usr/bin/flatpak run --branch=stable --command=edit org.example.Editor @@u %U @@",
            "org.example.Editor"},
        Row{"flatpak run --command=painter org.x.y", "com.art.Painter"},
        Row{"snap run hexchat", "io.github.hexchat"},
        Row{"env BAMF_DESKTOP_FILE_HINT=/x/y.desktop /snap/bin/firefox %u", "org.somebody.Firefox"},
        Row{"env A=1 B=2 nohup \"/home/alice/my programs/painter\" -x", "com.art.Painter"},
        Row{"sh -c \"cd /srv/painting && exec ./painter --fast\"", "com.art.Painter"},
        Row{"bash -c 'A=b painter; true'", "com.art.Painter"},
        Row{"/opt/vendor/painting/bin/start.sh", "com.art.Painting"},
        Row{"/opt/vendor/painting/bin/start.sh", "com.vendor.Anything"},
        Row{"java -jar /usr/share/java/com.art.Painter/main.jar", "com.art.Painter"},
        Row{"wine \"C:\\\\\\\\Program Files\\\\\\\\Art\\\\\\\\Painter.exe\"", "com.art.Painter"},
        Row{"electron --class=com.art.Painter /usr/lib/x", "com.art.Painter"},
        Row{"/home/alice/Painter/AppRun", "com.art.Painter"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.command);
        const Machine machine;
        machine.launcher("/usr/share/applications/a.desktop", std::string("Exec=") + row.command + '\n');
        EXPECT_FALSE(machine.isLeftBehind(row.own));
        EXPECT_TRUE(machine.isLeftBehind("com.nowhere.Gone"));
    }
}

TEST(InstalledNames, S11_WhatMayBelongToSomethingInstalledIsNotLeftBehind) {
    const auto editor = [](Machine& machine) {
        machine.launcher("/usr/share/applications/org.example.Editor.desktop", "Exec=example-edit\n");
    };
    expectClaimed({
        {"hidden",
         [](Machine& machine) {
             machine.launcher("/home/alice/.local/share/applications/org.example.Editor.desktop",
                              "Hidden=true\n");
         },
         {"org.example.Editor"}},
        {"not displayed",
         [](Machine& machine) {
             machine.launcher("/usr/share/applications/org.example.Editor.desktop", "NoDisplay=true\n");
         },
         {"org.example.Editor"}},
        {"overridden by one that leads nowhere",
         [](Machine& machine) {
             machine.link("/home/alice/.local/share/applications/org.example.Editor.desktop", "/dev/null");
         },
         {"org.example.Editor"}},
        {"started with the session",
         [](Machine& machine) {
             machine.launcher("/home/alice/.config/autostart/a.desktop", "Exec=org.example.Editor\n");
             machine.file("/home/alice/.config/systemd/user/b.service",
                          "[Service]\nExecStart=-/srv/x/syncer -d\n");
         },
         {"org.example.Editor", "net.cloud.Syncer"}},
        {"renamed: the last part is a program's", editor, {"com.other.Editor", "io.github.someone.editor"}},
        {"renamed, as it says itself",
         [](Machine& machine) {
             machine.launcher("/usr/share/applications/org.example.Editor.desktop",
                              "X-Flatpak-RenamedFrom=com.old.Writer;com.older.Typist;\n");
         },
         {"com.old.Writer", "com.older.Typist"}},
        {"another case", editor, {"org.Example.EDITOR"}},
        {"helper", editor, {"org.example.Editor.helper", "org.example.Editor.Deep.Helper"}},
        {"what its helper belongs to",
         [](Machine& machine) {
             machine.launcher("/usr/share/applications/org.example.Editor.Helper.desktop", "");
         },
         {"org.example.Editor", "org.example"}},
        {"vendor", editor, {"org.example.shared", "org.example"}},
        {"vendor where anybody keeps programs",
         [](Machine& machine) {
             machine.launcher("/usr/share/applications/io.github.someone.Tool.desktop", "");
         },
         {"io.github.someone.shared"}},
    });
    Machine machine;
    machine.launcher("/usr/share/applications/io.github.someone.Tool.desktop", "");
    machine.launcher("/usr/share/applications/com.first.app.desktop", "");
    EXPECT_TRUE(machine.isLeftBehind("io.github.another.Thing"));
    EXPECT_TRUE(machine.isLeftBehind("com.second.app")); // that both are an app tells nothing
}

TEST(InstalledNames, S11_NamesThatStandForAnyProgramClaimNothing) {
    const Machine machine;
    machine.link("/usr/bin/editor", "/etc/alternatives/editor");
    machine.link("/usr/bin/view", "vim");
    EXPECT_TRUE(machine.isLeftBehind("com.gone.editor"));
    EXPECT_FALSE(machine.isLeftBehind("com.gone.view"));
}
