#include "Platforms/Linux/MenuBar/XEmbedTray.hpp"
#include "Platforms/Linux/XReply.hpp"
#include "Platforms/Qt/QtMainLoop.hpp"
#include "Tests/Desktop/Desktop.hpp"

#include <gtest/gtest.h>
#include <xcb/xtest.h>

#include <X11/keysym.h>
#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <thread>

using namespace Desktop;
using Icon = Linux::XEmbedTray::Icon;
using IconId = Linux::XEmbedTray::IconId;
using Pixels = Linux::XEmbedTray::Pixels;

using Linux::Disconnect;
using Linux::owned;

namespace {

constexpr QRect groundFrame(100, 100, 800, 28);
constexpr int cellWidth = 40;
constexpr int side = 24;
constexpr std::uint32_t mapped = 1;          // in _XEMBED_INFO
constexpr std::uint8_t sentBySomeone = 0x80; // in the type of an event

const QColor groundColour(Qt::darkGreen);
const QColor red(Qt::red);
const QColor blue(Qt::blue);

std::uint32_t rgb(const QColor& colour) {
    return colour.rgb() & RGB_MASK;
}

Pixels cell(int index) {
    return {index * cellWidth, 0, cellWidth, groundFrame.height()};
}

/// Where on the screen an icon in the middle of such a cell is seen.
QRect seenIn(int index, int length = side) {
    return {groundFrame.x() + index * cellWidth + (cellWidth - length) / 2,
            groundFrame.y() + (groundFrame.height() - length) / 2, length, length};
}

bool isFilled(const QImage& picture, const QColor& colour) {
    QImage filled(picture.size(), QImage::Format_RGB32);
    filled.fill(colour);
    return !picture.isNull() && picture == filled;
}

/// A program of its own to the X server.
class Client {
public:
    Client()
        : connection_(xcb_connect(nullptr, nullptr)) {
        screen_ = xcb_setup_roots_iterator(xcb_get_setup(get())).data;
    }

    xcb_connection_t* get() const { return connection_.get(); }
    xcb_window_t root() const { return screen_->root; }
    const xcb_screen_t& screen() const { return *screen_; }

    void settle() const { owned(xcb_get_input_focus_reply(get(), xcb_get_input_focus(get()), nullptr)); }

    xcb_atom_t atom(const char* name) const {
        return owned(xcb_intern_atom_reply(
                         get(),
                         xcb_intern_atom(get(), 0, static_cast<std::uint16_t>(std::strlen(name)), name),
                         nullptr))
            ->atom;
    }

    xcb_window_t trayWindow() const {
        return owned(xcb_get_selection_owner_reply(
                         get(), xcb_get_selection_owner(get(), atom("_NET_SYSTEM_TRAY_S0")), nullptr))
            ->owner;
    }

    /// None where the window is gone.
    xcb_window_t parentOf(xcb_window_t window) const {
        const auto tree = owned(xcb_query_tree_reply(get(), xcb_query_tree(get(), window), nullptr));
        return tree ? tree->parent : static_cast<xcb_window_t>(XCB_NONE);
    }

    std::optional<int> mapState(xcb_window_t window) const {
        const auto attributes =
            owned(xcb_get_window_attributes_reply(get(), xcb_get_window_attributes(get(), window), nullptr));
        return attributes ? std::optional<int>(attributes->map_state) : std::nullopt;
    }

    /// In its parent.
    QRect geometryOf(xcb_window_t window) const {
        const auto reply = owned(xcb_get_geometry_reply(get(), xcb_get_geometry(get(), window), nullptr));
        return reply ? QRect(reply->x, reply->y, reply->width, reply->height) : QRect();
    }

    void askToDock(xcb_window_t window) const {
        const xcb_window_t tray = trayWindow();
        xcb_client_message_event_t message{};
        message.response_type = XCB_CLIENT_MESSAGE;
        message.format = 32;
        message.window = tray;
        message.type = atom("_NET_SYSTEM_TRAY_OPCODE");
        message.data.data32[2] = window;
        xcb_send_event(get(), 0, tray, XCB_EVENT_MASK_NO_EVENT, reinterpret_cast<const char*>(&message));
        xcb_flush(get());
    }

    void setText(xcb_window_t window, xcb_atom_t property, xcb_atom_t type, const std::string& text) const {
        xcb_change_property(get(), XCB_PROP_MODE_REPLACE, window, property, type, 8,
                            static_cast<std::uint32_t>(text.size()), text.data());
        xcb_flush(get());
    }

private:
    std::unique_ptr<xcb_connection_t, Disconnect> connection_;
    const xcb_screen_t* screen_ = nullptr;
};

/// What a program's icon is like before it docks.
struct Shape {
    QSize size{side, side};
    std::optional<std::uint32_t> info = mapped; // none: the program knows nothing of _XEMBED_INFO
    QColor colour = red;
    int depth = 24;
    std::uint16_t border = 0;
    bool isUnmanaged = false; // the window manager keeps its hands off
};

/// An older program with an icon, and what has happened to it.
class IconProgram : public Client {
public:
    explicit IconProgram(const Shape& shape = {})
        : window_(xcb_generate_id(get())) {
        xcb_visualid_t visual = screen().root_visual;
        for (auto depths = xcb_screen_allowed_depths_iterator(&screen()); depths.rem > 0;
             xcb_depth_next(&depths)) {
            if (depths.data->depth == shape.depth && shape.depth != screen().root_depth) {
                visual = xcb_depth_visuals(depths.data)->visual_id;
            }
        }
        const xcb_colormap_t colours = xcb_generate_id(get());
        xcb_create_colormap(get(), XCB_COLORMAP_ALLOC_NONE, colours, root(), visual);
        const std::uint32_t pixel = shape.depth == 32 ? shape.colour.rgba() : rgb(shape.colour);
        const std::uint32_t values[] = {pixel, 0,
                                        XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_BUTTON_PRESS |
                                            XCB_EVENT_MASK_BUTTON_RELEASE,
                                        colours};
        xcb_create_window(
            get(), static_cast<std::uint8_t>(shape.depth), window_, root(), 0, 0,
            static_cast<std::uint16_t>(shape.size.width()), static_cast<std::uint16_t>(shape.size.height()),
            shape.border, XCB_WINDOW_CLASS_INPUT_OUTPUT, visual,
            XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL | XCB_CW_EVENT_MASK | XCB_CW_COLORMAP, values);
        setText(window_, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, std::string("probe\0Probe", 12));
        if (shape.info) {
            setInfo(*shape.info);
        }
        const std::uint32_t isUnmanaged = shape.isUnmanaged;
        xcb_change_window_attributes(get(), window_, XCB_CW_OVERRIDE_REDIRECT, &isUnmanaged);
        settle();
    }

