#include "Platforms/Linux/Windows/X11Applications.hpp"

#include "Platforms/Linux/Windows/ClientWindows.hpp"

#include <QLocale>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <map>
#include <optional>
#include <set>
#include <utility>

namespace Linux {

using Hushel::Application;
using std::chrono::steady_clock;
using ZorbelKit::Seconds;

namespace {

constexpr std::chrono::milliseconds longestWait{100};
constexpr Seconds longestIdle{30.0};            // then the connection goes
constexpr Seconds untilCheck{0.25};             // a window manager has put a window away by then
constexpr std::chrono::milliseconds fresh{100}; // what was read is taken for what is
constexpr int mostInVain = 3;          // requests, before a program is taken for one that cannot be hidden
constexpr int sweepsBetweenTries = 10; // for such a one

bool isOnWayland() {
    const char* display = std::getenv("WAYLAND_DISPLAY");
    return display && *display;
}

} // namespace

/// What is known of the windows, and of how they take being hidden.
class X11Applications::Windows {
public:
    Windows(ZorbelKit::MainLoop& loop, InstalledPrograms& programs, const char* display)
        : loop_(loop)
        , programs_(programs)
        , clients_(display) {}

    std::vector<Application> running();
    void hide(const std::vector<Application>& applications);
    ClientWindows::Desktop lookForManager() { return clients_.lookForManager(); }
    unsigned int requests() const { return clients_.requestsForTesting(); }

private:
    struct Group { // a program
        Application application{};
        std::vector<xcb_window_t> toHide{}; // that are not put away yet, parents first
        bool isOurs = false;
    };
    struct Named {
        std::uint64_t reading = 0;
        std::optional<ApplicationIdentity> identity{};
    };
    struct Attempts {
        int inVain = 0; // in a row
        int passedOver = 0;
    };

    void look();
    void name(const std::vector<ClientWindow>& windows);
    void group(const std::vector<ClientWindow>& windows);
    void noteHidden();
    void check();
    bool isTried(const std::string& id);
    Group* groupOf(const std::string& id);

