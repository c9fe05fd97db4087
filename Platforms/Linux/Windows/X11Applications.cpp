#include "Platforms/Linux/Windows/X11Applications.hpp"

namespace Linux {

class X11Applications::Windows {};

X11Applications::X11Applications(ZorbelKit::MainLoop&, const char*) {
}

X11Applications::~X11Applications() = default;

std::vector<Hushel::Application> X11Applications::running() {
    return {};
}

void X11Applications::hide(const std::vector<Hushel::Application>&) {
}

std::string X11Applications::hidingHint() {
    return {};
}

} // namespace Linux
