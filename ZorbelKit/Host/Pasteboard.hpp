#pragma once

#include "ZorbelKit/Picture.hpp"
#include "ZorbelKit/SharedText.hpp"
#include "ZorbelKit/Token.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ZorbelKit {

/// Where something copied can be found.
struct PasteboardUrl {
    std::string absoluteString;      // as it was copied, escapes and all
    std::optional<std::string> path; // of a file: absolute, without escapes; none for any other URL

    bool operator==(const PasteboardUrl&) const = default;
};

enum class PictureType { tiff, png };

/// What is copied now, by whatever program. No read waits for another program: a change counts only once all
/// that is read here has arrived. What its owner marked as secret reads as nothing. Main thread only.
class Pasteboard {
public:
    virtual ~Pasteboard() = default;

    /// Keeps the pasteboard's eyes open until the token goes. What lies on it when watching begins is no
    /// change. While nobody watches, only our own writes are counted.
    virtual Token watch() = 0;

    /// A number that moves with every change, by any program.
    virtual std::int64_t changeCount() const = 0;

    /// The items that can be read as URLs, in order.
    virtual std::vector<PasteboardUrl> urls() const = 0;

    /// The plain text: valid UTF-8, otherwise as it was copied. May be left unread where there are URLs.
    virtual std::optional<SharedText> string() const = 0;

    /// Whether a picture of this type is offered. Its data are not fetched.
    virtual bool hasPicture(PictureType type) const = 0;

    /// Replaces everything with this one text: exactly one change, counted when this returns. Other programs
    /// can paste it for as long as this one runs.
    virtual void setString(const SharedText& text) = 0;

    /// The same with this one picture, as a PNG. An empty one is not copied: nothing changes.
    virtual void setPicture(const Picture& picture) = 0;

    /// What cannot be seen on this desktop, as a sentence for the user; empty where everything can.
    virtual std::string watchingHint() const = 0;
};

} // namespace ZorbelKit
