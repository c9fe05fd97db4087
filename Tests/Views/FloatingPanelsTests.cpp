#include "Platforms/Qt/QtFloatingPanels.hpp"
#include "Platforms/Qt/ScreenSpace.hpp"
#include "Tests/Views/ViewTests.hpp"
#include "ZorbelKit/Controls/Buttons.hpp"

#include <QApplication>
#include <QCloseEvent>
#include <QPointer>
#include <QScreen>
#include <QTest>
#include <QWindow>
#include <gtest/gtest.h>

#include <QtTest/qtestspontaneevent.h>
#include <memory>

namespace {

using namespace Views;
using QtPlatform::QtFloatingPanels;
using ZorbelKit::AnyView;
using ZorbelKit::BrassButton;
using ZorbelKit::FloatingPanel;

class FloatingPanels : public testing::Test {
protected:
    std::unique_ptr<FloatingPanel> make(
        std::function<void()> pressed = [] {}, bool canBecomeKey = true) {
        return panels.make({.title = "A panel", .size = {340, 128}, .canBecomeKey = canBecomeKey},
                           AnyView([this, pressed = std::move(pressed)](QWidget* parent) -> QWidget* {
                               content = new QWidget(parent);
                               auto* button = new BrassButton("Clear", content);
                               QObject::connect(button, &QAbstractButton::clicked, button, pressed);
                               return content;
                           }));
    }

