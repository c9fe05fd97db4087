#include "Platforms/Linux/MenuBar/XEmbedTray.hpp"

#include "Platforms/Linux/XConnection.hpp"
#include "Platforms/Linux/XReply.hpp"
#include "ZorbelKit/Lifetime.hpp"

#include <QGuiApplication>
#include <QSocketNotifier>
#include <QString>
#include <QStringDecoder>
#include <xcb/xcb.h>
#include <xcb/xfixes.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <limits>
#include <map>
#include <optional>
#include <type_traits>
#include <utility>
#include <vector>

namespace Linux {

namespace {

using Clock = std::chrono::steady_clock;
using Pixels = XEmbedTray::Pixels;

constexpr std::size_t mostIcons = 64;
constexpr std::uint32_t longestText = 1024 / 4;     // in units of four bytes, as properties are read
constexpr std::chrono::milliseconds longestPass{5}; // however much programs send, the bar stays live
constexpr int leastSide = 2;
constexpr int greatestSide = 512;

constexpr std::uint32_t requestDock = 0;       // _NET_SYSTEM_TRAY_OPCODE
constexpr std::uint32_t embeddedNotify = 0;    // _XEMBED
constexpr std::uint32_t embedVersion = 0;      // the only one there is
constexpr std::uint32_t embedMapped = 1U << 0; // _XEMBED_INFO
constexpr std::uint32_t horizontal = 0;        // _NET_SYSTEM_TRAY_ORIENTATION

constexpr xcb_keysym_t escapeSymbol = 0xFF1B;
constexpr std::uint16_t capsLock = XCB_MOD_MASK_LOCK;
constexpr std::uint16_t numLock = XCB_MOD_MASK_2;
constexpr std::uint16_t super = XCB_MOD_MASK_4;

constexpr std::uint8_t sentBySomeone = 0x80; // in an event's type: not the server's own word

using Event = XEvent;

enum Name : std::size_t {
    manager,
    netWmName,
    netWmPid,
    trayColours,
    trayOpcode,
    trayOrientation,
    trayVisual,
    visualId,
    xembed,
    xembedInfo,
    traySelection, // differs by screen
    nameCount
};

constexpr std::array<const char*, traySelection> fixedNames{"MANAGER",
                                                            "_NET_WM_NAME",
                                                            "_NET_WM_PID",
                                                            "_NET_SYSTEM_TRAY_COLORS",
                                                            "_NET_SYSTEM_TRAY_OPCODE",
                                                            "_NET_SYSTEM_TRAY_ORIENTATION",
                                                            "_NET_SYSTEM_TRAY_VISUAL",
                                                            "VISUALID",
                                                            "_XEMBED",
                                                            "_XEMBED_INFO"};

/// The bytes of a text property; those of a longer one end in the middle of it.
QByteArray bytesOf(const xcb_get_property_reply_t* reply) {
    if (!reply || reply->format != 8) {
        return {};
    }
    return {static_cast<const char*>(xcb_get_property_value(reply)),
            static_cast<qsizetype>(xcb_get_property_value_length(reply))};
}

/// Up to the first zero, in UTF-8. What is not UTF-8 already is taken as Latin-1.
std::string textOf(const QByteArray& bytes) {
    const QByteArray text(bytes.constData(), static_cast<qsizetype>(qstrnlen(
                                                 bytes.constData(), static_cast<std::size_t>(bytes.size()))));
    // Where we stopped reading, a character may be cut in two: that one is left off.
    const bool isWhole = text.size() < qsizetype{longestText} * 4;
    QStringDecoder decoder(QStringDecoder::Utf8,
                           isWhole ? QStringDecoder::Flag::Stateless : QStringDecoder::Flag::Default);
    const QString decoded = decoder(text);
    return (decoder.hasError() ? QString::fromLatin1(text) : decoded).toStdString();
}

/// The share of one colour of 0xRRGGBB, moved to where a visual's mask wants it.
std::uint32_t channel(std::uint32_t colour, int shift, std::uint32_t mask) {
    if (mask == 0) {
        return 0;
    }
    const std::uint64_t lowest = mask & (~mask + 1);
    const std::uint64_t share = ((colour >> shift) & 0xFFU) * (mask / lowest) / 0xFFU;
    return static_cast<std::uint32_t>(share * lowest);
}

/// 0xRRGGBB as a pixel of a visual, opaque where it knows transparency.
std::uint32_t pixelOf(std::uint32_t colour, std::uint8_t depth, const xcb_visualtype_t& visual) {
    const std::uint32_t colours = visual.red_mask | visual.green_mask | visual.blue_mask;
    const std::uint32_t alpha = depth == 32 ? ~colours : 0;
    return alpha | channel(colour, 16, visual.red_mask) | channel(colour, 8, visual.green_mask) |
           channel(colour, 0, visual.blue_mask);
}

/// Black or white, whichever stands out from 0xRRGGBB, as the tray's colours are told: 16 bits to a share.
std::uint32_t foregroundOn(std::uint32_t colour) {
    const std::uint32_t red = (colour >> 16) & 0xFFU;
    const std::uint32_t green = (colour >> 8) & 0xFFU;
    const std::uint32_t blue = colour & 0xFFU;
    const std::uint32_t luminance = (299 * red + 587 * green + 114 * blue) / 1000;
    return luminance < 128 ? std::numeric_limits<std::uint16_t>::max() : 0;
}

/// Coordinates of windows have 16 bits on the wire; others would come out somewhere else.
std::uint32_t coordinate(std::int64_t value) {
    using Wire = std::int16_t;
    return static_cast<std::uint32_t>(
        std::clamp<std::int64_t>(value, std::numeric_limits<Wire>::min(), std::numeric_limits<Wire>::max()));
}

/// The square of an icon in the middle of its cell. Its corner may lie beyond what a window can have.
Pixels middleOf(const Pixels& cell, int side) {
    return {cell.x + (cell.width - side) / 2, cell.y + (cell.height - side) / 2, side, side};
}

/// The toolkit's own connection, if `window` was made over it; else null.
xcb_connection_t* toolkitOf(xcb_window_t window) {
    const bool hasToolkit = qobject_cast<QGuiApplication*>(QCoreApplication::instance());
    xcb_connection_t* connection = hasToolkit ? xConnection() : nullptr;
    if (!connection || xcb_connection_has_error(connection)) {
        return nullptr;
    }
    const xcb_setup_t* setup = xcb_get_setup(connection);
    return (window & ~setup->resource_id_mask) == setup->resource_id_base ? connection : nullptr;
}

/// Waits until the server has done all that was asked of it over a connection.
void settle(xcb_connection_t* connection) {
    owned(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
}

/// The windows the server gives back to the root when a connection ends. Our containers and the bar are made
/// over two connections, and at the end of this process nobody knows which one the server closes first. The
/// core protocol's save-set rescues a window only from windows of the connection that ends, which helps in
/// neither order; that of XFixes goes straight to the root.
class SaveSet {
public:
    /// Null does nothing.
    explicit SaveSet(xcb_connection_t* connection)
        : connection_(connection) {
        const xcb_query_extension_reply_t* extension =
            connection ? xcb_get_extension_data(connection, &xcb_xfixes_id) : nullptr;
        if (extension && extension->present) {
            const auto cookie =
                xcb_xfixes_query_version(connection, XCB_XFIXES_MAJOR_VERSION, XCB_XFIXES_MINOR_VERSION);
            reachesRoot_ = owned(xcb_xfixes_query_version_reply(connection, cookie, nullptr)) != nullptr;
        }
    }

    /// Waits for the server, so that an error comes here and not to the connection's other user.
    void insert(xcb_window_t window) const { change(XCB_SET_MODE_INSERT, window); }
    void remove(xcb_window_t window) const { change(XCB_SET_MODE_DELETE, window); }

private:
    void change(std::uint8_t mode, xcb_window_t window) const {
        if (!connection_) {
            return;
        }
        // Unmapped, or an orphan would stand on the screen as a tiny window of its own.
        const auto cookie =
            reachesRoot_
                ? xcb_xfixes_change_save_set_checked(connection_, mode, XCB_XFIXES_SAVE_SET_TARGET_ROOT,
                                                     XCB_XFIXES_SAVE_SET_MAPPING_UNMAP, window)
                : xcb_change_save_set_checked(connection_, mode, window);
        owned(xcb_request_check(connection_, cookie));
    }

    xcb_connection_t* connection_;
    bool reachesRoot_ = false;
};

} // namespace

class XEmbedTray::Tray {
public:
    Tray(ZorbelKit::MainLoop& loop, Events events, const char* display)
        : loop_(loop)
        , audience_(std::make_shared<Audience>(Audience{std::move(events)}))
        , display_(display ? std::optional<std::string>(display) : std::nullopt) {}
    Tray(const Tray&) = delete;
    Tray& operator=(const Tray&) = delete;
    ~Tray() { stop(); }

