#include "Tests/Desktop/Memory.hpp"
#include "Tests/Desktop/MenuBarTest.hpp"

#include <X11/keysym.h>

using namespace Desktop;

namespace {

constexpr int middleButton = 2;
constexpr int rightButton = 3;
constexpr int wheelUp = 4;
constexpr int wheelDown = 5;
constexpr int wheelLeft = 6;

/// The numbers in "Activate 640 14".
QPoint place(const QString& call) {
    const QStringList words = call.split(' ');
    return {words.value(1).toInt(), words.value(2).toInt()};
}

QVariantMap with(QVariantMap properties, const QString& name, const QVariant& value) {
    properties[name] = value;
    return properties;
}

} // namespace

class MenuBarItems : public MenuBarTest {};

TEST_F(MenuBarItems, AreDrawnInTheMiddleOfTheirCellsFromTheDividerToTheLeft) {
    startBar();
    TrayProgram program;
    program.add(trayProperties("first", azure));
    ASSERT_TRUE(waitForIcon(azure));
    program.add(trayProperties("second", lime), "/second");
    ASSERT_TRUE(waitForIcon(lime));
    screen().movePointer(nowhere);
    const QRect first = icon(azure);
    const QRect second = icon(lime);
    EXPECT_EQ(first.size(), QSize(iconSide, iconSide));
    EXPECT_EQ(first, QRect(cell(0).x() + 3, cell(0).y() + 3, iconSide, iconSide));
    EXPECT_EQ(second, QRect(cell(1).x() + 3, cell(1).y() + 3, iconSide, iconSide));
}

TEST_F(MenuBarItems, ThatRegisteredBeforeTheBarCameAreShown) {
    TrayProgram program;
    program.add(trayProperties("early", azure));
    startBar();
    EXPECT_TRUE(waitForIcon(azure));
    EXPECT_EQ(listed(), QStringList{program.name() + "/StatusNotifierItem"});
}

TEST_F(MenuBarItems, GetClicksWithTheirPlaceOnTheScreen) {
    startBar();
    TrayProgram program;
    TrayItemDouble& item = program.add(trayProperties("item", azure));
    ASSERT_TRUE(waitForIcon(azure));
    struct Row {
        int button;
        const char* call;
    };
    const Row rows[] = {{XCB_BUTTON_INDEX_1, "Activate"},
                        {middleButton, "SecondaryActivate"},
                        {rightButton, "ContextMenu"}}; // it has no menu to show
    for (const Row& row : rows) {
        SCOPED_TRACE(row.call);
        screen().click(cell(0).center(), row.button);
        ASSERT_TRUE(until([&] { return item.count(row.call) == 1; }));
        EXPECT_TRUE(cell(0).adjusted(0, 0, 1, 1).contains(place(item.calls().constLast())))
            << item.calls().constLast().toStdString();
    }
    EXPECT_EQ(item.calls().size(), 3) << item.calls().join(", ").toStdString();
}

TEST_F(MenuBarItems, GetTheWheelInBothDirections) {
    startBar();
    TrayProgram program;
    TrayItemDouble& item = program.add(trayProperties("item", azure));
    ASSERT_TRUE(waitForIcon(azure));
    for (const int button : {wheelUp, wheelDown, wheelLeft}) {
        const auto before = item.calls().size();
        screen().click(cell(0).center(), button);
        ASSERT_TRUE(until([&] { return item.calls().size() == before + 1; })) << button;
    }
    ASSERT_EQ(item.calls().size(), 3);
    const int up = item.calls()[0].split(' ').value(1).toInt();
    const int down = item.calls()[1].split(' ').value(1).toInt();
    EXPECT_GT(up, 0);
    EXPECT_EQ(down, -up);
    EXPECT_TRUE(item.calls()[0].endsWith(" vertical")) << item.calls()[0].toStdString();
    EXPECT_TRUE(item.calls()[2].endsWith(" horizontal")) << item.calls()[2].toStdString();
}

