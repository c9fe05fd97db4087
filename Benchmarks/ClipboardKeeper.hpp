#pragma once

#include "Benchmarks/Measure.hpp"
#include "Benchmarks/RunLoop.hpp"
#include "Mordan/Mordan.hpp"
#include "Platforms/Linux/Clipboard/X11Pasteboard.hpp"
#include "Platforms/Linux/IcuLanguage.hpp"
#include "Platforms/Linux/X11Workspace.hpp"
#include "Platforms/Qt/QtMainLoop.hpp"

#include <QTimer>

#include <cstddef>
#include <functional>
#include <string>

namespace Bench {

/// Qt's loop, whose timers tick when they are told to: for more than time would bring.
class DrivenLoop : public QtPlatform::QtMainLoop {
public:
    ZorbelKit::Token every(ZorbelKit::Seconds interval, Task tick) override;
    void tick() const { tick_(); }

private:
    Task tick_; // of the one timer
};

/// Mordan over the real clipboard, inside the benchmark, so that it can be looked into.
class ClipboardKeeper {
public:
    /// With its own pace, or driven by `poll`.
    enum class Pace { own, driven };

    explicit ClipboardKeeper(Pace pace);
    ~ClipboardKeeper();

    Mordan::MordanSpice& spice() { return spice_; }

    /// Polls, driven, as soon as what `copy` left behind has been read. Fails when that does not happen, or
    /// is not held at once, as a short text is.
    void keep(const std::function<void()>& copy);

    /// When what was just copied had been read and counted as a change.
    Nanoseconds waitUntilRead();
    /// Fails unless something is held after this moment within ten seconds.
    void waitUntilHeld(Nanoseconds moment);

    /// The start of the last poll that found a change.
    Nanoseconds seen() const { return seen_; }
    /// When the history last changed.
    Nanoseconds held() const { return held_; }

    std::size_t count(const std::string& text) const; // entries with this text

private:
    /// Tells when the poll begins.
    class NotedLoop : public QtPlatform::QtMainLoop {
    public:
        explicit NotedLoop(std::function<void()> begins)
            : begins_(std::move(begins)) {}
        ZorbelKit::Token every(ZorbelKit::Seconds interval, Task tick) override;

    private:
        std::function<void()> begins_;
    };

    void notePoll();

    DrivenLoop driven_;
    NotedLoop noted_;
    QtPlatform::QtClock clock_;
    Linux::X11Pasteboard pasteboard_;
    Linux::EwmhDesktop desktop_{noted_};
    Linux::X11Workspace workspace_{driven_, desktop_};
    Linux::IcuLanguage language_;
    Mordan::MordanSpice spice_;
    std::int64_t changes_ = 0; // when it was last polled
    Nanoseconds seen_ = 0;
    Nanoseconds held_ = 0;
    ZorbelKit::Token changed_;
};

/// Ticks every millisecond on Qt's loop, and so notices whatever else holds the main thread up.
class Heartbeat {
public:
    Heartbeat();

    void reset();
    /// The longest time between two beats since the reset.
    Nanoseconds longest() const;

private:
    void beat();

    QTimer timer_;
    Nanoseconds last_ = 0;
    Nanoseconds longest_ = 0;
};

} // namespace Bench