    void start(const Ground& ground);
    void stop();
    void place(IconId icon, const Pixels& cell);
    void hide(IconId icon);
    void setIconSide(int pixels);

    bool isTray() const { return isTray_; }

private:
    struct Docked {
        Icon icon;
        xcb_window_t container = XCB_NONE;
        bool hasInfo = false; // _XEMBED_INFO; without it mapping alone says what the program wants
        bool isShown = false; // the container is mapped
        std::optional<Pixels> cell;
        Pixels frame;               // the container's, as the server has it
        bool isStale = false;       // a property has changed
        bool wasRemapped = false;   // mapped or unmapped, by whomever
        bool wasResized = false;    // likewise
        int unansweredRequests = 0; // for another size
    };

    struct Look { // what is asked of an icon's window, all at once
        xcb_get_property_cookie_t info, pid, name, legacyName, wmClass;
    };

    struct Audience {
        Events events;
        bool isListening = true; // until the tray is stopped
    };

    struct Drag {
        IconId icon = 0;
        bool isOver = false;     // broken off; the pointer stays ours until the button is released
        bool isButtonUp = false; // it was released before the pointer was ours for good
    };

    bool connect();
    bool readNames(int screenNumber);
    bool readGround();
    void disconnect();

    void claim();
    void makeSelectionWindow();
    xcb_timestamp_t serverTime();
    xcb_window_t selectionOwner() const;
    void giveUp();

    void drain();
    void drainSoon();
    void flush();
    Event nextEvent();
    bool hasQueuedEvent();
    void handle(const xcb_generic_event_t& event);
    void handleMessage(const xcb_client_message_event_t& message);
    void refreshStale();

    void dock(xcb_window_t window);
    bool makeContainer(Docked& docked);
    void welcome(const Docked& docked);
    Look look(xcb_window_t window) const;
    void read(Docked& docked, const Look& look) const;
    bool isUnmapped(xcb_window_t window) const;
    void obeyWish(const Docked& docked);
    void resize(xcb_window_t icon, int side);
    void answerRequests(Docked& docked);
    void arrange(Docked& docked);
    void giveBack(const Docked& docked);
    void letGo(const Docked& docked);
    void remove(IconId icon);
    Docked* find(IconId icon);

    void grabDrags(xcb_window_t container);
    void beginDrag(const xcb_button_press_event_t& press);
    void breakOffDrag();
    void endDrag();
    void tellMotion();
    bool isEscape(xcb_keycode_t key) const;