    xcb_window_t window() const { return window_; }

    void dock() const { askToDock(window_); }

    void setInfo(std::uint32_t flags) const {
        const std::uint32_t values[] = {0, flags};
        const xcb_atom_t info = atom("_XEMBED_INFO");
        xcb_change_property(get(), XCB_PROP_MODE_REPLACE, window_, info, info, 32, 2, values);
        xcb_flush(get());
    }

    void map() const {
        xcb_map_window(get(), window_);
        xcb_flush(get());
    }

    void unmap() const {
        xcb_unmap_window(get(), window_);
        xcb_flush(get());
    }

    void askForSize(std::uint32_t width, std::uint32_t height) const {
        const std::uint32_t values[] = {width, height};
        xcb_configure_window(get(), window_, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, values);
        xcb_flush(get());
    }

    void destroy() const {
        xcb_destroy_window(get(), window_);
        xcb_flush(get());
    }

    void moveTo(xcb_window_t parent) const {
        xcb_reparent_window(get(), window_, parent, 0, 0);
        xcb_flush(get());
    }

    bool isAlive() const { return parentOf(window_) != XCB_NONE; }
    bool isAtHome() const { return parentOf(window_) == root(); }
    xcb_window_t container() const { return parentOf(window_); }

    /// All that has come so far.
    const IconProgram& listen() {
        while (const auto event = owned(xcb_poll_for_event(get()))) {
            switch (event->response_type) {
            case XCB_CONFIGURE_NOTIFY:
                sizes.emplace_back(reinterpret_cast<xcb_configure_notify_event_t*>(event.get())->width,
                                   reinterpret_cast<xcb_configure_notify_event_t*>(event.get())->height);
                break;
            case XCB_CONFIGURE_NOTIFY | sentBySomeone: {
                const auto* notice = reinterpret_cast<xcb_configure_notify_event_t*>(event.get());
                answers.emplace_back(notice->x, notice->y, notice->width, notice->height);
                break;
            }
            case XCB_CLIENT_MESSAGE | sentBySomeone: {
                const auto* message = reinterpret_cast<xcb_client_message_event_t*>(event.get());
                if (message->type == atom("_XEMBED") && message->data.data32[1] == 0) {
                    embedder = message->data.data32[3];
                }
                break;
            }
            case XCB_UNMAP_NOTIFY:
                ++unmappings;
                break;
            case XCB_BUTTON_PRESS:
                ++presses;
                break;
            case XCB_BUTTON_RELEASE:
                ++releases;
                break;
            default:
                break;
            }
        }
        return *this;
    }

    std::vector<QSize> sizes;   // it was given
    std::vector<QRect> answers; // to its requests, on the screen
    xcb_window_t embedder = XCB_NONE;
    int unmappings = 0;
    int presses = 0;
    int releases = 0;

private:
    xcb_window_t window_;
};

/// Another program's tray.
class Rival : public Client {
public:
    Rival()
        : window_(xcb_generate_id(get())) {
        xcb_create_window(get(), XCB_COPY_FROM_PARENT, window_, root(), 0, 0, 1, 1, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, screen().root_visual, 0, nullptr);
        xcb_set_selection_owner(get(), window_, atom("_NET_SYSTEM_TRAY_S0"), XCB_CURRENT_TIME);
        settle();
    }

    xcb_window_t window() const { return window_; }

private:
    xcb_window_t window_;
};

/// The user's hands, slower than a click: what is pressed stays so until it is released.
class Hands : public Client {
public:
    ~Hands() {
        for (const auto& [type, detail] : held_) {
            xcb_test_fake_input(get(), type, detail, XCB_CURRENT_TIME, root(), 0, 0, 0);
        }
        settle();
    }

    void move(QPoint place) const {
        xcb_test_fake_input(get(), XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, root(),
                            static_cast<std::int16_t>(place.x()), static_cast<std::int16_t>(place.y()), 0);
        settle();
    }

    void hold(xcb_keysym_t key) { press(XCB_KEY_PRESS, XCB_KEY_RELEASE, codeOf(key)); }
    void release(xcb_keysym_t key) { let(XCB_KEY_RELEASE, codeOf(key)); }
    void tap(xcb_keysym_t key) {
        hold(key);
        release(key);
    }

    void holdButton(std::uint8_t button) { press(XCB_BUTTON_PRESS, XCB_BUTTON_RELEASE, button); }
    void releaseButton(std::uint8_t button) { let(XCB_BUTTON_RELEASE, button); }

private:
    void press(std::uint8_t type, std::uint8_t opposite, std::uint8_t detail) {
        xcb_test_fake_input(get(), type, detail, XCB_CURRENT_TIME, root(), 0, 0, 0);
        settle();
        held_.emplace_back(opposite, detail);
    }

    void let(std::uint8_t type, std::uint8_t detail) {
        xcb_test_fake_input(get(), type, detail, XCB_CURRENT_TIME, root(), 0, 0, 0);
        settle();
        std::erase(held_, std::pair(type, detail));
    }

    std::uint8_t codeOf(xcb_keysym_t key) const {
        const xcb_setup_t* setup = xcb_get_setup(get());
        const auto count = static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1);
        const auto mapping = owned(xcb_get_keyboard_mapping_reply(
            get(), xcb_get_keyboard_mapping(get(), setup->min_keycode, count), nullptr));
        const xcb_keysym_t* symbols = xcb_get_keyboard_mapping_keysyms(mapping.get());
        for (std::size_t code = 0; code < count; ++code) {
            if (symbols[code * mapping->keysyms_per_keycode] == key) {
                return static_cast<std::uint8_t>(setup->min_keycode + code);
            }
        }
        throw std::runtime_error("no such key");
    }

    std::vector<std::pair<std::uint8_t, std::uint8_t>> held_; // how it is released
};

/// A lock key that is on for as long as this lives.
class Locked {
public:
    explicit Locked(std::optional<xcb_keysym_t> key)
        : key_(key) {
        turn();
    }
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;
    ~Locked() { turn(); }

private:
    void turn() {
        if (key_) {
            hands_.tap(*key_);
        }
    }

    Hands hands_;
    std::optional<xcb_keysym_t> key_;
};

Screen& screen() {
    static Screen screen;
    return screen;
}

/// What a drag has told, a line each.
struct DragLine {
    std::string what;
    IconId icon = 0;
    QPoint place;
    bool operator==(const DragLine&) const = default;
};

} // namespace

