#include "Tests/Desktop/MenuBarTest.hpp"

#include <X11/keysym.h>
#include <filesystem>

using namespace Desktop;

namespace {

using Row = std::vector<std::size_t>;

const std::vector<QColor> palette{azure, lime, pink, cyan};

/// A copy of the Qt program under another name.
std::string copyOfTheProgram(const TemporaryFolder& folder, const char* name) {
    const auto path = folder.path() / name;
    std::filesystem::copy_file(QT_TRAY_PROGRAM, path);
    return path.string();
}

} // namespace

class MenuBarOrder : public MenuBarTest {
protected:
    /// Three programs' icons: from left to right 2, 1, 0.
    void showThree() {
        for (std::size_t index = 0; index < 3; ++index) {
            const QString id = QString("icon%1").arg(index);
            items_.push_back(&programs_[index].add(trayProperties(id, palette[index])));
            ASSERT_TRUE(waitForIcon(palette[index]));
        }
        ASSERT_EQ(row(palette), (Row{2, 1, 0}));
    }

    static bool waitForRow(const Row& wanted) {
        return until([&] { return row(palette) == wanted; });
    }

    static QPoint middle(QColor colour) { return icon(colour).center(); }

    std::array<TrayProgram, 3> programs_;
    std::vector<TrayItemDouble*> items_;
};

TEST_F(MenuBarOrder, DraggingWithControlOrSuperMovesAnIconAndClicksNothing) {
    startBar();
    showThree();
    for (const xcb_keysym_t key : {xcb_keysym_t{XK_Control_L}, xcb_keysym_t{XK_Super_L}}) {
        SCOPED_TRACE(key);
        screen().drag(middle(lime), middle(pink) - QPoint(4, 0), key);
        EXPECT_TRUE(waitForRow({1, 2, 0}));
        screen().drag(middle(lime), middle(pink) + QPoint(4, 0), key);
        EXPECT_TRUE(waitForRow({2, 1, 0}));
    }
    screen().drag(middle(pink), middle(azure) + QPoint(4, 0), XK_Control_L);
    EXPECT_TRUE(waitForRow({1, 0, 2})) << "over two at once";
    for (const TrayItemDouble* item : items_) {
        EXPECT_EQ(item->calls(), QStringList());
    }
    screen().click(middle(lime));
    EXPECT_TRUE(until([&] { return items_[1]->count("Activate") == 1; })) << "clicks go on as before";
}

TEST_F(MenuBarOrder, AShortDragThatMovesNothingClicksNothing) {
    startBar();
    showThree();
    screen().drag(middle(lime), middle(lime) + QPoint(5, 0), XK_Control_L);
    EXPECT_TRUE(holds([&] { return items_[1]->calls().isEmpty(); }, Seconds{0.5}));
    EXPECT_EQ(row(palette), (Row{2, 1, 0}));
}

TEST_F(MenuBarOrder, DraggingWithoutAKeyMovesNothing) {
    startBar();
    showThree();
    screen().drag(middle(lime), middle(pink), XCB_NO_SYMBOL);
    EXPECT_TRUE(holds([] { return row(palette) == Row{2, 1, 0}; }, Seconds{0.5}));
}

TEST_F(MenuBarOrder, IsRememberedOverARestart) {
    Program& first = startBar();
    showThree();
    screen().drag(middle(lime), middle(pink) - QPoint(4, 0), XK_Control_L);
    ASSERT_TRUE(waitForRow({1, 2, 0}));
    ASSERT_TRUE(until([&] { return settings.read().contains("menubar.order"); }));
    ASSERT_EQ(end(first), 0) << first.output();
    startBar();
    EXPECT_TRUE(waitForRow({1, 2, 0}));
}