    template <class... Arguments>
    void tell(std::function<void(Arguments...)> Events::*event, std::type_identity_t<Arguments>... arguments);
    void deliverNews();

    void set(xcb_window_t window, Name property, xcb_atom_t type,
             std::initializer_list<std::uint32_t> values);
    void send(xcb_window_t target, std::uint32_t mask, Name message, std::array<std::uint32_t, 5> data);
    bool isOurs(xcb_window_t window) const;
    const xcb_visualtype_t* visualOf(xcb_visualid_t id) const;

    ZorbelKit::MainLoop& loop_;
    std::shared_ptr<Audience> audience_; // outlives this object while it is being told something
    std::optional<std::string> display_;
    Ground ground_;

    std::unique_ptr<xcb_connection_t, Disconnect> connection_;
    const xcb_screen_t* screen_ = nullptr; // the connection's
    std::array<xcb_atom_t, nameCount> atoms_{};
    xcb_visualid_t groundVisual_ = 0;
    xcb_colormap_t groundColourMap_ = XCB_NONE;
    xcb_window_t selectionWindow_ = XCB_NONE;
    xcb_window_t rival_ = XCB_NONE; // the window of the tray there is instead
    bool isTray_ = false;
    std::map<IconId, Docked> icons_;
    std::map<xcb_visualid_t, xcb_colormap_t> colourMaps_; // of icons unlike the bar
    std::optional<Drag> drag_;
    std::optional<std::pair<int, int>> motion_; // not told yet
    std::deque<Event> pendingEvents_;           // taken from the connection, not yet looked at
    std::vector<std::function<void()>> news_;   // told when all is in order again
    bool isDrainPosted_ = false;

    std::unique_ptr<QSocketNotifier> notifier_; // of the connection's socket, so it goes first
    ZorbelKit::Lifetime lifetime_;              // of the connection
};

// Beginning and end

void XEmbedTray::Tray::start(const Ground& ground) {
    stop();
    ground_ = ground;
    ground_.iconSide = std::clamp(ground.iconSide, leastSide, greatestSide);
    if (xcb_connection_t* toolkit = toolkitOf(ground.window)) {
        settle(toolkit); // the bar's window may still wait in its buffer
    }
    if (!connect()) {
        disconnect();
        return;
    }
    notifier_ =
        std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(connection_.get()), QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(), [this] { drain(); });
    claim();
    drainSoon();
}

bool XEmbedTray::Tray::connect() {
    int screenNumber = 0;
    connection_.reset(xcb_connect(display_ ? display_->c_str() : nullptr, &screenNumber));
    if (xcb_connection_has_error(connection_.get())) {
        return false;
    }
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(connection_.get()));
    for (int index = 0; index < screenNumber && screens.rem > 1; ++index) {
        xcb_screen_next(&screens);
    }
    screen_ = screens.data;
    return readNames(screenNumber) && readGround();
}

bool XEmbedTray::Tray::readNames(int screenNumber) {
    const std::string selection = "_NET_SYSTEM_TRAY_S" + std::to_string(screenNumber);
    std::array<xcb_intern_atom_cookie_t, nameCount> cookies{};
    for (std::size_t index = 0; index < nameCount; ++index) {
        const char* name = index == traySelection ? selection.c_str() : fixedNames[index];
        cookies[index] =
            xcb_intern_atom(connection_.get(), 0, static_cast<std::uint16_t>(std::strlen(name)), name);
    }
    bool isComplete = true;
    for (std::size_t index = 0; index < nameCount; ++index) {
        const auto reply = owned(xcb_intern_atom_reply(connection_.get(), cookies[index], nullptr));
        atoms_[index] = reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
        isComplete = isComplete && reply;
    }
    return isComplete;
}

bool XEmbedTray::Tray::readGround() {
    constexpr std::uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(connection_.get(), ground_.window, XCB_CW_EVENT_MASK, &mask);
    const auto attributes = owned(xcb_get_window_attributes_reply(
        connection_.get(), xcb_get_window_attributes(connection_.get(), ground_.window), nullptr));
    if (!attributes) {
        return false;
    }
    groundVisual_ = attributes->visual;
    groundColourMap_ = attributes->colormap;
    return true;
}

void XEmbedTray::Tray::stop() {
    if (connection_) {
        giveUp();
        settle(connection_.get());
    }
    disconnect();
    lifetime_.renew();
    news_.clear(); // whoever stops the tray knows; what was not told yet is no longer true
    std::exchange(audience_, std::make_shared<Audience>(Audience{audience_->events}))->isListening = false;
}

void XEmbedTray::Tray::disconnect() {
    notifier_.reset();
    pendingEvents_.clear();
    icons_.clear();
    colourMaps_.clear();
    drag_.reset();
    motion_.reset();
    connection_.reset();
    screen_ = nullptr;
    selectionWindow_ = XCB_NONE;
    rival_ = XCB_NONE;
    isTray_ = false;
    isDrainPosted_ = false;
}

// The selection

/// Takes the selection where it is free, and waits for its owner's end where it is not.
void XEmbedTray::Tray::claim() {
    makeSelectionWindow();
    const xcb_timestamp_t time = serverTime();
    xcb_grab_server(connection_.get()); // nobody comes between the question and the taking, or the watching
    rival_ = selectionOwner();
    if (rival_ == XCB_NONE) {
        xcb_set_selection_owner(connection_.get(), selectionWindow_, atoms_[traySelection], time);
        isTray_ = selectionOwner() == selectionWindow_;
    } else {
        constexpr std::uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        xcb_change_window_attributes(connection_.get(), rival_, XCB_CW_EVENT_MASK, &mask);
    }
    xcb_ungrab_server(connection_.get());
    if (isTray_) {
        send(screen_->root, XCB_EVENT_MASK_STRUCTURE_NOTIFY, manager,
             {time, atoms_[traySelection], selectionWindow_, 0, 0});
    }
    flush();
}

