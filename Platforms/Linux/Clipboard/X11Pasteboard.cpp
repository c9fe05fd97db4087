#include "Platforms/Linux/Clipboard/X11Pasteboard.hpp"

namespace Linux {

class X11Pasteboard::Link {};

X11Pasteboard::X11Pasteboard(const char* display)
    : X11Pasteboard(display, Limits{}) {
}

X11Pasteboard::X11Pasteboard(const char*, const Limits&) {
}

X11Pasteboard::~X11Pasteboard() = default;

ZorbelKit::Token X11Pasteboard::watch() {
    return {};
}

std::int64_t X11Pasteboard::changeCount() const {
    return 0;
}

std::vector<ZorbelKit::PasteboardUrl> X11Pasteboard::urls() const {
    return {};
}

std::optional<ZorbelKit::SharedText> X11Pasteboard::string() const {
    return std::nullopt;
}

bool X11Pasteboard::hasPicture(ZorbelKit::PictureType) const {
    return false;
}

void X11Pasteboard::setString(const ZorbelKit::SharedText&) {
}

std::string X11Pasteboard::watchingHint() const {
    return {};
}

} // namespace Linux
