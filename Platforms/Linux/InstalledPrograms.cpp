#include "Platforms/Linux/InstalledPrograms.hpp"

#include <utility>

namespace Linux {

InstalledPrograms::InstalledPrograms(ZorbelKit::MainLoop& loop, std::vector<std::filesystem::path> folders,
                                     std::string locale)
    : loop_(loop)
    , folders_(std::move(folders))
    , locale_(std::move(locale)) {
}

std::optional<DesktopEntries::Entry> InstalledPrograms::ofWindow(const std::string& className,
                                                                 const std::string& instance) {
    if (asked_ != std::pair(className, instance)) {
        asked_.emplace(className, instance);
        find();
        look();
    }
    return answer_;
}

std::optional<DesktopEntries::Entry> InstalledPrograms::withId(std::string_view id) const {
    return entries_ ? entries_->withId(id) : std::nullopt;
}

void InstalledPrograms::find() {
    answer_.reset();
    for (const std::string& name : {asked_->first, asked_->second}) {
        if (entries_ && !answer_ && !name.empty()) {
            answer_ = entries_->ofClass(name);
        }
    }
}

void InstalledPrograms::look() {
    if (std::exchange(isLooking_, true)) {
        return;
    }
    auto take = lifetime_.guard([this](std::shared_ptr<const DesktopEntries> found) {
        isLooking_ = false;
        if (found) {
            entries_ = std::move(found);
            find();
        }
    });
    loop_.background(ZorbelKit::Priority::utility, [&loop = loop_, known = entries_, folders = folders_,
                                                    locale = locale_, take] {
        const bool isSame = known && known->isCurrent();
        auto found = isSame ? nullptr : std::make_shared<const DesktopEntries>(folders, locale);
        loop.post([take, found]() mutable { take(std::move(found)); });
    });
}

} // namespace Linux
