#pragma once

#include "ZorbelKit/Color.hpp"

#include <QWidget>

#include <cstddef>
#include <vector>

namespace ZorbelKit {

/// A line over time on a card, from 0 at the bottom to 1 at the top. The oldest value is at the left edge; a
/// full history spans the width.
class Trace : public QWidget {
public:
    /// `length`: values of a full history. `spoken`: what a screen reader calls it.
    Trace(std::size_t length, const Color& colour, const QString& spoken, QWidget* parent);

    /// Fractions, oldest first; nothing is drawn of fewer than two. Between a value listed in `gaps` (by its
    /// index) and the one before it there is no line.
    void setValues(std::vector<double> values, std::vector<std::size_t> gaps = {});

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const std::size_t length_;
    const Color colour_;
    std::vector<double> values_;
    std::vector<std::size_t> gaps_;
};

} // namespace ZorbelKit
