#include "Platforms/Linux/Sound/PulseAudioHardware.hpp"

#include "Platforms/Linux/Sound/SoundState.hpp"
#include "Platforms/Linux/WithoutSignals.hpp"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <compare>
#include <condition_variable>
#include <map>
#include <mutex>
#include <pulse/pulseaudio.h>
#include <system_error>
#include <thread>
#include <utility>

namespace Linux {

using namespace Tonvik;
using namespace std::chrono_literals;

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto unaskedLife = 6s;     // three looks of who asks every two seconds
constexpr auto firstPatience = 30ms; // a server on this machine answers in less
constexpr auto lastPatience = 50ms;  // for what was set last to arrive, at the end
constexpr auto endPatience = 80ms;   // for the thread, which a name server may keep
constexpr auto wishLife = 1s;        // for the server to show what was set
constexpr auto eventPause = 150ms;   // in which further news comes along
constexpr auto checkInterval = 2s;   // and how long a server may take to answer before it counts as hung
constexpr std::array reconnectionPauses{1s, 2s, 3s}; // the last for good: no longer than two looks
constexpr float levelTolerance = 0.001F;             // PipeWire's goes through a cube and back
constexpr std::size_t mostTold = 1000;               // of a kind; no machine has so many

/// Something that the user has set. Of one kind and device only the last one counts.
struct Wish {
    enum class Kind { defaultOutput, defaultInput, level, mute };
    struct Key {
        Kind kind = Kind::defaultOutput;
        AudioObjectId device = noDevice; // none for a default: there is one of each

        auto operator<=>(const Key&) const = default;
    };

    Key key{};
    AudioObjectId device = noDevice;
    std::string name{}; // of its sink or source
    float level = 0;    // 0 to 1
    bool isMuted = false;
    std::uint64_t number = 0;

    bool isShownBy(const SoundState& state) const;
};

bool Wish::isShownBy(const SoundState& state) const {
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

Wish::Kind defaultKind(Direction direction) {
    return direction == Direction::output ? Wish::Kind::defaultOutput : Wish::Kind::defaultInput;
}

} // namespace

/// What the main thread and the thread that talks with the server hand to each other. The lock is held for
/// a few words only, never while the server is asked.
class PulseAudioHardware::Server : public std::enable_shared_from_this<Server> {
public:
    explicit Server(std::string address)
        : address_(std::move(address))
        , wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;
    ~Server() { ::close(wake_); }

    // The main thread

    /// What is known; null where the server is not there. Starts the thread where there is none.
    std::shared_ptr<const SoundState> ask();
    void set(Wish wish);
    std::optional<Wish> pending(Wish::Key key) const; // set, and not yet to be seen in what is known
    void end();

    // The other thread

    const std::string& address() const { return address_; }
    int wakeDescriptor() const { return wake_; }
    SoundRegister& known() { return known_; }

    bool isEnding() const;
    bool isUnasked() const;
    bool finish(); // false where somebody has asked meanwhile

    /// Those that were not taken yet and that nothing of their kind is under way for.
    template <class IsUnderWay>
    std::vector<Wish> takeWishes(IsUnderWay isUnderWay);

    /// `look`: the number of the last look that has begun.
    void answer(const Wish& wish, bool isAccepted, std::uint64_t look);

    void publish(std::shared_ptr<const SoundState> state, std::uint64_t look);
    void withdraw(); // the server does not answer
    void lose();     // nor will it, and what was set is void

private:
    struct Pending {
        Wish wish;
        Clock::time_point end; // by then the server has shown it, or has something else to say
        bool isTaken = false;
        std::optional<std::uint64_t> answeredAfter; // this look
    };

