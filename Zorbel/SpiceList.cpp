#include "Zorbel/SpiceList.hpp"

#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Controls/Layouts.hpp"
#include "ZorbelKit/Controls/ScrollView.hpp"
#include "ZorbelKit/Controls/SpiceIcon.hpp"
#include "ZorbelKit/Controls/Text.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Spice.hpp"
#include "ZorbelKit/Stall.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QPainter>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

namespace Zorbel {

using namespace ZorbelKit;

namespace {

constexpr int rowPadding = 10;
constexpr int rowSpacing = 10;
constexpr int listPadding = 12;
constexpr double rowIcon = 28;
constexpr double mastheadIcon = 34;
constexpr double hoverShade = 0.55;

} // namespace

Masthead::Masthead(QWidget* parent)
    : QWidget(parent) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(18, 26, 18, 12);
    row->setSpacing(12);
    row->addWidget(new SpiceIcon("zorbel", mastheadIcon, false, this));
    auto* titles = new QVBoxLayout;
    titles->setSpacing(1);
    titles->addWidget(makeText("Zorbel", interfaceFont(17, QFont::Medium), malai, this));
    titles->addWidget(makeText("Ten small things, done well.", interfaceFont(10), malaiFaint, this));
    row->addLayout(titles);
    row->addStretch();
}

WaveHeader::WaveHeader(Wave wave, QWidget* parent)
    : QWidget(parent)
    , wave_(wave)
    , count_(makeText("0", interfaceFont(10), malaiFaint, this)) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(16, 8, 16, 6);
    row->addWidget(makeHeading(qString(title(wave)), this));
    row->addStretch();
    row->addWidget(count_);
}

void WaveHeader::setCount(int on, int all) {
    count_->setText(QString::number(on));
    count_->setToolTip(QStringLiteral("%1 of %2 on").arg(on).arg(all));
}

SpiceRow::SpiceRow(const Spice& spice, Stall& stall, MainLoop& loop, QWidget* parent)
    : FocusButton(parent)
    , spice_(spice)
    , stall_(stall)
    , hover_(loop)
    , icon_(new SpiceIcon(spice.id(), rowIcon, !spice.isEnabled(), this))
    , name_(makeText(qString(spice.name()), interfaceFont(13, QFont::Medium), malai, this))
    , role_(makeText(qString(spice.role()), interfaceFont(11), malaiDim, this))
    , reason_(makeText(qString(spice.reason()), interfaceFont(10.5), malaiFaint, this))
    , shade_(*this)
    , reveal_(*this, 0, [this] { layOutReason(); }) {
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setAccessible(*this, QAccessible::ListItem, qString(spice.name()),
                  qString(spice.role() + ". " + spice.reason()));
    setAccessibleSelected(*this, false);

    reason_->setWordWrap(true);
    reason_->setAlignment(Qt::AlignTop | Qt::AlignLeft);
    reason_->setFixedHeight(0);

    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(rowPadding, rowPadding, rowPadding, rowPadding);
    row->setSpacing(11);
    row->addWidget(icon_, 0, Qt::AlignTop);
    auto* lines = new QVBoxLayout;
    lines->setSpacing(1);
    lines->addWidget(name_);
    lines->addWidget(role_);
    lines->addWidget(reason_);
    row->addLayout(lines, 1);

    hoverChanges_ = hover_.observe([this] { hoverChanged(); });
    connect(this, &QAbstractButton::clicked, this, [this] { stall_.setSelection(spice_.id()); });
}

void SpiceRow::refresh() {
    icon_->setDimmed(!spice_.isEnabled());
    const bool selected = stall_.selection() == spice_.id();
    if (selected != isSelected_) {
        isSelected_ = selected;
        setAccessibleSelected(*this, selected);
        update();
    }
}

void SpiceRow::hoverChanged() {
    shade_.to(hover_.hovering() ? hoverShade : 0, Pour::settle(Pour::sip));
    reveal_.to(hover_.showReason() ? 1 : 0, Pour::settle(Pour::pour));
}

void SpiceRow::layOutReason() {
    // As wide as the lines above it, so that its full height is known before it shows.
    const int wide = width() - 2 * rowPadding - icon_->sizeHint().width() - 11;
    const int gap = 4;
    reason_->setContentsMargins(0, gap, 0, 0);
    const int full = reason_->heightForWidth(std::max(wide, 1));
    reason_->setFixedHeight(static_cast<int>(std::lround(full * reveal_.value())));
}

void SpiceRow::resizeEvent(QResizeEvent* event) {
    QAbstractButton::resizeEvent(event);
    if (event->oldSize().width() != event->size().width()) {
        layOutReason();
    }
}

