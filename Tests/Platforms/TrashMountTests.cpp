#include "Platforms/Linux/Storage/LinuxFileManager.hpp"
#include "Platforms/Simulated/SimulatedMainLoop.hpp"
#include "Tests/Platforms/TrashTest.hpp"

#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace fs = std::filesystem;
using TrashReader::contents;
using TrashReader::entries;
using TrashReader::names;
using TrashReader::pictureOf;

namespace {

using Names = std::vector<std::string>;

constexpr int notPermitted = 77;
constexpr uid_t nobody = 65534;

/// Whether this process has mounts of its own from now on, as itself or as the root of a small world.
bool leaveMounts() {
    const std::string user = std::to_string(::geteuid());
    const std::string group = std::to_string(::getegid());
    if (::unshare(CLONE_NEWNS) != 0) {
        if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) {
            return false;
        }
        std::ofstream("/proc/self/setgroups") << "deny";
        std::ofstream("/proc/self/uid_map") << user + " " + user + " 1";
        std::ofstream("/proc/self/gid_map") << group + " " + group + " 1";
    }
    return ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

bool mountMemory(const fs::path& place, const char* options = "mode=0755") {
    fs::create_directories(place);
    return ::mount("zorbel-test", place.c_str(), "tmpfs", 0, options) == 0;
}

std::string trashOfUser() {
    return ".Trash-" + std::to_string(::geteuid());
}

/// Disks that come and go with a child process.
class TrashMounts : public TrashTest {
protected:
    TrashMounts()
        : disk(root / "disk") {}

    /// Runs `work` where it may mount what it likes, with a second disk.
    void onTwoDisks(const std::function<void()>& work) const {
        const int status = inChild([&] {
            if (!leaveMounts() || !mountMemory(disk)) {
                ::_exit(notPermitted);
            }
            work();
        });
        if (status == notPermitted) {
            GTEST_SKIP() << "nothing may be mounted here";
        }
        EXPECT_EQ(status, 0);
    }

    /// The one item of a Trash comes back as it was.
    static void expectRestored(const fs::path& trashFolder, const fs::path& top, const fs::path& item,
                               const std::map<std::string, std::string>& before) {
        const auto moved = entries(trashFolder);
        ASSERT_EQ(moved.size(), 1U);
        EXPECT_FALSE(isThere(item));
        EXPECT_EQ(top / moved.front().place, item);
        TrashReader::restore(moved.front(), top);
        EXPECT_EQ(pictureOf(item), before);
        EXPECT_EQ(names(trashFolder / "info"), Names{});
    }

    const fs::path disk;
};

} // namespace

TEST_F(TrashMounts, S15_ASecondDiskHasATrashOfItsOwn) {
    onTwoDisks([this] {
        const fs::path item = disk / "a b" / "100%\n\xe9";
        write(item / "inner" / "file");
        const auto before = pictureOf(item);
        ASSERT_TRUE(trash.move(item));
        const fs::path own = disk / trashOfUser();
        EXPECT_EQ(fs::status(own).permissions(), fs::perms::owner_all);
        EXPECT_EQ(entries(own).at(0).place, "a b/100%\n\xe9") << "wherever the disk is mounted next time";
        expectRestored(own, disk, item, before);
        ASSERT_TRUE(trash.move(write(disk / "at the top")));
        EXPECT_EQ(entries(own).at(0).place, "at the top");
        EXPECT_EQ(names(homeTrash() / "files"), Names{}) << "nothing is copied";
    });
}

TEST_F(TrashMounts, S15_ALinkLiesWhereItIsAndNotWhereItLeads) {
    onTwoDisks([this] {
        write(disk / "file");
        fs::create_symlink(disk / "file", home / "link");
        fs::create_symlink(home, disk / "link");
        ASSERT_TRUE(trash.move(home / "link"));
        ASSERT_TRUE(trash.move(disk / "link"));
        EXPECT_EQ(names(homeTrash() / "files"), Names{"link"});
        EXPECT_EQ(names(disk / trashOfUser() / "files"), Names{"link"});
        fs::create_symlink(disk, home / "disk");
        ASSERT_TRUE(trash.move(home / "disk" / "file"));
        EXPECT_EQ(names(disk / trashOfUser() / "files"), (Names{"file", "link"}));
    });
}

