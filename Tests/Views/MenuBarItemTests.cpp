#include "Platforms/Linux/MenuBar/MenuBarWindow.hpp"
#include "Platforms/Linux/MenuBar/StatusNotifierItem.hpp"
#include "Tests/Views/ViewTests.hpp"
#include "ZorbelKit/Surfaces/ChaiGlassRenderer.hpp"
#include "ZorbelKit/Surfaces/PainterCanvas.hpp"

#include <QImage>
#include <QTest>
#include <gtest/gtest.h>

namespace {

using namespace Views;
using Linux::MenuBarItem;
using ZorbelKit::ClickButton;
using ZorbelKit::ChaiGlassRenderer::statusImage;

TEST(MenuBarItem, TellsLeftAndRightApartOnRelease) {
    MenuBarItem item(nullptr);
    std::vector<ClickButton> clicks;
    item.onClick([&](ClickButton button) { clicks.push_back(button); });
    show(item, {28, 28});
    QTest::mousePress(&item, Qt::LeftButton);
    EXPECT_TRUE(clicks.empty());
    QTest::mouseRelease(&item, Qt::LeftButton);
    EXPECT_EQ(clicks, std::vector{ClickButton::left});
    QTest::mouseClick(&item, Qt::RightButton);
    EXPECT_EQ(clicks, (std::vector{ClickButton::left, ClickButton::right}));
    QTest::mouseClick(&item, Qt::MiddleButton);
    EXPECT_EQ(clicks.size(), 2u);
}

TEST(MenuBarItem, AReleaseElsewhereIsNoClick) {
    MenuBarItem item(nullptr);
    int clicks = 0;
    item.onClick([&](ClickButton) { ++clicks; });
    show(item, {28, 28});
    QTest::mousePress(&item, Qt::LeftButton);
    QTest::mouseRelease(&item, Qt::LeftButton, {}, {60, 60});
    EXPECT_EQ(clicks, 0);
}

TEST(MenuBarItem, RepaintsOnlyForAPictureThatDiffers) {
    MenuBarItem item(nullptr);
    show(item, {28, 28});
    item.setImage(statusImage(0, 0, 18));
    settle();
    PaintCounter paints(item);
    item.setImage(statusImage(0, 0, 18));
    item.setImage(statusImage(0, 2, 18)); // another phase looks the same at rest
    settle();
    EXPECT_EQ(paints.all(), 0);
    item.setImage(statusImage(0.75, 2, 18));
    settle();
    EXPECT_EQ(paints.all(), 1);
}

TEST(MenuBarItem, PicturesOfTheGlass) {
    for (const double steam : {0.0, 0.15, 0.75, 1.0}) {
        MenuBarItem item(nullptr);
        item.setAutoFillBackground(true);
        show(item, {28, 28});
        item.setImage(statusImage(steam, 1.2, 18));
        settle();
        savePicture(item, QStringLiteral("glass-%1").arg(steam));
    }
    const QImage large = rendered(statusImage(0.75, 1.2, 128), 2, QColor(Qt::white));
    EXPECT_EQ(large.size(), QSize(256, 256));
    EXPECT_EQ(large.devicePixelRatio(), 2);
}

TEST(IconPixmap, IsAlphaRedGreenBlueInMemory) {
    QImage image(2, 1, QImage::Format_ARGB32);
    image.setPixel(0, 0, 0xFF008040);
    image.setPixel(1, 0, 0x80FFFFFF);
    const auto pixmap = Linux::iconPixmap(image);
    EXPECT_EQ(pixmap.width, 2);
    EXPECT_EQ(pixmap.height, 1);
    EXPECT_EQ(pixmap.bytes, QByteArray("\xFF\x00\x80\x40\x80\xFF\xFF\xFF", 8)) << "not premultiplied";
}

} // namespace
