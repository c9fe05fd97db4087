#include "Ledgra/TileViews.hpp"

#include "Ledgra/FileDragViews.hpp"
#include "Ledgra/FileIconViews.hpp"
#include "Ledgra/Ledgra.hpp"
#include "Ledgra/LedgraTexts.hpp"
#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Controls/Symbol.hpp"
#include "ZorbelKit/Controls/Text.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QTextLayout>

#include <algorithm>
#include <cmath>
#include <unordered_map>
#include <utility>

namespace Ledgra {

using namespace ZorbelKit;

namespace {

// Points.
constexpr int iconTop = 8;
constexpr int nameTop = 52;
constexpr int namePadding = 4;
constexpr double nameSize = 10;
constexpr double removeSymbol = 16;
constexpr double removeGround = 14; // the disc that shows through the cross
constexpr int gap = 4;              // between tiles in the grid; in the row there is none

std::shared_ptr<const FileIcon> iconOf(const Staged& item) {
    return item.icon ? item.icon : std::make_shared<const FileIcon>(FileIcon::Look{});
}

} // namespace

QStringList nameLines(const QString& name, const QFont& font, double width) {
    if (name.isEmpty()) {
        return {};
    }
    QTextLayout layout(name, font);
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    layout.beginLayout();
    QTextLine first = layout.createLine();
    first.setLineWidth(width);
    const int begin = first.textLength();
    layout.endLayout();
    const QString rest = name.mid(begin).trimmed();
    if (rest.isEmpty()) {
        return {name.trimmed()};
    }
    return {name.left(begin).trimmed(), QFontMetricsF(font).elidedText(rest, Qt::ElideMiddle, width)};
}

RemoveButton::RemoveButton(QWidget* parent)
    : HoverButton(parent) {
    setFocusPolicy(Qt::NoFocus); // on the keyboard, the tile's own key does the same
    setCursor(Qt::ArrowCursor);
    setFixedSize(side, side);
}

void RemoveButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(qColor(stall));
    const QPointF centre = QRectF(rect()).center();
    painter.drawEllipse(centre, removeGround / 2, removeGround / 2);
    const Color colour = malai.mixedWith(cream, hover());
    paintSymbol(painter, "xmark.circle.fill", centre, removeSymbol, isDown() ? malaiDim : colour);
}

StagedTile::StagedTile(const Staged& item, LedgraSpice& spice, QWidget* parent)
    : Tile(parent)
    , item_(item)
    , spice_(spice)
    , icon_(new FileIconView(iconOf(item), iconSize, this))
    , remove_(new RemoveButton(this)) {
    const QString title = qString(titleText(item.name));
    setFont(interfaceFont(nameSize));
    lines_ = nameLines(title, font(), tileSize.width() - 2 * namePadding);
    setFocusPolicy(Qt::StrongFocus);
    setFixedSize(tileSize);
    icon_->move((tileSize.width() - iconSize) / 2, iconTop);
    remove_->move(tileSize.width() - RemoveButton::side, 0);
    setAccessible(*this, QAccessible::Button, title);
    setToolTip(toolTipText(tipText(item.url)));
    const QString removeName = QStringLiteral("Remove %1").arg(title);
    setAccessible(*remove_, QAccessible::Button, removeName);
    remove_->setToolTip(QStringLiteral("Take off the shelf"));
    connect(this, &QAbstractButton::clicked, this, [this] { spice_.reveal(item_); });
    connect(remove_, &QAbstractButton::clicked, this, [this] { spice_.remove(item_); });
    refreshButton();
}

void StagedTile::refreshButton() {
    remove_->setVisible(isHovered() || hasFocus());
}

void StagedTile::enterEvent(QEnterEvent* event) {
    Tile::enterEvent(event);
    refreshButton();
}

void StagedTile::leaveEvent(QEvent* event) {
    Tile::leaveEvent(event);
    refreshButton();
}

void StagedTile::hideEvent(QHideEvent* event) {
    Tile::hideEvent(event);
    pressedAt_.reset();
    refreshButton();
}

void StagedTile::focusInEvent(QFocusEvent* event) {
    Tile::focusInEvent(event);
    refreshButton();
}

