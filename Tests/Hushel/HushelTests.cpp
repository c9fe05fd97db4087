#include "Hushel/BlockedList.hpp"
#include "Hushel/Hushel.hpp"
#include "Platforms/Simulated/SimulatedHost.hpp"
#include "ZorbelKit/Stall.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <limits>
#include <memory>
#include <string_view>
#include <utility>

namespace {

using namespace Hushel;
using Simulated::SimulatedHost;
using std::chrono::minutes;
using ZorbelKit::Alert;
using ZorbelKit::Seconds;
using ZorbelKit::TimePoint;
using ZorbelKit::Token;
using List = std::vector<Blocked>;
using Names = std::vector<std::string>;

constexpr std::string_view key = "hushel.blocked";
constexpr std::int64_t endOfNumbers = std::numeric_limits<std::int64_t>::max();
const Blocked chat{"org.example.Chat", "Chat"};
const Blocked mail{"org.example.Mail", "Mail"};

const Alert finished{"Session finished.", "Hushel is out of the way. Your apps are back.", "Thanks"};

/// An alert during which a test looks round.
class WatchedAlerts : public ZorbelKit::Alerts {
public:
    void runModal(const Alert& alert) override {
        shown.push_back(alert);
        watch();
    }

    std::vector<Alert> shown;
    std::function<void()> watch = [] {};
};

class HushelTest : public testing::Test {
protected:
    /// An ordinary program with a window in sight.
    Application& run(const std::string& bundle, const std::string& name) {
        apps.all.push_back({.processIdentifier = static_cast<std::int64_t>(apps.all.size()) + 100,
                            .bundleIdentifier = bundle,
                            .localizedName = name,
                            .isRegular = true});
        return apps.all.back();
    }
    Application& run(const Blocked& application) { return run(application.bundleID, application.name); }

    void bringForward(const Blocked& application) {
        for (Application& running : apps.all) {
            running.isActive = running.bundleIdentifier == application.bundleID;
            running.isHidden = running.isHidden && !running.isActive;
        }
    }

    void pass(Seconds time = HushelSpice::interval) { host.loop.advance(time); }

    void store(std::string_view text) { host.defaults.setData(key, {text.begin(), text.end()}); }
    List stored() const { return decoded(host.defaults.data(key).value()).value(); }
    std::int64_t interruptions() const { return spice.session().value().interruptions; }

    HushelSpice::Services services() {
        return {.loop = host.loop,
                .clock = host.clock,
                .defaults = host.defaults,
                .applications = host.applications,
                .workspace = host.workspace,
                .language = host.language,
                .alerts = alerts};
    }

    SimulatedHost host;
    Simulated::SimulatedApplications& apps = host.applications;
    WatchedAlerts alerts;
    const int before = host.liveThings();
    HushelSpice spice{services()};
};

// ---- A session's sums

TEST(HushelSession, EndsAfterItsMinutes) {
    const TimePoint start{std::chrono::sys_days{std::chrono::year{2026} / 11 / 21} + std::chrono::hours{23}};
    const Session session{.startedAt = start, .minutes = 90};
    EXPECT_EQ(session.endsAt(), start + minutes(90));
    const struct {
        Seconds after;
        double remaining;
        double progress;
    } rows[] = {
        {Seconds(0), 5400, 0},      {Seconds(1), 5399, 1 / 5400.0},
        {Seconds(2700), 2700, 0.5}, {Seconds(5399.5), 0.5, 5399.5 / 5400},
        {Seconds(5400), 0, 1},      {Seconds(5400.001), 0, 1},
        {Seconds(1e6), 0, 1},       {Seconds(-3600), 9000, -3600 / 5400.0}, // the clock was set back
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.after.count());
        const TimePoint now = start + std::chrono::duration_cast<TimePoint::duration>(row.after);
        EXPECT_EQ(session.remaining(now).count(), row.remaining);
        EXPECT_DOUBLE_EQ(session.progress(now), row.progress);
    }
}

TEST(HushelSession, OfNoMinutesIsThroughAtOnce) {
    for (const std::int64_t planned : {std::int64_t{0}, std::int64_t{-1}, -endOfNumbers - 1}) {
        SCOPED_TRACE(planned);
        const Session session{.startedAt = TimePoint(minutes(1000)), .minutes = planned};
        for (const TimePoint now : {session.startedAt, session.startedAt + minutes(1)}) {
            EXPECT_EQ(session.remaining(now).count(), 0);
            EXPECT_EQ(session.progress(now), 1);
        }
    }
}