    ZorbelKit::MainLoop& loop_;
    InstalledPrograms& programs_;
    ClientWindows clients_;
    std::shared_ptr<const DesktopEntries> entries_; // that names were taken from
    std::map<xcb_window_t, Named> names_;
    std::vector<Group> groups_;
    steady_clock::time_point lookedAt_{};
    std::map<std::string, Attempts> attempts_; // by application; of those that have been asked in vain
    std::set<std::string> asked_;              // since the last check
    ZorbelKit::Token check_;
};

std::vector<Application> X11Applications::Windows::running() {
    look();
    std::vector<Application> result;
    result.reserve(groups_.size());
    for (const Group& group : groups_) {
        result.push_back(group.application);
    }
    return result;
}

void X11Applications::Windows::look() {
    clients_.look();
    name(clients_.windows());
    group(clients_.windows());
    noteHidden();
    lookedAt_ = steady_clock::now();
}

/// A window that is new has the installed programs looked through for new ones.
void X11Applications::Windows::name(const std::vector<ClientWindow>& windows) {
    if (entries_ != programs_.entries()) {
        entries_ = programs_.entries();
        names_.clear();
    }
    std::map<xcb_window_t, Named> names;
    bool isAnyNew = false;
    for (const ClientWindow& window : windows) {
        const auto before = names_.find(window.id);
        if (before != names_.end() && before->second.reading == window.reading) {
            names.insert(names_.extract(before));
            continue;
        }
        // A name that a desktop file would change is worse than none: it may be kept.
        const bool isKnowable = entries_ || window.clues.isOurs;
        names[window.id] = {window.reading,
                            isKnowable ? applicationIdentity(window.clues, entries_.get()) : std::nullopt};
        isAnyNew = true;
    }
    names_ = std::move(names);
    if (isAnyNew) {
        programs_.look();
    }
}

void X11Applications::Windows::group(const std::vector<ClientWindow>& windows) {
    std::map<xcb_window_t, const ClientWindow*> byId;
    for (const ClientWindow& window : windows) {
        byId[window.id] = &window;
    }
    groups_.clear();
    std::map<std::string, std::size_t> byKey;
    std::vector<std::vector<xcb_window_t>> dialogs;
    for (const ClientWindow& window : windows) {
        const ClientWindow& main = *byId.at(window.main);
        const auto& identity = names_.at(main.id).identity;
        // Windows that tell nothing are told apart by the connection they come over; that is no text.
        const std::string key =
            identity ? identity->id : std::string(1, '\0') + std::to_string(clients_.clientOf(main.id));
        const auto [place, isNew] = byKey.try_emplace(key, groups_.size());
        if (isNew) {
            Application application{.processIdentifier = main.pid, .isHidden = true};
            if (identity) {
                const auto attempts = attempts_.find(identity->id);
                application.bundleIdentifier = identity->id;
                application.localizedName = identity->name;
                application.canHide = attempts == attempts_.end() || attempts->second.inVain < mostInVain;
            }
            groups_.push_back({.application = std::move(application), .isOurs = main.clues.isOurs});
            dialogs.emplace_back();
        }
        Group& group = groups_[place->second];
        if (window.kind == ClientWindow::Kind::other) {
            continue;
        }
        Application& application = group.application;
        application.isRegular = application.isRegular || window.kind == ClientWindow::Kind::ordinary;
        application.isHidden = application.isHidden && !window.isShown;
        application.isActive = application.isActive || window.id == clients_.active();
        if (!window.isIconic) {
            const bool isMain = window.main == window.id;
            (isMain ? group.toHide : dialogs[place->second]).push_back(window.id);
        }
    }
    for (std::size_t index = 0; index < groups_.size(); ++index) {
        auto& all = groups_[index].toHide;
        all.insert(all.end(), dialogs[index].begin(), dialogs[index].end());
    }
}

/// A program that is seen hidden can be, unless that is the moment before it shows itself again.
void X11Applications::Windows::noteHidden() {
    for (auto attempt = attempts_.begin(); attempt != attempts_.end();) {
        Group* const group = groupOf(attempt->first);
        const bool isOver = !group || (group->application.isHidden && !asked_.contains(attempt->first));
        if (isOver && group) {
            group->application.canHide = true;
        }
        attempt = isOver ? attempts_.erase(attempt) : std::next(attempt);
    }
}

X11Applications::Windows::Group* X11Applications::Windows::groupOf(const std::string& id) {
    const auto found = std::ranges::find_if(
        groups_, [&](const Group& group) { return group.application.bundleIdentifier == id; });
    return found == groups_.end() ? nullptr : &*found;
}

void X11Applications::Windows::hide(const std::vector<Application>& applications) {
    if (steady_clock::now() - lookedAt_ > fresh) {
        look();
    }
    const bool isCheckDue = !asked_.empty();
    std::vector<xcb_window_t> windows;
    for (const Application& application : applications) {
        const std::string id = application.bundleIdentifier.value_or("");
        const Group* const group = id.empty() ? nullptr : groupOf(id);
        if (!group || group->isOurs || group->toHide.empty() || !isTried(id)) {
            continue;
        }
        windows.insert(windows.end(), group->toHide.begin(), group->toHide.end());
        asked_.insert(id);
    }
    if (windows.empty()) {
        return;
    }
    clients_.iconify(windows);
    if (!isCheckDue) {
        check_ = loop_.after(untilCheck, [this] { check(); });
    }
}

/// Whether a program is asked this time: one that does not hide is not fought with.
bool X11Applications::Windows::isTried(const std::string& id) {
    const auto known = attempts_.find(id);
    if (known == attempts_.end() || known->second.inVain < mostInVain) {
        return true;
    }
    return ++known->second.passedOver % sweepsBetweenTries == 0;
}

void X11Applications::Windows::check() {
    const auto asked = std::exchange(asked_, {});
    look();
    for (const std::string& id : asked) {
        Group* const group = groupOf(id);
        if (group && !group->application.isHidden) {
            ++attempts_[id].inVain;
        }
    }
}

X11Applications::X11Applications(ZorbelKit::MainLoop& loop, const char* display)
    : loop_(loop)
    , display_(display)
    , programs_(loop, DesktopEntries::standardFolders(), QLocale().name().toStdString()) {
}

X11Applications::~X11Applications() = default;

X11Applications::Windows& X11Applications::windows() {
    if (!windows_) {
        windows_ = std::make_unique<Windows>(loop_, programs_, display_);
    }
    leaving_ = loop_.after(longestIdle, [this] { windows_.reset(); });
    return *windows_;
}

std::vector<Application> X11Applications::running() {
    if (!std::exchange(hasWaited_, true)) {
        programs_.waitForFirst(longestWait);
    }
    return windows().running();
}

void X11Applications::hide(const std::vector<Application>& applications) {
    windows().hide(applications);
}

std::string X11Applications::hidingHint() {
    if (!programs_.entries()) {
        programs_.look(); // who reads this is going to ask for programs
    }
    const auto desktop = windows().lookForManager();
    if (desktop == ClientWindows::Desktop::unreachable) {
        return isOnWayland() ? "Applications cannot be hidden on Wayland."
                             : "Applications cannot be hidden without an X server.";
    }
    if (isOnWayland()) {
        return "On Wayland, only applications that use X11 can be hidden.";
    }
    return desktop == ClientWindows::Desktop::managed ? ""
                                                      : "Applications can be hidden once a window manager "
                                                        "that follows the EWMH standard is running.";
}

unsigned int X11Applications::requestsForTesting() const {
    return windows_ ? windows_->requests() : 0;
}

} // namespace Linux
