#include "ZorbelKit/Controls/SearchField.hpp"

#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Controls/Symbol.hpp"
#include "ZorbelKit/Controls/SymbolButton.hpp"
#include "ZorbelKit/Controls/Text.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QKeyEvent>
#include <QLineEdit>
#include <QPainter>

#include <utility>

namespace ZorbelKit {

namespace {

constexpr int fieldHeight = 34;
constexpr double symbolSize = 15;
constexpr int symbolRoom = 34; // from the left edge to the text
constexpr int clearInset = 5;

} // namespace

SearchField::SearchField(const QString& placeholder, const QString& symbol, QWidget* parent)
    : QWidget(parent)
    , symbol_(symbol)
    , edit_(new QLineEdit(this))
    , clear_(new SymbolButton("Clear", "xmark", 11, this))
    , focus_(*this) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setCursor(Qt::IBeamCursor);
    setFocusProxy(edit_);

    edit_->setFrame(false);
    edit_->setFont(styleFont(TextStyle::callout));
    edit_->setPlaceholderText(placeholder);
    edit_->setAccessibleName(placeholder);
    QPalette colours = edit_->palette();
    colours.setColor(QPalette::Base, Qt::transparent);
    colours.setColor(QPalette::PlaceholderText, qColor(malaiDim));
    edit_->setPalette(colours);
    edit_->installEventFilter(this);
    connect(edit_, &QLineEdit::textEdited, this, [this](const QString& text) {
        showState();
        if (changed_) {
            changed_(text);
        }
    });

    clear_->setCursor(Qt::ArrowCursor);
    clear_->setFocusPolicy(Qt::NoFocus); // Escape does the same, and the keyboard stays in the text
    clear_->setKeys("Esc");
    connect(clear_, &QAbstractButton::clicked, this, [this] {
        clear();
        edit_->setFocus(Qt::OtherFocusReason);
    });
    showState();
}

QString SearchField::text() const {
    return edit_->text();
}

void SearchField::setText(const QString& text) {
    if (edit_->text() != text) {
        edit_->setText(text);
        showState();
    }
}

void SearchField::type(const QString& text) {
    edit_->setFocus(Qt::OtherFocusReason);
    edit_->insert(text);
    showState();
    if (changed_) {
        changed_(edit_->text());
    }
}

void SearchField::onChange(std::function<void(const QString&)> changed) {
    changed_ = std::move(changed);
}

void SearchField::onDown(std::function<void()> left) {
    down_ = std::move(left);
}

void SearchField::clear() {
    edit_->clear();
    showState();
    if (changed_) {
        changed_({});
    }
}

void SearchField::showState() {
    clear_->setVisible(!edit_->text().isEmpty());
}

QSize SearchField::sizeHint() const {
    return {240, fieldHeight};
}

QSize SearchField::minimumSizeHint() const {
    return {120, fieldHeight};
}

void SearchField::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    const int clearLeft = width() - clearInset - SymbolButton::side;
    clear_->setGeometry(clearLeft, (height() - SymbolButton::side) / 2, SymbolButton::side,
                        SymbolButton::side);
    edit_->setGeometry(symbolRoom - 2, 1, clearLeft - symbolRoom, height() - 2); // its own margin is 2
}

void SearchField::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF box = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setPen(qColor(rim));
    painter.setBrush(qColor(kettle));
    painter.drawRoundedRect(box, radiusControl, radiusControl);
    if (focus_.value() > 0) {
        painter.setPen(QPen(qColor(brass.withOpacity(focus_.value())), 1.5));
        painter.drawRoundedRect(QRectF(rect()).adjusted(0.75, 0.75, -0.75, -0.75), radiusControl,
                                radiusControl);
    }
    paintSymbol(painter, symbol_, {symbolRoom / 2.0 + 0.5, height() / 2.0}, symbolSize, malaiDim);
}

bool SearchField::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
    case QEvent::FocusIn:
        focus_.to(1, Pour::settle(Pour::sip));
        break;
    case QEvent::FocusOut:
        focus_.to(0, Pour::settle(Pour::sip));
        break;
    case QEvent::KeyPress: {
        auto& key = static_cast<QKeyEvent&>(*event);
        if (key.key() == Qt::Key_Escape && !edit_->text().isEmpty()) {
            clear();
            return true;
        }
        if (key.key() == Qt::Key_Down && down_) {
            down_();
            return true;
        }
        break;
    }
    default:
        break;
    }
    return QWidget::eventFilter(watched, event);
}

} // namespace ZorbelKit
