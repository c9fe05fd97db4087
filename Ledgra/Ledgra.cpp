#include "Ledgra/Ledgra.hpp"

#include "Ledgra/ShelfPanel.hpp"
#include "ZorbelKit/AnyView.hpp"

namespace Ledgra {

using namespace ZorbelKit;

LedgraSpice::LedgraSpice(Services services)
    : Spice({.id = "ledgra",
             .name = "Ledgra",
             .role = "Notch Shelf",
             .summary = "A shelf under the notch to park files on their way somewhere else.",
             .reason = "Named for the ledge above the stove, where things wait for a moment on their "
                       "way to the table.",
             .wave = Wave::later})
    , services_(services) {
}

LedgraSpice::~LedgraSpice() = default;

void LedgraSpice::steep() {
}

void LedgraSpice::rest() {
}

AnyView LedgraSpice::dashboard() {
    return {};
}

AnyView LedgraSpice::menuSection() {
    return {};
}

void LedgraSpice::setShowShelf(bool) {
}

std::int64_t LedgraSpice::totalBytes() const {
    return 0;
}

void LedgraSpice::stage(const std::vector<std::filesystem::path>&) {
}

void LedgraSpice::remove(const Staged&) {
}

void LedgraSpice::clear() {
}

void LedgraSpice::reveal(const Staged&) {
}

void LedgraSpice::present() {
}

} // namespace Ledgra
