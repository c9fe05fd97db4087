#include "Platforms/Linux/MenuBar/TrayMenu.hpp"
#include "Platforms/Linux/MenuBar/TrayMenuLayout.hpp"
#include "Tests/Platforms/MenuDouble.hpp"
#include "Tests/Views/ViewTests.hpp"
#include "ZorbelKit/Controls/Menu.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QBuffer>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDateTime>
#include <QElapsedTimer>
#include <QFile>
#include <QIcon>
#include <QImage>
#include <QMenu>
#include <QPainter>
#include <QPointer>
#include <QScreen>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>

namespace {

using namespace Views;
using Linux::TrayMenu;
using Platforms::MenuDouble;
using Platforms::menuEntry;
using Platforms::MenuNode;
using Platforms::menuSeparator;
using Platforms::menuShortcut;
using Platforms::PrivateBus;

constexpr int patience = 10000; // milliseconds
constexpr QRect anchor(300, 2, 24, 24);
const QVariantMap submenu{{"children-display", "submenu"}};

bool waitFor(const std::function<bool()>& isSo) {
    return QTest::qWaitFor(isSo, patience);
}

QMenu* shownMenu() {
    return qobject_cast<QMenu*>(QApplication::activePopupWidget());
}

QAction* row(const QMenu& menu, const QString& label) {
    const auto actions = menu.actions();
    for (QAction* action : actions) {
        if (action->text().section('\t', 0, 0) == label) {
            return action;
        }
    }
    return nullptr;
}

QStringList labels(const QMenu& menu) {
    QStringList texts;
    const auto actions = menu.actions();
    for (const QAction* action : actions) {
        texts << (action->isSeparator() ? QStringLiteral("—") : action->text());
    }
    return texts;
}

QByteArray picture(const QSize& size, Qt::GlobalColor colour) {
    QImage image(size, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(colour);
    painter.setPen(Qt::NoPen);
    painter.drawEllipse(image.rect().adjusted(1, 1, -1, -1));
    painter.end();
    QByteArray data;
    QBuffer buffer(&data);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "png");
    return data;
}

/// A program with a menu on one connection and the suite's menu on another.
class TrayMenuTest : public testing::Test {
protected:
    static void SetUpTestSuite() { bus_ = std::make_unique<PrivateBus>(); }
    static void TearDownTestSuite() { bus_.reset(); }

    void SetUp() override {
        if (!bus_->isRunning()) {
            FAIL() << "no dbus-daemon here";
        }
        program = std::make_unique<MenuDouble>(bus_->address());
        program->root.children = {menuEntry(1, "_Open"), menuSeparator(2), menuEntry(3, "_Quit")};
        connection_ =
            std::make_unique<QDBusConnection>(QDBusConnection::connectToBus(bus_->address(), "suite"));
        makeMenu(program->service());
    }

    void TearDown() override {
        menu.reset();
        settle();
        connection_.reset();
        QDBusConnection::disconnectFromBus("suite");
        program.reset();
    }

    void makeMenu(const QString& service) {
        menu = std::make_unique<TrayMenu>(service, MenuDouble::path, *connection_);
        menu->onClosed([this] { ++closings; });
    }

    void open() {
        menu->open(anchor, [this] { ++failures; });
    }

    /// Opens the menu and waits for it.
    QMenu& opened() {
        open();
        EXPECT_TRUE(waitFor([this] { return menu->isOpen(); }));
        return *shownMenu();
    }

    /// Opens an entry's submenu and waits for it.
    QMenu& openedBelow(QMenu& parent, const QString& label) {
        QAction* action = row(parent, label);
        parent.setActiveAction(action);
        EXPECT_TRUE(waitFor([&] { return action->menu()->isVisible(); }));
        return *action->menu();
    }

    /// Waits until the program has answered everything it was asked before.
    void exchange() {
        QDBusMessage ping = QDBusMessage::createMethodCall(program->service(), MenuDouble::path,
                                                           "org.freedesktop.DBus.Peer", "Ping");
        QDBusPendingCall answer = connection_->asyncCall(ping);
        EXPECT_TRUE(waitFor([&] { return answer.isFinished(); }));
        settle();
    }

