#include "Platforms/Linux/MenuBar/MenuBarItem.hpp"
#include "Platforms/Linux/MenuBar/MenuBarWindow.hpp"
#include "Platforms/Simulated/SimulatedDefaults.hpp"
#include "Platforms/Simulated/SimulatedMainLoop.hpp"
#include "Tests/Views/ViewTests.hpp"
#include "ZorbelKit/Surfaces/ChaiGlassRenderer.hpp"
#include "ZorbelKit/Surfaces/PainterCanvas.hpp"

#include <QCoreApplication>
#include <QImage>
#include <QMouseEvent>
#include <QTest>
#include <gtest/gtest.h>

namespace {

using namespace Views;
using Linux::MenuBarItem;
using Linux::MenuBarWindow;
using ZorbelKit::ClickButton;
using ZorbelKit::StatusBar;
using ZorbelKit::StatusItemKind;
using ZorbelKit::ChaiGlassRenderer::statusImage;

/// The bar, 600 points wide.
class MenuBarItemTest : public testing::Test {
protected:
    MenuBarItemTest() {
        bar.setFixedSize(600, MenuBarWindow::barHeight);
        bar.show();
        settle();
    }

    MenuBarItem& add(const std::string& name, StatusItemKind kind = StatusItemKind::button,
                     double length = StatusBar::squareLength) {
        return bar.add<MenuBarItem>(kind, length, "own:" + name, kind);
    }

    MenuBarItem& addDivider() {
        auto& divider = add("divider", StatusItemKind::divider, 22);
        divider.setImage(statusImage(0, 0, 12));
        return divider;
    }

