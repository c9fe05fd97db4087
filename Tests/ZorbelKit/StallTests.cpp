#include "Platforms/Simulated/SimulatedHost.hpp"
#include "Tests/ZorbelKit/RecordingSpice.hpp"
#include "ZorbelKit/Stall.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

using Simulated::SimulatedDefaults;
using ZorbelKit::RecordingSpice;
using ZorbelKit::Stall;
using ZorbelKit::Token;
using ZorbelKit::Wave;

namespace {

struct Counter {
    Simulated::SimulatedHost host;
    SimulatedDefaults& defaults = host.defaults;
    Stall stall{host.defaults, host.loop};

    RecordingSpice& add(const std::string& id, Wave wave = Wave::inTheCup) {
        auto spice = std::make_unique<RecordingSpice>(id, wave);
        RecordingSpice& added = *spice;
        stall.add(std::move(spice));
        return added;
    }

    RecordingSpice& addHooked(const std::string& id, const std::function<void(RecordingSpice&)>& hook) {
        auto spice = std::make_unique<RecordingSpice>(id);
        RecordingSpice& added = *spice;
        hook(added);
        stall.add(std::move(spice));
        return added;
    }

    void addTheTen() {
        for (const char* id : {"sivrel", "mordan", "pintho", "rusket"}) {
            add(id, Wave::inTheCup);
        }
        for (const char* id : {"wendrel", "duvesk", "fotrel", "hushel"}) {
            add(id, Wave::nextBatch);
        }
        for (const char* id : {"tonvik", "ledgra"}) {
            add(id, Wave::later);
        }
    }

    std::vector<std::string> idsWhereOn() const {
        std::vector<std::string> ids;
        for (const auto& spice : stall.spices()) {
            if (spice->isEnabled()) {
                ids.push_back(spice->id());
            }
        }
        return ids;
    }
};

using Ids = std::vector<std::string>;

} // namespace

TEST(Stall, StartsEmpty) {
    const Counter counter;
    EXPECT_TRUE(counter.stall.spices().empty());
    EXPECT_EQ(counter.stall.selection(), std::nullopt);
    EXPECT_EQ(counter.stall.steepingCount(), 0);
    EXPECT_EQ(counter.stall.spice("sivrel"), nullptr);
    EXPECT_EQ(counter.defaults.writes(), 0);
}

TEST(Stall, OnAFirstLaunchTheFirstWaveIsOnAndTheFirstSpiceSelected) {
    Counter counter;
    counter.addTheTen();
    EXPECT_EQ(counter.idsWhereOn(), (Ids{"sivrel", "mordan", "pintho", "rusket"}));
    EXPECT_EQ(counter.stall.steepingCount(), 4);
    EXPECT_EQ(counter.stall.selection(), "sivrel");
    const std::map<std::string, SimulatedDefaults::Value, std::less<>> stored{
        {"spice.sivrel.enabled", true},
        {"spice.mordan.enabled", true},
        {"spice.pintho.enabled", true},
        {"spice.rusket.enabled", true},
        {"stall.selection", std::string("sivrel")},
    };
    EXPECT_EQ(counter.defaults.values(), stored); // no key for the six that stayed off
    for (const auto& spice : counter.stall.spices()) {
        SCOPED_TRACE(spice->id());
        const auto& recorded = dynamic_cast<const RecordingSpice&>(*spice);
        EXPECT_EQ(recorded.steeps, spice->isEnabled() ? 1 : 0);
        EXPECT_EQ(recorded.rests, 0);
    }
}

TEST(Stall, ListsSpicesInTheOrderTheyWereAdded) {
    Counter counter;
    counter.add("ledgra", Wave::later);
    counter.add("sivrel");
    counter.add("duvesk", Wave::nextBatch);
    Ids ids;
    for (const auto& spice : counter.stall.spices()) {
        ids.push_back(spice->id());
    }
    EXPECT_EQ(ids, (Ids{"ledgra", "sivrel", "duvesk"}));
    counter.stall.toggle(*counter.stall.spice("sivrel"));
    EXPECT_EQ(counter.stall.spices()[1]->id(), "sivrel");
}

