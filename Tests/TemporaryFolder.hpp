#pragma once

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

/// A folder of a test's own, removed with it and with all that is in it.
class TemporaryFolder {
public:
    explicit TemporaryFolder(const std::filesystem::path& place = std::filesystem::temp_directory_path()) {
        std::string pattern = (place / "zorbel-test-XXXXXX").string();
        if (!::mkdtemp(pattern.data())) {
            throw std::system_error(errno, std::generic_category(), pattern);
        }
        path_ = pattern;
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};