TEST_F(MenuBarItems, RightClickOpensTheMenuBelowTheIconAndAChoiceArrives) {
    startBar();
    TrayProgram program;
    TrayMenuDouble& menu = program.addMenu();
    menu.setEntries(usualMenu());
    TrayItemDouble& item = program.add(with(trayProperties("item", azure), "Menu", objectPath("/Menu")));
    ASSERT_TRUE(waitForIcon(azure));
    reader();
    const auto window = openedMenu([] { screen().click(cell(0).center(), rightButton); });
    ASSERT_TRUE(window);
    EXPECT_GE(window->frame.top(), cell(0).bottom());
    EXPECT_LE(window->frame.top(), cell(0).bottom() + 8);
    EXPECT_TRUE(QRect(QPoint(0, 0), screen().size()).contains(window->frame));
    EXPECT_LE(window->frame.left(), cell(0).right());
    EXPECT_GE(window->frame.right(), cell(0).left());
    EXPECT_TRUE(until([&] { return menu.events().contains("opened 0"); }));
    ASSERT_TRUE(choose(*window, "Leave"));
    EXPECT_TRUE(until([&] { return menu.events().contains("clicked 6"); }))
        << menu.events().join(", ").toStdString();
    EXPECT_TRUE(waitForMenuGone(*window));
    EXPECT_TRUE(until([&] { return menu.events().contains("closed 0"); }));
    EXPECT_EQ(item.calls(), QStringList());
}

TEST_F(MenuBarItems, EscapeClosesTheMenuWithoutAChoice) {
    startBar();
    TrayProgram program;
    TrayMenuDouble& menu = program.addMenu();
    menu.setEntries(usualMenu());
    program.add(with(trayProperties("item", azure), "Menu", objectPath("/Menu")));
    ASSERT_TRUE(waitForIcon(azure));
    const auto window = openedMenu([] { screen().click(cell(0).center(), rightButton); });
    ASSERT_TRUE(window);
    screen().press(XK_Escape);
    EXPECT_TRUE(waitForMenuGone(*window));
    EXPECT_TRUE(until([&] { return menu.events().contains("closed 0"); }));
    EXPECT_TRUE(menu.events().filter("clicked").isEmpty());
}

TEST_F(MenuBarItems, CheckMarksAreShownAndTurnedByThePointer) {
    startBar();
    TrayProgram program;
    TrayMenuDouble& menu = program.addMenu();
    menu.setEntries(usualMenu());
    program.add(with(trayProperties("item", azure), "Menu", objectPath("/Menu")));
    ASSERT_TRUE(waitForIcon(azure));
    reader();
    for (const bool wasOn : {false, true}) {
        SCOPED_TRACE(wasOn);
        const auto window = openedMenu([] { screen().click(cell(0).center(), rightButton); });
        ASSERT_TRUE(window);
        ASSERT_TRUE(point(*window, "Awake"));
        EXPECT_TRUE(until([&] {
            const auto node = entry("Awake");
            return node && node->is(ATSPI_STATE_CHECKED) == wasOn;
        }));
        const auto before = menu.events().count("clicked 2");
        ASSERT_TRUE(choose(*window, "Awake"));
        EXPECT_TRUE(until([&] { return menu.events().count("clicked 2") == before + 1; }));
        ASSERT_TRUE(waitForMenuGone(*window));
        menu.change(2, "toggle-state", wasOn ? 0 : 1);
    }
}

TEST_F(MenuBarItems, SubmenuIsFilledWhenThePointerOpensIt) {
    startBar();
    TrayProgram program;
    TrayMenuDouble& menu = program.addMenu();
    menu.setEntries(usualMenu());
    program.add(with(trayProperties("item", azure), "Menu", objectPath("/Menu")));
    ASSERT_TRUE(waitForIcon(azure));
    reader();
    const auto window = openedMenu([] { screen().click(cell(0).center(), rightButton); });
    ASSERT_TRUE(window);
    std::optional<Window> submenu;
    submenu = openedMenu([&] { EXPECT_TRUE(point(*window, "More")); });
    ASSERT_TRUE(submenu);
    ASSERT_TRUE(until([&] {
        screen().movePointer(screen().frame(submenu->id).value_or(QRect()).center());
        return entry("Deep").has_value();
    }));
    ASSERT_TRUE(choose(*submenu, "Deep"));
    EXPECT_TRUE(until([&] { return menu.events().contains("clicked 5"); }))
        << menu.events().join(", ").toStdString();
    EXPECT_TRUE(waitForMenuGone(*window));
}

TEST_F(MenuBarItems, MenuOpensForAProgramThatDoesNotKnowAboutToShow) {
    startBar();
    TrayProgram program;
    TrayMenuDouble& menu = program.addMenu();
    menu.setKnowsAboutToShow(false);
    menu.setEntries(usualMenu());
    program.add(with(trayProperties("item", azure), "Menu", objectPath("/Menu")));
    ASSERT_TRUE(waitForIcon(azure));
    EXPECT_TRUE(openedMenu([] { screen().click(cell(0).center(), rightButton); }));
    screen().press(XK_Escape);
}