void SpiceRow::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double opacity = isSelected_ ? 1 : shade_.value();
    if (opacity > 0) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(qColor(kettleHi.withOpacity(opacity)));
        painter.drawRoundedRect(rect(), radiusControl, radiusControl);
    }
    if (showsFocus()) {
        paintFocusRing(painter, rect(), radiusControl);
    }
}

void SpiceRow::enterEvent(QEnterEvent* event) {
    hover_.enter();
    QAbstractButton::enterEvent(event);
}

void SpiceRow::leaveEvent(QEvent* event) {
    hover_.leave();
    QAbstractButton::leaveEvent(event);
}

void SpiceRow::hideEvent(QHideEvent* event) {
    hover_.leave(); // a hidden window sends no leave
    QAbstractButton::hideEvent(event);
}

SpiceList::SpiceList(Stall& stall, MainLoop& loop, QWidget* parent)
    : LiveView(stall, parent)
    , stall_(stall)
    , scroll_(new ScrollView(this)) {
    setFixedWidth(listWidth);
    auto* column = makeColumn(this, 0);
    column->addWidget(new Masthead(this));
    column->addWidget(scroll_, 1);

    auto* content = new QWidget;
    setAccessible(*content, QAccessible::List, "Spices");
    auto* list = new QVBoxLayout(content);
    list->setContentsMargins(listPadding, listPadding, listPadding, listPadding);
    list->setSpacing(rowSpacing);
    for (const Wave wave : allWaves) {
        headers_.push_back(new WaveHeader(wave, content));
        list->addWidget(headers_.back());
        for (const auto& spice : stall.spices()) {
            if (spice->wave() == wave) {
                rows_.push_back(new SpiceRow(*spice, stall, loop, content));
                rows_.back()->installEventFilter(this);
                list->addWidget(rows_.back());
            }
        }
    }
    list->addStretch();
    scroll_->setWidget(content);
    refresh();
}

void SpiceList::refresh() {
    for (SpiceRow* row : rows_) {
        row->refresh();
    }
    for (std::size_t index = 0; index < headers_.size(); ++index) {
        const auto ofWave = [&](const auto& spice) { return spice->wave() == allWaves[index]; };
        const auto all = std::ranges::count_if(stall_.spices(), ofWave);
        const auto on = std::ranges::count_if(
            stall_.spices(), [&](const auto& spice) { return ofWave(spice) && spice->isEnabled(); });
        headers_[index]->setCount(static_cast<int>(on), static_cast<int>(all));
    }
}

void SpiceList::showEvent(QShowEvent* event) {
    LiveView::showEvent(event);
    // A window that opens answers the arrow keys at once.
    for (SpiceRow* row : rows_) {
        if (!window()->focusWidget() && stall_.selection() == row->spice().id()) {
            row->setFocus(Qt::OtherFocusReason);
        }
    }
}

void SpiceList::paintEvent(QPaintEvent*) {
    QPainter(this).fillRect(rect(), qColor(kettle));
}

bool SpiceList::eventFilter(QObject* watched, QEvent* event) {
    // Before the row sees them: as a button it would move the keyboard by itself and leave the selection
    // behind.
    if (event->type() == QEvent::KeyPress && moveSelection(static_cast<QKeyEvent*>(event)->key())) {
        return true;
    }
    return LiveView::eventFilter(watched, event);
}

bool SpiceList::moveSelection(int key) {
    const auto selected = std::ranges::find_if(
        rows_, [&](const SpiceRow* row) { return stall_.selection() == row->spice().id(); });
    const int last = static_cast<int>(rows_.size()) - 1;
    const int current = selected == rows_.end() ? -1 : static_cast<int>(selected - rows_.begin());
    switch (key) {
    case Qt::Key_Up:
        select(current < 0 ? last : std::max(current - 1, 0));
        return true;
    case Qt::Key_Down:
        select(std::min(current + 1, last));
        return true;
    case Qt::Key_Home:
        select(0);
        return true;
    case Qt::Key_End:
        select(last);
        return true;
    default:
        return false;
    }
}

void SpiceList::select(int index) {
    if (index < 0 || index >= static_cast<int>(rows_.size())) {
        return;
    }
    SpiceRow& row = *rows_[static_cast<std::size_t>(index)];
    stall_.setSelection(row.spice().id());
    row.setFocus(Qt::TabFocusReason);
    scroll_->ensureWidgetVisible(&row, 0, rowSpacing);
}

} // namespace Zorbel
