#include "Tests/Desktop/MenuBarTest.hpp"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingReply>

#include <algorithm>
#include <csignal>

using namespace Desktop;

namespace {

constexpr auto invalidArguments = "org.freedesktop.DBus.Error.InvalidArgs";
constexpr auto limitsExceeded = "org.freedesktop.DBus.Error.LimitsExceeded";

/// Hears what the watcher tells.
class Listener : public QObject {
    Q_OBJECT
public:
    Listener() {
        QDBusConnection bus = QDBusConnection::sessionBus();
        for (const char* signal : {"StatusNotifierItemRegistered", "StatusNotifierItemUnregistered"}) {
            bus.connect({}, "/StatusNotifierWatcher", watcherService, signal, this,
                        SLOT(heard(QString, QDBusMessage)));
        }
        bus.connect({}, "/StatusNotifierWatcher", "org.freedesktop.DBus.Properties", "PropertiesChanged",
                    this, SLOT(changed(QString, QVariantMap, QStringList)));
    }

    QStringList told;         // "StatusNotifierItemRegistered :1.5/StatusNotifierItem"
    QStringList changedItems; // the list, as it was told last
    int changes = 0;

private Q_SLOTS: // slots by name: that is how the bus delivers signals
    void heard(const QString& item, const QDBusMessage& message) { told << message.member() + ' ' + item; }
    void changed(const QString& interface, const QVariantMap& properties, const QStringList&) {
        if (interface == watcherService) {
            ++changes;
            changedItems = properties.value("RegisteredStatusNotifierItems").toStringList();
        }
    }
};

/// Follows who owns the watcher's name, from one owner to the next.
class OwnerLog {
public:
    OwnerLog()
        : watcher_(watcherService, QDBusConnection::sessionBus(), QDBusServiceWatcher::WatchForOwnerChange) {
        QObject::connect(&watcher_, &QDBusServiceWatcher::serviceOwnerChanged, &watcher_,
                         [this](const QString&, const QString& before, const QString& after) {
                             wasHandedOver_ = wasHandedOver_ || (!before.isEmpty() && !after.isEmpty());
                         });
    }

    /// Whether one owner followed another with no moment in between, which programs take for no change.
    bool wasHandedOver() const { return wasHandedOver_; }

private:
    QDBusServiceWatcher watcher_;
    bool wasHandedOver_ = false;
};

} // namespace

class MenuBarWatcher : public MenuBarTest {
protected:
    /// The rest of such a test: Zorbel prefers its own bar although a tray runs.
    void preferOwnBar() { set("menubar.ownBar", true); }
};

TEST_F(MenuBarWatcher, HasAHostFromItsFirstMoment) {
    std::optional<bool> firstAnswer;
    QDBusServiceWatcher names(watcherService, QDBusConnection::sessionBus(),
                              QDBusServiceWatcher::WatchForRegistration);
    QObject::connect(&names, &QDBusServiceWatcher::serviceRegistered, &names,
                     [&] { firstAnswer = watcherProperty("IsStatusNotifierHostRegistered").toBool(); });
    startBar();
    ASSERT_TRUE(until([&] { return firstAnswer.has_value(); }));
    EXPECT_TRUE(*firstAnswer);
    EXPECT_EQ(watcherProperty("ProtocolVersion"), QVariant(0));
    EXPECT_EQ(listed(), QStringList());
}

