#include "Platforms/Qt/QtShellWindows.hpp"

#include "Platforms/Qt/PopoverWidget.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/ResourceImage.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QApplication>
#include <QCloseEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>
#include <QVBoxLayout>
#include <QWidget>
#include <QWindow>

#include <utility>

namespace QtPlatform {

using namespace ZorbelKit;

namespace {

constexpr int windowIconSide = 128; // pixels; desktops scale it to what their lists need

QSize qSize(Size size) {
    return {static_cast<int>(size.width), static_cast<int>(size.height)};
}

/// A top-level window with the suite's ground; dragged by any place that is not a control.
class WindowWidget : public QWidget {
public:
    explicit WindowWidget(const QString& title) {
        setWindowTitle(title);
        setAccessibleName(title);
    }

    void showInFront() {
        if (!isVisible() && place_) {
            move(*place_);
        }
        if (isMinimized()) {
            showNormal();
        } else {
            show();
        }
        raise();
        activateWindow();
    }

protected:
    void paintEvent(QPaintEvent*) override { QPainter(this).fillRect(rect(), qColor(stall)); }

    /// Closing hides: an accepted close would destroy the native window, and with it the place the user gave
    /// it.
    void closeEvent(QCloseEvent* event) override {
        event->ignore();
        hide();
    }

    /// Shown again, a window would come back by its frame's size further down and to the right: the toolkit
    /// takes the place of the content for that of the frame.
    void hideEvent(QHideEvent* event) override {
        place_ = pos();
        QWidget::hideEvent(event);
    }

    void mousePressEvent(QMouseEvent* event) override {
        if (event->button() == Qt::LeftButton && windowHandle()) {
            windowHandle()->startSystemMove();
        }
    }

    void keyPressEvent(QKeyEvent* event) override {
        if (event->key() == Qt::Key_Escape || event->matches(QKeySequence::Close)) {
            hide();
            return;
        }
        QWidget::keyPressEvent(event);
    }

private:
    std::optional<QPoint> place_; // of the frame, when it was last hidden
};

class QtShellWindow : public Zorbel::ShellWindow {
public:
    QtShellWindow(Zorbel::WindowStyle style, AnyView content)
        : style_(std::move(style))
        , content_(std::move(content))
        , widget_(QString::fromStdString(style_.title)) {}

    void showInFront() override {
        if (!isBuilt_) {
            build();
        }
        widget_.showInFront();
    }

    void close() override { widget_.hide(); }
    bool isShown() const override { return widget_.isVisible(); }

private:
    void build() {
        isBuilt_ = true;
        widget_.setWindowIcon(QPixmap::fromImage(resourceImage("Icons/zorbel", windowIconSide)));
        auto* layout = new QVBoxLayout(&widget_);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->addWidget(content_.build(&widget_));
        const QSize size = qSize(style_.contentSize);
        if (style_.minimumSize) {
            widget_.setMinimumSize(qSize(*style_.minimumSize));
            widget_.resize(size);
        } else {
            widget_.setFixedSize(size);
        }
        if (const QScreen* screen = QGuiApplication::primaryScreen()) {
            const QRect room = screen->availableGeometry();
            widget_.move(room.x() + (room.width() - size.width()) / 2,
                         room.y() + (room.height() - size.height()) / 2);
        }
    }

    Zorbel::WindowStyle style_;
    AnyView content_;
    WindowWidget widget_;
    bool isBuilt_ = false;
};

class QtPopoverWindow : public Zorbel::PopoverWindow {
public:
    QtPopoverWindow(Size contentSize, AnyView content, std::function<bool()> canBlend)
        : widget_(qSize(contentSize), std::move(content), std::move(canBlend)) {}

    void show(std::optional<Rect> anchor) override { widget_.showAt(anchor); }
    void close() override { widget_.close(); }
    bool isShown() const override { return widget_.isVisible(); }
    void onClose(std::function<void()> closed) override { widget_.setClosed(std::move(closed)); }

private:
    PopoverWidget widget_;
};

} // namespace

void QtApplication::becomeAccessory() {
    QApplication::setQuitOnLastWindowClosed(false);
}

void QtApplication::terminate() {
    QCoreApplication::quit();
}

std::unique_ptr<Zorbel::PopoverWindow> QtShellWindows::popover(Size contentSize, AnyView content) {
    return std::make_unique<QtPopoverWindow>(contentSize, std::move(content), canBlend_);
}

std::unique_ptr<Zorbel::ShellWindow> QtShellWindows::window(Zorbel::WindowStyle style, AnyView content) {
    return std::make_unique<QtShellWindow>(std::move(style), std::move(content));
}

} // namespace QtPlatform
