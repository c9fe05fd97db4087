#pragma once

#include "Tests/Desktop/Desktop.hpp"

#include <string>
#include <utility>
#include <vector>

namespace Desktop {

/// Monitors of the screen, taken away again with this object.
class Monitors {
public:
    explicit Monitors(std::vector<std::pair<const char*, const char*>> namesAndPlaces) {
        const char* output = "screen"; // the first carries the server's one output
        for (const auto& [name, place] : namesAndPlaces) {
            names_.emplace_back(name);
            isSet_ = run({"xrandr", "--setmonitor", name, place, output}) && isSet_;
            output = "none";
        }
    }
    Monitors(const Monitors&) = delete;
    Monitors& operator=(const Monitors&) = delete;
    ~Monitors() {
        for (const std::string& name : names_) {
            run({"xrandr", "--delmonitor", name});
        }
    }

    bool isSet() const { return isSet_; }

    static bool run(const std::vector<std::string>& command) {
        Program program(command);
        return program.waitForEnd() == 0;
    }

private:
    std::vector<std::string> names_;
    bool isSet_ = true;
};

} // namespace Desktop
