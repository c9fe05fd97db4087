#include "Platforms/Linux/InstalledPrograms.hpp"

#include <utility>

namespace Linux {

InstalledPrograms::InstalledPrograms(ZorbelKit::MainLoop& loop, std::vector<std::filesystem::path> folders,
                                     std::string locale)
    : loop_(loop)
    , folders_(std::move(folders))
    , locale_(std::move(locale)) {
}

std::optional<ApplicationIdentity> InstalledPrograms::ofWindow(const WindowClues& clues) {
    if (asked_ != clues) {
        asked_ = clues;
        find();
        look();
    }
    return answer_;
}

std::optional<DesktopEntries::Entry> InstalledPrograms::withId(std::string_view id) const {
    return entries_ ? entries_->withId(launcherOf(id)) : std::nullopt;
}

void InstalledPrograms::waitForFirst(std::chrono::milliseconds most) {
    if (entries_) {
        return;
    }
    look();
    if (first_ && first_->result.wait_for(most) == std::future_status::ready) {
        entries_ = first_->result.get();
        first_.reset();
    }
}

void InstalledPrograms::find() {
    answer_ = asked_ ? applicationIdentity(*asked_, entries_.get()) : std::nullopt;
}

void InstalledPrograms::look() {
    if (std::exchange(isLooking_, true)) {
        return;
    }
    if (!entries_) {
        first_ = std::make_shared<FirstReading>();
    }
    auto take = lifetime_.guard([this](std::shared_ptr<const DesktopEntries> found) {
        isLooking_ = false;
        first_.reset();
        if (found) {
            entries_ = std::move(found);
            find();
        }
    });
    loop_.background(ZorbelKit::Priority::utility, [&loop = loop_, known = entries_, folders = folders_,
                                                    locale = locale_, first = first_, take] {
        const bool isSame = known && known->isCurrent();
        auto found = isSame ? nullptr : std::make_shared<const DesktopEntries>(folders, locale);
        if (first) {
            first->promise.set_value(found);
        }
        loop.post([take, found]() mutable { take(std::move(found)); });
    });
}

} // namespace Linux