TEST_F(MenuBarWatcher, TakesEveryShapeOfRegistration) {
    startBar();
    TrayProgram own; // the caller's own name
    own.add(trayProperties("own", azure));
    TrayProgram wellKnown(TrayProgram::Registers::byHand); // a name of several programs' making
    ASSERT_TRUE(wellKnown.takeName("org.kde.StatusNotifierItem-4711-1"));
    wellKnown.addQuietly(trayProperties("known", lime));
    EXPECT_EQ(wellKnown.registerAs("org.kde.StatusNotifierItem-4711-1").toStdString(), "");
    TrayProgram path; // an object of the caller
    path.add(trayProperties("path", pink), "/org/ayatana/NotificationItem/probe");
    TrayProgram both(TrayProgram::Registers::byHand); // name and object in one
    ASSERT_TRUE(both.takeName("org.freedesktop.StatusNotifierItem-1-1"));
    both.addQuietly(trayProperties("both", cyan), "/StatusNotifierItem/1");
    EXPECT_EQ(both.registerAs("org.freedesktop.StatusNotifierItem-1-1/StatusNotifierItem/1").toStdString(),
              "");
    TrayProgram second(TrayProgram::Registers::byHand); // another connection's name than the caller's
    second.addQuietly(trayProperties("second", violet));
    TrayProgram caller(TrayProgram::Registers::byHand);
    EXPECT_EQ(caller.registerAs(second.name()).toStdString(), "");

    for (const QColor& colour : {azure, lime, pink, cyan, violet}) {
        EXPECT_TRUE(waitForIcon(colour)) << colour.name().toStdString();
    }
    QStringList expected{
        own.name() + "/StatusNotifierItem", "org.kde.StatusNotifierItem-4711-1/StatusNotifierItem",
        path.name() + "/org/ayatana/NotificationItem/probe",
        "org.freedesktop.StatusNotifierItem-1-1/StatusNotifierItem/1", second.name() + "/StatusNotifierItem"};
    QStringList found = listed();
    expected.sort();
    found.sort();
    EXPECT_EQ(found, expected) << found.join(' ').toStdString();
}

TEST_F(MenuBarWatcher, CallsAnItemByTheNameItRegisteredWhoeverHasItNow) {
    startBar();
    const QString name = "org.kde.StatusNotifierItem-4712-1";
    const auto take = [&](TrayProgram& program) {
        return program.bus().interface()->registerService(name,
                                                          QDBusConnectionInterface::ReplaceExistingService,
                                                          QDBusConnectionInterface::AllowReplacement);
    };
    TrayProgram first(TrayProgram::Registers::byHand);
    TrayItemDouble& before = first.addQuietly(trayProperties("item", azure));
    ASSERT_EQ(take(first).value(), QDBusConnectionInterface::ServiceRegistered);
    ASSERT_EQ(first.registerAs(name).toStdString(), "");
    ASSERT_TRUE(waitForIcon(azure));
    TrayProgram second(TrayProgram::Registers::byHand);
    TrayItemDouble& after = second.addQuietly(trayProperties("item", azure));
    ASSERT_EQ(take(second).value(), QDBusConnectionInterface::ServiceRegistered);
    screen().click(icon(azure).center());
    EXPECT_TRUE(until([&] { return after.count("Activate") == 1; }));
    EXPECT_EQ(before.count("Activate"), 0);
}

TEST_F(MenuBarWatcher, SecondRegistrationIsTheSameIcon) {
    startBar();
    TrayProgram program;
    TrayItemDouble& item = program.add(trayProperties("item", azure));
    ASSERT_TRUE(waitForIcon(azure));
    for (int again = 0; again < 3; ++again) {
        EXPECT_EQ(program.registerAs(program.name()).toStdString(), "");
    }
    EXPECT_EQ(program.registerAs("/StatusNotifierItem").toStdString(), "") << "the same by its path";
    item.change("IconPixmap", plainPicture(lime), "NewIcon");
    ASSERT_TRUE(waitForIcon(lime));
    EXPECT_EQ(listed(), QStringList{program.name() + "/StatusNotifierItem"});
    EXPECT_EQ(icon(lime).width(), iconSide) << "side by side they would be wider";
}