TEST_F(MenuBarItems, WhoseMenuIsEverythingOpenItByTheLeftButton) {
    startBar();
    TrayProgram program;
    TrayMenuDouble& menu = program.addMenu();
    menu.setEntries(usualMenu());
    QVariantMap properties = with(trayProperties("item", azure), "Menu", objectPath("/Menu"));
    properties["ItemIsMenu"] = true;
    TrayItemDouble& item = program.add(properties);
    ASSERT_TRUE(waitForIcon(azure));
    EXPECT_TRUE(openedMenu([] { screen().click(cell(0).center()); }));
    EXPECT_EQ(item.calls(), QStringList());
    screen().press(XK_Escape);
}

TEST_F(MenuBarItems, ThatKnowNoActivateOpenTheirMenuByTheLeftButton) {
    startBar();
    TrayProgram program;
    TrayMenuDouble& menu = program.addMenu();
    menu.setEntries(usualMenu());
    QVariantMap properties = with(trayProperties("item", azure), "Menu", objectPath("/Menu"));
    properties.remove("ItemIsMenu");
    program.add(properties, "/StatusNotifierItem", {}, {.knowsActivate = false});
    ASSERT_TRUE(waitForIcon(azure));
    EXPECT_TRUE(openedMenu([] { screen().click(cell(0).center()); }));
    screen().press(XK_Escape);
}

TEST_F(MenuBarItems, MenuThatIsNeverToldLeavesTheBarAlive) {
    startBar();
    TrayProgram silent;
    silent.addMenu().setAnswers(false);
    silent.add(with(trayProperties("silent", azure), "Menu", objectPath("/Menu")));
    ASSERT_TRUE(waitForIcon(azure));
    TrayProgram lively;
    TrayItemDouble& item = lively.add(trayProperties("lively", lime));
    ASSERT_TRUE(waitForIcon(lime));
    screen().click(icon(azure).center(), rightButton);
    for (int click = 1; click <= 3; ++click) {
        screen().click(icon(lime).center());
        EXPECT_TRUE(until([&] { return item.count("Activate") == click; }, Seconds{1}));
    }
}

TEST_F(MenuBarItems, MenuClosesWhenItsProgramDies) {
    startBar();
    std::optional<TrayProgram> program(std::in_place);
    program->addMenu().setEntries(usualMenu());
    program->add(with(trayProperties("item", azure), "Menu", objectPath("/Menu")));
    ASSERT_TRUE(waitForIcon(azure));
    const auto window = openedMenu([] { screen().click(cell(0).center(), rightButton); });
    ASSERT_TRUE(window);
    program.reset();
    EXPECT_TRUE(waitForMenuGone(*window));
    EXPECT_TRUE(waitForIcon(azure, false));
}

TEST_F(MenuBarItems, S10_OfAProgramThatDiesLeaveNoGap) {
    startBar();
    std::optional<TrayProgram> mortal(std::in_place);
    mortal->add(trayProperties("mortal", azure));
    ASSERT_TRUE(waitForIcon(azure));
    TrayProgram other;
    other.add(trayProperties("other", lime));
    ASSERT_TRUE(waitForIcon(lime));
    mortal.reset();
    EXPECT_TRUE(until([] { return icon(azure).isEmpty(); }, Seconds{1}));
    EXPECT_TRUE(until([] { return icon(lime).x() == cell(0).x() + 3; }, Seconds{1})) << icon(lime).x();
    EXPECT_EQ(listed().size(), 1);
}

TEST_F(MenuBarItems, S15_ThatArePassiveTakeNoRoomAndKeepTheirPlace) {
    startBar();
    TrayProgram program;
    TrayItemDouble& first = program.add(trayProperties("first", azure));
    ASSERT_TRUE(waitForIcon(azure));
    program.add(trayProperties("second", lime), "/second");
    ASSERT_TRUE(waitForIcon(lime));
    first.setStatus("Passive");
    EXPECT_TRUE(waitForIcon(azure, false));
    EXPECT_TRUE(until([] { return icon(lime).x() == cell(0).x() + 3; }));
    EXPECT_EQ(listed().size(), 2) << "it is still there";
    first.setStatus("Active");
    EXPECT_TRUE(until([] { return row({azure, lime}) == std::vector<std::size_t>{1, 0}; }));
    EXPECT_EQ(icon(azure).x(), cell(0).x() + 3);
}

TEST_F(MenuBarItems, ThatStartPassiveAreNotDrawn) {
    startBar();
    TrayProgram program;
    program.add(with(trayProperties("item", azure), "Status", "Passive"));
    ASSERT_TRUE(until([] { return listed().size() == 1; }));
    EXPECT_TRUE(isNeverSeen(azure, Seconds{0.7}));
}