    QtFloatingPanels panels{[this](QWidget& panel) {
        widget = &panel;
        wasPreparedBeforeItWasShown = !panel.isVisible() && panel.internalWinId() != 0;
    }};
    QPointer<QWidget> widget;
    QPointer<QWidget> content;
    bool wasPreparedBeforeItWasShown = false;
};

TEST_F(FloatingPanels, IsPreparedWithAWindowAndNotShownYet) {
    const auto panel = make();
    EXPECT_TRUE(wasPreparedBeforeItWasShown);
    EXPECT_FALSE(widget->isVisible());
    EXPECT_EQ(widget->accessibleName(), "A panel");
    EXPECT_EQ(widget->windowTitle(), "A panel");
}

TEST_F(FloatingPanels, TheContentFillsItWithNoFrame) {
    const auto panel = make();
    panel->orderFrontRegardless();
    settle();
    EXPECT_TRUE(widget->windowFlags().testFlag(Qt::FramelessWindowHint));
    EXPECT_TRUE(widget->windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    EXPECT_EQ(widget->size(), QSize(340, 128));
    EXPECT_EQ(content->geometry(), QRect(0, 0, 340, 128));
    savePicture(*widget, "floating-panel");
}

TEST_F(FloatingPanels, AsksNotToBeActivatedWhenItIsShown) {
    const auto panel = make();
    EXPECT_TRUE(widget->testAttribute(Qt::WA_ShowWithoutActivating));
    panel->orderFrontRegardless();
    settle();
    EXPECT_TRUE(widget->isVisible());
    QWidget worked; // this platform activates whatever it shows, and nothing that it raises
    show(worked, {200, 100});
    ASSERT_EQ(QApplication::activeWindow(), &worked);
    panel->orderFrontRegardless();
    settle();
    EXPECT_EQ(QApplication::activeWindow(), &worked);
}

TEST_F(FloatingPanels, AClickTakesTheKeyboardWhereItMay) {
    for (const bool canBecomeKey : {true, false}) {
        SCOPED_TRACE(canBecomeKey);
        const auto panel = make([] {}, canBecomeKey);
        panel->orderFrontRegardless();
        settle();
        QWidget worked;
        show(worked, {200, 100});
        EXPECT_EQ(widget->windowFlags().testFlag(Qt::WindowDoesNotAcceptFocus), !canBecomeKey);
        QTest::mousePress(widget->windowHandle(), Qt::LeftButton, {}, {300, 100});
        EXPECT_EQ(QApplication::activeWindow(), &worked) << "a drag may begin";
        QTest::mouseRelease(widget->windowHandle(), Qt::LeftButton, {}, {300, 100});
        settle();
        EXPECT_EQ(QApplication::activeWindow(), canBecomeKey ? widget.data() : &worked);
    }
}

TEST_F(FloatingPanels, TheOriginIsTheLowerLeftCorner) {
    const QRect screen = QGuiApplication::primaryScreen()->geometry();
    const auto panel = make();
    panel->setOrigin({30, 40});
    panel->orderFrontRegardless();
    settle();
    EXPECT_EQ(widget->pos(), QPoint(30, screen.height() - 40 - 128));
    EXPECT_EQ(QtPlatform::toScreenSpace(widget->geometry()), (ZorbelKit::Rect{30, 40, 340, 128}));
    const double middle = screen.width() / 2.0 - 170;
    panel->setOrigin({middle, screen.height() - 130.0});
    settle();
    EXPECT_EQ(widget->geometry().y(), 2);
    EXPECT_EQ(widget->geometry().center().x(), screen.center().x());
}

TEST_F(FloatingPanels, OneThatNoScreenShowsComesBack) {
    const QRect screen = QGuiApplication::primaryScreen()->geometry();
    const struct {
        const char* name;
        ZorbelKit::Point origin;
    } rows[]{{"left", {-2000, 100}}, {"right", {5000, 100}}, {"above", {100, 5000}}, {"below", {100, -3000}}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto panel = make();
        panel->setOrigin(row.origin);
        panel->orderFrontRegardless();
        settle();
        EXPECT_TRUE(screen.contains(widget->geometry()));
    }
}

TEST_F(FloatingPanels, OneThatIsSeenInPartStays) {
    const auto panel = make();
    panel->setOrigin({-300, 100});
    panel->orderFrontRegardless();
    settle();
    EXPECT_EQ(widget->x(), -300);
}

TEST_F(FloatingPanels, OrderedOutItCanComeBack) {
    const auto panel = make();
    panel->setOrigin({30, 40});
    panel->orderFrontRegardless();
    settle();
    const QPoint place = widget->pos();
    panel->orderOut();
    EXPECT_FALSE(widget->isVisible());
    panel->orderFrontRegardless();
    settle();
    EXPECT_TRUE(widget->isVisible());
    EXPECT_EQ(widget->pos(), place);
}

TEST_F(FloatingPanels, TheUserCannotCloseIt) {
    const auto panel = make();
    panel->orderFrontRegardless();
    settle();
    QCloseEvent byTheManager;
    QSpontaneKeyEvent::setSpontaneous(&byTheManager);
    qApp->notify(widget, &byTheManager);
    EXPECT_FALSE(byTheManager.isAccepted());
    QCloseEvent byTheProgram;
    QApplication::sendEvent(widget, &byTheProgram);
    EXPECT_TRUE(byTheProgram.isAccepted()) << "or it could not end";
}

TEST_F(FloatingPanels, DestroyedItIsGone) {
    auto panel = make();
    panel->orderFrontRegardless();
    settle();
    panel.reset();
    EXPECT_TRUE(!widget || !widget->isVisible());
    settle();
    EXPECT_EQ(widget, nullptr);
}

TEST_F(FloatingPanels, ItsOwnButtonMayCloseIt) {
    std::unique_ptr<FloatingPanel> panel;
    panel = make([&] { panel.reset(); });
    panel->orderFrontRegardless();
    settle();
    QTest::mouseClick(button(*widget, "Clear"), Qt::LeftButton);
    EXPECT_EQ(panel, nullptr);
    settle();
    EXPECT_EQ(widget, nullptr);
}

TEST_F(FloatingPanels, OneThatWaitsForTheLoopGoesWithItsMaker) {
    QPointer<QWidget> left;
    {
        QtFloatingPanels others([&](QWidget& panel) { left = &panel; });
        auto panel = others.make({.title = "Left", .size = {340, 128}}, AnyView());
        panel.reset();
        EXPECT_NE(left, nullptr);
    }
    EXPECT_EQ(left, nullptr);
}

} // namespace
