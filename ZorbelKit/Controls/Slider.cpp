#include "ZorbelKit/Controls/Slider.hpp"

#include "ZorbelKit/Checked.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QAccessibleWidget>
#include <QKeyEvent>
#include <QPainter>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>
#include <utility>

namespace ZorbelKit {

namespace {

// Points.
constexpr double lineHeight = 4;
constexpr double knobRadius = 7;
constexpr double knobGrowth = 1;
constexpr double ringRadius = knobRadius + knobGrowth + Slider::edge;
constexpr double reach = ringRadius; // how near the knob's centre comes to the ends

constexpr double smallStep = 0.05;
constexpr double largeStep = 0.1;
constexpr double grain = 1000;        // what is stepped to is a whole number of these parts
constexpr double hair = 0.001;        // of a percent: 0.53 may be a little less in binary, and is to read 53
constexpr int wheelPerHundredth = 24; // eighths of a degree: a notch of 120 is a small step
constexpr double disabledOpacity = 0.4;

/// How a screen reader sees and moves a slider.
class SliderInterface final : public QAccessibleWidget, public QAccessibleValueInterface {
public:
    explicit SliderInterface(Slider& slider)
        : QAccessibleWidget(&slider, QAccessible::Slider)
        , slider_(slider) {}

    void* interface_cast(QAccessible::InterfaceType type) override {
        return type == QAccessible::ValueInterface ? static_cast<QAccessibleValueInterface*>(this)
                                                   : QAccessibleWidget::interface_cast(type);
    }

    QString text(QAccessible::Text kind) const override {
        return kind == QAccessible::Value ? slider_.valueText() : QAccessibleWidget::text(kind);
    }

    QStringList actionNames() const override {
        QStringList names;
        if (slider_.isEnabled()) {
            names << increaseAction() << decreaseAction();
        }
        return names << QAccessibleWidget::actionNames();
    }

    void doAction(const QString& name) override {
        if (name == increaseAction() || name == decreaseAction()) {
            slider_.step(name == increaseAction() ? smallStep : -smallStep);
        } else {
            QAccessibleWidget::doAction(name);
        }
    }

    QVariant currentValue() const override { return slider_.shown().value_or(0); }
    QVariant minimumValue() const override { return 0.0; }
    QVariant maximumValue() const override { return 1.0; }
    QVariant minimumStepSize() const override { return smallStep; }
    void setCurrentValue(const QVariant& value) override {
        bool isNumber = false;
        const double level = value.toDouble(&isNumber);
        if (isNumber) {
            slider_.ask(level);
        }
    }

private:
    Slider& slider_;
};

QAccessibleInterface* makeInterface(const QString&, QObject* object) {
    auto* slider = dynamic_cast<Slider*>(object);
    return slider ? new SliderInterface(*slider) : nullptr;
}

std::optional<double> onLine(std::optional<double> value) {
    return value && std::isfinite(*value) ? std::optional(std::clamp(*value, 0.0, 1.0)) : std::nullopt;
}

} // namespace

Slider::Slider(const QString& spoken, std::function<void(double)> moved, QWidget* parent)
    : QWidget(parent)
    , moved_(std::move(moved))
    , growth_(*this) {
    QAccessible::installFactory(makeInterface); // the same again changes nothing
    setAccessibleName(spoken);
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::PointingHandCursor);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setEnabled(false);
    frameEnd_.setSingleShot(true);
    frameEnd_.setTimerType(Qt::PreciseTimer);
    frameEnd_.setInterval(frame);
    connect(&frameEnd_, &QTimer::timeout, this, [this] { tellPending(); });
}

void Slider::setValue(std::optional<double> value) {
    value = onLine(value);
    if (value_ == value) {
        return;
    }
    showLevel([&] {
        value_ = value;
        if (!value) {
            isDragged_ = false; // there is nothing left to move
            pending_.reset();
        }
    });
    setEnabled(value.has_value());
    noticeAttention();
}

std::optional<double> Slider::shown() const {
    return isDragged_ ? std::optional(hand_) : value_;
}

QString Slider::valueText() const {
    const auto level = shown();
    return level ? QString::number(checked::toInt64(*level * 100 + hair)) + "%" : QString(QChar(0x2013));
}

QSize Slider::sizeHint() const {
    return {160, 24};
}

QSize Slider::minimumSizeHint() const {
    return {64, 24};
}

double Slider::knobX() const {
    return reach + shown().value_or(0) * (width() - 2 * reach);
}

/// What changes where the knob is goes through here.
void Slider::showLevel(const std::function<void()>& change) {
    const auto before = shown();
    change();
    if (shown() == before) {
        return;
    }
    update();
    if (QAccessible::isActive()) {
        QAccessibleValueChangeEvent event(this, shown().value_or(0));
        QAccessible::updateAccessibility(&event);
    }
}

