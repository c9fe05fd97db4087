#pragma once

#include "ZorbelKit/Host/Canvas.hpp"

#include <vector>

namespace ZorbelKit {

/// Keeps what was drawn instead of drawing it. Two equal recordings look the same.
class RecordingCanvas : public Canvas {
public:
    enum class Operation { clip, fillRect, fill, stroke };

    /// The pen and brush an operation was made with.
    struct State {
        Color strokeColour{};
        Color fillColour{};
        double alpha = 1;
        double lineWidth = 1;
        LineCap cap = LineCap::butt;
        LineJoin join = LineJoin::miter;
        std::vector<Path> clips;
        bool operator==(const State&) const = default;
    };

    struct Mark {
        Operation operation = Operation::stroke;
        State state;
        Path path; // of clip, fill and stroke
        Rect rect; // of fillRect
        bool operator==(const Mark&) const = default;
    };

    const std::vector<Mark>& marks() const { return marks_; }
    const State& state() const { return state_; }
    std::size_t savedStates() const { return saved_.size(); }

    void saveState() override { saved_.push_back(state_); }
    void restoreState() override {
        if (!saved_.empty()) {
            state_ = saved_.back();
            saved_.pop_back();
        }
    }
    void setStrokeColour(const Color& colour) override { state_.strokeColour = colour; }
    void setFillColour(const Color& colour) override { state_.fillColour = colour; }
    void setAlpha(double alpha) override { state_.alpha = alpha; }
    void setLineWidth(double width) override { state_.lineWidth = width; }
    void setLineCap(LineCap cap) override { state_.cap = cap; }
    void setLineJoin(LineJoin join) override { state_.join = join; }
    void clip(const Path& path) override {
        marks_.push_back({Operation::clip, state_, path, {}});
        state_.clips.push_back(path);
    }
    void fillRect(const Rect& rect) override { marks_.push_back({Operation::fillRect, state_, {}, rect}); }
    void fill(const Path& path) override { marks_.push_back({Operation::fill, state_, path, {}}); }
    void stroke(const Path& path) override { marks_.push_back({Operation::stroke, state_, path, {}}); }

private:
    State state_;
    std::vector<State> saved_;
    std::vector<Mark> marks_;
};

} // namespace ZorbelKit