void XEmbedTray::Tray::makeSelectionWindow() {
    if (selectionWindow_ != XCB_NONE) {
        return;
    }
    constexpr std::array<std::uint32_t, 2> values{1, XCB_EVENT_MASK_PROPERTY_CHANGE};
    selectionWindow_ = xcb_generate_id(connection_.get());
    xcb_create_window(connection_.get(), XCB_COPY_FROM_PARENT, selectionWindow_, screen_->root, -1, -1, 1, 1,
                      0, XCB_WINDOW_CLASS_INPUT_OUTPUT, screen_->root_visual,
                      XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values.data());
    set(selectionWindow_, trayOrientation, XCB_ATOM_CARDINAL, {horizontal});
    set(selectionWindow_, trayVisual, atoms_[visualId], {groundVisual_});
    // Foreground, error, warning, success, of three shares each: all alike, as the bar itself has one colour.
    const std::uint32_t share = foregroundOn(ground_.colour);
    set(selectionWindow_, trayColours, XCB_ATOM_CARDINAL,
        {share, share, share, share, share, share, share, share, share, share, share, share});
}

/// The server's time now, from the notice of a change that changes nothing.
xcb_timestamp_t XEmbedTray::Tray::serverTime() {
    xcb_change_property(connection_.get(), XCB_PROP_MODE_APPEND, selectionWindow_, atoms_[trayOrientation],
                        XCB_ATOM_CARDINAL, 32, 0, nullptr);
    settle(connection_.get()); // the notice comes before this
    xcb_timestamp_t time = XCB_CURRENT_TIME;
    while (Event event{xcb_poll_for_queued_event(connection_.get()), &std::free}) {
        const auto& notice = as<xcb_property_notify_event_t>(*event);
        if (event->response_type == XCB_PROPERTY_NOTIFY && notice.window == selectionWindow_) {
            time = notice.time;
        } else {
            pendingEvents_.push_back(std::move(event));
        }
    }
    return time;
}

xcb_window_t XEmbedTray::Tray::selectionOwner() const {
    const auto reply = owned(xcb_get_selection_owner_reply(
        connection_.get(), xcb_get_selection_owner(connection_.get(), atoms_[traySelection]), nullptr));
    return reply ? reply->owner : static_cast<xcb_window_t>(XCB_NONE);
}

/// Gives back the icons and the selection.
void XEmbedTray::Tray::giveUp() {
    while (!icons_.empty()) {
        giveBack(icons_.begin()->second);
        remove(icons_.begin()->first);
    }
    if (selectionWindow_ != XCB_NONE) {
        xcb_destroy_window(connection_.get(), selectionWindow_); // programs wait for that to look for another
        selectionWindow_ = XCB_NONE;
    }
    isTray_ = false;
}

// Events

/// Sends what was asked. Whoever waits for a reply takes events off the socket too, and so does whoever
/// writes; the socket then says nothing of them any more.
void XEmbedTray::Tray::flush() {
    xcb_flush(connection_.get());
    if (hasQueuedEvent()) {
        drainSoon();
    }
}

void XEmbedTray::Tray::drainSoon() {
    if (!std::exchange(isDrainPosted_, true)) {
        loop_.post(lifetime_.guard([this] {
            isDrainPosted_ = false;
            drain();
        }));
    }
}

void XEmbedTray::Tray::drain() {
    if (!connection_) {
        return;
    }
    const auto end = Clock::now() + longestPass;
    bool isDry = false;
    while (!isDry && Clock::now() < end) {
        const Event event = nextEvent();
        if (event) {
            handle(*event);
        }
        isDry = !event;
    }
    refreshStale();
    if (isDry && drag_ && drag_->isButtonUp) {
        endDrag(); // the release went elsewhere
    }
    tellMotion();
    if (xcb_connection_has_error(connection_.get())) {
        // The server has given the icons back by itself.
        while (!icons_.empty()) {
            remove(icons_.begin()->first);
        }
        disconnect();
    } else {
        flush();
    }
    deliverNews();
}

Event XEmbedTray::Tray::nextEvent() {
    if (pendingEvents_.empty()) {
        return {xcb_poll_for_event(connection_.get()), &std::free};
    }
    Event event = std::move(pendingEvents_.front());
    pendingEvents_.pop_front();
    return event;
}

bool XEmbedTray::Tray::hasQueuedEvent() {
    if (pendingEvents_.empty()) {
        if (Event event{xcb_poll_for_queued_event(connection_.get()), &std::free}) {
            pendingEvents_.push_back(std::move(event));
        }
    }
    return !pendingEvents_.empty();
}

