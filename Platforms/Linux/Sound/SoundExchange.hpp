#pragma once

#include "Platforms/Linux/Sound/SoundState.hpp"
#include "Tonvik/AudioHardware.hpp"

#include <chrono>
#include <compare>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace Linux {

/// Something that the user has set. Of one kind and device only the last one counts.
struct SoundWish {
    enum class Kind { defaultOutput, defaultInput, level, mute };
    struct Key {
        Kind kind = Kind::defaultOutput;
        Tonvik::AudioObjectId device = Tonvik::noDevice; // none for a default: there is one of each

        auto operator<=>(const Key&) const = default; // NOLINT(modernize-use-nullptr): it compares with 0
    };

    Key key{};
    Tonvik::AudioObjectId device = Tonvik::noDevice;
    std::string name{}; // of its sink or source
    float level = 0;    // 0 to 1
    bool isMuted = false;
    std::uint64_t number = 0;

    bool isShownBy(const SoundState& state) const;
};

/// What the main thread and the thread that talks with the server hand to each other. The lock is held for
/// a few words only, never while the server is asked.
class SoundExchange : public std::enable_shared_from_this<SoundExchange> {
public:
    explicit SoundExchange(std::string address);
    SoundExchange(const SoundExchange&) = delete;
    SoundExchange& operator=(const SoundExchange&) = delete;
    ~SoundExchange();

    // The main thread

    /// What is known; null where the server is not there. Starts the thread where there is none.
    std::shared_ptr<const SoundState> ask();
    void set(SoundWish wish);
    std::optional<SoundWish>
    pending(SoundWish::Key key) const; // set, and not yet to be seen in what is known
    void end();

    // The other thread

    const std::string& address() const { return address_; }
    int wakeDescriptor() const { return wake_; }
    SoundRegister& known() { return known_; }

    bool isEnding() const;
    bool isUnasked() const;
    bool finish(); // false where somebody has asked meanwhile

    /// Those that were not taken yet and that nothing of their kind is under way for.
    std::vector<SoundWish> takeWishes(const std::function<bool(SoundWish::Key)>& isUnderWay);

    /// `look`: the number of the last look that has begun.
    void answer(const SoundWish& wish, bool isAccepted, std::uint64_t look);

    void publish(std::shared_ptr<const SoundState> state, std::uint64_t look);
    void withdraw(); // the server does not answer
    void lose();     // nor will it, and what was set is void

private:
    struct Pending {
        SoundWish wish;
        std::chrono::steady_clock::time_point
            end; // by then the server has shown it, or has something else to say
        bool isTaken = false;
        std::optional<std::uint64_t> answeredAfter; // this look
    };

    bool isUnaskedLocked() const;
    void decide();
    void start();
    void wake() const;

    const std::string address_; // empty: the environment's
    const int wake_;
    SoundRegister known_; // the other thread's
    std::thread thread_;
    bool isWorthWaiting_ = true;
    std::uint64_t lastNumber_ = 0;

    mutable std::mutex mutex_; // guards what follows
    std::condition_variable changed_;
    std::shared_ptr<const SoundState> state_;
    std::map<SoundWish::Key, Pending> pending_;
    std::chrono::steady_clock::time_point lastQuestion_;
    bool isServed_ = false;
    bool isDecided_ = false; // whether the server is there, as far as a first question needs to know
    bool isEnding_ = false;
};

} // namespace Linux
