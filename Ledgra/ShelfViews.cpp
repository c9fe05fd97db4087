#include "Ledgra/ShelfViews.hpp"

#include "Ledgra/FileDragViews.hpp"
#include "Ledgra/FileUrls.hpp"
#include "Ledgra/Ledgra.hpp"
#include "Ledgra/LedgraTexts.hpp"
#include "Ledgra/ShelfPanel.hpp"
#include "Ledgra/TileViews.hpp"
#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Controls/Buttons.hpp"
#include "ZorbelKit/Controls/Layouts.hpp"
#include "ZorbelKit/Controls/Symbol.hpp"
#include "ZorbelKit/Controls/Text.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QCoreApplication>
#include <QDragEnterEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QMimeData>
#include <QPainter>
#include <QScrollBar>
#include <QStackedLayout>
#include <QSysInfo>
#include <QVBoxLayout>
#include <QWheelEvent>

#include <algorithm>
#include <string_view>

namespace Ledgra {

using namespace ZorbelKit;

namespace {

// Points.
constexpr int border = 2; // the line itself and a little air
constexpr int paddingX = 8;
constexpr int paddingTop = 6;
constexpr int headerHeight = 26;
constexpr int headerInset = 6; // in line with the tiles' names
constexpr double traySize = 30;
constexpr int trayGap = 6;
constexpr double wellInset = 8.5; // of the dashed line round the place to drop on
constexpr int fadeWidth = 26;
constexpr int reachMargin = 24; // what is kept in sight beside a tile that the keyboard comes to

constexpr double fadeOpacity = 0.9;
constexpr double groundOpacity = 0.94; // where the desktop blends
constexpr int wheelNotch = 120;        // an eighth of a degree each

constexpr const char* listType = "text/uri-list";

std::string_view view(const QByteArray& bytes) {
    return {bytes.constData(), static_cast<std::size_t>(bytes.size())};
}

Color ground(bool isTargeted) {
    const Color colour = isTargeted ? kettle.mixedWith(kettleHi, 0.7) : kettle;
    return desktopBlends() ? colour.withOpacity(groundOpacity) : colour;
}

void setTextColour(QLabel& label, const Color& colour) {
    QPalette colours = label.palette();
    colours.setColor(QPalette::WindowText, qColor(colour));
    label.setPalette(colours);
}

} // namespace

AnyView LedgraSpice::shelf() {
    return AnyView::of<ShelfView>(*this);
}

/// Lies over the row and takes no part in what the pointer does.
class TileStrip::Fade final : public QWidget {
public:
    Fade(const QScrollBar& bar, QWidget* parent)
        : QWidget(parent)
        , bar_(bar)
        , colour_(kettle) {
        setAttribute(Qt::WA_TransparentForMouseEvents);
        connect(&bar, &QScrollBar::valueChanged, this, [this] { update(); });
        connect(&bar, &QScrollBar::rangeChanged, this, [this] { update(); });
    }

    void setColour(const Color& colour) {
        colour_ = colour;
        update();
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        if (bar_.value() > bar_.minimum()) {
            paintEnd(painter, 0, fadeWidth);
        }
        if (bar_.value() < bar_.maximum()) {
            paintEnd(painter, width(), width() - fadeWidth);
        }
    }

private:
    void paintEnd(QPainter& painter, int outer, int inner) const {
        QLinearGradient shade(outer, 0, inner, 0);
        shade.setColorAt(0, qColor(colour_.withOpacity(fadeOpacity)));
        shade.setColorAt(1, qColor(colour_.withOpacity(0)));
        painter.fillRect(QRect(std::min(outer, inner), 0, fadeWidth, height()), shade);
    }