void XEmbedTray::Tray::handle(const xcb_generic_event_t& event) {
    if ((event.response_type & ~sentBySomeone) == XCB_CLIENT_MESSAGE) {
        handleMessage(as<xcb_client_message_event_t>(event));
        return;
    }
    // Errors have type 0: a window may be gone at any time. What somebody else has sent is not believed.
    switch (event.response_type) {
    case XCB_PROPERTY_NOTIFY: {
        const auto& notice = as<xcb_property_notify_event_t>(event);
        if (Docked* docked = find(notice.window)) {
            docked->isStale = docked->isStale || notice.atom == atoms_[xembedInfo] ||
                              notice.atom == atoms_[netWmName] || notice.atom == XCB_ATOM_WM_NAME ||
                              notice.atom == XCB_ATOM_WM_CLASS;
        }
        break;
    }
    case XCB_CONFIGURE_REQUEST:
        if (Docked* docked = find(as<xcb_configure_request_event_t>(event).window)) {
            ++docked->unansweredRequests;
        }
        break;
    case XCB_MAP_REQUEST:
        if (Docked* docked = find(as<xcb_map_request_event_t>(event).window)) {
            if (!docked->hasInfo && !docked->icon.wantsRoom) {
                docked->icon.wantsRoom = true;
                tell(&Events::changed, docked->icon);
            }
            obeyWish(*docked);
        }
        break;
    case XCB_CONFIGURE_NOTIFY: {
        // A window that window managers are to leave alone need not ask for its size.
        const auto& notice = as<xcb_configure_notify_event_t>(event);
        Docked* docked = notice.event == notice.window ? find(notice.window) : nullptr;
        if (docked) {
            docked->wasResized = true;
        }
        break;
    }
    case XCB_MAP_NOTIFY:
    case XCB_UNMAP_NOTIFY: {
        static_assert(offsetof(xcb_map_notify_event_t, window) == offsetof(xcb_unmap_notify_event_t, window));
        const auto& notice = as<xcb_unmap_notify_event_t>(event);
        Docked* docked = notice.event == notice.window ? find(notice.window) : nullptr;
        if (docked) {
            docked->wasRemapped = true;
        }
        break;
    }
    case XCB_REPARENT_NOTIFY: {
        const auto& notice = as<xcb_reparent_notify_event_t>(event);
        const Docked* docked = notice.event == notice.window ? find(notice.window) : nullptr;
        if (docked && notice.parent != docked->container) {
            letGo(*docked);
            remove(notice.window);
        }
        break;
    }
    case XCB_DESTROY_NOTIFY: {
        const auto& notice = as<xcb_destroy_notify_event_t>(event);
        if (notice.event != notice.window) {
            break; // a container tells of it too
        }
        if (const Docked* docked = find(notice.window)) {
            xcb_destroy_window(connection_.get(), docked->container);
            remove(notice.window);
        } else if (notice.window == rival_) {
            claim();
        } else if (notice.window == ground_.window) {
            giveUp(); // there is nothing to show icons on any more
            rival_ = XCB_NONE;
        }
        break;
    }
    case XCB_SELECTION_CLEAR: {
        const auto& notice = as<xcb_selection_clear_event_t>(event);
        if (isTray_ && notice.owner == selectionWindow_ && notice.selection == atoms_[traySelection]) {
            giveUp();
            claim();
        }
        break;
    }
    case XCB_BUTTON_PRESS:
        beginDrag(as<xcb_button_press_event_t>(event));
        break;
    case XCB_MOTION_NOTIFY: {
        const auto& motion = as<xcb_motion_notify_event_t>(event);
        motion_ = {motion.root_x, motion.root_y};
        break;
    }
    case XCB_BUTTON_RELEASE: {
        if (drag_ && as<xcb_button_release_event_t>(event).detail == XCB_BUTTON_INDEX_1) {
            endDrag();
        }
        break;
    }
    case XCB_KEY_PRESS:
        if (drag_ && isEscape(as<xcb_key_press_event_t>(event).detail)) {
            breakOffDrag();
        }
        break;
    default:
        break;
    }
}

void XEmbedTray::Tray::handleMessage(const xcb_client_message_event_t& message) {
    if (message.type == atoms_[trayOpcode] && message.format == 32 && message.data.data32[1] == requestDock) {
        dock(message.data.data32[2]);
    }
}

/// Looks after every icon that something happened to, once however often it did.
void XEmbedTray::Tray::refreshStale() {
    std::vector<std::pair<Docked*, Look>> looks;
    for (auto& [id, docked] : icons_) {
        if (docked.isStale || docked.wasRemapped) {
            looks.emplace_back(&docked, look(id));
        }
        if (std::exchange(docked.wasResized, false)) {
            resize(id, ground_.iconSide);
        }
        if (docked.unansweredRequests > 0) {
            answerRequests(docked);
        }
    }
    for (auto& [docked, look] : looks) {
        const Icon before = docked->icon;
        read(*docked, look);
        if (!docked->hasInfo) {
            // Mapping is all such a program has to say; it may well be mapped again by now.
            docked->icon.wantsRoom = docked->wasRemapped ? !isUnmapped(before.id) : before.wantsRoom;
        }
        docked->isStale = false;
        docked->wasRemapped = false;
        if (docked->icon.wantsRoom != before.wantsRoom) {
            obeyWish(*docked);
        }
        if (docked->icon != before) {
            tell(&Events::changed, docked->icon);
        }
    }
}

// Icons

void XEmbedTray::Tray::dock(xcb_window_t window) {
    const bool isWelcome = isTray_ && icons_.size() < mostIcons && !icons_.contains(window) &&
                           window != ground_.window && window != screen_->root && !isOurs(window);
    if (!isWelcome) {
        return;
    }
    // Events first: programs often set the mapped flag a moment after they dock.
    constexpr std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(connection_.get(), window, XCB_CW_EVENT_MASK, &mask);
    const Look asked = look(window);
    Docked docked;
    docked.icon.id = window;
    const bool hasContainer = makeContainer(docked);
    read(docked, asked);
    if (!hasContainer) {
        constexpr std::uint32_t nothing = XCB_EVENT_MASK_NO_EVENT;
        xcb_change_window_attributes(connection_.get(), window, XCB_CW_EVENT_MASK, &nothing);
        return;
    }
    const SaveSet saveSet(connection_.get());
    const SaveSet toolkitsSaveSet(toolkitOf(ground_.window));
    saveSet.insert(window);
    toolkitsSaveSet.insert(window);
    const auto failure = owned(xcb_request_check(
        connection_.get(), xcb_reparent_window_checked(connection_.get(), window, docked.container, 0, 0)));
    if (failure) { // gone by now, or nothing that could be an icon
        letGo(docked);
        return;
    }
    welcome(docked);
    tell(&Events::docked, docked.icon);
    icons_.emplace(window, std::move(docked));
}

