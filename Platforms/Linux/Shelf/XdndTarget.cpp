#include "Platforms/Linux/Shelf/XdndTarget.hpp"

#include <algorithm>
#include <utility>

namespace Linux {

namespace {

constexpr std::uint32_t hasMoreTypes = 1; // a bit in the second number of the first message
constexpr int versionShift = 24;          // of the version in the same

XdndTarget::Place placeIn(std::uint32_t packed) {
    return {static_cast<std::int16_t>(packed >> 16), static_cast<std::int16_t>(packed & 0xFFFF)};
}

} // namespace

void XdndTarget::takeEnter(const Message& message) {
    stop(); // one pointer drags one thing: whatever went on before is over
    const std::uint32_t source = message[0];
    if (source == 0 || !surroundings_.watch(source)) {
        return;
    }
    phase_ = Phase::over;
    source_ = source;
    sourceVersion_ = std::min(version, message[1] >> versionShift);
    const std::vector<std::uint32_t> types = message[1] & hasMoreTypes
                                                 ? surroundings_.types(source)
                                                 : std::vector(message.begin() + 2, message.end());
    hasFiles_ = std::ranges::find(types, fileList_) != types.end();
    accepts_ = false;
}

void XdndTarget::takePosition(const Message& message) {
    const std::uint32_t source = message[0];
    if (source == 0) {
        return;
    }
    bool accepts = false;
    if (source == source_ && phase_ == Phase::over) {
        accepts = hasFiles_ && surroundings_.moveOver(placeIn(message[2]));
        accepts = accepts && phase_ == Phase::over && source == source_; // the content may have ended it
        accepts_ = accepts;
    }
    surroundings_.sendStatus(source, accepts);
}

void XdndTarget::takeLeave(const Message& message) {
    if (message[0] == source_) {
        stop();
    }
}

void XdndTarget::takeDrop(const Message& message) {
    const std::uint32_t source = message[0];
    if (source == 0 || (source == source_ && phase_ == Phase::fetching)) {
        return; // the first one's end is still to come
    }
    if (source != source_) {
        surroundings_.sendFinished(source, false); // it may wait for one all the same
        return;
    }
    if (!accepts_) {
        reset();
        surroundings_.sendFinished(source, false);
        surroundings_.leave();
        return;
    }
    phase_ = Phase::fetching;
    constexpr std::uint32_t now = 0;
    surroundings_.fetch(sourceVersion_ >= 1 ? message[2] : now);
}

void XdndTarget::takeEnd(std::uint32_t window) {
    if (window != source_ || phase_ == Phase::away) {
        return;
    }
    if (phase_ == Phase::fetching) {
        surroundings_.stopFetching();
    }
    phase_ = Phase::away;
    source_ = 0;
    surroundings_.leave();
}

void XdndTarget::takeList(std::string list) {
    if (phase_ != Phase::fetching) {
        return;
    }
    const std::uint32_t source = source_;
    reset();
    surroundings_.sendFinished(source, true); // it need not wait for what becomes of its files
    surroundings_.drop(std::move(list));
}

void XdndTarget::stop() {
    if (phase_ == Phase::away) {
        return;
    }
    const std::uint32_t source = source_;
    const bool wasFetching = phase_ == Phase::fetching;
    reset();
    if (wasFetching) {
        surroundings_.stopFetching();
        surroundings_.sendFinished(source, false);
    }
    surroundings_.leave();
}

void XdndTarget::reset() {
    phase_ = Phase::away;
    surroundings_.unwatch(std::exchange(source_, 0));
}

} // namespace Linux