void StagedTile::focusOutEvent(QFocusEvent* event) {
    Tile::focusOutEvent(event);
    refreshButton();
}

void StagedTile::keyPressEvent(QKeyEvent* event) {
    const bool isRemoval = event->key() == Qt::Key_Delete || event->key() == Qt::Key_Backspace;
    if (isRemoval && !event->isAutoRepeat() && !(event->modifiers() & ~Qt::KeypadModifier)) {
        spice_.remove(item_);
        return;
    }
    Tile::keyPressEvent(event);
}

void StagedTile::mousePressEvent(QMouseEvent* event) {
    Tile::mousePressEvent(event);
    if (event->button() != Qt::LeftButton) {
        return;
    }
    pressedAt_ = event->position().toPoint();
    isDragged_ = false;
    isThere_ = true; // until its disk says otherwise; one far away may never answer
    spice_.look(item_, lifetime_.guard([this](bool isThere) { isThere_ = isThere; }));
}

void StagedTile::mouseMoveEvent(QMouseEvent* event) {
    if (isDragged_) {
        return; // the button would take itself for pressed again
    }
    const bool isHeld = (event->buttons() & Qt::LeftButton) && pressedAt_;
    if (!isHeld ||
        (event->position().toPoint() - *pressedAt_).manhattanLength() < QApplication::startDragDistance()) {
        Tile::mouseMoveEvent(event);
        return;
    }
    pressedAt_.reset();
    isDragged_ = true;
    setDown(false); // letting go is a drop now and no click
    if (isThere_) {
        FileDrag::begin(*this, item_.url, icon_->picture());
    }
}

void StagedTile::mouseReleaseEvent(QMouseEvent* event) {
    pressedAt_.reset();
    Tile::mouseReleaseEvent(event);
}

void StagedTile::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF ground = QRectF(rect()).adjusted(1, 1, -1, -1);
    if (hover() > 0 || isDown()) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(isDown() ? qColor(stall) : qColor(kettlePeak.withOpacity(hover())));
        painter.drawRoundedRect(ground, radiusControl, radiusControl);
    }
    painter.setFont(font());
    painter.setPen(qColor(malai));
    const double height = QFontMetricsF(font()).height();
    for (int index = 0; index < lines_.size(); ++index) {
        const QRectF line(0, nameTop + index * height, width(), height);
        painter.drawText(line, Qt::AlignCenter | Qt::TextSingleLine | Qt::TextDontClip, lines_[index]);
    }
    if (showsFocus()) {
        paintFocusRing(painter, ground, radiusControl);
    }
}

StagedTiles::StagedTiles(LedgraSpice& spice, Flow flow, QWidget* parent)
    : QWidget(parent)
    , spice_(spice)
    , flow_(flow) {
    setSizePolicy(flow == Flow::grid ? QSizePolicy::Preferred : QSizePolicy::Minimum, QSizePolicy::Fixed);
    setAccessible(*this, QAccessible::List, "Files");
}

bool StagedTiles::refresh() {
    std::unordered_map<Uuid, StagedTile*> known;
    for (StagedTile* tile : tiles_) {
        known.emplace(tile->item().id, tile);
    }
    std::vector<StagedTile*> next;
    std::vector<StagedTile*> added;
    for (const Staged& item : spice_.staged()) {
        const auto found = known.find(item.id);
        if (found == known.end()) {
            added.push_back(new StagedTile(item, spice_, this));
            next.push_back(added.back());
        } else {
            next.push_back(found->second);
            known.erase(found);
        }
    }
    if (next == tiles_) {
        return false;
    }
    passOnFocus(next);
    for (const auto& [id, tile] : known) {
        tile->hide();
        tile->deleteLater(); // it may be its own button that removed it
    }
    tiles_ = std::move(next);
    arrange();
    for (StagedTile* tile : added) {
        tile->show();
    }
    updateGeometry();
    return !added.empty();
}

