#pragma once

#include "ZorbelKit/Color.hpp"
#include "ZorbelKit/Geometry.hpp"

#include <vector>

namespace ZorbelKit {

enum class LineCap { butt, round };
enum class LineJoin { miter, round };

/// A path of straight lines and quadratic curves.
class Path {
public:
    enum class Verb { move, line, quad, close };

    struct Segment {
        Verb verb = Verb::move;
        Point control; // of a quad
        Point end;     // of all but close
        bool operator==(const Segment&) const = default;
    };

    void moveTo(Point end) { segments_.push_back({Verb::move, {}, end}); }
    void lineTo(Point end) { segments_.push_back({Verb::line, {}, end}); }
    void quadTo(Point control, Point end) { segments_.push_back({Verb::quad, control, end}); }
    void close() { segments_.push_back({Verb::close, {}, {}}); }

    const std::vector<Segment>& segments() const { return segments_; }
    bool operator==(const Path&) const = default;

private:
    std::vector<Segment> segments_;
};

/// A drawing surface in points; origin at the bottom left, y grows upwards.
class Canvas {
public:
    virtual ~Canvas() = default;

    virtual void saveState() = 0;
    virtual void restoreState() = 0;

    virtual void setStrokeColour(const Color& colour) = 0;
    virtual void setFillColour(const Color& colour) = 0;
    virtual void setAlpha(double alpha) = 0; // 0 … 1, for everything drawn until changed
    virtual void setLineWidth(double width) = 0;
    virtual void setLineCap(LineCap cap) = 0;
    virtual void setLineJoin(LineJoin join) = 0;

    virtual void
    clip(const Path& path) = 0; // to the inside, by the non-zero winding rule; until the state is restored
    virtual void fillRect(const Rect& rect) = 0;
    virtual void fill(const Path& path) = 0;
    virtual void stroke(const Path& path) = 0;
};

} // namespace ZorbelKit
