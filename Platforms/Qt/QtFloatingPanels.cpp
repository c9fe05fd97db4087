#include "Platforms/Qt/QtFloatingPanels.hpp"

#include "Platforms/Qt/ScreenSpace.hpp"

#include <QCloseEvent>
#include <QDrag>
#include <QGuiApplication>
#include <QScreen>
#include <QVBoxLayout>
#include <QWindow>

#include <algorithm>

namespace QtPlatform {

using namespace ZorbelKit;

namespace {

QSize qSize(Size size) {
    return {static_cast<int>(size.width), static_cast<int>(size.height)};
}

Qt::WindowFlags flagsOf(const FloatingPanelStyle& style) {
    Qt::WindowFlags flags = Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint;
    flags.setFlag(Qt::WindowDoesNotAcceptFocus, !style.canBecomeKey);
    return flags;
}

/// Nearest to where it is, wholly on the screen where it fits.
QPoint movedOnto(const QRect& screen, const QRect& frame) {
    const auto fitted = [](int start, int length, int first, int room) {
        return std::max(first, std::min(start, first + room - length));
    };
    return {fitted(frame.x(), frame.width(), screen.x(), screen.width()),
            fitted(frame.y(), frame.height(), screen.y(), screen.height())};
}

class PanelWidget : public QWidget {
public:
    PanelWidget(const FloatingPanelStyle& style, const AnyView& content)
        : canBecomeKey_(style.canBecomeKey) {
        setWindowFlags(flagsOf(style));
        setAttribute(Qt::WA_ShowWithoutActivating);
        setAttribute(Qt::WA_TranslucentBackground);
        setWindowTitle(QString::fromStdString(style.title));
        setAccessibleName(windowTitle());
        setFixedSize(qSize(style.size));
        if (QWidget* view = content.build(this)) {
            auto* layout = new QVBoxLayout(this);
            layout->setContentsMargins(0, 0, 0, 0);
            layout->addWidget(view);
        }
        QObject::connect(qGuiApp, &QGuiApplication::screenRemoved, this, [this] { returnLater(); });
        QObject::connect(qGuiApp, &QGuiApplication::screenAdded, this,
                         [this](QScreen* screen) { follow(*screen); });
        for (QScreen* screen : QGuiApplication::screens()) {
            follow(*screen);
        }
        winId();
        windowHandle()->installEventFilter(this);
        qApp->installEventFilter(this);
    }

    /// A point of the screen, y downwards.
    void place(QPoint corner) {
        move(corner);
        returnLater();
    }

protected:
    /// The user's window manager may ask; the program decides whether it is there. When the toolkit ends the
    /// program, it asks too.
    void closeEvent(QCloseEvent* event) override { event->setAccepted(!event->spontaneous()); }

    /// A click takes the keyboard, also where the window manager gives it to no window of this kind. The
    /// beginning of a drag is no click: whoever drags goes on working elsewhere.
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::MouseButtonRelease && watched == windowHandle() && canBecomeKey_ &&
            isVisible()) {
            activateWindow();
        }
        if (event->type() == QEvent::Show && watched->isWidgetType()) {
            stayAbove(*static_cast<QWidget*>(watched));
        }
        return QWidget::eventFilter(watched, event);
    }

private:
    /// Menu bars of the program's own lie below, also those that come later.
    void stayAbove(const QWidget& shown) {
        if (&shown != this && isVisible() && shown.isWindow() && shown.windowType() != Qt::Popup &&
            shown.windowFlags().testFlag(Qt::WindowDoesNotAcceptFocus)) {
            QMetaObject::invokeMethod(
                this, [this] { raise(); }, Qt::QueuedConnection);
        }
    }

    void follow(QScreen& screen) {
        QObject::connect(&screen, &QScreen::geometryChanged, this, [this] { returnLater(); });
    }

    /// Once all is known of a change that concerns several screens.
    void returnLater() {
        QMetaObject::invokeMethod(
            this, [this] { returnToAScreen(); }, Qt::QueuedConnection);
    }

    void returnToAScreen() {
        const QList<QScreen*> screens = QGuiApplication::screens();
        const QRect frame = geometry();
        const bool isSeen = std::ranges::any_of(
            screens, [&](const QScreen* screen) { return screen->geometry().intersects(frame); });
        if (const QScreen* main = QGuiApplication::primaryScreen(); main && !isSeen) {
            move(movedOnto(main->geometry(), frame));
        }
    }

    bool canBecomeKey_;
};

class QtFloatingPanel : public FloatingPanel {
public:
    QtFloatingPanel(PanelWidget& widget, Size size)
        : widget_(&widget)
        , size_(size) {}

    QtFloatingPanel(const QtFloatingPanel&) = delete;
    QtFloatingPanel& operator=(const QtFloatingPanel&) = delete;

    /// One of its own events may be on the way through the content, or a drag from it be going on.
    ~QtFloatingPanel() override {
        QDrag* drag = endDrag();
        widget_->hide();
        if (drag) {
            QObject::connect(drag, &QObject::destroyed, widget_, &QObject::deleteLater);
        } else {
            widget_->deleteLater();
        }
    }

    void setOrigin(Point origin) override {
        widget_->place(fromScreenSpace({origin.x, origin.y, size_.width, size_.height}).topLeft().toPoint());
    }

    void orderFrontRegardless() override {
        widget_->show();
        widget_->raise();
    }

    void orderOut() override {
        endDrag();
        widget_->hide();
    }

private:
    /// A hidden window has no pointer: a drag from it would never end. What is being dragged, if anything, is
    /// deleted by the toolkit once whoever began it knows of the end.
    QDrag* endDrag() const {
        auto* drag = widget_->findChild<QDrag*>();
        if (drag) {
            QDrag::cancel();
        }
        return drag;
    }

    PanelWidget* widget_;
    Size size_;
};

} // namespace

QtFloatingPanels::~QtFloatingPanels() {
    for (const auto& widget : widgets_) {
        delete widget.data();
    }
}

std::unique_ptr<FloatingPanel> QtFloatingPanels::make(const FloatingPanelStyle& style,
                                                      const AnyView& content) {
    auto* widget = new PanelWidget(style, content);
    std::erase_if(widgets_, [](const QPointer<QWidget>& each) { return each.isNull(); });
    widgets_.emplace_back(widget);
    prepare_(*widget);
    return std::make_unique<QtFloatingPanel>(*widget, style.size);
}

} // namespace QtPlatform