TEST(HushelSession, ItsEndStaysWithinTime) {
    const TimePoint start{minutes(29'000'000)};
    EXPECT_EQ((Session{start, endOfNumbers}.endsAt()), TimePoint::max());
    EXPECT_EQ((Session{start, -endOfNumbers - 1}.endsAt()), start - minutes(153'722'867));
    EXPECT_EQ((Session{TimePoint(-minutes(1000)), -endOfNumbers - 1}.endsAt()), TimePoint::min());
    EXPECT_EQ((Session{TimePoint::max(), 1}.endsAt()), TimePoint::max());
    EXPECT_GT((Session{start, endOfNumbers}.remaining(start + minutes(5))).count(), 1e20);
    EXPECT_NEAR((Session{start, endOfNumbers}.progress(start + minutes(5))), 0, 1e-9);
}

TEST(HushelSession, IsComparedFieldByField) {
    const Session session{.startedAt = TimePoint(minutes(1)), .minutes = 2, .interruptions = 3};
    EXPECT_EQ(session, (Session{TimePoint(minutes(1)), 2, 3}));
    EXPECT_NE(session, (Session{TimePoint(minutes(2)), 2, 3}));
    EXPECT_NE(session, (Session{TimePoint(minutes(1)), 1, 3}));
    EXPECT_NE(session, (Session{TimePoint(minutes(1)), 2, 4}));
}

// ---- Who it is, and the list

TEST_F(HushelTest, SaysWhoItIs) {
    EXPECT_EQ(spice.id(), "hushel");
    EXPECT_EQ(spice.name(), "Hushel");
    EXPECT_EQ(spice.role(), "Focus");
    EXPECT_EQ(spice.summary(), "Keeps the apps you named out of the way, for as long as you asked.");
    EXPECT_FALSE(spice.reason().empty());
    EXPECT_FALSE(spice.isEnabled());
    EXPECT_FALSE(isOnByDefault(spice));
    EXPECT_EQ(spice.session(), std::nullopt);
    EXPECT_EQ(spice.lastCompleted(), std::nullopt);
    EXPECT_EQ(spice.plannedMinutes(), 25);
    EXPECT_TRUE(spice.blocked().empty());
    EXPECT_EQ(host.liveThings(), before);
    EXPECT_EQ(host.defaults.writes(), 0);
    EXPECT_EQ(apps.looks, 0);
}

TEST_F(HushelTest, TheListIsThereBeforeItIsOn) {
    store(R"([{"bundleID":"org.example.Chat","name":"Chat"}])");
    const HushelSpice other{services()};
    EXPECT_EQ(other.blocked(), List{chat});
}

TEST_F(HushelTest, TheListIsReadAgainWheneverItIsTurnedOn) {
    store(R"([{"bundleID":"org.example.Mail","name":"Mail"}])");
    EXPECT_TRUE(spice.blocked().empty());
    spice.steep();
    EXPECT_EQ(spice.blocked(), List{mail});
    EXPECT_EQ(host.liveThings(), before) << "turning it on starts nothing";
}