TEST_F(MenuBarOrder, AnIconDraggedRightOfTheDividerStaysVisible) {
    Program& first = startBar();
    showThree();
    screen().drag(middle(azure), dividerCell().center() + QPoint(8, 0), XK_Control_L);
    ASSERT_TRUE(waitForRightOfDivider(azure));
    screen().movePointer(nowhere);
    screen().click(QPoint(icon(azure).left() - 3 - 11, 14));
    EXPECT_TRUE(waitForIcon(lime, false));
    EXPECT_TRUE(waitForIcon(pink, false));
    EXPECT_FALSE(icon(azure).isEmpty());
    ASSERT_EQ(end(first), 0) << first.output();

    startBar(); // S09: the rule that was stored holds from the first moment
    EXPECT_TRUE(waitForIcon(azure));
    EXPECT_TRUE(holds([] { return icon(lime).isEmpty() && icon(pink).isEmpty(); }, Seconds{1}));
}

TEST_F(MenuBarOrder, TheDividerCanBeDragged) {
    startBar();
    showThree();
    screen().drag(dividerCell().center(), middle(lime) - QPoint(4, 0), XK_Super_L);
    ASSERT_TRUE(until([] { return icon(azure).right() > dividerCell().left(); }));
    EXPECT_EQ(row(palette), (Row{2, 1, 0}));
    screen().movePointer(nowhere);
    EXPECT_EQ(settings.read().value("sivrel.collapsed", false), false) << "a drag never clicks";
    const QPoint divider(icon(lime).left() - 3 - 11, 14);
    screen().click(divider);
    EXPECT_TRUE(waitForIcon(pink, false));
    EXPECT_FALSE(icon(azure).isEmpty());
    EXPECT_FALSE(icon(lime).isEmpty());
}

TEST_F(MenuBarOrder, DroppedLeftOfTheCollapsedDividerAnIconIsHidden) {
    startBar();
    showThree();
    screen().drag(middle(azure), dividerCell().center() + QPoint(8, 0), XK_Control_L);
    ASSERT_TRUE(waitForRightOfDivider(azure));
    screen().movePointer(nowhere);
    const QPoint divider(icon(azure).left() - 3 - 11, 14);
    screen().click(divider);
    ASSERT_TRUE(waitForIcon(pink, false));
    screen().drag(middle(azure), divider - QPoint(16, 0), XK_Control_L);
    EXPECT_TRUE(waitForIcon(azure, false));
    screen().movePointer(nowhere);
    EXPECT_TRUE(toggle({azure, lime, pink}, true));
}

TEST_F(MenuBarOrder, S03_TheGlassCannotBeDraggedLeftOfTheDivider) {
    startBar();
    showThree();
    const QRect glass = glassOn(findBar(screen()));
    screen().drag(glass.center(), middle(lime), XK_Control_L);
    EXPECT_FALSE(findPanel(screen())) << "a drag never clicks";
    screen().movePointer(nowhere);
    // Wherever it was let go, collapsing leaves it in sight, and it opens the panel.
    ASSERT_TRUE(toggle({azure, lime, pink}, false));
    screen().click(glassOn(findBar(screen())).center());
    EXPECT_TRUE(waitForPanel());
}

TEST_F(MenuBarOrder, S03_ASpoiltOrderLeavesTheGlassInSight) {
    const nlohmann::json orders[] = {
        nlohmann::json::array({"own:zorbel.sivrel.divider", "own:zorbel.status"}),
        nlohmann::json::array({1, nullptr, "own:zorbel.sivrel.divider", "", "x", "x", true}),
        nlohmann::json("nonsense"), nlohmann::json::object({{"own", 1}})};
    for (const nlohmann::json& order : orders) {
        SCOPED_TRACE(order.dump());
        set("menubar.order", order);
        set("sivrel.collapsed", true);
        Program& zorbel = startBar();
        screen().click(glass());
        EXPECT_TRUE(waitForPanel());
        EXPECT_EQ(end(zorbel), 0) << zorbel.output();
    }
}

