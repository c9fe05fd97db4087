#include "Zorbel/SpiceDetail.hpp"

#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Controls/Buttons.hpp"
#include "ZorbelKit/Controls/Capsule.hpp"
#include "ZorbelKit/Controls/ScrollView.hpp"
#include "ZorbelKit/Controls/SpiceIcon.hpp"
#include "ZorbelKit/Controls/Switch.hpp"
#include "ZorbelKit/Controls/Text.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Spice.hpp"
#include "ZorbelKit/Stall.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QHBoxLayout>
#include <QPainter>
#include <QVBoxLayout>

#include <algorithm>
#include <memory>

namespace Zorbel {

using namespace ZorbelKit;

namespace {

constexpr double headerIcon = 64;
constexpr double dormantIcon = 64;
constexpr int paddingX = 28;
constexpr int paddingY = 24;
constexpr int leastFilling = 220; // points; a page that fills the pane is at least this high

/// A page that wants to grow is given the height that is left, and the pane scrolls only where that is too
/// little for it. Every other page is as high as it likes.
void fit(QWidget& page, QVBoxLayout& column) {
    const bool fills = page.sizePolicy().expandingDirections().testFlag(Qt::Vertical);
    if (fills) {
        page.setMinimumHeight(std::max(leastFilling, page.minimumSizeHint().height()));
    }
    column.setStretchFactor(&page, fills ? 1 : 0);
}

/// A picture of what was there, fading away over what is there now.
class FadingPicture : public QWidget {
public:
    FadingPicture(QPixmap picture, QWidget* over)
        : QWidget(over)
        , picture_(std::move(picture))
        , opacity_(*this, 1, [this] { step(); }) {
        setAttribute(Qt::WA_TransparentForMouseEvents);
        setGeometry(over->rect());
        show();
        raise();
        opacity_.to(0, Pour::settle(Pour::pour));
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setOpacity(opacity_.value());
        painter.drawPixmap(0, 0, picture_);
    }

private:
    void step() {
        update();
        if (opacity_.value() <= 0) {
            deleteLater();
        }
    }

    QPixmap picture_;
    Glide opacity_;
};

} // namespace

DetailHeader::DetailHeader(Spice& spice, Stall& stall, QWidget* parent)
    : QWidget(parent)
    , spice_(spice)
    , switch_(new Switch(qString(spice.name()), this)) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(18);
    row->addWidget(new SpiceIcon(spice.id(), headerIcon, false, this), 0, Qt::AlignTop);

    auto* titles = new QHBoxLayout;
    titles->setSpacing(12);
    titles->addWidget(makeText(qString(spice.name()), interfaceFont(28), malai, this));
    titles->addWidget(new Capsule(qString(spice.role()), spice.accent(), this), 0, Qt::AlignVCenter);
    titles->addStretch();
    auto* summary = makeText(qString(spice.summary()), TextStyle::callout, malaiDim, this);
    summary->setWordWrap(true);
    auto* lines = new QVBoxLayout;
    lines->setSpacing(4);
    lines->addLayout(titles);
    lines->addWidget(summary);
    row->addLayout(lines, 1);
    row->addWidget(switch_, 0, Qt::AlignVCenter);

    connect(switch_, &QAbstractButton::toggled, this,
            [this, &stall](bool on) { stall.setEnabled(on, spice_); });
    refresh();
}

void DetailHeader::refresh() {
    switch_->setCheckedSilently(spice_.isEnabled());
}

Dormant::Dormant(Spice& spice, Stall& stall, QWidget* parent)
    : QWidget(parent) {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(24, 44, 24, 40);
    column->setSpacing(6);
    column->addWidget(new SpiceIcon(spice.id(), dormantIcon, true, this), 0, Qt::AlignHCenter);
    column->addSpacing(10);
    column->addWidget(
        makeText(qString(spice.name() + " is not in the cup."), TextStyle::callout, malaiDim, this), 0,
        Qt::AlignHCenter);
    column->addWidget(makeText("While it is off it holds no timers and no observers.", TextStyle::caption,
                               malaiFaint, this),
                      0, Qt::AlignHCenter);
    column->addSpacing(10);
    auto* add = new BrassButton("Add " + qString(spice.name()), this);
    auto* padded = new QHBoxLayout;
    padded->setContentsMargins(4, 4, 4, 4);
    padded->addStretch();
    padded->addWidget(add);
    padded->addStretch();
    column->addLayout(padded);
    connect(add, &QAbstractButton::clicked, this, [&spice, &stall] { stall.setEnabled(true, spice); });
}

void Dormant::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(qColor(rim), 1));
    painter.setBrush(qColor(kettle));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radiusPanel, radiusPanel);
}

SpiceDetail::SpiceDetail(Stall& stall, QWidget* parent)
    : LiveView(stall, parent)
    , stall_(stall)
    , scroll_(new ScrollView(this)) {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(scroll_);
    refresh();
}

Spice* SpiceDetail::selected() const {
    return stall_.selection() ? stall_.spice(*stall_.selection()) : nullptr;
}

void SpiceDetail::refresh() {
    Spice* spice = selected();
    const auto wanted = spice ? std::optional(Shown{spice->id(), spice->isEnabled()}) : std::nullopt;
    if (wanted == shown_) {
        return;
    }
    const bool isSameSpice = wanted && shown_ && wanted->id == shown_->id;
    shown_ = wanted;
    if (isVisible()) {
        fadeFromOldPage();
    }
    if (isSameSpice) {
        // The header stays: the switch that was just turned keeps the keyboard and its own animation.
        header_->refresh();
        auto* column = static_cast<QVBoxLayout*>(scroll_->widget()->layout());
        QWidget* old = page_;
        page_ = makePage(*spice, scroll_->widget());
        const bool hadFocus = old && old->isAncestorOf(focusWidget());
        const std::unique_ptr<QLayoutItem> replaced(column->replaceWidget(old, page_));
        fit(*page_, *column);
        old->hide();
        old->deleteLater(); // its own button may have brought us here
        page_->show();
        if (hadFocus) {
            header_->findChild<QAbstractButton*>()->setFocus(Qt::OtherFocusReason);
        }
    } else {
        show(spice);
    }
}

QWidget* SpiceDetail::makePage(Spice& spice, QWidget* parent) {
    return spice.isEnabled() ? spice.dashboard().build(parent) : new Dormant(spice, stall_, parent);
}

void SpiceDetail::show(Spice* spice) {
    auto* content = new QWidget;
    header_ = nullptr;
    page_ = nullptr;
    if (spice) {
        setAccessible(*content, QAccessible::Grouping, qString(spice->name()));
        auto* column = new QVBoxLayout(content);
        column->setContentsMargins(paddingX, paddingY, paddingX, paddingY);
        column->setSpacing(24);
        header_ = new DetailHeader(*spice, stall_, content);
        page_ = makePage(*spice, content);
        column->addWidget(header_);
        column->addWidget(page_);
        column->addStretch();
        fit(*page_, *column);
    }
    scroll_->setWidget(content);
}

void SpiceDetail::fadeFromOldPage() {
    if (!isMotionReduced()) {
        new FadingPicture(scroll_->viewport()->grab(), scroll_->viewport());
    }
}

void SpiceDetail::paintEvent(QPaintEvent*) {
    QPainter(this).fillRect(rect(), qColor(stall));
}

} // namespace Zorbel
