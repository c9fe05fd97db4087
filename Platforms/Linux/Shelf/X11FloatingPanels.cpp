#include "Platforms/Linux/Shelf/X11FloatingPanels.hpp"

#include "Platforms/Linux/Shelf/X11DropSite.hpp"
#include "Platforms/Linux/XConnection.hpp"
#include "Platforms/Linux/XReply.hpp"

#include <QEvent>
#include <QWidget>
#include <xcb/xcb.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <vector>

namespace Linux {

namespace {

constexpr std::uint32_t mostSupported = 1024; // names that a window manager says it knows

std::vector<std::uint32_t> numbers(xcb_connection_t* connection, xcb_window_t window, const char* property,
                                   xcb_atom_t type) {
    const auto reply = owned(xcb_get_property_reply(
        connection,
        xcb_get_property(connection, 0, window, xAtom(connection, property), type, 0, mostSupported),
        nullptr));
    if (!reply || reply->format != 32) {
        return {};
    }
    const auto* values = static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
    return {values, values + reply->value_len};
}

/// Whether there is a window manager that can be asked to keep a window above others. A former one may have
/// left its list behind.
bool canStayAbove(xcb_connection_t* connection) {
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    constexpr auto check = "_NET_SUPPORTING_WM_CHECK";
    const auto manager = numbers(connection, root, check, XCB_ATOM_WINDOW);
    if (manager.empty() || numbers(connection, manager.front(), check, XCB_ATOM_WINDOW) != manager) {
        return false;
    }
    const auto known = numbers(connection, root, "_NET_SUPPORTED", XCB_ATOM_ATOM);
    return std::ranges::find(known, xAtom(connection, "_NET_WM_STATE_ABOVE")) != known.end();
}

/// Lives as long as the panel and says what it is each time it is shown: what a hidden window has said is
/// forgotten by the window manager.
class X11FloatingPanel : public QObject {
public:
    X11FloatingPanel(xcb_connection_t* connection, QWidget& panel)
        : QObject(&panel)
        , connection_(connection)
        , panel_(panel)
        , dropSite_(connection, panel) {
        panel.installEventFilter(this);
        declare();
    }

    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Show || event->type() == QEvent::WinIdChange) {
            declare();
        } else if (event->type() == QEvent::Hide) {
            dropSite_.stop();
        }
        return false;
    }

private:
    void declare() {
        if (panel_.internalWinId() == 0) {
            return;
        }
        // A manager that cannot keep it above others, as those that tile windows, would also put it elsewhere
        // and make it as wide as the screen. It gets none of it to see.
        const std::uint32_t isUnmanaged = canStayAbove(connection_) ? 0 : 1;
        xcb_change_window_attributes(connection_, window(), XCB_CW_OVERRIDE_REDIRECT, &isUnmanaged);
        // The first that the manager knows counts. Notifications are above full-screen windows, where any
        // are, and both stay at the place that they ask for.
        setAtoms("_NET_WM_WINDOW_TYPE", {"_NET_WM_WINDOW_TYPE_NOTIFICATION", "_NET_WM_WINDOW_TYPE_DOCK"});
        setAtoms("_NET_WM_STATE", {"_NET_WM_STATE_ABOVE", "_NET_WM_STATE_STICKY",
                                   "_NET_WM_STATE_SKIP_TASKBAR", "_NET_WM_STATE_SKIP_PAGER"});
        setCardinal("_NET_WM_DESKTOP", 0xFFFFFFFF); // all
        setCardinal("_NET_WM_USER_TIME", 0);        // nobody asked for it now
        dropSite_.declare();
    }

    void setAtoms(const char* property, const std::vector<const char*>& names) const {
        std::vector<xcb_atom_t> atoms;
        std::ranges::transform(names, std::back_inserter(atoms),
                               [this](const char* name) { return xAtom(connection_, name); });
        xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window(), xAtom(connection_, property),
                            XCB_ATOM_ATOM, 32, static_cast<std::uint32_t>(atoms.size()), atoms.data());
    }

    void setCardinal(const char* property, std::uint32_t value) const {
        xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window(), xAtom(connection_, property),
                            XCB_ATOM_CARDINAL, 32, 1, &value);
    }

    xcb_window_t window() const { return static_cast<xcb_window_t>(panel_.internalWinId()); }

    xcb_connection_t* connection_;
    QWidget& panel_;
    X11DropSite dropSite_;
};

} // namespace

void prepareFloatingPanel(QWidget& panel) {
    if (xcb_connection_t* connection = xConnection()) {
        new X11FloatingPanel(connection, panel);
    }
}

} // namespace Linux
