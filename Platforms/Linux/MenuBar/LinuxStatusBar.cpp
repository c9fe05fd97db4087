#include "Platforms/Linux/MenuBar/LinuxStatusBar.hpp"

#include "Platforms/Linux/MenuBar/MenuBarItem.hpp"
#include "Platforms/Linux/MenuBar/MenuBarWindow.hpp"
#include "Platforms/Linux/MenuBar/StatusNotifierItem.hpp"
#include "Platforms/Linux/MenuBar/TrayItemCell.hpp"
#include "Platforms/Linux/MenuBar/XEmbedCell.hpp"
#include "Platforms/Qt/ScreenSpace.hpp"
#include "ZorbelKit/Host/Defaults.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QGuiApplication>
#include <QScreen>

#include <algorithm>
#include <cmath>
#include <utility>

namespace Linux {

using namespace ZorbelKit;

namespace {

constexpr std::string_view ownBarKey = "menubar.ownBar";

} // namespace

/// An item, shown on the bar, in the tray, or nowhere yet.
class LinuxStatusBar::Item : public StatusItem {
public:
    Item(LinuxStatusBar& bar, double length, std::string autosaveName, StatusItemKind kind)
        : bar_(bar)
        , kind_(kind)
        , length_(length)
        , autosaveName_(std::move(autosaveName)) {
        bar_.items_.push_back(this);
    }

    Item(const Item&) = delete;
    Item& operator=(const Item&) = delete;

    ~Item() override {
        std::erase(bar_.items_, this);
        leaveBar();
    }

    void setLength(double points) override {
        length_ = points;
        if (onBar_) {
            bar_.bar().setLength(*onBar_, points);
        }
    }

    void setImage(const Image& image) override {
        image_ = image;
        if (onBar_) {
            onBar_->setImage(image);
        }
        if (inTray_) {
            inTray_->setImage(image, trayTint());
        }
    }

    void setToolTip(std::string text) override {
        toolTip_ = std::move(text);
        if (onBar_) {
            onBar_->setToolTip(QString::fromStdString(toolTip_));
        }
        if (inTray_) {
            inTray_->setToolTip(toolTip_);
        }
    }

    void onClick(std::function<void(StatusClick)> handler) override { clicked_ = std::move(handler); }

    std::optional<Rect> frame() const override {
        if (!onBar_ || !onBar_->isVisible()) {
            return trayClickFrame_;
        }
        return QtPlatform::toScreenSpace(QRectF(onBar_->mapToGlobal(QPoint(0, 0)), QSizeF(onBar_->size())));
    }

    void present(TrayPlace place) {
        if (place == TrayPlace::bar) {
            inTray_.reset();
            trayClickFrame_.reset();
            enterBar();
        } else {
            leaveBar();
            if (place == TrayPlace::guest && kind_ != StatusItemKind::divider) {
                enterTray();
            } else {
                inTray_.reset();
            }
        }
    }

    void leaveBar() {
        if (onBar_) {
            bar_.bar().remove(*std::exchange(onBar_, nullptr));
        }
    }

private:
    void enterBar() {
        if (onBar_) {
            return;
        }
        const std::string identity = bar_.freeIdentity("own:" + autosaveName_);
        onBar_ = &bar_.bar().add<MenuBarItem>(kind_, length_, identity, kind_);
        onBar_->setToolTip(QString::fromStdString(toolTip_));
        onBar_->onClick([this](ClickButton button) { click({button, frame()}); });
        onBar_->setImage(image_);
    }

    void enterTray() {
        if (!inTray_) {
            inTray_ = std::make_unique<StatusNotifierItem>(
                bar_.loop_, autosaveName_,
                [this](ClickButton button, QPoint position) { trayClicked(button, position); });
            inTray_->setToolTip(toolTip_);
            if (!image_.isEmpty()) {
                inTray_->setImage(image_, trayTint());
            }
        }
        inTray_->registerWithTray([this] { bar_.mode_.hostChanged(false); });
    }

    void trayClicked(ClickButton button, QPoint devicePosition) {
        // The tray does not tell where the icon lies; the pointer's place, in device pixels, is the next best
        // thing. Hosts that know nothing send 0, 0.
        trayClickFrame_.reset();
        if (const QScreen* screen = QGuiApplication::primaryScreen(); screen && !devicePosition.isNull()) {
            const QPointF position = QPointF(devicePosition) / screen->devicePixelRatio();
            trayClickFrame_ = QtPlatform::toScreenSpace(QRectF(position, QSizeF(1, 1)));
        }
        click({button, trayClickFrame_});
    }

