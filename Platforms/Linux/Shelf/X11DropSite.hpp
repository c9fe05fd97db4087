#pragma once

#include "Platforms/Linux/Shelf/XdndTarget.hpp"
#include "Platforms/Linux/Shelf/XdndTransfer.hpp"

#include <QAbstractNativeEventFilter>
#include <QPointF>

class QWidget;

namespace Linux {

/// Takes drops of files on a top-level widget in place of the toolkit, which stands still until the program
/// that drags has handed over its data. The content hears of them by the toolkit's own events; the action is
/// always a copy. Drags that begin in this program are the toolkit's own matter.
class X11DropSite : public QAbstractNativeEventFilter, private XdndTarget::Surroundings {
public:
    /// `panel` outlives it.
    X11DropSite(xcb_connection_t* connection, QWidget& panel);
    X11DropSite(const X11DropSite&) = delete;
    X11DropSite& operator=(const X11DropSite&) = delete;
    ~X11DropSite() override;

    /// Says of the panel's native window, as it is now, that files can be dropped on it.
    void declare() const;

    /// Ends what is going on: the panel is hidden.
    void stop() { target_.stop(); }

    bool nativeEventFilter(const QByteArray& type, void* message, qintptr* result) override;

private:
    bool takeMessage(const xcb_client_message_event_t& event);
    xcb_window_t window() const;
    void send(xcb_window_t source, xcb_atom_t type, const XdndTarget::Message& message) const;
    void setEvents(xcb_window_t source, std::uint32_t events) const;
    bool deliver(QEvent& event) const;

    bool watch(std::uint32_t source) override;
    void unwatch(std::uint32_t source) override;
    std::vector<std::uint32_t> types(std::uint32_t source) override;
    void sendStatus(std::uint32_t source, bool accepts) override;
    void sendFinished(std::uint32_t source, bool isAccepted) override;
    void fetch(std::uint32_t time) override;
    void stopFetching() override;
    bool moveOver(XdndTarget::Place place) override;
    void leave() override;
    void drop(std::string list) override;

    struct Atoms {
        explicit Atoms(xcb_connection_t* connection);

        xcb_atom_t aware, enter, position, status, leave, drop, finished, typeList, actionCopy, uriList;
    };

    xcb_connection_t* connection_;
    QWidget& panel_;
    Atoms atoms_;
    XdndTarget target_;
    XdndTransfer transfer_;
    std::uint32_t formerEvents_ = 0; // that the toolkit wants of the source's window
    bool isInside_ = false;          // as the content knows
    bool accepts_ = false;           // as the content said last
    QPointF place_;                  // the last one, in points from the panel's corner
};

} // namespace Linux