/// The tray over a bare window of another connection, and what it tells. Icons are shown in a cell each, in
/// the order in which they came.
class XEmbedTray : public testing::Test {
protected:
    XEmbedTray()
        : ground_(xcb_generate_id(bar_.get())) {
        screen().movePointer({60, 760});
        const std::uint32_t values[] = {rgb(groundColour), 1};
        xcb_create_window(bar_.get(), XCB_COPY_FROM_PARENT, ground_, bar_.root(),
                          static_cast<std::int16_t>(groundFrame.x()),
                          static_cast<std::int16_t>(groundFrame.y()),
                          static_cast<std::uint16_t>(groundFrame.width()),
                          static_cast<std::uint16_t>(groundFrame.height()), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                          bar_.screen().root_visual, XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
        xcb_map_window(bar_.get(), ground_);
        bar_.settle();
        tray_ = std::make_unique<Linux::XEmbedTray>(loop_, events());
    }

    Linux::XEmbedTray::Events events() {
        return {.docked =
                    [this](const Icon& icon) {
                        icons_.push_back(icon);
                        order_.push_back(icon.id);
                        if (showsIcons_) {
                            tray_->place(icon.id, cell(static_cast<int>(order_.size()) - 1));
                        }
                    },
                .changed =
                    [this](const Icon& icon) {
                        const auto found = std::ranges::find(icons_, icon.id, &Icon::id);
                        ASSERT_NE(found, icons_.end());
                        EXPECT_NE(*found, icon) << "nothing has changed";
                        *found = icon;
                    },
                .removed =
                    [this](IconId icon) {
                        EXPECT_EQ(std::erase_if(icons_, [icon](const Icon& one) { return one.id == icon; }),
                                  1U);
                        dragLines_.push_back({"removed", icon, {}});
                    },
                .dragBegan =
                    [this](IconId icon, int x, int y) {
                        dragLines_.push_back({"began", icon, {x, y}});
                    },
                .dragMoved =
                    [this](IconId icon, int x, int y) {
                        dragLines_.push_back({"moved", icon, {x, y}});
                    },
                .dragEnded =
                    [this](IconId icon, bool isDropped) {
                        dragLines_.push_back({isDropped ? "dropped" : "broken off", icon, {}});
                    }};
    }

    Linux::XEmbedTray::Ground ground() const {
        return {.window = ground_, .colour = rgb(groundColour), .iconSide = side};
    }

    void start() {
        tray_->start(ground());
        ASSERT_TRUE(tray_->isTray());
    }

    const Icon* find(const IconProgram& program) const {
        const auto found = std::ranges::find(icons_, program.window(), &Icon::id);
        return found == icons_.end() ? nullptr : &*found;
    }

    bool waitForDocked(const IconProgram& program) const {
        return until([&] { return find(program) != nullptr; });
    }

    /// The icon goes, and is forgotten; the server may give its number to the next program.
    bool end(const IconProgram& program) const {
        program.destroy();
        return until([&] { return !find(program); });
    }

    bool waitForFilled(const QRect& place, const QColor& colour) const {
        return until([&] { return isFilled(screen().picture(place), colour); });
    }

    bool waitForDragLines(std::size_t count) const {
        return until([&] { return dragLines_.size() >= count; });
    }

    QtPlatform::QtMainLoop loop_;
    Client bar_;
    xcb_window_t ground_;
    std::vector<Icon> icons_;
    std::vector<IconId> order_; // of all that ever docked
    std::vector<DragLine> dragLines_;
    bool showsIcons_ = true;
    std::unique_ptr<Linux::XEmbedTray> tray_; // goes before the ground
};

// The selection

TEST_F(XEmbedTray, TellsProgramsWhatItIsLike) {
    start();
    const xcb_window_t window = bar_.trayWindow();
    using Values = std::vector<std::uint32_t>;
    EXPECT_EQ(screen().property(window, "_NET_SYSTEM_TRAY_ORIENTATION"), Values{0});
    EXPECT_EQ(screen().property(window, "_NET_SYSTEM_TRAY_VISUAL"), Values{bar_.screen().root_visual});
    EXPECT_EQ(screen().property(window, "_NET_SYSTEM_TRAY_COLORS"), Values(12, 65535))
        << "white on dark green";
}

TEST_F(XEmbedTray, AnnouncesItselfToProgramsThatWait) {
    constexpr std::uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    const Client waiting;
    xcb_change_window_attributes(waiting.get(), waiting.root(), XCB_CW_EVENT_MASK, &mask);
    waiting.settle();
    start();
    std::vector<std::uint32_t> told;
    EXPECT_TRUE(until([&] {
        const auto event = owned(xcb_poll_for_event(waiting.get()));
        const auto* message = reinterpret_cast<const xcb_client_message_event_t*>(event.get());
        if (!event || (event->response_type & ~sentBySomeone) != XCB_CLIENT_MESSAGE ||
            message->type != waiting.atom("MANAGER")) {
            return false;
        }
        told.assign(message->data.data32, message->data.data32 + 3);
        return true;
    }));
    ASSERT_EQ(told.size(), 3U);
    EXPECT_NE(told[0], static_cast<std::uint32_t>(XCB_CURRENT_TIME)) << "a time of the server's";
    EXPECT_EQ(told[1], waiting.atom("_NET_SYSTEM_TRAY_S0"));
    EXPECT_EQ(told[2], waiting.trayWindow());
}

TEST_F(XEmbedTray, LeavesAnotherTrayAloneAndFollowsIt) {
    auto rival = std::make_unique<Rival>();
    tray_->start(ground());
    EXPECT_TRUE(holds([&] { return !tray_->isTray(); }, Seconds{0.3}));
    EXPECT_EQ(bar_.trayWindow(), rival->window());
    rival.reset();
    EXPECT_TRUE(until([&] { return tray_->isTray(); }));
    const IconProgram program;
    program.dock();
    EXPECT_TRUE(waitForDocked(program));
}

TEST_F(XEmbedTray, GivesIconsToATrayThatTakesItsPlace) {
    start();
    IconProgram program;
    program.dock();
    ASSERT_TRUE(waitForDocked(program));
    auto rival = std::make_unique<Rival>();
    EXPECT_TRUE(until([&] { return !tray_->isTray() && icons_.empty(); }));
    EXPECT_TRUE(until([&] { return program.isAtHome(); }));
    EXPECT_EQ(bar_.trayWindow(), rival->window());
    rival.reset();
    EXPECT_TRUE(until([&] { return tray_->isTray(); }));
    program.dock();
    EXPECT_TRUE(waitForDocked(program));
}

TEST_F(XEmbedTray, WithoutAServerNothingHappens) {
    Linux::XEmbedTray tray(loop_, events(), ":4711");
    tray.start(ground());
    EXPECT_FALSE(tray.isTray());
    tray.stop();
}

TEST_F(XEmbedTray, WithoutAGroundNothingHappens) {
    tray_->start({.window = bar_.root() + 12345, .colour = 0, .iconSide = side});
    EXPECT_FALSE(tray_->isTray());
    EXPECT_EQ(bar_.trayWindow(), static_cast<xcb_window_t>(XCB_NONE));
}

TEST_F(XEmbedTray, EndsWithItsGround) {
    start();
    const IconProgram program;
    program.dock();
    ASSERT_TRUE(waitForDocked(program));
    xcb_destroy_window(bar_.get(), ground_);
    bar_.settle();
    EXPECT_TRUE(until([&] { return !tray_->isTray() && icons_.empty(); }));
    EXPECT_EQ(bar_.trayWindow(), static_cast<xcb_window_t>(XCB_NONE));
}

// Docking

TEST_F(XEmbedTray, S16_EveryIconGetsOneCell) {
    struct Row {
        const char* name;
        Shape shape;
    };
    const Row rows[] = {{"as it should be", {}},
                        {"1 x 1", {.size = {1, 1}}},
                        {"200 x 200", {.size = {200, 200}}},
                        {"2 : 1", {.size = {48, 24}}},
                        {"with a border", {.border = 3}},
                        {"transparent kind of window", {.colour = blue, .depth = 32}},
                        {"without _XEMBED_INFO", {.info = std::nullopt}},
                        {"unmanaged", {.isUnmanaged = true}}};
    start();
    std::vector<std::unique_ptr<IconProgram>> programs;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        auto& program = *programs.emplace_back(std::make_unique<IconProgram>(row.shape));
        program.dock();
        ASSERT_TRUE(waitForDocked(program));
        const int index = static_cast<int>(programs.size()) - 1;
        EXPECT_TRUE(waitForFilled(seenIn(index), row.shape.colour));
        EXPECT_EQ(program.container(), program.listen().embedder);
        EXPECT_EQ(bar_.geometryOf(program.window()), QRect(0, 0, side, side));
        // One pixel around it belongs to the bar.
        const QImage around = screen().picture(seenIn(index).adjusted(-1, -1, 1, 1));
        EXPECT_EQ(boundsOf(around, row.shape.colour, 0), QRect(1, 1, side, side));
        EXPECT_EQ(around.pixelColor(0, 0), groundColour);
        // It insists.
        program.askForSize(200, 100);
        EXPECT_TRUE(until([&] { return row.shape.isUnmanaged || !program.listen().answers.empty(); }));
        EXPECT_TRUE(until([&] { return bar_.geometryOf(program.window()) == QRect(0, 0, side, side); }));
        EXPECT_TRUE(waitForFilled(seenIn(index), row.shape.colour));
    }
}

