#include "Platforms/Linux/MenuBar/TrayMenuWidget.hpp"

#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QAction>
#include <QActionGroup>
#include <QBuffer>
#include <QIcon>
#include <QImageReader>
#include <QMultiHash>
#include <QPainter>

#include <algorithm>
#include <utility>

namespace Linux {

namespace {

constexpr int largestPicture = 256;  // pixels a side; larger ones are not decoded
constexpr int mostPictures = 200;    // found or decoded in one go: a hostile menu must not hold up the bar
constexpr int pictureSide = 16;      // points
constexpr int placeholderId = -1;    // an entry of ours, where a submenu has none
constexpr int tintedResolutions = 3; // whole numbers of pixels to a point

QIcon decoded(QByteArray data) {
    QBuffer buffer(&data);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, "png");
    const QSize size = reader.size();
    if (size.isEmpty() || size.width() > largestPicture || size.height() > largestPicture) {
        return {};
    }
    const QImage image = reader.read();
    return image.isNull() ? QIcon() : QIcon(QPixmap::fromImage(image));
}

/// Symbolic pictures are shapes, mostly black ones.
QIcon tinted(const QIcon& icon) {
    QIcon result;
    for (int resolution = 1; resolution <= tintedResolutions; ++resolution) {
        QPixmap picture = icon.pixmap(QSize(pictureSide, pictureSide), resolution);
        if (picture.isNull()) {
            continue;
        }
        QPainter painter(&picture);
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(QRectF(QPointF(), picture.deviceIndependentSize()),
                         ZorbelKit::qColor(ZorbelKit::malai));
        painter.end();
        result.addPixmap(picture);
    }
    return result;
}

QIcon iconOf(const TrayMenuEntry& entry) {
    if (QIcon icon = entry.iconData.isEmpty() ? QIcon() : decoded(entry.iconData); !icon.isNull()) {
        return icon;
    }
    const QIcon icon = entry.iconName.isEmpty() ? QIcon() : QIcon::fromTheme(entry.iconName);
    return !icon.isNull() && entry.iconName.endsWith(QLatin1String("-symbolic")) ? tinted(icon) : icon;
}

/// Stands in a submenu that has nothing to show yet: the toolkit does not open an empty one.
const TrayMenuEntry& placeholder() {
    static const TrayMenuEntry entry = [] {
        TrayMenuEntry made;
        made.id = placeholderId;
        made.isEnabled = false;
        made.label = QStringLiteral("…");
        return made;
    }();
    return entry;
}

bool isShown(const TrayMenuEntry& entry) {
    return entry.isVisible && !entry.isSeparator;
}

} // namespace

/// One entry's place in the menu.
class TrayMenuWidget::Row : public QAction {
public:
    Row(const TrayMenuEntry& entry, QObject* parent)
        : QAction(parent)
        , id(entry.id)
        , isSeparatorRow(entry.isSeparator)
        , hasSubmenu(entry.hasSubmenu) {
        setSeparator(entry.isSeparator);
        setIconVisibleInMenu(true);
    }

    /// Whether it can show this entry by changing what it says.
    bool fits(const TrayMenuEntry& entry) const {
        return id == entry.id && isSeparatorRow == entry.isSeparator && hasSubmenu == entry.hasSubmenu;
    }

    /// `picturesLeft` counts down.
    void show(const TrayMenuEntry& entry, bool canBeChosen, int& picturesLeft) {
        setText(entry.shortcut.isEmpty() ? entry.label : entry.label + '\t' + entry.shortcut);
        setEnabled(entry.isEnabled && canBeChosen);
        setCheckable(entry.toggle != TrayMenuEntry::Toggle::none);
        // A radio mark is drawn for members of a group; which of them is on is the program's business.
        if (entry.toggle != TrayMenuEntry::Toggle::radio) {
            setActionGroup(nullptr);
        } else if (!actionGroup()) {
            setActionGroup(new QActionGroup(this));
        }
        setChecked(entry.isChecked && isCheckable());
        if (entry.iconData != iconData_ || entry.iconName != iconName_) {
            iconData_ = entry.iconData;
            iconName_ = entry.iconName;
            const bool hasPicture = !iconData_.isEmpty() || !iconName_.isEmpty();
            setIcon(hasPicture && picturesLeft-- > 0 ? iconOf(entry) : QIcon());
        }
    }

