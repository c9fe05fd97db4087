#include "Tests/Desktop/Desktop.hpp"

#include "Platforms/Linux/XReply.hpp"

#include <QCoreApplication>
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xtest.h>

#include <X11/keysym.h>
#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <utility>

extern char** environ;

namespace Desktop {

namespace fs = std::filesystem;
using Linux::owned; // null where a window is gone, which on a live desktop may happen at any time
using Clock = std::chrono::steady_clock;

namespace {

constexpr std::chrono::milliseconds pollInterval{4};
constexpr int glassSide = 28; // the bar's height, and the width of a square item
constexpr int barEdgePadding = 10;

std::vector<std::string> changedEnvironment(const Program::Environment& changes) {
    std::vector<std::string> result;
    for (char** entry = environ; *entry; ++entry) {
        const std::string_view line = *entry;
        if (!changes.contains(std::string(line.substr(0, line.find('='))))) {
            result.emplace_back(line);
        }
    }
    for (const auto& [name, value] : changes) {
        if (value) {
            result.push_back(name + "=" + *value);
        }
    }
    return result;
}

std::vector<char*> pointers(std::vector<std::string>& strings) {
    std::vector<char*> result;
    for (std::string& string : strings) {
        result.push_back(string.data());
    }
    result.push_back(nullptr);
    return result;
}

} // namespace

bool until(const std::function<bool()>& condition, Seconds deadline) {
    const auto end = Clock::now() + deadline;
    while (!condition()) {
        if (Clock::now() >= end) {
            return false;
        }
        QCoreApplication::processEvents();
        std::this_thread::sleep_for(pollInterval);
    }
    return true;
}

bool holds(const std::function<bool()>& condition, Seconds duration) {
    return !until([&] { return !condition(); }, duration);
}

void Settings::write(nlohmann::json values) const {
    values.emplace("ledgra.showShelf", false);
    writeText(values.dump());
}

void Settings::writeText(const std::string& text) const {
    fs::create_directories(file().parent_path());
    std::ofstream(file(), std::ios::binary) << text;
}

nlohmann::json Settings::read() const {
    std::ifstream stream(file(), std::ios::binary);
    auto values = nlohmann::json::parse(stream, nullptr, /*allow_exceptions=*/false);
    return values.is_object() ? values : nlohmann::json::object();
}

Program::Program(const std::vector<std::string>& command, const Environment& changes,
                 std::optional<rlim_t> largestFile) {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::system_error(errno, std::generic_category(), "pipe");
    }
    pipe_ = ends[0];
    ::fcntl(pipe_, F_SETFL, O_NONBLOCK);
    auto words = command;
    auto variables = changedEnvironment(changes);
    const auto arguments = pointers(words);
    const auto environment = pointers(variables);
    pid_ = ::fork();
    if (pid_ == 0) {
        // Between fork and exec only what is safe in a signal handler.
        const int nothing = ::open("/dev/null", O_RDONLY);
        ::dup2(nothing, STDIN_FILENO);
        ::dup2(ends[1], STDOUT_FILENO);
        ::dup2(ends[1], STDERR_FILENO);
        if (largestFile) {
            const rlimit limit{*largestFile, *largestFile};
            ::setrlimit(RLIMIT_FSIZE, &limit);
        }
        ::execvpe(arguments[0], arguments.data(), environment.data());
        ::_exit(127);
    }
    ::close(ends[1]);
    notifier_ = std::make_unique<QSocketNotifier>(pipe_, QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(), [this] { drain(); });
}

Program::~Program() {
    if (isRunning()) {
        send(SIGKILL);
        ::waitpid(pid_, nullptr, 0);
    }
    notifier_.reset();
    ::close(pipe_);
}

