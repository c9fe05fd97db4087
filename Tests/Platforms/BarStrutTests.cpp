#include "Platforms/Linux/MenuBar/BarStrut.hpp"

#include <gtest/gtest.h>

namespace {

using Linux::barStrut;
using ZorbelKit::Rect;

TEST(BarStrut, ReservesTheTopOfItsMonitorAlone) {
    struct Row {
        const char* name;
        Rect monitor; // y downwards
        double height;
        std::vector<Rect> others;
        std::uint32_t top;
        std::uint32_t from;
        std::uint32_t to; // inclusive
    };
    const Rect full{0, 0, 1920, 1080};
    const Row rows[] = {
        {"one monitor", full, 28, {}, 28, 0, 1919},
        {"twice the pixels", {0, 0, 3840, 2160}, 56, {}, 56, 0, 3839},
        {"one and a quarter", full, 35, {}, 35, 0, 1919},
        {"another to the right", full, 28, {{1920, 0, 1280, 1024}}, 28, 0, 1919},
        {"main one on the right", {1280, 0, 1920, 1080}, 28, {{0, 0, 1280, 1024}}, 28, 1280, 3199},
        {"lower than its neighbour", {1280, 200, 1920, 1080}, 28, {{0, 0, 1280, 1024}}, 228, 1280, 3199},
        {"another below", full, 28, {{0, 1080, 1920, 1080}}, 28, 0, 1919},
        {"another above", {0, 1080, 1920, 1080}, 28, {full}, 0, 0, 0},
        {"half of another above", {960, 1080, 1920, 1080}, 28, {full}, 0, 0, 0},
        {"the same picture twice", full, 28, {full}, 28, 0, 1919},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const std::array<std::uint32_t, 12> expected{0, 0, row.top, 0, 0, 0, 0, 0, row.from, row.to, 0, 0};
        EXPECT_EQ(barStrut(row.monitor, row.height, row.others), expected);
    }
}

} // namespace
