#pragma once

#include "ZorbelKit/Host/Language.hpp"
#include "ZorbelKit/Utf8.hpp"

#include <chrono>
#include <string>

namespace Simulated {

/// A language whose only letters with two cases are A to Z, and whose every code point is a character.
class SimulatedLanguage : public ZorbelKit::Language {
public:
    std::string folded(std::string_view text) const override {
        std::string lower(text);
        for (char& character : lower) {
            if (character >= 'A' && character <= 'Z') {
                character = static_cast<char>(character - 'A' + 'a');
            }
        }
        return lower;
    }

    std::string_view prefix(std::string_view text, std::size_t characters) const override {
        std::size_t end = 0;
        for (std::size_t count = 0; count < characters && end < text.size(); ++count) {
            end += ZorbelKit::utf8::first(text.substr(end)).length;
        }
        return text.substr(0, end);
    }

    /// In Greenwich: "1970-01-01, 00:00:00".
    std::string dateAndTime(ZorbelKit::TimePoint moment) const override {
        const auto day = std::chrono::floor<std::chrono::days>(moment);
        const std::chrono::year_month_day date(day);
        const std::chrono::hh_mm_ss time(std::chrono::floor<std::chrono::seconds>(moment - day));
        const auto two = [](auto number) { return (number < 10 ? "0" : "") + std::to_string(number); };
        return std::to_string(static_cast<int>(date.year())) + "-" +
               two(static_cast<unsigned>(date.month())) + "-" + two(static_cast<unsigned>(date.day())) +
               ", " + two(time.hours().count()) + ":" + two(time.minutes().count()) + ":" +
               two(time.seconds().count());
    }

    /// In Greenwich: "00:00".
    std::string timeOfDay(ZorbelKit::TimePoint moment) const override {
        return dateAndTime(moment).substr(std::string_view("1970-01-01, ").size(),
                                          std::string_view("00:00").size());
    }

    int compare(std::string_view left, std::string_view right) const override {
        return folded(left).compare(folded(right));
    }
};

} // namespace Simulated