TEST_F(MenuBarWatcher, TellsOfItemsThatComeAndGo) {
    startBar();
    const Listener listener;
    std::optional<TrayProgram> program(std::in_place);
    const QString entry = program->name() + "/StatusNotifierItem";
    program->add(trayProperties("item", azure));
    EXPECT_TRUE(until([&] { return listener.told == QStringList{"StatusNotifierItemRegistered " + entry}; }))
        << listener.told.join(", ").toStdString();
    EXPECT_TRUE(until([&] { return listener.changedItems == QStringList{entry}; }));
    const int changes = listener.changes;
    program.reset();
    EXPECT_TRUE(until([&] { return listener.told.size() == 2; }));
    EXPECT_EQ(listener.told.value(1), "StatusNotifierItemUnregistered " + entry);
    EXPECT_TRUE(until([&] { return listener.changes > changes && listener.changedItems.isEmpty(); }));
}

TEST_F(MenuBarWatcher, RefusesWhatIsNoItemAndListsNothingOfIt) {
    startBar();
    TrayProgram program(TrayProgram::Registers::byHand);
    program.addQuietly(trayProperties("item", azure));
    ASSERT_EQ(program.registerAs(program.name()).toStdString(), "");
    const QStringList before = listed();
    ASSERT_EQ(before.size(), 1);
    const QString rows[] = {
        "",
        " ",
        "   \t ",
        "//",
        "/path/with space",
        "/trailing/",
        "no-dots",
        "org.nobody.has.this.name",
        ":9.99999",
        "org.nobody/StatusNotifierItem",
        program.name() + "//",
        program.name() + "/bad path",
        "org..kde",
        QString(3000, 'a'),
        "/" + QString(3000, 'a'),
        "org.kde." + QString(300, 'x'),
        QString::fromUtf8("org.kde.Ünicode"),
        "org.freedesktop.DBus.Error;rm -rf",
    };
    for (const QString& argument : rows) {
        EXPECT_EQ(program.registerAs(argument).toStdString(), invalidArguments)
            << argument.left(60).toStdString();
        EXPECT_EQ(listed(), before) << argument.left(60).toStdString();
    }
    EXPECT_TRUE(waitForIcon(azure));
}

TEST_F(MenuBarWatcher, PathWithoutAnObjectShowsNothing) {
    startBar();
    TrayProgram program(TrayProgram::Registers::byHand);
    program.registerAs("/nonexist");
    TrayProgram other;
    other.add(trayProperties("other", azure));
    ASSERT_TRUE(waitForIcon(azure));
    EXPECT_TRUE(holds([] { return icon(azure).x() == cell(0).x() + 3; }, Seconds{1.5})) << "an empty room";
}

TEST_F(MenuBarWatcher, TakesSixteenItemsOfAConnectionAndNoMore) {
    startBar();
    TrayProgram greedy(TrayProgram::Registers::byHand);
    for (int index = 0; index < 16; ++index) {
        const QString path = QString("/item/%1").arg(index);
        greedy.addQuietly(trayProperties(path, azure), path);
        EXPECT_EQ(greedy.registerAs(path).toStdString(), "") << index;
    }
    greedy.addQuietly(trayProperties("more", pink), "/item/more");
    EXPECT_EQ(greedy.registerAs("/item/more").toStdString(), limitsExceeded);
    EXPECT_EQ(listed().size(), 16);
    TrayProgram modest;
    modest.add(trayProperties("modest", lime));
    EXPECT_TRUE(waitForIcon(lime));
    EXPECT_TRUE(icon(pink).isEmpty());
}

TEST_F(MenuBarWatcher, TakesFiveHundredAndTwelveItemsInAll) {
    startBar();
    constexpr int crowdSize = 32;
    constexpr int each = 16;
    std::vector<std::unique_ptr<TrayProgram>> crowd;
    for (int program = 0; program < crowdSize; ++program) {
        crowd.push_back(std::make_unique<TrayProgram>());
        for (int index = 0; index < each; ++index) {
            const QString path = QString("/item/%1").arg(index);
            crowd.back()->add(trayProperties(path, azure), path);
        }
    }
    ASSERT_TRUE(until([] { return listed().size() == crowdSize * each; })) << listed().size();
    TrayProgram late(TrayProgram::Registers::byHand);
    late.addQuietly(trayProperties("late", pink));
    EXPECT_EQ(late.registerAs(late.name()).toStdString(), limitsExceeded);
    crowd.pop_back();
    EXPECT_TRUE(until([] { return listed().size() == (crowdSize - 1) * each; }));
    EXPECT_EQ(late.registerAs(late.name()).toStdString(), "");
}

