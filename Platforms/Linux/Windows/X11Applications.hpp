#pragma once

#include "Hushel/Applications.hpp"
#include "Platforms/Linux/InstalledPrograms.hpp"

#include <memory>
#include <string>

namespace Linux {

/// The programs of an X desktop by the windows its window manager tells of (EWMH), hidden by having it
/// iconify all of them. Looks only when it is asked, in one batch of requests for what it knew already and
/// one for what is new, and once more a moment after it has hidden something: whether that helped. Waits for
/// the X server and for nobody else, but for a tenth of a second at the first question, as installed programs
/// are read. Main thread only.
class X11Applications : public Hushel::Applications {
public:
    /// `display`: the X display, null for the environment's.
    X11Applications(ZorbelKit::MainLoop& loop, const char* display = nullptr);
    ~X11Applications() override;

    std::vector<Hushel::Application> running() override;
    void hide(const std::vector<Hushel::Application>& applications) override;
    std::string hidingHint() override;

    /// Goes up by one a call, and by one for every request made in between.
    unsigned int requestsForTesting() const;

    /// Whether it holds a connection to the X server.
    bool isConnectedForTesting() const { return windows_ != nullptr; }

private:
    class Windows;
    Windows& windows();

    ZorbelKit::MainLoop& loop_;
    const char* display_;
    InstalledPrograms programs_;
    bool hasWaited_ = false;           // for the installed programs
    std::unique_ptr<Windows> windows_; // null while nothing is asked
    ZorbelKit::Token leaving_;         // while it is there
};

} // namespace Linux
