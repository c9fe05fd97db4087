#include "ZorbelKit/Observable.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

using ZorbelKit::Observable;
using ZorbelKit::Published;
using ZorbelKit::Token;

namespace {

struct Cup : Observable {
    Published<int> sugar{*this};
    Published<std::vector<int>> sips{*this};
};

} // namespace

TEST(Observable, APropertyStartsWithItsInitialValue) {
    Cup cup;
    const Published<int> warm(cup, 60);
    EXPECT_EQ(warm.get(), 60);
    EXPECT_EQ(cup.sugar.get(), 0);
}

TEST(Observable, WritingAnEqualValueIsSilent) {
    Cup cup;
    int told = 0;
    const Token changes = cup.observe([&] { ++told; });
    EXPECT_TRUE(cup.sugar.set(1));
    EXPECT_FALSE(cup.sugar.set(1));
    EXPECT_TRUE(cup.sugar.set(0));
    EXPECT_FALSE(cup.sugar.set(0));
    EXPECT_EQ(told, 2);
}

TEST(Observable, EditingTellsOnceHoweverMuchChanged) {
    Cup cup;
    int told = 0;
    const Token changes = cup.observe([&] { ++told; });
    EXPECT_TRUE(cup.sips.edit([](std::vector<int>& sips) {
        sips.push_back(1);
        sips.push_back(2);
    }));
    EXPECT_EQ(cup.sips.get(), (std::vector{1, 2}));
    EXPECT_EQ(told, 1);
}

TEST(Observable, AnEditThatComesBackToTheSameValueIsSilent) {
    Cup cup;
    cup.sips.set({1});
    int told = 0;
    const Token changes = cup.observe([&] { ++told; });
    EXPECT_FALSE(cup.sips.edit([](std::vector<int>& sips) {
        sips.push_back(2);
        sips.pop_back();
    }));
    EXPECT_EQ(told, 0);
}

TEST(Observable, NoReaderSeesAHalfEditedValue) {
    Cup cup;
    std::vector<int> seen;
    cup.sips.edit([&](std::vector<int>& sips) {
        sips.push_back(1);
        seen = cup.sips.get();
    });
    EXPECT_TRUE(seen.empty());
}

TEST(Observable, ReadersAreToldInTheOrderTheyCameAndReadTheNewValue) {
    Cup cup;
    std::string heard;
    const Token first = cup.observe([&] { heard += "a" + std::to_string(cup.sugar.get()); });
    const Token second = cup.observe([&] { heard += "b" + std::to_string(cup.sugar.get()); });
    cup.sugar.set(3);
    EXPECT_EQ(heard, "a3b3");
}

TEST(Observable, EveryPropertyOfAnObjectTellsTheSameReaders) {
    Cup cup;
    int told = 0;
    const Token changes = cup.observe([&] { ++told; });
    cup.sugar.set(1);
    cup.sips.set({1});
    EXPECT_EQ(told, 2);
}

TEST(Observable, AReaderThatStoppedIsNotTold) {
    Cup cup;
    int told = 0;
    Token changes = cup.observe([&] { ++told; });
    changes.reset();
    cup.sugar.set(1);
    EXPECT_EQ(told, 0);
    EXPECT_EQ(cup.observerCount(), 0);
}

TEST(Observable, AReaderMayStopWhileBeingTold) {
    Cup cup;
    std::string heard;
    Token first;
    first = cup.observe([&] {
        heard += "a";
        first.reset();
        heard += "+"; // goes on after having stopped itself
    });
    const Token second = cup.observe([&] { heard += "b"; });
    cup.sugar.set(1);
    EXPECT_EQ(heard, "a+b");
    EXPECT_EQ(cup.observerCount(), 1);
    cup.sugar.set(2);
    EXPECT_EQ(heard, "a+bb");
}

TEST(Observable, AReaderMayStopALaterOneWhoIsThenNotCalled) {
    Cup cup;
    std::string heard;
    Token second;
    const Token first = cup.observe([&] {
        heard += "a";
        second.reset();
    });
    second = cup.observe([&] { heard += "b"; });
    const Token third = cup.observe([&] { heard += "c"; });
    cup.sugar.set(1);
    EXPECT_EQ(heard, "ac");
    cup.sugar.set(2);
    EXPECT_EQ(heard, "acac");
}

