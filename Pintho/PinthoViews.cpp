#include "Pintho/PinthoViews.hpp"

#include "Pintho/Pintho.hpp"
#include "Pintho/PinthoTexts.hpp"
#include "Pintho/SeatViews.hpp"
#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Controls/AppIcon.hpp"
#include "ZorbelKit/Controls/Buttons.hpp"
#include "ZorbelKit/Controls/Capsule.hpp"
#include "ZorbelKit/Controls/Counter.hpp"
#include "ZorbelKit/Controls/Layouts.hpp"
#include "ZorbelKit/Controls/LineText.hpp"
#include "ZorbelKit/Controls/Reading.hpp"
#include "ZorbelKit/Controls/SteepDot.hpp"
#include "ZorbelKit/Controls/Symbol.hpp"
#include "ZorbelKit/Controls/Text.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>

#include <cstddef>

namespace Pintho {

using namespace ZorbelKit;

namespace {

// Points.
constexpr int gridGap = 8;
constexpr int smallGridGap = 6;
constexpr int sectionGap = 24;
constexpr int headingGap = 10;
constexpr int cardPaddingX = 14;
constexpr int cardPaddingY = 12;
constexpr int rowHeight = 36;
constexpr int rowGap = 12;
constexpr int seatColumn = 96;
constexpr int timeColumn = 62;
constexpr double symbolSize = 18;
constexpr int iconSide = 36;
constexpr int leadWidth = 24; // of the picture or symbol that begins a line

QHBoxLayout* makeRow(QWidget* parent, int paddingY) {
    auto* row = new QHBoxLayout(parent);
    row->setContentsMargins(cardPaddingX, paddingY, cardPaddingX, paddingY);
    row->setSpacing(rowGap);
    return row;
}

QFont mediumFont(double points) {
    return interfaceFont(points, QFont::Medium);
}

QLabel* makeParagraph(const QString& text, TextStyle style, const Color& colour, QWidget* parent) {
    QLabel* label = makeText(text, style, colour, parent);
    label->setWordWrap(true);
    return label;
}

/// The symbol that begins a line.
Symbol* makeLead(const QString& name, const Color& colour, QWidget* parent) {
    auto* symbol = new Symbol(name, symbolSize, colour, parent);
    symbol->setFixedWidth(leadWidth);
    return symbol;
}

/// What a card says while there is nothing to list on it.
QWidget* makeNothing(const QString& symbol, const QString& text, QWidget* parent) {
    auto* message = new QWidget(parent);
    auto* row = makeRow(message, cardPaddingY);
    row->addWidget(makeLead(symbol, malaiFaint, message));
    row->addWidget(makeParagraph(text, TextStyle::callout, malaiDim, message), 1);
    return message;
}

QWidget* makeSection(const QString& heading, QWidget* content, QWidget* parent) {
    auto* section = new QWidget(parent);
    auto* column = makeColumn(section, headingGap);
    column->addWidget(makeHeading(heading, section));
    column->addWidget(content);
    return section;
}

void write(Reading& reading, std::string_view text) {
    reading.setValue(qString(text));
}

void write(LineText& line, std::string_view text) {
    line.setLine(qString(lineText(text)));
}

/// A line of a card's list. A thin rule parts it from the line above it.
class CardRow : public QWidget {
public:
    CardRow(bool isFirst, QWidget* parent)
        : QWidget(parent)
        , isFirst_(isFirst) {
        setFixedHeight(rowHeight);
        setAccessible(*this, QAccessible::ListItem, "");
    }

protected:
    void paintEvent(QPaintEvent*) override {
        if (!isFirst_) {
            QPainter(this).fillRect(QRect(cardPaddingX, 0, width() - 2 * cardPaddingX, 1),
                                    qColor(rim.withOpacity(0.6)));
        }
    }

private:
    const bool isFirst_;
};

/// A seat's picture on a line.
class SeatPicture final : public QWidget {
public:
    explicit SeatPicture(QWidget* parent)
        : QWidget(parent) {
        setFixedSize(leadWidth, 16);
    }

