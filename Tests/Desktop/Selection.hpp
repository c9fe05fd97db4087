#pragma once

#include "Platforms/Linux/XReply.hpp"
#include "Tests/Desktop/Desktop.hpp"

#include <QPoint>
#include <xcb/xcb.h>

#include <memory>

namespace Desktop {

/// The hand of a user whom a program asks to select something on the screen. Each of its steps lasts long
/// enough for a program that looks at mouse and keyboard now and then.
class Selection {
public:
    explicit Selection(const Screen& screen);
    Selection(const Selection&) = delete;
    Selection& operator=(const Selection&) = delete;
    ~Selection(); // lets go of everything

    /// Whether a program has the mouse to itself.
    bool isGoingOn() const;

    // Each waits for a selection to begin, and then for its end. False where there is none.
    [[nodiscard]] bool drag(QPoint from, QPoint to) const;
    [[nodiscard]] bool click(QPoint place, int button = XCB_BUTTON_INDEX_1) const;
    [[nodiscard]] bool escape() const; // false too where it goes on

    static void rest();

private:
    bool begins() const;

    const Screen& screen_;
    std::unique_ptr<xcb_connection_t, Linux::Disconnect> connection_;
    xcb_window_t root_;
};

} // namespace Desktop
