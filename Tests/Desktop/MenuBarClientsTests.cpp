#include "Tests/Desktop/MenuBarTest.hpp"

#include <X11/keysym.h>
#include <csignal>
#include <set>

using namespace Desktop;

namespace {

constexpr int middleButton = 2;
constexpr int rightButton = 3;
constexpr int wheelUp = 4;

/// How many colours a part of the screen has; one where nothing is drawn.
std::size_t coloursIn(const QImage& picture) {
    std::set<QRgb> found;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            found.insert(picture.pixel(x, y));
        }
    }
    return found.size();
}

/// A folder with one picture of one colour in it.
class IconFolder {
public:
    explicit IconFolder(QColor colour) {
        QImage picture(48, 48, QImage::Format_ARGB32);
        picture.fill(colour);
        EXPECT_TRUE(picture.save(QString::fromStdString(path() + "/probe.png")));
    }

    std::string path() const { return folder_.path().string(); }

private:
    TemporaryFolder folder_;
};

} // namespace

/// Real programs of the three families: Qt's own, libayatana's, and those whose icon is a window.
class MenuBarClients : public MenuBarTest {
protected:
    static bool isAnythingIn(const QRect& cell) { return coloursIn(screen().picture(cell)) > 2; }

    QRect strip() const { return {0, 0, screen().size().width(), 64}; }

    const IconFolder icons_{cyan};
};

TEST_F(MenuBarClients, QtProgramIsDrawnClickedAndChosenFrom) {
    startBar();
    Program client({QT_TRAY_PROGRAM, "client", "#40d020"}, unread());
    ASSERT_TRUE(waitForIcon(lime));
    EXPECT_EQ(icon(lime).size(), QSize(iconSide, iconSide));
    screen().click(icon(lime).center());
    EXPECT_TRUE(says(client, "activated"));
    screen().click(icon(lime).center(), middleButton);
    EXPECT_TRUE(says(client, "middle"));

    reader();
    auto menu = openedMenu([] { screen().click(icon(lime).center(), rightButton); });
    ASSERT_TRUE(menu);
    ASSERT_TRUE(choose(*menu, "Open"));
    EXPECT_TRUE(says(client, "chosen Open"));
    ASSERT_TRUE(waitForMenuGone(*menu));

    for (const char* answer : {"checked Awake", "unchecked Awake"}) {
        menu = openedMenu([] { screen().click(icon(lime).center(), rightButton); });
        ASSERT_TRUE(menu);
        ASSERT_TRUE(choose(*menu, "Awake"));
        EXPECT_TRUE(says(client, answer));
        ASSERT_TRUE(waitForMenuGone(*menu));
    }

    menu = openedMenu([] { screen().click(icon(lime).center(), rightButton); });
    ASSERT_TRUE(menu);
    const auto submenu = openedMenu([&] { EXPECT_TRUE(point(*menu, "More")); });
    ASSERT_TRUE(submenu);
    keepPicture(QRect(0, 0, screen().size().width(), 260), "menubar-qt-menu.png");
    ASSERT_TRUE(choose(*submenu, "Deep"));
    EXPECT_TRUE(says(client, "chosen Deep"));
    EXPECT_TRUE(waitForMenuGone(*menu));
}

TEST_F(MenuBarClients, QtProgramThatDiesAndStartsAgainIsThereOnce) {
    startBar();
    for (int round = 0; round < 3; ++round) {
        Program client({QT_TRAY_PROGRAM, "client", "#40d020"}, unread());
        ASSERT_TRUE(waitForIcon(lime));
        EXPECT_EQ(listed().size(), 1);
        client.send(SIGKILL);
        ASSERT_TRUE(client.waitForEnd());
        EXPECT_TRUE(until([] { return icon(lime).isEmpty(); }, Seconds{1}));
    }
}

