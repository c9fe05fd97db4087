#pragma once

#include "Hushel/Session.hpp"
#include "ZorbelKit/Forward.hpp"
#include "ZorbelKit/Lifetime.hpp"
#include "ZorbelKit/Spice.hpp"
#include "ZorbelKit/Token.hpp"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace Hushel {

class Applications;

/// Hides the applications on a list, once a second, for as long as was planned. It never ends one, and shows
/// none again. The list is stored; sessions are not. Main thread only.
class HushelSpice : public ZorbelKit::Spice {
public:
    static constexpr ZorbelKit::Seconds interval{1.0};
    static constexpr std::int64_t usualMinutes = 25;

    /// What it asks of the system.
    struct Services {
        ZorbelKit::MainLoop& loop;
        const ZorbelKit::Clock& clock;
        ZorbelKit::Defaults& defaults;
        Applications& applications;
        const ZorbelKit::Workspace& workspace; // for pictures and for our own name
        const ZorbelKit::Language& language;   // for the order of names, and for times of day
        ZorbelKit::Alerts& alerts;
    };

    explicit HushelSpice(Services services);

    void steep() override;
    void rest() override;
    ZorbelKit::AnyView dashboard() override;
    ZorbelKit::AnyView menuSection() override;

    void start(); // nothing while a session runs
    void endSession(bool completed);

    void block(const Blocked& application);
    void unblock(const Blocked& application); // by its identifier, whatever its name

    /// What can be put on the list: ordinary applications that run, by name.
    std::vector<Blocked> runningApps() const;

    const std::optional<Session>& session() const { return session_.get(); } // none while none runs
    const std::optional<Session>& lastCompleted() const {
        return lastCompleted_.get();
    }                                                                      // that ran to its end
    const std::vector<Blocked>& blocked() const { return blocked_.get(); } // in the order added

    /// Of the next session; not stored.
    std::int64_t plannedMinutes() const { return plannedMinutes_.get(); }
    void setPlannedMinutes(std::int64_t minutes) { plannedMinutes_.set(minutes); }

    ZorbelKit::Seconds remaining() const; // of the session; 0 while none runs
    double progress() const;              // of the session, as a fraction; 1 while none runs
    std::string endTime() const;          // the time of day at which the session ends; empty while none runs

    /// Calls `passed` once, when the session's clock goes on to its next second. Empty while none runs.
    ZorbelKit::Token atNextSecond(std::function<void()> passed) const;

    /// Where an application's picture is: the path of a file, or a name in the icon theme; none where it has
    /// none.
    std::optional<std::string> iconOf(const std::string& bundleID) const;

    /// A sentence for the user: why no application can be hidden here at all. Empty while they can.
    std::string hidingHint() const;

    /// The names of the listed applications that stay in sight because they do not let themselves be hidden.
    /// Empty while no session runs.
    const std::vector<std::string>& outOfReach() const { return outOfReach_.get(); }

private:
    struct Sighting;

    void load();
    void save();
    void sweep();
    Sighting look() const;
    void tick();
    void notifyDone();

    Services services_;
    ZorbelKit::Published<std::optional<Session>> session_{*this};
    ZorbelKit::Published<std::vector<Blocked>> blocked_{*this};
    ZorbelKit::Published<std::optional<Session>> lastCompleted_{*this};
    ZorbelKit::Published<std::int64_t> plannedMinutes_{*this, usualMinutes};
    ZorbelKit::Published<std::vector<std::string>> outOfReach_{*this};
    ZorbelKit::Token timer_; // while a session runs
    ZorbelKit::Lifetime lifetime_;
};

} // namespace Hushel