    void setSeat(Seat seat) {
        if (seat_ != seat) {
            seat_ = seat;
            update();
        }
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        paintSeat(painter, rect(), seat_, {.ground = stall, .border = rim, .fill = malaiDim});
    }

private:
    Seat seat_ = Seat::left;
};

} // namespace

AnyView PinthoSpice::dashboard() {
    return AnyView::of<PinthoPanel>(*this);
}

AnyView PinthoSpice::menuSection() {
    return AnyView::of<PinthoMenuSection>(*this);
}

PinthoMenuSection::PinthoMenuSection(PinthoSpice& spice, QWidget* parent)
    : LiveView(spice, parent)
    , spice_(spice)
    , seats_(new SeatGrid(
          [&spice](Seat seat, QWidget* grid) -> SeatTile* { return new SmallSeatButton(spice, seat, grid); },
          smallGridGap, this))
    , required_(makeParagraph("Accessibility access required.", TextStyle::caption, malaiDim, this)) {
    auto* column = makeColumn(this, 8);
    column->addWidget(seats_);
    column->addWidget(required_);
    refresh();
}

void PinthoMenuSection::refresh() {
    seats_->refresh();
    required_->setVisible(!spice_.hasAccessibility());
}

PermissionNotice::PermissionNotice(PinthoSpice& spice, QWidget* parent)
    : QWidget(parent)
    , spice_(spice) {
    auto* content = new QWidget;
    auto* dot = new SteepDot(brass, false, 8, content);
    setAccessibleText(*dot, "Waiting for access");
    auto* lines = new QVBoxLayout;
    lines->setSpacing(3);
    lines->addWidget(makeText("Pintho cannot move windows yet.", mediumFont(13), malai, content));
    lines->addWidget(
        makeParagraph("macOS requires Accessibility access to position another application's windows.",
                      TextStyle::callout, malaiDim, content));
    hint_ = makeParagraph("", TextStyle::callout, malai, content);
    lines->addWidget(hint_);
    auto* grant = new BrassButton("Grant access", content);

    auto* row = makeRow(content, cardPaddingY + 2);
    row->addWidget(dot, 0, Qt::AlignTop);
    row->addLayout(lines, 1);
    row->addSpacing(4);
    row->addWidget(grant, 0, Qt::AlignVCenter);
    makeColumn(this, 0)->addWidget(new Counter(true, content, this));
    setAccessible(*this, QAccessible::Grouping, "Access");
    connect(grant, &QAbstractButton::clicked, this, [this] { ask(); });
    refresh();
}

void PermissionNotice::ask() {
    hasAsked_ = true;
    spice_.requestAccessibility();
    refresh();
}

void PermissionNotice::refresh() {
    const QString hint = qString(spice_.accessHint());
    hint_->setText(hint);
    hint_->setVisible(hasAsked_ && !hint.isEmpty());
    setVisible(!spice_.hasAccessibility());
}

FrontWindow::FrontWindow(const PinthoSpice& spice, QWidget* parent)
    : QWidget(parent)
    , spice_(spice) {
    auto* content = new QWidget;
    nothing_ =
        makeNothing("rectangle", "Bring a window to the front and Pintho will describe it here.", content);
    nothing_->setMinimumHeight(iconSide + 2 * cardPaddingY); // the page stays as high
    window_ = new QWidget(content);
    icon_ = new AppIcon(iconSide, "macwindow", window_);
    app_ = new LineText(mediumFont(13), malai, window_);
    title_ = new LineText(styleFont(TextStyle::callout), malaiDim, window_);
    size_ = new Reading("", std::nullopt, 13, QFont::Medium, window_);
    position_ = new Reading("", std::nullopt, 11, QFont::Normal, window_);
    position_->setColour(malaiDim);

    auto* names = new QVBoxLayout;
    names->setSpacing(2);
    names->addStretch();
    names->addWidget(app_);
    names->addWidget(title_);
    names->addStretch();
    auto* numbers = new QVBoxLayout;
    numbers->setSpacing(2);
    numbers->addStretch();
    for (Reading* reading : {size_, position_}) {
        reading->setMinimumWidth(1); // the card decides about the width
        reading->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
        numbers->addWidget(reading, 0, Qt::AlignRight);
    }
    numbers->addStretch();
    auto* row = makeRow(window_, cardPaddingY);
    row->addWidget(icon_);
    row->addLayout(names, 1);
    row->addLayout(numbers);

    auto* column = makeColumn(content, 0);
    column->addWidget(nothing_);
    column->addWidget(window_);
    makeColumn(this, 0)->addWidget(new Counter(false, content, this));
    setAccessible(*this, QAccessible::Grouping, "Front window");
    refresh();
}

void FrontWindow::refresh() {
    const auto& window = spice_.frontmost();
    if (window) {
        write(*window);
    }
    nothing_->setVisible(!window);
    window_->setVisible(window.has_value());
}

void FrontWindow::write(const WindowInfo& window) {
    if (iconOf_ != window.bundleID) {
        iconOf_ = window.bundleID;
        icon_->load(window.bundleID.empty() ? std::nullopt : spice_.iconOf(window.bundleID));
    }
    Pintho::write(*app_, window.app);
    Pintho::write(*title_, window.title.value_or(""));
    title_->setVisible(!title_->text().isEmpty());
    Pintho::write(*size_, sizeText(window));
    Pintho::write(*position_, positionText(window));
}

class PlacementRow final : public CardRow {
public:
    PlacementRow(bool isFirst, QWidget* parent)
        : CardRow(isFirst, parent)
        , picture_(new SeatPicture(this))
        , app_(new LineText(styleFont(TextStyle::callout), malai, this))
        , seat_(new LineText(styleFont(TextStyle::callout), malaiDim, this))
        , time_(new Reading("", std::nullopt, 12, QFont::Normal, this)) {
        seat_->setFixedWidth(seatColumn);
        seat_->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
        time_->setColour(malaiFaint);
        time_->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
        auto* row = makeRow(this, 0);
        row->addWidget(picture_);
        row->addWidget(app_, 1);
        row->addWidget(seat_);
        // In a column as wide in every line, at its right end.
        auto* times = new QGridLayout;
        times->setColumnMinimumWidth(0, timeColumn);
        times->addWidget(time_, 0, 0, Qt::AlignRight | Qt::AlignVCenter);
        row->addLayout(times);
    }

