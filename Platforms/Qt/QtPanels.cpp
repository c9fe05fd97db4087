#include "Platforms/Qt/QtPanels.hpp"

#include "ZorbelKit/Host/MainLoop.hpp"
#include "ZorbelKit/Time.hpp"

#include <QApplication>
#include <QPointer>
#include <QWidget>

#include <utility>

namespace QtPlatform {

namespace {

/// Once the display server has taken a window away, the programs below draw what it covered, and a
/// compositing manager lets it fade. Nobody tells when they are done.
constexpr ZorbelKit::Seconds redrawing{0.2};

bool isPanel(const QWidget& widget) {
    return widget.isVisible() && (widget.windowType() == Qt::Popup || widget.windowType() == Qt::ToolTip);
}

/// Whether there were any.
bool hideAll() {
    bool wereAny = false;
    const QWidgetList all = QApplication::topLevelWidgets();
    // Whoever hears that one is hidden may delete another.
    const std::vector<QPointer<QWidget>> windows(all.begin(), all.end());
    for (const auto& window : windows) {
        if (window && isPanel(*window)) {
            window->hide();
            wereAny = true;
        }
    }
    return wereAny;
}

} // namespace

void QtPanels::putAway(std::function<void()> gone) {
    if (hideAll()) {
        gone_.push_back(std::move(gone));
        wait_ = loop_.after(redrawing, [this] { areGone(); });
    } else if (!gone_.empty()) {
        gone_.push_back(std::move(gone));
    } else {
        gone();
    }
}

void QtPanels::areGone() {
    for (const auto& gone : std::exchange(gone_, {})) {
        gone();
    }
}

} // namespace QtPlatform