TEST_F(MenuBarWatcher, KeepsTheNameToItself) {
    startBar();
    const QString owner = watcherOwner();
    QDBusConnectionInterface& bus = *QDBusConnection::sessionBus().interface();
    const auto reply = bus.registerService(watcherService, QDBusConnectionInterface::ReplaceExistingService,
                                           QDBusConnectionInterface::AllowReplacement);
    EXPECT_EQ(reply.value(), QDBusConnectionInterface::ServiceNotRegistered);
    EXPECT_EQ(watcherOwner(), owner);
}

TEST_F(MenuBarWatcher, S11_RestartedZorbelShowsEveryIconOnce) {
    TrayProgram program;
    program.add(trayProperties("first", azure));
    program.add(trayProperties("second", lime), "/second");
    const OwnerLog owners;
    for (int round = 0; round < 3; ++round) {
        SCOPED_TRACE(round);
        Program& zorbel = startBar();
        EXPECT_TRUE(waitForIcon(azure));
        EXPECT_TRUE(waitForIcon(lime));
        EXPECT_EQ(icon(azure).width(), iconSide);
        EXPECT_EQ(icon(lime).width(), iconSide);
        EXPECT_EQ(listed().size(), 2);
        zorbel.send(round == 1 ? SIGKILL : SIGTERM);
        ASSERT_TRUE(zorbel.waitForEnd());
        ASSERT_TRUE(until([] { return !hasWatcher(); }));
    }
    EXPECT_FALSE(owners.wasHandedOver());
}

TEST_F(MenuBarWatcher, ItemsOfProgramsThatRegisterOnceAreFoundByTheirName) {
    TrayProgram program(TrayProgram::Registers::once);
    ASSERT_TRUE(program.takeName("org.kde.StatusNotifierItem-4713-1"));
    program.addQuietly(trayProperties("old", azure));
    startBar();
    EXPECT_TRUE(waitForIcon(azure));
    EXPECT_EQ(program.registrations(), 0);
}

TEST_F(MenuBarWatcher, S12_SecondHostOverAForeignWatcherShowsItsItems) {
    TrayDouble foreign;
    TrayProgram program;
    program.add(trayProperties("first", azure));
    ASSERT_TRUE(until([&] { return foreign.items().size() == 1; }));
    preferOwnBar();
    const QString owner = watcherOwner();
    start();
    ASSERT_TRUE(waitForIcon(azure));
    EXPECT_TRUE(until([&] { return foreign.otherHosts().size() == 1; }));
    EXPECT_TRUE(foreign.otherHosts().value(0).startsWith("org.kde.StatusNotifierHost-"))
        << foreign.otherHosts().join(' ').toStdString();

    // What comes and goes later too.
    std::optional<TrayProgram> late(std::in_place);
    TrayItemDouble& item = late->add(trayProperties("late", lime), "/late");
    ASSERT_TRUE(waitForIcon(lime));
    screen().click(icon(lime).center());
    EXPECT_TRUE(until([&] { return item.count("Activate") == 1; }));
    late.reset();
    EXPECT_TRUE(waitForIcon(lime, false));
    EXPECT_FALSE(icon(azure).isEmpty());
    EXPECT_EQ(watcherOwner(), owner) << "the name is another's";
}

