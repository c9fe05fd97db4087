#include "Platforms/Qt/QtAlerts.hpp"
#include "Tests/Views/ViewTests.hpp"
#include "ZorbelKit/Controls/Buttons.hpp"

#include <QAccessible>
#include <QApplication>
#include <QMenu>
#include <QScreen>
#include <QTest>
#include <QWindow>
#include <gtest/gtest.h>

#include <functional>
#include <optional>

namespace {

using namespace Views;
using QtPlatform::QtAlerts;
using ZorbelKit::Alert;
using ZorbelKit::BrassButton;

const Alert finished{"Session finished.", "Hushel is out of the way. Your apps are back.", "Thanks"};

class AlertsTest : public testing::Test {
protected:
    /// The alert on the screen; null where there is none.
    static QWidget* window() {
        for (QWidget* candidate : QApplication::topLevelWidgets()) {
            if (candidate->isVisible() && candidate->windowType() == Qt::Dialog) {
                return candidate;
            }
        }
        return nullptr;
    }

    QWidget& open(const Alert& alert = finished) {
        alerts->runModal(alert);
        settle();
        QWidget* opened = window();
        if (!opened) {
            throw std::runtime_error("no alert");
        }
        return *opened;
    }

    std::optional<QtAlerts> alerts{std::in_place};
};

TEST_F(AlertsTest, SaysItsTextsWithOneButtonThatHasTheKeyboard) {
    QWidget& alert = open();
    EXPECT_EQ(visibleTexts(alert),
              (QStringList{"Session finished.", "Hushel is out of the way. Your apps are back."}));
    const auto buttons = parts<QAbstractButton>(alert);
    ASSERT_EQ(buttons.size(), 1U);
    EXPECT_EQ(buttons.front()->text(), "Thanks");
    EXPECT_TRUE(buttons.front()->hasFocus());
    EXPECT_EQ(QApplication::activeWindow(), &alert);
    savePicture(alert, "alert");
}

TEST_F(AlertsTest, LiesAboveAllInTheMiddleOfTheMainScreen) {
    const QWidget& alert = open();
    EXPECT_TRUE(alert.windowFlags() & Qt::WindowStaysOnTopHint);
    const QPoint off =
        alert.geometry().center() - QApplication::primaryScreen()->availableGeometry().center();
    EXPECT_LE(off.manhattanLength(), 2);
}

TEST_F(AlertsTest, IsAnAlertToScreenReaders) {
    QWidget& alert = open();
    QAccessibleInterface& spoken = *QAccessible::queryAccessibleInterface(&alert);
    EXPECT_EQ(spoken.role(), QAccessible::AlertMessage);
    EXPECT_EQ(spoken.text(QAccessible::Name), "Session finished.");
    EXPECT_EQ(spoken.text(QAccessible::Description), "Hushel is out of the way. Your apps are back.");
    EXPECT_EQ(QAccessible::queryAccessibleInterface(button(alert, "Thanks"))->role(), QAccessible::Button);
}

TEST_F(AlertsTest, EachWayToAnswerClosesIt) {
    const struct {
        const char* name;
        std::function<void(QWidget&)> answer;
    } rows[] = {
        {"Return", [](QWidget& alert) { QTest::keyClick(alert.focusWidget(), Qt::Key_Return); }},
        {"Enter", [](QWidget& alert) { QTest::keyClick(alert.focusWidget(), Qt::Key_Enter); }},
        {"Escape", [](QWidget& alert) { QTest::keyClick(alert.focusWidget(), Qt::Key_Escape); }},
        {"Space", [](QWidget& alert) { QTest::keyClick(alert.focusWidget(), Qt::Key_Space); }},
        {"Space beside the button", [](QWidget& alert) { QTest::keyClick(&alert, Qt::Key_Space); }},
        {"the button", [](QWidget& alert) { QTest::mouseClick(button(alert, "Thanks"), Qt::LeftButton); }},
        {"the window manager", [](QWidget& alert) { alert.close(); }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        row.answer(open());
        settle();
        EXPECT_EQ(window(), nullptr);
    }
}

TEST_F(AlertsTest, AKeyThatIsHeldDownIsNoAnswer) {
    QWidget& alert = open();
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Escape, Qt::Key_Space}) {
        QKeyEvent repeated(QEvent::KeyPress, key, Qt::NoModifier, QString(), /*autorep=*/true);
        QApplication::sendEvent(alert.focusWidget(), &repeated);
        settle();
        EXPECT_TRUE(alert.isVisible());
    }
    QTest::keyClick(alert.focusWidget(), Qt::Key_A);
    QTest::mouseClick(&alert, Qt::LeftButton, {}, {5, 5});
    settle();
    EXPECT_TRUE(alert.isVisible());
}