/// The keyboard goes from a tile that goes to the next that stays, else to the one before it.
void StagedTiles::passOnFocus(const std::vector<StagedTile*>& staying) {
    const auto held = std::ranges::find_if(tiles_, [](const auto* tile) { return tile->hasFocus(); });
    const auto stays = [&](const StagedTile* tile) {
        return std::ranges::find(staying, tile) != staying.end();
    };
    if (held == tiles_.end() || stays(*held)) {
        return;
    }
    const auto reason = (*held)->showsFocus() ? Qt::TabFocusReason : Qt::OtherFocusReason;
    auto heir = std::find_if(held, tiles_.end(), stays);
    if (heir == tiles_.end()) {
        const auto before = std::find_if(std::make_reverse_iterator(held), tiles_.rend(), stays);
        heir = before == tiles_.rend() ? tiles_.end() : std::prev(before.base());
    }
    if (heir != tiles_.end()) {
        (*heir)->setFocus(reason);
        reached_(**heir);
    } else {
        setFocus(Qt::OtherFocusReason); // what it shows has gone, and no other control is meant
    }
}

int StagedTiles::columns(int width) const {
    if (flow_ == Flow::row) {
        return std::max(static_cast<int>(tiles_.size()), 1);
    }
    return std::max((width + gap) / (StagedTile::tileSize.width() + gap), 1);
}

int StagedTiles::heightForWidth(int width) const {
    const int perRow = columns(width);
    const int rows = std::max((static_cast<int>(tiles_.size()) + perRow - 1) / perRow, 1);
    return rows * StagedTile::tileSize.height() + (rows - 1) * gap;
}

QSize StagedTiles::sizeHint() const {
    const int count = std::max(static_cast<int>(tiles_.size()), 1);
    const int across = flow_ == Flow::row ? count : std::min(count, 6);
    const QMargins margins = contentsMargins();
    return {across * StagedTile::tileSize.width() + margins.left() + margins.right(),
            heightForWidth(width())};
}

QSize StagedTiles::minimumSizeHint() const {
    return flow_ == Flow::row ? sizeHint() : StagedTile::tileSize;
}

void StagedTiles::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    arrange();
}

/// In the grid the columns are spread over the width.
void StagedTiles::arrange() {
    const int perRow = columns(width());
    const int tileWidth = StagedTile::tileSize.width();
    const double spread = flow_ == Flow::row || perRow < 2
                              ? tileWidth
                              : static_cast<double>(width() - tileWidth) / (perRow - 1);
    for (int index = 0; index < static_cast<int>(tiles_.size()); ++index) {
        tiles_[static_cast<std::size_t>(index)]->move(static_cast<int>(std::lround(index % perRow * spread)),
                                                      index / perRow * (StagedTile::tileSize.height() + gap));
    }
}

bool StagedTiles::moveFocus(int from, int to) {
    if (to < 0 || to >= static_cast<int>(tiles_.size()) || to == from) {
        return false;
    }
    StagedTile& tile = *tiles_[static_cast<std::size_t>(to)];
    tile.setFocus(Qt::TabFocusReason);
    reached_(tile);
    return true;
}

void StagedTiles::keyPressEvent(QKeyEvent* event) {
    const auto found = std::ranges::find_if(tiles_, [](const auto* tile) { return tile->hasFocus(); });
    if (found == tiles_.end() || (event->modifiers() & ~Qt::KeypadModifier)) {
        QWidget::keyPressEvent(event);
        return;
    }
    const int from = static_cast<int>(found - tiles_.begin());
    const int last = static_cast<int>(tiles_.size()) - 1;
    const int perRow = columns(width());
    int to = from;
    switch (event->key()) {
    case Qt::Key_Left:
        to = from - 1;
        break;
    case Qt::Key_Right:
        to = from + 1;
        break;
    case Qt::Key_Up:
        to = flow_ == Flow::grid ? from - perRow : from;
        break;
    case Qt::Key_Down:
        to = flow_ == Flow::grid ? from + perRow : from;
        break;
    case Qt::Key_Home:
        to = 0;
        break;
    case Qt::Key_End:
        to = last;
        break;
    default:
        break;
    }
    if (!moveFocus(from, to)) {
        QWidget::keyPressEvent(event); // past an end the key is whoever holds the tiles'
    }
}

} // namespace Ledgra
