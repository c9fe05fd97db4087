#pragma once

#include "ZorbelKit/Spice.hpp"

#include <functional>
#include <string>
#include <utility>

namespace ZorbelKit {

/// A spice that does nothing but count; what is hooked in runs at the moment of the call.
class RecordingSpice : public Spice {
public:
    explicit RecordingSpice(std::string id, Wave wave = Wave::inTheCup)
        : Spice({.id = std::move(id),
                 .name = "Test",
                 .role = "Test",
                 .summary = {},
                 .reason = {},
                 .wave = wave}) {}

    void steep() override {
        ++steeps;
        if (whileSteeping) {
            whileSteeping();
        }
    }
    void rest() override {
        ++rests;
        if (whileResting) {
            whileResting();
        }
    }
    AnyView dashboard() override { return {}; }
    AnyView menuSection() override { return {}; }

    int steeps = 0;
    int rests = 0;
    std::function<void()> whileSteeping;
    std::function<void()> whileResting;
};

} // namespace ZorbelKit
