#include "Platforms/Linux/XReply.hpp"
#include "Tests/Desktop/DesktopTest.hpp"

#include <QDir>

#include <X11/keysym.h>
#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

using namespace Desktop;

using Linux::Disconnect;
using Linux::owned;

namespace {

constexpr Seconds moment{0.4}; // longer than a window takes to its place

// The session's only monitor, less Zorbel's bar along its top.
constexpr int width = 1280;
constexpr int height = 772;
constexpr int top = 28;

/// A program that holds keys of the keyboard for itself.
class KeyHolder {
public:
    explicit KeyHolder(const Screen& screen)
        : screen_(screen)
        , connection_(xcb_connect(nullptr, nullptr)) {}

    /// With Control and Alt. False where another program holds the key.
    bool grab(xcb_keysym_t key) const {
        xcb_connection_t* connection = connection_.get();
        const auto refusal = owned(xcb_request_check(
            connection, xcb_grab_key_checked(connection, 1, root(), XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1,
                                             screen_.keycode(key).value_or(0), XCB_GRAB_MODE_ASYNC,
                                             XCB_GRAB_MODE_ASYNC)));
        return !refusal;
    }

private:
    xcb_window_t root() const {
        return xcb_setup_roots_iterator(xcb_get_setup(connection_.get())).data->root;
    }

    const Screen& screen_;
    std::unique_ptr<xcb_connection_t, Disconnect> connection_;
};

} // namespace

/// The whole program with the spice that places windows alone.
class Pintho : public DesktopTest {
protected:
    Pintho() { choose("pintho"); }

    ~Pintho() override {
        if (guest != XCB_NONE) {
            screen().closeWindow(guest);
        }
    }

    /// A window of another program, in front.
    void openGuest() {
        guest = screen().openWindow({300, 200, 400, 300}, "A guest");
        comeForward();
    }

    void comeForward() const {
        ASSERT_TRUE(until([this] {
            screen().activate(guest); // the window manager may not know it yet
            return until([this] { return isInFront(); }, Seconds{0.5});
        }));
    }

    bool isInFront() const {
        const auto active = screen().rootProperty("_NET_ACTIVE_WINDOW");
        return active == std::vector<std::uint32_t>{guest};
    }

    /// The guest with its frame.
    QRect seen() const {
        const auto edges = screen().property(guest, "_NET_FRAME_EXTENTS");
        const auto edge = [&](std::size_t index) {
            return edges.size() == 4 ? static_cast<int>(edges[index]) : 0;
        };
        return screen().frame(guest).value_or(QRect()).adjusted(-edge(0), -edge(2), edge(1), edge(3));
    }

    void expectSeenAt(const QRect& wanted) const {
        EXPECT_TRUE(until([&] { return seen() == wanted; }, Seconds{5}))
            << seen().x() << " " << seen().y() << " " << seen().width() << " " << seen().height();
    }

    static void chord(xcb_keysym_t key) {
        screen().setKeyDown(XK_Control_L, true);
        screen().setKeyDown(XK_Alt_L, true);
        screen().press(key);
        screen().setKeyDown(XK_Alt_L, false);
        screen().setKeyDown(XK_Control_L, false);
    }

    static std::string describes(const std::string& button) {
        const auto node = shown("Dashboard", button, ATSPI_ROLE_PUSH_BUTTON);
        return node ? node->description() : "no such button";
    }

    /// Once the keys are held, which is so from the start of the spice.
    void waitForStart() {
        start();
        ASSERT_TRUE(until([] { return findBar(screen()).has_value(); }));
        ASSERT_TRUE(until([] { return !KeyHolder(screen()).grab(XK_c); }));
    }

    xcb_window_t guest = XCB_NONE;
};

TEST_F(Pintho, PlacesTheWindowInFrontFromThePanel) {
    waitForStart();
    openGuest();
    openPanel();
    EXPECT_TRUE(isInFront()) << "the panel takes nobody's place";
    ASSERT_TRUE(click("Zorbel panel", "Right half"));
    expectSeenAt({width / 2, top, width / 2, height});
    ASSERT_TRUE(click("Zorbel panel", "Bottom left"));
    expectSeenAt({0, top + height / 2, width / 2, height / 2});
    screen().picture().save(QDir(ZORBEL_PICTURES).filePath("desktop-pintho.png"));
    screen().press(XK_Escape);
    EXPECT_TRUE(waitForPanel(false));
    EXPECT_TRUE(isInFront());
}

