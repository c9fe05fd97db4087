#include "Platforms/Linux/MenuBar/LinuxStatusBar.hpp"

#include "Platforms/Linux/MenuBar/MenuBarWindow.hpp"
#include "Platforms/Linux/MenuBar/StatusNotifierItem.hpp"
#include "Platforms/Qt/ScreenSpace.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QGuiApplication>
#include <QScreen>

#include <utility>

namespace Linux {

using namespace ZorbelKit;

namespace {

constexpr auto standardItemPath = "/StatusNotifierItem";

} // namespace

/// An item, shown on the bar, in the tray, or nowhere yet.
class LinuxStatusBar::Item : public StatusItem {
public:
    Item(LinuxStatusBar& bar, double length, std::string autosaveName)
        : bar_(bar)
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
            onBar_->setLength(points);
            bar_.bar().layOut();
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
            if (place == TrayPlace::guest) {
                enterTray();
            } else {
                inTray_.reset();
            }
        }
    }

private:
    void enterBar() {
        if (onBar_) {
            return;
        }
        onBar_ = &bar_.bar().addItem();
        onBar_->setLength(length_);
        onBar_->setToolTip(QString::fromStdString(toolTip_));
        onBar_->onClick([this](ClickButton button) { click({button, frame()}); });
        bar_.bar().layOut();
        onBar_->setImage(image_);
    }

    void leaveBar() {
        if (onBar_) {
            bar_.bar().removeItem(*std::exchange(onBar_, nullptr));
        }
    }

    void enterTray() {
        if (!inTray_) {
            // Hosts expect the first item of a program at the standard path.
            const bool isFirst = bar_.items_.front() == this;
            const std::string path =
                isFirst ? standardItemPath : standardItemPath + std::string("/") + std::to_string(number_);
            inTray_ = std::make_unique<StatusNotifierItem>(
                bar_.loop_, path, autosaveName_,
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
    double length_;
    std::string autosaveName_;
    Image image_;
    std::string toolTip_;
    std::function<void(StatusClick)> clicked_;
    std::optional<Rect> trayClickFrame_;
    MenuBarItem* onBar_ = nullptr; // owned by the bar
    std::unique_ptr<StatusNotifierItem> inTray_;
    inline static int created = 0;
    const int number_ = created++;
};

LinuxStatusBar::LinuxStatusBar(MainLoop& loop)
    : loop_(loop)
    , mode_(loop, QGuiApplication::platformName() == "xcb")
    , watch_([this](bool hostRuns) { hostAnswered(hostRuns); }) {
    placeChanges_ = mode_.observe([this] { placeChanged(); });
    watch_.start();
}

LinuxStatusBar::~LinuxStatusBar() = default;

std::unique_ptr<StatusItem> LinuxStatusBar::statusItem(double length, std::string autosaveName,
                                                       StatusItemKind) {
    auto item = std::make_unique<Item>(*this, length, std::move(autosaveName));
    item->present(mode_.place());
    return item;
}

Token LinuxStatusBar::onChange(std::function<void()> changed) {
    return changes_.observe(std::move(changed));
}

void LinuxStatusBar::hostAnswered(bool hostRuns) {
    const TrayPlace before = mode_.place();
    if (!std::exchange(isStarted_, true)) {
        mode_.start(hostRuns, bringsOwnTray(qEnvironmentVariable("XDG_CURRENT_DESKTOP").toStdString()));
    } else {
        mode_.hostChanged(hostRuns);
    }
    if (hostRuns && before == TrayPlace::guest) {
        for (Item* item : items_) {
            item->present(TrayPlace::guest); // a new tray knows nothing of us
        }
    }
}

void LinuxStatusBar::placeChanged() {
    for (Item* item : items_) {
        item->present(mode_.place());
    }
    if (mode_.place() != TrayPlace::bar) {
        bar_.reset();
    }
    changes_.notify();
}

MenuBarWindow& LinuxStatusBar::bar() {
    if (!bar_) {
        bar_ = std::make_unique<MenuBarWindow>();
        bar_->show();
    }
    return *bar_;
}

} // namespace Linux