TEST(Stall, AStoredStateWinsOverTheDefault) {
    const struct {
        const char* name;
        Wave wave;
        bool stored;
    } rows[] = {
        {"first wave, stored on", Wave::inTheCup, true},
        {"first wave, stored off", Wave::inTheCup, false},
        {"later wave, stored on", Wave::later, true},
        {"later wave, stored off", Wave::later, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Counter counter;
        counter.defaults.setBoolean("spice.test.enabled", row.stored);
        const RecordingSpice& spice = counter.add("test", row.wave);
        EXPECT_EQ(spice.isEnabled(), row.stored);
        EXPECT_EQ(spice.steeps, row.stored ? 1 : 0);
        EXPECT_EQ(spice.rests, 0);
        EXPECT_EQ(counter.defaults.boolean("spice.test.enabled"), row.stored);
    }
}

TEST(Stall, AStoredStateThatIsNoBooleanIsIgnored) {
    const struct {
        const char* name;
        void (*store)(SimulatedDefaults&, const std::string& key);
    } rows[] = {
        {"integer one", [](auto& defaults, auto& key) { defaults.setInteger(key, 1); }},
        {"integer zero", [](auto& defaults, auto& key) { defaults.setInteger(key, 0); }},
        {"number", [](auto& defaults, auto& key) { defaults.setNumber(key, 1.0); }},
        {"text true", [](auto& defaults, auto& key) { defaults.setString(key, "true"); }},
        {"text false", [](auto& defaults, auto& key) { defaults.setString(key, "false"); }},
        {"empty data", [](auto& defaults, auto& key) { defaults.setData(key, {}); }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Counter counter;
        row.store(counter.defaults, "spice.early.enabled");
        row.store(counter.defaults, "spice.late.enabled");
        const auto before = counter.defaults.values();
        EXPECT_TRUE(counter.add("early", Wave::inTheCup).isEnabled());
        EXPECT_FALSE(counter.add("late", Wave::later).isEnabled());
        EXPECT_EQ(counter.defaults.boolean("spice.early.enabled"), true); // it was turned on, which is stored
        EXPECT_EQ(counter.defaults.values().at("spice.late.enabled"), before.at("spice.late.enabled"));
    }
}

TEST(Stall, AStoredSelectionIsRestoredOnceItsSpiceIsAdded) {
    Counter counter;
    counter.defaults.setString("stall.selection", "pintho");
    counter.add("sivrel");
    counter.add("mordan");
    EXPECT_EQ(counter.stall.selection(), std::nullopt);
    EXPECT_EQ(counter.defaults.string("stall.selection"), "pintho");
    counter.add("pintho");
    EXPECT_EQ(counter.stall.selection(), "pintho");
    counter.add("rusket");
    EXPECT_EQ(counter.stall.selection(), "pintho");
}

TEST(Stall, AStoredSelectionNobodyHasLeavesNoneUntilARowIsPicked) {
    for (const char* stored : {"saffron", "", "Sivrel"}) {
        SCOPED_TRACE(stored);
        Counter counter;
        counter.defaults.setString("stall.selection", stored);
        counter.addTheTen();
        EXPECT_EQ(counter.stall.selection(), std::nullopt);
        EXPECT_EQ(counter.defaults.string("stall.selection"), stored);
        counter.stall.setSelection("rusket");
        EXPECT_EQ(counter.stall.selection(), "rusket");
        EXPECT_EQ(counter.defaults.string("stall.selection"), "rusket");
    }
}

TEST(Stall, AStoredSelectionThatIsNoTextCountsAsAbsent) {
    Counter counter;
    counter.defaults.setInteger("stall.selection", 3);
    counter.addTheTen();
    EXPECT_EQ(counter.stall.selection(), "sivrel");
    EXPECT_EQ(counter.defaults.string("stall.selection"), "sivrel");
}

TEST(Stall, SelectingNoneKeepsTheStoredSelection) {
    Counter counter;
    counter.addTheTen();
    counter.stall.setSelection("mordan");
    const int writes = counter.defaults.writes();
    counter.stall.setSelection(std::nullopt);
    EXPECT_EQ(counter.stall.selection(), std::nullopt);
    EXPECT_EQ(counter.defaults.string("stall.selection"), "mordan");
    EXPECT_EQ(counter.defaults.writes(), writes);
}

TEST(Stall, ASpiceAddedAfterSelectingNoneIsNotSelected) {
    Counter counter;
    counter.add("sivrel");
    counter.stall.setSelection(std::nullopt);
    counter.add("mordan");
    EXPECT_EQ(counter.stall.selection(), std::nullopt);
}

TEST(Stall, SelectingNeitherStartsNorStopsASpice) {
    Counter counter;
    counter.addTheTen();
    counter.stall.setSelection("ledgra");
    EXPECT_EQ(counter.stall.steepingCount(), 4);
    EXPECT_FALSE(counter.stall.spice("ledgra")->isEnabled());
}

TEST(Stall, SettingTheStateASpiceHasDoesNothing) {
    for (const bool on : {true, false}) {
        SCOPED_TRACE(on ? "on" : "off");
        Counter counter;
        RecordingSpice& spice = counter.add("test", on ? Wave::inTheCup : Wave::later);
        const int steeps = spice.steeps;
        const int writes = counter.defaults.writes();
        int told = 0;
        const Token changes = counter.stall.observe([&] { ++told; });
        counter.stall.setEnabled(on, spice);
        EXPECT_EQ(spice.steeps, steeps);
        EXPECT_EQ(spice.rests, 0);
        EXPECT_EQ(counter.defaults.writes(), writes);
        EXPECT_EQ(told, 0);
    }
}

TEST(Stall, TurningASpiceOffAndOnRestsAndSteepsItOnceEach) {
    Counter counter;
    RecordingSpice& spice = counter.add("test");
    counter.stall.setEnabled(false, spice);
    EXPECT_EQ(spice.rests, 1);
    EXPECT_EQ(spice.steeps, 1);
    EXPECT_FALSE(spice.isEnabled());
    EXPECT_EQ(counter.defaults.boolean("spice.test.enabled"), false);
    counter.stall.setEnabled(true, spice);
    EXPECT_EQ(spice.rests, 1);
    EXPECT_EQ(spice.steeps, 2);
    EXPECT_TRUE(spice.isEnabled());
    EXPECT_EQ(counter.defaults.boolean("spice.test.enabled"), true);
}

TEST(Stall, TogglingTurnsExactlyOneSpiceRound) {
    Counter counter;
    counter.addTheTen();
    counter.stall.toggle(*counter.stall.spice("mordan"));
    EXPECT_EQ(counter.idsWhereOn(), (Ids{"sivrel", "pintho", "rusket"}));
    counter.stall.toggle(*counter.stall.spice("tonvik"));
    EXPECT_EQ(counter.idsWhereOn(), (Ids{"sivrel", "pintho", "rusket", "tonvik"}));
    EXPECT_EQ(counter.stall.steepingCount(), 4);
    counter.stall.toggle(*counter.stall.spice("mordan"));
    EXPECT_EQ(counter.stall.steepingCount(), 5);
}

TEST(Stall, TheStateIsSetBeforeTheSpiceStartsAndStoredAfterwards) {
    Counter counter;
    std::string log;
    const auto note = [&](const RecordingSpice& spice, const char* what) {
        const auto stored = counter.defaults.boolean("spice.test.enabled");
        log += std::string(what) + (spice.isEnabled() ? " on" : " off") +
               (stored ? (*stored ? ", stored on; " : ", stored off; ") : ", nothing stored; ");
    };
    RecordingSpice& spice = counter.addHooked("test", [&](RecordingSpice& added) {
        added.whileSteeping = [&] { note(added, "steep"); };
        added.whileResting = [&] { note(added, "rest"); };
    });
    counter.stall.setEnabled(false, spice);
    counter.stall.setEnabled(true, spice);
    EXPECT_EQ(log, "steep on, nothing stored; rest off, stored on; steep on, stored off; ");
    EXPECT_EQ(counter.defaults.boolean("spice.test.enabled"), true);
}

TEST(Stall, ASpiceIsListedAndSelectedBeforeItStarts) {
    Counter counter;
    std::optional<std::string> selection;
    bool isListed = false;
    counter.addHooked("sivrel", [&](RecordingSpice& added) {
        added.whileSteeping = [&] {
            selection = counter.stall.selection();
            isListed = counter.stall.spice("sivrel") == &added;
        };
    });
    EXPECT_EQ(selection, "sivrel");
    EXPECT_TRUE(isListed);
}

TEST(Stall, RestingAllStopsWhatRunsInOrderAndWritesNothing) {
    Counter counter;
    std::string log;
    const auto hook = [&](RecordingSpice& added) {
        added.whileResting = [&] { log += added.id() + (added.isEnabled() ? "(on) " : "(off) "); };
    };
    for (const char* id : {"sivrel", "mordan", "pintho"}) {
        counter.addHooked(id, hook);
    }
    counter.add("ledgra", Wave::later);
    counter.stall.toggle(*counter.stall.spice("mordan"));
    log.clear();
    const auto stored = counter.defaults.values();
    const int writes = counter.defaults.writes();

    counter.stall.restAll();
    EXPECT_EQ(log, "sivrel(on) pintho(on) "); // each is still marked on while it comes to rest
    EXPECT_EQ(counter.stall.steepingCount(), 0);
    EXPECT_TRUE(counter.idsWhereOn().empty());
    EXPECT_EQ(counter.defaults.values(), stored);
    EXPECT_EQ(counter.defaults.writes(), writes);
    EXPECT_EQ(counter.stall.spices().size(), 4U);

    counter.stall.restAll();
    EXPECT_EQ(log, "sivrel(on) pintho(on) ");
}

TEST(Stall, TheSameSpicesComeBackAtTheNextLaunch) {
    Counter counter;
    counter.addTheTen();
    counter.stall.toggle(*counter.stall.spice("mordan"));
    counter.stall.toggle(*counter.stall.spice("hushel"));
    counter.stall.setSelection("hushel");
    const Ids on = counter.idsWhereOn();
    counter.stall.restAll();

    Stall next(counter.defaults, counter.host.loop);
    for (const auto& spice : counter.stall.spices()) {
        next.add(std::make_unique<RecordingSpice>(spice->id(), spice->wave()));
    }
    Ids onAgain;
    for (const auto& spice : next.spices()) {
        if (spice->isEnabled()) {
            onAgain.push_back(spice->id());
        }
    }
    EXPECT_EQ(onAgain, on);
    EXPECT_EQ(next.selection(), "hushel");
}

TEST(Stall, FindsTheFirstSpiceWithAnId) {
    Counter counter;
    RecordingSpice& first = counter.add("twin");
    counter.add("other");
    counter.add("twin");
    EXPECT_EQ(counter.stall.spice("twin"), &first);
    EXPECT_EQ(counter.stall.spice("other"), counter.stall.spices()[1].get());
    EXPECT_EQ(counter.stall.spice("Twin"), nullptr);
    EXPECT_EQ(counter.stall.spice(""), nullptr);
}

TEST(Stall, ReadersAreToldOfEveryChangeWhenItCanBeRead) {
    Counter counter;
    std::string log;
    const Token changes = counter.stall.observe([&] {
        log += std::to_string(counter.stall.spices().size()) + counter.stall.selection().value_or("-") +
               std::to_string(counter.stall.steepingCount()) + " ";
    });
    RecordingSpice& spice = counter.add("a"); // listed, selected, turned on
    EXPECT_EQ(log, "1-0 1a0 1a1 ");
    log.clear();
    counter.add("b", Wave::later); // listed only
    EXPECT_EQ(log, "2a1 ");
    log.clear();
    counter.stall.toggle(spice);
    EXPECT_EQ(log, "2a0 ");
    log.clear();
    counter.stall.setSelection("b");
    counter.stall.setSelection("b");
    EXPECT_EQ(log, "2b0 ");
    log.clear();
    counter.stall.setSelection(std::nullopt);
    EXPECT_EQ(log, "2-0 ");
    counter.stall.setEnabled(true, spice);
    log.clear();
    counter.stall.restAll();
    EXPECT_EQ(log, "2-0 ");
}

TEST(Stall, AReaderOfTheSpiceIsToldOfItsState) {
    Counter counter;
    RecordingSpice& spice = counter.add("test");
    std::vector<bool> states;
    const Token changes = spice.observe([&] { states.push_back(spice.isEnabled()); });
    counter.stall.toggle(spice);
    counter.stall.toggle(spice);
    EXPECT_EQ(states, (std::vector{false, true}));
}

TEST(Stall, UseFromAnotherThreadStopsADebugBuild) {
    EXPECT_DEBUG_DEATH(
        {
            Counter counter;
            counter.host.loop.background(ZorbelKit::Priority::utility, [&] { counter.stall.restAll(); });
            counter.host.loop.settle();
        },
        "isMainThread");
}
