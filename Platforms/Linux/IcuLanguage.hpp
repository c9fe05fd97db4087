#pragma once

#include "ZorbelKit/Host/Language.hpp"

#include <cstdint>
#include <memory>
#include <mutex>
#include <unicode/uversion.h>

U_NAMESPACE_BEGIN
class Collator;
U_NAMESPACE_END

namespace Linux {

/// Letters and characters by the Unicode rules (ICU) for one locale.
class IcuLanguage : public ZorbelKit::Language {
public:
    /// `locale`: "en_GB", "tr"; an unknown one follows the common rules.
    explicit IcuLanguage(const std::string& locale);
    ~IcuLanguage() override;

    std::string folded(std::string_view text) const override;
    std::string_view prefix(std::string_view text, std::size_t characters) const override;
    std::string dateAndTime(ZorbelKit::TimePoint moment) const override;
    std::string timeOfDay(ZorbelKit::TimePoint moment) const override;
    int compare(std::string_view left, std::string_view right) const override;

private:
    std::string written(ZorbelKit::TimePoint moment, const char* skeleton) const;

    std::string locale_;
    std::uint32_t foldOptions_;
    mutable std::once_flag order_; // made when two texts are first compared
    mutable std::unique_ptr<icu::Collator> collator_;
};

} // namespace Linux
