#pragma once

#include "ZorbelKit/Geometry.hpp"

#include <functional>
#include <utility>

namespace ZorbelKit {

class Canvas;

/// A picture of a known size in points, drawn afresh at whatever resolution a screen needs. Only the shape of
/// a template image counts: whoever shows it gives it the colour that suits the place.
class Image {
public:
    /// Draws into the rectangle; depends on nothing but what it captured.
    using Drawing = std::function<void(Canvas&, const Rect&)>;

    Image() = default;
    Image(Size size, Drawing drawing)
        : size_(size)
        , drawing_(std::move(drawing)) {}

    Size size() const { return size_; }
    bool isEmpty() const { return !drawing_; }
    bool isTemplate() const { return isTemplate_; }
    void setTemplate(bool on) { isTemplate_ = on; }

    void draw(Canvas& canvas, const Rect& rect) const {
        if (drawing_) {
            drawing_(canvas, rect);
        }
    }

private:
    Size size_;
    bool isTemplate_ = false;
    Drawing drawing_;
};

} // namespace ZorbelKit