TEST(Observable, AReaderMayStopAnEarlierOneAndNobodyIsSkipped) {
    Cup cup;
    std::string heard;
    Token first = cup.observe([&] { heard += "a"; });
    const Token second = cup.observe([&] {
        heard += "b";
        first.reset();
    });
    const Token third = cup.observe([&] { heard += "c"; });
    cup.sugar.set(1);
    EXPECT_EQ(heard, "abc");
    cup.sugar.set(2);
    EXPECT_EQ(heard, "abcbc");
}

TEST(Observable, AReaderMayStopEveryone) {
    Cup cup;
    int told = 0;
    std::vector<Token> tokens;
    for (int reader = 0; reader < 5; ++reader) {
        tokens.push_back(cup.observe([&] {
            ++told;
            tokens.clear();
        }));
    }
    cup.sugar.set(1);
    EXPECT_EQ(told, 1);
    EXPECT_EQ(cup.observerCount(), 0);
    cup.sugar.set(2);
    EXPECT_EQ(told, 1);
}

TEST(Observable, AReaderWhoStartsWhileOthersAreToldHearsFromTheNextChange) {
    Cup cup;
    std::string heard;
    Token newcomer;
    const Token first = cup.observe([&] {
        heard += "a";
        if (!newcomer) {
            newcomer = cup.observe([&] { heard += "n"; });
        }
    });
    cup.sugar.set(1);
    EXPECT_EQ(heard, "a");
    cup.sugar.set(2);
    EXPECT_EQ(heard, "aan");
}

TEST(Observable, ManyReadersMayStartWhileOthersAreTold) {
    Cup cup;
    int told = 0;
    std::vector<Token> newcomers;
    const Token first = cup.observe([&] {
        for (int reader = 0; newcomers.size() < 100 && reader < 100; ++reader) {
            newcomers.push_back(cup.observe([&] { ++told; }));
        }
    });
    cup.sugar.set(1);
    EXPECT_EQ(told, 0);
    cup.sugar.set(2);
    EXPECT_EQ(told, 100);
}

TEST(Observable, AChangeMadeByAReaderIsToldBeforeTheOuterOneGoesOn) {
    Cup cup;
    std::string heard;
    const Token first = cup.observe([&] {
        heard += "a" + std::to_string(cup.sugar.get());
        cup.sugar.set(2); // silent the second time round
        heard += ")";
    });
    const Token second = cup.observe([&] { heard += "b" + std::to_string(cup.sugar.get()); });
    cup.sugar.set(1);
    EXPECT_EQ(heard, "a1a2)b2)b2");
}

TEST(Observable, AReaderWhoStartsHearsAnInnerChangeMadeRightAfterwards) {
    Cup cup;
    std::string heard;
    Token newcomer;
    const Token first = cup.observe([&] {
        if (!newcomer) {
            newcomer = cup.observe([&] { heard += "n" + std::to_string(cup.sugar.get()); });
            cup.sugar.set(2);
        }
    });
    cup.sugar.set(1);
    EXPECT_EQ(heard, "n2");
}

TEST(Observable, AReaderStoppedInAnInnerChangeIsNotCalledByTheOuterOne) {
    Cup cup;
    std::string heard;
    Token third;
    const Token first = cup.observe([&] { cup.sugar.set(2); });
    const Token second = cup.observe([&] {
        heard += "b";
        third.reset();
    });
    third = cup.observe([&] { heard += "c"; });
    cup.sugar.set(1);
    EXPECT_EQ(heard, "bb");
    EXPECT_EQ(cup.observerCount(), 2);
}

TEST(Observable, AReaderMayDestroyTheObjectAndNobodyElseIsCalled) {
    const int before = Observable::liveObserversForTesting();
    auto cup = std::make_unique<Cup>();
    std::string heard;
    const Token first = cup->observe([&] {
        heard += "a";
        cup.reset();
    });
    const Token second = cup->observe([&] { heard += "b"; });
    EXPECT_TRUE(cup->sugar.set(1));
    EXPECT_EQ(heard, "a");
    EXPECT_EQ(Observable::liveObserversForTesting(), before);
}

