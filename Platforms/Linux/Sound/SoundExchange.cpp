#include "Platforms/Linux/Sound/SoundExchange.hpp"

#include "Platforms/Linux/Sound/SoundTalk.hpp"
#include "Platforms/Linux/WithoutSignals.hpp"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cmath>
#include <system_error>
#include <utility>

namespace Linux {

using namespace Tonvik;
using namespace std::chrono_literals;

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto unaskedLife = 6s;         // three looks of who asks every two seconds
constexpr auto firstPatience = 30ms;     // a server on this machine answers in less
constexpr auto endPatience = 80ms;       // for the thread, which a name server may keep
constexpr auto wishLife = 1s;            // for the server to show what was set
constexpr float levelTolerance = 0.001F; // PipeWire's goes through a cube and back

} // namespace

bool SoundWish::isShownBy(const SoundState& state) const {
    const SoundDevice* told = state.find(device);
    if (!told) {
        return true; // nobody asks for it any more
    }
    switch (key.kind) {
    case Kind::defaultOutput:
        return state.defaultDevice(Direction::output) == device;
    case Kind::defaultInput:
        return state.defaultDevice(Direction::input) == device;
    case Kind::level:
        return std::abs(shownLevel(told->levels) - level) < levelTolerance;
    case Kind::mute:
        return told->isMuted == isMuted;
    }
    return true;
}

SoundExchange::SoundExchange(std::string address)
    : address_(std::move(address))
    , wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
}

SoundExchange::~SoundExchange() {
    ::close(wake_);
}

std::shared_ptr<const SoundState> SoundExchange::ask() {
    std::unique_lock lock(mutex_);
    lastQuestion_ = Clock::now();
    if (!isServed_) {
        isServed_ = true;
        isDecided_ = false;
        lock.unlock();
        start();
        lock.lock();
        // A server that did not answer in time once is not waited for again until it has answered.
        if (std::exchange(isWorthWaiting_, false)) {
            changed_.wait_for(lock, firstPatience, [this] { return isDecided_; });
        }
    }
    isWorthWaiting_ = isWorthWaiting_ || state_;
    return state_;
}

void SoundExchange::start() {
    if (thread_.joinable()) {
        thread_.join(); // it is done but for saying so
    }
    const WithoutSignals blocked;
    try {
        thread_ = std::thread([self = shared_from_this()] {
            do {
                SoundTalk::hold(*self);
            } while (!self->finish());
        });
    } catch (const std::system_error&) { // the system has no thread left
        const std::lock_guard lock(mutex_);
        isServed_ = false;
        isDecided_ = true;
    }
}

void SoundExchange::set(SoundWish wish) {
    wish.number = ++lastNumber_;
    {
        const std::lock_guard lock(mutex_);
        const SoundWish::Key key = wish.key;
        pending_.insert_or_assign(key,
                                  Pending{std::move(wish), Clock::now() + wishLife, false, std::nullopt});
    }
    wake();
}

std::optional<SoundWish> SoundExchange::pending(SoundWish::Key key) const {
    const std::lock_guard lock(mutex_);
    const auto found = pending_.find(key);
    const bool isAlive = found != pending_.end() && Clock::now() < found->second.end;
    return isAlive ? std::optional(found->second.wish) : std::nullopt;
}

void SoundExchange::end() {
    std::unique_lock lock(mutex_);
    isEnding_ = true;
    wake();
    const bool isOver = changed_.wait_for(lock, endPatience, [this] { return !isServed_; });
    lock.unlock();
    if (thread_.joinable() && isOver) {
        thread_.join();
    } else if (thread_.joinable()) {
        thread_.detach(); // a name server keeps it; it holds what it needs itself
    }
}

void SoundExchange::wake() const {
    const std::uint64_t one = 1;
    static_cast<void>(::write(wake_, &one, sizeof one));
}

bool SoundExchange::isEnding() const {
    const std::lock_guard lock(mutex_);
    return isEnding_;
}

bool SoundExchange::isUnaskedLocked() const {
    return isEnding_ || Clock::now() - lastQuestion_ > unaskedLife;
}

bool SoundExchange::isUnasked() const {
    const std::lock_guard lock(mutex_);
    return isUnaskedLocked();
}

bool SoundExchange::finish() {
    const std::lock_guard lock(mutex_);
    state_.reset();
    pending_.clear();
    isServed_ = !isUnaskedLocked();
    changed_.notify_all();
    return !isServed_;
}

std::vector<SoundWish> SoundExchange::takeWishes(const std::function<bool(SoundWish::Key)>& isUnderWay) {
    std::vector<SoundWish> wishes;
    const std::lock_guard lock(mutex_);
    for (auto& [key, pending] : pending_) {
        if (!pending.isTaken && !isUnderWay(key)) {
            pending.isTaken = true;
            wishes.push_back(pending.wish);
        }
    }
    return wishes;
}

void SoundExchange::answer(const SoundWish& wish, bool isAccepted, std::uint64_t look) {
    const std::lock_guard lock(mutex_);
    const auto found = pending_.find(wish.key);
    if (found == pending_.end() || found->second.wish.number != wish.number) {
        return; // another one has taken its place
    }
    if (isAccepted) {
        found->second.answeredAfter = look;
    } else {
        pending_.erase(found);
    }
}

/// A look that had begun before the answer may show what was before. And PipeWire's default changes only some
/// time after its answer, so that even a later look counts no more than what it shows.
void SoundExchange::publish(std::shared_ptr<const SoundState> state, std::uint64_t look) {
    const std::lock_guard lock(mutex_);
    const auto now = Clock::now();
    std::erase_if(pending_, [&](const auto& entry) {
        const Pending& pending = entry.second;
        const bool isShown =
            pending.answeredAfter && *pending.answeredAfter < look && pending.wish.isShownBy(*state);
        return pending.isTaken && (isShown || now >= pending.end);
    });
    state_ = std::move(state);
    decide();
}

void SoundExchange::withdraw() {
    const std::lock_guard lock(mutex_);
    state_.reset();
}

void SoundExchange::lose() {
    const std::lock_guard lock(mutex_);
    state_.reset();
    pending_.clear();
    decide();
}

void SoundExchange::decide() {
    isDecided_ = true;
    changed_.notify_all();
}

} // namespace Linux