    void click(const StatusClick& click) {
        if (clicked_) {
            const auto clicked = clicked_; // the click may destroy the item
            clicked(click);
        }
    }

    /// Hosts paint an icon as it is, on a panel whose colour they do not tell. Brass reads on light and on
    /// dark ones.
    static QColor trayTint() { return qColor(brass); }

    LinuxStatusBar& bar_;
    const StatusItemKind kind_;
    double length_;
    std::string autosaveName_;
    Image image_;
    std::string toolTip_;
    std::function<void(StatusClick)> clicked_;
    std::optional<Rect> trayClickFrame_;
    MenuBarItem* onBar_ = nullptr; // owned by the bar
    std::unique_ptr<StatusNotifierItem> inTray_;
};

LinuxStatusBar::LinuxStatusBar(MainLoop& loop, Defaults& defaults)
    : loop_(loop)
    , defaults_(defaults)
    , prefersOwnBar_(defaults.boolean(ownBarKey).value_or(false))
    , mode_(loop, QGuiApplication::platformName() == "xcb", prefersOwnBar_)
    , watch_([this](const ForeignTray& tray) { trayAnswered(tray); })
    , host_(loop, {.changed = [this](TrayItem& item) { itemChanged(item); },
                   .leaving = [this](TrayItem& item) { itemLeaves(item); }}) {
    modeChanges_ = mode_.observe([this] { modeChanged(); });
    watch_.start();
}

LinuxStatusBar::~LinuxStatusBar() {
    modeChanges_.reset();
    closeBar();
}

std::unique_ptr<StatusItem> LinuxStatusBar::statusItem(double length, std::string autosaveName,
                                                       StatusItemKind kind) {
    auto item = std::make_unique<Item>(*this, length, std::move(autosaveName), kind);
    item->present(mode_.place());
    return item;
}

std::optional<bool> LinuxStatusBar::usesOwnBar() const {
    return mode_.hasChoice() ? std::optional(prefersOwnBar_) : std::nullopt;
}

void LinuxStatusBar::setUsesOwnBar(bool on) {
    if (mode_.hasChoice() && on != prefersOwnBar_) {
        prefersOwnBar_ = on;
        defaults_.setBoolean(ownBarKey, on);
        mode_.setPrefersBar(on);
        changes_.notify();
    }
}

std::string LinuxStatusBar::arrangingHint() const {
    return "On this keyboard ⌘ is the Super key, and Ctrl does the same.";
}

Token LinuxStatusBar::onChange(std::function<void()> changed) {
    return changes_.observe(std::move(changed));
}

void LinuxStatusBar::trayAnswered(const ForeignTray& tray) {
    foreign_ = tray;
    const TrayPlace before = mode_.place();
    if (!std::exchange(isStarted_, true)) {
        mode_.start(tray.hasHost, bringsOwnTray(qEnvironmentVariable("XDG_CURRENT_DESKTOP").toStdString()));
    } else {
        mode_.hostChanged(tray.hasHost);
    }
    if (before == TrayPlace::guest && mode_.place() == TrayPlace::guest && tray.hasHost) {
        for (Item* item : items_) {
            item->present(TrayPlace::guest); // a new tray knows nothing of us
        }
    }
    gatherIcons();
}

void LinuxStatusBar::modeChanged() {
    for (Item* item : items_) {
        item->present(mode_.place());
    }
    gatherIcons();
    if (mode_.place() != TrayPlace::bar) {
        closeBar();
    }
    changes_.notify();
}

TrayHost::Role LinuxStatusBar::role() const {
    if (mode_.place() != TrayPlace::bar) {
        return TrayHost::Role::none;
    }
    if (!foreign_.watcher.isEmpty()) {
        return TrayHost::Role::secondHost;
    }
    return mode_.mayOwnWatcher() ? TrayHost::Role::ownWatcher : TrayHost::Role::waiting;
}

void LinuxStatusBar::gatherIcons() {
    const TrayHost::Role wanted = role();
    const bool isSecondHost = wanted == TrayHost::Role::secondHost;
    host_.setRole(wanted, isSecondHost ? foreign_.watcher : QString());
    watch_.setIsHostThere(isSecondHost);
    if ((isSecondHost || host_.isWatcher()) && !olderTrayStart_) {
        olderTrayStart_ = loop_.after(olderTrayDelay, [this] { startOlderTray(); });
    }
}

void LinuxStatusBar::itemChanged(TrayItem& item) {
    auto found = trayCells_.find(&item);
    if (found == trayCells_.end()) {
        if (!std::exchange(hasIconTheme_, true)) {
            chooseIconTheme();
        }
        const std::string identity =
            freeIdentity(trayIdentity(item.state().id.toStdString(), item.process()));
        auto& cell = bar().add<TrayItemCell>(StatusItemKind::button, 0, identity, loop_, item);
        found = trayCells_.emplace(&item, &cell).first;
        showSpareIcons();
    }
    found->second->itemChanged();
}

void LinuxStatusBar::itemLeaves(TrayItem& item) {
    if (const auto found = trayCells_.find(&item); found != trayCells_.end()) {
        TrayItemCell& cell = *found->second;
        trayCells_.erase(found);
        cell.itemLeaves();
        bar().remove(cell);
        showSpareIcons();
    }
}

void LinuxStatusBar::startOlderTray() {
    if (!bar_) {
        return;
    }
    const auto dragged = [this](XEmbedTray::IconId icon, auto&& drag) {
        if (const auto found = xembedCells_.find(icon); found != xembedCells_.end()) {
            drag(*found->second);
        }
    };
    olderTray_ = std::make_unique<XEmbedTray>(
        loop_, XEmbedTray::Events{
                   .docked = [this](const XEmbedTray::Icon& icon) { iconDocked(icon); },
                   .changed = [this](const XEmbedTray::Icon& icon) { iconChanged(icon); },
                   .removed = [this](XEmbedTray::IconId icon) { iconRemoved(icon); },
                   .dragBegan =
                       [this, dragged](XEmbedTray::IconId icon, int x, int y) {
                           dragged(icon, [&](XEmbedCell& cell) {
                               bar_->beginDrag(cell.identity(), bar_->fromPixels(QPoint(x, y)));
                           });
                       },
                   .dragMoved =
                       [this, dragged](XEmbedTray::IconId icon, int x, int y) {
                           dragged(icon, [&](XEmbedCell&) { bar_->dragTo(bar_->fromPixels(QPoint(x, y))); });
                       },
                   .dragEnded =
                       [this, dragged](XEmbedTray::IconId icon, bool isDropped) {
                           dragged(icon, [&](XEmbedCell&) { bar_->endDrag(isDropped); });
                       },
               });
    const double scale = bar_->devicePixelRatioF();
    olderTray_->start({.window = static_cast<std::uint32_t>(bar_->winId()),
                       .colour = qColor(kettle).rgb() & 0xFFFFFF,
                       .iconSide = static_cast<int>(std::lround(XEmbedCell::iconSide * scale))});
}

void LinuxStatusBar::iconDocked(const XEmbedTray::Icon& icon) {
    const std::string identity = freeIdentity("xembed:" + icon.instance);
    auto& cell = bar().add<XEmbedCell>(StatusItemKind::button, 0, identity, *olderTray_, icon);
    xembedCells_[icon.id] = &cell;
    cell.show(icon, isSpare(icon));
}

void LinuxStatusBar::iconChanged(const XEmbedTray::Icon& icon) {
    if (const auto found = xembedCells_.find(icon.id); found != xembedCells_.end()) {
        found->second->show(icon, isSpare(icon));
    }
}

/// Some programs that find no tray at their start keep both protocols once there is one.
bool LinuxStatusBar::isSpare(const XEmbedTray::Icon& icon) const {
    return icon.pid != 0 && std::ranges::any_of(trayCells_, [&](const auto& entry) {
               return entry.first->process().pid == icon.pid;
           });
}

void LinuxStatusBar::showSpareIcons() {
    for (const auto& [id, cell] : xembedCells_) {
        cell->show(cell->icon(), isSpare(cell->icon()));
    }
}

void LinuxStatusBar::iconRemoved(XEmbedTray::IconId icon) {
    if (const auto found = xembedCells_.find(icon); found != xembedCells_.end()) {
        XEmbedCell& cell = *found->second;
        xembedCells_.erase(found);
        bar().remove(cell);
    }
}

MenuBarWindow& LinuxStatusBar::bar() {
    if (!bar_) {
        bar_ = std::make_unique<MenuBarWindow>(loop_, defaults_);
        bar_->show();
    }
    return *bar_;
}

std::string LinuxStatusBar::freeIdentity(const std::string& identity) {
    return distinctIdentity(identity, [this](const std::string& taken) { return bar().has(taken); });
}

/// Other programs' windows leave the bar before it goes: with it, they would be destroyed.
void LinuxStatusBar::closeBar() {
    olderTrayStart_.reset();
    if (olderTray_) {
        olderTray_->stop();
    }
    while (!xembedCells_.empty()) {
        iconRemoved(xembedCells_.begin()->first);
    }
    olderTray_.reset();
    host_.setRole(TrayHost::Role::none);
    for (Item* item : items_) {
        item->leaveBar();
    }
    bar_.reset();
}

} // namespace Linux