TEST_F(MenuBarOrder, AbsentProgramsKeepTheirPlace) {
    Program& first = startBar();
    auto visitor = std::make_unique<TrayProgram>();
    showThree();
    visitor->add(trayProperties("visitor", cyan));
    ASSERT_TRUE(waitForRow({3, 2, 1, 0}));
    screen().drag(middle(cyan), middle(lime) + QPoint(4, 0), XK_Control_L);
    ASSERT_TRUE(waitForRow({2, 1, 3, 0}));
    visitor.reset();
    ASSERT_TRUE(waitForRow({2, 1, 0}));
    screen().drag(middle(pink), middle(lime) + QPoint(4, 0), XK_Control_L); // while it is away
    ASSERT_TRUE(waitForRow({1, 2, 0}));
    ASSERT_EQ(end(first), 0) << first.output();
    startBar();
    ASSERT_TRUE(waitForRow({1, 2, 0}));
    visitor = std::make_unique<TrayProgram>();
    visitor->add(trayProperties("visitor", cyan));
    EXPECT_TRUE(waitForRow({1, 2, 3, 0}));
}

TEST_F(MenuBarOrder, ADraggedProgramThatDiesLetsGo) {
    startBar();
    auto mortal = std::make_unique<TrayProgram>();
    showThree();
    mortal->add(trayProperties("mortal", cyan));
    ASSERT_TRUE(waitForIcon(cyan));
    screen().movePointer(middle(cyan));
    screen().setKeyDown(XK_Control_L, true);
    screen().setButtonDown(true);
    screen().movePointer(middle(pink));
    mortal.reset();
    EXPECT_TRUE(waitForIcon(cyan, false));
    screen().movePointer(middle(azure));
    screen().setButtonDown(false);
    screen().setKeyDown(XK_Control_L, false);
    EXPECT_TRUE(waitForRow({2, 1, 0}));
    screen().click(middle(azure));
    EXPECT_TRUE(until([&] { return items_[0]->count("Activate") == 1; }));
}

TEST_F(MenuBarOrder, S13_ProgramsThatShareAnIdAreToldApart) {
    const TemporaryFolder folder;
    const std::string alpha = copyOfTheProgram(folder, "alpha");
    const std::string beta = copyOfTheProgram(folder, "beta");
    const char* id = "chrome_status_icon_1";
    {
        Program& zorbel = startBar();
        Program first({alpha, id, "#1080ff"}, unread());
        ASSERT_TRUE(waitForIcon(azure));
        Program second({beta, id, "#40d020"}, unread());
        ASSERT_TRUE(waitForIcon(lime));
        // Beta to the right of the divider.
        screen().drag(middle(lime), dividerCell().center() + QPoint(8, 0), XK_Control_L);
        ASSERT_TRUE(waitForRightOfDivider(lime));
        screen().movePointer(nowhere);
        screen().click(QPoint(icon(lime).left() - 3 - 11, 14));
        EXPECT_TRUE(waitForIcon(azure, false));
        EXPECT_FALSE(icon(lime).isEmpty()) << "hiding one leaves the other";
        ASSERT_EQ(end(zorbel), 0) << zorbel.output();
    }
    startBar();
    Program second({beta, id, "#40d020"}, unread()); // in the other order
    ASSERT_TRUE(waitForIcon(lime));
    Program first({alpha, id, "#1080ff"}, unread());
    ASSERT_TRUE(until([] { return listed().size() == 2; }));
    EXPECT_TRUE(isNeverSeen(azure, Seconds{1}));
    EXPECT_FALSE(icon(lime).isEmpty());
}

TEST_F(MenuBarOrder, S14_AnIdWithTheProcessNumberIsRecognisedAfterARestart) {
    startBar();
    {
        Program program({QT_TRAY_PROGRAM, "systray_%p", "#1080ff"}, unread());
        ASSERT_TRUE(waitForIcon(azure));
        screen().drag(middle(azure), dividerCell().center() + QPoint(8, 0), XK_Control_L);
        ASSERT_TRUE(waitForRightOfDivider(azure));
        screen().movePointer(nowhere);
    }
    ASSERT_TRUE(waitForIcon(azure, false));
    screen().click(dividerCell().center());
    ASSERT_TRUE(waitForSetting("sivrel.collapsed", true));
    Program again({QT_TRAY_PROGRAM, "systray_%p", "#1080ff"}, unread());
    EXPECT_TRUE(waitForIcon(azure)) << "still to the right of the divider";
}