TEST_F(TrashMounts, S15_ABindMountHasATrashOfItsOwn) {
    onTwoDisks([this] {
        const fs::path item = write(home / "real" / "deep" / "file");
        fs::create_directories(home / "bound");
        ASSERT_EQ(::mount((home / "real").c_str(), (home / "bound").c_str(), nullptr, MS_BIND, nullptr), 0);
        const auto before = pictureOf(item);
        ASSERT_TRUE(trash.move(home / "bound" / "deep" / "file"));
        expectRestored(home / "bound" / trashOfUser(), home / "bound", home / "bound" / "deep" / "file",
                       before);
        ASSERT_TRUE(trash.move(item)) << "where it lies on the home's own mount";
        EXPECT_EQ(names(homeTrash() / "files"), Names{"file"});
    });
}

TEST_F(TrashMounts, S15_AReadOnlyDiskKeepsAll) {
    onTwoDisks([this] {
        const fs::path item = write(disk / "file");
        ASSERT_EQ(::mount(nullptr, disk.c_str(), nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr), 0);
        EXPECT_FALSE(trash.move(item));
        EXPECT_EQ(names(disk), Names{"file"});
    });
}

TEST_F(TrashMounts, S15_AnOverlayLosesNothing) {
    onTwoDisks([this] {
        write(disk / "lower" / "home" / "file");
        write(disk / "lower" / "home" / "folder" / "file");
        fs::create_directories(disk / "upper");
        fs::create_directories(disk / "work");
        fs::create_directories(root / "overlay");
        const std::string options = "lowerdir=" + (disk / "lower").native() +
                                    ",upperdir=" + (disk / "upper").native() +
                                    ",workdir=" + (disk / "work").native();
        if (::mount("overlay", (root / "overlay").c_str(), "overlay", 0, options.c_str()) != 0) {
            ::_exit(notPermitted);
        }
        const fs::path top = root / "overlay";
        const Linux::Trash own(top / "home" / "share", top / "home");
        const fs::path ownTrash = top / "home" / "share" / "Trash";
        const auto before = pictureOf(top / "home" / "file");
        ASSERT_TRUE(own.move(top / "home" / "file"));
        expectRestored(ownTrash, "/", top / "home" / "file", before);
        const auto folderBefore = pictureOf(top / "home" / "folder");
        if (own.move(top / "home" / "folder")) {
            expectRestored(ownTrash, "/", top / "home" / "folder", folderBefore);
        } else { // many overlays cannot rename a folder of the lower disk
            EXPECT_EQ(pictureOf(top / "home" / "folder"), folderBefore);
            EXPECT_EQ(names(ownTrash / "info"), Names{});
            EXPECT_EQ(names(top / trashOfUser() / "info"), Names{});
        }
        ASSERT_TRUE(own.move(write(top / "home" / "new" / "file").parent_path()));
    });
}

TEST_F(TrashMounts, MountPointsStayAndWhatTheyAreIn) {
    onTwoDisks([this] {
        write(disk / "file");
        const fs::path inner = home / "outer" / "in ner";
        ASSERT_TRUE(mountMemory(inner));
        write(inner / "file");
        const fs::path boundFile = write(home / "bound file");
        ASSERT_EQ(::mount((disk / "file").c_str(), boundFile.c_str(), nullptr, MS_BIND, nullptr), 0);
        for (const fs::path& kept : {disk, inner, home / "outer", boundFile}) {
            EXPECT_FALSE(trash.move(kept)) << kept;
        }
        EXPECT_TRUE(isThere(inner / "file"));
        ASSERT_EQ(::umount2(inner.c_str(), MNT_DETACH), 0);
        EXPECT_TRUE(trash.move(home / "outer"));
    });
}

TEST_F(TrashMounts, S17_ASharedTrashIsUsedWhereItIsSafe) {
    onTwoDisks([this] {
        const std::string user = std::to_string(::geteuid());
        fs::create_directories(disk / ".Trash");
        ASSERT_EQ(::chmod((disk / ".Trash").c_str(), 01777), 0);
        const fs::path item = write(disk / "folder" / "file");
        const auto before = pictureOf(item);
        ASSERT_TRUE(trash.move(item));
        const fs::path own = disk / ".Trash" / user;
        EXPECT_EQ(fs::status(own).permissions(), fs::perms::owner_all);
        EXPECT_EQ(entries(own).at(0).place, "folder/file");
        expectRestored(own, disk, item, before);
        EXPECT_FALSE(isThere(disk / trashOfUser()));
    });
}

