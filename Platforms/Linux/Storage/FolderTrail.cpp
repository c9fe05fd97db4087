#include "Platforms/Linux/Storage/FolderTrail.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

namespace Linux {

namespace {

// Open at a time are so many of the lowest levels, and one in so many above them, from which the way down
// is short again.
constexpr std::size_t openLevels = 32;
constexpr std::size_t milestone = 512;

// No program makes folders that lie deeper, and few could open them; the effort grows with the square.
constexpr std::size_t deepest = 10'000;

} // namespace

FolderTrail::FolderTrail(Branch top, Mount mount)
    : mount_(mount)
    , topDepth_(top.depth) {
    levels_.push_back(
        {.folder = std::move(top.folder), .file = {}, .pathLength = 0, .waiting = std::move(top.names)});
}

std::optional<int> FolderTrail::enterNext() {
    for (;;) {
        if (waiting().empty()) {
            if (levels_.size() == 1) {
                return std::nullopt;
            }
            leave();
            continue;
        }
        const std::string name = std::move(waiting().back());
        waiting().pop_back();
        if (const auto folder = enter(name)) {
            return folder;
        }
    }
}

std::optional<FolderTrail::Branch> FolderTrail::share() {
    const auto hasSome = [](const Level& level) { return !level.waiting.empty(); };
    const auto level =
        std::ranges::find_if(levels_, [&](const Level& each) { return hasSome(each) && each.folder; });
    if (level == levels_.end() ||
        (level->waiting.size() == 1 && std::none_of(std::next(level), levels_.end(), hasSome))) {
        return std::nullopt;
    }
    Branch branch{.folder = level->folder,
                  .names = {},
                  .depth = topDepth_ + static_cast<std::size_t>(level - levels_.begin())};
    const auto half = level->waiting.begin() + static_cast<std::ptrdiff_t>(level->waiting.size() / 2);
    std::move(half, level->waiting.end(), std::back_inserter(branch.names));
    level->waiting.erase(half, level->waiting.end());
    return branch;
}

std::optional<int> FolderTrail::enter(const std::string& name) {
    if (topDepth_ + levels_.size() > deepest) {
        return std::nullopt;
    }
    const auto above = reopened();
    if (!above) {
        waiting().clear();
        return std::nullopt;
    }
    // Looked at first: to open a folder may mount something on it.
    const auto status = look(*above, name.c_str());
    if (!status || status->kind != ItemKind::folder || status->mount != mount_) {
        return std::nullopt;
    }
    FileHandle folder = openBelow(*above, name.c_str());
    if (!folder) {
        return std::nullopt;
    }
    path_ += '/';
    path_ += name;
    levels_.push_back({.folder = nullptr, .file = status->file, .pathLength = path_.size(), .waiting = {}});
    keepOpen(std::move(folder), levels_.size() - 1);
    return levels_.back().folder->get();
}

void FolderTrail::leave() {
    levels_.pop_back();
    path_.resize(levels_.back().pathLength);
}

std::optional<int> FolderTrail::reopened() {
    std::size_t level = levels_.size() - 1;
    while (!levels_[level].folder) {
        --level;
    }
    while (++level < levels_.size()) {
        FileHandle folder = openBelow(levels_[level - 1].folder->get(), nameOf(level).c_str());
        const auto status = folder ? look(folder) : std::nullopt;
        if (!status || status->file != levels_[level].file) {
            return std::nullopt;
        }
        keepOpen(std::move(folder), level);
    }
    return levels_.back().folder->get();
}

/// Gives a level its descriptor, and closes the one that is far enough above it.
void FolderTrail::keepOpen(FileHandle folder, std::size_t level) {
    levels_[level].folder = std::make_shared<const FileHandle>(std::move(folder));
    if (level >= openLevels && (level - openLevels) % milestone != 0) {
        levels_[level - openLevels].folder.reset();
    }
}

std::string FolderTrail::nameOf(std::size_t level) const {
    const std::size_t start = levels_[level - 1].pathLength + 1; // after the slash
    return path_.substr(start, levels_[level].pathLength - start);
}

} // namespace Linux