/// A window of the icon's own kind, opaque, in which it is to stand. False where the icon is not there.
bool XEmbedTray::Tray::makeContainer(Docked& docked) {
    const auto attributesCookie = xcb_get_window_attributes(connection_.get(), docked.icon.id);
    const auto geometryCookie = xcb_get_geometry(connection_.get(), docked.icon.id);
    const auto attributes =
        owned(xcb_get_window_attributes_reply(connection_.get(), attributesCookie, nullptr));
    const auto geometry = owned(xcb_get_geometry_reply(connection_.get(), geometryCookie, nullptr));
    const xcb_visualtype_t* visual = attributes ? visualOf(attributes->visual) : nullptr;
    if (!geometry || !visual || attributes->_class != XCB_WINDOW_CLASS_INPUT_OUTPUT) {
        return false;
    }
    xcb_colormap_t colourMap = groundColourMap_;
    if (attributes->visual != groundVisual_) {
        xcb_colormap_t& own = colourMaps_[attributes->visual];
        if (own == XCB_NONE) {
            own = xcb_generate_id(connection_.get());
            xcb_create_colormap(connection_.get(), XCB_COLORMAP_ALLOC_NONE, own, screen_->root,
                                attributes->visual);
        }
        colourMap = own;
    }
    // Without a border pixel a window of another depth than its parent's is refused.
    constexpr std::uint32_t mask =
        XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL | XCB_CW_EVENT_MASK | XCB_CW_COLORMAP;
    const std::array<std::uint32_t, 4> values{
        pixelOf(ground_.colour, geometry->depth, *visual), 0,
        XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY, colourMap};
    docked.frame = {0, 0, ground_.iconSide, ground_.iconSide};
    docked.container = xcb_generate_id(connection_.get());
    const auto side = static_cast<std::uint16_t>(ground_.iconSide);
    xcb_create_window(connection_.get(), geometry->depth, docked.container, ground_.window, 0, 0, side, side,
                      0, XCB_WINDOW_CLASS_INPUT_OUTPUT, attributes->visual, mask, values.data());
    grabDrags(docked.container);
    return true;
}

void XEmbedTray::Tray::welcome(const Docked& docked) {
    send(docked.icon.id, XCB_EVENT_MASK_NO_EVENT, xembed,
         {XCB_CURRENT_TIME, embeddedNotify, 0, docked.container, embedVersion});
    // Two sizes: GTK draws nothing until it hears of a change.
    resize(docked.icon.id, ground_.iconSide - 1);
    resize(docked.icon.id, ground_.iconSide);
    obeyWish(docked);
}

XEmbedTray::Tray::Look XEmbedTray::Tray::look(xcb_window_t window) const {
    const auto ask = [&](xcb_atom_t property, std::uint32_t longest) {
        return xcb_get_property(connection_.get(), 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0,
                                longest);
    };
    return {ask(atoms_[xembedInfo], 2), ask(atoms_[netWmPid], 1), ask(atoms_[netWmName], longestText),
            ask(XCB_ATOM_WM_NAME, longestText), ask(XCB_ATOM_WM_CLASS, longestText)};
}

void XEmbedTray::Tray::read(Docked& docked, const Look& look) const {
    const auto reply = [&](xcb_get_property_cookie_t cookie) {
        return owned(xcb_get_property_reply(connection_.get(), cookie, nullptr));
    };
    const auto info = reply(look.info);
    const auto pid = reply(look.pid);
    const auto name = reply(look.name);
    const auto legacyName = reply(look.legacyName);
    const auto wmClass = reply(look.wmClass);

    docked.hasInfo = info && info->format == 32 && info->value_len >= 2;
    docked.icon.wantsRoom = true;
    if (docked.hasInfo) {
        const auto* values = static_cast<const std::uint32_t*>(xcb_get_property_value(info.get()));
        docked.icon.wantsRoom = (values[1] & embedMapped) != 0;
    }
    const bool hasPid = pid && pid->format == 32 && pid->value_len == 1;
    docked.icon.pid = hasPid ? *static_cast<const std::int32_t*>(xcb_get_property_value(pid.get())) : 0;
    docked.icon.title = textOf(bytesOf(name.get()));
    if (docked.icon.title.empty()) {
        docked.icon.title = textOf(bytesOf(legacyName.get()));
    }
    docked.icon.instance = textOf(bytesOf(wmClass.get()));
    if (docked.icon.instance.empty()) {
        docked.icon.instance = "icon";
    }
}

bool XEmbedTray::Tray::isUnmapped(xcb_window_t window) const {
    const auto reply = owned(xcb_get_window_attributes_reply(
        connection_.get(), xcb_get_window_attributes(connection_.get(), window), nullptr));
    return reply && reply->map_state == XCB_MAP_STATE_UNMAPPED;
}

void XEmbedTray::Tray::obeyWish(const Docked& docked) {
    if (docked.icon.wantsRoom) {
        xcb_map_window(connection_.get(), docked.icon.id);
    } else {
        xcb_unmap_window(connection_.get(), docked.icon.id);
    }
}

void XEmbedTray::Tray::resize(xcb_window_t icon, int side) {
    constexpr std::uint16_t mask = XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH |
                                   XCB_CONFIG_WINDOW_HEIGHT | XCB_CONFIG_WINDOW_BORDER_WIDTH;
    const auto length = static_cast<std::uint32_t>(side);
    const std::array<std::uint32_t, 5> values{0, 0, length, length, 0};
    xcb_configure_window(connection_.get(), icon, mask, values.data());
}

