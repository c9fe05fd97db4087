#include "Fotrel/FotrelViews.hpp"

#include "Fotrel/CaptureViews.hpp"
#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Controls/EmptyCard.hpp"
#include "ZorbelKit/Controls/Layouts.hpp"
#include "ZorbelKit/Controls/MenuStat.hpp"
#include "ZorbelKit/Controls/Symbol.hpp"
#include "ZorbelKit/Controls/SymbolButton.hpp"
#include "ZorbelKit/Controls/Text.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QCoreApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QScrollArea>
#include <QScrollBar>
#include <QTextEdit>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

namespace Fotrel {

using namespace ZorbelKit;

namespace {

// Points.
constexpr int partGap = 12;
constexpr int rowGap = 10;
constexpr int emptyHeight = 280;
constexpr int countGap = 14;

/// How a button is laid out, in points.
struct Measures {
    int height;
    int gap; // between two buttons
    double symbol;
    double symbolTop;
    double titleGap;
    double titleSize;
    double paddingX;
};

constexpr Measures pageMeasures{
    .height = 84, .gap = 10, .symbol = 26, .symbolTop = 18, .titleGap = 8, .titleSize = 12, .paddingX = 12};
constexpr Measures menuMeasures{
    .height = 54, .gap = 6, .symbol = 18, .symbolTop = 10, .titleGap = 4, .titleSize = 11, .paddingX = 8};

constexpr const Measures& measuresOf(CaptureButton::Size size) {
    return size == CaptureButton::Size::page ? pageMeasures : menuMeasures;
}

/// What stands in place of the captures while there are none.
QWidget* makeNothing(const FotrelSpice& spice, QWidget* parent) {
    return makeEmptyCard(spice.id(), "Anything you capture will appear here.",
                         "Fotrel reads the words out of every shot, so you can copy the text as "
                         "well as the picture.",
                         emptyHeight, parent);
}

/// Keeps a part of a list where it is on the screen while others come and go above it: what is shown is
/// scrolled as far as it moves. Not while the list's top is in sight, where what comes is to be seen.
class Anchor {
public:
    explicit Anchor(const QWidget& list) {
        for (QWidget* parent = list.parentWidget(); parent && !area_; parent = parent->parentWidget()) {
            area_ = qobject_cast<QScrollArea*>(parent);
        }
        isScrolled_ = area_ && list.mapTo(area_, QPoint()).y() < 0;
    }

    bool isInSight(const QWidget& widget) const {
        return isScrolled_ && widget.mapTo(area_, QPoint(0, widget.height())).y() > 0;
    }

    void hold(QWidget& widget) {
        held_ = &widget;
        place_ = widget.mapTo(area_, QPoint()).y();
    }

    /// Lays out anew at once: done later, what is shown would jump to and fro.
    void settle() const {
        if (!held_) {
            return;
        }
        for (QWidget* widget = held_->parentWidget(); widget != area_; widget = widget->parentWidget()) {
            QCoreApplication::sendPostedEvents(widget, QEvent::LayoutRequest);
        }
        QScrollBar& bar = *area_->verticalScrollBar();
        bar.setValue(bar.value() + held_->mapTo(area_, QPoint()).y() - place_);
    }

private:
    QScrollArea* area_ = nullptr; // none: the page does not scroll
    bool isScrolled_ = false;
    QWidget* held_ = nullptr;
    int place_ = 0;
};

} // namespace

AnyView FotrelSpice::dashboard() {
    return AnyView::of<FotrelPanel>(*this);
}

AnyView FotrelSpice::menuSection() {
    return AnyView::of<FotrelMenuSection>(*this);
}

CaptureButton::CaptureButton(const Face& face, std::function<void()> action, Size size, QWidget* parent)
    : Tile(parent)
    , face_(face)
    , size_(size) {
    setFont(interfaceFont(measuresOf(size).titleSize, QFont::Medium));
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setAccessible(*this, QAccessible::Button, face.title);
    connect(this, &QAbstractButton::clicked, this, std::move(action));
}

QSize CaptureButton::sizeHint() const {
    const Measures& measures = measuresOf(size_);
    const double title = QFontMetricsF(font()).horizontalAdvance(face_.title);
    return {static_cast<int>(std::ceil(title + 2 * measures.paddingX)), measures.height};
}

void CaptureButton::paintEvent(QPaintEvent*) {
    const Measures& measures = measuresOf(size_);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(qColor(rim.mixedWith(face_.accent, 0.6 * hover())));
    painter.setBrush(qColor(isDown() ? stall : kettleHi.mixedWith(kettlePeak, hover())));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radiusControl, radiusControl);
    paintSymbol(painter, face_.symbol, {width() / 2.0, measures.symbolTop + measures.symbol / 2},
                measures.symbol, face_.accent);
    painter.setFont(font());
    painter.setPen(qColor(malai));
    const double titleTop = measures.symbolTop + measures.symbol + measures.titleGap;
    painter.drawText(QRectF(0, titleTop, width(), QFontMetricsF(font()).height()), Qt::AlignCenter,
                     face_.title);
    if (showsFocus()) {
        paintFocusRing(painter, rect(), radiusControl);
    }
}

