#include "Tests/Desktop/Selection.hpp"

#include <X11/keysym.h>

namespace Desktop {

namespace {

constexpr Seconds beat{0.1};

} // namespace

Selection::Selection(const Screen& screen)
    : screen_(screen)
    , connection_(xcb_connect(nullptr, nullptr))
    , root_(xcb_setup_roots_iterator(xcb_get_setup(connection_.get())).data->root) {
}

Selection::~Selection() {
    screen_.setButtonDown(false);
    screen_.setKeyDown(XK_Escape, false);
}

bool Selection::isGoingOn() const {
    const auto cookie = xcb_grab_pointer(connection_.get(), 1, root_, 0, XCB_GRAB_MODE_ASYNC,
                                         XCB_GRAB_MODE_ASYNC, XCB_NONE, XCB_NONE, XCB_CURRENT_TIME);
    const auto reply = Linux::owned(xcb_grab_pointer_reply(connection_.get(), cookie, nullptr));
    xcb_ungrab_pointer(connection_.get(), XCB_CURRENT_TIME);
    xcb_flush(connection_.get());
    return reply && reply->status != XCB_GRAB_STATUS_SUCCESS;
}

bool Selection::begins() const {
    // A panel that closes holds the pointer for a moment too.
    return until([this] { return holds([this] { return isGoingOn(); }, beat); });
}

bool Selection::drag(QPoint from, QPoint to) const {
    if (!begins()) {
        return false;
    }
    screen_.movePointer(from);
    rest();
    screen_.setButtonDown(true);
    rest();
    screen_.movePointer(from + (to - from) / 2);
    rest();
    screen_.movePointer(to);
    rest();
    screen_.setButtonDown(false);
    return until([this] { return !isGoingOn(); });
}

bool Selection::click(QPoint place, int button) const {
    if (!begins()) {
        return false;
    }
    screen_.movePointer(place);
    rest();
    screen_.setButtonDown(true, button);
    rest();
    screen_.setButtonDown(false, button);
    return until([this] { return !isGoingOn(); });
}

bool Selection::escape() const {
    if (!begins()) {
        return false;
    }
    screen_.setKeyDown(XK_Escape, true);
    const bool isOver = until([this] { return !isGoingOn(); });
    screen_.setKeyDown(XK_Escape, false);
    return isOver;
}

void Selection::rest() {
    static_cast<void>(holds([] { return true; }, beat));
}

} // namespace Desktop
