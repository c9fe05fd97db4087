#include "Platforms/Linux/Windows/X11Shortcuts.hpp"
#include "Platforms/Linux/XReply.hpp"
#include "Tests/Desktop/Desktop.hpp"

#include <QCoreApplication>
#include <gtest/gtest.h>

#include <X11/keysym.h>
#include <atomic>
#include <cstdlib>
#include <memory>
#include <thread>

using namespace Desktop;
using Linux::X11Shortcuts;
using ZorbelKit::Token;

namespace {

constexpr Seconds moment{0.2}; // long enough for a key to arrive

/// A keyboard with an American layout, and what is heard of it.
class Shortcuts : public testing::Test {
protected:
    Shortcuts() { setLayout({"-layout", "us"}); }
    ~Shortcuts() override { setLayout({"-layout", "us"}); }

    static void setLayout(std::vector<std::string> options) {
        options.insert(options.begin(), "setxkbmap");
        Program program(options);
        EXPECT_EQ(program.waitForEnd(), 0) << program.output();
    }

    void chord(xcb_keysym_t key) const {
        hold(true);
        screen.press(key);
        hold(false);
    }

    void hold(bool isDown) const {
        screen.setKeyDown(XK_Control_L, isDown);
        screen.setKeyDown(XK_Alt_L, isDown);
    }

    /// Presses the key with Control and Alt: whether it is heard, once.
    bool isHeard(xcb_keysym_t key) {
        const int before = presses;
        chord(key);
        return until([&] { return presses > before; }, Seconds{2}) &&
               Desktop::holds([&] { return presses == before + 1; }, moment);
    }

    bool isUnheard(xcb_keysym_t key) {
        const int before = presses;
        chord(key);
        return Desktop::holds([&] { return presses == before; }, moment);
    }

    Token grab(const char* key) {
        return shortcuts.grab(key, [this] { ++presses; });
    }

    Screen screen;
    X11Shortcuts shortcuts;
    int presses = 0;
};

} // namespace

TEST_F(Shortcuts, AKeyIsHeardWithControlAndAltOnlyUntilItsTokenGoes) {
    Token token = grab("U");
    ASSERT_TRUE(token);
    EXPECT_EQ(shortcuts.text("U"), "Ctrl+Alt+U");
    EXPECT_TRUE(isHeard(XK_u));
    EXPECT_TRUE(isUnheard(XK_i)) << "another key";
    screen.press(XK_u);
    screen.setKeyDown(XK_Control_L, true);
    screen.press(XK_u);
    screen.setKeyDown(XK_Control_L, false);
    hold(true);
    screen.setKeyDown(XK_Shift_L, true);
    screen.press(XK_u);
    screen.setKeyDown(XK_Shift_L, false);
    hold(false);
    EXPECT_TRUE(Desktop::holds([&] { return presses == 1; }, moment));
    token.reset();
    EXPECT_TRUE(isUnheard(XK_u));
}

TEST_F(Shortcuts, EveryNamedKeyCanBeHeld) {
    const struct {
        const char* name;
        xcb_keysym_t key;
    } rows[] = {{"Left", XK_Left},     {"Right", XK_Right}, {"Up", XK_Up}, {"Down", XK_Down},
                {"Return", XK_Return}, {"A", XK_a},         {"C", XK_c},   {"I", XK_i},
                {"J", XK_j},           {"K", XK_k},         {"Z", XK_z}};
    std::vector<Token> tokens;
    for (const auto& row : rows) {
        tokens.push_back(grab(row.name));
    }
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_TRUE(isHeard(row.key));
    }
    for (const char* unknown : {"", "a", "AB", "F1", "left", "\xC3\x84"}) {
        EXPECT_FALSE(grab(unknown)) << unknown;
    }
}

TEST_F(Shortcuts, LocksMakeNoDifference) {
    const Token token = grab("Left");
    for (const xcb_keysym_t lock : {xcb_keysym_t{XK_Caps_Lock}, xcb_keysym_t{XK_Num_Lock}}) {
        SCOPED_TRACE(lock);
        screen.press(lock);
        EXPECT_TRUE(isHeard(XK_Left));
        screen.press(lock);
    }
    screen.press(XK_Caps_Lock);
    screen.press(XK_Num_Lock);
    EXPECT_TRUE(isHeard(XK_Left));
    screen.press(XK_Caps_Lock);
    screen.press(XK_Num_Lock);
}

TEST_F(Shortcuts, AKeyThatIsHeldDownIsHeardOnce) {
    const Token token = grab("Right");
    hold(true);
    screen.setKeyDown(XK_Right, true);
    EXPECT_TRUE(until([&] { return presses == 1; }));
    EXPECT_TRUE(Desktop::holds([&] { return presses == 1; }, Seconds{1.5})) << presses;
    screen.setKeyDown(XK_Right, false);
    EXPECT_TRUE(
        Desktop::holds([&] { return presses == 1; }, moment)); // no finger is back within a millisecond
    screen.setKeyDown(XK_Right, true);
    screen.setKeyDown(XK_Right, false);
    hold(false);
    EXPECT_TRUE(until([&] { return presses == 2; }));
}