TEST_F(MenuBarItems, ThatNeedAttentionShowThePictureForIt) {
    startBar();
    TrayProgram program;
    TrayItemDouble& item =
        program.add(with(trayProperties("item", azure), "AttentionIconPixmap", plainPicture(pink)));
    ASSERT_TRUE(waitForIcon(azure));
    item.setStatus("NeedsAttention");
    EXPECT_TRUE(waitForIcon(pink));
    EXPECT_TRUE(icon(azure).isEmpty());
    item.change("AttentionIconPixmap", {}, "NewAttentionIcon");
    EXPECT_TRUE(waitForIcon(azure)) << "without a picture for it the usual one stays";
}

TEST_F(MenuBarItems, FollowTheirPicture) {
    startBar();
    TrayProgram program;
    TrayItemDouble& item = program.add(trayProperties("item", azure));
    ASSERT_TRUE(waitForIcon(azure));
    item.change("IconPixmap", plainPicture(lime), "NewIcon");
    EXPECT_TRUE(waitForIcon(lime));
    EXPECT_TRUE(icon(azure).isEmpty());
}

TEST_F(MenuBarItems, TakeTheirPictureFromAFileOrAFolderOfTheirOwn) {
    const TemporaryFolder folder;
    for (const auto& [name, colour] : {std::pair("plain", lime), std::pair("themed", pink)}) {
        QImage picture(32, 32, QImage::Format_ARGB32);
        picture.fill(colour);
        ASSERT_TRUE(picture.save(QString::fromStdString((folder.path() / name).string() + ".png")));
    }
    startBar();
    TrayProgram program;
    const QString path = QString::fromStdString(folder.path().string());
    QVariantMap properties = trayProperties("file", azure);
    properties["IconName"] = path + "/plain.png";
    program.add(properties);
    EXPECT_TRUE(waitForIcon(lime)) << "a name that resolves wins over a picture";

    QVariantMap bare{{"Id", "themed"}, {"Status", "Active"}, {"IconName", "themed"}, {"IconThemePath", path}};
    program.add(bare, "/themed");
    EXPECT_TRUE(waitForIcon(pink));

    bare["Id"] = "wrong";
    bare["IconName"] = "no-such-icon-anywhere";
    bare["IconPixmap"] = plainPicture(cyan);
    program.add(bare, "/wrong");
    EXPECT_TRUE(waitForIcon(cyan)) << "a name that leads nowhere leaves the picture";
}

TEST_F(MenuBarItems, ThatTellAlmostNothingStillTakeARoomOfTheirOwn) {
    startBar();
    TrayProgram program;
    TrayItemDouble& bare = program.add({{"Id", "bare"}});
    ASSERT_TRUE(until([&] { return bare.questions() > 0; }));
    program.add(trayProperties("item", azure), "/second");
    ASSERT_TRUE(waitForIcon(azure));
    EXPECT_TRUE(until([] { return icon(azure).x() == cell(1).x() + 3; })) << icon(azure).x();
    screen().click(cell(0).center());
    EXPECT_TRUE(until([&] { return bare.count("Activate") == 1; }));
}

TEST_F(MenuBarItems, TellAScreenReaderTheirName) {
    startBar();
    TrayProgram program;
    program.add(with(trayProperties("item", azure), "ToolTip", trayToolTip("Kettle", "<b>boiling</b>")));
    ASSERT_TRUE(waitForIcon(azure));
    EXPECT_TRUE(until([] {
        for (const Node& window : reader().windows()) {
            for (const std::string& name : window.names()) {
                if (name.find("Kettle") != std::string::npos) {
                    EXPECT_EQ(name.find('<'), std::string::npos) << name;
                    return true;
                }
            }
        }
        return false;
    }));
}

TEST_F(MenuBarItems, S17_ThatAnswerLateDelayNobody) {
    startBar();
    TrayProgram program;
    program.add(trayProperties("never", pink), "/never", {}, {.answers = false});
    program.add(trayProperties("late", violet), "/late", {},
                {.answersAfter = std::chrono::milliseconds{1500}});
    const auto before = std::chrono::steady_clock::now();
    TrayItemDouble& prompt = program.add(trayProperties("prompt", azure));
    ASSERT_TRUE(waitForIcon(azure));
    EXPECT_LT(Seconds(std::chrono::steady_clock::now() - before), Seconds{1});
    EXPECT_TRUE(icon(violet).isEmpty());
    EXPECT_EQ(icon(azure).x(), cell(0).x() + 3) << "no empty room for those that have not answered";
    screen().click(icon(azure).center());
    EXPECT_TRUE(until([&] { return prompt.count("Activate") == 1; }, Seconds{1}));
    EXPECT_TRUE(waitForIcon(violet)) << "it has answered";
    EXPECT_EQ(listed().size(), 3);
}

