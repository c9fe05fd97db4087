#pragma once

#include "ZorbelKit/Time.hpp"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <vector>

namespace Duvesk {

/// Something a walk comes upon.
struct WalkItem {
    std::filesystem::path path;
    bool isRegularFile = false;
    std::optional<std::int64_t> fileSize{};         // in bytes, its length; none for a folder
    std::optional<ZorbelKit::TimePoint> modified{}; // none where it cannot be read
};

/// Looks at folders as they are on the disk: links are never followed, other file systems never entered, and
/// what cannot be read is left out. Hidden items, whose names begin with a dot, are left out with all that is
/// below them, unless it says otherwise. Any thread, several at a time.
class FileWalker {
public:
    enum class Packages { enter, skip }; // whether folders that users see as one file are walked
    enum class Hidden { skip, include };

    virtual ~FileWalker() = default;

    /// What lies in a folder, in the order of the names' bytes; none where it cannot be listed.
    virtual std::optional<std::vector<std::filesystem::path>> entries(const std::filesystem::path& folder,
                                                                      Hidden hidden) const = 0;

    virtual bool isFolder(const std::filesystem::path& path) const = 0; // itself, not by way of a link

    /// When it was changed last; none where that cannot be read.
    virtual std::optional<ZorbelKit::TimePoint> modified(const std::filesystem::path& path) const = 0;

    /// Shows everything below a folder, in no order but always the same, until `visit` says false. False
    /// where the folder cannot be walked.
    virtual bool walk(const std::filesystem::path& folder, Packages packages,
                      const std::function<bool(const WalkItem&)>& visit) const = 0;

    /// How many bytes the files below each of these have, of the first `most` items that a walk comes upon
    /// there, packages entered; none where it cannot be walked. What is not a folder has nothing below it.
    virtual std::vector<std::optional<std::int64_t>>
    sizesBelow(const std::vector<std::filesystem::path>& folders, std::int64_t most) const = 0;
};

} // namespace Duvesk
