#include "Tests/Desktop/FileWindow.hpp"

#include "Tests/Desktop/Selection.hpp"

#include <X11/keysym.h>
#include <fstream>
#include <optional>
#include <utility>

namespace Desktop {

namespace {

constexpr Seconds stillness{0.5};

QRect difference(const QImage& before, const QImage& after) {
    QRect bounds;
    for (int y = 0; y < after.height(); ++y) {
        for (int x = 0; x < after.width(); ++x) {
            if (before.pixel(x, y) != after.pixel(x, y)) {
                bounds |= QRect(x, y, 1, 1);
            }
        }
    }
    return bounds;
}

} // namespace

FileWindow::FileWindow(const Screen& screen, FileManagerKind kind, std::filesystem::path folder,
                       const QRect& frame)
    : screen_(screen)
    , kind_(kind)
    , folder_(std::move(folder))
    , program_({kind == FileManagerKind::thunar ? "thunar" : "pcmanfm-qt", folder_.string()}, unread()) {
    if (until([this] { return window().has_value(); })) {
        screen_.moveAndResize(window()->id, frame);
    }
}

std::optional<Window> FileWindow::window() const {
    for (const Window& each : screen_.windows()) {
        if (each.title.startsWith(QString::fromStdString(folder_.filename().string()))) {
            return each;
        }
    }
    return std::nullopt;
}

bool FileWindow::isShown() const {
    return window() && isSettled();
}

/// Without the places beside it, the path above it and what is said below it.
QRect FileWindow::pane() const {
    const auto shown = window();
    if (!shown) {
        return {};
    }
    return kind_ == FileManagerKind::thunar ? shown->frame.adjusted(185, 112, -8, -32)
                                            : shown->frame.adjusted(165, 108, -8, -72);
}

QPoint FileWindow::ground() const {
    return pane().bottomRight() - QPoint(40, 40);
}

bool FileWindow::isSettled() const {
    return until([this] {
        const QImage before = screen_.picture(pane());
        return holds([&] { return screen_.picture(pane()) == before; }, stillness);
    });
}

QPoint FileWindow::showFirst(const std::string& name, const std::string& content) const {
    screen_.activate(window()->id);
    screen_.movePointer({60, 790}); // nothing lights up under it
    if (!isSettled()) {
        return {};
    }
    const QImage empty = screen_.picture(pane());
    std::ofstream(folder_ / name, std::ios::binary) << content;
    if (!until([&] { return screen_.picture(pane()) != empty; }) || !isSettled()) {
        return {};
    }
    const QRect changed = difference(empty, screen_.picture(pane()));
    return pane().topLeft() + changed.center();
}

void FileWindow::selectAll() const {
    screen_.click(ground());
    Selection::rest();
    screen_.setKeyDown(XK_Control_L, true);
    screen_.press(XK_a);
    screen_.setKeyDown(XK_Control_L, false);
    Selection::rest();
}

void FileWindow::take(QPoint from) const {
    dragAndDrop(screen_, from, ground());
    if (kind_ != FileManagerKind::pcmanfm) {
        return;
    }
    // It asks in a menu what shall be done, and offers nothing but a copy.
    const Selection menu(screen_);
    const auto isOpen = [&] { return menu.isGoingOn(); };
    if (until([&] { return holds(isOpen, stillness); })) {
        screen_.press(XK_Down);
        Selection::rest();
        screen_.press(XK_Return);
    }
}

void carry(const Screen& screen, QPoint from, QPoint to) {
    constexpr int steps = 25;
    for (int step = 1; step <= steps; ++step) {
        screen.movePointer(from + (to - from) * step / steps);
        static_cast<void>(holds([] { return true; }, Seconds{0.01}));
    }
    Selection::rest();
}

void dragAndDrop(const Screen& screen, QPoint from, QPoint to) {
    screen.movePointer(from);
    Selection::rest();
    screen.setButtonDown(true);
    Selection::rest();
    carry(screen, from, to);
    Selection::rest();
    screen.setButtonDown(false);
}

} // namespace Desktop
