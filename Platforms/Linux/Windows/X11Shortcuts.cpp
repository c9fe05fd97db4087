#include "Platforms/Linux/Windows/X11Shortcuts.hpp"

#include "Platforms/Linux/Windows/KeyboardMap.hpp"

#include <QSocketNotifier>

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Linux {

namespace {

/// A notifier may go while it tells something.
struct DeleteLater {
    void operator()(QSocketNotifier* notifier) const {
        notifier->setEnabled(false);
        notifier->deleteLater();
    }
};

/// A key with modifiers, as it is grabbed.
struct Chord {
    xcb_keycode_t key = 0;
    std::uint16_t modifiers = 0;
    bool operator==(const Chord&) const = default;
};

} // namespace

class X11Shortcuts::Keyboard : public std::enable_shared_from_this<Keyboard> {
public:
    explicit Keyboard(const char* display)
        : display_(display ? std::optional<std::string>(display) : std::nullopt) {}
    Keyboard(const Keyboard&) = delete;
    Keyboard& operator=(const Keyboard&) = delete;
    ~Keyboard() = default;

    ZorbelKit::Token grab(std::string_view key, std::function<void()> pressed);

private:
    struct Grab {
        xcb_keysym_t symbol = XCB_NO_SYMBOL;
        std::vector<Chord> chords; // empty where the key could not be held after a change of layout
        std::function<void()> pressed;
    };

    struct Release { // the last one of any key
        xcb_keycode_t key = 0;
        xcb_timestamp_t time = XCB_CURRENT_TIME;
        bool operator==(const Release&) const = default;
    };

    bool connect();
    void disconnect();
    void letGo(std::uint64_t id);
    std::vector<Chord> chords(xcb_keysym_t symbol) const;
    bool hold(const std::vector<Chord>& chords) const;
    void release(const std::vector<Chord>& chords) const;
    void drain();
    void drainSoon();
    void handle(const xcb_generic_event_t& event);
    void press(const xcb_key_press_event_t& event);
    void holdAgain();

    const std::optional<std::string> display_;
    std::unique_ptr<xcb_connection_t, Disconnect> connection_;
    xcb_window_t root_ = XCB_NONE;
    std::optional<KeyboardMap> map_;
    std::map<std::uint64_t, Grab> grabs_;
    std::uint64_t nextId_ = 1;
    Release lastRelease_;
    bool isMapStale_ = false;
    std::unique_ptr<QSocketNotifier, DeleteLater> notifier_; // of the connection's socket, so it goes first
};

ZorbelKit::Token X11Shortcuts::Keyboard::grab(std::string_view key, std::function<void()> pressed) {
    const xcb_keysym_t symbol = KeyboardMap::symbol(key);
    const bool isHeld =
        std::ranges::any_of(grabs_, [&](const auto& entry) { return entry.second.symbol == symbol; });
    if (symbol == XCB_NO_SYMBOL || isHeld || !connect()) {
        return {};
    }
    std::vector<Chord> chords = this->chords(symbol);
    if (!hold(chords)) {
        if (grabs_.empty()) {
            disconnect();
        }
        return {};
    }
    drainSoon();
    const std::uint64_t id = nextId_++;
    grabs_[id] = {symbol, std::move(chords), std::move(pressed)};
    return ZorbelKit::Token([weak = weak_from_this(), id] {
        if (const auto keyboard = weak.lock()) {
            keyboard->letGo(id);
        }
    });
}

bool X11Shortcuts::Keyboard::connect() {
    if (connection_) {
        return true;
    }
    int screenNumber = 0;
    connection_.reset(xcb_connect(display_ ? display_->c_str() : nullptr, &screenNumber));
    if (xcb_connection_has_error(connection_.get())) {
        connection_.reset();
        return false;
    }
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(connection_.get()));
    for (int index = 0; index < screenNumber && screens.rem > 1; ++index) {
        xcb_screen_next(&screens);
    }
    root_ = screens.data->root;
    map_.emplace(connection_.get());
    notifier_.reset(new QSocketNotifier(xcb_get_file_descriptor(connection_.get()), QSocketNotifier::Read));
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(), [this] { drain(); });
    return true;
}

/// The server lets go of every key by itself.
void X11Shortcuts::Keyboard::disconnect() {
    notifier_.reset();
    map_.reset();
    connection_.reset();
    lastRelease_ = {};
    isMapStale_ = false;
}

void X11Shortcuts::Keyboard::letGo(std::uint64_t id) {
    const auto found = grabs_.find(id);
    if (found == grabs_.end()) {
        return;
    }
    const Grab grab = std::move(found->second); // its end may let go of other keys
    grabs_.erase(found);
    if (grabs_.empty()) {
        disconnect();
    } else if (connection_) {
        release(grab.chords);
    }
}

