#include "Duvesk/Scanner.hpp"

#include <utility>

namespace Duvesk {

Scanner::Scanner(std::shared_ptr<const Places> places, std::shared_ptr<const FileWalker> walker)
    : places_(std::move(places))
    , walker_(std::move(walker)) {
}

std::vector<Finding> Scanner::run(ZorbelKit::TimePoint now) const {
    std::vector<Finding> findings;
    addCaches(findings);
    addLargeFiles(now, findings);
    addLeftovers(now, findings);
    return findings;
}

std::int64_t Scanner::directorySize(const std::filesystem::path& url) const {
    return walker_->sizesBelow({url}, mostItems).front().value_or(0);
}

void Scanner::addCaches(std::vector<Finding>&) const {
}

void Scanner::addLargeFiles(ZorbelKit::TimePoint, std::vector<Finding>&) const {
}

void Scanner::addLeftovers(ZorbelKit::TimePoint, std::vector<Finding>&) const {
}

std::optional<std::int64_t> wholeDays(ZorbelKit::TimePoint, ZorbelKit::TimePoint) {
    return std::nullopt;
}

} // namespace Duvesk
