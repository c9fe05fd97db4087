#include "Platforms/Simulated/SimulatedMainLoop.hpp"
#include "Zorbel/RowHover.hpp"

#include <gtest/gtest.h>

namespace {

using ZorbelKit::Seconds;

TEST(RowHover, TellsTheReasonAfterFourTenthsOfRest) {
    Simulated::SimulatedMainLoop loop;
    Zorbel::RowHover hover(loop);
    hover.enter();
    EXPECT_TRUE(hover.hovering());
    loop.advance(Seconds{0.399});
    EXPECT_FALSE(hover.showReason());
    loop.advance(Seconds{0.001});
    EXPECT_TRUE(hover.showReason());
}

TEST(RowHover, LeavingEarlyNeverTellsIt) {
    Simulated::SimulatedMainLoop loop;
    Zorbel::RowHover hover(loop);
    int told = 0;
    const auto changes = hover.observe([&] { told += hover.showReason() ? 1 : 0; });
    hover.enter();
    loop.advance(Seconds{0.399});
    hover.leave();
    EXPECT_FALSE(hover.hovering());
    loop.advance(Seconds{10});
    EXPECT_EQ(told, 0);
    EXPECT_EQ(loop.liveTimers(), 0);
}

TEST(RowHover, ComingBackStartsTheWaitAnew) {
    Simulated::SimulatedMainLoop loop;
    Zorbel::RowHover hover(loop);
    hover.enter();
    loop.advance(Seconds{0.3});
    hover.leave();
    hover.enter();
    loop.advance(Seconds{0.399});
    EXPECT_FALSE(hover.showReason());
    loop.advance(Seconds{0.001});
    EXPECT_TRUE(hover.showReason());
    hover.leave();
    EXPECT_FALSE(hover.showReason());
}

} // namespace
