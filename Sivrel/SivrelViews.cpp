#include "Sivrel/SivrelViews.hpp"

#include "Sivrel/Sivrel.hpp"
#include "Sivrel/SivrelTexts.hpp"
#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Controls/Buttons.hpp"
#include "ZorbelKit/Controls/Counter.hpp"
#include "ZorbelKit/Controls/Layouts.hpp"
#include "ZorbelKit/Controls/Picker.hpp"
#include "ZorbelKit/Controls/Rule.hpp"
#include "ZorbelKit/Controls/Stat.hpp"
#include "ZorbelKit/Controls/Switch.hpp"
#include "ZorbelKit/Controls/Text.hpp"
#include "ZorbelKit/Host/StatusBar.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/ChaiGlassRenderer.hpp"
#include "ZorbelKit/Surfaces/PainterCanvas.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QVBoxLayout>

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace Sivrel {

using namespace ZorbelKit;

namespace {

constexpr int cardPaddingX = 12;
constexpr int cardPaddingY = 12;
constexpr int stripHeight = 60;

constexpr double delays[] = {4, 8, 15, 0}; // seconds; the last is never

/// Which of the delays holds; none of them for any other value.
std::optional<std::size_t> delayIndex(double seconds) {
    const auto* const found = std::ranges::find(delays, seconds > 0 ? seconds : 0.0);
    return found == std::end(delays) ? std::nullopt : std::optional(static_cast<std::size_t>(found - delays));
}

QStringList delayTexts() {
    QStringList texts;
    for (const double delay : delays) {
        texts << qString(delayText(delay));
    }
    return texts;
}

QLabel* makeParagraph(const QString& text, TextStyle style, const Color& colour, QWidget* parent) {
    QLabel* label = makeText(text, style, colour, parent);
    label->setWordWrap(true);
    return label;
}

/// A card whose content keeps its distance from the edges.
QVBoxLayout* makeCardColumn(QWidget* content) {
    auto* column = new QVBoxLayout(content);
    column->setContentsMargins(cardPaddingX, cardPaddingY, cardPaddingX, cardPaddingY);
    column->setSpacing(cardPaddingY);
    return column;
}

/// A label at the left, what it is about at the right.
QHBoxLayout* makeRow(QWidget* label, QWidget* control) {
    auto* row = new QHBoxLayout;
    row->setSpacing(16);
    row->addWidget(label, 1);
    row->addWidget(control, 0, Qt::AlignVCenter);
    return row;
}

/// Icons as a menu bar has them, 18 points square round the origin. Nothing here stands for a real program.
QPainterPath cloud() {
    QPainterPath path;
    path.moveTo(-4.5, 5);
    path.arcTo(QRectF(-8.5, -1.5, 6.5, 6.5), 270, -180);
    path.arcTo(QRectF(-5.5, -6, 9.5, 9.5), 160, -150);
    path.arcTo(QRectF(1.5, -2, 7, 7), 80, -170);
    path.closeSubpath();
    return path;
}

QPainterPath clock() {
    QPainterPath path;
    path.addEllipse(QPointF(0, 0), 7, 7);
    path.moveTo(0, -3.8);
    path.lineTo(0, 0);
    path.lineTo(2.8, 1.6);
    return path;
}

QPainterPath drop() {
    QPainterPath path(QPointF(0, -7.5));
    path.cubicTo(2, -4, 5.5, -1, 5.5, 2.2);
    path.cubicTo(5.5, 5.4, 3, 7.4, 0, 7.4);
    path.cubicTo(-3, 7.4, -5.5, 5.4, -5.5, 2.2);
    path.cubicTo(-5.5, -1, -2, -4, 0, -7.5);
    return path;
}

QPainterPath bell() {
    QPainterPath path(QPointF(-6.5, 4));
    path.cubicTo(-4, 1.5, -6, -6.5, 0, -6.5);
    path.cubicTo(6, -6.5, 4, 1.5, 6.5, 4);
    path.closeSubpath();
    path.moveTo(-1.8, 6.8);
    path.lineTo(1.8, 6.8);
    return path;
}

QPainterPath sheets() {
    QPainterPath path;
    path.addRoundedRect(QRectF(-2.5, -2.5, 9.5, 9.5), 2.2, 2.2);
    path.moveTo(-5, 2.5);
    path.lineTo(-5.2, 2.5);
    path.quadTo(-7, 2.5, -7, 0.7);
    path.lineTo(-7, -5.2);
    path.quadTo(-7, -7, -5.2, -7);
    path.lineTo(0.7, -7);
    path.quadTo(2.5, -7, 2.5, -5.2);
    return path;
}

QPainterPath sun() {
    QPainterPath path;
    path.addEllipse(QPointF(0, 0), 3.2, 3.2);
    for (int ray = 0; ray < 8; ++ray) {
        QPointF end = QLineF::fromPolar(1, ray * 45.0).p2();
        path.moveTo(end * 5.6);
        path.lineTo(end * 7.4);
    }
    return path;
}

QPainterPath waves() {
    QPainterPath path;
    for (const double radius : {4.6, 8.6}) {
        const QRectF circle(-radius, 5.5 - radius, 2 * radius, 2 * radius);
        path.arcMoveTo(circle, 45);
        path.arcTo(circle, 45, 90);
    }
    path.addEllipse(QPointF(0, 5), 0.7, 0.7);
    return path;
}

QPainterPath battery() {
    QPainterPath path;
    path.addRoundedRect(QRectF(-9, -4.6, 16, 9.2), 2.4, 2.4);
    path.moveTo(9.2, -1.4);
    path.lineTo(9.2, 1.4);
    for (const double x : {-6.0, -3.6, -1.2}) {
        path.moveTo(x, -1.6);
        path.lineTo(x, 1.6);
    }
    return path;
}

QPainterPath lens() {
    QPainterPath path;
    path.addEllipse(QPointF(-1.2, -1.2), 5.4, 5.4);
    path.moveTo(2.8, 2.8);
    path.lineTo(6.8, 6.8);
    return path;
}

using Glyph = QPainterPath (*)();
constexpr Glyph hiddenGlyphs[] = {cloud, bell, sheets, drop, clock, sun};
constexpr Glyph visibleGlyphs[] = {waves, battery, lens}; // and the glass
static_assert(std::size(hiddenGlyphs) == BarGeometry::mostHidden);
static_assert(std::size(visibleGlyphs) + 1 == BarGeometry::visibleCount);

void paintGlyph(QPainter& painter, Glyph glyph, const BarGeometry::Icon& icon, const Color& colour) {
    painter.save();
    painter.translate(icon.x, stripHeight / 2.0);
    painter.strokePath(glyph(), QPen(qColor(colour.withOpacity(icon.opacity)), 1.5, Qt::SolidLine,
                                     Qt::RoundCap, Qt::RoundJoin));
    painter.restore();
}

void paintGlass(QPainter& painter, double x) {
    const double side = 24; // the glass leaves room for its steam: it is as high as the glyphs
    PainterCanvas canvas(painter, x - side / 2, (stripHeight + side) / 2);
    ChaiGlassRenderer::draw(canvas, {0, 0, side, side}, 0, 0, malai);
}

} // namespace

AnyView SivrelSpice::dashboard() {
    return AnyView(
        [this](QWidget* parent) -> QWidget* { return new SivrelPanel(*this, statusBar_, parent); });
}

AnyView SivrelSpice::menuSection() {
    return AnyView::of<SivrelMenuSection>(*this);
}

SivrelMenuSection::SivrelMenuSection(SivrelSpice& spice, QWidget* parent)
    : LiveView(spice, parent)
    , spice_(spice)
    , status_(makeText("", interfaceFont(11), malai, this))
    , toggle_(new QuietButton("", this)) {
    auto* row = makeRow(status_, toggle_);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(8);
    setLayout(row);
    connect(toggle_, &QAbstractButton::clicked, this, [&spice] { spice.toggleCollapsed(); });
    refresh();
}

void SivrelMenuSection::refresh() {
    status_->setText(qString(statusLine(spice_.isCollapsed())));
    toggle_->setLabel(qString(menuAction(spice_.isCollapsed())));
}

BarDiagram::BarDiagram(QWidget* parent)
    : QWidget(parent)
    , slide_(*this) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setAccessible(*this, QAccessible::Graphic, "");
}