TEST_F(Pintho, PlacesTheWindowInFrontByKeyboard) {
    waitForStart();
    openGuest();
    const int x = width / 2;
    const int y = top + height / 2;
    const struct {
        xcb_keysym_t key;
        QRect wanted;
    } rows[] =
        {
            {XK_u, {0, top, x, height / 2}},      {XK_i, {x, top, x, height / 2}},
            {XK_j, {0, y, x, height / 2}},        {XK_k, {x, y, x, height / 2}},
            {XK_c, {192, 105, 896, 618}}, // 28 + 77.2 and 617.6, rounded outward
            {XK_Return, {0, top, width, height}},
        };
    for (const auto& row : rows) {
        chord(row.key);
        expectSeenAt(row.wanted);
    }
}

TEST_F(Pintho, TellsWhatIsInFrontAndWhatWasPlaced) {
    start();
    ASSERT_TRUE(openDashboard());
    EXPECT_TRUE(says("Dashboard", "Bring a window to the front and Pintho will describe it here."));
    EXPECT_TRUE(says("Dashboard", "Nothing yet. Windows you move will be listed here."));
    openGuest();
    EXPECT_TRUE(says("Dashboard", "A guest")) << "within two seconds";
    EXPECT_EQ(describes("Top left"), "Ctrl+Alt+U");
    chord(XK_u);
    expectSeenAt({0, top, width / 2, height / 2});
    EXPECT_TRUE(says("Dashboard", std::to_string(width / 2) + " × " + std::to_string(height / 2)));
    EXPECT_TRUE(says("Dashboard", "at 0, 28"));
    EXPECT_TRUE(until([] { return describes("Top left") == "Ctrl+Alt+U, last placed here"; }));
    EXPECT_FALSE(shown("Dashboard", "Nothing yet. Windows you move will be listed here."));
}

TEST_F(Pintho, LeavesItsOwnWindowsAlone) {
    openGuest();
    start();
    ASSERT_TRUE(openDashboard());
    const QRect before = findDashboard(screen())->frame;
    const QRect guestBefore = seen();
    ASSERT_FALSE(isInFront());
    chord(XK_u);
    ASSERT_TRUE(click("Dashboard", "Left half", ATSPI_ROLE_PUSH_BUTTON));
    EXPECT_TRUE(
        holds([&] { return findDashboard(screen())->frame == before && seen() == guestBefore; }, moment));
}

TEST_F(Pintho, HoldsItsKeysOnlyWhileItIsOn) {
    waitForStart();
    const KeyHolder other(screen());
    EXPECT_FALSE(other.grab(XK_u));
    ASSERT_TRUE(openDashboard());
    ASSERT_TRUE(says("Dashboard", "Pintho"));
    ASSERT_TRUE(click("Dashboard", "Pintho", ATSPI_ROLE_CHECK_BOX));
    ASSERT_TRUE(waitForSetting("spice.pintho.enabled", false));
    EXPECT_TRUE(until([&] { return other.grab(XK_u); }));
}

TEST_F(Pintho, MarksTheKeysOfOthersAndUsesTheRest) {
    const KeyHolder other(screen());
    ASSERT_TRUE(other.grab(XK_u));
    waitForStart();
    ASSERT_TRUE(openDashboard());
    EXPECT_TRUE(until([] { return describes("Top left") == "Its keys belong to another program"; }))
        << describes("Top left");
    EXPECT_EQ(describes("Top right"), "Ctrl+Alt+I");
    openGuest();
    chord(XK_i);
    expectSeenAt({width / 2, top, width / 2, height / 2});
}

/// A screen without a window manager, for a start.
class PinthoUnmanaged : public Pintho {};

TEST_F(PinthoUnmanaged, ExplainsWhatIsMissingAndGoesOnWhenItComes) {
    start();
    ASSERT_TRUE(openDashboard());
    EXPECT_TRUE(says("Dashboard", "Pintho cannot move windows yet."));
    const std::string hint =
        "Windows can be placed once a window manager that follows the EWMH standard is running.";
    EXPECT_FALSE(shown("Dashboard", hint));
    ASSERT_TRUE(click("Dashboard", "Grant access", ATSPI_ROLE_PUSH_BUTTON));
    EXPECT_TRUE(says("Dashboard", hint));
    Program manager({"openbox", "--sm-disable"}, unread());
    EXPECT_TRUE(until([] { return !shown("Dashboard", "Pintho cannot move windows yet."); }));
    openGuest();
    chord(XK_k);
    expectSeenAt({width / 2, top + height / 2, width / 2, height / 2});
}
