#include "Platforms/Qt/PopoverWidget.hpp"
#include "Platforms/Qt/QtShellWindows.hpp"
#include "Platforms/Qt/ScreenSpace.hpp"
#include "Tests/Views/ViewTests.hpp"
#include "ZorbelKit/Controls/Buttons.hpp"

#include <QAccessible>
#include <QApplication>
#include <QScreen>
#include <QTest>
#include <gtest/gtest.h>

namespace {

using namespace Views;
using QtPlatform::PopoverWidget;
using ZorbelKit::AnyView;
using ZorbelKit::BrassButton;
using ZorbelKit::Rect;

/// A view that counts how often it was built.
AnyView counted(int& builds) {
    return AnyView([&builds](QWidget* parent) -> QWidget* {
        ++builds;
        auto* view = new QWidget(parent);
        new BrassButton("Open Zorbel", view);
        return view;
    });
}

Rect atTop(double x) {
    return QtPlatform::toScreenSpace(QRectF(x, 0, 28, 28));
}

TEST(Popover, BuildsItsContentWithTheFirstOpeningAndKeepsIt) {
    int builds = 0;
    PopoverWidget popover({328, 420}, counted(builds), [] { return false; });
    EXPECT_EQ(builds, 0);
    popover.showAt(atTop(700));
    settle();
    EXPECT_TRUE(popover.isVisible());
    popover.close();
    popover.showAt(atTop(700));
    settle();
    EXPECT_EQ(builds, 1);
    const auto* content = button(popover, "Open Zorbel")->parentWidget();
    EXPECT_EQ(content->size(), QSize(328, 420));
}

TEST(Popover, EscapeClosesItAndTellsOnce) {
    int builds = 0;
    int closes = 0;
    PopoverWidget popover({328, 420}, counted(builds), [] { return false; });
    popover.setClosed([&] { ++closes; });
    popover.showAt(atTop(700));
    settle();
    QTest::keyClick(&popover, Qt::Key_Escape);
    settle();
    EXPECT_FALSE(popover.isVisible());
    EXPECT_EQ(closes, 1);
}

TEST(Popover, TheTabKeyGoesThroughItAsItReadsAndRound) {
    QWidget* upper = nullptr;
    PopoverWidget popover({328, 420}, AnyView([&](QWidget* parent) -> QWidget* {
                              auto* view = new QWidget(parent);
                              upper = new QWidget(view);
                              new BrassButton("Open Zorbel", view);
                              auto* disabled = new BrassButton("Not now", view);
                              disabled->setEnabled(false);
                              new BrassButton("Quit", view);
                              return view;
                          }),
                          [] { return false; });
    popover.showAt(atTop(700));
    auto* late = new QWidget; // made last, and made elsewhere
    new BrassButton("First", late);
    late->setParent(upper);
    late->show();
    settle();
    const auto names = [&](Qt::Key key, int count) {
        QStringList visited;
        for (int index = 0; index < count; ++index) {
            QTest::keyClick(popover.focusWidget(), key);
            visited << popover.focusWidget()->accessibleName();
        }
        return visited.join(", ").toStdString();
    };
    popover.setFocus();
    EXPECT_EQ(names(Qt::Key_Tab, 4), "First, Open Zorbel, Quit, First");
    EXPECT_EQ(names(Qt::Key_Backtab, 3), "Quit, Open Zorbel, First");
}

TEST(Popover, LiesWholeOnItsScreenWhereverItHangs) {
    int builds = 0;
    const QRect screen = QGuiApplication::primaryScreen()->geometry();
    PopoverWidget popover({328, 420}, counted(builds), [] { return true; });
    for (const double x : {0.0, 300.0, screen.width() - 28.0, screen.width() + 200.0}) {
        SCOPED_TRACE(x);
        popover.showAt(atTop(x));
        settle();
        EXPECT_TRUE(screen.contains(popover.geometry()));
        popover.close();
    }
}

TEST(Popover, IsCutOutWhereTheDesktopCannotBlend) {
    int builds = 0;
    bool canBlend = false;
    PopoverWidget popover({328, 420}, counted(builds), [&] { return canBlend; });
    popover.showAt(atTop(400));
    settle();
    EXPECT_FALSE(popover.mask().isEmpty());
    EXPECT_FALSE(popover.mask().contains(QPoint(0, 0))) << "the corner belongs to what lies below";
    EXPECT_TRUE(popover.mask().contains(popover.rect().center()));
    popover.close();
    canBlend = true;
    popover.showAt(atTop(400));
    settle();
    EXPECT_TRUE(popover.mask().isEmpty());
}

TEST(Popover, AScreenReaderFindsItFromTheApplicationWhileItIsOpen) {
    int builds = 0;
    PopoverWidget popover({328, 420}, counted(builds), [] { return false; });
    const auto isListed = [&] {
        QAccessibleInterface* application = QAccessible::queryAccessibleInterface(qApp);
        for (int index = 0; index < application->childCount(); ++index) {
            if (application->child(index)->object() == &popover) {
                return application->indexOfChild(application->child(index)) == index;
            }
        }
        return false;
    };
    EXPECT_FALSE(isListed());
    popover.showAt(atTop(400));
    settle();
    EXPECT_TRUE(isListed());
    popover.close();
    EXPECT_FALSE(isListed());
}

TEST(ShellWindow, ClosingHidesItAndTheSameOneComesBack) {
    int builds = 0;
    QtPlatform::QtShellWindows windows([] { return false; });
    const auto window = windows.window({"Zorbel", {960, 640}, ZorbelKit::Size{840, 560}}, counted(builds));
    EXPECT_FALSE(window->isShown());
    EXPECT_EQ(builds, 0) << "built when it is first shown";
    window->showInFront();
    settle();
    EXPECT_TRUE(window->isShown());
    QWidget* widget = QApplication::activeWindow();
    ASSERT_NE(widget, nullptr);
    EXPECT_EQ(widget->size(), QSize(960, 640));
    EXPECT_EQ(widget->minimumSize(), QSize(840, 560));
    EXPECT_EQ(widget->windowTitle(), "Zorbel");
    widget->resize(900, 600);
    widget->move(30, 40);
    widget->close();
    settle();
    EXPECT_FALSE(window->isShown());
    window->showInFront();
    settle();
    EXPECT_TRUE(widget->isVisible());
    EXPECT_EQ(widget->size(), QSize(900, 600));
    EXPECT_EQ(widget->pos(), QPoint(30, 40));
    QTest::keyClick(widget, Qt::Key_Escape);
    EXPECT_FALSE(window->isShown());
    EXPECT_EQ(builds, 1);
}

} // namespace
