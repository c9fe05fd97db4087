#pragma once

#include "Zorbel/ShellWindows.hpp"

namespace QtPlatform {

/// The process under Qt. Needs a QApplication.
class QtApplication : public Zorbel::Application {
public:
    void becomeAccessory() override; // no window, no entry in a task bar, and alive without either
    void activate() override {}      // each window asks for the focus when it is shown
    void terminate() override;
};

/// Popovers and windows as Qt widgets.
class QtShellWindows : public Zorbel::ShellWindows {
public:
    /// `canBlend` says whether the desktop mixes a window's soft edges with what lies below it; asked at each
    /// opening.
    explicit QtShellWindows(std::function<bool()> canBlend)
        : canBlend_(std::move(canBlend)) {}

    std::unique_ptr<Zorbel::PopoverWindow> popover(ZorbelKit::Size contentSize,
                                                   ZorbelKit::AnyView content) override;
    std::unique_ptr<Zorbel::ShellWindow> window(Zorbel::WindowStyle style,
                                                ZorbelKit::AnyView content) override;

private:
    std::function<bool()> canBlend_;
};

} // namespace QtPlatform
