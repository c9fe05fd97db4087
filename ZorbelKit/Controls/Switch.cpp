#include "ZorbelKit/Controls/Switch.hpp"

#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QPainter>
#include <QSignalBlocker>

namespace ZorbelKit {

Switch::Switch(const QString& name, QWidget* parent)
    : FocusButton(parent)
    , knob_(*this) {
    setCheckable(true);
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::PointingHandCursor);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setAccessible(*this, QAccessible::CheckBox, name);
}

void Switch::setCheckedSilently(bool on) {
    const QSignalBlocker blocker(this);
    setChecked(on);
}

void Switch::checkStateSet() {
    knob_.to(isChecked() ? 1 : 0, Pour::settle(Pour::pour));
}

void Switch::nextCheckState() {
    QAbstractButton::nextCheckState();
    knob_.to(isChecked() ? 1 : 0, Pour::settle(Pour::pour));
}

void Switch::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF track = QRectF(rect()).adjusted(1, 1, -1, -1);
    const double radius = track.height() / 2;
    const double progress = knob_.value();
    painter.setPen(Qt::NoPen);
    painter.setBrush(qColor(rim));
    painter.drawRoundedRect(track, radius, radius);
    painter.setBrush(qColor(brass.withOpacity(progress)));
    painter.drawRoundedRect(track, radius, radius);
    const double inset = 2.5;
    const double diameter = track.height() - 2 * inset;
    const double travel = track.width() - 2 * inset - diameter;
    painter.setBrush(qColor(isChecked() ? cream : malai));
    painter.drawEllipse(
        QRectF(track.left() + inset + travel * progress, track.top() + inset, diameter, diameter));
    if (showsFocus()) {
        paintFocusRing(painter, rect(), radius + 1);
    }
}

} // namespace ZorbelKit