QSize BarDiagram::sizeHint() const {
    return {400, stripHeight};
}

void BarDiagram::setCollapsed(bool isCollapsed) {
    setAccessibleText(*this, qString(statusLine(isCollapsed)));
    if (isSeen_) {
        slide_.to(isCollapsed ? 1 : 0, Pour::settle(Pour::boil));
    } else {
        slide_.jump(isCollapsed ? 1 : 0);
    }
}

void BarDiagram::showEvent(QShowEvent* event) {
    isSeen_ = false; // what changed out of sight is not played when it comes back
    QWidget::showEvent(event);
}

void BarDiagram::paintEvent(QPaintEvent*) {
    isSeen_ = true;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath strip;
    strip.addRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radiusPanel, radiusPanel);
    painter.fillPath(strip, qColor(kettle));
    painter.setClipPath(strip);

    const BarGeometry bar = barGeometry(width(), slide_.value());
    paintMenus(painter, bar.menusRight);
    paintDivider(painter, bar);
    for (std::size_t index = 0; index < bar.hidden.size(); ++index) {
        paintGlyph(painter, hiddenGlyphs[index], bar.hidden[index], malaiDim);
    }
    for (std::size_t index = 0; index < std::size(visibleGlyphs); ++index) {
        paintGlyph(painter, visibleGlyphs[index], bar.visible[index], malai);
    }
    paintGlass(painter, bar.visible.back().x);
    painter.setClipping(false);
    painter.strokePath(strip, QPen(qColor(rim), 1));
}

