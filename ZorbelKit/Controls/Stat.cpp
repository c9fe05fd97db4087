#include "ZorbelKit/Controls/Stat.hpp"

#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Controls/Reading.hpp"
#include "ZorbelKit/Controls/Text.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QPainter>
#include <QVBoxLayout>

namespace ZorbelKit {

namespace {

constexpr int paddingX = 12;
constexpr int paddingY = 12;

} // namespace

Stat::Stat(const QString& title, const QString& caption, QWidget* parent)
    : QWidget(parent)
    , title_(title)
    , value_(new Reading("", std::nullopt, 20, QFont::Medium, this))
    , caption_(makeText(caption, TextStyle::caption, malaiFaint, this)) {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(paddingX, paddingY, paddingX, paddingY);
    column->setSpacing(2);
    column->addWidget(makeText(title, interfaceFont(11), malaiDim, this));
    column->addWidget(value_);
    column->addWidget(caption_);
    // The row decides about the width, not the longest text in it.
    value_->setMinimumWidth(1);
    caption_->setMinimumWidth(1);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

void Stat::setValue(const QString& value) {
    value_->setValue(value);
    setAccessibleText(*value_, title_ + " " + value);
}

void Stat::setCaption(const QString& caption) {
    caption_->setText(caption);
}

void Stat::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(qColor(rim), 1));
    painter.setBrush(qColor(kettle));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radiusPanel, radiusPanel);
}

} // namespace ZorbelKit
