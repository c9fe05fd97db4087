#include "Platforms/Linux/Sound/SoundTalk.hpp"

#include "Platforms/Linux/Sound/PulseLibrary.hpp"
#include "Platforms/Linux/Sound/SoundExchange.hpp"
#include "Platforms/Linux/Sound/SoundState.hpp"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Linux {

using namespace std::chrono_literals;

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto lastPatience = 50ms; // for what was set last to arrive, at the end
constexpr auto eventPause = 150ms;  // in which further news comes along
constexpr auto checkInterval = 8s;  // whether a server that says nothing still answers: each wakes us twice
constexpr auto answerPatience = 2s; // one that takes longer counts as hung
constexpr std::array reconnectionPauses{1s, 2s, 3s}; // the last for good: no longer than two looks
constexpr std::size_t mostTold = 1000;               // of a kind; no machine has so many

/// They have woken us, which was all there was to them.
void forgetWords(const SoundExchange& exchange) {
    std::uint64_t count = 0;
    static_cast<void>(::read(exchange.wakeDescriptor(), &count, sizeof count));
}

/// For a word from the main thread, where there is no server to listen to.
void waitForWord(const SoundExchange& exchange) {
    pollfd wake{exchange.wakeDescriptor(), POLLIN, 0};
    ::poll(&wake, 1, static_cast<int>(std::chrono::milliseconds(checkInterval).count()));
    forgetWords(exchange);
}

struct FreeLoop {
    const PulseLibrary& pulse;

    void operator()(pa_mainloop* loop) const { pulse.mainloopFree(loop); }
};

/// Also ends the connection: none of its answers arrives afterwards.
struct DropContext {
    const PulseLibrary& pulse;

    void operator()(pa_context* context) const {
        pulse.contextSetStateCallback(context, nullptr, nullptr);
        pulse.contextSetSubscribeCallback(context, nullptr, nullptr);
        pulse.contextDisconnect(context);
        pulse.contextUnref(context);
    }
};

std::string text(const char* characters) {
    return characters ? characters : "";
}

SoundProperties properties(const PulseLibrary& pulse, const pa_proplist* list) {
    SoundProperties result;
    void* place = nullptr;
    while (const char* key = list ? pulse.proplistIterate(list, &place) : nullptr) {
        if (const char* value = pulse.proplistGets(list, key)) {
            result.emplace(key, value);
        }
    }
    return result;
}