    std::unique_ptr<MenuDouble> program;
    std::unique_ptr<TrayMenu> menu;
    int failures = 0;
    int closings = 0;

private:
    static inline std::unique_ptr<PrivateBus> bus_;
    std::unique_ptr<QDBusConnection> connection_;

protected:
    static const QString& address() { return bus_->address(); }
};

TEST_F(TrayMenuTest, ShowsWhatTheProgramTellsBelowTheItem) {
    const QMenu& shown = opened();
    EXPECT_EQ(labels(shown), (QStringList{"&Open", "—", "&Quit"}));
    EXPECT_EQ(shown.pos(), anchor.bottomLeft() + QPoint(0, 1));
    EXPECT_EQ(program->calls(), (QStringList{"AboutToShow 0", "GetLayout 0"}));
    EXPECT_TRUE(waitFor([&] { return program->count(0, "opened") == 1; }));
    EXPECT_EQ(failures, 0);
}

TEST_F(TrayMenuTest, StaysOnTheScreen) {
    const QRect screen = QApplication::primaryScreen()->geometry();
    menu->open(QRect(screen.right() - 20, screen.bottom() - 20, 20, 20), {});
    ASSERT_TRUE(waitFor([&] { return menu->isOpen(); }));
    EXPECT_TRUE(screen.contains(shownMenu()->geometry()));
}

TEST_F(TrayMenuTest, TellsAChoiceOnceAndWithItsTime) {
    QMenu& shown = opened();
    const auto before = QDateTime::currentSecsSinceEpoch();
    QTest::mouseClick(&shown, Qt::LeftButton, {}, shown.actionGeometry(row(shown, "&Quit")).center());
    ASSERT_TRUE(waitFor([&] { return program->count(0, "closed") == 1; }));
    const std::vector<std::pair<int, QString>> expected{{0, "opened"}, {3, "clicked"}, {0, "closed"}};
    EXPECT_EQ(program->events(), expected);
    EXPECT_FALSE(menu->isOpen());
    EXPECT_EQ(closings, 1);
    EXPECT_EQ(failures, 0);
    EXPECT_GE(program->choiceTime(), before);
    EXPECT_LE(program->choiceTime(), QDateTime::currentSecsSinceEpoch());
}

TEST_F(TrayMenuTest, TheKeyboardChoosesByAccessKey) {
    QMenu& shown = opened();
    QTest::keyClick(&shown, Qt::Key_Q);
    ASSERT_TRUE(waitFor([&] { return program->count(0, "closed") == 1; }));
    EXPECT_EQ(program->count(3, "clicked"), 1);
    EXPECT_EQ(program->count(1, "clicked"), 0);
}

TEST_F(TrayMenuTest, ClosingWithoutAChoiceTellsNoChoice) {
    QMenu& shown = opened();
    QTest::keyClick(&shown, Qt::Key_Escape);
    ASSERT_TRUE(waitFor([&] { return program->count(0, "closed") == 1; }));
    const std::vector<std::pair<int, QString>> expected{{0, "opened"}, {0, "closed"}};
    EXPECT_EQ(program->events(), expected);
    EXPECT_EQ(closings, 1);
}

TEST_F(TrayMenuTest, ASecondCallCloses) {
    opened();
    open();
    EXPECT_FALSE(menu->isOpen());
    EXPECT_EQ(closings, 1);
    settle();
    EXPECT_EQ(closings, 1);
    opened();
    EXPECT_EQ(program->count("GetLayout 0"), 2) << "asked for afresh";
}

TEST_F(TrayMenuTest, ASecondCallWhileItIsAskedForCloses) {
    program->answersLayout = false;
    open();
    ASSERT_TRUE(waitFor([&] { return program->count("GetLayout 0") == 1; }));
    open();
    EXPECT_EQ(closings, 1);
    EXPECT_EQ(failures, 0);
    exchange();
    EXPECT_EQ(shownMenu(), nullptr);
}

TEST_F(TrayMenuTest, AnAnswerAfterTheEndIsDropped) {
    open();
    menu->close();
    exchange();
    open();
    menu.reset();
    exchange();
    EXPECT_EQ(shownMenu(), nullptr);
    EXPECT_EQ(failures, 0);
}

TEST_F(TrayMenuTest, MarksPicturesShortcutsAndStates) {
    program->root.children = {menuEntry(1, "Connected", {{"toggle-type", "checkmark"}, {"toggle-state", 1}}),
                              menuEntry(2, "Paused", {{"toggle-type", "checkmark"}, {"toggle-state", 0}}),
                              menuEntry(3, "Low", {{"toggle-type", "radio"}, {"toggle-state", 1}}),
                              menuEntry(4, "High", {{"toggle-type", "radio"}, {"toggle-state", 1}}),
                              menuEntry(5, "Medium", {{"toggle-type", "radio"}, {"toggle-state", -1}}),
                              menuEntry(6, "Save", {{"shortcut", menuShortcut({"Control", "Shift", "s"})}}),
                              menuEntry(7, "Nobody", {{"enabled", false}}),
                              menuEntry(8, "Secret", {{"visible", false}}),
                              menuEntry(9, "Red", {{"icon-data", picture({22, 22}, Qt::red)}}),
                              menuEntry(10, "Torn", {{"icon-data", QByteArray("\x89PNG\r\n")}}),
                              menuEntry(11, "Vast", {{"icon-data", picture({600, 600}, Qt::red)}})};
    const QMenu& shown = opened();
    EXPECT_TRUE(row(shown, "Connected")->isChecked());
    EXPECT_FALSE(row(shown, "Paused")->isChecked());
    EXPECT_TRUE(row(shown, "Paused")->isCheckable());
    EXPECT_TRUE(row(shown, "Low")->isChecked());
    EXPECT_TRUE(row(shown, "High")->isChecked()) << "which marks are on is the program's business";
    EXPECT_FALSE(row(shown, "Medium")->isChecked());
    EXPECT_NE(row(shown, "Low")->actionGroup(), nullptr);
    EXPECT_EQ(row(shown, "Connected")->actionGroup(), nullptr);
    EXPECT_EQ(row(shown, "Save")->text(), "Save\tCtrl+Shift+S");
    EXPECT_TRUE(row(shown, "Save")->shortcut().isEmpty()) << "the program's key, not ours";
    EXPECT_FALSE(row(shown, "Nobody")->isEnabled());
    EXPECT_EQ(row(shown, "Secret"), nullptr);
    EXPECT_FALSE(row(shown, "Red")->icon().isNull());
    EXPECT_TRUE(row(shown, "Torn")->icon().isNull());
    EXPECT_TRUE(row(shown, "Vast")->icon().isNull());
}

TEST_F(TrayMenuTest, ADisabledEntryCannotBeChosen) {
    program->root.children = {menuEntry(1, "Never", {{"enabled", false}}), menuEntry(2, "Maybe")};
    QMenu& shown = opened();
    QTest::mouseClick(&shown, Qt::LeftButton, {}, shown.actionGeometry(row(shown, "Never")).center());
    exchange();
    EXPECT_EQ(program->count(1, "clicked"), 0);
    EXPECT_TRUE(menu->isOpen());
}

TEST_F(TrayMenuTest, SubmenusAreFilledWhenTheyOpen) {
    program->root.children = {menuEntry(1, "More", submenu), menuEntry(2, "Quit")};
    program->aboutToShow = [&](int id) {
        if (id == 1) {
            program->find(1)->children = {menuEntry(11, "Deeper", submenu), menuEntry(12, "Here")};
        } else if (id == 11) {
            program->find(11)->children = {menuEntry(111, "Bottom")};
        }
        return id != 0;
    };
    QMenu& shown = opened();
    QMenu& more = openedBelow(shown, "More");
    EXPECT_EQ(labels(more), QStringList{"…"});
    EXPECT_FALSE(more.actions().first()->isEnabled());
    ASSERT_TRUE(waitFor([&] { return labels(more) == QStringList({"Deeper", "Here"}); }));
    EXPECT_TRUE(more.isVisible()) << "filled in place";
    EXPECT_GT(more.actionGeometry(more.actions().last()).bottom(), 40) << "and grown";
    EXPECT_LE(more.actionGeometry(more.actions().last()).bottom(), more.height());
    QMenu& deeper = openedBelow(more, "Deeper");
    ASSERT_TRUE(waitFor([&] { return labels(deeper) == QStringList("Bottom"); }));
    EXPECT_EQ(program->count("GetLayout 0"), 1) << "only the part that changed is read again";
    row(deeper, "Bottom")->trigger();
    ASSERT_TRUE(waitFor([&] { return program->count(111, "clicked") == 1; }));
    EXPECT_EQ(program->count(1, "opened"), 1);
    EXPECT_EQ(program->count(11, "opened"), 1);
    menu->close();
    EXPECT_TRUE(waitFor([&] { return program->count(0, "closed") == 1; }));
    EXPECT_EQ(program->count(1, "closed"), 1);
    EXPECT_EQ(program->count(11, "closed"), 1);
}

TEST_F(TrayMenuTest, AKnownSubmenuIsShownAtOnceAndReadAgainOnlyWhenTheProgramSaysSo) {
    program->root.children = {menuEntry(1, "More", submenu, {menuEntry(11, "Here")})};
    QMenu& more = openedBelow(opened(), "More");
    EXPECT_EQ(labels(more), QStringList("Here"));
    exchange();
    EXPECT_EQ(program->count("AboutToShow 1"), 1);
    EXPECT_EQ(program->count("GetLayout 1"), 0);
}

TEST_F(TrayMenuTest, ChangesShowWhileItIsOpen) {
    QMenu& shown = opened();
    const QPointer<QAction> quit = row(shown, "&Quit");
    shown.setActiveAction(quit);
    program->find(1)->properties["label"] = "Close";
    program->root.children.insert(program->root.children.begin() + 1, menuEntry(7, "New"));
    program->layoutUpdated(0);
    ASSERT_TRUE(waitFor([&] { return labels(shown) == QStringList({"Close", "New", "—", "&Quit"}); }));
    EXPECT_EQ(row(shown, "&Quit"), quit) << "the same row";
    EXPECT_EQ(shown.activeAction(), quit) << "and still chosen";
    EXPECT_LE(shown.actionGeometry(quit).bottom(), shown.height()) << "the menu has grown";
    program->root.children.erase(program->root.children.begin() + 2, program->root.children.end());
    program->layoutUpdated(0);
    ASSERT_TRUE(waitFor([&] { return labels(shown) == QStringList({"Close", "New"}); }));
    EXPECT_TRUE(waitFor([&] { return quit.isNull(); }));
}

TEST_F(TrayMenuTest, OnlyThePartThatChangedIsReadAgain) {
    program->root.children = {menuEntry(1, "More", submenu, {menuEntry(11, "Here")}), menuEntry(2, "Quit")};
    QMenu& more = openedBelow(opened(), "More");
    exchange();
    program->find(1)->children.push_back(menuEntry(12, "There"));
    program->layoutUpdated(1);
    ASSERT_TRUE(waitFor([&] { return labels(more) == QStringList({"Here", "There"}); }));
    EXPECT_EQ(program->count("GetLayout 1"), 1);
    EXPECT_EQ(program->count("GetLayout 0"), 1);
    program->layoutUpdated(4711);
    exchange();
    EXPECT_EQ(program->count("GetLayout 4711"), 0) << "no such entry";
}

TEST_F(TrayMenuTest, PropertiesChangeWithoutReadingTheLayout) {
    program->root.children = {menuEntry(1, "Play", {{"enabled", false}}), menuEntry(2, "Stop")};
    const QMenu& shown = opened();
    const QAction* play = shown.actions().first();
    program->propertiesUpdated({{1, {{"label", "Pause"}, {"toggle-type", "checkmark"}, {"toggle-state", 1}}}},
                               {{1, {"enabled"}}, {99, {"label"}}});
    ASSERT_TRUE(waitFor([&] { return play->text() == "Pause"; }));
    EXPECT_TRUE(play->isChecked());
    EXPECT_TRUE(play->isEnabled());
    program->propertiesUpdated({{2, {{"visible", false}}}});
    ASSERT_TRUE(waitFor([&] { return labels(shown) == QStringList("Pause"); }));
    program->propertiesUpdated({{2, {{"visible", true}}}});
    ASSERT_TRUE(waitFor([&] { return labels(shown) == QStringList({"Pause", "Stop"}); }));
    EXPECT_EQ(program->count("GetLayout 0"), 1);
}

TEST_F(TrayMenuTest, AnEqualLayoutPaintsNothing) {
    QMenu& shown = opened();
    settle();
    PaintCounter paints(shown);
    program->layoutUpdated(0);
    ASSERT_TRUE(waitFor([&] { return program->count("GetLayout 0") == 2; }));
    exchange();
    EXPECT_EQ(paints.all(), 0);
}

TEST_F(TrayMenuTest, AMenuThatLosesAllItsEntriesCloses) {
    opened();
    program->root.children.clear();
    program->layoutUpdated(0);
    ASSERT_TRUE(waitFor([&] { return closings == 1; }));
    EXPECT_FALSE(menu->isOpen());
    EXPECT_EQ(failures, 0);
}

TEST_F(TrayMenuTest, ALongSubmenuFilledWhileOpenStaysOnTheScreen) {
    program->root.children = {menuEntry(1, "History", submenu)};
    program->aboutToShow = [&](int id) {
        if (id == 1 && program->find(1)->children.empty()) {
            for (int entry = 0; entry < 900; ++entry) {
                program->find(1)->children.push_back(menuEntry(100 + entry, "Clip"));
            }
        }
        return id == 1;
    };
    QMenu& history = openedBelow(opened(), "History");
    ASSERT_TRUE(waitFor([&] { return history.actions().size() == 900; }));
    EXPECT_TRUE(QApplication::primaryScreen()->geometry().contains(history.geometry()));
    QTest::keyClick(&history, Qt::Key_End);
    EXPECT_TRUE(history.rect().intersects(history.actionGeometry(history.actions().last()))) << "it scrolls";
}

TEST_F(TrayMenuTest, WhoNeverGetsReadyIsShownAnyway) {
    program->answersAboutToShow = false;
    QElapsedTimer time;
    time.start();
    opened();
    EXPECT_LT(time.elapsed(), TrayMenu::timeLimit);
    EXPECT_EQ(failures, 0);
}

TEST_F(TrayMenuTest, WhoDoesNotKnowTheQuestionIsShownAtOnce) {
    program->knowsAboutToShow = false;
    opened();
    EXPECT_EQ(program->calls(), (QStringList{"AboutToShow 0", "GetLayout 0"}));
}

TEST_F(TrayMenuTest, WhoNeverTellsItsMenuFailsAfterTheLimitAndHoldsUpNothing) {
    program->answersLayout = false;
    int ticks = 0;
    QTimer ticking;
    QObject::connect(&ticking, &QTimer::timeout, &ticking, [&] { ++ticks; });
    ticking.start(20);
    QElapsedTimer time;
    time.start();
    open();
    EXPECT_LT(time.elapsed(), 500);
    ASSERT_TRUE(waitFor([&] { return failures == 1; }));
    EXPECT_GE(time.elapsed(), TrayMenu::timeLimit * 9 / 10) << "the bus library counts roughly";
    EXPECT_GT(ticks, 30) << "the loop went on";
    EXPECT_EQ(shownMenu(), nullptr);
    EXPECT_EQ(closings, 0);
}

TEST_F(TrayMenuTest, NoMenuIsAFailure) {
    struct Row {
        const char* name;
        std::function<void(MenuDouble&)> arrange;
    };
    const Row rows[] = {
        {"an error", [](MenuDouble& each) { each.failsLayout = true; }},
        {"nothing in it", [](MenuDouble& each) { each.root.children.clear(); }},
        {"only separators", [](MenuDouble& each) { each.root.children = {menuSeparator(1)}; }},
        {"nothing to be seen",
         [](MenuDouble& each) {
             each.root.children = {menuEntry(1, "Secret", {{"visible", false}})};
         }},
        {"a text", [](MenuDouble& each) { each.otherLayout = [](int) { return QVariant("menu"); }; }},
        {"a number", [](MenuDouble& each) { each.otherLayout = [](int) { return QVariant(7); }; }},
        {"a map", [](MenuDouble& each) { each.otherLayout = [](int) {
                                             return QVariantMap{{"a", 1}};
                                         }; }},
        {"another structure",
         [](MenuDouble& each) {
             each.otherLayout = [](int) { return QVariant::fromValue(Platforms::MenuRemovals{1, {"a"}}); };
         }},
    };
    for (const Row& each : rows) {
        SCOPED_TRACE(each.name);
        program->failsLayout = false;
        program->otherLayout = {};
        each.arrange(*program);
        const int before = failures;
        open();
        EXPECT_TRUE(waitFor([&] { return failures == before + 1; }));
        EXPECT_EQ(shownMenu(), nullptr);
    }
    EXPECT_EQ(closings, 0);
    EXPECT_TRUE(program->events().empty());
}

TEST_F(TrayMenuTest, AFailureMayEndTheMenu) {
    program->failsLayout = true;
    menu->open(anchor, [this] {
        ++failures;
        menu.reset();
    });
    EXPECT_TRUE(waitFor([&] { return failures == 1; }));
    settle();
}

TEST_F(TrayMenuTest, AProgramThatEndsTakesItsMenuWithIt) {
    opened();
    program.reset();
    ASSERT_TRUE(waitFor([&] { return closings == 1; }));
    EXPECT_FALSE(menu->isOpen());
    settle();
    EXPECT_EQ(shownMenu(), nullptr);
    open();
    EXPECT_TRUE(waitFor([&] { return failures == 1; })) << "it is not there any more";
}

TEST_F(TrayMenuTest, AProgramThatEndsWhileItIsAskedIsOneFailure) {
    program->answersLayout = false;
    open();
    ASSERT_TRUE(waitFor([&] { return program->count("GetLayout 0") == 1; }));
    program.reset();
    ASSERT_TRUE(waitFor([&] { return failures == 1; }));
    settle();
    EXPECT_EQ(failures, 1);
    EXPECT_EQ(closings, 0);
}

TEST_F(TrayMenuTest, AProgramKnownByAWellKnownNameIsFollowedByIt) {
    MenuDouble other(address(), "org.example.Tray");
    other.root.children = {menuEntry(1, "First")};
    makeMenu("org.example.Tray");
    const QMenu& shown = opened();
    other.root.children = {menuEntry(1, "Second")};
    other.layoutUpdated(0);
    EXPECT_TRUE(waitFor([&] { return labels(shown) == QStringList("Second"); }));
    menu->close();
    EXPECT_TRUE(waitFor([&] { return other.count(0, "closed") == 1; }));
}

TEST_F(TrayMenuTest, AStormOfChangesIsTakenInAFewReadings) {
    program->root.children = {menuEntry(1, "More", submenu, {menuEntry(11, "Here")}), menuEntry(2, "Quit")};
    const QMenu& shown = opened();
    QElapsedTimer time;
    time.start();
    for (int change = 0; change < 5000; ++change) {
        program->find(2)->properties["label"] = QString::number(change);
        program->layoutUpdated(change % 2);
        program->propertiesUpdated({{1, {{"label", QString::number(change)}}}});
    }
    program->find(1)->properties["label"] = "Done";
    program->layoutUpdated(0);
    ASSERT_TRUE(waitFor([&] { return labels(shown) == QStringList({"Done", "4999"}); }));
    const auto most = 3 + time.elapsed() / TrayMenu::refreshInterval;
    EXPECT_LE(program->count("GetLayout 0") + program->count("GetLayout 1"), most);
    exchange();
    EXPECT_LE(program->count("GetLayout 0") + program->count("GetLayout 1"), most + 1)
        << "nothing was queued up";
}

TEST_F(TrayMenuTest, NothingIsReadWhileItIsClosed) {
    opened();
    menu->close();
    const auto calls = program->calls();
    program->layoutUpdated(0);
    program->propertiesUpdated({{1, {{"label", "Later"}}}});
    exchange();
    EXPECT_EQ(program->calls(), calls);
}

TEST_F(TrayMenuTest, SignalsOfAnotherShapeChangeNothing) {
    const QMenu& shown = opened();
    program->signal("LayoutUpdated", {"now", "all"});
    program->signal("LayoutUpdated", {});
    program->signal("ItemsPropertiesUpdated", {1, 2});
    program->signal("ItemsPropertiesUpdated", {QVariantMap{{"a", 1}}, QStringList{"b"}});
    program->propertiesUpdated({{1, {{"label", 7}, {"enabled", "no"}, {"shortcut", QStringList{"x"}}}}});
    ASSERT_TRUE(waitFor([&] { return shown.actions().first()->text().isEmpty(); }));
    EXPECT_TRUE(shown.actions().first()->isEnabled());
    EXPECT_EQ(program->count("GetLayout 0"), 1);
}

TEST_F(TrayMenuTest, AMenuOfThousandsShowsTheFirst) {
    program->root.children.clear();
    for (int id = 1; id <= 5000; ++id) {
        program->root.children.push_back(
            menuEntry(id, QStringLiteral("Entry %1").arg(id), id % 2 ? submenu : QVariantMap()));
    }
    const QMenu& shown = opened();
    EXPECT_EQ(shown.actions().size(), Linux::mostTrayMenuEntries);
    EXPECT_TRUE(QApplication::primaryScreen()->geometry().contains(shown.geometry()));
}

TEST_F(TrayMenuTest, AMenuFiftyDeepLeadsAsFarAsTheLimit) {
    program->root.children = {menuEntry(1, "Down", submenu)};
    program->aboutToShow = [&](int id) { // each level appears when the one above is open
        MenuNode* node = program->find(id);
        if (id > 0 && id < 50 && node && node->children.empty()) {
            node->children = {menuEntry(id + 1, "Down", submenu)};
        }
        return id > 0;
    };
    QMenu* level = &opened();
    int depth = 1;
    while (row(*level, "Down")->isEnabled() && depth < 50) {
        level = &openedBelow(*level, "Down");
        ASSERT_TRUE(waitFor([&] { return row(*level, "Down") != nullptr; }));
        ++depth;
    }
    EXPECT_EQ(depth, Linux::deepestTrayMenu);
    EXPECT_EQ(row(*level, "Down")->menu(), nullptr);
}

TEST_F(TrayMenuTest, AnEntryThatIsItsOwnSubmenuEndsAtTheLimit) {
    program->root.children = {menuEntry(1, "Loop", submenu, {menuEntry(1, "Loop", submenu)})};
    QMenu* level = &opened();
    int depth = 1;
    while (row(*level, "Loop") && row(*level, "Loop")->isEnabled() && depth < 50) {
        level = &openedBelow(*level, "Loop");
        ++depth;
    }
    EXPECT_LE(depth, Linux::deepestTrayMenu);
}

TEST_F(TrayMenuTest, ALabelOfAnyLengthIsARowOfBoundedWidth) {
    program->root.children = {
        menuEntry(1, QString(100000, 'w'), {{"shortcut", menuShortcut({QString(9999, 'k')})}})};
    const QMenu& shown = opened();
    EXPECT_EQ(shown.actions().first()->text().section('\t', 0, 0).size(), Linux::longestTrayMenuLabel);
    EXPECT_LT(shown.width(), 800);
}

TEST_F(TrayMenuTest, APressOnTheItemClosesItAndDoesNothingElse) {
    QMenu& shown = opened();
    QTest::mousePress(&shown, Qt::LeftButton, {}, shown.mapFromGlobal(anchor.center()));
    EXPECT_FALSE(menu->isOpen());
    EXPECT_TRUE(shown.testAttribute(Qt::WA_NoMouseReplay)) << "else the press would open it again";
    settle();
    QMenu& again = opened();
    QTest::mousePress(&again, Qt::LeftButton, {}, again.mapFromGlobal(anchor.center() + QPoint(400, 0)));
    EXPECT_FALSE(again.testAttribute(Qt::WA_NoMouseReplay)) << "another item's menu opens with one press";
}

TEST_F(TrayMenuTest, TakesPicturesFromTheThemeAndGivesSymbolicOnesTheMenusColour) {
    const QTemporaryDir folder;
    for (const char* name : {"tea.png", "tea-symbolic.png"}) {
        QFile file(folder.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(picture({16, 16}, Qt::blue));
    }
    const QString theme = QIcon::themeName();
    QIcon::setThemeName("hicolor"); // without a theme nothing is looked up
    QIcon::setFallbackSearchPaths({folder.path()});
    program->root.children = {menuEntry(1, "Plain", {{"icon-name", "tea"}}),
                              menuEntry(2, "Symbolic", {{"icon-name", "tea-symbolic"}}),
                              menuEntry(3, "Unknown", {{"icon-name", "no-such-picture"}}),
                              menuEntry(4, "Path", {{"icon-name", folder.filePath("tea.png")}})};
    const QMenu& shown = opened();
    const auto centre = [&](const QString& label) {
        return row(shown, label)->icon().pixmap(16).toImage().pixelColor(8, 8);
    };
    EXPECT_EQ(centre("Plain"), QColor(Qt::blue));
    EXPECT_EQ(centre("Symbolic").rgb(), ZorbelKit::qColor(ZorbelKit::malai).rgb());
    EXPECT_TRUE(row(shown, "Unknown")->icon().isNull());
    EXPECT_TRUE(row(shown, "Path")->icon().isNull());
    QIcon::setFallbackSearchPaths({});
    QIcon::setThemeName(theme);
}

TEST(SuiteMenu, HasRoundCornersOnlyWhereTheDesktopBlends) {
    for (const bool canBlend : {true, false}) {
        SCOPED_TRACE(canBlend);
        ZorbelKit::SuiteMenu menu(canBlend, nullptr);
        menu.addAction("Open\tCtrl+O");
        menu.addAction("Quit");
        menu.popup({40, 40});
        settle();
        const QImage image = menu.grab().toImage();
        EXPECT_EQ(image.pixelColor(0, 0).alpha(), canBlend ? 0 : 255);
        EXPECT_EQ(image.pixelColor(image.width() / 2, 0).rgb(), ZorbelKit::qColor(ZorbelKit::rim).rgb());
        EXPECT_EQ(image.pixelColor(image.width() / 2, 3).rgb(), ZorbelKit::qColor(ZorbelKit::kettle).rgb());
        savePicture(menu, canBlend ? "menu-round" : "menu-square");
    }
}

TEST_F(TrayMenuTest, PictureOfTheMenu) {
    program->root.children = {
        menuEntry(1, "_Show Clipboard",
                  {{"icon-data", picture({32, 32}, Qt::darkYellow)},
                   {"shortcut", menuShortcut({"Control", "Shift", "V"})}}),
        menuEntry(2, "_Recent",
                  {{"children-display", "submenu"}, {"icon-data", picture({22, 22}, Qt::darkCyan)}},
                  {menuEntry(21, "A line that was copied"), menuEntry(22, "https://example.org/tea"),
                   menuSeparator(23), menuEntry(24, "Older", submenu, {menuEntry(241, "x")})}),
        menuSeparator(3),
        menuEntry(4, "_Monitor Clipboard", {{"toggle-type", "checkmark"}, {"toggle-state", 1}}),
        menuEntry(5, "Paste as _Text", {{"toggle-type", "checkmark"}, {"toggle-state", 0}}),
        menuEntry(6, "Always on _Top",
                  {{"toggle-type", "checkmark"}, {"toggle-state", 1}, {"enabled", false}}),
        menuSeparator(7),
        menuEntry(8, "Left Button", {{"toggle-type", "radio"}, {"toggle-state", 1}}),
        menuEntry(9, "Right Button", {{"toggle-type", "radio"}, {"toggle-state", 0}}),
        menuSeparator(10),
        menuEntry(11, "_Undo", {{"enabled", false}, {"shortcut", menuShortcut({"Control", "Z"})}}),
        menuEntry(12, "_Quit", {{"shortcut", menuShortcut({"Control", "Q"})}})};
    QMenu& shown = opened();
    QMenu& recent = openedBelow(shown, "&Recent");
    recent.setActiveAction(recent.actions().at(1));
    settle();
    savePicture(shown, "tray-menu-alone");
    const QRect whole = shown.geometry().united(recent.geometry()).adjusted(-16, -16, 16, 16);
    QImage desktop(whole.size() * 2, QImage::Format_RGB32);
    desktop.setDevicePixelRatio(2);
    desktop.fill(Qt::darkGray);
    QPainter painter(&desktop);
    for (QMenu* each : {&shown, &recent}) {
        const QPoint corner = each->pos() - whole.topLeft();
        each->render(&painter, corner, {}, QWidget::DrawChildren);
    }
    painter.end();
    EXPECT_TRUE(desktop.save(QStringLiteral(ZORBEL_PICTURES "/tray-menu.png")));
    EXPECT_TRUE(recent.isVisible());
    EXPECT_EQ(recent.pos().y(),
              shown.mapToGlobal(shown.actionGeometry(row(shown, "&Recent")).topLeft()).y() - 6)
        << "the first row of a submenu lies beside its entry";
}

} // namespace
