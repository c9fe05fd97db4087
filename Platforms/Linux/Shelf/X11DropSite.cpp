#include "Platforms/Linux/Shelf/X11DropSite.hpp"

#include "Platforms/Linux/XConnection.hpp"
#include "Platforms/Linux/XReply.hpp"

#include <QCoreApplication>
#include <QDragEnterEvent>
#include <QMimeData>
#include <QWidget>
#include <QWindow>

#include <algorithm>
#include <utility>

namespace Linux {

namespace {

constexpr auto uriListName = "text/uri-list";
constexpr std::uint32_t mostTypes = 1024; // that are looked through
constexpr std::uint32_t noAction = XCB_NONE;

/// A list of files, byte for byte. The toolkit's own keeps URLs as it understands them.
class FileList : public QMimeData {
public:
    explicit FileList(QByteArray list)
        : list_(std::move(list)) {}

    QStringList formats() const override { return {uriListName}; }
    bool hasFormat(const QString& format) const override { return format == uriListName; }

protected:
    QVariant retrieveData(const QString& format, QMetaType) const override {
        return format == uriListName ? QVariant(list_) : QVariant();
    }

private:
    QByteArray list_;
};

} // namespace

X11DropSite::Atoms::Atoms(xcb_connection_t* connection)
    : aware(xAtom(connection, "XdndAware"))
    , enter(xAtom(connection, "XdndEnter"))
    , position(xAtom(connection, "XdndPosition"))
    , status(xAtom(connection, "XdndStatus"))
    , leave(xAtom(connection, "XdndLeave"))
    , drop(xAtom(connection, "XdndDrop"))
    , finished(xAtom(connection, "XdndFinished"))
    , typeList(xAtom(connection, "XdndTypeList"))
    , actionCopy(xAtom(connection, "XdndActionCopy"))
    , uriList(xAtom(connection, uriListName)) {
}

X11DropSite::X11DropSite(xcb_connection_t* connection, QWidget& panel)
    : connection_(connection)
    , panel_(panel)
    , atoms_(connection)
    , target_(*this, atoms_.uriList)
    , transfer_(connection, [this](std::optional<std::string> list) {
        list ? target_.takeList(*std::move(list)) : target_.takeFailure();
    }) {
    QCoreApplication::instance()->installNativeEventFilter(this);
}

X11DropSite::~X11DropSite() {
    target_.stop();
}

void X11DropSite::declare() const {
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window(), atoms_.aware, XCB_ATOM_ATOM, 32, 1,
                        &XdndTarget::version);
}

xcb_window_t X11DropSite::window() const {
    return static_cast<xcb_window_t>(panel_.internalWinId());
}

// What the server sends

bool X11DropSite::nativeEventFilter(const QByteArray&, void* message, qintptr*) {
    const auto& event = *static_cast<const xcb_generic_event_t*>(message);
    constexpr int sentByAProgram = 0x80;
    switch (event.response_type & ~sentByAProgram) {
    case XCB_CLIENT_MESSAGE:
        return takeMessage(as<xcb_client_message_event_t>(event));
    case XCB_SELECTION_NOTIFY:
        return transfer_.takeAnswer(as<xcb_selection_notify_event_t>(event));
    case XCB_PROPERTY_NOTIFY:
        return transfer_.takeChange(as<xcb_property_notify_event_t>(event));
    case XCB_DESTROY_NOTIFY:
        target_.takeEnd(as<xcb_destroy_notify_event_t>(event).window);
        return false;
    default:
        return false;
    }
}

bool X11DropSite::takeMessage(const xcb_client_message_event_t& event) {
    if (event.window != window() || event.format != 32) {
        return false;
    }
    XdndTarget::Message message{};
    std::ranges::copy(event.data.data32, message.begin());
    if (event.type == atoms_.enter) {
        target_.takeEnter(message);
    } else if (event.type == atoms_.position) {
        target_.takePosition(message);
    } else if (event.type == atoms_.leave) {
        target_.takeLeave(message);
    } else if (event.type == atoms_.drop) {
        target_.takeDrop(message);
    } else {
        return false;
    }
    return true;
}

// The program that drags. It may be gone at any moment: no error of the server is of interest.

void X11DropSite::send(xcb_window_t source, xcb_atom_t type, const XdndTarget::Message& message) const {
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = source;
    event.type = type;
    std::ranges::copy(message, event.data.data32);
    const auto sent = xcb_send_event_checked(connection_, 0, source, XCB_EVENT_MASK_NO_EVENT,
                                             reinterpret_cast<const char*>(&event));
    xcb_discard_reply(connection_, sent.sequence);
    xcb_flush(connection_);
}

