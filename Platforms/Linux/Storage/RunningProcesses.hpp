#pragma once

#include "Platforms/Linux/Storage/StorageLayout.hpp"

#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <vector>

namespace Linux {

/// Shows the folder that describes each process: "/proc/123".
void forEachProcess(const StorageLayout& layout,
                    const std::function<void(const std::filesystem::path&)>& visit);

/// Which entries of some folders are in use: by a process of the user whose executable, working folder or an
/// open file is there or below, or as a place where something is mounted.
class EntriesInUse {
public:
    /// `folders` have no link in their paths.
    EntriesInUse(const StorageLayout& layout, const std::vector<std::filesystem::path>& folders);

    /// `entry` lies in one of the folders.
    bool contains(const std::filesystem::path& entry) const { return entries_.contains(entry.native()); }

private:
    void addProcess(const std::filesystem::path& process);
    void addMounts(const StorageLayout& layout);
    void add(const std::string& used);

    std::vector<std::string> beginnings_; // the folders, each with a slash behind it
    std::set<std::string> entries_;
};

} // namespace Linux
