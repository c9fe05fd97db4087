#include "ZorbelKit/Controls/Picker.hpp"

#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Controls/Menu.hpp"
#include "ZorbelKit/Controls/Text.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>

#include <cmath>
#include <utility>

namespace ZorbelKit {

namespace {

constexpr int paddingX = 12;
constexpr int paddingY = 7;
constexpr double chevronInset = 14; // from the right edge to the chevrons' middle

QFont choiceFont() {
    QFont font = styleFont(TextStyle::callout);
    font.setWeight(QFont::Medium);
    return font;
}

void strokeLine(QPainter& painter, const QColor& colour, double width,
                std::initializer_list<QPointF> points) {
    QPainterPath path(*points.begin());
    for (const QPointF& point : points) {
        path.lineTo(point);
    }
    painter.strokePath(path, QPen(colour, width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
}

} // namespace

Picker::Picker(const QString& name, const QStringList& choices, QWidget* parent)
    : HoverButton(parent)
    , list_(new SuiteMenu(this)) {
    setFont(choiceFont());
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setAccessible(*this, QAccessible::ComboBox, name);
    list_->setAccessibleName(name);
    for (const QString& choice : choices) {
        QAction* action = list_->addAction(choice);
        action->setCheckable(true);
        connect(action, &QAction::triggered, this,
                [this, index = static_cast<std::size_t>(list_->actions().size() - 1)] {
                    select(index);
                    if (chosen_) {
                        chosen_(index);
                    }
                });
    }
    connect(this, &QAbstractButton::clicked, this, [this] { open(); });
}

void Picker::select(std::size_t index) {
    show(index, list_->actions().at(static_cast<qsizetype>(index))->text());
}

void Picker::selectOther(const QString& text) {
    show(std::nullopt, text);
}

void Picker::show(std::optional<std::size_t> selection, const QString& text) {
    selection_ = selection;
    const auto choices = list_->actions();
    for (qsizetype index = 0; index < choices.size(); ++index) {
        choices[index]->setChecked(selection == static_cast<std::size_t>(index));
    }
    setText(text);
    setAccessibleValue(*this, text);
}

void Picker::onChoice(std::function<void(std::size_t)> chosen) {
    chosen_ = std::move(chosen);
}

void Picker::open() {
    list_->setMinimumWidth(width() + SuiteMenu::checkableTextInset - paddingX);
    // The choice that holds lies over the button, its text over the same text; any other value has the list
    // below.
    QAction* current = selection_ ? list_->actions().at(static_cast<qsizetype>(*selection_)) : nullptr;
    const QRect row = current ? list_->actionGeometry(current) : QRect();
    const QPoint corner = current ? QPoint(paddingX - SuiteMenu::checkableTextInset - row.left(),
                                           (height() - row.height()) / 2 - row.top())
                                  : QPoint(0, height() + 4);
    list_->setAnchor({mapToGlobal(QPoint(0, 0)), size()}); // a click there closes the list and no more
    list_->popup(mapToGlobal(corner));
    list_->setActiveAction(current ? current : list_->actions().value(0));
}

QSize Picker::sizeHint() const {
    return {defaultWidth, static_cast<int>(std::ceil(QFontMetricsF(font()).height())) + 2 * paddingY};
}

void Picker::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setOpacity(isEnabled() ? 1 : 0.4);
    const QRectF box = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setPen(qColor(rim));
    painter.setBrush(qColor(isDown() ? stall : kettleHi));
    painter.drawRoundedRect(box, radiusControl, radiusControl);
    painter.setBrush(qColor(kettlePeak.withOpacity(isDown() ? 0 : hover())));
    painter.drawRoundedRect(box, radiusControl, radiusControl);

    painter.setPen(qColor(malai));
    painter.setFont(font());
    const int room = width() - paddingX - static_cast<int>(2 * chevronInset);
    painter.drawText(QRect(paddingX, 0, room, height()), Qt::AlignVCenter | Qt::AlignLeft,
                     QFontMetrics(font()).elidedText(text(), Qt::ElideRight, room));
    const QPointF middle(width() - chevronInset, height() / 2.0);
    for (const double side : {-1.0, 1.0}) {
        strokeLine(painter, qColor(malaiDim), 1.4,
                   {middle + QPointF(-3, side * 2.2), middle + QPointF(0, side * 5.2),
                    middle + QPointF(3, side * 2.2)});
    }
    if (showsFocus()) {
        paintFocusRing(painter, rect(), radiusControl);
    }
}

void Picker::hideEvent(QHideEvent* event) {
    list_->close();
    HoverButton::hideEvent(event);
}

void Picker::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Down:
    case Qt::Key_Up:
        open();
        return;
    default:
        HoverButton::keyPressEvent(event); // Space is a click
    }
}

} // namespace ZorbelKit
