#pragma once

#include "ZorbelKit/SharedText.hpp"

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace ZorbelKit {

/// Rows from the top, `width` times `height` in all, each pixel 0xAARRGGBB with its colours not multiplied by
/// the opacity.
struct Pixels {
    int width = 0;
    int height = 0;
    std::vector<std::uint32_t> argb{};
};

/// A picture that never changes, kept as the PNG that it came as or became: however many hold it, it is there
/// once. With it comes a small look of it, made when the picture was. Any thread.
class Picture {
public:
    // The largest a preview is, in pixels.
    static constexpr int previewWidth = 400;
    static constexpr int previewHeight = 250;

    struct Content {
        int width = 0; // in pixels of the screen it was taken from
        int height = 0;
        SharedText png{}; // the bytes of the file
        Pixels preview{}; // all of the picture; its own pixels where it is no larger than that
        bool isCompact = false;
    };

    Picture() = default; // an empty one
    explicit Picture(Content content)
        : content_(std::make_shared<const Content>(std::move(content))) {}

    bool isEmpty() const { return !content_; }
    int width() const { return content_ ? content_->width : 0; }
    int height() const { return content_ ? content_->height : 0; }
    SharedText png() const { return content_ ? content_->png : SharedText(); }
    bool isCompact() const { return content_ && content_->isCompact; } // worth keeping for long

    /// Lives as long as any that holds this picture.
    const Pixels& preview() const {
        static const Pixels none;
        return content_ ? content_->preview : none;
    }

    /// Whether they are one and the same; what another picture shows is not looked at.
    bool operator==(const Picture& other) const { return content_ == other.content_; }

private:
    std::shared_ptr<const Content> content_; // null for the empty picture
};

} // namespace ZorbelKit