TEST_F(XEmbedTray, S16_AnIconThatComesLateStandsOnTheBarsColourUntilThen) {
    start();
    for (const int depth : {24, 32}) {
        SCOPED_TRACE(depth);
        const IconProgram program(Shape{.info = 0, .colour = blue, .depth = depth});
        program.dock();
        ASSERT_TRUE(waitForDocked(program));
        const QRect place = seenIn(static_cast<int>(order_.size()) - 1);
        EXPECT_FALSE(find(program)->wantsRoom);
        EXPECT_TRUE(holds([&] { return isFilled(screen().picture(place), groundColour); }, Seconds{0.2}));
        program.setInfo(mapped);
        EXPECT_TRUE(until([&] { return find(program)->wantsRoom; }));
        EXPECT_TRUE(waitForFilled(place, blue));
        program.setInfo(0);
        EXPECT_TRUE(until([&] { return !find(program)->wantsRoom; }));
        EXPECT_TRUE(waitForFilled(place, groundColour));
        ASSERT_TRUE(end(program));
    }
}

TEST_F(XEmbedTray, AFlagSetRightAfterDockingIsNotMissed) {
    start();
    for (int round = 0; round < 60; ++round) {
        const IconProgram program(Shape{.info = 0});
        std::thread other([&] {
            program.dock();
            for (int delay = 0; delay < round; ++delay) {
                program.settle(); // a little later every time
            }
            program.setInfo(mapped);
        });
        const bool isSeen = until([&] {
            const Icon* icon = find(program);
            return icon && icon->wantsRoom;
        });
        other.join();
        ASSERT_TRUE(isSeen) << round;
        ASSERT_TRUE(until([&] { return bar_.mapState(program.window()) != XCB_MAP_STATE_UNMAPPED; }))
            << round;
        ASSERT_TRUE(end(program));
    }
}

TEST_F(XEmbedTray, AProgramWithoutInfoIsBelievedByItsMapping) {
    start();
    for (const bool isUnmanaged : {false, true}) {
        SCOPED_TRACE(isUnmanaged);
        const IconProgram program(Shape{.info = std::nullopt, .isUnmanaged = isUnmanaged});
        if (isUnmanaged) {
            program.map(); // a window on the screen like any other, until it docks
        }
        program.dock();
        ASSERT_TRUE(waitForDocked(program));
        const QRect place = seenIn(static_cast<int>(order_.size()) - 1);
        EXPECT_TRUE(holds([&] { return find(program)->wantsRoom; }, Seconds{0.2}));
        program.unmap();
        EXPECT_TRUE(until([&] { return !find(program)->wantsRoom; }));
        program.map();
        EXPECT_TRUE(until([&] { return find(program)->wantsRoom; }));
        EXPECT_TRUE(waitForFilled(place, red));
        ASSERT_TRUE(end(program));
    }
}

TEST_F(XEmbedTray, EveryRequestForASizeIsAnsweredAndTwoSizesComeFirst) {
    constexpr std::size_t count = 20'000;
    start();
    IconProgram program;
    program.dock();
    ASSERT_TRUE(waitForDocked(program));
    program.askForSize(22, 22);
    EXPECT_TRUE(until([&] { return !program.listen().answers.empty(); }));
    ASSERT_GE(program.sizes.size(), 2U);
    EXPECT_EQ(program.sizes[program.sizes.size() - 2], QSize(side - 1, side - 1));
    EXPECT_EQ(program.sizes.back(), QSize(side, side));

    for (std::uint32_t round = 1; round < count; ++round) {
        program.askForSize(round % 300 + 1, round % 200 + 1);
    }
    EXPECT_TRUE(until([&] { return program.listen().answers.size() >= count; })) << program.answers.size();
    EXPECT_EQ(program.answers.size(), count);
    for (const QRect& answer : program.answers) {
        ASSERT_EQ(answer, seenIn(0));
    }
    EXPECT_EQ(bar_.geometryOf(program.window()), QRect(0, 0, side, side));
}