TEST_F(AlertsTest, OthersWaitForTheirTurn) {
    QWidget& alert = open({"First", "one", "Good"});
    alerts->runModal({"Second", "", "Fine"});
    alerts->runModal({"Third", "three", "So"});
    settle();
    EXPECT_EQ(visibleTexts(alert), (QStringList{"First", "one"}));
    QTest::keyClick(alert.focusWidget(), Qt::Key_Return);
    settle();
    ASSERT_EQ(window(), &alert);
    EXPECT_EQ(visibleTexts(alert), QStringList{"Second"});
    EXPECT_EQ(parts<QAbstractButton>(alert).front()->text(), "Fine");
    EXPECT_EQ(alert.accessibleName(), "Second");
    QTest::keyClick(alert.focusWidget(), Qt::Key_Escape);
    settle();
    EXPECT_EQ(visibleTexts(*window()), (QStringList{"Third", "three"}));
    window()->close();
    settle();
    EXPECT_EQ(window(), nullptr);
    EXPECT_EQ(visibleTexts(open()).front(), "Session finished.") << "and it can be used again";
}

TEST_F(AlertsTest, TheWindowInFrontWaitsAndNoOtherDoes) {
    QWidget dashboard;
    QWidget bar(nullptr, Qt::Tool);
    auto* inDashboard = new BrassButton("Press", &dashboard);
    auto* inBar = new BrassButton("Press", &bar);
    show(bar, {200, 60});
    show(dashboard, {200, 60});
    dashboard.activateWindow();
    settle();
    QWidget& alert = open();
    EXPECT_EQ(alert.windowModality(), Qt::WindowModal);
    EXPECT_EQ(alert.windowHandle()->transientParent(), dashboard.windowHandle());
    int pressed = 0;
    int barPressed = 0;
    QObject::connect(inDashboard, &QAbstractButton::clicked, inDashboard, [&] { ++pressed; });
    QObject::connect(inBar, &QAbstractButton::clicked, inBar, [&] { ++barPressed; });
    QTest::mouseClick(dashboard.windowHandle(), Qt::LeftButton, {}, {10, 10});
    QTest::mouseClick(bar.windowHandle(), Qt::LeftButton, {}, {10, 10});
    EXPECT_EQ(pressed, 0);
    EXPECT_EQ(barPressed, 1);
    alert.close();
    settle();
    QTest::mouseClick(dashboard.windowHandle(), Qt::LeftButton, {}, {10, 10});
    EXPECT_EQ(pressed, 1);
}

TEST_F(AlertsTest, WithoutAWindowOfOursNothingWaits) {
    const QWidget& alert = open();
    EXPECT_EQ(alert.windowModality(), Qt::NonModal);
    EXPECT_EQ(alert.windowHandle()->transientParent(), nullptr);
}

TEST_F(AlertsTest, TheWindowThatWaitsMayGo) {
    auto dashboard = std::make_unique<QWidget>();
    show(*dashboard, {200, 60});
    dashboard->activateWindow();
    settle();
    QWidget& alert = open();
    dashboard.reset();
    settle();
    EXPECT_TRUE(alert.isVisible());
    QTest::keyClick(alert.focusWidget(), Qt::Key_Return);
    settle();
    EXPECT_EQ(window(), nullptr);
}

TEST_F(AlertsTest, APopupThatHoldsTheKeyboardIsClosed) {
    QMenu menu;
    menu.addAction("An action");
    menu.popup({10, 10});
    settle();
    ASSERT_TRUE(menu.isVisible());
    QWidget& alert = open();
    EXPECT_FALSE(menu.isVisible());
    EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
    EXPECT_TRUE(alert.isVisible());
}

TEST_F(AlertsTest, LongTextsAreShownWhole) {
    const QWidget& small = open();
    const int height = small.height();
    alerts.emplace();
    std::string longText;
    for (int word = 0; word < 60; ++word) {
        longText += "word <b>" + std::to_string(word) + "</b> ";
    }
    QWidget& alert = open({longText, longText, "Thanks"});
    EXPECT_GT(alert.height(), 2 * height);
    EXPECT_EQ(alert.width(), 400);
    for (const QLabel* line : parts<QLabel>(alert)) {
        EXPECT_GE(line->height(), line->heightForWidth(line->width()));
    }
    savePicture(alert, "alert-long");
}

TEST_F(AlertsTest, TheEndClosesIt) {
    open();
    alerts->runModal(finished);
    alerts.reset();
    settle();
    EXPECT_EQ(window(), nullptr);
}

} // namespace
