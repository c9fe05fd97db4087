#pragma once

#include "Pintho/Accessibility.hpp"

#include <map>
#include <string>
#include <vector>

namespace Simulated {

/// Windows that tests open, and that go where they are told at once. It keeps a record of what was asked.
class SimulatedAccessibility : public Pintho::Accessibility {
public:
    struct Window {
        std::optional<std::string> title;
        std::optional<Pintho::WindowPoint> position;
        std::optional<ZorbelKit::Size> size;
    };

    bool isTrusted() const override { return trusted; }
    std::string trustHint() const override { return hint; }
    void requestTrust() override { ++requests; }

    std::optional<Pintho::WindowElement> focusedWindow(std::int64_t processIdentifier) const override {
        const auto found = focused.find(processIdentifier);
        return found == focused.end()
                   ? std::nullopt
                   : std::optional(Pintho::WindowElement{static_cast<std::uint64_t>(found->first)});
    }

    std::optional<std::string> title(Pintho::WindowElement window) const override { return at(window).title; }
    std::optional<Pintho::WindowPoint> position(Pintho::WindowElement window) const override {
        return at(window).position;
    }
    std::optional<ZorbelKit::Size> size(Pintho::WindowElement window) const override {
        return at(window).size;
    }

    void setPosition(Pintho::WindowElement window, Pintho::WindowPoint corner) override {
        steps.emplace_back("position");
        focused[static_cast<std::int64_t>(window.id)].position = corner;
    }
    void setSize(Pintho::WindowElement window, ZorbelKit::Size size) override {
        steps.emplace_back("size");
        focused[static_cast<std::int64_t>(window.id)].size = size;
    }

    bool trusted = true;
    std::string hint;
    int requests = 0;
    std::map<std::int64_t, Window> focused; // by process
    std::vector<std::string> steps;         // "position", "size"

private:
    const Window& at(Pintho::WindowElement window) const {
        return focused.at(static_cast<std::int64_t>(window.id));
    }
};

} // namespace Simulated