/// Whatever size was asked for, the answer is ours, one to each request: GTK counts them and draws nothing
/// while any is open.
void XEmbedTray::Tray::answerRequests(Docked& docked) {
    resize(docked.icon.id, ground_.iconSide);
    const auto corner = owned(xcb_translate_coordinates_reply(
        connection_.get(),
        xcb_translate_coordinates(connection_.get(), docked.container, screen_->root, 0, 0), nullptr));
    xcb_configure_notify_event_t notice{};
    notice.response_type = XCB_CONFIGURE_NOTIFY;
    notice.event = docked.icon.id;
    notice.window = docked.icon.id;
    notice.x = corner ? corner->dst_x : std::int16_t{0}; // of the root window, as this kind has it
    notice.y = corner ? corner->dst_y : std::int16_t{0};
    notice.width = static_cast<std::uint16_t>(ground_.iconSide);
    notice.height = static_cast<std::uint16_t>(ground_.iconSide);
    std::array<char, 32> wire{}; // every event has that many bytes
    static_assert(sizeof notice <= wire.size());
    std::memcpy(wire.data(), &notice, sizeof notice);
    for (int& left = docked.unansweredRequests; left > 0; --left) {
        xcb_send_event(connection_.get(), 0, docked.icon.id, XCB_EVENT_MASK_STRUCTURE_NOTIFY, wire.data());
    }
}

void XEmbedTray::Tray::place(IconId icon, const Pixels& cell) {
    if (Docked* docked = find(icon)) {
        docked->cell = cell;
        arrange(*docked);
        if (!std::exchange(docked->isShown, true)) {
            xcb_map_window(connection_.get(), docked->container);
        }
        flush();
    }
}

void XEmbedTray::Tray::hide(IconId icon) {
    Docked* docked = find(icon);
    if (docked && std::exchange(docked->isShown, false)) {
        xcb_unmap_window(connection_.get(), docked->container);
        flush();
    }
}

void XEmbedTray::Tray::setIconSide(int pixels) {
    const int side = std::clamp(pixels, leastSide, greatestSide);
    if (std::exchange(ground_.iconSide, side) == side || !connection_) {
        return;
    }
    for (auto& [id, docked] : icons_) {
        arrange(docked);
        resize(id, side);
    }
    flush();
}

/// Brings the container where its cell wants it.
void XEmbedTray::Tray::arrange(Docked& docked) {
    const Pixels cell = docked.cell.value_or(Pixels{0, 0, ground_.iconSide, ground_.iconSide});
    const Pixels frame = middleOf(cell, ground_.iconSide);
    if (std::exchange(docked.frame, frame) == frame) {
        return;
    }
    constexpr std::uint16_t mask =
        XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT;
    const std::array<std::uint32_t, 4> values{coordinate(frame.x), coordinate(frame.y),
                                              static_cast<std::uint32_t>(frame.width),
                                              static_cast<std::uint32_t>(frame.height)};
    xcb_configure_window(connection_.get(), docked.container, mask, values.data());
}

void XEmbedTray::Tray::giveBack(const Docked& docked) {
    xcb_unmap_window(connection_.get(), docked.container);
    xcb_unmap_window(connection_.get(), docked.icon.id); // or it would flash up on the root window
    xcb_reparent_window(connection_.get(), docked.icon.id, screen_->root, 0, 0);
    letGo(docked);
}

/// Undoes all we did to an icon that is no longer in its container.
void XEmbedTray::Tray::letGo(const Docked& docked) {
    constexpr std::uint32_t nothing = XCB_EVENT_MASK_NO_EVENT;
    xcb_change_window_attributes(connection_.get(), docked.icon.id, XCB_CW_EVENT_MASK, &nothing);
    SaveSet(connection_.get()).remove(docked.icon.id);
    SaveSet(toolkitOf(ground_.window)).remove(docked.icon.id);
    xcb_destroy_window(connection_.get(), docked.container);
}

/// Forgets an icon and says so.
void XEmbedTray::Tray::remove(IconId icon) {
    if (drag_ && drag_->icon == icon) {
        breakOffDrag();
    }
    icons_.erase(icon);
    tell(&Events::removed, icon);
}

XEmbedTray::Tray::Docked* XEmbedTray::Tray::find(IconId icon) {
    const auto found = icons_.find(icon);
    return found == icons_.end() ? nullptr : &found->second;
}

// Drags

void XEmbedTray::Tray::grabDrags(xcb_window_t container) {
    constexpr std::uint16_t mask =
        XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE | XCB_EVENT_MASK_BUTTON_MOTION;
    for (const std::uint16_t key : {std::uint16_t{XCB_MOD_MASK_CONTROL}, super}) {
        for (const int locks : {0, int{capsLock}, int{numLock}, capsLock | numLock}) {
            xcb_grab_button(connection_.get(), 0, container, mask, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC,
                            XCB_WINDOW_NONE, XCB_CURSOR_NONE, XCB_BUTTON_INDEX_1,
                            static_cast<std::uint16_t>(key | locks));
        }
    }
}