bool Program::isRunning() {
    int status = 0;
    if (!status_ && ::waitpid(pid_, &status, WNOHANG) == pid_) {
        status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    return !status_;
}

void Program::send(int signal) const {
    if (!status_) {
        ::kill(pid_, signal);
    }
}

std::optional<int> Program::waitForEnd(Seconds deadline) {
    static_cast<void>(until([this] { return !isRunning(); }, deadline));
    return status_;
}

const std::string& Program::output() {
    drain();
    return output_;
}

void Program::drain() {
    std::array<char, 4096> piece{};
    ssize_t count = 0;
    while ((count = ::read(pipe_, piece.data(), piece.size())) > 0) {
        output_.append(piece.data(), static_cast<std::size_t>(count));
    }
    if (count == 0 && notifier_) {
        notifier_->setEnabled(false); // the other end is closed: it would call for ever
    }
}

Program::Environment unread() {
    return {{"NO_AT_BRIDGE", "1"},
            {"GTK_A11Y", "none"},
            {"QT_ACCESSIBILITY", "0"},
            {"QT_LINUX_ACCESSIBILITY_ALWAYS_ON", std::nullopt}};
}

Screen::Screen(const char* display)
    : connection_(xcb_connect(display, nullptr)) {
    if (xcb_connection_has_error(connection_.get())) {
        throw std::runtime_error("no X server to look at");
    }
    screen_ = xcb_setup_roots_iterator(xcb_get_setup(connection_.get())).data;
}

Screen::~Screen() = default;

QSize Screen::size() const {
    const auto reply = owned(xcb_get_geometry_reply(
        connection_.get(), xcb_get_geometry(connection_.get(), screen_->root), nullptr));
    return reply ? QSize(reply->width, reply->height) : QSize();
}

void Screen::fake(std::uint8_t type, std::uint8_t detail, QPoint place) const {
    xcb_test_fake_input(connection_.get(), type, detail, XCB_CURRENT_TIME, screen_->root,
                        static_cast<std::int16_t>(place.x()), static_cast<std::int16_t>(place.y()), 0);
}

void Screen::settle() const {
    owned(xcb_get_input_focus_reply(connection_.get(), xcb_get_input_focus(connection_.get()), nullptr));
}

void Screen::movePointer(QPoint place) const {
    fake(XCB_MOTION_NOTIFY, 0, place);
    settle();
}

void Screen::click(QPoint place, int button) const {
    movePointer(place);
    fake(XCB_BUTTON_PRESS, static_cast<std::uint8_t>(button));
    fake(XCB_BUTTON_RELEASE, static_cast<std::uint8_t>(button));
    settle();
}

std::optional<std::uint8_t> Screen::keycode(xcb_keysym_t key) const {
    const xcb_setup_t* setup = xcb_get_setup(connection_.get());
    const auto count = static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1);
    const auto mapping = owned(xcb_get_keyboard_mapping_reply(
        connection_.get(), xcb_get_keyboard_mapping(connection_.get(), setup->min_keycode, count), nullptr));
    if (!mapping) {
        return std::nullopt;
    }
    const xcb_keysym_t* symbols = xcb_get_keyboard_mapping_keysyms(mapping.get());
    for (std::size_t code = 0; code < count; ++code) {
        if (symbols[code * mapping->keysyms_per_keycode] == key) {
            return static_cast<std::uint8_t>(setup->min_keycode + code);
        }
    }
    return std::nullopt;
}

void Screen::press(xcb_keysym_t key) const {
    setKeyDown(key, true);
    setKeyDown(key, false);
}

void Screen::setKeyDown(xcb_keysym_t key, bool isDown) const {
    if (const auto code = keycode(key)) {
        fake(isDown ? XCB_KEY_PRESS : XCB_KEY_RELEASE, *code);
        settle();
    }
}

void Screen::setButtonDown(bool isDown, int button) const {
    fake(isDown ? XCB_BUTTON_PRESS : XCB_BUTTON_RELEASE, static_cast<std::uint8_t>(button));
    settle();
}

void Screen::drag(QPoint from, QPoint to, xcb_keysym_t held) const {
    constexpr int step = 4; // pixels
    movePointer(from);
    if (held != XCB_NO_SYMBOL) {
        setKeyDown(held, true);
    }
    setButtonDown(true);
    const QPoint way = to - from;
    const int steps = std::max({1, std::abs(way.x()) / step, std::abs(way.y()) / step});
    for (int index = 1; index <= steps; ++index) {
        movePointer(from + way * index / steps);
        QCoreApplication::processEvents();
        std::this_thread::sleep_for(pollInterval); // a hand does not jump
    }
    setButtonDown(false);
    if (held != XCB_NO_SYMBOL) {
        setKeyDown(held, false);
    }
}

QImage Screen::picture() const {
    return picture(QRect(QPoint(0, 0), size()));
}

QImage Screen::picture(const QRect& part) const {
    const QRect seen = part & QRect(QPoint(0, 0), size());
    if (seen.isEmpty()) {
        return {};
    }
    const auto reply = owned(xcb_get_image_reply(
        connection_.get(),
        xcb_get_image(connection_.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, screen_->root,
                      static_cast<std::int16_t>(seen.x()), static_cast<std::int16_t>(seen.y()),
                      static_cast<std::uint16_t>(seen.width()), static_cast<std::uint16_t>(seen.height()),
                      ~0U),
        nullptr));
    if (!reply) {
        return {};
    }
    return QImage(xcb_get_image_data(reply.get()), seen.width(), seen.height(), 4 * seen.width(),
                  QImage::Format_RGB32)
        .copy();
}