TEST_F(XEmbedTray, AWindowThatDocksTwiceIsOneIcon) {
    start();
    const IconProgram program;
    for (int round = 0; round < 3; ++round) {
        program.dock();
    }
    ASSERT_TRUE(waitForDocked(program));
    const xcb_window_t container = program.container();
    program.dock();
    const IconProgram next; // heard of after all of these
    next.dock();
    ASSERT_TRUE(waitForDocked(next));
    EXPECT_EQ(order_, (std::vector<IconId>{program.window(), next.window()}));
    EXPECT_EQ(program.container(), container);
}

TEST_F(XEmbedTray, OfAHundredIconsSixtyFourFindRoom) {
    start();
    std::vector<std::unique_ptr<IconProgram>> programs;
    for (int index = 0; index < 100; ++index) {
        programs.push_back(std::make_unique<IconProgram>());
        programs.back()->dock();
    }
    EXPECT_TRUE(until([&] { return icons_.size() == 64; }));
    EXPECT_TRUE(holds([&] { return icons_.size() == 64; }, Seconds{0.3}));
    EXPECT_TRUE(programs.back()->isAtHome());
    programs.front()->destroy();
    EXPECT_TRUE(until([&] { return icons_.size() == 63; }));
    programs.back()->dock();
    EXPECT_TRUE(waitForDocked(*programs.back()));
}

TEST_F(XEmbedTray, ProgramsThatVanishWhileTheyDockDoNoHarm) {
    start();
    // Gone before we hear of them.
    for (int round = 0; round < 100; ++round) {
        const IconProgram program;
        program.dock();
        program.destroy();
    }
    // And at any moment in between.
    std::atomic<bool> isDone = false;
    std::thread other([&] {
        for (int round = 0; round < 200; ++round) {
            const IconProgram program;
            program.dock();
            for (int delay = 0; delay < round % 40; ++delay) {
                program.settle();
            }
            if (round % 2 == 0) {
                program.destroy();
            } // or with its connection
        }
        isDone = true;
    });
    EXPECT_TRUE(until([&] { return isDone.load(); }));
    other.join();
    const IconProgram last;
    last.dock();
    EXPECT_TRUE(waitForDocked(last));
    EXPECT_TRUE(until([&] { return icons_.size() == 1; })) << "dead icons stay";
    EXPECT_EQ(icons_.front().id, last.window());
    // No empty containers either.
    const auto tree = owned(xcb_query_tree_reply(bar_.get(), xcb_query_tree(bar_.get(), ground_), nullptr));
    EXPECT_EQ(xcb_query_tree_children_length(tree.get()), 1);
}

TEST_F(XEmbedTray, WhatCannotBeAnIconIsNotTakenIn) {
    start();
    const Client other;
    const xcb_window_t inputOnly = xcb_generate_id(other.get());
    xcb_create_window(other.get(), 0, inputOnly, other.root(), 0, 0, 10, 10, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                      XCB_COPY_FROM_PARENT, 0, nullptr);
    for (const xcb_window_t window :
         {xcb_window_t{0}, xcb_window_t{0xFFFFFFFF}, other.root(), ground_, other.trayWindow(), inputOnly}) {
        other.askToDock(window);
    }
    const IconProgram program;
    program.dock();
    ASSERT_TRUE(waitForDocked(program));
    other.askToDock(program.container());
    const IconProgram next;
    next.dock();
    ASSERT_TRUE(waitForDocked(next));
    EXPECT_EQ(order_, (std::vector<IconId>{program.window(), next.window()}));
    EXPECT_EQ(bar_.parentOf(inputOnly), bar_.root());
    EXPECT_TRUE(tray_->isTray());
    EXPECT_TRUE(waitForFilled(seenIn(0), red));
}

TEST_F(XEmbedTray, S10_AnIconThatGoesIsRemoved) {
    struct Row {
        const char* name;
        std::function<void(std::unique_ptr<IconProgram>&)> go;
    };
    const Row rows[] = {{"its window is destroyed", [](auto& program) { program->destroy(); }},
                        {"its program ends", [](auto& program) { program.reset(); }},
                        {"it is taken elsewhere", [](auto& program) { program->moveTo(program->root()); }}};
    start();
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        // The window manager would put it anywhere on the screen when it is taken out.
        auto program = std::make_unique<IconProgram>(Shape{.isUnmanaged = true});
        program->dock();
        ASSERT_TRUE(waitForDocked(*program));
        const QRect place = seenIn(static_cast<int>(order_.size()) - 1);
        ASSERT_TRUE(waitForFilled(place, red));
        row.go(program);
        EXPECT_TRUE(until([&] { return icons_.empty(); }, Seconds{1}));
        EXPECT_TRUE(waitForFilled(place, groundColour));
        if (program && program->isAlive()) {
            program->dock(); // and may come back
            EXPECT_TRUE(waitForDocked(*program));
        }
    }
}