void XEmbedTray::Tray::beginDrag(const xcb_button_press_event_t& press) {
    const auto found = std::ranges::find_if(
        icons_, [&](const auto& entry) { return entry.second.container == press.event; });
    if (drag_ || found == icons_.end() || press.detail != XCB_BUTTON_INDEX_1) {
        return;
    }
    // The grab that brought us the press ends with its container's being hidden, which a drag may well lead
    // to; the root window's lasts. The keyboard is for Escape.
    constexpr std::uint16_t mask = XCB_EVENT_MASK_BUTTON_RELEASE | XCB_EVENT_MASK_BUTTON_MOTION;
    const auto pointer = xcb_grab_pointer(connection_.get(), 0, screen_->root, mask, XCB_GRAB_MODE_ASYNC,
                                          XCB_GRAB_MODE_ASYNC, XCB_WINDOW_NONE, XCB_CURSOR_NONE, press.time);
    const auto keyboard = xcb_grab_keyboard(connection_.get(), 0, screen_->root, press.time,
                                            XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    const auto buttons = xcb_query_pointer(connection_.get(), screen_->root);
    xcb_discard_reply(connection_.get(), pointer.sequence);
    xcb_discard_reply(connection_.get(), keyboard.sequence);
    const auto state = owned(xcb_query_pointer_reply(connection_.get(), buttons, nullptr));
    drag_ = {.icon = found->first, .isButtonUp = state && !(state->mask & XCB_BUTTON_MASK_1)};
    tell(&Events::dragBegan, drag_->icon, press.root_x, press.root_y);
}

void XEmbedTray::Tray::breakOffDrag() {
    if (drag_->isOver) {
        return;
    }
    tellMotion();
    drag_->isOver = true;
    xcb_ungrab_keyboard(connection_.get(), XCB_CURRENT_TIME);
    tell(&Events::dragEnded, drag_->icon, false);
}

void XEmbedTray::Tray::endDrag() {
    tellMotion();
    if (!drag_->isOver) {
        tell(&Events::dragEnded, drag_->icon, true);
    }
    drag_.reset();
    xcb_ungrab_keyboard(connection_.get(), XCB_CURRENT_TIME);
    xcb_ungrab_pointer(connection_.get(), XCB_CURRENT_TIME);
}

/// The newest place of the pointer; those it has passed meanwhile are no news.
void XEmbedTray::Tray::tellMotion() {
    const auto place = std::exchange(motion_, std::nullopt);
    if (place && drag_ && !drag_->isOver) {
        tell(&Events::dragMoved, drag_->icon, place->first, place->second);
    }
}

bool XEmbedTray::Tray::isEscape(xcb_keycode_t key) const {
    const auto reply = owned(xcb_get_keyboard_mapping_reply(
        connection_.get(), xcb_get_keyboard_mapping(connection_.get(), key, 1), nullptr));
    if (!reply) {
        return false;
    }
    const xcb_keysym_t* symbols = xcb_get_keyboard_mapping_keysyms(reply.get());
    return std::find(symbols, symbols + reply->keysyms_per_keycode, escapeSymbol) !=
           symbols + reply->keysyms_per_keycode;
}

// News

template <class... Arguments>
void XEmbedTray::Tray::tell(std::function<void(Arguments...)> Events::*event,
                            std::type_identity_t<Arguments>... arguments) {
    news_.push_back([audience = audience_, event, arguments...] {
        const auto& listener = audience->events.*event;
        if (audience->isListening && listener) {
            listener(arguments...);
        }
    });
}

/// Whoever hears the news may place icons, stop the tray or destroy this object: nothing may follow.
void XEmbedTray::Tray::deliverNews() {
    const auto news = std::exchange(news_, {});
    for (const auto& tellOne : news) {
        tellOne();
    }
}

// Small things

void XEmbedTray::Tray::set(xcb_window_t window, Name property, xcb_atom_t type,
                           std::initializer_list<std::uint32_t> values) {
    xcb_change_property(connection_.get(), XCB_PROP_MODE_REPLACE, window, atoms_[property], type, 32,
                        static_cast<std::uint32_t>(values.size()), values.begin());
}

void XEmbedTray::Tray::send(xcb_window_t target, std::uint32_t mask, Name message,
                            std::array<std::uint32_t, 5> data) {
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = target;
    event.type = atoms_[message];
    std::ranges::copy(data, event.data.data32);
    xcb_send_event(connection_.get(), 0, target, mask, reinterpret_cast<const char*>(&event));
}

/// Whether a window was made over this connection.
bool XEmbedTray::Tray::isOurs(xcb_window_t window) const {
    const xcb_setup_t* setup = xcb_get_setup(connection_.get());
    return (window & ~setup->resource_id_mask) == setup->resource_id_base;
}

/// Null where the screen has no such, as for windows that only take input.
const xcb_visualtype_t* XEmbedTray::Tray::visualOf(xcb_visualid_t id) const {
    for (auto depths = xcb_screen_allowed_depths_iterator(screen_); depths.rem > 0; xcb_depth_next(&depths)) {
        const xcb_visualtype_t* visuals = xcb_depth_visuals(depths.data);
        const xcb_visualtype_t* end = visuals + xcb_depth_visuals_length(depths.data);
        const auto* found = std::find_if(
            visuals, end, [id](const xcb_visualtype_t& visual) { return visual.visual_id == id; });
        if (found != end) {
            return found;
        }
    }
    return nullptr;
}

XEmbedTray::XEmbedTray(ZorbelKit::MainLoop& loop, Events events, const char* display)
    : tray_(std::make_unique<Tray>(loop, std::move(events), display)) {
}

XEmbedTray::~XEmbedTray() = default;

void XEmbedTray::start(const Ground& ground) {
    tray_->start(ground);
}

void XEmbedTray::stop() {
    tray_->stop();
}

bool XEmbedTray::isTray() const {
    return tray_->isTray();
}

void XEmbedTray::place(IconId icon, const Pixels& cell) {
    tray_->place(icon, cell);
}

void XEmbedTray::hide(IconId icon) {
    tray_->hide(icon);
}

void XEmbedTray::setIconSide(int pixels) {
    tray_->setIconSide(pixels);
}

} // namespace Linux