xcb_atom_t Screen::atom(const char* name) const {
    const auto reply = owned(xcb_intern_atom_reply(
        connection_.get(),
        xcb_intern_atom(connection_.get(), 0, static_cast<std::uint16_t>(std::strlen(name)), name), nullptr));
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

xcb_window_t Screen::selectionOwner(const char* name) const {
    const auto reply = owned(xcb_get_selection_owner_reply(
        connection_.get(), xcb_get_selection_owner(connection_.get(), atom(name)), nullptr));
    return reply ? reply->owner : static_cast<xcb_window_t>(XCB_NONE);
}

std::vector<std::uint32_t> Screen::property(xcb_window_t window, const char* name,
                                            std::size_t longest) const {
    const auto reply = owned(xcb_get_property_reply(connection_.get(),
                                                    xcb_get_property(connection_.get(), 0, window, atom(name),
                                                                     XCB_GET_PROPERTY_TYPE_ANY, 0,
                                                                     static_cast<std::uint32_t>(longest)),
                                                    nullptr));
    if (!reply || reply->format != 32) {
        return {};
    }
    const auto* values = static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
    return {values, values + reply->value_len};
}

std::vector<std::uint32_t> Screen::rootProperty(const char* name, std::size_t longest) const {
    return property(screen_->root, name, longest);
}

std::string Screen::text(xcb_window_t window, const char* name) const {
    const auto reply = owned(xcb_get_property_reply(
        connection_.get(),
        xcb_get_property(connection_.get(), 0, window, atom(name), XCB_GET_PROPERTY_TYPE_ANY, 0, 256),
        nullptr));
    if (!reply || reply->format != 8) {
        return {};
    }
    return {static_cast<const char*>(xcb_get_property_value(reply.get())), reply->value_len};
}

std::optional<QRect> Screen::frame(xcb_window_t window) const {
    const auto attributes = xcb_get_window_attributes(connection_.get(), window);
    const auto geometry = xcb_get_geometry(connection_.get(), window);
    const auto place = xcb_translate_coordinates(connection_.get(), window, screen_->root, 0, 0);
    const auto shown = owned(xcb_get_window_attributes_reply(connection_.get(), attributes, nullptr));
    const auto size = owned(xcb_get_geometry_reply(connection_.get(), geometry, nullptr));
    const auto corner = owned(xcb_translate_coordinates_reply(connection_.get(), place, nullptr));
    if (!shown || !size || !corner || shown->map_state != XCB_MAP_STATE_VIEWABLE) {
        return std::nullopt;
    }
    return QRect(corner->dst_x, corner->dst_y, size->width, size->height);
}

std::optional<QRect> Screen::outerFrame(xcb_window_t window) const {
    while (true) {
        const auto tree = owned(
            xcb_query_tree_reply(connection_.get(), xcb_query_tree(connection_.get(), window), nullptr));
        if (!tree) {
            return std::nullopt;
        }
        if (tree->parent == tree->root) {
            return frame(window);
        }
        window = tree->parent;
    }
}

bool Screen::isUnframed(xcb_window_t window) const {
    const auto tree =
        owned(xcb_query_tree_reply(connection_.get(), xcb_query_tree(connection_.get(), window), nullptr));
    return tree && tree->parent == tree->root;
}

std::vector<Window> Screen::windows() const {
    std::vector<Window> found;
    collect(screen_->root, 0, found);
    return found;
}

void Screen::collect(xcb_window_t window, int depth, std::vector<Window>& found) const {
    constexpr int deepestFrame = 3; // window managers put a client into a frame or two
    const std::string classes = depth > 0 ? text(window, "WM_CLASS") : std::string();
    if (!classes.empty()) {
        if (const auto place = frame(window)) {
            const auto attributes = owned(xcb_get_window_attributes_reply(
                connection_.get(), xcb_get_window_attributes(connection_.get(), window), nullptr));
            std::string title = text(window, "_NET_WM_NAME");
            if (title.empty()) {
                title = text(window, "WM_NAME");
            }
            const auto names = QString::fromStdString(classes).split(QChar(u'\0'));
            found.push_back({window, QString::fromStdString(title), names.value(0), names.value(1), *place,
                             attributes && !attributes->override_redirect});
        }
        return;
    }
    if (depth == deepestFrame) {
        return;
    }
    const auto tree =
        owned(xcb_query_tree_reply(connection_.get(), xcb_query_tree(connection_.get(), window), nullptr));
    if (!tree) {
        return;
    }
    const xcb_window_t* children = xcb_query_tree_children(tree.get());
    for (int index = 0; index < xcb_query_tree_children_length(tree.get()); ++index) {
        collect(children[index], depth + 1, found);
    }
}

void Screen::ask(xcb_window_t window, const char* message, const std::array<std::uint32_t, 5>& data) const {
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = atom(message);
    std::ranges::copy(data, event.data.data32);
    xcb_send_event(connection_.get(), 0, screen_->root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&event));
    settle();
}

