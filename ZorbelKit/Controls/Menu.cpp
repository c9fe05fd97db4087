#include "ZorbelKit/Controls/Menu.hpp"

#include "ZorbelKit/Controls/Text.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QMouseEvent>
#include <QPainter>
#include <QProxyStyle>
#include <QStyleOptionMenuItem>

#include <algorithm>
#include <array>
#include <cmath>

namespace ZorbelKit {

namespace {

// All in points.
constexpr int border = 1;
constexpr int marginX = 5; // between the border and a row's highlight
constexpr int marginY = 5;
constexpr int rowHeight = 26;
constexpr int separatorHeight = 9;
constexpr int paddingX = 10; // between a row's highlight and what stands in it
constexpr int markColumn = 20;
constexpr int iconSide = 16;
constexpr int iconColumn = iconSide + 9;
constexpr int arrowColumn = 18;
constexpr int shortcutGap = 28;
constexpr int widestText = 420; // longer ones are cut on the screen
constexpr int narrowestRow = 120;
constexpr int scrollerHeight = 18;
constexpr int submenuOverlap = 3; // no gap for the pointer to fall into
constexpr double radiusMenu = 9;
constexpr double radiusRow = 5;

void stroke(QPainter& painter, const Color& colour, double width, const QPolygonF& line) {
    painter.setPen(QPen(qColor(colour), width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::NoBrush);
    painter.drawPolyline(line);
}

void paintMark(QPainter& painter, const QPointF& centre, const QStyleOptionMenuItem& row, bool isEnabled) {
    const Color& colour = isEnabled ? brassHi : malaiFaint;
    if (row.checkType == QStyleOptionMenuItem::Exclusive) {
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(qColor(row.checked ? colour : malaiFaint), 1.25));
        painter.drawEllipse(centre, 5, 5);
        if (row.checked) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(qColor(colour));
            painter.drawEllipse(centre, 2.5, 2.5);
        }
    } else if (row.checked) {
        stroke(painter, colour, 1.75,
               QPolygonF({centre + QPointF(-4.25, 0.25), centre + QPointF(-1.25, 3.25),
                          centre + QPointF(4.5, -3.5)}));
    }
}

void paintRow(QPainter& painter, const QStyleOptionMenuItem& row) {
    const QRectF rect = row.rect;
    if (row.menuItemType == QStyleOptionMenuItem::Separator) {
        const int middle = row.rect.center().y();
        painter.fillRect(QRectF(rect.left() + paddingX, middle, rect.width() - 2 * paddingX, 1), qColor(rim));
        return;
    }
    const bool isEnabled = row.state.testFlag(QStyle::State_Enabled);
    const bool isChosen = isEnabled && row.state.testFlag(QStyle::State_Selected);
    painter.setRenderHint(QPainter::Antialiasing);
    if (isChosen) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(qColor(brass.withOpacity(0.34)));
        painter.drawRoundedRect(rect, radiusRow, radiusRow);
    }
    double left = rect.left() + paddingX;
    double right = rect.right() - paddingX;
    const double middle = rect.center().y();
    if (row.menuHasCheckableItems) {
        if (row.checkType != QStyleOptionMenuItem::NotCheckable) {
            paintMark(painter, {left + 6, middle}, row, isEnabled);
        }
        left += markColumn;
    }
    if (row.maxIconWidth > 0) {
        if (!row.icon.isNull()) {
            const QSize size(iconSide, iconSide);
            const QPixmap picture = row.icon.pixmap(size, painter.device()->devicePixelRatioF());
            const QSizeF room = picture.deviceIndependentSize();
            painter.setOpacity(isEnabled ? 1 : 0.4);
            painter.drawPixmap(QPointF(left + (iconSide - room.width()) / 2, middle - room.height() / 2),
                               picture);
            painter.setOpacity(1);
        }
        left += iconColumn;
    }
    if (row.menuItemType == QStyleOptionMenuItem::SubMenu) {
        stroke(painter, isEnabled ? malaiDim : malaiFaint, 1.5,
               QPolygonF({QPointF(right - 4, middle - 3.5), QPointF(right - 0.5, middle),
                          QPointF(right - 4, middle + 3.5)}));
        right -= arrowColumn;
    }
    const auto tab = row.text.indexOf('\t');
    painter.setFont(row.font);
    if (tab >= 0) {
        const QString shortcut = row.text.mid(tab + 1);
        const double width = row.fontMetrics.horizontalAdvance(shortcut);
        painter.setPen(qColor(isEnabled ? malaiDim : malaiFaint));
        painter.drawText(QRectF(right - width, rect.top(), width, rect.height()),
                         Qt::AlignVCenter | Qt::AlignLeft | Qt::TextSingleLine, shortcut);
        right -= width + shortcutGap;
    }
    const double room = right - left;
    const QString label = row.fontMetrics.elidedText(row.text.left(tab), Qt::ElideRight,
                                                     static_cast<int>(std::ceil(room)), Qt::TextShowMnemonic);
    painter.setPen(qColor(!isEnabled ? malaiFaint : isChosen ? cream : malai));
    painter.drawText(QRectF(left, rect.top(), room + 1, rect.height()),
                     Qt::AlignVCenter | Qt::AlignLeft | Qt::TextSingleLine | Qt::TextShowMnemonic, label);
}