TEST_F(XEmbedTray, ReadsNamesWithinBounds) {
    const std::string longest(1024, 'a');
    const Client atoms;
    const xcb_atom_t utf8 = atoms.atom("UTF8_STRING");
    const xcb_atom_t netName = atoms.atom("_NET_WM_NAME");
    struct Row {
        const char* name;
        xcb_atom_t property;
        xcb_atom_t type;
        std::string bytes;
        std::string title;
    };
    const Row rows[] = {
        {"empty", netName, utf8, "", ""},
        {"UTF-8", netName, utf8, "Z\xC3\xBCrich \xE2\x82\xAC", "Z\xC3\xBCrich \xE2\x82\xAC"},
        {"Latin-1 in the older property", XCB_ATOM_WM_NAME, XCB_ATOM_STRING, "Caf\xE9", "Caf\xC3\xA9"},
        {"Latin-1 where UTF-8 is due", netName, utf8,
         "\xFC"
         "ber",
         "\xC3\xBC"
         "ber"},
        {"a zero in it", netName, utf8, std::string("one\0two", 7), "one"},
        {"as long as is read", netName, utf8, longest, longest},
        {"longer", netName, utf8, longest + "b", longest},
        {"very long", netName, utf8, std::string(200'000, 'a'), longest},
        {"cut within a character", netName, utf8, longest.substr(1) + "\xE2\x82\xAC", longest.substr(1)},
    };
    start();
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const IconProgram program;
        program.setText(program.window(), row.property, row.type, row.bytes);
        program.settle();
        program.dock();
        ASSERT_TRUE(waitForDocked(program));
        EXPECT_EQ(find(program)->title, row.title);
        EXPECT_EQ(find(program)->instance, "probe");
        program.setText(program.window(), netName, utf8, "another");
        EXPECT_TRUE(until([&] { return find(program)->title == "another"; }));
        ASSERT_TRUE(end(program));
    }
    const IconProgram nameless;
    xcb_delete_property(nameless.get(), nameless.window(), XCB_ATOM_WM_CLASS);
    nameless.dock();
    ASSERT_TRUE(waitForDocked(nameless));
    EXPECT_EQ(find(nameless)->instance, "icon");
}

TEST_F(XEmbedTray, AStormOfChangesIsSurvivedAndEndsInTheTruth) {
    start();
    const IconProgram program;
    program.dock();
    ASSERT_TRUE(waitForDocked(program));
    const Client other;
    const xcb_atom_t name = other.atom("_NET_WM_NAME");
    const xcb_atom_t utf8 = other.atom("UTF8_STRING");
    for (int round = 0; round <= 5'000; ++round) {
        program.setText(program.window(), name, utf8, std::to_string(round));
    }
    for (std::uint32_t round = 0; round < 1'001; ++round) {
        program.setInfo(round % 2);
    }
    EXPECT_TRUE(until([&] { return find(program)->title == "5000" && !find(program)->wantsRoom; }));
}

// Showing

TEST_F(XEmbedTray, S04_HidesAndShowsWithoutTheProgramNoticing) {
    start();
    IconProgram program;
    program.dock();
    ASSERT_TRUE(waitForDocked(program));
    ASSERT_TRUE(waitForFilled(seenIn(0), red));
    program.settle();
    program.listen();
    const int before = program.unmappings;
    for (int round = 0; round < 3; ++round) {
        tray_->hide(program.window());
        tray_->hide(program.window());
        EXPECT_TRUE(waitForFilled(seenIn(0), groundColour));
        EXPECT_EQ(bar_.mapState(program.window()), XCB_MAP_STATE_UNVIEWABLE) << "still mapped itself";
        tray_->place(program.window(), cell(5));
        EXPECT_TRUE(waitForFilled(seenIn(5), red));
        tray_->place(program.window(), cell(0));
        EXPECT_TRUE(waitForFilled(seenIn(0), red));
    }
    EXPECT_EQ(program.listen().unmappings, before);
    EXPECT_TRUE(find(program)->wantsRoom);
}

TEST_F(XEmbedTray, EqualPlacesCauseNoTraffic) {
    start();
    const IconProgram program;
    program.dock();
    ASSERT_TRUE(waitForDocked(program));
    ASSERT_TRUE(waitForFilled(seenIn(0), red));
    // Whatever were asked of the server again would undo what somebody else has done meanwhile.
    const std::uint32_t elsewhere[] = {static_cast<std::uint32_t>(cell(3).x)};
    xcb_configure_window(bar_.get(), program.container(), XCB_CONFIG_WINDOW_X, elsewhere);
    xcb_unmap_window(bar_.get(), program.container());
    bar_.settle();
    tray_->place(program.window(), cell(0));
    bar_.settle();
    EXPECT_EQ(bar_.geometryOf(program.container()).x(), cell(3).x);
    EXPECT_EQ(bar_.mapState(program.container()), XCB_MAP_STATE_UNMAPPED);
    tray_->hide(program.window());
    xcb_map_window(bar_.get(), program.container());
    bar_.settle();
    tray_->hide(program.window());
    bar_.settle();
    EXPECT_EQ(bar_.mapState(program.container()), XCB_MAP_STATE_VIEWABLE);
}

TEST_F(XEmbedTray, FollowsTheScale) {
    start();
    IconProgram program;
    program.dock();
    ASSERT_TRUE(waitForDocked(program));
    ASSERT_TRUE(waitForFilled(seenIn(0), red));
    for (const int length : {16, 28, side}) {
        tray_->setIconSide(length);
        EXPECT_TRUE(waitForFilled(seenIn(0, length), red));
        const QImage around = screen().picture(seenIn(0, length).adjusted(-2, 0, 2, 0));
        EXPECT_EQ(boundsOf(around, red, 0), QRect(2, 0, length, length));
        EXPECT_EQ(program.listen().sizes.back(), QSize(length, length));
    }
}

TEST_F(XEmbedTray, UnknownIconsAreIgnored) {
    tray_->place(4711, cell(0));
    tray_->hide(4711);
    tray_->setIconSide(side);
    start();
    tray_->place(4711, cell(0));
    tray_->hide(4711);
    EXPECT_TRUE(tray_->isTray());
}

// Drags

TEST_F(XEmbedTray, CtrlOrSuperAndTheLeftButtonDrag) {
    struct Row {
        const char* name;
        xcb_keysym_t key;
        std::vector<xcb_keysym_t> locks;
    };
    const Row rows[] = {{"Ctrl", XK_Control_L, {}},
                        {"Super", XK_Super_L, {}},
                        {"Ctrl, caps lock", XK_Control_L, {XK_Caps_Lock}},
                        {"Super, caps lock", XK_Super_L, {XK_Caps_Lock}},
                        {"Ctrl, num lock", XK_Control_L, {XK_Num_Lock}},
                        {"Super, num lock", XK_Super_L, {XK_Num_Lock}},
                        {"Ctrl, both locks", XK_Control_L, {XK_Caps_Lock, XK_Num_Lock}},
                        {"Super, both locks", XK_Super_L, {XK_Caps_Lock, XK_Num_Lock}}};
    start();
    IconProgram program;
    program.dock();
    ASSERT_TRUE(waitForDocked(program));
    ASSERT_TRUE(waitForFilled(seenIn(0), red));
    const QPoint from = seenIn(0).center();
    const QPoint to(600, 400);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const Locked first(row.locks.empty() ? std::nullopt : std::optional(row.locks.front()));
        const Locked second(row.locks.size() < 2 ? std::nullopt : std::optional(row.locks.back()));
        dragLines_.clear();
        Hands hands;
        hands.move(from);
        hands.hold(row.key);
        hands.holdButton(1);
        ASSERT_TRUE(waitForDragLines(1));
        EXPECT_EQ(dragLines_[0], (DragLine{"began", program.window(), from}));
        hands.move(to);
        ASSERT_TRUE(waitForDragLines(2));
        EXPECT_EQ(dragLines_[1], (DragLine{"moved", program.window(), to}));
        hands.releaseButton(1);
        hands.release(row.key);
        ASSERT_TRUE(waitForDragLines(3));
        EXPECT_EQ(dragLines_[2], (DragLine{"dropped", program.window(), {}}));
        // The pointer is everyone's again.
        screen().movePointer(from);
    }
    EXPECT_EQ(program.listen().presses, 0);
    EXPECT_EQ(program.releases, 0);
    screen().click(from);
    EXPECT_TRUE(until([&] { return program.listen().presses == 1; })) << "a click is the program's";
    EXPECT_EQ(dragLines_.size(), 3U);
}