void BarDiagram::paintMenus(QPainter& painter, double right) const {
    painter.setPen(Qt::NoPen);
    painter.setBrush(qColor(rim));
    double x = 20;
    for (const double length : {10.0, 34.0, 24.0, 30.0}) {
        if (x + length > right) {
            return;
        }
        const double thickness = length == 10 ? 10 : 5;
        painter.drawRoundedRect(QRectF(x, (stripHeight - thickness) / 2, length, thickness), thickness / 2,
                                thickness / 2);
        x += length + 12;
    }
}

void BarDiagram::paintDivider(QPainter& painter, const BarGeometry& bar) const {
    const double progress = slide_.value();
    const double thickness = 32;
    const Color accent = spiceColour("sivrel");
    const QRectF body(bar.dividerLeft, (stripHeight - thickness) / 2, bar.dividerRight - bar.dividerLeft,
                      thickness);
    QLinearGradient shade(body.topLeft(), body.topRight());
    shade.setColorAt(0, qColor(accent.withOpacity(0.16 * (1 - progress))));
    shade.setColorAt(1, qColor(accent.withOpacity(0.16)));
    painter.setPen(Qt::NoPen);
    painter.setBrush(shade);
    painter.drawRoundedRect(body, radiusControl, radiusControl);

    // Half way the chevrons are two upright strokes; from there they point the other way.
    const double tail = 2.25 * (2 * progress - 1);
    const double middle = stripHeight / 2.0;
    QPainterPath chevrons;
    for (const double base : {bar.divider - 3, bar.divider + 3}) {
        chevrons.moveTo(base + tail, middle - 4.5);
        chevrons.lineTo(base - tail, middle);
        chevrons.lineTo(base + tail, middle + 4.5);
    }
    painter.strokePath(chevrons, QPen(qColor(accent), 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
}

BarNote::BarNote(StatusBar& statusBar, QWidget* parent)
    : QWidget(parent)
    , statusBar_(statusBar)
    , usesOwnBar_(new Switch("Use Zorbel's own bar")) {
    auto* content = new QWidget;
    note_ = makeParagraph("", TextStyle::callout, malaiDim, content);
    rule_ = new Rule(Qt::Horizontal, content);
    choice_ = new QWidget(content);

    auto* words = new QWidget;
    auto* lines = makeColumn(words, 2);
    lines->addWidget(makeText(usesOwnBar_->accessibleName(), TextStyle::callout, malai));
    lines->addWidget(
        makeParagraph("A bar at the top of the screen that shows every icon. Sivrel's divider works there.",
                      TextStyle::caption, malaiFaint, words));
    auto* row = makeRow(words, usesOwnBar_);
    row->setContentsMargins(0, 0, 0, 0);
    choice_->setLayout(row);

    auto* column = makeCardColumn(content);
    column->addWidget(note_);
    column->addWidget(rule_);
    column->addWidget(choice_);
    makeColumn(this, 0)->addWidget(new Counter(true, content, this));
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);

    connect(usesOwnBar_, &QAbstractButton::toggled, this,
            [&statusBar](bool on) { statusBar.setUsesOwnBar(on); });
    refresh();
}

void BarNote::refresh() {
    const std::optional<bool> usesOwnBar = statusBar_.usesOwnBar();
    const QString note = qString(barNote(statusBar_.pushesOthers(), usesOwnBar));
    note_->setText(note);
    note_->setVisible(!note.isEmpty());
    rule_->setVisible(!note.isEmpty() && usesOwnBar);
    choice_->setVisible(usesOwnBar.has_value());
    usesOwnBar_->setCheckedSilently(usesOwnBar.value_or(false));
    setVisible(!note.isEmpty() || usesOwnBar);
}

SivrelPanel::SivrelPanel(SivrelSpice& spice, StatusBar& statusBar, QWidget* parent)
    : LiveView({[&spice](auto changed) { return spice.observe(std::move(changed)); },
                [&statusBar](auto changed) { return statusBar.onChange(std::move(changed)); }},
               parent)
    , spice_(spice)
    , statusBar_(statusBar)
    , diagram_(new BarDiagram(this))
    , barNote_(new BarNote(statusBar, this))
    , opened_(new Stat("Opened today", "", this))
    , lastOpened_(new Stat("Last opened", "Most recent look", this))
    , hidesAfter_(new Stat("Hides after", "Then it tidies itself away", this))
    , toggle_(new BrassButton("", this)) {
    auto* figures = new QHBoxLayout;
    figures->setSpacing(10);
    for (Stat* stat : {opened_, lastOpened_, hidesAfter_}) {
        figures->addWidget(stat, 1);
    }

    auto* column = makeColumn(this, 24);
    column->addWidget(diagram_);
    column->addWidget(barNote_);
    column->addLayout(figures);
    column->addWidget(toggle_, 0, Qt::AlignLeft);
    column->addWidget(makeSettings());
    column->addWidget(makeArranging());
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);

    connect(toggle_, &QAbstractButton::clicked, this, [&spice] { spice.toggleCollapsed(); });
    connect(revealOnHover_, &QAbstractButton::toggled, this,
            [&spice](bool on) { spice.setRevealOnHover(on); });
    hideAgain_->onChoice([&spice](std::size_t index) { spice.setAutoCollapseAfter(delays[index]); });
    refresh();
}