TEST_F(TrashMounts, S17_AnUnsafeSharedTrashIsNotUsed) {
    onTwoDisks([this] {
        const fs::path shared = disk / ".Trash";
        const std::string user = std::to_string(::geteuid());
        const auto makeSticky = [](const fs::path& folder) {
            fs::create_directories(folder);
            ASSERT_EQ(::chmod(folder.c_str(), 01777), 0);
        };
        const std::pair<const char*, std::function<void()>> rows[] = {
            {"not sticky", [&] { fs::create_directories(shared / user); }},
            {"a link",
             [&] {
                 makeSticky(disk / "elsewhere");
                 fs::create_symlink(disk / "elsewhere", shared);
             }},
            {"a file", [&] { write(shared); }},
            {"the user's is a link",
             [&] {
                 makeSticky(shared);
                 fs::create_directories(disk / "elsewhere");
                 fs::create_symlink(disk / "elsewhere", shared / user);
             }},
            {"the user's is a file",
             [&] {
                 makeSticky(shared);
                 write(shared / user);
             }},
            {"the files are a link",
             [&] {
                 makeSticky(shared);
                 fs::create_directories(disk / "elsewhere");
                 fs::create_directories(shared / user);
                 fs::create_symlink(disk / "elsewhere", shared / user / "files");
             }},
            {"the user's belongs to another",
             [&] {
                 makeSticky(shared);
                 fs::create_directories(shared / user);
                 if (::chown((shared / user).c_str(), nobody, nobody) != 0) {
                     fs::remove_all(shared); // in a small world there is no other
                 }
             }},
        };
        for (const auto& [name, arrange] : rows) {
            SCOPED_TRACE(name);
            arrange();
            ASSERT_TRUE(trash.move(write(disk / "file")));
            EXPECT_EQ(names(disk / trashOfUser() / "files"), Names{"file"});
            EXPECT_TRUE(names(disk / "elsewhere").empty());
            for (const std::string& left : names(disk)) {
                fs::remove_all(disk / left);
            }
        }
    });
}

TEST_F(TrashMounts, S17_ATrashOfSomebodyElseIsNotUsed) {
    onTwoDisks([this] {
        const fs::path own = disk / trashOfUser();
        const std::pair<const char*, std::function<void()>> rows[] = {
            {"a link",
             [&] {
                 fs::create_directories(disk / "elsewhere");
                 fs::create_symlink(disk / "elsewhere", own);
             }},
            {"a file", [&] { write(own); }},
            {"belongs to another",
             [&] {
                 fs::create_directories(own);
                 if (::chown(own.c_str(), nobody, nobody) != 0) {
                     fs::remove(own);
                     write(own);
                 }
             }},
        };
        for (const auto& [name, arrange] : rows) {
            SCOPED_TRACE(name);
            arrange();
            write(disk / "file");
            const auto before = pictureOf(disk);
            EXPECT_FALSE(trash.move(disk / "file"));
            EXPECT_EQ(pictureOf(disk), before);
            fs::remove_all(own);
        }
        EXPECT_TRUE(trash.move(disk / "file"));
    });
}

TEST_F(TrashMounts, S18_OnAFullDiskTheItemStays) {
    onTwoDisks([this] {
        const fs::path small = root / "small";
        ASSERT_TRUE(mountMemory(small, "mode=0755,size=64k"));
        const fs::path item = write(small / "file");
        const auto before = pictureOf(item);
        {
            std::ofstream rest(small / "rest", std::ios::binary);
            rest << std::string(1 << 20, 'x');
        }
        EXPECT_FALSE(trash.move(item));
        EXPECT_EQ(pictureOf(item), before);
        EXPECT_EQ(names(small / trashOfUser() / "info"), Names{});
        EXPECT_EQ(names(small / trashOfUser() / "files"), Names{});
        fs::remove(small / "rest");
        EXPECT_TRUE(trash.move(item)) << "with room again";
    });
}