#ifdef AYATANA_TRAY_PROGRAM
TEST_F(MenuBarClients, AyatanaProgramOpensItsMenuByEitherButton) {
    startBar();
    Program client({AYATANA_TRAY_PROGRAM, "probe", icons_.path(), "probe"}, unread());
    ASSERT_TRUE(waitForIcon(cyan));
    EXPECT_EQ(listed().size(), 1);
    reader();
    auto menu = openedMenu([] { screen().click(icon(cyan).center()); }); // it knows no Activate
    ASSERT_TRUE(menu);
    ASSERT_TRUE(choose(*menu, "Leave"));
    EXPECT_TRUE(says(client, "chosen Leave"));
    ASSERT_TRUE(waitForMenuGone(*menu));

    menu = openedMenu([] { screen().click(icon(cyan).center(), rightButton); });
    ASSERT_TRUE(menu);
    ASSERT_TRUE(choose(*menu, "Awake"));
    EXPECT_TRUE(says(client, "checked Awake"));
    ASSERT_TRUE(waitForMenuGone(*menu));

    menu = openedMenu([] { screen().click(icon(cyan).center(), rightButton); });
    ASSERT_TRUE(menu);
    const auto submenu = openedMenu([&] { EXPECT_TRUE(point(*menu, "More")); });
    ASSERT_TRUE(submenu);
    ASSERT_TRUE(choose(*submenu, "Deep"));
    EXPECT_TRUE(says(client, "chosen Deep"));
    ASSERT_TRUE(waitForMenuGone(*menu));

    screen().click(icon(cyan).center(), wheelUp);
    // Which way is up, its toolkit sees otherwise than Qt.
    EXPECT_TRUE(until([&] { return client.output().find("scrolled ") != std::string::npos; }));
    screen().click(icon(cyan).center(), middleButton);
    EXPECT_TRUE(says(client, "chosen Open")) << "its entry for the middle button";
}
#endif

/// Longer than the older tray takes to start.
constexpr Seconds bothTraysRun{3};

TEST_F(MenuBarClients, ProgramsThatStartedWithoutAnyTrayAreThereOnce) {
    Program qt({QT_TRAY_PROGRAM, "client", "#40d020"}, unread());
    ASSERT_TRUE(until([&] { return says(qt, "shown"); }));
#ifdef AYATANA_TRAY_PROGRAM
    Program ayatana({AYATANA_TRAY_PROGRAM, "probe", icons_.path(), "probe"}, unread());
    ASSERT_TRUE(until([&] { return says(ayatana, "shown probe"); }));
#endif
    startBar();
    const auto isThereOnce = [](QColor colour) {
        return !icon(colour).isEmpty() && icon(colour).width() <= cell(0).width();
    };
    EXPECT_TRUE(waitForIcon(lime)); // it took the older way for its life, and is taken in there
#ifdef AYATANA_TRAY_PROGRAM
    EXPECT_TRUE(waitForIcon(cyan));
    EXPECT_TRUE(holds([&] { return isThereOnce(cyan); }, bothTraysRun));
#endif
    EXPECT_TRUE(holds([&] { return isThereOnce(lime); }, bothTraysRun));
}

#ifdef GTK_STATUS_ICON
TEST_F(MenuBarClients, ProgramWithAnIconWindowIsDrawnAndClicked) {
    startBar();
    Program client({GTK_STATUS_ICON}, unread());
    ASSERT_TRUE(waitForIcon(red));
    EXPECT_EQ(listed().size(), 0);
    screen().click(icon(red).center());
    EXPECT_TRUE(says(client, "activated"));
    const auto menu = openedMenu([] { screen().click(icon(red).center(), rightButton); });
    EXPECT_TRUE(menu);
    EXPECT_TRUE(says(client, "menu"));
    screen().press(XK_Escape);
    EXPECT_TRUE(waitForMenuGone(*menu));
}