QWidget* SivrelPanel::makeSettings() {
    auto* content = new QWidget;
    revealOnHover_ = new Switch("Reveal when the pointer reaches the menu bar", content);
    hideAgain_ = new Picker("Hide again after", delayTexts(), content);
    auto* column = makeCardColumn(content);
    const auto label = [&](const QWidget& control) {
        return makeText(control.accessibleName(), TextStyle::callout, malai, content);
    };
    column->addLayout(makeRow(label(*revealOnHover_), revealOnHover_));
    column->addWidget(new Rule(Qt::Horizontal, content));
    column->addLayout(makeRow(label(*hideAgain_), hideAgain_));
    return new Counter(false, content, this);
}

QWidget* SivrelPanel::makeArranging() {
    auto* note = new QWidget(this);
    QFont heading = styleFont(TextStyle::callout);
    heading.setWeight(QFont::Medium);
    arrangingHint_ = makeParagraph("", TextStyle::callout, malaiFaint, note);
    auto* column = makeColumn(note, 4);
    column->addWidget(makeText("Arranging your icons", heading, malai, note));
    column->addWidget(
        makeParagraph("Hold ⌘ and drag any menu bar icon to move it. Icons placed left of Sivrel's "
                      "divider are hidden. Icons right of it always stay visible.",
                      TextStyle::callout, malaiDim, note));
    column->addWidget(arrangingHint_);
    return note;
}

void SivrelPanel::refresh() {
    diagram_->setCollapsed(spice_.isCollapsed());
    barNote_->refresh();
    opened_->setValue(QString::number(spice_.revealsToday()));
    opened_->setCaption(qString(revealsCaption(spice_.revealsToday())));
    const auto& last = spice_.lastRevealed();
    lastOpened_->setValue(last ? timeOfDay(*last) : QString("Not yet today"));
    hidesAfter_->setValue(qString(hidesAfterText(spice_.autoCollapseAfter())));
    toggle_->setLabel(qString(panelAction(spice_.isCollapsed())));
    revealOnHover_->setCheckedSilently(spice_.revealOnHover());
    if (const auto index = delayIndex(spice_.autoCollapseAfter())) {
        hideAgain_->select(*index);
    } else {
        hideAgain_->selectOther(qString(delayText(spice_.autoCollapseAfter())));
    }
    const QString hint = qString(statusBar_.arrangingHint());
    arrangingHint_->setText(hint);
    arrangingHint_->setVisible(!hint.isEmpty());
}

} // namespace Sivrel