TEST_F(HushelTest, H11_AListThatCannotBeReadLeavesTheOneThereIs) {
    spice.block(chat);
    const struct {
        const char* name;
        std::function<void()> damage;
    } rows[] = {
        {"gone", [&] { host.defaults.remove(key); }},
        {"no JSON", [&] { store("oops"); }},
        {"an object", [&] { store("{}"); }},
        {"of another type", [&] { host.defaults.setString(key, "[]"); }},
        {"one bad entry", [&] { store(R"([{"bundleID":"a","name":"A"},{"bundleID":"b","name":2}])"); }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        row.damage();
        spice.steep();
        EXPECT_EQ(spice.blocked(), List{chat});
    }
    store("[]");
    spice.steep();
    EXPECT_TRUE(spice.blocked().empty()) << "an empty list can be read";
}

TEST_F(HushelTest, H11_StoredTwiceIsListedTwice) {
    store(R"([{"bundleID":"a","name":"A"},{"bundleID":"a","name":"A"},{"bundleID":"a","name":"B"}])");
    spice.steep();
    EXPECT_EQ(spice.blocked(), (List{{"a", "A"}, {"a", "A"}, {"a", "B"}}));
    spice.unblock({"a", ""});
    EXPECT_TRUE(spice.blocked().empty());
}

TEST_F(HushelTest, BlockAppendsAndStores) {
    spice.block(mail);
    spice.block(chat);
    EXPECT_EQ(spice.blocked(), (List{mail, chat}));
    EXPECT_EQ(stored(), (List{mail, chat}));
}

TEST_F(HushelTest, TheSameTwiceIsNotListedTwice) {
    spice.block(chat);
    int told = 0;
    const Token token = spice.observe([&] { ++told; });
    const int writes = host.defaults.writes();
    spice.block(chat);
    EXPECT_EQ(spice.blocked(), List{chat});
    EXPECT_EQ(told, 0);
    EXPECT_EQ(host.defaults.writes(), writes);
}

TEST_F(HushelTest, TheSameIdentifierUnderAnotherNameIsASecondEntry) {
    spice.block(chat);
    spice.block({chat.bundleID, "Chat (new)"});
    EXPECT_EQ(spice.blocked(), (List{chat, {chat.bundleID, "Chat (new)"}}));
}

TEST_F(HushelTest, UnblockGoesByTheIdentifierAlone) {
    spice.block(chat);
    spice.block(mail);
    spice.block({chat.bundleID, "Chat (new)"});
    spice.unblock({chat.bundleID, "whatever"});
    EXPECT_EQ(spice.blocked(), List{mail});
    EXPECT_EQ(stored(), List{mail});
    spice.unblock(spice.blocked().front());
    EXPECT_EQ(stored(), List{});
}

TEST_F(HushelTest, UnblockOfWhatIsNotListedChangesNothing) {
    spice.block(chat);
    int told = 0;
    const Token token = spice.observe([&] { ++told; });
    spice.unblock(mail);
    EXPECT_EQ(spice.blocked(), List{chat});
    EXPECT_EQ(stored(), List{chat});
    EXPECT_EQ(told, 0);
}

TEST_F(HushelTest, AReaderOfTheListMayChangeItAgain) {
    const Token token = spice.observe([&] { spice.unblock(chat); });
    spice.block(chat);
    EXPECT_TRUE(spice.blocked().empty());
    EXPECT_EQ(stored(), List{});
}

TEST_F(HushelTest, ANameThatIsNoTextIsListedAndStored) {
    spice.block({"a", "A\xFF"});
    spice.block(chat);
    EXPECT_EQ(spice.blocked(), (List{{"a", "A\xFF"}, chat}));
    EXPECT_EQ(stored(), (List{{"a", "A\xEF\xBF\xBD"}, chat}));
}

// ---- What can be put on the list

TEST_F(HushelTest, OffersOrdinaryProgramsByName) {
    run("z", "zebra");
    run("b", "Beta");
    run("a", "alpha");
    run("g", "Gamma");
    EXPECT_EQ(spice.runningApps(), (List{{"a", "alpha"}, {"b", "Beta"}, {"g", "Gamma"}, {"z", "zebra"}}));
}

TEST_F(HushelTest, EqualNamesStayInTheSystemsOrder) {
    run("second", "Twin");
    run("first", "twin");
    run("third", "TWIN");
    EXPECT_EQ(spice.runningApps(), (List{{"second", "Twin"}, {"first", "twin"}, {"third", "TWIN"}}));
}

TEST_F(HushelTest, OffersNeitherItselfNorAgentsNorTheNamelessNorTheListed) {
    run("zorbel", "Zorbel");
    run("agent", "Agent").isRegular = false;
    run("nameless", "").localizedName.reset();
    run("", "Unknown").bundleIdentifier.reset();
    run(chat);
    run(mail);
    run("hidden", "Hidden one").isHidden = true;
    run("fixed", "Immovable").canHide = false;
    spice.block({chat.bundleID, "under another name"});
    EXPECT_EQ(spice.runningApps(),
              (List{{"hidden", "Hidden one"}, {"fixed", "Immovable"}, {mail.bundleID, mail.name}}));
}

TEST_F(HushelTest, WithoutANameOfItsOwnItStillOffersTheOthers) {
    host.workspace.own.reset();
    run(chat);
    run("", "Unknown").bundleIdentifier.reset();
    EXPECT_EQ(spice.runningApps(), List{chat});
}

// ---- Sessions

TEST_F(HushelTest, AStartIsASessionAndOneTimer) {
    const TimePoint start = host.clock.now();
    spice.setPlannedMinutes(45);
    spice.start();
    EXPECT_EQ(spice.session(), (Session{.startedAt = start, .minutes = 45}));
    EXPECT_EQ(host.liveThings(), before + 1);
    EXPECT_EQ(spice.lastCompleted(), std::nullopt);
}

TEST_F(HushelTest, H10_AStartWhileASessionRunsChangesNothing) {
    spice.start();
    const auto session = spice.session();
    pass();
    spice.setPlannedMinutes(90);
    spice.start();
    EXPECT_EQ(spice.session(), session);
    EXPECT_EQ(host.liveThings(), before + 1);
}

TEST_F(HushelTest, SweepsAtOnceAndThenOnceASecond) {
    spice.block(chat);
    spice.start();
    EXPECT_EQ(apps.looks, 1);
    pass(Seconds(0.999));
    EXPECT_EQ(apps.looks, 1);
    pass(Seconds(0.001));
    EXPECT_EQ(apps.looks, 2);
    pass(Seconds(10));
    EXPECT_EQ(apps.looks, 12);
}

TEST_F(HushelTest, WithAnEmptyListNothingIsAskedOrHidden) {
    run(chat);
    bringForward(chat);
    spice.start();
    pass(Seconds(5));
    EXPECT_EQ(apps.looks, 0);
    EXPECT_TRUE(apps.hidden.empty());
    EXPECT_EQ(interruptions(), 0);
}

TEST_F(HushelTest, HidesTheListedOnesInTheSystemsOrder) {
    run(mail);
    run("other", "Other");
    run(chat);
    spice.block(chat);
    spice.block(mail);
    spice.start();
    EXPECT_EQ(apps.hidden, (Names{mail.bundleID, chat.bundleID}));
    EXPECT_EQ(interruptions(), 0) << "nobody reached for one in the background";
    pass(Seconds(5));
    EXPECT_EQ(apps.hidden.size(), 2U) << "hidden is hidden";
}

TEST_F(HushelTest, AskedOnceForAllOfThem) {
    class Counting : public Simulated::SimulatedApplications {
    public:
        void hide(const std::vector<Application>& applications) override {
            ++requests;
            SimulatedApplications::hide(applications);
        }
        int requests = 0;
    } counting;
    auto with = services();
    HushelSpice other{{.loop = with.loop,
                       .clock = with.clock,
                       .defaults = with.defaults,
                       .applications = counting,
                       .workspace = with.workspace,
                       .language = with.language,
                       .alerts = with.alerts}};
    counting.all = {{.bundleIdentifier = chat.bundleID}, {.bundleIdentifier = mail.bundleID}};
    other.block(chat);
    other.block(mail);
    other.start();
    EXPECT_EQ(counting.requests, 1);
    EXPECT_EQ(counting.hidden.size(), 2U);
    pass(Seconds(3));
    EXPECT_EQ(counting.requests, 1) << "there is nothing to hide";
    EXPECT_EQ(counting.looks, 4);
}

TEST_F(HushelTest, WhatIsHiddenAlreadyIsLeftAloneEvenIfItIsActive) {
    spice.block(chat);
    Application& running = run(chat);
    running.isHidden = true;
    running.isActive = true;
    spice.start();
    pass(Seconds(3));
    EXPECT_TRUE(apps.hidden.empty());
    EXPECT_EQ(interruptions(), 0);
}

TEST_F(HushelTest, WhatIsNotListedOrHasNoIdentifierIsLeftAlone) {
    spice.block(chat);
    spice.block({"", "Nothing"});
    run(mail);
    run("", "Unknown").bundleIdentifier.reset();
    run("org.example.chat", "Another case");
    spice.start();
    pass();
    EXPECT_TRUE(apps.hidden.empty());
}

TEST_F(HushelTest, AnAgentThatIsListedIsHiddenToo) {
    spice.block({"agent", "Agent"});
    run("agent", "Agent").isRegular = false;
    spice.start();
    EXPECT_EQ(apps.hidden, Names{"agent"});
}

TEST_F(HushelTest, H2_EachTimeTheUserReachesForOneCountsOnce) {
    spice.block(chat);
    run(chat);
    spice.start();
    EXPECT_EQ(interruptions(), 0);
    for (std::int64_t time = 1; time <= 3; ++time) {
        bringForward(chat);
        pass();
        EXPECT_EQ(interruptions(), time);
        EXPECT_TRUE(apps.all.front().isHidden);
        pass(Seconds(5));
        EXPECT_EQ(interruptions(), time) << "hidden, it is not counted again";
    }
}

TEST_F(HushelTest, H2_OneThatIsInFrontAtTheStartCounts) {
    spice.block(chat);
    run(chat);
    bringForward(chat);
    int told = 0;
    const Token token = spice.observe([&] { ++told; });
    spice.start();
    EXPECT_EQ(interruptions(), 1);
    EXPECT_EQ(told, 2) << "the session, and the count";
}

TEST_F(HushelTest, H2_OneThatOnlyShowsItselfIsHiddenAndNotCounted) {
    spice.block(chat);
    run(chat);
    spice.start();
    apps.all.front().isHidden = false;
    pass();
    EXPECT_TRUE(apps.all.front().isHidden);
    EXPECT_EQ(interruptions(), 0);
}

TEST_F(HushelTest, H3_OneThatShowsItselfAllTheTimeIsAskedOnceASecond) {
    spice.block(chat);
    run(chat);
    spice.start();
    for (int tenth = 0; tenth < 100; ++tenth) {
        bringForward(chat);
        pass(Seconds(0.1));
    }
    EXPECT_EQ(apps.looks, 11);
    EXPECT_EQ(apps.hidden.size(), 11U);
    EXPECT_EQ(interruptions(), 10);
}

TEST_F(HushelTest, H4_OneThatIsStartedDuringTheSessionIsHidden) {
    spice.block(chat);
    spice.start();
    pass(Seconds(3));
    run(chat);
    bringForward(chat);
    pass();
    EXPECT_EQ(apps.hidden, Names{chat.bundleID});
    EXPECT_EQ(interruptions(), 1);
}

TEST_F(HushelTest, TheListMayChangeDuringASession) {
    run(chat);
    run(mail);
    spice.block(chat);
    spice.start();
    spice.block(mail);
    pass();
    EXPECT_EQ(apps.hidden, (Names{chat.bundleID, mail.bundleID}));
    spice.unblock(chat);
    bringForward(chat);
    pass(Seconds(3));
    EXPECT_FALSE(apps.all.front().isHidden) << "it is the user's again";
    EXPECT_EQ(interruptions(), 0);
}

TEST_F(HushelTest, H7_OneThatWasAskedInVainIsNamedAndNotCounted) {
    spice.block(chat);
    spice.block(mail);
    run(chat).canHide = false;
    run(mail);
    bringForward(chat);
    spice.start();
    pass(Seconds(5));
    EXPECT_EQ(std::ranges::count(apps.hidden, mail.bundleID), 1);
    EXPECT_EQ(interruptions(), 0);
    EXPECT_EQ(spice.outOfReach(), Names{"Chat"});
    apps.all.front().canHide = true;
    pass();
    EXPECT_TRUE(apps.all.front().isHidden) << "it can be had after all";
    EXPECT_EQ(interruptions(), 1);
    EXPECT_TRUE(spice.outOfReach().empty());
}

TEST_F(HushelTest, H7_WhatCannotBeHiddenIsToldOnceNotEverySecond) {
    spice.block(chat);
    run(chat).canHide = false;
    spice.start();
    int told = 0;
    const Token token = spice.observe([&] { ++told; });
    pass(Seconds(60));
    EXPECT_EQ(told, 0);
    spice.endSession(false);
    EXPECT_TRUE(spice.outOfReach().empty());
}

TEST_F(HushelTest, H7_OneWithoutANameIsNamedByItsIdentifier) {
    spice.block(chat);
    Application& running = run(chat);
    running.canHide = false;
    running.localizedName.reset();
    spice.start();
    EXPECT_EQ(spice.outOfReach(), Names{chat.bundleID});
}

TEST_F(HushelTest, H7_WhereNothingCanBeHiddenTheSessionRunsAndCountsNothing) {
    apps.hint = "No window manager runs here.";
    spice.block(chat);
    run(chat).canHide = false;
    bringForward(chat);
    spice.setPlannedMinutes(1);
    spice.start();
    EXPECT_EQ(spice.hidingHint(), "No window manager runs here.");
    pass(Seconds(59));
    EXPECT_EQ(interruptions(), 0);
    pass();
    EXPECT_EQ(spice.session(), std::nullopt);
    EXPECT_EQ(alerts.shown.size(), 1U);
}

// ---- The end

TEST_F(HushelTest, EndsOnTimeAndSaysSo) {
    spice.setPlannedMinutes(15);
    spice.start();
    const auto session = spice.session();
    pass(Seconds(15 * 60 - 0.001));
    EXPECT_EQ(spice.session(), session);
    EXPECT_TRUE(alerts.shown.empty());
    pass(Seconds(0.001));
    EXPECT_EQ(spice.session(), std::nullopt);
    EXPECT_EQ(spice.lastCompleted(), session);
    EXPECT_EQ(alerts.shown, std::vector{finished});
    EXPECT_EQ(host.liveThings(), before);
    pass(Seconds(3600));
    EXPECT_EQ(alerts.shown.size(), 1U);
}

TEST_F(HushelTest, AllIsOverWhenTheAlertIsShown) {
    spice.setPlannedMinutes(1);
    spice.start();
    alerts.watch = [&] {
        EXPECT_EQ(spice.session(), std::nullopt);
        EXPECT_TRUE(spice.lastCompleted().has_value());
        EXPECT_EQ(host.liveThings(), before);
    };
    pass(Seconds(60));
    EXPECT_EQ(alerts.shown.size(), 1U);
}

TEST_F(HushelTest, ASessionCanBeStartedWhileTheAlertIsShown) {
    spice.setPlannedMinutes(1);
    spice.start();
    alerts.watch = [&] { spice.start(); };
    pass(Seconds(60));
    EXPECT_TRUE(spice.session().has_value());
    alerts.watch = [] {};
    pass(Seconds(60));
    EXPECT_EQ(alerts.shown.size(), 2U);
    EXPECT_EQ(host.liveThings(), before);
}

TEST_F(HushelTest, NothingIsShownAgainAtTheEnd) {
    spice.block(chat);
    run(chat);
    spice.setPlannedMinutes(1);
    spice.start();
    bringForward(chat);
    pass(Seconds(60));
    EXPECT_TRUE(apps.all.front().isHidden);
    EXPECT_EQ(spice.lastCompleted().value().interruptions, 1);
    bringForward(chat);
    pass(Seconds(60));
    EXPECT_FALSE(apps.all.front().isHidden) << "the user has it back";
}

TEST_F(HushelTest, TheTickThatEndsItHidesNothingMore) {
    spice.block(chat);
    run(chat);
    spice.setPlannedMinutes(1);
    spice.start();
    pass(Seconds(59.5));
    bringForward(chat);
    pass(Seconds(0.5));
    EXPECT_FALSE(apps.all.front().isHidden);
    EXPECT_EQ(spice.lastCompleted().value().interruptions, 0);
}

TEST_F(HushelTest, TheUsersStopIsSilent) {
    spice.start();
    pass(Seconds(30));
    spice.endSession(false);
    EXPECT_EQ(spice.session(), std::nullopt);
    EXPECT_EQ(spice.lastCompleted(), std::nullopt);
    EXPECT_EQ(host.liveThings(), before);
    pass(Seconds(3600));
    EXPECT_TRUE(alerts.shown.empty());
}

TEST_F(HushelTest, AnEndWithoutASessionChangesNothing) {
    spice.setPlannedMinutes(1);
    spice.start();
    pass(Seconds(60));
    const auto last = spice.lastCompleted();
    spice.endSession(true);
    spice.endSession(false);
    EXPECT_EQ(spice.lastCompleted(), last);
    EXPECT_EQ(alerts.shown.size(), 1U);
}

TEST_F(HushelTest, AStoppedSessionLeavesTheLastCompletedOne) {
    spice.setPlannedMinutes(1);
    spice.start();
    pass(Seconds(60));
    const auto last = spice.lastCompleted();
    spice.start();
    spice.endSession(false);
    EXPECT_EQ(spice.lastCompleted(), last);
}

TEST_F(HushelTest, H10_NoMinutesEndOnTheFirstTick) {
    spice.setPlannedMinutes(0);
    spice.start();
    EXPECT_EQ(spice.progress(), 1);
    EXPECT_EQ(spice.remaining().count(), 0);
    pass(Seconds(0.999));
    EXPECT_TRUE(spice.session().has_value());
    EXPECT_EQ(spice.progress(), 1);
    EXPECT_TRUE(alerts.shown.empty());
    pass(Seconds(0.001));
    EXPECT_EQ(spice.session(), std::nullopt);
    EXPECT_EQ(alerts.shown, std::vector{finished});
    EXPECT_EQ(spice.lastCompleted().value().minutes, 0);
}

TEST_F(HushelTest, AnyNumberOfMinutesCanBePlanned) {
    for (const std::int64_t planned : {endOfNumbers, -endOfNumbers - 1}) {
        SCOPED_TRACE(planned);
        spice.setPlannedMinutes(planned);
        spice.start();
        pass(Seconds(0.5));
        EXPECT_TRUE(spice.session().has_value());
        EXPECT_FALSE(spice.endTime().empty());
        pass(Seconds(1));
        EXPECT_EQ(spice.session().has_value(), planned > 0);
        spice.endSession(false);
    }
    EXPECT_EQ(alerts.shown.size(), 1U);
}

TEST_F(HushelTest, H10_OffDuringASessionIsSilent) {
    spice.block(chat);
    spice.steep();
    spice.start();
    pass(Seconds(10));
    spice.rest();
    EXPECT_EQ(spice.session(), std::nullopt);
    EXPECT_EQ(spice.lastCompleted(), std::nullopt);
    EXPECT_EQ(host.liveThings(), before);
    EXPECT_EQ(spice.blocked(), List{chat}) << "the views show it while it is off";
    pass(Seconds(3600));
    EXPECT_TRUE(alerts.shown.empty());
    spice.steep();
    EXPECT_EQ(spice.session(), std::nullopt) << "it is not taken up again";
    EXPECT_EQ(host.liveThings(), before);
}

TEST_F(HushelTest, H10_TurnedOnTwentyTimesItLeavesNothingBehind) {
    for (int round = 0; round < 20; ++round) {
        spice.steep();
        spice.start();
        pass(Seconds(2));
        spice.rest();
        EXPECT_EQ(host.liveThings(), before);
    }
}

TEST_F(HushelTest, H10_GoneInTheMiddleOfASessionItHidesNoMore) {
    auto other = std::make_unique<HushelSpice>(services());
    other->block(chat);
    other->start();
    const int looks = apps.looks;
    other.reset();
    EXPECT_EQ(host.liveThings(), before);
    pass(Seconds(3600));
    EXPECT_EQ(apps.looks, looks);
    EXPECT_TRUE(alerts.shown.empty());
}

TEST_F(HushelTest, NeitherLengthNorSessionIsStored) {
    spice.setPlannedMinutes(45);
    spice.start();
    EXPECT_EQ(host.defaults.writes(), 0);
    const HushelSpice other{services()};
    EXPECT_EQ(other.plannedMinutes(), 25);
    EXPECT_EQ(other.session(), std::nullopt);
}

// ---- Clocks

TEST_F(HushelTest, H9_AsleepAcrossTheEndTheFirstTickEndsItWithOneAlert) {
    spice.start();
    pass(Seconds(60));
    const auto session = spice.session();
    host.clock.shift(Seconds(8 * 3600)); // no timer fired meanwhile
    EXPECT_EQ(spice.session(), session);
    pass();
    EXPECT_EQ(spice.session(), std::nullopt);
    EXPECT_EQ(spice.lastCompleted(), session);
    EXPECT_EQ(alerts.shown, std::vector{finished});
    pass(Seconds(3600));
    EXPECT_EQ(alerts.shown.size(), 1U);
}

TEST_F(HushelTest, H9_AsleepForAWhileItEndsByTheWallClock) {
    spice.start();
    pass(Seconds(60));
    host.clock.shift(Seconds(10 * 60));
    pass(Seconds(14 * 60 - 1));
    EXPECT_TRUE(spice.session().has_value());
    pass();
    EXPECT_EQ(spice.session(), std::nullopt);
}

TEST_F(HushelTest, H9_SetBackAnHourItGoesOnUntilTheWallClockSaysSo) {
    spice.start();
    pass(Seconds(60));
    host.clock.shift(Seconds(-3600));
    pass(Seconds(24 * 60));
    EXPECT_TRUE(spice.session().has_value());
    EXPECT_LT(spice.progress(), 0);
    pass(Seconds(3599));
    EXPECT_TRUE(spice.session().has_value());
    EXPECT_TRUE(alerts.shown.empty());
    pass();
    EXPECT_EQ(spice.session(), std::nullopt);
    EXPECT_EQ(alerts.shown.size(), 1U);
}

TEST_F(HushelTest, H9_MidnightIsAMomentLikeAnyOther) {
    host.clock.set(TimePoint(std::chrono::sys_days{std::chrono::year{2026} / 12 / 31} +
                             std::chrono::hours{23} + minutes(50)));
    spice.start();
    EXPECT_EQ(spice.endTime(), "00:15");
    pass(Seconds(25 * 60 - 1));
    EXPECT_TRUE(spice.session().has_value());
    pass();
    EXPECT_EQ(spice.session(), std::nullopt);
}

TEST_F(HushelTest, H9_AnotherTimeZoneChangesNothing) {
    spice.start();
    host.clock.setZoneOffset(minutes(-60));
    pass(Seconds(25 * 60 - 1));
    EXPECT_TRUE(spice.session().has_value());
    pass();
    EXPECT_EQ(spice.session(), std::nullopt);
}

// ---- What views read

TEST_F(HushelTest, TellsHowFarTheSessionIs) {
    EXPECT_EQ(spice.remaining().count(), 0);
    EXPECT_EQ(spice.progress(), 1);
    EXPECT_EQ(spice.endTime(), "");
    EXPECT_FALSE(spice.atNextSecond([] {}));
    spice.start();
    pass(Seconds(375));
    EXPECT_EQ(spice.remaining().count(), 1125);
    EXPECT_EQ(spice.progress(), 0.25);
    EXPECT_EQ(spice.endTime(), "09:25");
}

TEST_F(HushelTest, CallsOnTheSessionsWholeSeconds) {
    spice.start();
    pass(Seconds(2.25));
    int calls = 0;
    const Token token = spice.atNextSecond([&] { ++calls; });
    pass(Seconds(0.749));
    EXPECT_EQ(calls, 0);
    pass(Seconds(0.001));
    EXPECT_EQ(calls, 1);
    pass(Seconds(5));
    EXPECT_EQ(calls, 1);
}

TEST_F(HushelTest, FindsPictures) {
    host.workspace.icons[chat.bundleID] = "chat";
    EXPECT_EQ(spice.iconOf(chat.bundleID), "chat");
    EXPECT_EQ(spice.iconOf(mail.bundleID), std::nullopt);
}

TEST_F(HushelTest, EachChangeIsTold) {
    int told = 0;
    const Token token = spice.observe([&] { ++told; });
    spice.setPlannedMinutes(45);
    EXPECT_EQ(told, 1);
    spice.setPlannedMinutes(45);
    EXPECT_EQ(told, 1);
    spice.block(chat);
    EXPECT_EQ(told, 2);
    spice.start();
    EXPECT_EQ(told, 3);
    pass(Seconds(5));
    EXPECT_EQ(told, 3) << "a quiet second is no change";
    run(chat);
    bringForward(chat);
    pass();
    EXPECT_EQ(told, 4);
    spice.endSession(true);
    EXPECT_EQ(told, 6) << "the last completed one, and the session";
}

TEST_F(HushelTest, AReaderMayEndTheSessionItIsToldOf) {
    spice.block(chat);
    run(chat);
    bringForward(chat);
    Token token = spice.observe([&] { spice.endSession(false); });
    spice.start();
    EXPECT_EQ(spice.session(), std::nullopt);
    EXPECT_EQ(host.loop.liveTimers(), 0);
    EXPECT_TRUE(apps.hidden.empty());
    token = spice.observe([&] {
        if (spice.session() && spice.session()->interruptions > 0) {
            spice.endSession(false);
        }
    });
    spice.start();
    EXPECT_EQ(spice.session(), std::nullopt) << "ended at the first count";
    EXPECT_EQ(host.loop.liveTimers(), 0);
    EXPECT_TRUE(spice.outOfReach().empty());
}

TEST_F(HushelTest, TheRegistryTurnsItOff) {
    ZorbelKit::Stall stall(host.defaults, host.loop);
    auto made = std::make_unique<HushelSpice>(services());
    HushelSpice& listed = *made;
    stall.add(std::move(made));
    stall.setEnabled(true, listed);
    listed.start();
    stall.setEnabled(false, listed);
    EXPECT_EQ(listed.session(), std::nullopt);
    EXPECT_TRUE(alerts.shown.empty());
}

} // namespace