    const int id;
    const bool isSeparatorRow;
    const bool hasSubmenu;

private:
    QByteArray iconData_; // of the picture shown
    QString iconName_;
};

TrayMenuWidget::TrayMenuWidget(const Program& program, int id, bool canBlend)
    : TrayMenuWidget(program, id, canBlend, 1, nullptr) {
    refresh();
}

TrayMenuWidget::TrayMenuWidget(const Program& program, int id, bool canBlend, int depth, QWidget* parent)
    : SuiteMenu(canBlend, parent)
    , program_(program)
    , id_(id)
    , depth_(depth) {
}

bool TrayMenuWidget::hasRows(const TrayMenuEntry& entry) {
    return std::any_of(entry.children.begin(), entry.children.end(), isShown);
}

void TrayMenuWidget::refresh() {
    std::vector<const TrayMenuEntry*> entries;
    const TrayMenuEntry* menu = program_.entry(id_);
    if (menu && hasRows(*menu)) {
        for (const TrayMenuEntry& entry : menu->children) {
            if (entry.isVisible) {
                entries.push_back(&entry);
            }
        }
    }
    if (entries.empty()) {
        entries.push_back(&placeholder());
    }
    change([&] { arrange(entries); });
    const auto rows = actions();
    for (const QAction* row : rows) {
        auto* submenu = dynamic_cast<TrayMenuWidget*>(row->menu());
        if (submenu && submenu->isVisible()) {
            submenu->refresh();
        }
    }
}

void TrayMenuWidget::arrange(const std::vector<const TrayMenuEntry*>& entries) {
    QMultiHash<int, Row*> former;
    const auto rows = actions();
    for (QAction* row : rows) {
        auto* known = static_cast<Row*>(row); // there are no others
        former.insert(known->id, known);
    }
    std::vector<Row*> wanted;
    wanted.reserve(entries.size());
    for (const TrayMenuEntry* entry : entries) {
        auto found = former.find(entry->id);
        while (found != former.end() && found.key() == entry->id && !found.value()->fits(*entry)) {
            ++found;
        }
        const bool isKnown = found != former.end() && found.key() == entry->id;
        wanted.push_back(isKnown ? found.value() : &makeRow(*entry));
        if (isKnown) {
            former.erase(found);
        }
    }
    for (Row* row : std::as_const(former)) {
        removeAction(row);
        removeRow(*row);
    }
    int picturesLeft = mostPictures;
    for (std::size_t index = 0; index < wanted.size(); ++index) {
        const TrayMenuEntry& entry = *entries[index];
        wanted[index]->show(entry, !entry.hasSubmenu || depth_ < deepestTrayMenu, picturesLeft);
        QAction* there = actions().value(static_cast<qsizetype>(index));
        if (there != wanted[index]) {
            insertAction(there, wanted[index]);
        }
    }
}

TrayMenuWidget::Row& TrayMenuWidget::makeRow(const TrayMenuEntry& entry) {
    auto* row = new Row(entry, this);
    if (!entry.hasSubmenu) {
        connect(row, &QAction::triggered, this, [this, id = entry.id] { program_.chosen(id); });
        return *row;
    }
    if (depth_ >= deepestTrayMenu) {
        return *row; // stands there, but leads nowhere
    }
    auto* submenu = new TrayMenuWidget(program_, entry.id, canBlend(), depth_ + 1, this);
    submenu->setAnchor(anchor());
    submenu->arrange({&placeholder()});
    connect(submenu, &QMenu::aboutToShow, submenu, [submenu] {
        if (!submenu->isVisible()) { // else it is only measured again
            submenu->program_.submenuOpened(submenu->id_);
            submenu->refresh();
        }
    });
    connect(submenu, &QMenu::aboutToHide, submenu,
            [submenu] { submenu->program_.submenuClosed(submenu->id_); });
    row->setMenu(submenu);
    return *row;
}

void TrayMenuWidget::removeRow(Row& row) {
    if (QMenu* submenu = row.menu()) {
        submenu->hide();
        submenu->deleteLater();
    }
    row.deleteLater(); // it may be what was just chosen
}

} // namespace Linux