TEST_F(XEmbedTray, ADragDoneBeforeItIsHeardOfIsToldInOrder) {
    start();
    const IconProgram program;
    program.dock();
    ASSERT_TRUE(waitForDocked(program));
    ASSERT_TRUE(waitForFilled(seenIn(0), red));
    {
        Hands hands;
        hands.move(seenIn(0).center());
        hands.hold(XK_Control_L);
        hands.holdButton(1);
        hands.move({500, 300});
        hands.move({510, 310});
        hands.releaseButton(1);
    }
    ASSERT_TRUE(waitForDragLines(3));
    EXPECT_EQ(dragLines_, (std::vector<DragLine>{{"began", program.window(), seenIn(0).center()},
                                                 {"moved", program.window(), {510, 310}},
                                                 {"dropped", program.window(), {}}}));
    EXPECT_TRUE(holds([&] { return dragLines_.size() == 3; }, Seconds{0.1}));
}

TEST_F(XEmbedTray, EscapeBreaksADragOff) {
    start();
    IconProgram program;
    program.dock();
    ASSERT_TRUE(waitForDocked(program));
    ASSERT_TRUE(waitForFilled(seenIn(0), red));
    Hands hands;
    hands.move(seenIn(0).center());
    hands.hold(XK_Control_L);
    hands.holdButton(1);
    ASSERT_TRUE(waitForDragLines(1));
    hands.tap(XK_space);
    hands.tap(XK_Escape);
    ASSERT_TRUE(waitForDragLines(2));
    EXPECT_EQ(dragLines_[1], (DragLine{"broken off", program.window(), {}}));
    hands.move(seenIn(0).center() + QPoint(3, 0));
    hands.releaseButton(1);
    hands.release(XK_Control_L);
    EXPECT_TRUE(holds([&] { return dragLines_.size() == 2; }, Seconds{0.2}));
    EXPECT_EQ(program.listen().releases, 0) << "of a press it has not seen";
    screen().click(seenIn(0).center());
    EXPECT_TRUE(until([&] { return program.listen().presses == 1; }));
}

TEST_F(XEmbedTray, ADragEndsWithItsIcon) {
    start();
    const IconProgram program;
    program.dock();
    ASSERT_TRUE(waitForDocked(program));
    ASSERT_TRUE(waitForFilled(seenIn(0), red));
    Hands hands;
    hands.move(seenIn(0).center());
    hands.hold(XK_Super_L);
    hands.holdButton(1);
    ASSERT_TRUE(waitForDragLines(1));
    program.destroy();
    ASSERT_TRUE(waitForDragLines(3));
    EXPECT_EQ(dragLines_[1], (DragLine{"broken off", program.window(), {}}));
    EXPECT_EQ(dragLines_[2], (DragLine{"removed", program.window(), {}}));
    hands.releaseButton(1);
    EXPECT_TRUE(holds([&] { return dragLines_.size() == 3; }, Seconds{0.1}));
}

TEST_F(XEmbedTray, ADragGoesOnWhenItsIconIsHidden) {
    start();
    const IconProgram program;
    program.dock();
    ASSERT_TRUE(waitForDocked(program));
    ASSERT_TRUE(waitForFilled(seenIn(0), red));
    Hands hands;
    hands.move(seenIn(0).center());
    hands.hold(XK_Control_L);
    hands.holdButton(1);
    ASSERT_TRUE(waitForDragLines(1));
    tray_->hide(program.window());
    hands.move({300, 300});
    ASSERT_TRUE(waitForDragLines(2));
    EXPECT_EQ(dragLines_[1], (DragLine{"moved", program.window(), {300, 300}}));
    hands.releaseButton(1);
    ASSERT_TRUE(waitForDragLines(3));
    EXPECT_EQ(dragLines_[2].what, "dropped");
}

// Endings

TEST_F(XEmbedTray, GivesEverythingBackBeforeStopReturns) {
    start();
    IconProgram shown;
    IconProgram hidden;
    for (const IconProgram* program : {&shown, &hidden}) {
        program->dock();
        ASSERT_TRUE(waitForDocked(*program));
    }
    tray_->hide(hidden.window());
    ASSERT_TRUE(waitForFilled(seenIn(0), red));
    tray_->stop();
    EXPECT_FALSE(tray_->isTray());
    EXPECT_EQ(bar_.trayWindow(), static_cast<xcb_window_t>(XCB_NONE));
    for (const IconProgram* program : {&shown, &hidden}) {
        EXPECT_TRUE(program->isAtHome());
        EXPECT_EQ(bar_.mapState(program->window()), XCB_MAP_STATE_UNMAPPED);
    }
    const auto tree = owned(xcb_query_tree_reply(bar_.get(), xcb_query_tree(bar_.get(), ground_), nullptr));
    EXPECT_EQ(xcb_query_tree_children_length(tree.get()), 0);
    EXPECT_EQ(icons_.size(), 2U) << "who stops the tray knows";
    tray_->stop();

    icons_.clear();
    start();
    for (const IconProgram* program : {&shown, &hidden}) {
        program->dock();
        EXPECT_TRUE(waitForDocked(*program));
    }
    EXPECT_TRUE(waitForFilled(seenIn(2), red));
    tray_.reset(); // the end of it all gives them back too
    EXPECT_TRUE(shown.isAtHome());
    EXPECT_TRUE(hidden.isAtHome());
}

TEST_F(XEmbedTray, StartingTwiceKeepsOneTray) {
    start();
    const IconProgram program;
    program.dock();
    ASSERT_TRUE(waitForDocked(program));
    start();
    EXPECT_TRUE(program.isAtHome());
    icons_.clear();
    program.dock();
    EXPECT_TRUE(waitForDocked(program));
}

TEST_F(XEmbedTray, ABrokenConnectionEndsItQuietly) {
    start();
    const IconProgram program;
    program.dock();
    ASSERT_TRUE(waitForDocked(program));
    xcb_kill_client(bar_.get(), bar_.trayWindow());
    bar_.settle();
    EXPECT_TRUE(until([&] { return !tray_->isTray() && icons_.empty(); }));
    EXPECT_TRUE(program.isAtHome()) << "the server has given it back";
    tray_->place(program.window(), cell(0));
    tray_->stop();
    start();
    program.dock();
    EXPECT_TRUE(waitForDocked(program));
}