    bool isUnaskedLocked() const { return isEnding_ || Clock::now() - lastQuestion_ > unaskedLife; }
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
    std::map<Wish::Key, Pending> pending_;
    Clock::time_point lastQuestion_;
    bool isServed_ = false;
    bool isDecided_ = false; // whether the server is there, as far as a first question needs to know
    bool isEnding_ = false;
};

namespace {

struct FreeLoop {
    void operator()(pa_mainloop* loop) const { pa_mainloop_free(loop); }
};

/// Also ends the connection: none of its answers arrives afterwards.
struct DropContext {
    void operator()(pa_context* context) const {
        pa_context_set_state_callback(context, nullptr, nullptr);
        pa_context_set_subscribe_callback(context, nullptr, nullptr);
        pa_context_disconnect(context);
        pa_context_unref(context);
    }
};

std::string text(const char* characters) {
    return characters ? characters : "";
}

SoundProperties properties(const pa_proplist* list) {
    SoundProperties result;
    void* place = nullptr;
    while (const char* key = list ? pa_proplist_iterate(list, &place) : nullptr) {
        if (const char* value = pa_proplist_gets(list, key)) {
            result.emplace(key, value);
        }
    }
    return result;
}

/// What sinks and sources have in common, each with types of its own.
template <class Info>
ToldDevice toldDevice(const Info& info) {
    ToldDevice told;
    told.attachment.name = text(info.name);
    told.attachment.driver = text(info.driver);
    told.attachment.properties = properties(info.proplist);
    told.description = text(info.description);
    if (info.active_port) {
        told.attachment.port = text(info.active_port->name);
        told.portDescription = text(info.active_port->description);
    }
    if (info.card != PA_INVALID_INDEX) {
        told.card = info.card;
    }
    told.channels = info.sample_spec.channels;
    const auto channels = std::min<std::size_t>(info.volume.channels, PA_CHANNELS_MAX);
    told.levels.assign(info.volume.values, info.volume.values + channels);
    told.isMuted = info.mute != 0;
    return told;
}

ToldDevice toldSink(const pa_sink_info& info) {
    ToldDevice told = toldDevice(info);
    told.attachment.isHardware = (info.flags & PA_SINK_HARDWARE) != 0;
    told.attachment.isNetwork = (info.flags & PA_SINK_NETWORK) != 0;
    // A level that the server calculates is in decibels; a sink with neither lets sound through as it is.
    told.hasLevel = (info.flags & (PA_SINK_HW_VOLUME_CTRL | PA_SINK_DECIBEL_VOLUME)) != 0;
    return told;
}

ToldDevice toldSource(const pa_source_info& info) {
    ToldDevice told = toldDevice(info);
    told.attachment.isHardware = (info.flags & PA_SOURCE_HARDWARE) != 0;
    told.attachment.isNetwork = (info.flags & PA_SOURCE_NETWORK) != 0;
    const auto kind = told.attachment.properties.find("device.class");
    told.isMonitor = info.monitor_of_sink != PA_INVALID_INDEX ||
                     (kind != told.attachment.properties.end() && kind->second == "monitor");
    return told;
}

/// The talk with one server: the work of the thread.
template <class Server>
class Talk {
public:
    explicit Talk(Server& server)
        : server_(server)
        , loop_(pa_mainloop_new()) {}
    Talk(const Talk&) = delete;
    Talk& operator=(const Talk&) = delete;
    ~Talk() { context_.reset(); } // before the loop it lives on

    /// Until nobody has asked for some time, or the program quits.
    void run();

private:
    // The connection

    void connect();
    void follow(pa_context_state_t state);
    void lose();
    bool isReady() const { return context_ && pa_context_get_state(context_.get()) == PA_CONTEXT_READY; }
    void passTime(Clock::time_point now);
    int microsecondsLeft(Clock::time_point now) const;

    // Looks: all that the server tells, in four answers

    void lookSoon();
    void look();
    void takePart(bool isGood);
    template <class Told, class Item>
    static void collect(std::vector<Told>& list, Item item);
    void check();

    // Wishes

    struct Flight {
        Talk* talk;
        Wish wish;
    };
    void send();
    bool send(Flight& flight);
    void land(Wish::Key key, bool isAccepted);

    /// False where the server cannot be asked.
    static bool start(pa_operation* operation) {
        if (operation) {
            pa_operation_unref(operation);
        }
        return operation != nullptr;
    }

    Server& server_;
    std::unique_ptr<pa_mainloop, FreeLoop> loop_;
    std::unique_ptr<pa_context, DropContext> context_;
    bool isLost_ = false;
    std::size_t attempts_ = 0; // in vain, in a row
    std::optional<Clock::time_point> connectAt_ = Clock::now();
    Clock::time_point checkAt_ = Clock::now() + checkInterval;
    std::optional<Clock::time_point> endAt_;
    bool isChecking_ = false; // the server has not answered yet
    bool isWithdrawn_ = false;

