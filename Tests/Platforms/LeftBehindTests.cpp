#include "Platforms/Linux/Storage/Identifiers.hpp"
#include "Tests/Platforms/StorageMachine.hpp"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

using Linux::LinuxPlaces;
using Linux::StorageLayout;
using storage::Child;
using storage::Machine;
using storage::PlainWalker;

namespace fs = std::filesystem;
using namespace std::string_literals;

TEST(LeftBehind, S11_WhatTheDesktopSharesIsNeverLeftBehind) {
    const Machine machine;
    for (const char* name :
         {"org.freedesktop.Something", "org.gnome.Anything", "org.kde.whatever", "org.gtk.Demo",
          "com.canonical.indicator", "org.zorbel.Zorbel", "io.github.somebody.zorbel",
          "com.valvesoftware.Steam", "com.usebottles.bottles", "net.lutris.Lutris"}) {
        SCOPED_TRACE(name);
        EXPECT_FALSE(machine.isLeftBehind(name));
        EXPECT_FALSE(machine.isLeftBehind(name, ".config"));
    }
    EXPECT_TRUE(machine.places().installedBundleIDs().contains("gtk-3.0"));
    EXPECT_TRUE(machine.places().installedBundleIDs().contains("recently-used.xbel"));
}

TEST(LeftBehind, S11b_NamesThatIdentifyNothingAreNeverLeftBehind) {
    struct Row {
        const char* name;
        bool is;
    };
    const std::vector<Row> rows{
        {"org.example.Editor", true},
        {"com.example", true},
        {"io.github.some_one.tool-2", true},
        {"de.firma.Programm", true},
        {"app.drey.Warp", true},
        {"xyz.someone.thing", true},
        {"md.obsidian.Obsidian", true},
        {"com.x.v2ray", true},
        {"dev.zed.Zed", true},
        {"gtk-3.0", false},
        {"gtk-4.0", false},
        {"glib-2.0", false},
        {"python3.11", false},
        {"x.bak", false},
        {"com.x.bak", false},
        {"com.example.app.old", false},
        {"com.example.app-backup", false},
        {"game.exe", false},
        {"com.example.conf", false},
        {"com.example.AppImage", false},
        {"com.example.d", false},
        {"com.example.v2", false},
        {"com.example.3.0", false},
        {"com.1.x", false},
        {"com..x", false},
        {".com.x", false},
        {"com.x.", false},
        {"com", false},
        {"", false},
        {".", false},
        {"nothing.known.here", false},
        {"com.a b.c", false},
        {"com.a/b", false},
        {"com.caf\xC3\xA9.x", false},
        {"com.\xFF.x", false},
        {"Com.Example.App", false},
        {"my.documents", false},
        {"app.data", false},
        {"in.progress", false},
        {"com.x.---", false},
        {"user-dirs.dirs", false},
        {"libreoffice4.2", false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(Linux::looksLikeIdentifier(row.name), row.is);
        const std::string name = row.name;
        if (!row.is && !name.empty() && name != "." && name.find('/') == std::string::npos) {
            EXPECT_FALSE(Machine().isLeftBehind(name));
        }
    }
    EXPECT_FALSE(Linux::looksLikeIdentifier("com." + std::string(300, 'a')));
    EXPECT_FALSE(Linux::looksLikeIdentifier("com.a\0b"s));
    EXPECT_FALSE(Linux::looksLikeIdentifier(std::string(100'000, '.')));
}

TEST(LeftBehind, S12_ASandboxIsLeftBehindWithoutItsProgramOnly) {
    Machine machine;
    EXPECT_TRUE(machine.isLeftBehind("org.example.Editor", ".var/app"));
    EXPECT_TRUE(machine.isLeftBehind("org.gnome.Gone", ".var/app"));

    // Another program of the vendor has a sandbox of its own.
    machine.folder("/var/lib/flatpak/app/org.example.Painter");
    EXPECT_TRUE(machine.isLeftBehind("org.example.Editor", ".var/app"));
    EXPECT_FALSE(machine.isLeftBehind("org.example.Editor"));

    machine.folder("/home/alice/.local/share/flatpak/app/org.example.Editor");
    EXPECT_FALSE(machine.isLeftBehind("org.example.Editor", ".var/app"));
}

TEST(LeftBehind, S13_WhatARunningProcessUsesIsNotLeftBehind) {
    const Machine machine;
    machine.link("/proc", "/proc");
    machine.inHome(".config/org.gone.Lumberyard/deep/file");
    machine.inHome(".local/share/org.gone.Zitherbox/deep/file");
    const fs::path working = machine.atHome(".config/org.gone.Lumberyard");
    const fs::path open = machine.atHome(".local/share/org.gone.Zitherbox");
    const LinuxPlaces places = machine.places();
    EXPECT_TRUE(Machine::isLeftBehind(places, working));
    EXPECT_TRUE(Machine::isLeftBehind(places, open));
    {
        const Child child(working / "deep", open / "deep/file");
        ASSERT_TRUE(child.isReady);
        EXPECT_FALSE(Machine::isLeftBehind(places, working));
        EXPECT_FALSE(Machine::isLeftBehind(places, open));
        EXPECT_TRUE(machine.isLeftBehind("org.gone.Quillwright"));

        StorageLayout others = machine.layout();
        others.user = ::getuid() + 1;
        EXPECT_TRUE(Machine::isLeftBehind(LinuxPlaces(others, std::make_shared<PlainWalker>()), working));
    }
    EXPECT_TRUE(Machine::isLeftBehind(places, working));
}

TEST(LeftBehind, S13_WhatAnExecutableIsIn_OrSomethingIsMountedOn_IsNotLeftBehind) {
    const Machine machine;
    machine.link("/proc/7/exe", machine.atHome(".local/share/org.gone.Runs/lib/engine"));
    machine.file("/proc/self/mountinfo", "1 2 0:1 / / rw - ext4 x rw\nshort line\n\n36 35 98:0 / " +
                                             machine.atHome(".local/share/org.gone.Disk/in\\040it").string() +
                                             " rw - fuse.sshfs x rw\n");
    EXPECT_FALSE(machine.isLeftBehind("org.gone.Runs"));
    EXPECT_FALSE(machine.isLeftBehind("org.gone.Disk"));
    EXPECT_TRUE(machine.isLeftBehind("org.left.Behind"));
}

TEST(LeftBehind, KeepsWhatHoldsMoreThanAProgramsData) {
    for (const char* mark : {".git/HEAD", "work/notes/.git/HEAD", "data/Steam/steamapps/x", "a/drive_c/x",
                             "data/bottles/bottles/one/dosdevices/x", ".ssh/key", "work/.hg/x"}) {
        SCOPED_TRACE(mark);
        const Machine machine;
        machine.inHome(fs::path(".var/app/org.gone.Runner") / mark);
        EXPECT_FALSE(machine.isLeftBehind("org.gone.Runner", ".var/app"));
    }
    const Machine machine;
    machine.inHome(".config/org.gone.Plain/Cache/.gitignore");
    EXPECT_TRUE(machine.isLeftBehind("org.gone.Plain", ".config"));
}

TEST(LeftBehind, KeepsWhatIsNoFolder) {
    const Machine machine;
    machine.inHome(".config/org.gone.File");
    machine.folder("/disk/data");
    machine.link("/home/alice/.config/org.gone.Link", machine.at("/disk/data"));
    for (const char* name : {"org.gone.File", "org.gone.Link", "org.gone.Missing"}) {
        EXPECT_FALSE(machine.places().mayBeLeftBehind(machine.atHome(".config") / name)) << name;
    }
}
