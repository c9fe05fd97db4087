#include "Platforms/Linux/MenuBar/IconPixmap.hpp"

#include <gtest/gtest.h>

#include <climits>

namespace {

using Linux::bestImage;
using Linux::iconPixmap;
using Linux::IconPixmap;
using Linux::image;
using Linux::isWhole;

IconPixmap blank(int width, int height) {
    return {width, height, QByteArray(static_cast<qsizetype>(width) * height * 4, '\x7f')};
}

TEST(IconPixmap, CarriesAlphaRedGreenBlueInThisOrder) {
    const QImage one = image({1, 1, QByteArray("\xff\x00\x80\x40", 4)});
    EXPECT_EQ(one.pixel(0, 0), qRgba(0, 128, 64, 255));
    EXPECT_EQ(iconPixmap(one).bytes, QByteArray("\xff\x00\x80\x40", 4));

    const QImage clear = image({1, 1, QByteArray("\x40\xff\x20\x10", 4)});
    EXPECT_EQ(clear.pixel(0, 0), qRgba(255, 32, 16, 64)) << "not premultiplied";
}

TEST(IconPixmap, ComesBackAsItWent) {
    QImage picture(3, 2, QImage::Format_ARGB32);
    for (int y = 0; y < 2; ++y) {
        for (int x = 0; x < 3; ++x) {
            picture.setPixel(x, y, qRgba(x * 80, y * 200, 255 - x, 100 + x * 50 + y));
        }
    }
    const IconPixmap pixmap = iconPixmap(picture);
    EXPECT_EQ(pixmap.width, 3);
    EXPECT_EQ(pixmap.height, 2);
    EXPECT_TRUE(isWhole(pixmap));
    EXPECT_EQ(image(pixmap), picture);
    EXPECT_EQ(image(iconPixmap(picture.convertToFormat(QImage::Format_RGB32))).pixel(2, 1) >> 24, 0xFFU);
    EXPECT_FALSE(isWhole(iconPixmap(QImage())));
}

TEST(IconPixmap, IsNothingWhereItsBytesAreNotWhatItsSizesPromise) {
    const int limit = IconPixmap::longestSide;
    const struct {
        const char* name;
        IconPixmap pixmap;
        bool isWhole;
    } rows[] = {
        {"nothing", {}, false},
        {"no size, as some send it", {0, 0, {}}, false},
        {"no bytes", {1, 1, {}}, false},
        {"one pixel", blank(1, 1), true},
        {"one byte short", {2, 2, QByteArray(15, 'x')}, false},
        {"one byte more", {2, 2, QByteArray(17, 'x')}, false},
        {"negative", {-1, -1, QByteArray(4, 'x')}, false},
        {"negative width", {-2, 2, QByteArray(16, 'x')}, false},
        {"no height", {4, 0, {}}, false},
        {"as large as may be", blank(limit, limit), true},
        {"one too wide", blank(limit + 1, 1), false},
        {"one too high", blank(1, limit + 1), false},
        {"as large as numbers go", {INT_MAX, INT_MAX, QByteArray(4, 'x')}, false},
        {"the product wraps to nothing", {65536, 65536, {}}, false},
        {"as small as numbers go", {INT_MIN, INT_MIN, {}}, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(isWhole(row.pixmap), row.isWhole);
        EXPECT_EQ(!image(row.pixmap).isNull(), row.isWhole);
    }
}

TEST(IconPixmap, OfSeveralTheSmallestThatIsLargeEnoughIsBest) {
    const QList<IconPixmap> usual{blank(32, 32), blank(48, 48), blank(64, 64), blank(96, 96),
                                  blank(128, 128)};
    const QList<IconPixmap> mixed{blank(64, 64), blank(16, 16), {22, 22, "short"}, blank(24, 24), {0, 0, {}}};
    const struct {
        const char* name;
        QList<IconPixmap> pixmaps;
        int side;
        QSize size;
    } rows[] = {
        {"none", {}, 22, {}},
        {"none whole", {{22, 22, "short"}, {0, 0, {}}}, 22, {}},
        {"smaller than all", usual, 22, {32, 32}},
        {"one that fits", usual, 48, {48, 48}},
        {"just past one", usual, 49, {64, 64}},
        {"larger than all", usual, 200, {128, 128}},
        {"in no order, some broken", mixed, 22, {24, 24}},
        {"in no order, small", mixed, 10, {16, 16}},
        {"in no order, large", mixed, 100, {64, 64}},
        {"too low to be large enough", {blank(100, 10), blank(30, 30)}, 22, {30, 30}},
        {"one too small", {blank(8, 8)}, 22, {8, 8}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(bestImage(row.pixmaps, row.side).size(), row.size.isEmpty() ? QSize(0, 0) : row.size);
    }
}

} // namespace