TEST_F(Shortcuts, AKeyOfAnotherProgramCannotBeHadNorAnyPartOfIt) {
    X11Shortcuts others;
    Token theirs = others.grab("U", [] {});
    ASSERT_TRUE(theirs);
    EXPECT_FALSE(grab("U"));
    EXPECT_TRUE(grab("I")) << "the next one can";
    theirs.reset();
    const Token ours = grab("U");
    EXPECT_TRUE(ours);
    EXPECT_TRUE(isHeard(XK_u));
    EXPECT_FALSE(others.grab("U", [] {}));
    EXPECT_FALSE(grab("U")) << "nor twice by ourselves";
    EXPECT_TRUE(isHeard(XK_u));
}

TEST_F(Shortcuts, ARefusalLeavesNothingHeld) {
    // Another program holds the key, but only with Caps Lock on.
    const std::unique_ptr<xcb_connection_t, Linux::Disconnect> other(xcb_connect(nullptr, nullptr));
    const xcb_setup_t* setup = xcb_get_setup(other.get());
    const xcb_window_t root = xcb_setup_roots_iterator(setup).data->root;
    constexpr std::uint16_t plain = XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1;
    const xcb_keycode_t key = screen.keycode(XK_u).value();
    const auto isHeldByUs = [&](std::uint16_t modifiers) {
        const auto question = xcb_grab_key_checked(other.get(), 0, root, modifiers, key, XCB_GRAB_MODE_ASYNC,
                                                   XCB_GRAB_MODE_ASYNC);
        const auto error = Linux::owned(xcb_request_check(other.get(), question));
        xcb_ungrab_key(other.get(), key, root, plain);
        return error != nullptr;
    };
    ASSERT_FALSE(isHeldByUs(plain | XCB_MOD_MASK_LOCK));
    EXPECT_FALSE(grab("U"));
    EXPECT_FALSE(isHeldByUs(plain));
    xcb_ungrab_key(other.get(), key, root, plain | XCB_MOD_MASK_LOCK);
    xcb_flush(other.get());
    EXPECT_TRUE(until([&] { return static_cast<bool>(grab("U")); }));
}

TEST_F(Shortcuts, FollowTheKeyboardToAnotherLayout) {
    const Token token = grab("Z");
    EXPECT_TRUE(isHeard(XK_z));
    setLayout({"-layout", "de"}); // where Y and Z have changed places
    EXPECT_TRUE(until([&] {
        chord(XK_z);
        return until([&] { return presses == 2; }, moment);
    }));
    EXPECT_TRUE(isUnheard(XK_y));
}

TEST_F(Shortcuts, AKeyThatStaysWhereItIsIsNeverLetGo) {
    const Token token = grab("U");
    ASSERT_TRUE(token);
    const std::unique_ptr<xcb_connection_t, Linux::Disconnect> other(xcb_connect(nullptr, nullptr));
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(other.get())).data->root;
    const xcb_keycode_t key = screen.keycode(XK_u).value();
    std::atomic<bool> isOver = false;
    std::atomic<int> successes = 0;
    std::thread prying([&] {
        while (!isOver) {
            const auto question =
                xcb_grab_key_checked(other.get(), 0, root, XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1, key,
                                     XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
            if (!Linux::owned(xcb_request_check(other.get(), question))) {
                ++successes;
                xcb_ungrab_key(other.get(), key, root, XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1);
            }
        }
    });
    for (int time = 0; time < 10; ++time) {
        setLayout({"-layout", time % 2 == 0 ? "de" : "us"}); // U is where it was
        EXPECT_TRUE(isHeard(XK_u));
    }
    isOver = true;
    prying.join();
    EXPECT_EQ(successes, 0);
}

TEST_F(Shortcuts, LettersAreFoundBesideAnotherScript) {
    setLayout({"-layout", "ru,us"});
    const Token token = grab("U");
    ASSERT_TRUE(token);
    EXPECT_TRUE(isHeard(XK_Cyrillic_ghe)) << "the key of the letter U";
    setLayout({"-layout", "gr,us"});
    EXPECT_TRUE(until([&] {
        chord(XK_Greek_theta);
        return until([&] { return presses == 2; }, moment);
    }));
}

TEST_F(Shortcuts, WhoHearsAKeyMayLetGoOfEverything) {
    auto own = std::make_unique<X11Shortcuts>();
    Token token;
    Token other = own->grab("J", [] {});
    bool isHeard = false;
    token = own->grab("K", [&] {
        isHeard = true;
        other.reset();
        token.reset();
        own.reset();
    });
    ASSERT_TRUE(token);
    chord(XK_k);
    EXPECT_TRUE(until([&] { return isHeard; }));
    EXPECT_TRUE(grab("K")) << "it is free again";
    EXPECT_TRUE(grab("J"));
}

TEST_F(Shortcuts, ATokenMayOutliveTheShortcuts) {
    auto own = std::make_unique<X11Shortcuts>();
    Token token = own->grab("K", [this] { ++presses; });
    ASSERT_TRUE(token);
    own.reset();
    EXPECT_TRUE(isUnheard(XK_k));
    token.reset();
}

TEST_F(Shortcuts, WithoutAServerNoKeyCanBeHeld) {
    X11Shortcuts nowhere(":9999");
    EXPECT_FALSE(nowhere.grab("U", [] {}));
}
