#pragma once

#include "ZorbelKit/Time.hpp"

#include <cstddef>
#include <string>
#include <string_view>

namespace ZorbelKit {

/// How the user's language reads a text. All texts are UTF-8. Any thread.
class Language {
public:
    virtual ~Language() = default;

    /// `text` in a form in which upper and lower case are the same, and so are different spellings of one
    /// accented letter: a text contains another, case aside, when its form contains the other's.
    virtual std::string folded(std::string_view text) const = 0;

    /// The first so many characters, as a reader counts them: an accented letter or a family of emoji is one.
    virtual std::string_view prefix(std::string_view text, std::size_t characters) const = 0;

    /// A date with the month in letters, short, and the time with seconds, in the user's time zone: "Nov 21,
    /// 2026, 9:56:07 PM".
    virtual std::string dateAndTime(TimePoint moment) const = 0;

    /// The time without seconds, short, in the user's time zone: "9:56 PM".
    virtual std::string timeOfDay(TimePoint moment) const = 0;

    /// Below 0 where `left` comes before `right` in a list that people read, above 0 where it comes after.
    /// Upper and lower case are the same, and 0 means that nothing else differs.
    virtual int compare(std::string_view left, std::string_view right) const = 0;
};

} // namespace ZorbelKit
