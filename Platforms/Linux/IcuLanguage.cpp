#include "Platforms/Linux/IcuLanguage.hpp"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <memory>
#include <unicode/brkiter.h>
#include <unicode/bytestream.h>
#include <unicode/casemap.h>
#include <unicode/coll.h>
#include <unicode/datefmt.h>
#include <unicode/locid.h>
#include <unicode/normalizer2.h>
#include <unicode/simpletz.h>
#include <unicode/utext.h>

namespace Linux {

namespace {

/// Whether every character is one byte: the most common text, and told apart without tables. A carriage
/// return may make one character with the line feed after it.
bool isOneByteEach(std::string_view text) {
    return std::ranges::all_of(text, [](char character) {
        return static_cast<unsigned char>(character) < 0x80 && character != '\r';
    });
}

icu::StringPiece piece(std::string_view text) {
    return {text.data(), static_cast<std::int32_t>(text.size())};
}

std::string composed(std::string_view text, UErrorCode& status) {
    std::string result;
    icu::StringByteSink<std::string> sink(&result, static_cast<std::int32_t>(text.size()));
    icu::Normalizer2::getNFCInstance(status)->normalizeUTF8(0, piece(text), sink, nullptr, status);
    return result;
}

/// How far the user's clocks are ahead of the world's at a moment, in milliseconds. ICU would keep to the
/// zone that it has met first, wherever the user goes.
std::int32_t offsetOfZone(ZorbelKit::TimePoint moment) {
    const std::time_t seconds = std::chrono::floor<std::chrono::seconds>(moment).time_since_epoch().count();
    std::tm local{};
    ::tzset();
    ::localtime_r(&seconds, &local);
    return static_cast<std::int32_t>(local.tm_gmtoff * 1000);
}

} // namespace

IcuLanguage::IcuLanguage(const std::string& locale)
    : locale_(locale) {
    const std::string language = icu::Locale(locale.c_str()).getLanguage();
    const bool hasTwoLettersI = language == "tr" || language == "az"; // I with ı, İ with i
    foldOptions_ = hasTwoLettersI ? U_FOLD_CASE_EXCLUDE_SPECIAL_I : U_FOLD_CASE_DEFAULT;
}

IcuLanguage::~IcuLanguage() = default;

std::string IcuLanguage::folded(std::string_view text) const {
    UErrorCode status = U_ZERO_ERROR;
    std::string result;
    const std::string whole = composed(text, status);
    icu::StringByteSink<std::string> sink(&result, static_cast<std::int32_t>(whole.size()));
    icu::CaseMap::utf8Fold(foldOptions_, piece(whole), sink, nullptr, status);
    result = composed(result, status);
    return U_SUCCESS(status) ? result : std::string(text);
}

std::string_view IcuLanguage::prefix(std::string_view text, std::size_t characters) const {
    if (isOneByteEach(text.substr(0, characters + 1))) {
        return text.substr(0, characters);
    }
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<icu::BreakIterator> breaks(
        icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    const std::unique_ptr<UText, decltype(&utext_close)> opened(
        utext_openUTF8(nullptr, text.data(), static_cast<std::int64_t>(text.size()), &status), &utext_close);
    if (U_FAILURE(status)) {
        return text.substr(0, 0);
    }
    breaks->setText(opened.get(), status);
    std::int32_t end = breaks->first();
    for (std::size_t count = 0; count < characters; ++count) {
        const std::int32_t next = breaks->next();
        if (next == icu::BreakIterator::DONE) {
            return text;
        }
        end = next;
    }
    return text.substr(0, static_cast<std::size_t>(end));
}

std::string IcuLanguage::written(ZorbelKit::TimePoint moment, const char* skeleton) const {
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<icu::DateFormat> format(
        icu::DateFormat::createInstanceForSkeleton(skeleton, icu::Locale(locale_.c_str()), status));
    if (U_FAILURE(status)) {
        return {};
    }
    format->adoptTimeZone(
        std::make_unique<icu::SimpleTimeZone>(offsetOfZone(moment), icu::UnicodeString()).release());
    icu::UnicodeString text;
    format->format(std::chrono::duration<UDate, std::milli>(moment.time_since_epoch()).count(), text);
    constexpr char16_t narrowSpace = u'\u202F'; // which cannot be typed, and stands before AM and PM
    text.findAndReplace(narrowSpace, u' ');
    std::string result;
    return text.toUTF8String(result);
}

std::string IcuLanguage::dateAndTime(ZorbelKit::TimePoint moment) const {
    return written(moment, "yMMMdjms");
}

std::string IcuLanguage::timeOfDay(ZorbelKit::TimePoint moment) const {
    return written(moment, "jm");
}

int IcuLanguage::compare(std::string_view left, std::string_view right) const {
    UErrorCode status = U_ZERO_ERROR;
    std::call_once(order_, [&] {
        collator_.reset(icu::Collator::createInstance(icu::Locale(locale_.c_str()), status));
        if (collator_) {
            collator_->setStrength(icu::Collator::SECONDARY); // accents count, case does not
        }
    });
    return collator_ ? collator_->compareUTF8(piece(left), piece(right), status)
                     : folded(left).compare(folded(right));
}

} // namespace Linux