TEST_F(MenuBarItems, S17_WhoseFirstAnswerComesAfterAllPatienceAreShownOnTheirNextSignal) {
    startBar();
    TrayProgram program;
    TrayItemDouble& slow = program.add(trayProperties("slow", azure), "/StatusNotifierItem", {},
                                       {.answersAfter = std::chrono::milliseconds{3500}});
    EXPECT_TRUE(until([&] {
        slow.tell("NewTitle"); // it lives, and says so
        return !icon(azure).isEmpty();
    }));
}

TEST_F(MenuBarItems, S18_ThatChangeAThousandTimesASecondLeaveTheBarAlive) {
    startBar();
    TrayProgram restless;
    TrayItemDouble& item = restless.add(trayProperties("restless", azure));
    TrayProgram calm;
    TrayItemDouble& other = calm.add(trayProperties("calm", lime));
    ASSERT_TRUE(waitForIcon(azure));
    ASSERT_TRUE(waitForIcon(lime));
    item.flicker(1000, azure, pink);
    for (int click = 1; click <= 5; ++click) {
        screen().click(icon(lime).center());
        EXPECT_TRUE(until([&] { return other.count("Activate") == click; }, Seconds{2})) << click;
        EXPECT_TRUE(holds([] { return findBar(screen()).has_value(); }, Seconds{0.2}));
    }
    item.flicker(0);
    item.change("IconPixmap", plainPicture(violet), "NewIcon");
    EXPECT_TRUE(until([] { return !icon(violet).isEmpty(); }, Seconds{2})) << "a queue has grown";
}

TEST_F(MenuBarItems, S18_ThreeHundredOfThemChangeAtOnce) {
    startBar();
    constexpr int crowdSize = 20;
    constexpr int each = 15;
    std::vector<std::unique_ptr<TrayProgram>> crowd;
    std::vector<TrayItemDouble*> items;
    for (int program = 0; program < crowdSize; ++program) {
        crowd.push_back(std::make_unique<TrayProgram>());
        for (int index = 0; index < each; ++index) {
            items.push_back(&crowd.back()->add(
                trayProperties(QString("crowd %1 %2").arg(program).arg(index), program == 0 ? azure : pink),
                QString("/item/%1").arg(index)));
        }
    }
    ASSERT_TRUE(until([] { return listed().size() == crowdSize * each; })) << listed().size();
    ASSERT_TRUE(waitForIcon(pink)); // the newest are at the left, past the end of the bar
    for (TrayItemDouble* item : items) {
        item->change("IconPixmap", plainPicture(lime), "NewIcon");
    }
    EXPECT_TRUE(until([] { return !icon(lime).isEmpty() && icon(pink).isEmpty() && icon(azure).isEmpty(); }));
    crowd.clear();
    EXPECT_TRUE(until([] { return listed().isEmpty(); }));
    EXPECT_TRUE(waitForIcon(lime, false));
}

TEST_F(MenuBarItems, ComeAndGoFiveHundredTimesAndNothingIsLeft) {
    Program& zorbel = startBar();
    TrayProgram program;
    TrayItemDouble& item = program.addQuietly(trayProperties("passer", azure));
    int made = 0;
    const auto comeAndGo = [&](int cycles) {
        for (int cycle = 0; cycle < cycles; ++cycle) {
            const QString name = QString("org.kde.StatusNotifierItem-1-%1").arg(++made);
            const int asked = item.questions();
            ASSERT_TRUE(program.takeName(name));
            ASSERT_EQ(program.registerAs(name).toStdString(), "");
            ASSERT_TRUE(until([&] { return item.questions() > asked; }));
            program.dropName(name);
        }
        ASSERT_TRUE(until([] { return listed().isEmpty(); }));
    };
    comeAndGo(100);
    // By then all that Zorbel opens once is open, a connection to the X server for older programs too.
    ASSERT_TRUE(until([] { return screen().selectionOwner("_NET_SYSTEM_TRAY_S0") != XCB_NONE; }));
    const auto held = [&] { return holdings(zorbel.pid()); };
    const Holdings before = held();
    comeAndGo(500);
    EXPECT_TRUE(waitForIcon(azure, false));
    EXPECT_TRUE(until([&] { return held().descriptors <= before.descriptors; })) << held().descriptors;
    EXPECT_LE(held().threads, before.threads);
    constexpr std::uint64_t leeway = 1 << 20; // bytes: two thousand of each icon would already show
    EXPECT_LE(held().anonymous, before.anonymous + leeway);
}
