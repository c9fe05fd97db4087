#pragma once

#include "Zorbel/ShellWindows.hpp"

#include <memory>
#include <vector>

namespace Simulated {

/// Counts what the shell asks of the process.
class SimulatedApplication : public Zorbel::Application {
public:
    void becomeAccessory() override { isAccessory = true; }
    void activate() override { ++activations; }
    void terminate() override { ++terminations; }

    bool isAccessory = false;
    int activations = 0;
    int terminations = 0;
};

/// Windows as records: nothing is drawn and no content is built.
class SimulatedShellWindows : public Zorbel::ShellWindows {
public:
    struct Popover {
        ZorbelKit::Size contentSize;
        bool isShown = false;
        int shows = 0;
        std::optional<ZorbelKit::Rect> anchor;
        std::function<void()> closed;

        /// As by a click elsewhere or Escape.
        void close() {
            if (std::exchange(isShown, false) && closed) {
                closed();
            }
        }
    };

    struct Window {
        Zorbel::WindowStyle style;
        bool isShown = false;
        int fronts = 0; // how often it was brought to the front
    };

    std::unique_ptr<Zorbel::PopoverWindow> popover(ZorbelKit::Size contentSize, ZorbelKit::AnyView) override {
        popovers.push_back(std::make_shared<Popover>());
        popovers.back()->contentSize = contentSize;
        return std::make_unique<PopoverHandle>(popovers.back());
    }

    std::unique_ptr<Zorbel::ShellWindow> window(Zorbel::WindowStyle style, ZorbelKit::AnyView) override {
        windows.push_back(std::make_shared<Window>());
        windows.back()->style = std::move(style);
        return std::make_unique<WindowHandle>(windows.back());
    }

    /// The newest window with this title; null where there is none.
    Window* titled(const std::string& title) const {
        for (auto window = windows.rbegin(); window != windows.rend(); ++window) {
            if ((*window)->style.title == title) {
                return window->get();
            }
        }
        return nullptr;
    }

    bool shows(const std::string& title) const {
        const Window* window = titled(title);
        return window && window->isShown;
    }

    std::vector<std::shared_ptr<Popover>> popovers;
    std::vector<std::shared_ptr<Window>> windows;

private:
    class PopoverHandle : public Zorbel::PopoverWindow {
    public:
        explicit PopoverHandle(std::shared_ptr<Popover> record)
            : record_(std::move(record)) {}

        void show(std::optional<ZorbelKit::Rect> anchor) override {
            record_->isShown = true;
            record_->anchor = anchor;
            ++record_->shows;
        }
        void close() override { record_->close(); }
        bool isShown() const override { return record_->isShown; }
        void onClose(std::function<void()> closed) override { record_->closed = std::move(closed); }

    private:
        std::shared_ptr<Popover> record_;
    };

    class WindowHandle : public Zorbel::ShellWindow {
    public:
        explicit WindowHandle(std::shared_ptr<Window> record)
            : record_(std::move(record)) {}

        void showInFront() override {
            record_->isShown = true;
            ++record_->fronts;
        }
        void close() override { record_->isShown = false; }
        bool isShown() const override { return record_->isShown; }

    private:
        std::shared_ptr<Window> record_;
    };
};

} // namespace Simulated
