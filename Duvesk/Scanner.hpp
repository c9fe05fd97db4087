#pragma once

#include "Duvesk/FileWalker.hpp"
#include "Duvesk/Finding.hpp"
#include "Duvesk/Places.hpp"
#include "ZorbelKit/Time.hpp"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Duvesk {

/// Finds what is large, cached or left behind. Holds what it needs for itself and may outlive whoever started
/// it. Any thread.
class Scanner {
public:
    // Strictly more than so many bytes.
    static constexpr std::int64_t cacheFloor = 20'971'520;
    static constexpr std::int64_t largeFileFloor = 104'857'600;
    static constexpr std::int64_t leftoverFloor = 10'485'760;

    static constexpr std::int64_t mostItems = 60'000;     // below a cache or support folder
    static constexpr std::int64_t mostRootItems = 20'000; // below a root of large files

    Scanner(std::shared_ptr<const Places> places, std::shared_ptr<const FileWalker> walker);

    /// The whole scan, largest first. Days are counted in the local time zone up to `now`.
    std::vector<Finding> run(ZorbelKit::TimePoint now) const;

    std::set<std::string, std::less<>> installedBundleIDs() const { return places_->installedBundleIDs(); }

    /// Sum of the file sizes below a folder; 0 where it cannot be walked.
    std::int64_t directorySize(const std::filesystem::path& url) const;

private:
    void addCaches(std::vector<Finding>& findings) const;
    void addLargeFiles(ZorbelKit::TimePoint now, std::vector<Finding>& findings) const;
    void addLeftovers(ZorbelKit::TimePoint now, std::vector<Finding>& findings) const;

    std::shared_ptr<const Places> places_;
    std::shared_ptr<const FileWalker> walker_;
};

/// Whole days from one moment to another by the calendar of the local time zone: a day is over at the same
/// time of day on the next date, however long that takes. Negative where `to` is earlier by a whole day or
/// more; none where a moment has no date there.
std::optional<std::int64_t> wholeDays(ZorbelKit::TimePoint from, ZorbelKit::TimePoint to);

} // namespace Duvesk
