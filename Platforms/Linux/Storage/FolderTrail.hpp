#pragma once

#include "Platforms/Linux/Storage/FolderReading.hpp"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Linux {

/// The way from a folder down to the one below it that is being walked, and what is still to be entered on
/// the way back. However deep it leads, only some of the folders are open at a time: the others are opened
/// again by their names, each only if it is still the same.
class FolderTrail {
public:
    /// Some of the folders that lie in another one.
    struct Branch {
        std::shared_ptr<const FileHandle> folder;
        std::vector<std::string> names;
        std::size_t depth = 0; // levels below the root of the walk
    };

    /// Stays within `mount`.
    FolderTrail(Branch top, Mount mount);

    /// The next folder that waits to be entered, entered: its descriptor. None at the end.
    std::optional<int> enterNext();

    /// Folders in the one that was entered last, or in the top one, that are to be entered too. The last one
    /// is the next.
    std::vector<std::string>& waiting() { return levels_.back().waiting; }

    /// From the top folder down to the one that was entered last: empty, or "/some/folder".
    const std::string& path() const { return path_; }

    /// Hands over about half of what waits, as near to the top as can be, where more than one folder waits.
    std::optional<Branch> share();

private:
    struct Level {
        std::shared_ptr<const FileHandle> folder; // none where it was closed on the way
        FileNumber file;
        std::size_t pathLength = 0; // of `path_` down to this level
        std::vector<std::string> waiting;
    };

    std::optional<int> enter(const std::string& name);
    void leave();
    /// The descriptor of the lowest level; none where it cannot be reached any more.
    std::optional<int> reopened();
    void keepOpen(FileHandle folder, std::size_t level);
    std::string nameOf(std::size_t level) const;

    Mount mount_;
    std::size_t topDepth_;
    std::string path_;
    std::vector<Level> levels_; // never empty; the first is always open
};

} // namespace Linux
