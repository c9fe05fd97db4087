#pragma once

#include "ZorbelKit/Color.hpp"

#include <QLabel>

#include <optional>

namespace ZorbelKit {

/// A text on one line that takes the width it is given: what does not fit is cut off with an ellipsis, at the
/// end unless told otherwise. A part of it may be marked; where that part would be cut off, the line begins
/// shortly before it.
class LineText : public QLabel {
public:
    /// A part of a text, counted in the toolkit's characters.
    struct Part {
        int begin = 0;
        int length = 0;
        bool operator==(const Part&) const = default;
    };

    LineText(const QFont& font, const Color& colour, QWidget* parent = nullptr);

    /// Equal values repaint nothing.
    void setLine(const QString& text, std::optional<Part> marked = std::nullopt);
    void setColour(const Color& colour);

    /// Where it is cut off; not for a line with a marked part.
    void setCutOff(Qt::TextElideMode place);

    const std::optional<Part>& marked() const { return marked_; }

    /// What is drawn, with its ellipses, and where in it the marked part lies.
    struct Cut {
        QString text;
        std::optional<Part> marked;
    };
    const Cut& shown() const;

    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Cut cut(int room) const;

    std::optional<Part> marked_;
    Color colour_;
    Qt::TextElideMode place_ = Qt::ElideRight;
    mutable std::optional<Cut> cut_; // for the width `cutFor_`; none: to be measured again
    mutable int cutFor_ = 0;
};

} // namespace ZorbelKit