    Simulated::SimulatedMainLoop loop;
    Simulated::SimulatedDefaults defaults;
    MenuBarWindow bar{loop, defaults};
};

TEST_F(MenuBarItemTest, TellsLeftAndRightApartOnRelease) {
    MenuBarItem& item = add("glass");
    std::vector<ClickButton> clicks;
    item.onClick([&](ClickButton button) { clicks.push_back(button); });
    QTest::mousePress(&item, Qt::LeftButton);
    EXPECT_TRUE(clicks.empty());
    QTest::mouseRelease(&item, Qt::LeftButton);
    EXPECT_EQ(clicks, std::vector{ClickButton::left});
    QTest::mouseClick(&item, Qt::RightButton);
    EXPECT_EQ(clicks, (std::vector{ClickButton::left, ClickButton::right}));
    QTest::mouseClick(&item, Qt::MiddleButton);
    EXPECT_EQ(clicks.size(), 2u);
}

TEST_F(MenuBarItemTest, AReleaseElsewhereIsNoClick) {
    MenuBarItem& item = add("glass");
    int clicks = 0;
    item.onClick([&](ClickButton) { ++clicks; });
    QTest::mousePress(&item, Qt::LeftButton);
    QTest::mouseRelease(&item, Qt::LeftButton, {}, {60, 60});
    EXPECT_EQ(clicks, 0);
}

TEST_F(MenuBarItemTest, RepaintsOnlyForAPictureThatDiffers) {
    MenuBarItem& item = add("glass");
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

TEST_F(MenuBarItemTest, AWideDividerFillsTheBarAndHidesWhatIsLeftOfIt) {
    MenuBarItem& glass = add("glass");
    MenuBarItem& divider = addDivider();
    MenuBarItem& other =
        bar.add<MenuBarItem>(StatusItemKind::button, 28, "sni:other", StatusItemKind::button);
    EXPECT_EQ(glass.geometry(), QRect(562, 0, 28, 28));
    EXPECT_EQ(divider.geometry(), QRect(540, 0, 22, 28));
    EXPECT_EQ(other.geometry(), QRect(512, 0, 28, 28));

    bar.setLength(divider, 10000);
    EXPECT_EQ(divider.geometry(), QRect(0, 0, 562, 28));
    EXPECT_TRUE(other.isHidden());
    EXPECT_FALSE(glass.isHidden());
    settle();
    savePicture(bar, "bar-divider-wide");

    int clicks = 0;
    divider.onClick([&](ClickButton) { ++clicks; });
    QTest::mouseClick(&divider, Qt::LeftButton, {}, {20, 14}); // far from what is drawn of it
    EXPECT_EQ(clicks, 1);

    bar.setLength(divider, 22);
    EXPECT_EQ(other.geometry(), QRect(512, 0, 28, 28));
    EXPECT_FALSE(other.isHidden());
}

TEST_F(MenuBarItemTest, ADragReordersAndNeverClicks) {
    MenuBarItem& glass = add("glass");
    MenuBarItem& divider = addDivider();
    MenuBarItem& other =
        bar.add<MenuBarItem>(StatusItemKind::button, 28, "sni:other", StatusItemKind::button);
    int clicks = 0;
    other.onClick([&](ClickButton) { ++clicks; });
    settle();
    QTest::mousePress(&other, Qt::LeftButton, Qt::ControlModifier, {14, 14});
    // Past the divider's middle, as the pointer's events say it: relative to the cell, wherever that is now.
    const auto moveTo = [&](int x) {
        QTest::mouseMove(&other, other.mapFrom(&bar, QPoint(x, 14)));
        QMouseEvent move(QEvent::MouseMove, other.mapFrom(&bar, QPointF(x, 14)),
                         bar.mapToGlobal(QPointF(x, 14)), Qt::NoButton, Qt::LeftButton, Qt::ControlModifier);
        QCoreApplication::sendEvent(&other, &move);
    };
    moveTo(556);
    EXPECT_EQ(divider.x(), 512) << "the divider has made room";
    savePicture(bar, "bar-dragging");
    QTest::mouseRelease(&other, Qt::LeftButton, Qt::ControlModifier, other.mapFrom(&bar, QPoint(556, 14)));
    EXPECT_EQ(other.geometry(), QRect(534, 0, 28, 28));
    EXPECT_EQ(divider.geometry(), QRect(512, 0, 22, 28));
    EXPECT_EQ(glass.geometry(), QRect(562, 0, 28, 28));
    EXPECT_EQ(clicks, 0);
    EXPECT_EQ(defaults.string("menubar.order"), R"(["own:glass","sni:other","own:divider"])");
}

TEST_F(MenuBarItemTest, ATremblingHandWithCtrlNeitherDragsNorClicks) {
    MenuBarItem& glass = add("glass");
    int clicks = 0;
    glass.onClick([&](ClickButton) { ++clicks; });
    QTest::mouseClick(&glass, Qt::LeftButton, Qt::ControlModifier);
    QTest::mouseClick(&glass, Qt::LeftButton, Qt::MetaModifier);
    EXPECT_EQ(clicks, 0);
    EXPECT_FALSE(defaults.string("menubar.order"));
}

TEST_F(MenuBarItemTest, AnItemThatGoesInTheMiddleOfItsDragEndsIt) {
    add("glass");
    MenuBarItem& other =
        bar.add<MenuBarItem>(StatusItemKind::button, 28, "sni:other", StatusItemKind::button);
    bar.beginDrag("sni:other", bar.mapToGlobal(QPoint(550, 14)));
    bar.dragTo(bar.mapToGlobal(QPoint(300, 14)));
    bar.remove(other);
    EXPECT_FALSE(bar.isDragging());
    bar.dragTo(bar.mapToGlobal(QPoint(200, 14)));
    bar.endDrag(true);
    EXPECT_FALSE(defaults.string("menubar.order"));
}

TEST_F(MenuBarItemTest, WhatOtherProgramsChangeIsShownOnceAFrame) {
    MenuBarItem& other =
        bar.add<MenuBarItem>(StatusItemKind::button, 28, "sni:other", StatusItemKind::button);
    settle();
    const QRect before = other.geometry();
    for (int change = 0; change < 1000; ++change) {
        bar.showSoon(other, 30 + change % 7);
    }
    EXPECT_EQ(other.geometry(), before) << "this frame is over";
    loop.advance(MenuBarWindow::frame);
    EXPECT_EQ(other.width(), 30 + 999 % 7);
    EXPECT_LE(loop.liveTimers(), 1);
    loop.advance(MenuBarWindow::frame);
    EXPECT_EQ(loop.liveTimers(), 0);
}

TEST_F(MenuBarItemTest, PicturesOfTheGlass) {
    MenuBarItem& item = add("glass");
    for (const double steam : {0.0, 0.15, 0.75, 1.0}) {
        item.setImage(statusImage(steam, 1.2, 18));
        settle();
        savePicture(bar, QStringLiteral("glass-%1").arg(steam));
    }
    const QImage large = rendered(statusImage(0.75, 1.2, 128), 2, QColor(Qt::white));
    EXPECT_EQ(large.size(), QSize(256, 256));
    EXPECT_EQ(large.devicePixelRatio(), 2);
}

} // namespace
