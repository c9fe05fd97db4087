#pragma once

#include "Duvesk/FileWalker.hpp"
#include "Duvesk/Places.hpp"
#include "ZorbelKit/Checked.hpp"

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <utility>

namespace Simulated {

/// A disk in memory, and the places on it where a scan looks: those of "/home".
class SimulatedFiles : public Duvesk::FileWalker, public Duvesk::Places {
public:
    /// A file in folders that come with it.
    void add(const std::filesystem::path& path, std::int64_t size,
             std::optional<ZorbelKit::TimePoint> modified = std::nullopt) {
        for (auto folder = path.parent_path(); folder != folder.root_path(); folder = folder.parent_path()) {
            items_.try_emplace(folder, Duvesk::WalkItem{.path = folder, .modified = modified});
        }
        items_.insert_or_assign(
            path,
            Duvesk::WalkItem{.path = path, .isRegularFile = true, .fileSize = size, .modified = modified});
    }

    std::optional<std::vector<std::filesystem::path>> entries(const std::filesystem::path& folder,
                                                              Hidden hidden) const override {
        std::vector<std::filesystem::path> found;
        for (const auto& [path, item] : items_) {
            if (path.parent_path() == folder && (hidden == Hidden::include || !isHidden(path))) {
                found.push_back(path.filename());
            }
        }
        return isFolder(folder) ? std::optional(found) : std::nullopt;
    }

    bool isFolder(const std::filesystem::path& path) const override {
        const auto found = items_.find(path);
        return found != items_.end() && !found->second.isRegularFile;
    }

    std::optional<ZorbelKit::TimePoint> modified(const std::filesystem::path& path) const override {
        const auto found = items_.find(path);
        return found == items_.end() ? std::nullopt : found->second.modified;
    }

    bool walk(const std::filesystem::path& folder, Packages,
              const std::function<bool(const Duvesk::WalkItem&)>& visit) const override {
        for (const auto& [path, item] : items_) {
            if (isBelow(path, folder) && !visit(item)) {
                break;
            }
        }
        return isFolder(folder);
    }

    std::vector<std::optional<std::int64_t>> sizesBelow(const std::vector<std::filesystem::path>& folders,
                                                        std::int64_t most) const override {
        std::vector<std::optional<std::int64_t>> sizes;
        for (const auto& folder : folders) {
            std::int64_t sum = 0;
            std::int64_t count = 0;
            const bool isWalked = walk(folder, Packages::enter, [&](const Duvesk::WalkItem& item) {
                sum = checked::saturatingAdd(sum, ++count > most ? 0 : item.fileSize.value_or(0));
                return count <= most;
            });
            sizes.push_back(isWalked ? std::optional(sum) : std::nullopt);
        }
        return sizes;
    }

    std::optional<std::filesystem::path> caches() const override { return "/home/Library/Caches"; }
    std::vector<Root> largeFileRoots() const override {
        return {{"/home/Downloads", "Downloads"},
                {"/home/Desktop", "Desktop"},
                {"/home/Documents", "Documents"},
                {"/home/Movies", "Movies"}};
    }
    std::vector<std::filesystem::path> supportFolders() const override {
        return {"/home/Library/Application Support"};
    }
    std::set<std::string, std::less<>> installedBundleIDs() const override { return installed; }
    bool mayBeLeftBehind(const std::filesystem::path& entry) const override { return !inUse.contains(entry); }

    std::set<std::string, std::less<>> installed;
    std::set<std::filesystem::path> inUse;

private:
    static bool isHidden(const std::filesystem::path& path) {
        return path.filename().native().starts_with('.');
    }

    /// And not hidden on the way.
    static bool isBelow(const std::filesystem::path& path, const std::filesystem::path& folder) {
        for (auto above = path; above.has_relative_path(); above = above.parent_path()) {
            if (above == folder) {
                return above != path;
            }
            if (isHidden(above)) {
                return false;
            }
        }
        return false;
    }

    std::map<std::filesystem::path, Duvesk::WalkItem> items_;
};

} // namespace Simulated
