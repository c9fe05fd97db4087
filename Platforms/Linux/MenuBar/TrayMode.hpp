#pragma once

#include "ZorbelKit/Host/MainLoop.hpp"
#include "ZorbelKit/Observable.hpp"

#include <string_view>

namespace Linux {

/// Where the suite's icons are shown.
enum class TrayPlace {
    undecided, // waiting for the desktop's tray to start
    bar,       // the suite's own menu bar
    guest,     // the desktop's tray
    nowhere    // no tray, and no place for a bar
};

/// Whether the desktop brings a tray of its own, by the name it gives itself (XDG_CURRENT_DESKTOP, a
/// colon-separated list).
bool bringsOwnTray(std::string_view currentDesktop);

/// Decides between the suite's own bar and the desktop's tray, and follows a tray that appears, disappears
/// and comes back. Where the desktop has a tray the suite is a guest there, unless the user prefers the
/// suite's bar; elsewhere it brings its own bar. Main thread only.
class TrayMode : public ZorbelKit::Observable {
public:
    static constexpr ZorbelKit::Seconds startPatience{10.0}; // for a tray that the desktop is known to bring
    static constexpr ZorbelKit::Seconds returnPatience{3.0}; // for a tray that restarts
    static constexpr ZorbelKit::Seconds bareDisplayPatience{
        5.0}; // before saying that there is no place at all

    TrayMode(ZorbelKit::MainLoop& loop, bool canShowBar, bool prefersBar);

    /// The first answer to "does a tray host run?".
    void start(bool hostRuns, bool desktopBringsTray);

    /// Every later answer.
    void hostChanged(bool hostRuns);

    void setPrefersBar(bool on);

    TrayPlace place() const { return decision_.get().place; }

    /// Whether other programs' icons may be gathered under the watcher's name: the bar is shown, and a tray
    /// that the desktop brings has had its time to start.
    bool mayOwnWatcher() const { return decision_.get().mayOwnWatcher; }

    /// Whether the desktop has a tray of its own, so that the user may choose between it and the bar.
    bool hasChoice() const { return decision_.get().hasChoice; }

private:
    struct Decision {
        TrayPlace place = TrayPlace::undecided;
        bool mayOwnWatcher = false;
        bool hasChoice = false;
        bool operator==(const Decision&) const = default;
    };

    void waitFor(ZorbelKit::Seconds patience);
    void decide();
    TrayPlace decidePlace() const;

    ZorbelKit::MainLoop& loop_;
    const bool canShowBar_;
    bool prefersBar_;
    bool hostRuns_ = false;
    bool desktopBringsTray_ = false;
    bool isWaiting_ = true; // before the first answer, and for a tray that is on its way
    ZorbelKit::Published<Decision> decision_{*this};
    ZorbelKit::Token patience_;
};

} // namespace Linux