TEST_F(MenuBarClients, S05_ProgramsWithIconWindowsOutliveZorbelHoweverItEnds) {
    Program client({GTK_STATUS_ICON}, unread());
    for (const int signal : {SIGTERM, SIGKILL, SIGTERM}) {
        SCOPED_TRACE(signal);
        Program& zorbel = startBar();
        ASSERT_TRUE(waitForIcon(red));
        ASSERT_TRUE(toggle({red}, false));
        zorbel.send(signal);
        ASSERT_TRUE(zorbel.waitForEnd());
        EXPECT_TRUE(holds([&] { return client.isRunning(); }, Seconds{0.5})) << client.output();
        set("sivrel.collapsed", false);
    }
    startBar();
    EXPECT_TRUE(waitForIcon(red)) << "it docks again";
    screen().click(icon(red).center());
    EXPECT_TRUE(says(client, "activated"));
}
#endif

TEST_F(MenuBarClients, TheDividerHidesAndShowsAllFamilies) {
    startBar();
    std::vector<QColor> colours{lime};
    Program qt({QT_TRAY_PROGRAM, "client", "#40d020"}, unread());
    ASSERT_TRUE(waitForIcon(lime));
#ifdef AYATANA_TRAY_PROGRAM
    Program ayatana({AYATANA_TRAY_PROGRAM, "probe", icons_.path(), "probe"}, unread());
    colours.push_back(cyan);
    ASSERT_TRUE(waitForIcon(cyan));
#endif
#ifdef GTK_STATUS_ICON
    Program older({GTK_STATUS_ICON}, unread());
    colours.push_back(red);
    ASSERT_TRUE(waitForIcon(red));
#endif
    screen().movePointer(nowhere);
    keepPicture(strip(), "menubar-revealed.png");
    for (int round = 0; round < 3; ++round) {
        SCOPED_TRACE(round);
        ASSERT_TRUE(toggle(colours, false));
        if (round == 0) {
            keepPicture(strip(), "menubar-collapsed.png");
        }
        for (const QColor& colour : colours) {
            EXPECT_TRUE(boundsOf(screen().picture(), colour, 4).isEmpty()) << colour.name().toStdString();
        }
        ASSERT_TRUE(toggle(colours, true));
        for (std::size_t index = 0; index < colours.size(); ++index) {
            EXPECT_TRUE(cell(static_cast<int>(index)).contains(icon(colours[index]).center())) << index;
        }
    }
}

/// Programs as users have them.
struct ReadyMade {
    const char* name;
    std::vector<std::string> command;
    bool isOnBus; // else its icon is a window
};

void PrintTo(const ReadyMade& program, std::ostream* stream) {
    *stream << program.name;
}

class MenuBarReadyMade : public MenuBarClients, public testing::WithParamInterface<ReadyMade> {};

TEST_P(MenuBarReadyMade, IsDrawnHiddenShownAndHasAMenu) {
    startBar();
    Program client(GetParam().command, unread());
    if (GetParam().isOnBus) {
        ASSERT_TRUE(until([] { return listed().size() == 1; })) << client.output();
    }
    ASSERT_TRUE(until([] { return isAnythingIn(cell(0)); })) << client.output();
    screen().movePointer(nowhere);
    keepPicture(strip(), ("menubar-" + std::string(GetParam().name) + ".png").c_str());
    screen().click(dividerCell().center());
    EXPECT_TRUE(until([] { return !isAnythingIn(cell(0)); }));
    screen().click(dividerCell().center());
    EXPECT_TRUE(until([] { return isAnythingIn(cell(0)); }));
    screen().movePointer(nowhere);
    const auto menu = openedMenu([] { screen().click(cell(0).center(), rightButton); });
    ASSERT_TRUE(menu);
    EXPECT_GT(menu->frame.height(), 20);
    screen().press(XK_Escape);
    EXPECT_TRUE(waitForMenuGone(*menu));
    EXPECT_TRUE(client.isRunning()) << client.output();
}

INSTANTIATE_TEST_SUITE_P(Programs, MenuBarReadyMade,
                         testing::Values(ReadyMade{"flameshot", {"flameshot"}, true},
                                         ReadyMade{"pasystray", {"pasystray"}, true},
                                         ReadyMade{"parcellite", {"parcellite"}, false}),
                         [](const auto& row) { return std::string(row.param.name); });