void Slider::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setOpacity(isEnabled() ? 1 : disabledOpacity);
    painter.setPen(Qt::NoPen);
    const double middle = height() / 2.0;
    const QRectF line(edge, middle - lineHeight / 2, width() - 2 * edge, lineHeight);
    painter.setBrush(qColor(rim));
    painter.drawRoundedRect(line, lineHeight / 2, lineHeight / 2);
    if (!shown()) {
        return;
    }
    const QPointF centre(knobX(), middle);
    painter.setBrush(qColor(brass));
    painter.drawRoundedRect(QRectF(line.topLeft(), QPointF(centre.x(), line.bottom())), lineHeight / 2,
                            lineHeight / 2);
    const double radius = knobRadius + knobGrowth * growth_.value();
    painter.setBrush(qColor(cream));
    painter.drawEllipse(centre, radius, radius);
    if (showsFocus_) {
        paintFocusRing(painter,
                       QRectF(centre.x() - ringRadius, middle - ringRadius, 2 * ringRadius, 2 * ringRadius),
                       ringRadius);
    }
}

void Slider::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || isDragged_) {
        return;
    }
    const double x = event->position().x();
    // Taken by its knob it stays under the hand; elsewhere the knob comes to the hand.
    grip_ = std::abs(x - knobX()) <= reach ? x - knobX() : 0;
    const double level = shown().value_or(0);
    showLevel([&] {
        hand_ = level;
        isDragged_ = true;
    });
    noticeAttention();
    drag(x);
}

void Slider::mouseMoveEvent(QMouseEvent* event) {
    if (isDragged_) {
        drag(event->position().x());
    }
}

void Slider::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        endDrag();
    }
}

void Slider::drag(double x) {
    const double room = std::max(width() - 2 * reach, 1.0);
    const double level = std::clamp((x - grip_ - reach) / room, 0.0, 1.0);
    if (level == hand_) {
        return;
    }
    showLevel([&] { hand_ = level; });
    pending_ = level;
    if (!frameEnd_.isActive()) {
        tellPending();
    }
}

void Slider::endDrag() {
    if (!isDragged_) {
        return;
    }
    // Told before it lets go: whoever listens sets what it says, and the knob stays where it is.
    if (const auto last = std::exchange(pending_, std::nullopt)) {
        moved_(*last);
    }
    showLevel([&] { isDragged_ = false; });
    noticeAttention();
}

void Slider::tellPending() {
    if (const auto level = std::exchange(pending_, std::nullopt)) {
        frameEnd_.start();
        moved_(*level);
    }
}

void Slider::ask(double level) {
    const auto wanted = onLine(level);
    if (!isEnabled() || isDragged_ || !wanted || wanted == value_) {
        return;
    }
    moved_(*wanted);
}

void Slider::step(double by) {
    ask(std::round((value_.value_or(0) + by) * grain) / grain);
}

void Slider::wheelEvent(QWheelEvent* event) {
    const QPoint turn = event->angleDelta();
    const int delta = turn.y() != 0 ? turn.y() : turn.x();
    wheelRest_ += event->inverted() ? -delta : delta;
    const int hundredths = wheelRest_ / wheelPerHundredth;
    wheelRest_ -= hundredths * wheelPerHundredth;
    event->accept();
    if (hundredths != 0) {
        step(hundredths / 100.0);
    }
}

void Slider::keyPressEvent(QKeyEvent* event) {
    if (!showsFocus_) {
        showsFocus_ = true;
        update();
    }
    switch (event->key()) {
    case Qt::Key_Left:
    case Qt::Key_Down:
        return step(-smallStep);
    case Qt::Key_Right:
    case Qt::Key_Up:
        return step(smallStep);
    case Qt::Key_PageDown:
        return step(-largeStep);
    case Qt::Key_PageUp:
        return step(largeStep);
    case Qt::Key_Home:
        return ask(0);
    case Qt::Key_End:
        return ask(1);
    default:
        event->ignore();
    }
}

void Slider::enterEvent(QEnterEvent* event) {
    noticeAttention();
    QWidget::enterEvent(event);
}

void Slider::leaveEvent(QEvent* event) {
    wheelRest_ = 0;
    noticeAttention();
    QWidget::leaveEvent(event);
}

void Slider::noticeAttention() {
    growth_.to(isEnabled() && (underMouse() || isDragged_) ? 1 : 0, Pour::settle(Pour::sip));
}

void Slider::focusInEvent(QFocusEvent* event) {
    const auto reason = event->reason();
    showsFocus_ =
        reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason || reason == Qt::ShortcutFocusReason;
    QWidget::focusInEvent(event);
}

void Slider::focusOutEvent(QFocusEvent* event) {
    showsFocus_ = false;
    QWidget::focusOutEvent(event);
}

/// What is hidden under the hand is sent neither a release nor a leave.
void Slider::hideEvent(QHideEvent* event) {
    endDrag();
    growth_.jump(0);
    QWidget::hideEvent(event);
}

} // namespace ZorbelKit
