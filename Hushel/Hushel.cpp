#include "Hushel/Hushel.hpp"

#include "Hushel/Applications.hpp"
#include "Hushel/BlockedList.hpp"
#include "Hushel/HushelTexts.hpp"
#include "ZorbelKit/Host/Alerts.hpp"
#include "ZorbelKit/Host/Clock.hpp"
#include "ZorbelKit/Host/Defaults.hpp"
#include "ZorbelKit/Host/Language.hpp"
#include "ZorbelKit/Host/MainLoop.hpp"
#include "ZorbelKit/Host/Workspace.hpp"

#include <algorithm>
#include <string_view>
#include <unordered_set>
#include <utility>

namespace Hushel {

using namespace ZorbelKit;

namespace {

constexpr std::string_view key = "hushel.blocked";

std::unordered_set<std::string_view> identifiersOf(const std::vector<Blocked>& list) {
    std::unordered_set<std::string_view> identifiers;
    for (const Blocked& application : list) {
        identifiers.insert(application.bundleID);
    }
    return identifiers;
}

} // namespace

/// What a sweep finds among the programs that run.
struct HushelSpice::Sighting {
    std::vector<Application> inSight;    // listed, and to be hidden
    std::vector<std::string> outOfReach; // listed, and not to be had
    std::int64_t reached = 0;            // how many of those to be hidden the user has brought to the front
};

HushelSpice::HushelSpice(Services services)
    : Spice({.id = "hushel",
             .name = "Hushel",
             .role = "Focus",
             .summary = "Keeps the apps you named out of the way, for as long as you asked.",
             .reason = "Named for the lid on the cup: it keeps the warmth in and the street out.",
             .wave = Wave::nextBatch})
    , services_(services) {
    load();
}

void HushelSpice::steep() {
    load();
}

void HushelSpice::rest() {
    endSession(false);
}

void HushelSpice::start() {
    if (session()) {
        return;
    }
    // The timer first: a reader of the new session may end it at once.
    timer_ = services_.loop.every(interval, lifetime_.guard([this] { tick(); }));
    session_.set(Session{.startedAt = services_.clock.now(), .minutes = plannedMinutes()});
    sweep();
}

void HushelSpice::endSession(bool completed) {
    timer_.reset();
    if (completed && session()) {
        lastCompleted_.set(session());
    }
    session_.set(std::nullopt);
    outOfReach_.set({});
}

void HushelSpice::block(const Blocked& application) {
    if (std::ranges::find(blocked(), application) != blocked().end()) {
        return;
    }
    blocked_.edit([&](auto& list) { list.push_back(application); });
    save();
}

void HushelSpice::unblock(const Blocked& application) {
    blocked_.edit([&](auto& list) {
        std::erase_if(list, [&](const Blocked& entry) { return entry.bundleID == application.bundleID; });
    });
    save();
}

std::vector<Blocked> HushelSpice::runningApps() const {
    const auto listed = identifiersOf(blocked());
    const std::optional<std::string> own = services_.workspace.ownBundleIdentifier();
    std::vector<Blocked> candidates;
    for (Application& application : services_.applications.running()) {
        auto& identifier = application.bundleIdentifier;
        auto& name = application.localizedName;
        if (application.isRegular && identifier && name && identifier != own &&
            !listed.contains(*identifier)) {
            candidates.push_back({.bundleID = std::move(*identifier), .name = std::move(*name)});
        }
    }
    std::ranges::stable_sort(candidates, [this](const Blocked& left, const Blocked& right) {
        return services_.language.compare(left.name, right.name) < 0;
    });
    return candidates;
}

Seconds HushelSpice::remaining() const {
    return session() ? session()->remaining(services_.clock.now()) : Seconds::zero();
}

double HushelSpice::progress() const {
    return session() ? session()->progress(services_.clock.now()) : 1;
}

std::string HushelSpice::endTime() const {
    return session() ? services_.language.timeOfDay(session()->endsAt()) : std::string();
}

Token HushelSpice::atNextSecond(std::function<void()> passed) const {
    return session() ? services_.loop.after(untilNextSecond(remaining()), std::move(passed)) : Token();
}

std::optional<std::string> HushelSpice::iconOf(const std::string& bundleID) const {
    return services_.workspace.iconOf(bundleID);
}

std::string HushelSpice::hidingHint() const {
    return services_.applications.hidingHint();
}

void HushelSpice::load() {
    if (const auto data = services_.defaults.data(key)) {
        if (auto list = decoded(*data)) {
            blocked_.set(std::move(*list));
        }
    }
}

void HushelSpice::save() {
    services_.defaults.setData(key, encoded(blocked()));
}

void HushelSpice::sweep() {
    Sighting sighting = look();
    if (!sighting.inSight.empty()) {
        services_.applications.hide(sighting.inSight);
    }
    if (sighting.reached > 0) {
        session_.edit([&](auto& session) { session->interruptions += sighting.reached; });
    }
    if (session()) { // a reader of the count may have ended it
        outOfReach_.set(std::move(sighting.outOfReach));
    }
}

HushelSpice::Sighting HushelSpice::look() const {
    Sighting sighting;
    if (!session() || blocked().empty()) {
        return sighting;
    }
    const auto listed = identifiersOf(blocked());
    for (Application& application : services_.applications.running()) {
        const auto& identifier = application.bundleIdentifier;
        if (!identifier || !listed.contains(*identifier) || application.isHidden) {
            continue;
        }
        if (application.canHide) {
            sighting.reached += application.isActive ? 1 : 0;
        } else { // it has been asked in vain, but may obey another time
            sighting.outOfReach.push_back(application.localizedName.value_or(*identifier));
        }
        sighting.inSight.push_back(std::move(application));
    }
    return sighting;
}

void HushelSpice::tick() {
    if (!session()) {
        return;
    }
    if (remaining() > Seconds::zero()) {
        sweep();
        return;
    }
    endSession(true);
    notifyDone();
}

void HushelSpice::notifyDone() {
    services_.alerts.runModal({.messageText = "Session finished.",
                               .informativeText = "Hushel is out of the way. Your apps are back.",
                               .button = "Thanks"});
}

} // namespace Hushel