CaptureButtons::CaptureButtons(FotrelSpice& spice, CaptureButton::Size size, QWidget* parent)
    : QWidget(parent) {
    const auto make = [&](const QString& title, const QString& symbol, auto capture) {
        return new CaptureButton(
            {.title = title, .symbol = symbol, .accent = spice.accent()},
            [&spice, capture] { (spice.*capture)(); }, size, this);
    };
    const bool isPage = size == CaptureButton::Size::page;
    buttons_ = {make("Region", "viewfinder", &FotrelSpice::captureRegion),
                make("Window", "macwindow", &FotrelSpice::captureWindow),
                make(isPage ? "Whole screen" : "Screen", "display", &FotrelSpice::captureScreen)};
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(measuresOf(size).gap);
    for (CaptureButton* button : buttons_) {
        row->addWidget(button, 1);
    }
    setAccessible(*this, QAccessible::Grouping, "Capture");
}

void CaptureButtons::keyPressEvent(QKeyEvent* event) {
    const auto found = std::ranges::find_if(buttons_, [](const auto* button) { return button->hasFocus(); });
    if (found == buttons_.end() || (event->modifiers() & ~Qt::KeypadModifier)) {
        QWidget::keyPressEvent(event);
        return;
    }
    auto wanted = found;
    switch (event->key()) {
    case Qt::Key_Left:
        wanted = found == buttons_.begin() ? found : std::prev(found);
        break;
    case Qt::Key_Right:
        wanted = std::next(found) == buttons_.end() ? found : std::next(found);
        break;
    case Qt::Key_Home:
        wanted = buttons_.begin();
        break;
    case Qt::Key_End:
        wanted = std::prev(buttons_.end());
        break;
    default:
        break;
    }
    if (wanted == found) {
        QWidget::keyPressEvent(event); // past an end the key is whoever holds the row's
        return;
    }
    (*wanted)->setFocus(Qt::TabFocusReason);
}

FotrelPanel::FotrelPanel(FotrelSpice& spice, QWidget* parent)
    : LiveView(spice, parent)
    , spice_(spice)
    , buttons_(new CaptureButtons(spice, CaptureButton::Size::page, this))
    , error_(new TextBox({.ground = kettleHi, .border = rim.mixedWith(spice.accent(), 0.6)}, this))
    , nothing_(makeNothing(spice, this))
    , list_(new QWidget(this)) {
    makeColumn(list_, rowGap);
    setAccessible(*list_, QAccessible::List, "Captures");
    auto* column = makeColumn(this, partGap);
    column->addWidget(buttons_);
    column->addWidget(error_);
    column->addWidget(nothing_);
    column->addWidget(list_);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    setAccessible(*this, QAccessible::Grouping, qString(spice.role()));
    refresh();
}

