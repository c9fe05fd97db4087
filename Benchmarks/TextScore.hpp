#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Bench {

/// The text with every run of white space as one blank, and none around it.
std::string folded(std::string_view text);

/// How many code points have to be added, removed or replaced to make one of the other (UTF-8).
std::size_t editDistance(std::string_view one, std::string_view other);

/// Sums up how well texts were read.
class TextScore {
public:
    void add(std::string_view known, std::string_view read);

    std::size_t errors() const { return errors_; }
    double rate() const; // errors per code point, 0 where there is no text

private:
    std::size_t errors_ = 0;
    std::size_t length_ = 0;
};

} // namespace Bench
