#pragma once

#include "Tests/Platforms/TrashTest.hpp"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <vector>

using Names = std::vector<std::string>;

inline constexpr int notPermitted = 77; // what a child ends with that cannot do what a test needs

/// Whether this process has mounts of its own from now on, as itself or as the root of a small world.
inline bool leaveMounts() {
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

inline bool mountMemory(const std::filesystem::path& place, const char* options = "mode=0755") {
    std::filesystem::create_directories(place);
    return ::mount("zorbel-test", place.c_str(), "tmpfs", 0, options) == 0;
}

inline std::string trashOfUser() {
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
    static void expectRestored(const std::filesystem::path& trashFolder, const std::filesystem::path& top,
                               const std::filesystem::path& item,
                               const std::map<std::string, std::string>& before) {
        const auto moved = TrashReader::entries(trashFolder);
        ASSERT_EQ(moved.size(), 1U);
        EXPECT_FALSE(isThere(item));
        EXPECT_EQ(top / moved.front().place, item);
        TrashReader::restore(moved.front(), top);
        EXPECT_EQ(TrashReader::pictureOf(item), before);
        EXPECT_EQ(TrashReader::names(trashFolder / "info"), Names{});
    }

    const std::filesystem::path disk;
};
