#include "Platforms/Qt/PopoverWidget.hpp"
#include "Platforms/Qt/QtPanels.hpp"
#include "Platforms/Simulated/SimulatedMainLoop.hpp"
#include "Tests/Views/ViewTests.hpp"
#include "ZorbelKit/Controls/Buttons.hpp"

#include <QMenu>
#include <QTest>
#include <QToolTip>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>

namespace {

using namespace Views;
using QtPlatform::PopoverWidget;
using QtPlatform::QtPanels;
using ZorbelKit::AnyView;
using ZorbelKit::BrassButton;
using ZorbelKit::Seconds;

constexpr Seconds longEnough{0.5};

class Panels : public testing::Test {
protected:
    /// A popover with one button, on the screen.
    std::unique_ptr<PopoverWidget> openPopover(std::function<void()> pressed = [] {}) {
        auto popover = std::make_unique<PopoverWidget>(
            QSize(328, 420), AnyView([pressed = std::move(pressed)](QWidget* parent) -> QWidget* {
                auto* view = new QWidget(parent);
                auto* button = new BrassButton("Screen", view);
                QObject::connect(button, &QAbstractButton::clicked, button, pressed);
                return view;
            }),
            [] { return false; });
        popover->showAt(std::nullopt);
        settle();
        EXPECT_TRUE(popover->isVisible());
        return popover;
    }

    Simulated::SimulatedMainLoop loop;
    std::optional<QtPanels> panels{loop};
    int calls = 0;
};

TEST_F(Panels, NothingIsWaitedForWhereNothingIsOpen) {
    panels->putAway([&] { ++calls; });
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(loop.liveTimers(), 0);
}

TEST_F(Panels, ThePopoverIsGoneBeforeItIsSaidToBe) {
    const auto popover = openPopover();
    int closes = 0;
    popover->setClosed([&] { ++closes; });
    panels->putAway([&] { ++calls; });
    EXPECT_FALSE(popover->isVisible());
    EXPECT_EQ(closes, 1);
    EXPECT_EQ(calls, 0) << "the screen still shows it";
    loop.advance(longEnough);
    EXPECT_EQ(calls, 1);
    loop.advance(longEnough);
    EXPECT_EQ(calls, 1);
}

TEST_F(Panels, WhoAsksWhileItGoesWaitsToo) {
    const auto popover = openPopover();
    std::string order;
    panels->putAway([&] { order += "first "; });
    panels->putAway([&] { order += "second"; });
    EXPECT_EQ(order, "");
    loop.advance(longEnough);
    EXPECT_EQ(order, "first second");
    panels->putAway([&] { ++calls; });
    EXPECT_EQ(calls, 1) << "all is over";
}

TEST_F(Panels, WhatIsCalledThenMayAskAgain) {
    const auto popover = openPopover();
    panels->putAway([&] { panels->putAway([&] { ++calls; }); });
    loop.advance(longEnough);
    EXPECT_EQ(calls, 1);
}

TEST_F(Panels, TheButtonThatWasPressedOutlivesItsPopover) {
    const auto popover = openPopover([&] { panels->putAway([&] { ++calls; }); });
    QAbstractButton* pressed = button(*popover, "Screen");
    ASSERT_NE(pressed, nullptr);
    QTest::mouseClick(pressed, Qt::LeftButton);
    EXPECT_FALSE(popover->isVisible());
    EXPECT_FALSE(pressed->isDown());
    loop.advance(longEnough);
    EXPECT_EQ(calls, 1);
    popover->showAt(std::nullopt);
    settle();
    QTest::mouseClick(pressed, Qt::LeftButton);
    loop.advance(longEnough);
    EXPECT_EQ(calls, 2) << "and works when it comes back";
}

TEST_F(Panels, MenusGoToo) {
    QMenu menu;
    menu.addAction("An action");
    menu.popup({10, 10});
    settle();
    ASSERT_TRUE(menu.isVisible());
    panels->putAway([&] { ++calls; });
    EXPECT_FALSE(menu.isVisible());
    EXPECT_EQ(calls, 0);
    loop.advance(longEnough);
    EXPECT_EQ(calls, 1);
}

TEST_F(Panels, ToolTipsGoToo) {
    QWidget window;
    show(window, {400, 300});
    QToolTip::showText(window.mapToGlobal(QPoint(100, 100)), "A tip", &window);
    ASSERT_TRUE(QToolTip::isVisible());
    panels->putAway([&] { ++calls; });
    EXPECT_FALSE(QToolTip::isVisible());
    EXPECT_EQ(calls, 0);
    loop.advance(longEnough);
    EXPECT_EQ(calls, 1);
}

TEST_F(Panels, OneThatIsDeletedWhenAnotherGoesIsNoHarm) {
    const auto first = openPopover();
    auto second = openPopover();
    auto third = openPopover();
    first->setClosed([&] { second.reset(), third.reset(); });
    second->setClosed([&] { third.reset(); });
    panels->putAway([&] { ++calls; });
    loop.advance(longEnough);
    EXPECT_EQ(calls, 1);
    EXPECT_FALSE(first->isVisible());
}

TEST_F(Panels, WindowsStay) {
    QWidget window;
    show(window, {400, 300});
    panels->putAway([&] { ++calls; });
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(window.isVisible());
}

TEST_F(Panels, NobodyIsCalledAfterTheEnd) {
    const auto popover = openPopover();
    panels->putAway([&] { ++calls; });
    panels.reset();
    loop.advance(longEnough);
    EXPECT_EQ(calls, 0);
}

} // namespace
