#pragma once

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

/// While it lives, the user's clocks show the time of this zone.
class TimeZone {
public:
    explicit TimeZone(const char* name) {
        if (const char* before = std::getenv("TZ")) {
            before_ = before;
        }
        set(name);
    }
    TimeZone(const TimeZone&) = delete;
    TimeZone& operator=(const TimeZone&) = delete;
    ~TimeZone() { set(before_ ? before_->c_str() : nullptr); }

private:
    static void set(const char* name) {
        name ? ::setenv("TZ", name, 1) : ::unsetenv("TZ");
        ::tzset();
    }

    std::optional<std::string> before_;
};
