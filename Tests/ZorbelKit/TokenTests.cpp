#include "ZorbelKit/Token.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

using ZorbelKit::Token;

namespace {

Token counting(int& stops) {
    return Token([&stops] { ++stops; });
}

} // namespace

static_assert(!std::is_copy_constructible_v<Token> && !std::is_copy_assignable_v<Token>);
static_assert(std::is_nothrow_move_constructible_v<Token> && std::is_nothrow_move_assignable_v<Token>);

TEST(Token, AnEmptyOneIsFalseAndStopsNothing) {
    Token empty;
    EXPECT_FALSE(empty);
    empty.reset();
    EXPECT_FALSE(empty);
    EXPECT_FALSE(Token(nullptr));
}

TEST(Token, DestroyingItStopsTheThingOnce) {
    int stops = 0;
    {
        const Token token = counting(stops);
        EXPECT_TRUE(token);
        EXPECT_EQ(stops, 0);
    }
    EXPECT_EQ(stops, 1);
}

TEST(Token, ResettingItStopsTheThingOnceAndEmptiesIt) {
    int stops = 0;
    {
        Token token = counting(stops);
        token.reset();
        EXPECT_EQ(stops, 1);
        EXPECT_FALSE(token);
        token.reset();
    }
    EXPECT_EQ(stops, 1);
}

TEST(Token, MovingItStopsNothingAndEmptiesTheSource) {
    int stops = 0;
    Token source = counting(stops);
    Token target(std::move(source));
    EXPECT_FALSE(source); // NOLINT(bugprone-use-after-move): a moved-from token is empty
    EXPECT_TRUE(target);
    source.reset();
    EXPECT_EQ(stops, 0);
    target.reset();
    EXPECT_EQ(stops, 1);
}

TEST(Token, AssigningStopsWhatItHeldBefore) {
    int before = 0;
    int after = 0;
    {
        Token token = counting(before);
        token = counting(after);
        EXPECT_EQ(before, 1);
        EXPECT_EQ(after, 0);
    }
    EXPECT_EQ(before, 1);
    EXPECT_EQ(after, 1);
}

TEST(Token, AssigningAnEmptyOneStopsTheThing) {
    int stops = 0;
    Token token = counting(stops);
    token = {};
    EXPECT_EQ(stops, 1);
    EXPECT_FALSE(token);
}

TEST(Token, AssigningItToItselfKeepsItRunning) {
    int stops = 0;
    Token token = counting(stops);
    Token& same = token;
    token = std::move(same);
    EXPECT_TRUE(token);
    EXPECT_EQ(stops, 0);
}

TEST(Token, IsAlreadyEmptyWhileItStops) {
    Token token;
    int stops = 0;
    bool wasEmpty = false;
    token = Token([&] {
        ++stops;
        wasEmpty = !token;
        token.reset();
    });
    token.reset();
    EXPECT_EQ(stops, 1);
    EXPECT_TRUE(wasEmpty);
}

TEST(Token, StoppingMayDestroyTheOwnerOfTheToken) {
    struct Owner {
        Token token;
    };
    auto owner = std::make_unique<Owner>();
    int stops = 0;
    owner->token = Token([&] {
        ++stops;
        owner.reset();
    });
    owner->token.reset();
    EXPECT_EQ(stops, 1);
    EXPECT_EQ(owner, nullptr);
}

TEST(Token, ManyInAListMoveWithItAndStopWithIt) {
    int stops = 0;
    std::vector<Token> tokens;
    for (int count = 0; count < 100; ++count) {
        tokens.push_back(counting(stops));
    }
    EXPECT_EQ(stops, 0);
    tokens.clear();
    EXPECT_EQ(stops, 100);
}

TEST(Token, LetsGoOfWhatItsActionHeld) {
    const auto held = std::make_shared<int>(7);
    Token token([held] {});
    EXPECT_EQ(held.use_count(), 2);
    token.reset();
    EXPECT_EQ(held.use_count(), 1);
}
