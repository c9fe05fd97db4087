#include "Duvesk/TabViews.hpp"

#include "Duvesk/Duvesk.hpp"
#include "Duvesk/DuveskTexts.hpp"
#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Controls/Layouts.hpp"
#include "ZorbelKit/Controls/Reading.hpp"
#include "ZorbelKit/Controls/Text.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QPainter>
#include <QVBoxLayout>

#include <algorithm>
#include <cstddef>

namespace Duvesk {

using namespace ZorbelKit;

namespace {

// Points.
constexpr int tabGap = 8;
constexpr int paddingX = 12;
constexpr int lineGap = 2; // between the title and the total
constexpr double titleSize = 11;
constexpr double totalSize = 14;

void setTextColour(QLabel& label, const Color& colour) {
    QPalette colours = label.palette();
    colours.setColor(QPalette::WindowText, qColor(colour));
    label.setPalette(colours);
}

/// Where a key leads from the tab at a place of so many; none for a key that moves nothing.
std::optional<std::size_t> placeAfter(int key, std::size_t place, std::size_t count) {
    switch (key) {
    case Qt::Key_Left:
        return place > 0 ? place - 1 : 0;
    case Qt::Key_Right:
        return std::min(place + 1, count - 1);
    case Qt::Key_Home:
        return 0;
    case Qt::Key_End:
        return count - 1;
    default:
        return std::nullopt;
    }
}

} // namespace

Tab::Tab(const QString& title, const Color& accent, QWidget* parent)
    : Tile(parent)
    , title_(title)
    , accent_(accent)
    , label_(makeText(title, interfaceFont(titleSize, QFont::Medium), malaiDim, this))
    , total_(new Reading("", std::nullopt, totalSize, QFont::Medium, this)) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setAccessible(*this, QAccessible::PageTab, title);
    total_->setMinimumWidth(1); // the page decides about the width
    auto* column = makeColumn(this, lineGap);
    column->setContentsMargins(paddingX, 0, paddingX, 0);
    column->addStretch();
    for (QWidget* line : {static_cast<QWidget*>(label_), static_cast<QWidget*>(total_)}) {
        line->setAttribute(Qt::WA_TransparentForMouseEvents);
        column->addWidget(line);
    }
    column->addStretch();
    setActive(false);
}

void Tab::write(bool isActive, std::int64_t total) {
    const QString size = qString(asSize(total));
    total_->setValue(size);
    setAccessibleText(*this, title_ + ", " + size);
    if (isActive_ != isActive) {
        setActive(isActive);
    }
}

void Tab::setActive(bool active) {
    isActive_ = active;
    setFocusPolicy(active ? Qt::StrongFocus : Qt::ClickFocus);
    setTextColour(*label_, active ? accent_ : malaiDim);
    total_->setColour(active ? malai : malaiDim);
    setAccessibleSelected(*this, active);
    update();
}

void Tab::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const Color rest = isActive_ ? kettleHi : kettle;
    painter.setPen(QPen(qColor(isActive_ ? accent_ : rim), 1));
    painter.setBrush(qColor(isDown() ? stall : rest.mixedWith(kettlePeak, hover())));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radiusControl, radiusControl);
    if (showsFocus()) {
        paintFocusRing(painter, rect(), radiusControl);
    }
}

TabRow::TabRow(DuveskSpice& spice, QWidget* parent)
    : QWidget(parent)
    , spice_(spice) {
    setAccessible(*this, QAccessible::PageTabList, "What to show");
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(tabGap);
    const auto add = [&](std::optional<Kind> kind) {
        auto* tab = new Tab(qString(tabText(kind)), spice.accent(), this);
        choices_.push_back({kind, tab});
        row->addWidget(tab, 1);
        connect(tab, &QAbstractButton::clicked, this, [this, kind] { choose(kind); });
    };
    add(std::nullopt);
    for (const Kind kind : allKinds) {
        add(kind);
    }
    refresh();
}

void TabRow::refresh() {
    for (const Choice& choice : choices_) {
        choice.tab->write(spice_.showing() == choice.kind, tabTotal(spice_, choice.kind));
    }
}

void TabRow::choose(std::optional<Kind> kind) {
    spice_.setShowing(kind);
    if (chosen_) {
        chosen_();
    }
}

void TabRow::takeKeyboard() {
    const auto active =
        std::ranges::find_if(choices_, [](const Choice& choice) { return choice.tab->isActive(); });
    active->tab->setFocus(Qt::TabFocusReason);
}

void TabRow::keyPressEvent(QKeyEvent* event) {
    const auto found =
        std::ranges::find_if(choices_, [](const Choice& choice) { return choice.tab->hasFocus(); });
    if (found == choices_.end() || (event->modifiers() & ~Qt::KeypadModifier)) {
        QWidget::keyPressEvent(event);
        return;
    }
    if (event->key() == Qt::Key_Down) {
        if (down_) {
            down_();
        }
        return;
    }
    const auto place = static_cast<std::size_t>(found - choices_.begin());
    const auto wanted = placeAfter(event->key(), place, choices_.size());
    if (!wanted) {
        QWidget::keyPressEvent(event);
        return;
    }
    if (*wanted != place) {
        const Choice& choice = choices_[*wanted];
        choose(choice.kind);
        choice.tab->setFocus(Qt::TabFocusReason);
    }
}

} // namespace Duvesk
