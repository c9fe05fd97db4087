#include "Platforms/Simulated/SimulatedMainLoop.hpp"
#include "ZorbelKit/Lifetime.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

using Simulated::SimulatedMainLoop;
using ZorbelKit::Lifetime;

TEST(Lifetime, AGuardedCallbackArrivesWhileItsOwnerLives) {
    const Lifetime lifetime;
    std::string heard;
    auto answer =
        lifetime.guard([&](const std::string& text, int count) { heard = text + std::to_string(count); });
    answer("cup", 2);
    EXPECT_EQ(heard, "cup2");
    answer("cup", 3);
    EXPECT_EQ(heard, "cup3");
}

TEST(Lifetime, AGuardedCallbackIsSilentOnceItsOwnerIsGone) {
    std::optional<Lifetime> lifetime(std::in_place);
    int calls = 0;
    auto answer = lifetime->guard([&] { ++calls; });
    answer();
    lifetime.reset();
    answer();
    EXPECT_EQ(calls, 1);
}

TEST(Lifetime, RenewingSilencesWhatWasAskedForEarlierAndNothingLater) {
    Lifetime lifetime;
    int earlier = 0;
    int later = 0;
    auto first = lifetime.guard([&] { ++earlier; });
    lifetime.renew();
    auto second = lifetime.guard([&] { ++later; });
    first();
    second();
    EXPECT_EQ(earlier, 0);
    EXPECT_EQ(later, 1);
    lifetime.renew();
    second();
    EXPECT_EQ(later, 1);
}

TEST(Lifetime, TwoOwnersDoNotGuardForOneAnother) {
    const Lifetime survivor;
    std::optional<Lifetime> other(std::in_place);
    int calls = 0;
    auto answer = survivor.guard([&] { ++calls; });
    other.reset();
    answer();
    EXPECT_EQ(calls, 1);
}

TEST(Lifetime, AGuardedCallbackMayDestroyItsOwner) {
    auto lifetime = std::make_unique<Lifetime>();
    int calls = 0;
    auto answer = lifetime->guard([&] {
        ++calls;
        lifetime.reset();
    });
    answer();
    answer();
    EXPECT_EQ(calls, 1);
}

TEST(Lifetime, ACopyOfAGuardedCallbackIsGuardedToo) {
    std::optional<Lifetime> lifetime(std::in_place);
    int calls = 0;
    const std::function<void(int)> answer = lifetime->guard([&](int by) { calls += by; });
    const std::function<void(int)> copy = answer;
    copy(1);
    lifetime.reset();
    copy(1);
    EXPECT_EQ(calls, 1);
}

TEST(Lifetime, AnArgumentIsHandedOnWithoutACopy) {
    const Lifetime lifetime;
    std::unique_ptr<int> taken;
    auto answer = lifetime.guard([&](std::unique_ptr<int> value) { taken = std::move(value); });
    answer(std::make_unique<int>(3));
    ASSERT_NE(taken, nullptr);
    EXPECT_EQ(*taken, 3);
}

TEST(Lifetime, AnAnswerFromTheBackgroundIsDroppedWhenItsOwnerWentMeanwhile) {
    SimulatedMainLoop loop;
    for (const bool ownerGoes : {false, true}) {
        SCOPED_TRACE(ownerGoes ? "owner goes" : "owner stays");
        std::optional<Lifetime> lifetime(std::in_place);
        int answers = 0;
        loop.background(ZorbelKit::Priority::utility,
                        [&loop, answer = lifetime->guard([&] { ++answers; })] { loop.post(answer); });
        if (ownerGoes) {
            lifetime.reset();
        }
        loop.settle();
        EXPECT_EQ(answers, ownerGoes ? 0 : 1);
    }
}