TEST_F(TrashMounts, S18_WithoutAnyTrashTheItemStays) {
    onTwoDisks([this] {
        const fs::path item = write(disk / "home" / "file");
        write(disk / "share");
        fs::create_symlink("/nowhere", disk / trashOfUser());
        for (const fs::path& folder : {disk / "share", disk / trashOfUser() / "share"}) {
            const auto before = pictureOf(disk);
            EXPECT_FALSE(Linux::Trash(folder, disk / "home").move(item)) << folder;
            EXPECT_EQ(pictureOf(disk), before);
        }
        EXPECT_FALSE(isThere("/nowhere"));
    });
}

TEST_F(TrashMounts, S19_WhatMayNotBeMovedStaysAndTheRestGoes) {
    if (::geteuid() == 0) {
        for (const fs::path& folder : {root, home, home / "Downloads"}) {
            ASSERT_EQ(::chown(folder.c_str(), nobody, nobody), 0);
        }
    }
    const int status = inChild([this] {
        if (::geteuid() == 0 &&
            (::setgroups(0, nullptr) != 0 || ::setgid(nobody) != 0 || ::setuid(nobody) != 0)) {
            ::_exit(notPermitted);
        }
        const fs::path locked = write(home / "locked" / "file").parent_path();
        const fs::path closed = write(home / "closed" / "file").parent_path();
        const fs::path file = write(home / "Downloads" / "file");
        ASSERT_EQ(::chmod(locked.c_str(), 0500), 0);
        ASSERT_EQ(::chmod(closed.c_str(), 0), 0);
        EXPECT_FALSE(trash.move(locked / "file"));
        EXPECT_FALSE(trash.move(closed / "file"));
        EXPECT_FALSE(trash.move("/etc/passwd"));
        EXPECT_TRUE(isThere(locked / "file"));
        EXPECT_EQ(names(homeTrash() / "info"), Names{});
        EXPECT_TRUE(trash.move(file));
        EXPECT_EQ(names(homeTrash() / "files"), Names{"file"});
        ::chmod(locked.c_str(), 0700);
        ::chmod(closed.c_str(), 0700);
    });
    if (status == notPermitted) {
        GTEST_SKIP() << "no other user may be taken on here";
    }
    EXPECT_EQ(status, 0);
}

TEST_F(TrashMounts, S19_AnImmutableFileStays) {
    const fs::path file = write(home / "file");
    const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    int flags = FS_IMMUTABLE_FL;
    const bool isImmutable = ::ioctl(descriptor, FS_IOC_SETFLAGS, &flags) == 0;
    if (isImmutable) {
        EXPECT_FALSE(trash.move(file));
        EXPECT_EQ(contents(file), "something");
        EXPECT_EQ(names(homeTrash() / "info"), Names{});
        flags = 0;
        EXPECT_EQ(::ioctl(descriptor, FS_IOC_SETFLAGS, &flags), 0);
        EXPECT_TRUE(trash.move(file));
    }
    ::close(descriptor);
    if (!isImmutable) {
        GTEST_SKIP() << "no file can be made immutable here";
    }
}

TEST_F(TrashMounts, S20_TellsExactlyWhichOfThemMoved) {
    onTwoDisks([this] { // where waiting for the disk takes no time
        constexpr int count = 10'000;
        Simulated::SimulatedMainLoop loop;
        Linux::LinuxFileManager files(loop, Linux::Trash(disk / "share", disk));
        std::vector<fs::path> all;
        std::vector<fs::path> movable;
        for (int number = 0; number < count; ++number) {
            const fs::path file = disk / std::to_string(number / 4) / std::to_string(number % 4) / "data.bin";
            all.push_back(file);
            if (number % 7 != 0) {
                movable.push_back(write(file, {}));
            }
        }
        std::vector<fs::path> moved;
        bool isOnMainThread = true;
        files.recycle(all, [&](std::vector<fs::path> answer) {
            moved = std::move(answer);
            isOnMainThread = loop.isMainThread();
        });
        EXPECT_TRUE(isThere(movable.front())) << "nothing waits for the disk";
        loop.settle();
        EXPECT_FALSE(isOnMainThread);
        EXPECT_EQ(moved, movable);
        std::set<fs::path> inTrash;
        for (const auto& entry : entries(disk / "share" / "Trash")) {
            inTrash.insert(entry.place);
        }
        EXPECT_EQ(inTrash, std::set<fs::path>(movable.begin(), movable.end()));
    });
}
