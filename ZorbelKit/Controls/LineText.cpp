#include "ZorbelKit/Controls/LineText.hpp"

#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QPainter>
#include <QTextBoundaryFinder>
#include <QTextLayout>

#include <algorithm>
#include <utility>

namespace ZorbelKit {

namespace {

constexpr QChar ellipsis(0x2026);
constexpr int lead = 12;          // characters at most that stand before a marked part that was out of sight
constexpr double markShade = 0.3; // how much brass lies under the marked part

/// Where a line begins that shall show the character at `wanted`: at a word if one begins shortly before it.
int lineBegin(const QString& text, int wanted) {
    const int least = std::max(0, wanted - lead);
    if (least == 0) {
        return 0;
    }
    const auto gap = text.indexOf(QLatin1Char(' '), least - 1);
    if (gap >= 0 && gap + 1 < wanted) {
        return static_cast<int>(gap) + 1;
    }
    QTextBoundaryFinder letters(QTextBoundaryFinder::Grapheme, text);
    letters.setPosition(least);
    return letters.isAtBoundary() ? least
                                  : static_cast<int>(std::max<qsizetype>(0, letters.toPreviousBoundary()));
}

} // namespace

LineText::LineText(const QFont& font, const Color& colour, QWidget* parent)
    : QLabel(parent)
    , colour_(colour) {
    setTextFormat(Qt::PlainText);
    setFont(font);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

void LineText::setLine(const QString& text, std::optional<Part> marked) {
    if (this->text() == text && marked_ == marked) {
        return;
    }
    marked_ = marked;
    cut_.reset();
    setText(text);
    update();
}

void LineText::setColour(const Color& colour) {
    if (!(colour_ == colour)) {
        colour_ = colour;
        update();
    }
}

void LineText::setCutOff(Qt::TextElideMode place) {
    place_ = place;
    cut_.reset();
    update();
}

QSize LineText::minimumSizeHint() const {
    return {1, QFontMetrics(font()).height()};
}

const LineText::Cut& LineText::shown() const {
    if (!cut_ || cutFor_ != width()) {
        cut_ = cut(width());
        cutFor_ = width();
    }
    return *cut_;
}

LineText::Cut LineText::cut(int room) const {
    const QFontMetricsF metrics(font());
    Cut result{text(), marked_};
    if (metrics.horizontalAdvance(result.text) <= room) {
        return result;
    }
    if (marked_) {
        const QString upToMark = result.text.left(marked_->begin + marked_->length) + ellipsis;
        const int begin =
            metrics.horizontalAdvance(upToMark) > room ? lineBegin(result.text, marked_->begin) : 0;
        if (begin > 0) {
            result.text = ellipsis + result.text.mid(begin);
            result.marked->begin += 1 - begin;
        }
    }
    result.text = metrics.elidedText(result.text, place_, room);
    if (result.marked) {
        const int left = static_cast<int>(result.text.size()) - result.marked->begin;
        result.marked->length = std::min(result.marked->length, left);
        if (left <= 0) {
            result.marked.reset();
        }
    }
    return result;
}

void LineText::paintEvent(QPaintEvent*) {
    const Cut& line = shown();
    QPainter painter(this);
    painter.setPen(qColor(colour_));
    QTextLayout layout(line.text, font());
    QTextOption option(Qt::AlignLeft | Qt::AlignAbsolute);
    option.setTextDirection(line.text.isRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight);
    option.setWrapMode(QTextOption::NoWrap);
    layout.setTextOption(option);
    if (line.marked) {
        QTextCharFormat look;
        look.setBackground(qColor(brass.withOpacity(markShade)));
        look.setForeground(qColor(cream));
        layout.setFormats({{line.marked->begin, line.marked->length, look}});
    }
    layout.beginLayout();
    QTextLine drawn = layout.createLine();
    drawn.setLineWidth(width());
    layout.endLayout();
    layout.draw(&painter, QPointF(0, (height() - drawn.height()) / 2));
}

} // namespace ZorbelKit
