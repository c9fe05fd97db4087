#pragma once

#include "Duvesk/FileWalker.hpp"
#include "Platforms/Linux/Storage/LinuxPlaces.hpp"
#include "Tests/TemporaryFolder.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace storage {

namespace fs = std::filesystem;

inline std::optional<ZorbelKit::TimePoint> changed(const fs::path& path) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0) {
        return std::nullopt;
    }
    const auto since = std::chrono::seconds(status.st_mtim.tv_sec);
    return ZorbelKit::TimePoint(std::chrono::duration_cast<ZorbelKit::TimePoint::duration>(since));
}

/// Looks at the real disk in the simplest way.
class PlainWalker : public Duvesk::FileWalker {
public:
    std::optional<std::vector<fs::path>> entries(const fs::path& folder, Hidden hidden) const override {
        std::error_code failure;
        std::vector<fs::path> found;
        for (fs::directory_iterator entry(folder, failure), end; !failure && entry != end;
             entry.increment(failure)) {
            if (hidden == Hidden::include || !entry->path().filename().native().starts_with('.')) {
                found.push_back(entry->path());
            }
        }
        std::ranges::sort(found);
        return failure ? std::nullopt : std::optional(found);
    }

    bool isFolder(const fs::path& path) const override {
        std::error_code failure;
        return fs::symlink_status(path, failure).type() == fs::file_type::directory;
    }

    std::optional<ZorbelKit::TimePoint> modified(const fs::path& path) const override {
        return changed(path);
    }

    bool walk(const fs::path& folder, Packages packages,
              const std::function<bool(const Duvesk::WalkItem&)>& visit) const override {
        const auto found = entries(folder, Hidden::skip);
        for (const fs::path& path : found.value_or(std::vector<fs::path>())) {
            std::error_code failure;
            const bool isFile = fs::symlink_status(path, failure).type() == fs::file_type::regular;
            Duvesk::WalkItem item{.path = path, .isRegularFile = isFile, .modified = changed(path)};
            if (isFile) {
                item.fileSize = static_cast<std::int64_t>(fs::file_size(path, failure));
            }
            if (!visit(item)) {
                return true;
            }
            if (isFolder(path)) {
                walk(path, packages, visit);
            }
        }
        return found.has_value();
    }

    std::vector<std::optional<std::int64_t>> sizesBelow(const std::vector<fs::path>& folders,
                                                        std::int64_t) const override {
        std::vector<std::optional<std::int64_t>> sizes;
        for (const fs::path& folder : folders) {
            std::int64_t size = 0;
            const bool isWalked = walk(folder, Packages::enter, [&](const Duvesk::WalkItem& item) {
                size += item.fileSize.value_or(0);
                return true;
            });
            sizes.push_back(isWalked ? std::optional(size) : std::nullopt);
        }
        return sizes;
    }
};

/// A whole machine in a folder.
class Machine {
public:
    std::map<std::string, std::string, std::less<>> environment;
    fs::path home = "/home/alice";

    Machine() { folder(home); }

    /// Where a path of this machine really is.
    fs::path at(const fs::path& path) const { return folder_.path() / path.relative_path(); }
    fs::path atHome(const fs::path& path) const { return at("/home/alice" / path); }

    void folder(const fs::path& path) const { fs::create_directories(at(path)); }
    void file(const fs::path& path, const std::string& text = {}) const {
        folder(path.parent_path());
        std::ofstream(at(path)) << text;
    }
    void inHome(const fs::path& path, const std::string& text = {}) const {
        file("/home/alice" / path, text);
    }
    void launcher(const fs::path& path, const std::string& keys) const {
        file(path, "[Desktop Entry]\nType=Application\n" + keys);
    }
    void link(const fs::path& path, const fs::path& target) const {
        folder(path.parent_path());
        fs::create_symlink(target, at(path));
    }

    Linux::StorageLayout layout() const {
        return {.root = folder_.path(),
                .home = home,
                .environment =
                    [values = environment](std::string_view name) {
                        const auto value = values.find(name);
                        return value == values.end() ? std::nullopt : std::optional(value->second);
                    },
                .user = ::getuid()};
    }

    Linux::LinuxPlaces places() const { return {layout(), std::make_shared<PlainWalker>()}; }

    /// As a scan decides.
    static bool isLeftBehind(const Linux::LinuxPlaces& places, const fs::path& entry) {
        return !places.installedBundleIDs().contains(entry.filename().string()) &&
               places.mayBeLeftBehind(entry);
    }
    bool isLeftBehind(const std::string& name, const fs::path& support = ".local/share") const {
        fs::create_directories(atHome(support / name));
        return isLeftBehind(places(), atHome(support / name));
    }

private:
    TemporaryFolder folder_;
};

/// A process whose working folder, or one of whose open files, is there.
class Child {
public:
    Child(const fs::path& workingFolder, const fs::path& openFile) {
        std::array<int, 2> ready{};
        std::array<int, 2> stay{};
        if (::pipe(ready.data()) != 0 || ::pipe(stay.data()) != 0) {
            throw std::runtime_error("no pipes");
        }
        child_ = ::fork();
        if (child_ == 0) {
            ::close(stay[1]);
            const bool isThere = ::chdir(workingFolder.c_str()) == 0 &&
                                 (openFile.empty() || ::open(openFile.c_str(), O_RDONLY) >= 0);
            char byte = isThere ? 'y' : 'n';
            [[maybe_unused]] const auto written = ::write(ready[1], &byte, 1);
            [[maybe_unused]] const auto ended = ::read(stay[0], &byte, 1); // until the parent lets go
            ::_exit(0);
        }
        ::close(stay[0]);
        stay_ = stay[1];
        char byte = 'n';
        isReady = ::read(ready[0], &byte, 1) == 1 && byte == 'y';
        ::close(ready[0]);
        ::close(ready[1]);
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child() {
        ::close(stay_);
        ::waitpid(child_, nullptr, 0);
    }

    bool isReady = false;

private:
    pid_t child_ = 0;
    int stay_ = -1;
};

} // namespace storage
