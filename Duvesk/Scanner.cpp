#include "Duvesk/Scanner.hpp"

#include "ZorbelKit/Utf8.hpp"

#include <algorithm>
#include <ctime>
#include <functional>
#include <string_view>
#include <utility>

namespace Duvesk {

using namespace ZorbelKit;

namespace {

using Path = std::filesystem::path;

constexpr std::int64_t restingDays = 180; // a file that lies longer is said to
constexpr std::int64_t leftoverDays = 31;
constexpr std::int64_t daysOfMonth = 30;

std::string nameText(const Path& path) {
    return utf8::oneLine(utf8::repaired(path.filename().native()));
}

bool isOfTheSystem(std::string_view name) {
    return name.starts_with("com.apple.");
}

/// What is not hidden in a folder, with its whole path.
std::vector<Path> entriesOf(const FileWalker& walker, const Path& folder) {
    std::vector<Path> paths;
    for (const Path& name : walker.entries(folder, FileWalker::Hidden::skip).value_or(std::vector<Path>())) {
        paths.push_back(folder / name);
    }
    return paths;
}

std::string ageText(const std::optional<TimePoint>& modified, TimePoint now) {
    const auto days = modified ? wholeDays(*modified, now) : std::nullopt;
    return days && *days > restingDays ? " · untouched for " + std::to_string(*days / daysOfMonth) + " months"
                                       : "";
}

/// One whose date cannot be read counts as old.
bool isOld(const std::optional<TimePoint>& modified, TimePoint now) {
    return !modified || wholeDays(*modified, now).value_or(0) >= leftoverDays;
}

/// The second of a moment, which the C library can count with however early or late it is, and the
/// nanoseconds since.
using SplitTime = std::pair<std::time_t, std::int64_t>;

SplitTime split(TimePoint moment) {
    constexpr std::int64_t second = 1'000'000'000;
    const std::int64_t count = moment.time_since_epoch().count();
    const std::int64_t rest = count % second;
    return rest < 0 ? SplitTime{count / second - 1, rest + second} : SplitTime{count / second, rest};
}

std::optional<std::tm> localTime(std::time_t time) {
    std::tm local{};
    return ::localtime_r(&time, &local) ? std::optional(local) : std::nullopt;
}

/// Days of the calendar since 1970.
std::int64_t date(const std::tm& local) {
    const std::chrono::year_month_day day(std::chrono::year(local.tm_year + 1900),
                                          std::chrono::month(static_cast<unsigned>(local.tm_mon + 1)),
                                          std::chrono::day(static_cast<unsigned>(local.tm_mday)));
    return std::chrono::sys_days(day).time_since_epoch().count();
}

/// When the clocks show the time of day of `start` so many days later. Where they show it twice that day it
/// is the one of the same season, and where they skip it, as much later as they are moved.
std::optional<std::time_t> daysLater(const std::tm& start, std::int64_t days) {
    std::optional<std::time_t> latest;
    for (const int season : {start.tm_isdst, start.tm_isdst > 0 ? 0 : 1}) {
        std::tm wanted = start;
        wanted.tm_mday += static_cast<int>(days);
        wanted.tm_isdst = season;
        wanted.tm_wday = -1; // stays where there is no such moment
        const std::time_t time = std::mktime(&wanted);
        if (wanted.tm_wday < 0) {
            continue;
        }
        if (wanted.tm_hour == start.tm_hour && wanted.tm_min == start.tm_min) {
            return time;
        }
        latest = std::max(latest.value_or(time), time);
    }
    return latest;
}

} // namespace

Scanner::Scanner(std::shared_ptr<const Places> places, std::shared_ptr<const FileWalker> walker)
    : places_(std::move(places))
    , walker_(std::move(walker)) {
}

std::vector<Finding> Scanner::run(TimePoint now) const {
    std::vector<Finding> findings;
    addCaches(findings);
    addLargeFiles(now, findings);
    addLeftovers(now, findings);
    std::ranges::stable_sort(findings, std::ranges::greater(), &Finding::bytes);
    return findings;
}

std::int64_t Scanner::directorySize(const Path& url) const {
    return walker_->sizesBelow({url}, mostItems).front().value_or(0);
}

void Scanner::addCaches(std::vector<Finding>& findings) const {
    const auto folder = places_->caches();
    if (!folder) {
        return;
    }
    std::vector<Path> caches = entriesOf(*walker_, *folder);
    std::erase_if(caches, [](const Path& cache) { return isOfTheSystem(cache.filename().native()); });
    const auto sizes = walker_->sizesBelow(caches, mostItems);
    for (std::size_t index = 0; index < caches.size(); ++index) {
        if (sizes[index].value_or(0) > cacheFloor) {
            findings.push_back({.kind = Kind::cache,
                                .url = caches[index],
                                .bytes = *sizes[index],
                                .note = "Cache for " + nameText(caches[index])});
        }
    }
}

void Scanner::addLargeFiles(TimePoint now, std::vector<Finding>& findings) const {
    for (const Places::Root& root : places_->largeFileRoots()) {
        std::int64_t count = 0;
        walker_->walk(root.folder, FileWalker::Packages::skip, [&](const WalkItem& item) {
            if (item.isRegularFile && item.fileSize.value_or(0) > largeFileFloor) {
                findings.push_back({.kind = Kind::large,
                                    .url = item.path,
                                    .bytes = *item.fileSize,
                                    .note = "In " + root.name + ageText(item.modified, now)});
            }
            return ++count < mostRootItems;
        });
    }
}

void Scanner::addLeftovers(TimePoint now, std::vector<Finding>& findings) const {
    std::vector<Path> folders;
    for (const Path& support : places_->supportFolders()) {
        std::ranges::copy_if(entriesOf(*walker_, support), std::back_inserter(folders),
                             [&](const Path& entry) {
                                 const std::string name = entry.filename().native();
                                 return name.find('.') != std::string::npos && !isOfTheSystem(name) &&
                                        isOld(walker_->modified(entry), now);
                             });
    }
    if (folders.empty()) {
        return; // what is installed need not be read
    }
    const auto installed = installedBundleIDs();
    std::erase_if(folders, [&](const Path& folder) {
        return installed.contains(folder.filename().native()) || !places_->mayBeLeftBehind(folder);
    });
    const auto sizes = walker_->sizesBelow(folders, mostItems);
    for (std::size_t index = 0; index < folders.size(); ++index) {
        if (sizes[index].value_or(0) > leftoverFloor) {
            findings.push_back(
                {.kind = Kind::leftover,
                 .url = folders[index],
                 .bytes = *sizes[index],
                 .note = "No installed app claims " + nameText(folders[index]) + ", untouched for months"});
        }
    }
}

std::optional<std::int64_t> wholeDays(TimePoint from, TimePoint to) {
    const SplitTime start = split(from);
    const SplitTime end = split(to);
    const auto startDate = localTime(start.first);
    const auto endDate = localTime(end.first);
    if (!startDate || !endDate) {
        return std::nullopt;
    }
    const std::int64_t days = date(*endDate) - date(*startDate);
    const auto second = daysLater(*startDate, days);
    if (!second) {
        return std::nullopt;
    }
    const SplitTime reached{*second, start.second}; // on the date of the end
    if (start <= end) {
        return reached > end ? days - 1 : days;
    }
    return reached < end ? days + 1 : days;
}

} // namespace Duvesk