void Screen::moveAndResize(xcb_window_t window, const QRect& wanted) const {
    constexpr std::uint32_t northWest = 1; // the frame's corner is meant
    constexpr std::uint32_t allFour = 0xF00;
    constexpr std::uint32_t fromPager = 2U << 12;
    ask(window, "_NET_MOVERESIZE_WINDOW",
        {northWest | allFour | fromPager, static_cast<std::uint32_t>(wanted.x()),
         static_cast<std::uint32_t>(wanted.y()), static_cast<std::uint32_t>(wanted.width()),
         static_cast<std::uint32_t>(wanted.height())});
}

void Screen::maximise(xcb_window_t window) const {
    constexpr std::uint32_t add = 1;
    ask(window, "_NET_WM_STATE",
        {add, atom("_NET_WM_STATE_MAXIMIZED_VERT"), atom("_NET_WM_STATE_MAXIMIZED_HORZ"), 2, 0});
}

void Screen::makeFullscreen(xcb_window_t window) const {
    constexpr std::uint32_t add = 1;
    ask(window, "_NET_WM_STATE", {add, atom("_NET_WM_STATE_FULLSCREEN"), XCB_ATOM_NONE, 2, 0});
}

void Screen::activate(xcb_window_t window) const {
    constexpr std::uint32_t fromPager = 2;
    ask(window, "_NET_ACTIVE_WINDOW", {fromPager, XCB_CURRENT_TIME, XCB_NONE, 0, 0});
}

xcb_window_t Screen::openWindow(const QRect& frame, const char* title) const {
    const xcb_window_t window = xcb_generate_id(connection_.get());
    xcb_create_window(connection_.get(), XCB_COPY_FROM_PARENT, window, screen_->root,
                      static_cast<std::int16_t>(frame.x()), static_cast<std::int16_t>(frame.y()),
                      static_cast<std::uint16_t>(frame.width()), static_cast<std::uint16_t>(frame.height()),
                      0, XCB_WINDOW_CLASS_INPUT_OUTPUT, screen_->root_visual, XCB_CW_BACK_PIXEL,
                      &screen_->white_pixel);
    xcb_change_property(connection_.get(), XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING,
                        8, static_cast<std::uint32_t>(std::strlen(title)), title);
    xcb_change_property(connection_.get(), XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING,
                        8, sizeof "other\0Other", "other\0Other");
    xcb_map_window(connection_.get(), window);
    settle();
    return window;
}

void Screen::closeWindow(xcb_window_t window) const {
    xcb_destroy_window(connection_.get(), window);
    settle();
}

namespace {

template <class Matches>
std::optional<Window> findOurs(const Screen& screen, Matches matches) {
    for (const Window& window : screen.windows()) {
        if (window.className.compare("zorbel", Qt::CaseInsensitive) == 0 && matches(window)) {
            return window;
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<Window> findBar(const Screen& screen) {
    return findOurs(screen, [](const Window& window) { return window.title.startsWith("Zorbel menu bar"); });
}

std::optional<Window> findPanel(const Screen& screen) {
    return findOurs(screen,
                    [](const Window& window) { return !window.isManaged && window.frame.height() > 400; });
}

std::optional<Window> findDashboard(const Screen& screen) {
    return findOurs(screen,
                    [](const Window& window) { return window.isManaged && window.title == "Zorbel"; });
}

std::optional<Window> findWelcome(const Screen& screen) {
    return findOurs(screen,
                    [](const Window& window) { return window.title.startsWith("Welcome to Zorbel"); });
}

QRect glassOn(const std::optional<Window>& bar) {
    if (!bar) {
        return {};
    }
    return {bar->frame.x() + bar->frame.width() - barEdgePadding - glassSide, bar->frame.y(), glassSide,
            glassSide};
}

QRect boundsOf(const QImage& picture, QColor colour, int tolerance) {
    QRect bounds;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const QRgb pixel = picture.pixel(x, y);
            if (std::abs(qRed(pixel) - colour.red()) <= tolerance &&
                std::abs(qGreen(pixel) - colour.green()) <= tolerance &&
                std::abs(qBlue(pixel) - colour.blue()) <= tolerance) {
                bounds |= QRect(x, y, 1, 1);
            }
        }
    }
    return bounds;
}

} // namespace Desktop
