#include "Platforms/Linux/Storage/LinuxFileManager.hpp"
#include "Platforms/Simulated/SimulatedMainLoop.hpp"
#include "Tests/Platforms/TrashMounts.hpp"

#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/fs.h>
#include <linux/seccomp.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

namespace fs = std::filesystem;
using TrashReader::contents;
using TrashReader::entries;
using TrashReader::names;
using TrashReader::pictureOf;

namespace {

constexpr uid_t another = 54321; // a user who is never the one of the tests

/// From now on this process is on a kernel, or its file systems are such, that a call fails where the lower
/// half of one of its arguments is not 0.
bool fail(unsigned int call, unsigned int argument, unsigned int error) {
    const auto place = static_cast<unsigned int>(offsetof(seccomp_data, args) + argument * 8U);
    sock_filter steps[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<unsigned int>(offsetof(seccomp_data, nr))),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 3),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, place),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, 0, 1, 0),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | error),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog program{static_cast<unsigned short>(std::size(steps)), steps};
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

} // namespace

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
                 if (::chown((shared / user).c_str(), another, another) != 0) {
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
                 if (::chown(own.c_str(), another, another) != 0) {
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
            ASSERT_EQ(::chown(folder.c_str(), another, another), 0);
        }
    }
    const int status = inChild([this] {
        if (::geteuid() == 0 &&
            (::setgroups(0, nullptr) != 0 || ::setgid(another) != 0 || ::setuid(another) != 0)) {
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

TEST_F(TrashMounts, WhereNothingCanBeAskedNotToReplaceNothingIsReplaced) {
    for (const unsigned int error : {unsigned{EINVAL}, unsigned{ENOSYS}}) {
        onTwoDisks([this, error] {
            if (!fail(SYS_renameat2, 4, error)) {
                ::_exit(notPermitted);
            }
            const fs::path stray = write(homeTrash() / "files" / "file", "of another");
            const fs::path item = write(home / "file", "mine");
            ASSERT_TRUE(trash.move(item));
            EXPECT_EQ(contents(stray), "of another");
            EXPECT_EQ(contents(homeTrash() / "files" / "file.2"), "mine");
            ASSERT_TRUE(trash.move(write(disk / "folder" / "file").parent_path()));
            EXPECT_EQ(names(disk / trashOfUser() / "files"), Names{"folder"});
            EXPECT_FALSE(trash.move(disk));
        });
    }
}

TEST_F(TrashMounts, OnAKernelThatDoesNotTellMountsApartATryDoes) {
    onTwoDisks([this] {
        const fs::path share = disk / "home" / "share";
        for (const fs::path& place : {share, disk / "bound"}) {
            write(disk / "real" / "file");
            fs::create_directories(place);
            ASSERT_EQ(::mount((disk / "real").c_str(), place.c_str(), nullptr, MS_BIND, nullptr), 0);
        }
        const Linux::Trash own(share, disk / "home");
        const Linux::Trash other(disk / "home" / "other", disk / "home");
        if (!fail(SYS_statx, 3, ENOSYS)) { // its mask
            ::_exit(notPermitted);
        }
        EXPECT_FALSE(own.move(disk));
        EXPECT_FALSE(own.move(disk / "bound"));
        EXPECT_FALSE(other.move(disk / "bound" / "file")) << "another mount all along its way";
        EXPECT_EQ(contents(disk / "real" / "file"), "something");
        EXPECT_TRUE(own.move(write(disk / "home" / "file"))) << "another mount than the home's Trash";
        EXPECT_EQ(entries(disk / trashOfUser()).at(0).place, "home/file");
        EXPECT_TRUE(own.move(share / "file"));
        EXPECT_EQ(names(share / "Trash" / "info"), Names{"file.trashinfo"});
    });
}

TEST_F(TrashMounts, ATrashThatTurnsOutToLieElsewhereIsPassedOver) {
    onTwoDisks([this] {
        const fs::path files = disk / ".Trash" / std::to_string(::geteuid()) / "files";
        fs::create_directories(files);
        ASSERT_EQ(::chmod((disk / ".Trash").c_str(), 01777), 0);
        ASSERT_TRUE(mountMemory(files));
        EXPECT_TRUE(trash.move(write(disk / "file")));
        EXPECT_EQ(names(files.parent_path() / "info"), Names{});
        EXPECT_EQ(names(disk / trashOfUser() / "files"), Names{"file"});
    });
}