    std::optional<Clock::time_point> lookAt_;
    std::uint64_t looks_ = 0; // begun
    int partsLeft_ = 0;
    bool isGood_ = false;
    ToldSound told_;
    std::shared_ptr<const SoundState> state_; // the last
    std::map<Wish::Key, Flight> flights_;
};

template <class Server>
void Talk<Server>::run() {
    if (!loop_) { // the process has no descriptors left
        pollfd wake{server_.wakeDescriptor(), POLLIN, 0};
        ::poll(&wake, 1, 1000);
        return;
    }
    pa_mainloop_api* api = pa_mainloop_get_api(loop_.get());
    api->io_new(
        api, server_.wakeDescriptor(), PA_IO_EVENT_INPUT,
        [](pa_mainloop_api*, pa_io_event*, int descriptor, pa_io_event_flags_t, void*) {
            std::uint64_t count = 0;
            static_cast<void>(::read(descriptor, &count, sizeof count));
        },
        nullptr);
    while (true) {
        const auto now = Clock::now();
        passTime(now);
        send();
        if (server_.isEnding()) {
            endAt_ = endAt_.value_or(now + lastPatience);
            if (flights_.empty() || now >= *endAt_) {
                return;
            }
        } else if (server_.isUnasked()) {
            return;
        }
        if (pa_mainloop_prepare(loop_.get(), microsecondsLeft(Clock::now())) < 0 ||
            pa_mainloop_poll(loop_.get()) < 0 || pa_mainloop_dispatch(loop_.get()) < 0) {
            return;
        }
    }
}

template <class Server>
int Talk<Server>::microsecondsLeft(Clock::time_point now) const {
    if (isLost_) {
        return 0;
    }
    auto next = checkAt_;
    for (const auto& other : {connectAt_, endAt_, partsLeft_ == 0 ? lookAt_ : std::nullopt}) {
        next = std::min(next, other.value_or(next));
    }
    const auto left = std::chrono::ceil<std::chrono::microseconds>(next - now);
    return static_cast<int>(std::max<std::int64_t>(left.count(), 0));
}

template <class Server>
void Talk<Server>::passTime(Clock::time_point now) {
    if (isLost_) {
        lose();
        connectAt_ = now + reconnectionPauses[std::min(attempts_++, reconnectionPauses.size() - 1)];
    }
    if (connectAt_ && now >= *connectAt_) {
        connectAt_.reset();
        connect();
    }
    if (now >= checkAt_) {
        checkAt_ = now + checkInterval;
        check();
    }
    if (lookAt_ && now >= *lookAt_ && partsLeft_ == 0 && isReady()) {
        look();
    }
}

// The connection

template <class Server>
void Talk<Server>::connect() {
    const std::string& address = server_.address();
    context_.reset(pa_context_new(pa_mainloop_get_api(loop_.get()), "Zorbel"));
    if (!context_) {
        isLost_ = true;
        return;
    }
    pa_context_set_state_callback(
        context_.get(),
        [](pa_context* context, void* talk) {
            static_cast<Talk*>(talk)->follow(pa_context_get_state(context));
        },
        this);
    if (pa_context_connect(context_.get(), address.empty() ? nullptr : address.c_str(),
                           PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0) {
        isLost_ = true;
    }
}

template <class Server>
void Talk<Server>::follow(pa_context_state_t state) {
    if (state == PA_CONTEXT_FAILED || state == PA_CONTEXT_TERMINATED) {
        isLost_ = true; // and no more: the connection is not dropped under its own feet
        return;
    }
    if (state != PA_CONTEXT_READY) {
        return;
    }
    pa_context_set_subscribe_callback(
        context_.get(),
        [](pa_context*, pa_subscription_event_type_t, std::uint32_t, void* talk) {
            static_cast<Talk*>(talk)->lookSoon();
        },
        this);
    const auto wanted =
        static_cast<pa_subscription_mask_t>(PA_SUBSCRIPTION_MASK_SINK | PA_SUBSCRIPTION_MASK_SOURCE |
                                            PA_SUBSCRIPTION_MASK_SERVER | PA_SUBSCRIPTION_MASK_CARD);
    isLost_ = !start(pa_context_subscribe(context_.get(), wanted, nullptr, nullptr));
    lookAt_ = Clock::now();
}

/// What was learned is void, indexes above all.
template <class Server>
void Talk<Server>::lose() {
    context_.reset();
    isLost_ = false;
    isChecking_ = false;
    lookAt_.reset();
    partsLeft_ = 0;
    state_.reset();
    flights_.clear();
    server_.lose();
}

/// A server that hangs says so by not answering anything.
template <class Server>
void Talk<Server>::check() {
    if (!isReady()) {
        return;
    }
    if (isChecking_) {
        isWithdrawn_ = true;
        server_.withdraw();
        return;
    }
    isChecking_ = start(pa_context_get_server_info(
        context_.get(),
        [](pa_context*, const pa_server_info*, void* data) {
            Talk& talk = *static_cast<Talk*>(data);
            talk.isChecking_ = false;
            if (talk.isWithdrawn_) {
                talk.lookSoon();
            }
        },
        this));
}

// Looks

template <class Server>
void Talk<Server>::lookSoon() {
    if (!lookAt_) {
        lookAt_ = Clock::now() + eventPause;
    }
}

template <class Server>
void Talk<Server>::look() {
    lookAt_.reset();
    ++looks_;
    told_ = {};
    isGood_ = true;
    partsLeft_ = 4;
    const auto takeServer = [](pa_context*, const pa_server_info* info, void* data) {
        Talk& talk = *static_cast<Talk*>(data);
        if (info) {
            talk.told_.defaultSink = text(info->default_sink_name);
            talk.told_.defaultSource = text(info->default_source_name);
        }
        talk.takePart(info != nullptr);
    };
    const auto takeSink = [](pa_context*, const pa_sink_info* info, int end, void* data) {
        Talk& talk = *static_cast<Talk*>(data);
        end == 0 ? collect(talk.told_.sinks, [&] { return toldSink(*info); }) : talk.takePart(end > 0);
    };
    const auto takeSource = [](pa_context*, const pa_source_info* info, int end, void* data) {
        Talk& talk = *static_cast<Talk*>(data);
        end == 0 ? collect(talk.told_.sources, [&] { return toldSource(*info); }) : talk.takePart(end > 0);
    };
    const auto takeCard = [](pa_context*, const pa_card_info* info, int end, void* data) {
        Talk& talk = *static_cast<Talk*>(data);
        const auto told = [&] { return ToldCard{info->index, text(info->name), properties(info->proplist)}; };
        end == 0 ? collect(talk.told_.cards, told) : talk.takePart(end > 0);
    };
    isLost_ = !start(pa_context_get_server_info(context_.get(), takeServer, this)) ||
              !start(pa_context_get_card_info_list(context_.get(), takeCard, this)) ||
              !start(pa_context_get_sink_info_list(context_.get(), takeSink, this)) ||
              !start(pa_context_get_source_info_list(context_.get(), takeSource, this));
}

template <class Server>
template <class Told, class Item>
void Talk<Server>::collect(std::vector<Told>& list, Item item) {
    if (list.size() < mostTold) {
        list.push_back(item());
    }
}

template <class Server>
void Talk<Server>::takePart(bool isGood) {
    isGood_ = isGood_ && isGood;
    if (--partsLeft_ > 0) {
        return;
    }
    if (!isGood_) {
        lookSoon();
        return;
    }
    attempts_ = 0;
    isWithdrawn_ = false;
    state_ = std::make_shared<const SoundState>(std::exchange(told_, {}), server_.known());
    server_.publish(state_, looks_);
}

// Wishes

template <class Server>
void Talk<Server>::send() {
    if (!isReady() || !state_) {
        return;
    }
    for (Wish& wish : server_.takeWishes([this](Wish::Key key) { return flights_.contains(key); })) {
        const Wish::Key key = wish.key;
        Flight& flight = flights_.try_emplace(key, Flight{this, std::move(wish)}).first->second;
        if (!send(flight)) {
            land(key, false);
        }
    }
}

template <class Server>
bool Talk<Server>::send(Flight& flight) {
    const auto take = [](pa_context*, int isAccepted, void* data) {
        const Flight& landing = *static_cast<Flight*>(data);
        landing.talk->land(landing.wish.key, isAccepted != 0);
    };
    const Wish& wish = flight.wish;
    pa_context* context = context_.get();
    const char* name = wish.name.c_str();
    switch (wish.key.kind) {
    case Wish::Kind::defaultOutput:
        return start(pa_context_set_default_sink(context, name, take, &flight));
    case Wish::Kind::defaultInput:
        return start(pa_context_set_default_source(context, name, take, &flight));
    case Wish::Kind::mute:
        return start(pa_context_set_sink_mute_by_name(context, name, wish.isMuted ? 1 : 0, take, &flight));
    case Wish::Kind::level:
        break;
    }
    const SoundDevice* device = state_->find(wish.device);
    const ChannelLevels levels =
        device ? server_.known().levelsFor(wish.name, device->levels, wish.level) : ChannelLevels();
    if (levels.empty()) {
        return false;
    }
    pa_cvolume volume{};
    volume.channels = static_cast<std::uint8_t>(levels.size());
    std::ranges::copy(levels, volume.values);
    return start(pa_context_set_sink_volume_by_name(context, name, &volume, take, &flight));
}

template <class Server>
void Talk<Server>::land(Wish::Key key, bool isAccepted) {
    const auto flight = flights_.find(key);
    server_.answer(flight->second.wish, isAccepted, looks_);
    flights_.erase(flight);
    lookSoon();
}

} // namespace

// PulseAudioHardware::Server

std::shared_ptr<const SoundState> PulseAudioHardware::Server::ask() {
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

void PulseAudioHardware::Server::start() {
    if (thread_.joinable()) {
        thread_.join(); // it is done but for saying so
    }
    const WithoutSignals blocked;
    try {
        thread_ = std::thread([self = shared_from_this()] {
            do {
                Talk<Server>(*self).run();
            } while (!self->finish());
        });
    } catch (const std::system_error&) { // the system has no thread left
        const std::lock_guard lock(mutex_);
        isServed_ = false;
        isDecided_ = true;
    }
}

void PulseAudioHardware::Server::set(Wish wish) {
    wish.number = ++lastNumber_;
    {
        const std::lock_guard lock(mutex_);
        const Wish::Key key = wish.key;
        pending_.insert_or_assign(key,
                                  Pending{std::move(wish), Clock::now() + wishLife, false, std::nullopt});
    }
    wake();
}

std::optional<Wish> PulseAudioHardware::Server::pending(Wish::Key key) const {
    const std::lock_guard lock(mutex_);
    const auto found = pending_.find(key);
    const bool isAlive = found != pending_.end() && Clock::now() < found->second.end;
    return isAlive ? std::optional(found->second.wish) : std::nullopt;
}

void PulseAudioHardware::Server::end() {
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

void PulseAudioHardware::Server::wake() const {
    const std::uint64_t one = 1;
    static_cast<void>(::write(wake_, &one, sizeof one));
}

bool PulseAudioHardware::Server::isEnding() const {
    const std::lock_guard lock(mutex_);
    return isEnding_;
}

bool PulseAudioHardware::Server::isUnasked() const {
    const std::lock_guard lock(mutex_);
    return isUnaskedLocked();
}

bool PulseAudioHardware::Server::finish() {
    const std::lock_guard lock(mutex_);
    state_.reset();
    pending_.clear();
    isServed_ = !isUnaskedLocked();
    changed_.notify_all();
    return !isServed_;
}

template <class IsUnderWay>
std::vector<Wish> PulseAudioHardware::Server::takeWishes(IsUnderWay isUnderWay) {
    std::vector<Wish> wishes;
    const std::lock_guard lock(mutex_);
    for (auto& [key, pending] : pending_) {
        if (!pending.isTaken && !isUnderWay(key)) {
            pending.isTaken = true;
            wishes.push_back(pending.wish);
        }
    }
    return wishes;
}

void PulseAudioHardware::Server::answer(const Wish& wish, bool isAccepted, std::uint64_t look) {
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
void PulseAudioHardware::Server::publish(std::shared_ptr<const SoundState> state, std::uint64_t look) {
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

void PulseAudioHardware::Server::withdraw() {
    const std::lock_guard lock(mutex_);
    state_.reset();
}

void PulseAudioHardware::Server::lose() {
    const std::lock_guard lock(mutex_);
    state_.reset();
    pending_.clear();
    decide();
}

void PulseAudioHardware::Server::decide() {
    isDecided_ = true;
    changed_.notify_all();
}

// PulseAudioHardware

PulseAudioHardware::PulseAudioHardware(std::string server)
    : server_(std::make_shared<Server>(std::move(server))) {
}

PulseAudioHardware::~PulseAudioHardware() {
    server_->end();
}

std::optional<std::vector<AudioObjectId>> PulseAudioHardware::devices() {
    const auto state = server_->ask();
    if (!state) {
        return std::nullopt;
    }
    std::vector<AudioObjectId> ids;
    ids.reserve(state->devices().size());
    std::ranges::transform(state->devices(), std::back_inserter(ids), &SoundDevice::id);
    return ids;
}

std::optional<std::string> PulseAudioHardware::name(AudioObjectId device) {
    const auto state = server_->ask();
    const SoundDevice* found = state ? state->find(device) : nullptr;
    return found ? std::optional(found->name) : std::nullopt;
}

std::optional<TransportCode> PulseAudioHardware::transport(AudioObjectId device) {
    const auto state = server_->ask();
    const SoundDevice* found = state ? state->find(device) : nullptr;
    return found ? found->transport : std::nullopt;
}

std::optional<std::vector<std::uint32_t>> PulseAudioHardware::streams(AudioObjectId device,
                                                                      Direction direction) {
    const auto state = server_->ask();
    const SoundDevice* found = state ? state->find(device) : nullptr;
    if (!found) {
        return std::nullopt;
    }
    const auto& side = found->side(direction);
    return side ? std::vector{side->channels} : std::vector<std::uint32_t>();
}

std::optional<AudioObjectId> PulseAudioHardware::defaultDevice(Direction direction) {
    const auto state = server_->ask();
    if (!state) {
        return std::nullopt;
    }
    const auto set = server_->pending({defaultKind(direction), noDevice});
    return set && state->find(set->device) ? set->device : state->defaultDevice(direction);
}

bool PulseAudioHardware::setDefaultDevice(Direction direction, AudioObjectId device) {
    const auto state = server_->ask();
    const SoundDevice* found = state ? state->find(device) : nullptr;
    if (!found || !found->side(direction)) {
        return false;
    }
    server_->set(
        {.key = {defaultKind(direction), noDevice}, .device = device, .name = found->side(direction)->name});
    return true;
}

bool PulseAudioHardware::hasVolume(AudioObjectId device) {
    const auto state = server_->ask();
    const SoundDevice* found = state ? state->find(device) : nullptr;
    return found && found->output && found->hasLevel;
}

std::optional<float> PulseAudioHardware::volume(AudioObjectId device) {
    const auto state = server_->ask();
    const SoundDevice* found = state ? state->find(device) : nullptr;
    if (!found || !found->output || !found->hasLevel) {
        return std::nullopt;
    }
    const auto set = server_->pending({Wish::Kind::level, device});
    return set ? set->level : shownLevel(found->levels);
}

bool PulseAudioHardware::setVolume(AudioObjectId device, float level) {
    const auto state = server_->ask();
    const SoundDevice* found = state ? state->find(device) : nullptr;
    if (!found || !found->output || !found->hasLevel || std::isnan(level)) {
        return false;
    }
    server_->set({.key = {Wish::Kind::level, device},
                  .device = device,
                  .name = found->output->name,
                  .level = std::clamp(level, 0.0F, 1.0F)});
    return true;
}

bool PulseAudioHardware::hasMute(AudioObjectId device) {
    const auto state = server_->ask();
    const SoundDevice* found = state ? state->find(device) : nullptr;
    return found && found->output;
}

std::optional<std::uint32_t> PulseAudioHardware::mute(AudioObjectId device) {
    const auto state = server_->ask();
    const SoundDevice* found = state ? state->find(device) : nullptr;
    if (!found || !found->output) {
        return std::nullopt;
    }
    const auto set = server_->pending({Wish::Kind::mute, device});
    return (set ? set->isMuted : found->isMuted) ? 1U : 0U;
}

bool PulseAudioHardware::setMute(AudioObjectId device, std::uint32_t mute) {
    const auto state = server_->ask();
    const SoundDevice* found = state ? state->find(device) : nullptr;
    if (!found || !found->output) {
        return false;
    }
    server_->set({.key = {Wish::Kind::mute, device},
                  .device = device,
                  .name = found->output->name,
                  .isMuted = mute == 1});
    return true;
}

} // namespace Linux
