#include "Mordan/MordanViews.hpp"

#include "Mordan/Mordan.hpp"
#include "Mordan/MordanTexts.hpp"
#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Controls/Counter.hpp"
#include "ZorbelKit/Controls/Layouts.hpp"
#include "ZorbelKit/Controls/LineText.hpp"
#include "ZorbelKit/Controls/SearchField.hpp"
#include "ZorbelKit/Controls/SpiceIcon.hpp"
#include "ZorbelKit/Controls/Symbol.hpp"
#include "ZorbelKit/Controls/SymbolButton.hpp"
#include "ZorbelKit/Controls/Text.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QPainter>
#include <QStackedLayout>
#include <QVBoxLayout>

#include <algorithm>
#include <unordered_map>
#include <utility>

namespace Mordan {

using namespace ZorbelKit;

namespace {

// A row's measures, in points.
constexpr int paddingX = 10;
constexpr int markGap = 10;
constexpr int swatchGap = 8;
constexpr int buttonsGap = 8; // between the text and the buttons
constexpr int buttonsRight = 6;
constexpr double swatchRadius = 3;

constexpr int cardPadding = 6;
constexpr double messageIcon = 48;
constexpr int leastRows = 3; // the card has room for these at least

constexpr const char* nothingHeld = "Nothing held yet.";
constexpr const char* nothingFound = "Nothing here matches that.";

enum State { listed, empty, unmatched }; // as places in the stack

/// The listed entries are others now: tells the list where those went that it shows.
void replace(std::vector<Wound>& shown, std::vector<Wound> next, RowList& list) {
    std::unordered_map<Uuid, int> places;
    places.reserve(next.size());
    for (const Wound& wound : next) {
        places.emplace(wound.id, static_cast<int>(places.size()));
    }
    const std::vector<Wound> before = std::exchange(shown, std::move(next));
    list.change([&](int index) -> std::optional<int> {
        const auto found = places.find(before[static_cast<std::size_t>(index)].id);
        return found == places.end() ? std::nullopt : std::optional(found->second);
    });
}

template <class Row>
RowList::Rows rowsOf(const std::vector<Wound>& wounds, MordanSpice& spice) {
    return {
        .count = [&wounds] { return static_cast<int>(wounds.size()); },
        .make = [&spice](QWidget* parent) -> ListRow* { return new Row(spice, parent); },
        .bind =
            [&wounds](ListRow& row, int index) {
                static_cast<Row&>(row).bind(wounds[static_cast<std::size_t>(index)]);
            },
    };
}

/// The keys that work on a row wherever it is, once the user sees which one has the keyboard.
bool pressRowKey(const QKeyEvent& key, WoundRow& row) {
    if (!row.hasAttention()) {
        return false;
    }
    if (key.key() == Qt::Key_P && key.modifiers() == Qt::ControlModifier) {
        row.togglePin();
        return true;
    }
    if (key.key() == Qt::Key_Delete && !key.isAutoRepeat()) { // held down, it must not empty the list
        row.forget();
        return true;
    }
    return false;
}

QWidget* makeMessage(const QStringList& lines) {
    auto* message = new QWidget;
    auto* column = new QVBoxLayout(message);
    column->setSpacing(4);
    column->addStretch();
    column->addWidget(new SpiceIcon("mordan", messageIcon, /*dimmed=*/true, message), 0, Qt::AlignHCenter);
    column->addSpacing(8);
    for (const QString& line : lines) {
        const bool isFirst = line == lines.front();
        column->addWidget(makeText(line, isFirst ? TextStyle::callout : TextStyle::caption,
                                   isFirst ? malai : malaiDim, message),
                          0, Qt::AlignHCenter);
    }
    column->addStretch();
    return message;
}

} // namespace

AnyView MordanSpice::dashboard() {
    return AnyView::of<MordanPanel>(*this);
}

AnyView MordanSpice::menuSection() {
    return AnyView::of<MordanMenuSection>(*this);
}

KindMark::KindMark(QWidget* parent)
    : QWidget(parent)
    , sign_(*this) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAccessible(*this, QAccessible::Graphic, "");
    writeName();
    signEnd_.setSingleShot(true);
    signEnd_.setInterval(milliseconds(signTime));
    connect(&signEnd_, &QTimer::timeout, this, [this] { endSign(); });
}

void KindMark::setKind(Wound::Kind kind) {
    if (kind_ != kind) {
        kind_ = kind;
        writeName();
        update();
    }
}

void KindMark::setDimmed(bool dimmed) {
    if (isDimmed_ != dimmed) {
        isDimmed_ = dimmed;
        update();
    }
}

void KindMark::showSign() {
    isSigning_ = true;
    writeName();
    sign_.to(1, Pour::settle(Pour::sip));
    signEnd_.start();
}

void KindMark::endSign() {
    if (std::exchange(isSigning_, false)) {
        signEnd_.stop();
        writeName();
        sign_.to(0, Pour::settle(Pour::pour));
    }
}

void KindMark::writeName() {
    setAccessibleText(*this, isSigning_ ? QString("Put back") : qString(kindText(kind_)));
}

