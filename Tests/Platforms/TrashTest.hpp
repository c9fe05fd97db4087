#pragma once

#include "Platforms/Linux/Storage/Trash.hpp"
#include "Tests/Platforms/TrashReader.hpp"
#include "Tests/TemporaryFolder.hpp"

#include <gtest/gtest.h>
#include <stdio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

/// A home with a Trash of its own.
class TrashTest : public testing::Test {
protected:
    TrashTest()
        : root(std::filesystem::canonical(folder_.path()))
        , home(root / "home")
        , data(home / ".local/share")
        , trash(data, home) {
        std::filesystem::create_directories(home / "Downloads");
    }

    static std::filesystem::path write(const std::filesystem::path& file,
                                       const std::string& text = "something") {
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << text;
        return file;
    }

    static bool isThere(const std::filesystem::path& path) {
        return std::filesystem::exists(std::filesystem::symlink_status(path));
    }

    std::filesystem::path homeTrash() const { return data / "Trash"; }

    /// Does something in a child process, of which failed expectations are failures here too. The status with
    /// which `work` ends it, or 0.
    static int inChild(const std::function<void()>& work) {
        ::fflush(nullptr);
        const pid_t child = ::fork();
        if (child == 0) {
            work();
            ::fflush(nullptr);
            ::_exit(HasFailure() ? 1 : 0);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        EXPECT_TRUE(WIFEXITED(status));
        return WEXITSTATUS(status);
    }

private:
    TemporaryFolder folder_;

protected:
    const std::filesystem::path root;
    const std::filesystem::path home;
    const std::filesystem::path data;
    const Linux::Trash trash;
};
