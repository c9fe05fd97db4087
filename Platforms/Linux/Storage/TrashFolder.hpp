#pragma once

#include "Platforms/Linux/FileHandle.hpp"
#include "Platforms/Linux/Storage/FileStatus.hpp"
#include "Platforms/Linux/Storage/TrashItem.hpp"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace Linux {

/// One of the folders that make up the Trash: there is one in the user's data folder, and one at the top of
/// each other file system. The part of it that holds sizes of folders is a cache of the programs that show
/// the Trash, who find out themselves what is missing there.
class TrashFolder {
public:
    /// Each is made where it is missing, for the user alone; none where that fails, or what is there is not
    /// to be trusted.
    static std::optional<TrashFolder> inData(const std::filesystem::path& dataFolder);
    static std::optional<TrashFolder> inSharedTrash(const FileHandle& top); // which an administrator made
    static std::optional<TrashFolder> ofUser(const FileHandle& top);

    bool isOnMountOf(const FileStatus& folder) const { return status_.isOnMountOf(folder); }

    enum class Outcome {
        moved,
        elsewhere, // it stays: this folder is on another file system, whatever it looked like
        refused,   // it stays
    };

    /// Moves an item here, noting down that it lay at `place`.
    Outcome take(const TrashItem& item, std::string_view place) const;

private:
    TrashFolder(FileHandle info, FileHandle files, const FileStatus& status);
    static std::optional<TrashFolder> in(const FileHandle& folder);

    bool isTaken(const std::string& name) const;
    std::string freeName(std::string_view name) const;
    int tryToTake(const TrashItem& item, std::string_view place, const std::string& name) const;

    FileHandle info_;
    FileHandle files_;
    FileStatus status_; // of the folder that the items lie in
};

} // namespace Linux
