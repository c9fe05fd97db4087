#pragma once

#include "Hushel/Applications.hpp"
#include "Platforms/Linux/InstalledPrograms.hpp"

#include <memory>

namespace Linux {

/// The programs of an X desktop by the windows its window manager tells of (EWMH), hidden by having it
/// iconify all of them. Looks only when it is asked, in one batch of requests for what it knew already and
/// one for what is new; waits for the X server and for nobody else. Main thread only.
class X11Applications : public Hushel::Applications {
public:
    /// `display`: the X display, null for the environment's.
    X11Applications(ZorbelKit::MainLoop& loop, const char* display = nullptr);
    ~X11Applications() override;

    std::vector<Hushel::Application> running() override;
    void hide(const std::vector<Hushel::Application>& applications) override;
    std::string hidingHint() override;

private:
    class Windows;
    std::unique_ptr<Windows> windows_;
};

} // namespace Linux