    const QScrollBar& bar_;
    Color colour_;
};

TileStrip::TileStrip(StagedTiles& tiles, QWidget* parent)
    : QScrollArea(parent)
    , fade_(new Fade(*horizontalScrollBar(), this)) {
    setFrameShape(QFrame::NoFrame);
    setWidgetResizable(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFocusPolicy(Qt::NoFocus);
    QPalette clear = palette();
    clear.setColor(QPalette::Window, Qt::transparent);
    setPalette(clear);
    setWidget(&tiles);
    horizontalScrollBar()->setSingleStep(StagedTile::tileSize.width());
}

void TileStrip::setGround(const Color& colour) {
    fade_->setColour(colour);
}

void TileStrip::scrollToEnd() {
    QCoreApplication::sendPostedEvents(widget(), QEvent::LayoutRequest);
    QCoreApplication::sendPostedEvents(this, QEvent::LayoutRequest);
    horizontalScrollBar()->setValue(horizontalScrollBar()->maximum());
}

/// A wheel that turns up and down moves the row as well.
void TileStrip::wheelEvent(QWheelEvent* event) {
    const QPoint pixels = event->pixelDelta();
    const QPoint angle = event->angleDelta();
    int distance = std::abs(pixels.x()) > std::abs(pixels.y()) ? pixels.x() : pixels.y();
    if (distance == 0) {
        const int turned = std::abs(angle.x()) > std::abs(angle.y()) ? angle.x() : angle.y();
        distance = turned * StagedTile::tileSize.width() / wheelNotch;
    }
    QScrollBar& bar = *horizontalScrollBar();
    bar.setValue(bar.value() - distance);
    event->accept();
}

void TileStrip::resizeEvent(QResizeEvent* event) {
    QScrollArea::resizeEvent(event);
    fade_->setGeometry(rect());
    fade_->raise();
}

ShelfView::ShelfView(LedgraSpice& spice, QWidget* parent)
    : LiveView(spice, parent)
    , spice_(spice)
    , nothing_(new QWidget)
    , tray_(new Symbol("tray", traySize, malaiDim, nothing_))
    , hint_(makeText("", interfaceFont(12, QFont::Medium), malaiDim, nothing_))
    , files_(new QWidget)
    , count_(makeText("", interfaceFont(12, QFont::Medium), malaiDim, files_))
    , clear_(new PlainButton("Clear", malaiDim, files_))
    , tiles_(new StagedTiles(spice, StagedTiles::Flow::row))
    , strip_(new TileStrip(*tiles_, files_))
    , states_(new QStackedLayout(this)) {
    auto* hints = makeColumn(nothing_, trayGap);
    hints->addStretch();
    hints->addWidget(tray_, 0, Qt::AlignHCenter);
    hint_->setAlignment(Qt::AlignHCenter);
    hints->addWidget(hint_);
    hints->addStretch();

    auto* header = new QHBoxLayout;
    header->setContentsMargins(paddingX + headerInset, 0, paddingX, 0);
    header->addWidget(count_);
    header->addStretch();
    clear_->setFixedHeight(headerHeight - 2);
    header->addWidget(clear_);
    auto* column = makeColumn(files_, 0);
    column->setContentsMargins(border, paddingTop, border, 0);
    column->addLayout(header);
    tiles_->setContentsMargins(paddingX - border, 0, paddingX - border, 0);
    strip_->setFixedHeight(StagedTile::tileSize.height());
    column->addWidget(strip_);
    column->addStretch();

    states_->addWidget(nothing_);
    states_->addWidget(files_);
    setAcceptDrops(true);
    setAccessible(*this, QAccessible::Grouping, "Shelf");
    connect(clear_, &QAbstractButton::clicked, this, [this] { spice_.clear(); });
    tiles_->onReach([this](QWidget& tile) { strip_->ensureWidgetVisible(&tile, reachMargin, 0); });
    refresh();
}

QSize ShelfView::sizeHint() const {
    return {static_cast<int>(ShelfPanel::size.width), static_cast<int>(ShelfPanel::size.height)};
}

void ShelfView::refresh() {
    const std::size_t count = spice_.staged().size();
    const QString text = qString(count == 0 ? emptyText(targeted_) : filesText(count));
    hint_->setText(qString(emptyText(targeted_)));
    tray_->setColour(targeted_ ? spice_.accent() : malaiDim);
    count_->setText(qString(filesText(count)));
    setAccessibleDescription(text);
    if (count == 0 && files_->isAncestorOf(window()->focusWidget())) {
        setFocus(Qt::OtherFocusReason); // no other window's control is meant
    }
    const bool hasMore = tiles_->refresh();
    QWidget* shown = count == 0 ? nothing_ : files_;
    if (states_->currentWidget() != shown) {
        states_->setCurrentWidget(shown);
        update();
    }
    if (hasMore) {
        strip_->scrollToEnd();
    }
}

void ShelfView::hideEvent(QHideEvent* event) {
    setTargeted(false); // what is hidden under a drag is not told that it has left
    LiveView::hideEvent(event);
}

void ShelfView::setTargeted(bool targeted) {
    if (targeted_ != targeted) {
        targeted_ = targeted;
        strip_->setGround(ground(targeted));
        setTextColour(*hint_, targeted ? malai : malaiDim);
        refresh();
        update();
    }
}

/// Whether it can be dropped here. Whatever is proposed, files are only referred to: where copying is not
/// offered, nothing is to be done with them at all.
bool ShelfView::take(QDropEvent& event) {
    if (FileDrag::isOwn(event) || !event.mimeData()->hasFormat(listType)) {
        event.ignore();
        return false;
    }
    event.setDropAction(event.possibleActions() & Qt::CopyAction ? Qt::CopyAction : Qt::IgnoreAction);
    event.accept();
    return true;
}

void ShelfView::dragEnterEvent(QDragEnterEvent* event) {
    setTargeted(take(*event));
}

void ShelfView::dragMoveEvent(QDragMoveEvent* event) {
    setTargeted(take(*event));
}

void ShelfView::dragLeaveEvent(QDragLeaveEvent*) {
    setTargeted(false);
}

/// The program that drags has its answer before the list is read.
void ShelfView::dropEvent(QDropEvent* event) {
    setTargeted(false);
    if (!take(*event)) {
        return;
    }
    // As bytes: the toolkit's own URLs lose names that are no UTF-8.
    QMetaObject::invokeMethod(
        QCoreApplication::instance(),
        [stage = spice_.staging(), list = event->mimeData()->data(listType)] {
            stage(filesInList(view(list), view(QSysInfo::machineHostName().toUtf8())));
        },
        Qt::QueuedConnection);
}

void ShelfView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double radius = desktopBlends() ? radiusWindow : 0;
    painter.setBrush(qColor(ground(targeted_)));
    painter.setPen(QPen(qColor(targeted_ ? rim.mixedWith(spice_.accent(), 0.8) : rim), 1));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
    if (spice_.staged().empty()) {
        QPen dashes(qColor(targeted_ ? spice_.accent() : malaiFaint.withOpacity(0.5)), 1.5);
        dashes.setDashPattern({3.5, 3});
        painter.setPen(dashes);
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(QRectF(rect()).adjusted(wellInset, wellInset, -wellInset, -wellInset),
                                radiusWindow - wellInset + 2, radiusWindow - wellInset + 2);
    }
}

} // namespace Ledgra