QString KindMark::symbol() const {
    return isSigning_ ? QString("checkmark") : qString(symbolName(kind_));
}

void KindMark::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const QPointF centre = QRectF(rect()).center();
    painter.setOpacity(1 - sign_.value());
    paintSymbol(painter, qString(symbolName(kind_)), centre, side, isDimmed_ ? malaiFaint : malaiDim);
    painter.setOpacity(sign_.value());
    paintSymbol(painter, "checkmark", centre, side, spiceColour("mordan"));
}

Swatch::Swatch(QWidget* parent)
    : QWidget(parent) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

void Swatch::setColour(const Color& colour) {
    if (!(colour_ == colour)) {
        colour_ = colour;
        update();
    }
}

void Swatch::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    // The rim keeps a colour apart from a ground that is much like it.
    painter.setPen(QPen(qColor(malaiDim), 1));
    painter.setBrush(qColor(colour_));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), swatchRadius, swatchRadius);
}

WoundRow::WoundRow(MordanSpice& spice, QWidget* parent)
    : ListRow(parent)
    , spice_(spice)
    , mark_(new KindMark(this))
    , swatch_(new Swatch(this))
    , line_(new LineText(styleFont(TextStyle::callout), malai, this))
    , pin_(new SymbolButton("Pin", "pin.fill", 14, this))
    , forget_(new SymbolButton("Forget", "xmark", 12, this)) {
    setAccessible(*this, QAccessible::ListItem, "");
    swatch_->hide();
    line_->setAttribute(Qt::WA_TransparentForMouseEvents);
    pin_->setKeys("Ctrl+P");
    forget_->setKeys("Del");
    for (SymbolButton* button : {pin_, forget_}) {
        button->setFocusPolicy(Qt::NoFocus); // the keyboard stays on the row, whose keys do the same
        button->hide();
    }
    connect(pin_, &QAbstractButton::clicked, this, [this] { togglePin(); });
    connect(forget_, &QAbstractButton::clicked, this, [this] { forget(); });
}

void WoundRow::bind(const Wound& wound) {
    if (wound_ == wound && search_ == spice_.search()) {
        return;
    }
    if (!wound_ || wound_->id != wound.id) {
        mark_->endSign();
    }
    wound_ = wound;
    search_ = spice_.search();
    write();
    arrange();
    entryChanged();
}

void WoundRow::write() {
    const std::string line = lineText(wound_->preview);
    std::optional<LineText::Part> marked;
    if (const auto span = foundIn(line, search_, spice_.language())) {
        const std::string_view text = line;
        marked = {.begin = static_cast<int>(qString(text.substr(0, span->begin)).size()),
                  .length = static_cast<int>(qString(text.substr(span->begin, span->length)).size())};
    }
    mark_->setKind(wound_->kind);
    line_->setLine(qString(line), marked);
    const auto colour = wound_->kind == Wound::Kind::colour ? writtenColour(wound_->preview) : std::nullopt;
    swatch_->setVisible(colour.has_value());
    if (colour) {
        swatch_->setColour(*colour);
    }
    pin_->setName(wound_->pinned ? "Unpin" : "Pin");
    pin_->setColour(wound_->pinned ? spice_.accent() : malaiDim);
    attentionChanged();

    const QString origin = qString(originText(*wound_, timeOfDay(wound_->woundAt).toStdString()));
    setAccessibleText(*this, qString(spokenText(*wound_)));
    if (accessibleDescription() != origin) {
        setAccessibleDescription(origin);
    }
    const QString tip =
        toolTipText(tipText(wound_->preview)) + QStringLiteral("<div>%1</div>").arg(origin.toHtmlEscaped());
    if (toolTip() != tip) {
        setToolTip(tip);
    }
}

void WoundRow::attentionChanged() {
    pin_->setVisible(hasAttention() || (wound_ && wound_->pinned));
    forget_->setVisible(hasAttention());
}

void WoundRow::arrange() {
    const auto middle = [this](int size) { return (height() - size) / 2; };
    int left = paddingX;
    mark_->setGeometry(left, middle(KindMark::side), KindMark::side, KindMark::side);
    left += KindMark::side + markGap;
    if (!swatch_->isHidden()) {
        swatch_->setGeometry(left, middle(Swatch::side), Swatch::side, Swatch::side);
        left += Swatch::side + swatchGap;
    }
    int right = width() - buttonsRight;
    for (SymbolButton* button : {forget_, pin_}) {
        right -= SymbolButton::side;
        button->setGeometry(right, middle(SymbolButton::side), SymbolButton::side, SymbolButton::side);
    }
    line_->setGeometry(left, 0, std::max(right - buttonsGap - left, 0), height());
}

void WoundRow::resizeEvent(QResizeEvent* event) {
    ListRow::resizeEvent(event);
    arrange();
}

void WoundRow::togglePin() {
    const Wound wound = *wound_; // the row shows another before the spice is done
    spice_.togglePin(wound);
}

void WoundRow::forget() {
    const Wound wound = *wound_;
    spice_.forget(wound);
}

