#pragma once

#include "ZorbelKit/Host/Language.hpp"

#include <cstdint>

namespace Linux {

/// Letters and characters by the Unicode rules (ICU) for one locale.
class IcuLanguage : public ZorbelKit::Language {
public:
    /// `locale`: "en_GB", "tr"; an unknown one follows the common rules.
    explicit IcuLanguage(const std::string& locale);

    std::string folded(std::string_view text) const override;
    std::string_view prefix(std::string_view text, std::size_t characters) const override;
    std::string dateAndTime(ZorbelKit::TimePoint moment) const override;

private:
    std::string locale_;
    std::uint32_t foldOptions_;
};

} // namespace Linux