/// What sinks and sources have in common, each with types of its own.
template <class Info>
ToldDevice toldDevice(const PulseLibrary& pulse, const Info& info) {
    ToldDevice told;
    told.attachment.name = text(info.name);
    told.attachment.driver = text(info.driver);
    told.attachment.properties = properties(pulse, info.proplist);
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

ToldDevice toldSink(const PulseLibrary& pulse, const pa_sink_info& info) {
    ToldDevice told = toldDevice(pulse, info);
    told.attachment.isHardware = (info.flags & PA_SINK_HARDWARE) != 0;
    told.attachment.isNetwork = (info.flags & PA_SINK_NETWORK) != 0;
    // A level that the server calculates is in decibels; a sink with neither lets sound through as it is.
    told.hasLevel = (info.flags & (PA_SINK_HW_VOLUME_CTRL | PA_SINK_DECIBEL_VOLUME)) != 0;
    return told;
}

ToldDevice toldSource(const PulseLibrary& pulse, const pa_source_info& info) {
    ToldDevice told = toldDevice(pulse, info);
    told.attachment.isHardware = (info.flags & PA_SOURCE_HARDWARE) != 0;
    told.attachment.isNetwork = (info.flags & PA_SOURCE_NETWORK) != 0;
    const auto kind = told.attachment.properties.find("device.class");
    told.isMonitor = info.monitor_of_sink != PA_INVALID_INDEX ||
                     (kind != told.attachment.properties.end() && kind->second == "monitor");
    return told;
}

/// The talk with one server: the work of the thread.
class Talk {
public:
    Talk(SoundExchange& exchange, const PulseLibrary& pulse)
        : exchange_(exchange)
        , pulse_(pulse)
        , loop_(pulse.mainloopNew(), {pulse})
        , context_(nullptr, {pulse}) {}
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
    bool isReady() const { return context_ && pulse_.contextGetState(context_.get()) == PA_CONTEXT_READY; }
    void passTime(Clock::time_point now);
    int microsecondsLeft(Clock::time_point now) const;

    // Looks: all that the server tells, in four answers

    void lookSoon();
    void look();
    void takePart(bool isGood);
    template <class Told, class Item>
    static void collect(std::vector<Told>& list, Item item);
    void check(Clock::time_point now);

    // Wishes

    struct Flight {
        Talk* talk;
        SoundWish wish;
    };
    void send();
    bool send(Flight& flight);
    void land(SoundWish::Key key, bool isAccepted);

    /// False where the server cannot be asked.
    bool start(pa_operation* operation) const {
        if (operation) {
            pulse_.operationUnref(operation);
        }
        return operation != nullptr;
    }

    SoundExchange& exchange_;
    const PulseLibrary& pulse_;
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
    std::map<SoundWish::Key, Flight> flights_;
};

void Talk::run() {
    if (!loop_) { // the process has no descriptors left
        waitForWord(exchange_);
        return;
    }
    pa_mainloop_api* api = pulse_.mainloopGetApi(loop_.get());
    api->io_new(
        api, exchange_.wakeDescriptor(), PA_IO_EVENT_INPUT,
        [](pa_mainloop_api*, pa_io_event*, int, pa_io_event_flags_t, void* exchange) {
            forgetWords(*static_cast<SoundExchange*>(exchange));
        },
        &exchange_);
    while (true) {
        const auto now = Clock::now();
        passTime(now);
        send();
        if (exchange_.isEnding()) {
            endAt_ = endAt_.value_or(now + lastPatience);
            if (flights_.empty() || now >= *endAt_) {
                return;
            }
        } else if (exchange_.isUnasked()) {
            return;
        }
        if (pulse_.mainloopPrepare(loop_.get(), microsecondsLeft(Clock::now())) < 0 ||
            pulse_.mainloopPoll(loop_.get()) < 0 || pulse_.mainloopDispatch(loop_.get()) < 0) {
            return;
        }
    }
}

int Talk::microsecondsLeft(Clock::time_point now) const {
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

void Talk::passTime(Clock::time_point now) {
    if (isLost_) {
        lose();
        connectAt_ = now + reconnectionPauses[std::min(attempts_++, reconnectionPauses.size() - 1)];
    }
    if (connectAt_ && now >= *connectAt_) {
        connectAt_.reset();
        connect();
    }
    if (now >= checkAt_) {
        check(now);
    }
    if (lookAt_ && now >= *lookAt_ && partsLeft_ == 0 && isReady()) {
        look();
    }
}

// The connection

void Talk::connect() {
    const std::string& address = exchange_.address();
    context_.reset(pulse_.contextNew(pulse_.mainloopGetApi(loop_.get()), "Zorbel"));
    if (!context_) {
        isLost_ = true;
        return;
    }
    pulse_.contextSetStateCallback(
        context_.get(),
        [](pa_context* context, void* talk) {
            Talk& self = *static_cast<Talk*>(talk);
            self.follow(self.pulse_.contextGetState(context));
        },
        this);
    if (pulse_.contextConnect(context_.get(), address.empty() ? nullptr : address.c_str(),
                              PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0) {
        isLost_ = true;
    }
}

void Talk::follow(pa_context_state_t state) {
    if (state == PA_CONTEXT_FAILED || state == PA_CONTEXT_TERMINATED) {
        isLost_ = true; // and no more: the connection is not dropped under its own feet
        return;
    }
    if (state != PA_CONTEXT_READY) {
        return;
    }
    pulse_.contextSetSubscribeCallback(
        context_.get(),
        [](pa_context*, pa_subscription_event_type_t, std::uint32_t, void* talk) {
            static_cast<Talk*>(talk)->lookSoon();
        },
        this);
    const auto wanted =
        static_cast<pa_subscription_mask_t>(PA_SUBSCRIPTION_MASK_SINK | PA_SUBSCRIPTION_MASK_SOURCE |
                                            PA_SUBSCRIPTION_MASK_SERVER | PA_SUBSCRIPTION_MASK_CARD);
    isLost_ = !start(pulse_.contextSubscribe(context_.get(), wanted, nullptr, nullptr));
    lookAt_ = Clock::now();
}

/// What was learned is void, indexes above all.
void Talk::lose() {
    context_.reset();
    isLost_ = false;
    isChecking_ = false;
    lookAt_.reset();
    partsLeft_ = 0;
    state_.reset();
    flights_.clear();
    exchange_.lose();
}

/// A server that hangs says so by not answering anything.
void Talk::check(Clock::time_point now) {
    checkAt_ = now + checkInterval;
    if (!isReady()) {
        return;
    }
    if (isChecking_) {
        isWithdrawn_ = true;
        exchange_.withdraw();
        return;
    }
    isChecking_ = start(pulse_.contextGetServerInfo(
        context_.get(),
        [](pa_context*, const pa_server_info*, void* data) {
            Talk& talk = *static_cast<Talk*>(data);
            talk.isChecking_ = false;
            talk.checkAt_ = Clock::now() + checkInterval;
            if (talk.isWithdrawn_) {
                talk.lookSoon();
            }
        },
        this));
    if (isChecking_) {
        checkAt_ = now + answerPatience;
    }
}

// Looks

void Talk::lookSoon() {
    if (!lookAt_) {
        lookAt_ = Clock::now() + eventPause;
    }
}

void Talk::look() {
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
        end == 0 ? collect(talk.told_.sinks, [&] { return toldSink(talk.pulse_, *info); })
                 : talk.takePart(end > 0);
    };
    const auto takeSource = [](pa_context*, const pa_source_info* info, int end, void* data) {
        Talk& talk = *static_cast<Talk*>(data);
        end == 0 ? collect(talk.told_.sources, [&] { return toldSource(talk.pulse_, *info); })
                 : talk.takePart(end > 0);
    };
    const auto takeCard = [](pa_context*, const pa_card_info* info, int end, void* data) {
        Talk& talk = *static_cast<Talk*>(data);
        const auto told = [&] {
            return ToldCard{info->index, text(info->name), properties(talk.pulse_, info->proplist)};
        };
        end == 0 ? collect(talk.told_.cards, told) : talk.takePart(end > 0);
    };
    isLost_ = !start(pulse_.contextGetServerInfo(context_.get(), takeServer, this)) ||
              !start(pulse_.contextGetCardInfoList(context_.get(), takeCard, this)) ||
              !start(pulse_.contextGetSinkInfoList(context_.get(), takeSink, this)) ||
              !start(pulse_.contextGetSourceInfoList(context_.get(), takeSource, this));
}

template <class Told, class Item>
void Talk::collect(std::vector<Told>& list, Item item) {
    if (list.size() < mostTold) {
        list.push_back(item());
    }
}

void Talk::takePart(bool isGood) {
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
    state_ = std::make_shared<const SoundState>(std::exchange(told_, {}), exchange_.known());
    exchange_.publish(state_, looks_);
}

// Wishes

void Talk::send() {
    if (!isReady() || !state_) {
        return;
    }
    for (SoundWish& wish :
         exchange_.takeWishes([this](SoundWish::Key key) { return flights_.contains(key); })) {
        const SoundWish::Key key = wish.key;
        Flight& flight = flights_.try_emplace(key, Flight{this, std::move(wish)}).first->second;
        if (!send(flight)) {
            land(key, false);
        }
        checkAt_ = std::min(checkAt_, Clock::now() + answerPatience); // somebody waits for it
    }
}

bool Talk::send(Flight& flight) {
    const auto take = [](pa_context*, int isAccepted, void* data) {
        const Flight& landing = *static_cast<Flight*>(data);
        landing.talk->land(landing.wish.key, isAccepted != 0);
    };
    const SoundWish& wish = flight.wish;
    pa_context* context = context_.get();
    const char* name = wish.name.c_str();
    switch (wish.key.kind) {
    case SoundWish::Kind::defaultOutput:
        return start(pulse_.contextSetDefaultSink(context, name, take, &flight));
    case SoundWish::Kind::defaultInput:
        return start(pulse_.contextSetDefaultSource(context, name, take, &flight));
    case SoundWish::Kind::mute:
        return start(pulse_.contextSetSinkMuteByName(context, name, wish.isMuted ? 1 : 0, take, &flight));
    case SoundWish::Kind::level:
        break;
    }
    const SoundDevice* device = state_->find(wish.device);
    const ChannelLevels levels =
        device ? exchange_.known().levelsFor(wish.name, device->levels, wish.level) : ChannelLevels();
    if (levels.empty()) {
        return false;
    }
    pa_cvolume volume{};
    volume.channels = static_cast<std::uint8_t>(levels.size());
    std::ranges::copy(levels, volume.values);
    return start(pulse_.contextSetSinkVolumeByName(context, name, &volume, take, &flight));
}

void Talk::land(SoundWish::Key key, bool isAccepted) {
    const auto flight = flights_.find(key);
    exchange_.answer(flight->second.wish, isAccepted, looks_);
    flights_.erase(flight);
    lookSoon();
}

} // namespace

void SoundTalk::hold(SoundExchange& exchange) {
    if (const PulseLibrary* pulse = PulseLibrary::load()) {
        Talk(exchange, *pulse).run();
    } else {
        exchange.lose();
        waitForWord(exchange);
    }
}

} // namespace Linux
