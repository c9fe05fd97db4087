#include "Hushel/Hushel.hpp"

#include "ZorbelKit/AnyView.hpp"

#include <utility>

namespace Hushel {

using namespace ZorbelKit;

HushelSpice::HushelSpice(Services services)
    : Spice({.id = "hushel",
             .name = "Hushel",
             .role = "Focus",
             .summary = "Keeps the apps you named out of the way, for as long as you asked.",
             .reason = "Named for the lid on the cup: it keeps the warmth in and the street out.",
             .wave = Wave::nextBatch})
    , services_(services) {
}

void HushelSpice::steep() {
}

void HushelSpice::rest() {
}

AnyView HushelSpice::dashboard() {
    return {};
}

AnyView HushelSpice::menuSection() {
    return {};
}

void HushelSpice::start() {
}

void HushelSpice::endSession(bool) {
}

void HushelSpice::block(const Blocked&) {
}

void HushelSpice::unblock(const Blocked&) {
}

std::vector<Blocked> HushelSpice::runningApps() const {
    return {};
}

} // namespace Hushel