TEST_F(MenuBarWatcher, S12_TakesOverWhenTheForeignWatcherDiesAndItemsStay) {
    auto foreign = std::make_unique<TrayDouble>();
    TrayProgram faithful;
    faithful.add(trayProperties("faithful", azure));
    TrayProgram once(TrayProgram::Registers::once); // never registers again
    once.add(trayProperties("once", lime), "/once");
    ASSERT_TRUE(until([&] { return foreign->items().size() == 2; }));
    preferOwnBar();
    start();
    ASSERT_TRUE(waitForIcon(azure));
    ASSERT_TRUE(waitForIcon(lime));
    const QString before = watcherOwner();
    const OwnerLog owners;
    foreign.reset();
    EXPECT_TRUE(until([&] { return hasWatcher() && watcherOwner() != before; }, Seconds{1}));
    EXPECT_TRUE(holds([] { return !icon(azure).isEmpty() && !icon(lime).isEmpty(); }, Seconds{1.5}))
        << "they stay while the name changes hands";
    EXPECT_FALSE(owners.wasHandedOver()) << "programs would not register again";
    EXPECT_EQ(faithful.registrations(), 2);
    EXPECT_EQ(listed().size(), 2) << listed().join(' ').toStdString();
    EXPECT_EQ(icon(azure).width(), iconSide);
}

TEST_F(MenuBarWatcher, S12_NeverFightsForTheNameOfAWatcherThatComesBackFirst) {
    auto foreign = std::make_unique<TrayDouble>();
    TrayProgram program;
    program.add(trayProperties("item", azure));
    preferOwnBar();
    Program& zorbel = start();
    ASSERT_TRUE(waitForIcon(azure));
    zorbel.send(SIGSTOP); // Zorbel is slow just now, and the panel quick
    foreign.reset();
    foreign = std::make_unique<TrayDouble>();
    zorbel.send(SIGCONT);
    ASSERT_TRUE(until([&] { return foreign->items().size() == 1; }));
    EXPECT_TRUE(until([&] { return foreign->otherHosts().size() == 1; })) << "a host of the new one";
    EXPECT_TRUE(waitForIcon(azure));
    EXPECT_EQ(icon(azure).width(), iconSide);
    screen().click(icon(azure).center());
}

TEST_F(MenuBarWatcher, S12_ATrayThatWaitsInLineGetsTheNameAndTheIcons) {
    startBar();
    TrayProgram program; // notices a name that becomes free, and none that is handed on
    program.add(trayProperties("item", azure));
    ASSERT_TRUE(waitForIcon(azure));
    const TrayDouble tray({.waitsInLine = true});
    EXPECT_TRUE(until([&] { return tray.items().contains(program.name() + "/StatusNotifierItem"); }));
    EXPECT_EQ(program.registrations(), 1) << "it was registered for it";
    EXPECT_TRUE(until([&] { return tray.items().size() == 2 && !findBar(screen()); }))
        << "the glass is a guest there, as where the tray was first";
}

TEST_F(MenuBarWatcher, ATrayThatWaitsInLineGetsTheIconsAtOnceWhenZorbelQuits) {
    Program& zorbel = startBar();
    TrayProgram program;
    program.add(trayProperties("item", azure));
    ASSERT_TRUE(waitForIcon(azure));
    const TrayDouble tray({.waitsInLine = true});
    EXPECT_EQ(end(zorbel), 0) << zorbel.output();
    EXPECT_TRUE(until([&] { return tray.items() == QStringList{program.name() + "/StatusNotifierItem"}; },
                      Seconds{1}));
}

TEST_F(MenuBarWatcher, S12_AWatcherThatLeavesWithItsItemsLeavesNoGhosts) {
    auto foreign = std::make_unique<TrayDouble>();
    auto program = std::make_unique<TrayProgram>();
    program->add(trayProperties("item", azure));
    preferOwnBar();
    start();
    ASSERT_TRUE(waitForIcon(azure));
    program.reset();
    foreign.reset();
    EXPECT_TRUE(waitForIcon(azure, false));
    EXPECT_TRUE(until([] { return hasWatcher() && listed().isEmpty(); }));
}

#include "MenuBarWatcherTests.moc"