QSize rowSize(const QStyleOptionMenuItem& row, int textWidth) {
    if (row.menuItemType == QStyleOptionMenuItem::Separator) {
        return {2 * paddingX, separatorHeight};
    }
    int width = 2 * paddingX + std::min(textWidth, widestText);
    width += row.menuHasCheckableItems ? markColumn : 0;
    width += row.maxIconWidth > 0 ? iconColumn : 0;
    width += row.menuItemType == QStyleOptionMenuItem::SubMenu ? arrowColumn : 0;
    width += row.text.contains('\t') ? shortcutGap : 0; // the toolkit adds the widest shortcut itself
    return {std::max(width, narrowestRow), rowHeight};
}

/// How the suite's menus are measured and painted; how they behave is the toolkit's.
class MenuLook : public QProxyStyle {
public:
    explicit MenuLook(bool canBlend)
        : QProxyStyle(QStringLiteral("fusion"))
        , canBlend_(canBlend) {}

    int pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const override {
        switch (metric) {
        case PM_MenuPanelWidth:
            return border;
        case PM_MenuHMargin:
            return marginX;
        case PM_MenuVMargin:
            return marginY;
        case PM_MenuScrollerHeight:
            return scrollerHeight;
        case PM_SmallIconSize:
            return iconSide;
        case PM_SubMenuOverlap:
            return marginX + border - submenuOverlap; // counted from the end of a row
        case PM_MenuDesktopFrameWidth:
            return 0;
        default:
            return QProxyStyle::pixelMetric(metric, option, widget);
        }
    }

    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* data) const override {
        switch (hint) {
        case SH_Menu_Scrollable:
        case SH_Menu_MouseTracking:
        case SH_Menu_SloppySubMenus:
            return 1;
        case SH_Menu_Mask:
            return 0;
        default:
            return QProxyStyle::styleHint(hint, option, widget, data);
        }
    }

    QSize sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& size,
                           const QWidget* widget) const override {
        const auto* row = qstyleoption_cast<const QStyleOptionMenuItem*>(option);
        return type == CT_MenuItem && row ? rowSize(*row, size.width())
                                          : QProxyStyle::sizeFromContents(type, option, size, widget);
    }

    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget) const override {
        if (element == PE_PanelMenu) {
            paintGround(*painter, option->rect);
        } else if (element != PE_FrameMenu) { // the ground has its border already
            QProxyStyle::drawPrimitive(element, option, painter, widget);
        }
    }

    void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override {
        const auto* row = qstyleoption_cast<const QStyleOptionMenuItem*>(option);
        painter->save();
        if (element == CE_MenuItem && row) {
            paintRow(*painter, *row);
        } else if (element == CE_MenuScroller) {
            paintScroller(*painter, option->rect, option->state.testFlag(State_DownArrow));
        } else if (element != CE_MenuEmptyArea) {
            QProxyStyle::drawControl(element, option, painter, widget);
        }
        painter->restore();
    }

private:
    void paintGround(QPainter& painter, const QRectF& rect) const {
        painter.save();
        const QRectF inside = rect.adjusted(0.5, 0.5, -0.5, -0.5);
        painter.setPen(QPen(qColor(rim), border));
        painter.setBrush(qColor(kettle));
        if (canBlend_) {
            painter.setRenderHint(QPainter::Antialiasing);
            painter.drawRoundedRect(inside, radiusMenu, radiusMenu);
        } else {
            painter.drawRect(inside);
        }
        painter.restore();
    }

    static void paintScroller(QPainter& painter, const QRectF& rect, bool isDown) {
        const QPointF centre = rect.center();
        const double rise = isDown ? 2 : -2;
        painter.setRenderHint(QPainter::Antialiasing);
        stroke(
            painter, malaiDim, 1.5,
            QPolygonF({centre + QPointF(-4, -rise), centre + QPointF(0, rise), centre + QPointF(4, -rise)}));
    }

    const bool canBlend_;
};

std::shared_ptr<QStyle> sharedLook(bool canBlend) {
    static std::array<std::weak_ptr<QStyle>, 2> looks;
    std::weak_ptr<QStyle>& look = looks[canBlend ? 1 : 0];
    if (auto made = look.lock()) {
        return made;
    }
    auto made = std::make_shared<MenuLook>(canBlend);
    look = made;
    return made;
}

} // namespace

static_assert(SuiteMenu::checkableTextInset == paddingX + markColumn);

SuiteMenu::SuiteMenu(QWidget* parent)
    : SuiteMenu(desktopBlends(), parent) {
}

SuiteMenu::SuiteMenu(bool canBlend, QWidget* parent)
    : QMenu(parent)
    , canBlend_(canBlend)
    , look_(sharedLook(canBlend)) {
    setWindowFlags(windowFlags() | Qt::FramelessWindowHint | Qt::NoDropShadowWindowHint);
    setAttribute(Qt::WA_TranslucentBackground, canBlend);
    setStyle(look_.get());
    setFont(styleFont(TextStyle::callout));
}

SuiteMenu::~SuiteMenu() = default;

QSize SuiteMenu::sizeHint() const {
    // An open menu asks after each single change, and measures every row each time.
    return isChanging_ ? size() : QMenu::sizeHint();
}

void SuiteMenu::change(const std::function<void()>& edits) {
    const QSize before = isVisible() ? sizeHint() : QSize();
    isChanging_ = true;
    edits();
    isChanging_ = false;
    if (isVisible() && sizeHint() != before) {
        // Showing it where it is measures it, and moves or scrolls it as the screen demands.
        QAction* chosen = activeAction();
        popup(pos());
        if (chosen && !chosen->menu()) {
            setActiveAction(chosen);
        }
    }
}

void SuiteMenu::mousePressEvent(QMouseEvent* event) {
    setAttribute(Qt::WA_NoMouseReplay, anchor_.contains(event->globalPosition().toPoint()));
    QMenu::mousePressEvent(event);
}

} // namespace ZorbelKit