void X11DropSite::setEvents(xcb_window_t source, std::uint32_t events) const {
    const auto sent = xcb_change_window_attributes_checked(connection_, source, XCB_CW_EVENT_MASK, &events);
    xcb_discard_reply(connection_, sent.sequence);
}

bool X11DropSite::watch(std::uint32_t source) {
    // In this order a window that ends in between is missing from the answer.
    const auto attributes = xcb_get_window_attributes(connection_, source);
    const auto reply = owned(xcb_get_window_attributes_reply(connection_, attributes, nullptr));
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
    if (!reply || source == screen->root) {
        return false;
    }
    formerEvents_ = reply->your_event_mask;
    setEvents(source, formerEvents_ | XCB_EVENT_MASK_STRUCTURE_NOTIFY);
    return owned(xcb_get_window_attributes_reply(connection_, xcb_get_window_attributes(connection_, source),
                                                 nullptr)) != nullptr;
}

void X11DropSite::unwatch(std::uint32_t source) {
    setEvents(source, formerEvents_);
}

std::vector<std::uint32_t> X11DropSite::types(std::uint32_t source) {
    const auto reply = owned(xcb_get_property_reply(
        connection_, xcb_get_property(connection_, 0, source, atoms_.typeList, XCB_ATOM_ATOM, 0, mostTypes),
        nullptr));
    if (!reply || reply->format != 32) {
        return {};
    }
    const auto* types = static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
    return {types, types + reply->value_len};
}

void X11DropSite::sendStatus(std::uint32_t source, bool accepts) {
    constexpr std::uint32_t wantsAllPositions = 2;
    send(source, atoms_.status,
         {window(), wantsAllPositions | (accepts ? 1U : 0U), 0, 0, accepts ? atoms_.actionCopy : noAction});
}

void X11DropSite::sendFinished(std::uint32_t source, bool isAccepted) {
    send(source, atoms_.finished,
         {window(), isAccepted ? 1U : 0U, isAccepted ? atoms_.actionCopy : noAction, 0, 0});
}

void X11DropSite::fetch(std::uint32_t time) {
    transfer_.begin(atoms_.uriList, time);
}

void X11DropSite::stopFetching() {
    transfer_.stop();
}

// The content

/// To the window, as the toolkit does: it finds the part of the content that takes drops at this place, and
/// tells the others.
bool X11DropSite::deliver(QEvent& event) const {
    if (QWindow* window = panel_.windowHandle()) {
        QCoreApplication::sendEvent(window, &event);
    }
    return event.isAccepted();
}

bool X11DropSite::moveOver(XdndTarget::Place place) {
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
    const auto translated = owned(xcb_translate_coordinates_reply(
        connection_,
        xcb_translate_coordinates(connection_, screen->root, window(), static_cast<std::int16_t>(place.x),
                                  static_cast<std::int16_t>(place.y)),
        nullptr));
    if (!translated) {
        return false;
    }
    place_ = QPointF(translated->dst_x, translated->dst_y) / panel_.devicePixelRatioF();
    const FileList list({}); // what is in it is not known before it is dropped
    const auto prepare = [](QDropEvent& event, bool isAccepted) {
        event.setDropAction(Qt::CopyAction);
        event.setAccepted(isAccepted);
    };
    if (!std::exchange(isInside_, true)) {
        QDragEnterEvent event(place_.toPoint(), Qt::CopyAction, &list, Qt::LeftButton, Qt::NoModifier);
        prepare(event, false);
        accepts_ = deliver(event);
    }
    if (!isInside_) {
        return false; // the content has ended it
    }
    QDragMoveEvent event(place_.toPoint(), Qt::CopyAction, &list, Qt::LeftButton, Qt::NoModifier);
    prepare(event, accepts_);
    accepts_ = deliver(event);
    return accepts_;
}

void X11DropSite::leave() {
    if (std::exchange(isInside_, false)) {
        QDragLeaveEvent event;
        deliver(event);
    }
}

void X11DropSite::drop(std::string list) {
    isInside_ = false;
    const FileList files(QByteArray(list.data(), static_cast<qsizetype>(list.size())));
    QDropEvent event(place_, Qt::CopyAction, &files, Qt::LeftButton, Qt::NoModifier);
    event.setDropAction(Qt::CopyAction);
    deliver(event);
}

} // namespace Linux