CompactRow::CompactRow(MordanSpice& spice, QWidget* parent)
    : WoundRow(spice, parent) {
    connect(this, &QAbstractButton::clicked, this, [this] { restore(); });
}

void CompactRow::restore() {
    if (!canRestore()) {
        return;
    }
    const Wound entry = *wound();
    spice().restore(entry);
    mark().showSign();
}

void CompactRow::entryChanged() {
    mark().setDimmed(!canRestore());
    line().setColour(canRestore() ? malai : malaiFaint);
    setAccessibleDisabled(*this, !canRestore());
}

std::optional<Color> CompactRow::shade() const {
    if (!canRestore()) {
        return std::nullopt;
    }
    return isDown() ? kettlePeak : kettleHi;
}

MordanMenuSection::MordanMenuSection(MordanSpice& spice, QWidget* parent)
    : LiveView(spice, parent)
    , spice_(spice)
    , list_(new RowList("Clipboard", CompactRow::rowHeight, rowsOf<CompactRow>(wounds_, spice), this))
    , nothing_(makeText("", TextStyle::callout, malaiDim, this)) {
    auto* column = makeColumn(this, 0);
    column->addWidget(list_);
    column->addWidget(nothing_);
    nothing_->setContentsMargins(paddingX, 0, paddingX, 0);
    list_->setTabMoves(true);
    list_->onKey([this](QKeyEvent& key, int index) {
        ListRow& row = *list_->row(index);
        if (key.key() == Qt::Key_Return || key.key() == Qt::Key_Enter) {
            row.click();
            return true;
        }
        return pressRowKey(key, static_cast<WoundRow&>(row));
    });
    refresh();
}

int MordanMenuSection::bleed() const {
    return paddingX;
}

void MordanMenuSection::refresh() {
    std::vector<Wound> wounds = spice_.visible();
    if (wounds.size() > mostRows) {
        wounds.erase(wounds.begin() + mostRows, wounds.end());
    }
    list_->setFixedHeight(static_cast<int>(wounds.size()) * CompactRow::rowHeight);
    list_->setVisible(!wounds.empty());
    nothing_->setText(spice_.items().empty() ? nothingHeld : nothingFound);
    nothing_->setVisible(wounds.empty());
    replace(wounds_, std::move(wounds), *list_);
}

MordanPanel::MordanPanel(MordanSpice& spice, QWidget* parent)
    : LiveView(spice, parent)
    , spice_(spice)
    , search_(new SearchField("Search what you have copied", "magnifyingglass", this))
    , count_(makeText("", TextStyle::callout, malaiDim, this))
    , hint_(makeText("", TextStyle::caption, malaiDim, this))
    , list_(new RowList("Clipboard", WoundRow::rowHeight, rowsOf<WoundRow>(wounds_, spice)))
    , states_(new QStackedLayout) {
    auto* top = new QHBoxLayout;
    top->setSpacing(14);
    top->addWidget(search_, 1);
    top->addWidget(count_);
    hint_->setWordWrap(true);

    auto* listPage = new QWidget;
    auto* inset = new QVBoxLayout(listPage);
    inset->setContentsMargins(cardPadding, cardPadding, cardPadding, cardPadding);
    inset->addWidget(list_);
    states_->addWidget(listPage); // in the order of the states
    states_->addWidget(makeMessage({nothingHeld, "Anything you copy will be held here."}));
    states_->addWidget(makeMessage({nothingFound}));
    auto* content = new QWidget;
    content->setLayout(states_);
    auto* card = new Counter(false, content, this);
    card->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Expanding);
    card->setMinimumHeight(leastRows * WoundRow::rowHeight + 2 * cardPadding);

    auto* column = makeColumn(this, 12);
    column->addLayout(top);
    column->addWidget(hint_);
    column->addWidget(card, 1);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Expanding);

    search_->onChange([&spice](const QString& text) { spice.setSearch(text.toStdString()); });
    search_->onDown([this] { list_->setCurrent(0); });
    list_->onLeave([this] { search_->setFocus(Qt::TabFocusReason); });
    list_->onKey([this](QKeyEvent& key, int index) {
        return pressRowKey(key, static_cast<WoundRow&>(*list_->row(index))) || pressKey(key);
    });
    refresh();
}

/// Who types means the search.
bool MordanPanel::pressKey(QKeyEvent& key) {
    constexpr auto commands = Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier;
    const QString text = key.text();
    if ((key.modifiers() & commands) || text.isEmpty() || !text.at(0).isPrint()) {
        return false;
    }
    search_->type(text);
    return true;
}

void MordanPanel::refresh() {
    std::vector<Wound> wounds = spice_.visible();
    search_->setText(qString(spice_.search()));
    count_->setText(qString(countText(wounds.size(), spice_.items().size())));
    const QString hint = qString(spice_.watchingHint());
    hint_->setText(hint);
    hint_->setVisible(!hint.isEmpty());
    const State state = !wounds.empty() ? listed : spice_.items().empty() ? empty : unmatched;
    replace(wounds_, std::move(wounds), *list_);
    states_->setCurrentIndex(state);
}

} // namespace Mordan