TEST(Observable, AReaderMayDestroyTheObjectInsideAnInnerChange) {
    auto cup = std::make_unique<Cup>();
    std::string heard;
    const Token first = cup->observe([&] {
        heard += "a";
        if (cup->sugar.get() == 1) {
            cup->sugar.set(2);
        }
    });
    const Token second = cup->observe([&] {
        heard += "b";
        cup.reset();
    });
    cup->sugar.set(1);
    EXPECT_EQ(heard, "aab");
}

TEST(Observable, ATokenMayOutliveTheObject) {
    const int before = Observable::liveObserversForTesting();
    auto cup = std::make_unique<Cup>();
    Token changes = cup->observe([] {});
    EXPECT_EQ(Observable::liveObserversForTesting(), before + 1);
    cup.reset();
    EXPECT_EQ(Observable::liveObserversForTesting(), before);
    changes.reset();
    EXPECT_EQ(Observable::liveObserversForTesting(), before);
}

TEST(Observable, AReaderThatStopsTakesAlongTheListeningItOwns) {
    Cup cup;
    int told = 0;
    Token owner = cup.observe([owned = std::make_shared<Token>(cup.observe([&] { ++told; }))] {});
    EXPECT_EQ(cup.observerCount(), 2);
    owner.reset();
    EXPECT_EQ(cup.observerCount(), 0);
    cup.sugar.set(1);
    EXPECT_EQ(told, 0);
}

TEST(Observable, AnObjectMayGoWhileItsReadersOwnTheListeningOfOthers) {
    const int before = Observable::liveObserversForTesting();
    auto cup = std::make_unique<Cup>();
    std::vector<Token> owners;
    for (int reader = 0; reader < 4; ++reader) {
        owners.push_back(cup->observe([owned = std::make_shared<Token>(cup->observe([] {}))] {}));
    }
    EXPECT_EQ(Observable::liveObserversForTesting(), before + 8);
    cup.reset();
    EXPECT_EQ(Observable::liveObserversForTesting(), before);
}

TEST(Observable, AReaderMayOwnItsOwnTokenToListenOnce) {
    const int before = Observable::liveObserversForTesting();
    for (const int changes : {0, 1, 2}) {
        SCOPED_TRACE(changes);
        int told = 0;
        {
            Cup cup;
            const auto self = std::make_shared<Token>();
            *self = cup.observe([&told, self] {
                ++told;
                self->reset();
            });
            for (int change = 1; change <= changes; ++change) {
                cup.sugar.set(change);
            }
        }
        EXPECT_EQ(told, changes == 0 ? 0 : 1);
        EXPECT_EQ(Observable::liveObserversForTesting(), before);
    }
}

TEST(Observable, AStoppedReaderLetsGoOfWhatItHeld) {
    Cup cup;
    const auto held = std::make_shared<int>(0);
    Token outside = cup.observe([held] {});
    Token inside;
    inside = cup.observe([held, &inside] { inside.reset(); });
    EXPECT_EQ(held.use_count(), 3);
    outside.reset();
    EXPECT_EQ(held.use_count(), 2);
    cup.sugar.set(1);
    EXPECT_EQ(held.use_count(), 1);
}

TEST(Observable, AnObjectThatGoesLetsGoOfWhatItsReadersHeld) {
    auto cup = std::make_unique<Cup>();
    const auto held = std::make_shared<int>(0);
    const Token changes = cup->observe([held] {});
    cup.reset();
    EXPECT_EQ(held.use_count(), 1);
}

TEST(Observable, CountsTheReadersOfTheWholeProcess) {
    const int before = Observable::liveObserversForTesting();
    {
        const Cup cup;
        const Cup other;
        const Token first = cup.observe([] {});
        Token second = other.observe([] {});
        EXPECT_EQ(cup.observerCount(), 1);
        EXPECT_EQ(Observable::liveObserversForTesting(), before + 2);
        second.reset();
        EXPECT_EQ(Observable::liveObserversForTesting(), before + 1);
    }
    EXPECT_EQ(Observable::liveObserversForTesting(), before);
}