    void show(const Placement& placement) {
        const QString time = timeOfDay(placement.at);
        picture_->setSeat(placement.seat);
        write(*app_, placement.app);
        write(*seat_, title(placement.seat));
        time_->setValue(time);
        setAccessibleText(*this, qString(spokenText(placement, time.toStdString())));
    }

private:
    SeatPicture* picture_;
    LineText* app_;
    LineText* seat_;
    Reading* time_;
};

Recent::Recent(const PinthoSpice& spice, QWidget* parent)
    : QWidget(parent)
    , spice_(spice) {
    auto* content = new QWidget;
    nothing_ = makeNothing("rectangle.lefthalf.filled", "Nothing yet. Windows you move will be listed here.",
                           content);
    list_ = new QWidget(content);
    setAccessible(*list_, QAccessible::List, "Recently placed");
    auto* lines = makeColumn(list_, 0);
    for (std::size_t index = 0; index < PinthoSpice::mostPlacements; ++index) {
        rows_.push_back(new PlacementRow(index == 0, list_));
        lines->addWidget(rows_.back());
    }
    auto* column = makeColumn(content, 0);
    column->addWidget(nothing_);
    column->addWidget(list_);
    makeColumn(this, 0)->addWidget(new Counter(false, content, this));
    refresh();
}

void Recent::refresh() {
    const auto& placements = spice_.placements();
    for (std::size_t index = 0; index < rows_.size(); ++index) {
        if (index < placements.size()) {
            rows_[index]->show(placements[index]);
        }
        rows_[index]->setVisible(index < placements.size());
    }
    nothing_->setVisible(placements.empty());
    list_->setVisible(!placements.empty());
}

class ScreenRow final : public CardRow {
public:
    ScreenRow(bool isFirst, QWidget* parent)
        : CardRow(isFirst, parent)
        , symbol_(makeLead("display", malaiDim, this))
        , name_(new LineText(styleFont(TextStyle::callout), malai, this))
        , main_(new Capsule("Main", spiceColour("pintho"), this))
        , size_(new Reading("", std::nullopt, 12, QFont::Normal, this)) {
        name_->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed); // the badge follows it
        size_->setColour(malaiDim);
        size_->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
        auto* row = makeRow(this, 0);
        row->addWidget(symbol_);
        row->addWidget(name_);
        row->addWidget(main_);
        row->addStretch(1);
        row->addWidget(size_);
    }

    void show(const ScreenInfo& screen) {
        symbol_->setSymbol(qString(symbolName(screen)));
        write(*name_, screen.name);
        main_->setVisible(screen.isMain);
        write(*size_, sizeText(screen));
        setAccessibleText(*this, qString(spokenText(screen)));
    }

private:
    Symbol* symbol_;
    LineText* name_;
    Capsule* main_;
    Reading* size_;
};

Displays::Displays(const PinthoSpice& spice, QWidget* parent)
    : QWidget(parent)
    , spice_(spice)
    , list_(new QWidget) {
    setAccessible(*list_, QAccessible::List, "Displays");
    makeColumn(list_, 0);
    makeColumn(this, 0)->addWidget(new Counter(false, list_, this));
    refresh();
}

void Displays::refresh() {
    const auto& screens = spice_.screens();
    while (rows_.size() < screens.size()) {
        rows_.push_back(new ScreenRow(rows_.empty(), list_));
        list_->layout()->addWidget(rows_.back());
    }
    for (std::size_t index = 0; index < rows_.size(); ++index) {
        if (index < screens.size()) {
            rows_[index]->show(screens[index]);
        }
        rows_[index]->setVisible(index < screens.size());
    }
}

PinthoPanel::PinthoPanel(PinthoSpice& spice, QWidget* parent)
    : LiveView(spice, parent)
    , spice_(spice)
    , notice_(new PermissionNotice(spice, this))
    , front_(new FrontWindow(spice, this))
    , seats_(new SeatGrid(
          [&spice](Seat seat, QWidget* grid) -> SeatTile* { return new SeatButton(spice, seat, grid); },
          gridGap, nullptr))
    , recent_(new Recent(spice, nullptr))
    , displays_(new Displays(spice, nullptr)) {
    displaysSection_ = makeSection("Displays", displays_, this);
    auto* column = makeColumn(this, sectionGap);
    column->addWidget(notice_);
    column->addWidget(front_);
    column->addWidget(makeSection("Put it here", seats_, this));
    column->addWidget(makeSection("Recently placed", recent_, this));
    column->addWidget(displaysSection_);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    refresh();
}

void PinthoPanel::refresh() {
    notice_->refresh();
    front_->refresh();
    seats_->refresh();
    recent_->refresh();
    displays_->refresh();
    displaysSection_->setVisible(!spice_.screens().empty()); // none while no monitor is connected
}

} // namespace Pintho
