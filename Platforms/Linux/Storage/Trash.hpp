#pragma once

#include <filesystem>

namespace Linux {

struct TrashItem;

/// The Trash of the user's desktop, as its file manager shows it, by version 1.0 of the specification: what
/// is moved there can be put back, byte for byte. Nothing is ever copied or deleted; what cannot be moved
/// stays where it is. Blocks as long as the disk does: not for the main thread.
class Trash {
public:
    /// `dataFolder`: where the home trash lies, absolute. `home` is never moved, nor what contains it.
    Trash(std::filesystem::path dataFolder, std::filesystem::path home);

    /// Moves one file, folder or link as it is. False where it stays.
    bool move(const std::filesystem::path& path) const;

private:
    bool isKept(const TrashItem& item) const;

    std::filesystem::path dataFolder_;
    std::filesystem::path home_;
};

} // namespace Linux