TEST_F(XEmbedTray, MayBeStoppedOrDestroyedByWhatItTells) {
    for (const bool isDestroyed : {false, true}) {
        std::unique_ptr<Linux::XEmbedTray> tray;
        int told = 0;
        Linux::XEmbedTray::Events events;
        events.docked = [&](const Icon&) {
            ++told;
            if (isDestroyed) {
                tray.reset();
            } else {
                tray->stop();
            }
        };
        tray = std::make_unique<Linux::XEmbedTray>(loop_, std::move(events));
        tray->start(ground());
        ASSERT_TRUE(tray->isTray());
        const IconProgram first;
        const IconProgram second;
        first.dock();
        second.dock();
        EXPECT_TRUE(until([&] { return told == 1; }, Seconds{2})) << told;
        EXPECT_TRUE(holds([&] { return told == 1; }, Seconds{0.1}));
        EXPECT_TRUE(first.isAtHome());
        EXPECT_TRUE(second.isAtHome());
    }
}

TEST_F(XEmbedTray, S05_IconsSurviveWhenTheirHolderIsKilled) {
    // A process has two connections, and the server may see the end of either one first.
    struct Row {
        const char* name;
        std::function<void(const Program& holder, xcb_window_t bar)> kill;
    };
    const Row rows[] = {
        {"the process", [](const Program& holder, xcb_window_t) { holder.send(SIGKILL); }},
        {"the bar first",
         [this](const Program&, xcb_window_t bar) {
             xcb_kill_client(bar_.get(), bar);
             bar_.settle();
         }},
        {"the tray first",
         [this](const Program& holder, xcb_window_t) {
             xcb_kill_client(bar_.get(), bar_.trayWindow());
             bar_.settle();
             holder.send(SIGKILL);
         }},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Program holder({TRAY_HOLDER});
        ASSERT_TRUE(until([&] { return bar_.trayWindow() != XCB_NONE; })) << holder.output();
        const IconProgram program;
        program.dock();
        ASSERT_TRUE(until([&] { return holder.output() == "docked\n"; })) << holder.output();
        ASSERT_FALSE(program.isAtHome());
        row.kill(holder, bar_.parentOf(program.container()));
        ASSERT_TRUE(holder.waitForEnd());
        ASSERT_TRUE(until([&] { return program.isAtHome() || !program.isAlive(); }, Seconds{1}));
        ASSERT_TRUE(program.isAlive());
        EXPECT_EQ(bar_.mapState(program.window()), XCB_MAP_STATE_UNMAPPED) << "a stray window on the screen";
        ASSERT_TRUE(until([&] { return bar_.trayWindow() == XCB_NONE; }));
    }
}

TEST_F(XEmbedTray, IconsSurviveWhenTheirHolderEnds) {
    Program holder({TRAY_HOLDER});
    ASSERT_TRUE(until([&] { return bar_.trayWindow() != XCB_NONE; })) << holder.output();
    const IconProgram program;
    program.dock();
    ASSERT_TRUE(until([&] { return holder.output() == "docked\n"; })) << holder.output();
    holder.send(SIGTERM);
    EXPECT_EQ(holder.waitForEnd(), 0);
    EXPECT_EQ(holder.output(), "docked\n") << "nothing but what it has to say";
    EXPECT_TRUE(program.isAtHome());
}

#ifdef GTK_STATUS_ICON

namespace {

/// Whether a GTK icon is drawn within a part of the screen: its toolkit may leave it a margin.
bool hasGtkIcon(const QRect& part) {
    const QRect bounds = boundsOf(screen().picture(part), red, 0);
    return bounds.width() >= side - 4 && bounds.height() >= side - 4;
}

} // namespace

TEST_F(XEmbedTray, AGtkProgramsIconIsDrawnAndClicked) {
    start();
    Program gtk({GTK_STATUS_ICON});
    ASSERT_TRUE(until([] { return hasGtkIcon(seenIn(0)); })) << gtk.output();
    ASSERT_EQ(icons_.size(), 1U);
    EXPECT_EQ(icons_.front().instance, "gtk_status_icon");
    EXPECT_TRUE(icons_.front().wantsRoom);
    screen().click(seenIn(0).center());
    EXPECT_TRUE(until([&] { return gtk.output() == "activated\n"; })) << gtk.output();

    tray_->hide(icons_.front().id);
    EXPECT_TRUE(waitForFilled(seenIn(0), groundColour));
    tray_->place(icons_.front().id, cell(2));
    EXPECT_TRUE(until([] { return hasGtkIcon(seenIn(2)); }));

    const std::size_t windows = screen().windows().size();
    screen().click(seenIn(2).center(), XCB_BUTTON_INDEX_3);
    EXPECT_TRUE(until([&] { return gtk.output() == "activated\nmenu\n"; })) << gtk.output();
    EXPECT_TRUE(until([&] { return screen().windows().size() == windows + 1; })) << "no menu is seen";
    screen().press(XK_Escape);
    EXPECT_TRUE(until([&] { return screen().windows().size() == windows; }));

    tray_->setIconSide(28);
    EXPECT_TRUE(until([] { return hasGtkIcon(seenIn(2, 28)); }));
    gtk.send(SIGKILL);
    EXPECT_TRUE(until([&] { return icons_.empty(); }));
}

TEST_F(XEmbedTray, AGtkProgramSurvivesTheEndsOfTraysAndDocksAgain) {
    constexpr QRect barOfHolder(0, 0, 800, 28);
    Program gtk({GTK_STATUS_ICON});
    struct Row {
        const char* name;
        int signal;
        int status;
    };
    const Row rows[] = {{"killed", SIGKILL, 128 + SIGKILL},
                        {"ended", SIGTERM, 0},
                        {"killed again", SIGKILL, 128 + SIGKILL},
                        {"ended again", SIGTERM, 0}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Program holder({TRAY_HOLDER});
        ASSERT_TRUE(until([&] { return hasGtkIcon(barOfHolder); })) << gtk.output() << holder.output();
        holder.send(row.signal);
        ASSERT_EQ(holder.waitForEnd(), row.status);
        EXPECT_TRUE(until([&] { return boundsOf(screen().picture(), red, 0).isEmpty(); }))
            << "a stray icon on the screen";
        EXPECT_TRUE(holds([&] { return gtk.isRunning(); }, Seconds{0.5})) << gtk.output();
    }
    start();
    EXPECT_TRUE(until([] { return hasGtkIcon(seenIn(0)); })) << gtk.output();
    tray_->stop();
    EXPECT_TRUE(holds([&] { return gtk.isRunning(); }, Seconds{0.5})) << gtk.output();
}

#endif
