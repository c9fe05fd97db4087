#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace ZorbelKit {

/// A text (UTF-8) that never changes: however many hold it, it is there once. Equal when it says the same.
/// Any thread.
class SharedText {
public:
    SharedText() = default;
    SharedText(
        std::string text) // NOLINT(google-explicit-constructor): it is a string that is cheap to pass on
        : text_(std::make_shared<const std::string>(std::move(text))) {}
    SharedText(const char* text) // NOLINT(google-explicit-constructor)
        : SharedText(std::string(text)) {}

    std::string_view view() const { return text_ ? std::string_view(*text_) : std::string_view(); }
    std::size_t size() const { return view().size(); } // bytes

    bool operator==(const SharedText& other) const { return text_ == other.text_ || view() == other.view(); }

private:
    std::shared_ptr<const std::string> text_; // null for the empty text
};

} // namespace ZorbelKit
