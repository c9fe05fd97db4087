#include "Platforms/Qt/QtAlerts.hpp"

#include "ZorbelKit/Controls/Accessible.hpp"
#include "ZorbelKit/Controls/Buttons.hpp"
#include "ZorbelKit/Controls/SpiceIcon.hpp"
#include "ZorbelKit/Controls/Text.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/ResourceImage.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QApplication>
#include <QBitmap>
#include <QCloseEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QPointer>
#include <QScreen>
#include <QVBoxLayout>
#include <QWidget>
#include <QWindow>

#include <functional>
#include <utility>

namespace QtPlatform {

using namespace ZorbelKit;

namespace {

// Points.
constexpr int alertWidth = 400;
constexpr int padding = 22;
constexpr int iconSide = 48;
constexpr int iconGap = 18;
constexpr int lineGap = 6;
constexpr int buttonGap = 18;
constexpr int windowIconSide = 128; // pixels

/// Popovers and menus hold pointer and keyboard, and would lie above the alert.
void closePopups() {
    const QWidgetList all = QApplication::topLevelWidgets();
    // Whoever hears that one is closed may delete another.
    const std::vector<QPointer<QWidget>> windows(all.begin(), all.end());
    for (const auto& window : windows) {
        if (window && window->isVisible() && window->windowType() == Qt::Popup) {
            window->close();
        }
    }
}

/// The window the user is in, where it is one of ours. Never the menu bar, whose icons are other programs'.
QWindow* windowInFront() {
    const QWidget* window = QApplication::activeWindow();
    const bool canWait = window && window->windowType() == Qt::Window &&
                         !window->windowFlags().testFlag(Qt::WindowDoesNotAcceptFocus);
    return canWait ? window->windowHandle() : nullptr;
}

QLabel* makeLine(const QFont& font, const Color& colour, QWidget* parent) {
    QLabel* line = makeText("", font, colour, parent);
    line->setWordWrap(true);
    return line;
}

} // namespace

/// The one window of all alerts.
class QtAlerts::Window final : public QWidget {
public:
    explicit Window(std::function<void()> dismissed)
        : dismissed_(std::move(dismissed)) {
        setWindowFlags(Qt::Dialog | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
        setAttribute(Qt::WA_TranslucentBackground);
        setWindowIcon(QPixmap::fromImage(resourceImage("Icons/zorbel", windowIconSide)));
        message_ = makeLine(interfaceFont(15, QFont::Medium), malai, this);
        information_ = makeLine(styleFont(TextStyle::callout), malaiDim, this);
        button_ = new BrassButton("", this);

        auto* lines = new QVBoxLayout;
        lines->setSpacing(lineGap);
        lines->addStretch();
        lines->addWidget(message_);
        lines->addWidget(information_);
        lines->addStretch();
        auto* top = new QHBoxLayout;
        top->setSpacing(iconGap);
        top->addWidget(new SpiceIcon("zorbel", iconSide, /*dimmed=*/false, this), 0, Qt::AlignTop);
        top->addLayout(lines, 1);
        auto* column = new QVBoxLayout(this);
        column->setContentsMargins(padding, padding, padding, padding);
        column->setSpacing(buttonGap);
        column->addLayout(top);
        column->addWidget(button_, 0, Qt::AlignRight);
        connect(button_, &QAbstractButton::clicked, this, [this] { close(); });
    }

    void present(const Alert& alert) {
        write(alert);
        place();
        closePopups();
        // The window in front waits for the answer, and nothing else does.
        QWindow* front = windowInFront();
        setWindowModality(front ? Qt::WindowModal : Qt::NonModal);
        winId(); // makes the native window
        windowHandle()->setTransientParent(front);
        show();
        raise();
        activateWindow();
        button_->setFocus(Qt::OtherFocusReason);
        QAccessibleEvent event(this, QAccessible::Alert);
        QAccessible::updateAccessibility(&event);
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(qColor(rim), 1));
        painter.setBrush(qColor(kettle));
        painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radiusPanel, radiusPanel);
    }

    void keyPressEvent(QKeyEvent* event) override {
        switch (event->key()) {
        case Qt::Key_Return:
        case Qt::Key_Enter:
        case Qt::Key_Escape:
        case Qt::Key_Space:
            if (!event->isAutoRepeat()) { // held down in another window, it is no answer
                close();
            }
            return;
        default:
            QWidget::keyPressEvent(event);
        }
    }

    void mousePressEvent(QMouseEvent* event) override {
        if (event->button() == Qt::LeftButton) {
            windowHandle()->startSystemMove();
        }
    }

    void closeEvent(QCloseEvent* event) override {
        QWidget::closeEvent(event);
        dismissed_();
    }

private:
    void write(const Alert& alert) {
        const QString message = qString(alert.messageText);
        const QString information = qString(alert.informativeText);
        message_->setText(message);
        information_->setText(information);
        information_->setVisible(!information.isEmpty());
        button_->setLabel(qString(alert.button));
        button_->updateGeometry();
        setWindowTitle(message);
        setAccessible(*this, QAccessible::AlertMessage, message, information);
    }

    /// In the middle of the main screen.
    void place() {
        layout()->activate();
        resize(alertWidth, layout()->totalHeightForWidth(alertWidth));
        if (const QScreen* screen = QGuiApplication::primaryScreen()) {
            QRect frame = rect();
            frame.moveCenter(screen->availableGeometry().center());
            move(frame.topLeft());
        }
        if (desktopBlends()) {
            clearMask(); // the painted edges are soft
            return;
        }
        QBitmap shape(size());
        shape.fill(Qt::color0);
        QPainter painter(&shape);
        painter.setBrush(Qt::color1);
        painter.setPen(Qt::color1);
        painter.drawRoundedRect(rect().adjusted(0, 0, -1, -1), radiusPanel, radiusPanel);
        painter.end();
        setMask(shape);
    }

    const std::function<void()> dismissed_;
    QLabel* message_;
    QLabel* information_;
    BrassButton* button_;
};

QtAlerts::QtAlerts() = default;
QtAlerts::~QtAlerts() = default;

void QtAlerts::runModal(const Alert& alert) {
    waiting_.push_back(alert);
    if (!window_) {
        window_ = std::make_unique<Window>([this] {
            // Once the close is over.
            QMetaObject::invokeMethod(
                window_.get(), [this] { showNext(); }, Qt::QueuedConnection);
        });
    }
    showNext();
}

void QtAlerts::showNext() {
    if (waiting_.empty() || window_->isVisible()) {
        return;
    }
    const Alert alert = std::move(waiting_.front());
    waiting_.pop_front();
    window_->present(alert);
}

} // namespace QtPlatform
