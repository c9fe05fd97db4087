#include "Benchmarks/ClipboardKeeper.hpp"

#include <QCoreApplication>

#include <algorithm>
#include <utility>

namespace Bench {

using ZorbelKit::Seconds;
using ZorbelKit::Token;

namespace {

constexpr double patience = 10; // seconds

} // namespace

Token DrivenLoop::every(Seconds, Task tick) {
    tick_ = std::move(tick);
    return Token([this] { tick_ = nullptr; });
}

Token ClipboardKeeper::NotedLoop::every(Seconds interval, Task tick) {
    return QtMainLoop::every(interval, [this, tick = std::move(tick)] {
        begins_();
        tick();
    });
}

ClipboardKeeper::ClipboardKeeper(Pace pace)
    : noted_([this] { notePoll(); })
    , language_("en_GB")
    , spice_(pace == Pace::own ? static_cast<ZorbelKit::MainLoop&>(noted_) : driven_, clock_, pasteboard_,
             workspace_, language_) {
    changed_ = spice_.observe([this] { held_ = now(); });
    spice_.steep();
    runFor(0.5);
    changes_ = pasteboard_.changeCount();
}

ClipboardKeeper::~ClipboardKeeper() {
    changed_.reset();
    spice_.rest();
}

void ClipboardKeeper::notePoll() {
    if (const std::int64_t count = pasteboard_.changeCount(); count != changes_) {
        changes_ = count;
        seen_ = now();
    }
}

void ClipboardKeeper::keep(const std::function<void()>& copy) {
    const std::int64_t before = pasteboard_.changeCount();
    copy();
    const Nanoseconds deadline = now() + static_cast<Nanoseconds>(patience * 1e9);
    while (pasteboard_.changeCount() == before) {
        if (now() > deadline) {
            fail("a copy was not seen on the clipboard");
        }
        QCoreApplication::processEvents();
        pause(20e-6);
    }
    notePoll();
    driven_.tick();
    if (held_ < seen_) {
        fail("a copy did not reach the history");
    }
}

Nanoseconds ClipboardKeeper::waitUntilRead() {
    const Nanoseconds asked = now();
    const auto isRead = [&] { return pasteboard_.changeCount() != changes_ || seen_ > asked; };
    if (!runUntil(isRead, patience)) {
        fail("a copy was not seen on the clipboard");
    }
    return now();
}

void ClipboardKeeper::waitUntilHeld(Nanoseconds moment) {
    if (!runUntil([&] { return held_ > moment; }, patience)) {
        fail("a copy did not reach the history");
    }
}

std::size_t ClipboardKeeper::count(const std::string& text) const {
    return static_cast<std::size_t>(std::ranges::count_if(spice_.items(), [&](const Mordan::Wound& wound) {
        return wound.text && wound.text->view() == text;
    }));
}

Heartbeat::Heartbeat() {
    timer_.setTimerType(Qt::PreciseTimer);
    timer_.setInterval(1);
    QObject::connect(&timer_, &QTimer::timeout, &timer_, [this] { beat(); });
    timer_.start();
    reset();
}

void Heartbeat::reset() {
    last_ = now();
    longest_ = 0;
}

Nanoseconds Heartbeat::longest() const {
    return std::max(longest_, now() - last_);
}

void Heartbeat::beat() {
    const Nanoseconds moment = now();
    longest_ = std::max(longest_, moment - last_);
    last_ = moment;
}

} // namespace Bench
