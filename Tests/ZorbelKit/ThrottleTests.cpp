#include "Platforms/Simulated/SimulatedMainLoop.hpp"
#include "ZorbelKit/Throttle.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <optional>

using Simulated::SimulatedMainLoop;
using ZorbelKit::Seconds;
using ZorbelKit::Throttle;

namespace {

struct Throttled {
    SimulatedMainLoop loop;
    int actions = 0;
    std::function<void()> more; // what an action does besides counting
    std::optional<Throttle> throttle{std::in_place, loop, Seconds{0.5}, [this] {
                                         ++actions;
                                         if (more) {
                                             more();
                                         }
                                     }};
};

} // namespace

TEST(Throttle, AnswersTheFirstRequestAtOnce) {
    Throttled thing;
    EXPECT_EQ(thing.actions, 0);
    EXPECT_EQ(thing.loop.liveTimers(), 0);
    thing.throttle->request();
    EXPECT_EQ(thing.actions, 1);
}

TEST(Throttle, AnswersTenThousandRequestsOfAnIntervalTogetherAtItsEnd) {
    Throttled thing;
    for (int request = 0; request < 10'000; ++request) {
        thing.throttle->request();
        thing.loop.advance(Seconds{0.00004});
    }
    EXPECT_EQ(thing.actions, 1);
    EXPECT_EQ(thing.loop.liveTimers(), 1);
    thing.loop.advance(Seconds{0.0999});
    EXPECT_EQ(thing.actions, 1) << "half a second is not over";
    thing.loop.advance(Seconds{0.0002});
    EXPECT_EQ(thing.actions, 2);
    thing.loop.advance(Seconds{60});
    EXPECT_EQ(thing.actions, 2);
}

TEST(Throttle, ASingleRequestIsAnsweredOnce) {
    Throttled thing;
    thing.throttle->request();
    thing.loop.advance(Seconds{60});
    EXPECT_EQ(thing.actions, 1);
}

TEST(Throttle, ARequestAfterTheIntervalIsAnsweredAtOnceAgain) {
    Throttled thing;
    thing.throttle->request();
    thing.loop.advance(Seconds{0.5});
    thing.throttle->request();
    EXPECT_EQ(thing.actions, 2);
}

TEST(Throttle, TheAnswerAtTheEndBeginsAnIntervalOfItsOwn) {
    Throttled thing;
    thing.throttle->request();
    thing.throttle->request();
    thing.loop.advance(Seconds{0.5});
    EXPECT_EQ(thing.actions, 2);
    thing.throttle->request();
    EXPECT_EQ(thing.actions, 2);
    thing.loop.advance(Seconds{0.499});
    EXPECT_EQ(thing.actions, 2);
    thing.loop.advance(Seconds{0.001});
    EXPECT_EQ(thing.actions, 3);
}

TEST(Throttle, ARequestFromInsideTheActionWaitsForTheIntervalsEnd) {
    Throttled thing;
    thing.more = [&] { thing.throttle->request(); };
    thing.throttle->request();
    EXPECT_EQ(thing.actions, 1);
    thing.loop.advance(Seconds{5});
    EXPECT_EQ(thing.actions, 11) << "once at the start and once every half second";
    thing.more = nullptr;
    thing.loop.advance(Seconds{0.5});
    EXPECT_EQ(thing.actions, 12);
    thing.loop.advance(Seconds{60});
    EXPECT_EQ(thing.actions, 12);
}

TEST(Throttle, MayBeDestroyedByItsAction) {
    struct Row {
        const char* name;
        int fatalAction;
    };
    for (const Row row : {Row{"the first", 1}, Row{"one at an interval's end", 2}}) {
        SCOPED_TRACE(row.name);
        Throttled thing;
        thing.more = [&] {
            if (thing.actions == row.fatalAction) {
                thing.throttle.reset();
            }
        };
        thing.throttle->request();
        if (thing.throttle) {
            thing.throttle->request();
        }
        thing.loop.advance(Seconds{60});
        EXPECT_FALSE(thing.throttle);
        EXPECT_EQ(thing.actions, row.fatalAction);
        EXPECT_EQ(thing.loop.liveTimers(), 0);
    }
}

TEST(Throttle, DestroyedWithARequestWaitingItAnswersNoMore) {
    Throttled thing;
    thing.throttle->request();
    thing.throttle->request();
    thing.throttle.reset();
    EXPECT_EQ(thing.loop.liveTimers(), 0);
    thing.loop.advance(Seconds{60});
    EXPECT_EQ(thing.actions, 1);
}

TEST(Throttle, AtRestNothingLives) {
    Throttled thing;
    thing.throttle->request();
    thing.throttle->request();
    EXPECT_EQ(thing.loop.liveTimers(), 1);
    thing.loop.advance(Seconds{0.5});
    EXPECT_EQ(thing.loop.liveTimers(), 1) << "the second answer's interval";
    thing.loop.advance(Seconds{0.5});
    EXPECT_EQ(thing.loop.liveTimers(), 0);
    const int fired = thing.loop.firedTimers();
    thing.loop.advance(Seconds{60});
    EXPECT_EQ(thing.loop.firedTimers(), fired);
}