void FotrelPanel::refresh() {
    refreshError();
    refreshRows();
    nothing_->setVisible(rows_.empty());
    list_->setVisible(!rows_.empty());
}

void FotrelPanel::refreshError() {
    const auto& error = spice_.lastError();
    if (error) {
        error_->setText(qString(*error));
        error_->setName(qString(*error));
    }
    error_->setVisible(error.has_value());
}

/// A row stays with its capture, whatever comes and goes round it.
void FotrelPanel::refreshRows() {
    const std::vector<Capture>& captures = spice_.captures();
    const std::vector<CaptureRow*> before = std::exchange(rows_, {});
    auto* column = static_cast<QVBoxLayout*>(list_->layout());
    Anchor anchor(*list_);
    const auto stays = [&](const CaptureRow* row) {
        return anchor.isInSight(*row) &&
               std::ranges::find(captures, row->capture().id, &Capture::id) != captures.end();
    };
    if (const auto held = std::ranges::find_if(before, stays); held != before.end()) {
        anchor.hold(**held);
    }
    std::size_t added = 0; // all of them above those that were there
    for (const Capture& capture : captures) {
        const auto found = std::ranges::find(before, capture.id, [](auto* row) { return row->capture().id; });
        if (found != before.end()) {
            (*found)->bind(capture);
            rows_.push_back(*found);
        } else {
            auto* row = new CaptureRow(capture, spice_, list_);
            column->insertWidget(static_cast<int>(rows_.size()), row);
            row->show(); // takes its room at once
            ++added;
            rows_.push_back(row);
        }
    }
    if (rows_ == before) {
        return;
    }
    order(added);
    passKeyboard(before);
    for (CaptureRow* row : before) {
        if (!isListed(row)) {
            column->removeWidget(row);
            row->hide();
            row->deleteLater(); // it may be a press on it that forgot its capture
        }
    }
    anchor.settle();
}

bool FotrelPanel::isListed(const CaptureRow* row) const {
    return std::ranges::find(rows_, row) != rows_.end();
}

/// A row that goes leaves the keyboard to the one that takes its place, or to the last one.
void FotrelPanel::passKeyboard(const std::vector<CaptureRow*>& before) {
    QWidget* held = window()->focusWidget();
    const auto from = std::ranges::find_if(before, [&](auto* row) { return row->isAncestorOf(held); });
    if (!held || from == before.end() || isListed(*from)) {
        return;
    }
    const auto* control = dynamic_cast<const FocusButton*>(held);
    const auto reason = control && control->showsFocus() ? Qt::TabFocusReason : Qt::OtherFocusReason;
    const auto next = std::find_if(
        from, before.end(), [&](CaptureRow* row) { return std::ranges::find(rows_, row) != rows_.end(); });
    QWidget* heir = &buttons_->first();
    if (next != before.end()) {
        heir = &(*next)->forgetButton();
    } else if (!rows_.empty()) {
        heir = &rows_.back()->forgetButton();
    }
    heir->setFocus(reason);
}

/// Readers and Tab go from the newest to the oldest, although the newest row was made last.
void FotrelPanel::order(std::size_t added) {
    while (added > 0) {
        rows_[--added]->lower();
    }
    QWidget* last = &error_->edit();
    for (CaptureRow* row : rows_) {
        for (QWidget* control : row->controls()) {
            setTabOrder(last, control);
            last = control;
        }
    }
}

FotrelMenuSection::FotrelMenuSection(FotrelSpice& spice, QWidget* parent)
    : LiveView(spice, parent)
    , spice_(spice)
    , count_(new MenuStat("Captures", this)) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(countGap);
    row->addWidget(new CaptureButtons(spice, CaptureButton::Size::menu, this), 1);
    row->addWidget(count_, 0, Qt::AlignVCenter);
    setAccessible(*this, QAccessible::Grouping, qString(spice.role()));
    refresh();
}

void FotrelMenuSection::refresh() {
    count_->setValue(QString::number(spice_.captures().size()));
}

} // namespace Fotrel
