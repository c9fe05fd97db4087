#pragma once

#include "ZorbelKit/Host/Language.hpp"
#include "ZorbelKit/Utf8.hpp"

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
};

} // namespace Simulated