/// Wherever the symbol is on the keyboard, whatever lock is on.
std::vector<Chord> X11Shortcuts::Keyboard::chords(xcb_keysym_t symbol) const {
    std::vector<Chord> chords;
    for (const xcb_keycode_t key : map_->keys(symbol)) {
        for (const std::uint16_t lock : map_->locks()) {
            chords.push_back({key, static_cast<std::uint16_t>(XCB_MOD_MASK_CONTROL | map_->alt() | lock)});
        }
    }
    return chords;
}

/// All or nothing: where another program holds one of the combinations, the key would work at one time and
/// not at another.
bool X11Shortcuts::Keyboard::hold(const std::vector<Chord>& chords) const {
    std::vector<xcb_void_cookie_t> questions;
    questions.reserve(chords.size());
    for (const Chord& chord : chords) {
        questions.push_back(xcb_grab_key_checked(connection_.get(), 0, root_, chord.modifiers, chord.key,
                                                 XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    }
    bool isHeld = !chords.empty();
    for (const auto question : questions) {
        isHeld = !owned(xcb_request_check(connection_.get(), question)) && isHeld;
    }
    isHeld = isHeld && !xcb_connection_has_error(connection_.get());
    if (!isHeld) {
        release(chords);
    }
    return isHeld;
}

void X11Shortcuts::Keyboard::release(const std::vector<Chord>& chords) const {
    for (const Chord& chord : chords) {
        xcb_ungrab_key(connection_.get(), chord.key, root_, chord.modifiers);
    }
    xcb_flush(connection_.get());
}

void X11Shortcuts::Keyboard::drain() {
    const auto self = shared_from_this(); // whoever hears of a key may let go of everything
    while (connection_) {
        const XEvent event = owned(xcb_poll_for_event(connection_.get()));
        if (!event) {
            break;
        }
        handle(*event);
    }
    if (connection_ && xcb_connection_has_error(connection_.get())) {
        notifier_.reset(); // nothing more will come
    } else if (connection_ && std::exchange(isMapStale_, false)) {
        holdAgain();
    }
}

void X11Shortcuts::Keyboard::handle(const xcb_generic_event_t& event) {
    switch (event.response_type) {
    case XCB_KEY_PRESS:
        press(as<xcb_key_press_event_t>(event));
        break;
    case XCB_KEY_RELEASE: {
        const auto& release = as<xcb_key_release_event_t>(event);
        lastRelease_ = {release.detail, release.time};
        break;
    }
    case XCB_MAPPING_NOTIFY:
        isMapStale_ = as<xcb_mapping_notify_event_t>(event).request != XCB_MAPPING_POINTER || isMapStale_;
        break;
    default:
        break;
    }
}

/// A key that is held down goes up and down at the same moment, again and again.
void X11Shortcuts::Keyboard::press(const xcb_key_press_event_t& event) {
    if (lastRelease_ == Release{event.detail, event.time}) {
        return;
    }
    const auto found = std::ranges::find_if(grabs_, [&](const auto& entry) {
        return std::ranges::any_of(entry.second.chords,
                                   [&](const Chord& chord) { return chord.key == event.detail; });
    });
    if (found != grabs_.end()) {
        const auto pressed = found->second.pressed; // it may let go of the key, and with it of itself
        pressed();
    }
}

/// The keys may be elsewhere now; often they are not, as when another keyboard is touched. No key is let go
/// before the new ones are held, and none that stays where it is.
void X11Shortcuts::Keyboard::holdAgain() {
    map_.emplace(connection_.get());
    std::vector<Chord> left;
    for (auto& [id, grab] : grabs_) {
        std::vector<Chord> wanted = chords(grab.symbol);
        if (wanted != grab.chords) {
            left.insert(left.end(), grab.chords.begin(), grab.chords.end());
            grab.chords = hold(wanted) ? std::move(wanted) : std::vector<Chord>();
        }
    }
    std::erase_if(left, [&](const Chord& chord) {
        return std::ranges::any_of(grabs_, [&](const auto& entry) {
            return std::ranges::find(entry.second.chords, chord) != entry.second.chords.end();
        });
    });
    release(left);
    drainSoon();
}

/// Whoever waits for answers takes events off the socket, which says nothing of them then.
void X11Shortcuts::Keyboard::drainSoon() {
    const auto drainNow = [weak = weak_from_this()] {
        if (const auto keyboard = weak.lock()) {
            keyboard->drain();
        }
    };
    QMetaObject::invokeMethod(notifier_.get(), drainNow, Qt::QueuedConnection);
}

X11Shortcuts::X11Shortcuts(const char* display)
    : keyboard_(std::make_shared<Keyboard>(display)) {
}

X11Shortcuts::~X11Shortcuts() = default;

ZorbelKit::Token X11Shortcuts::grab(std::string_view key, std::function<void()> pressed) {
    return keyboard_->grab(key, std::move(pressed));
}

std::string X11Shortcuts::text(std::string_view key) const {
    return "Ctrl+Alt+" + std::string(key);
}

} // namespace Linux
