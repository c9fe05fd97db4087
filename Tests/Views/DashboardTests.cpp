#include "Platforms/Simulated/SimulatedSuite.hpp"
#include "Tests/Views/ViewTests.hpp"
#include "Zorbel/Blend.hpp"
#include "Zorbel/DashboardView.hpp"
#include "Zorbel/SpiceDetail.hpp"
#include "Zorbel/SpiceList.hpp"
#include "ZorbelKit/Controls/Switch.hpp"
#include "ZorbelKit/Spice.hpp"
#include "ZorbelKit/Stall.hpp"

#include <QAccessible>
#include <QTest>
#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace Views;
using ZorbelKit::Seconds;
using ZorbelKit::Switch;

class DashboardTest : public ::testing::Test {
protected:
    QWidget& open() {
        stall = Zorbel::Blend::build(suite.host());
        dashboard.reset(Zorbel::dashboardView(*stall, suite.loop).build(nullptr));
        show(*dashboard, {960, 640});
        return *dashboard;
    }

    std::vector<Zorbel::SpiceRow*> rows() const {
        std::vector<Zorbel::SpiceRow*> found;
        for (auto* candidate : dashboard->findChildren<QAbstractButton*>()) {
            if (auto* row = dynamic_cast<Zorbel::SpiceRow*>(candidate)) {
                found.push_back(row);
            }
        }
        return found;
    }

    Zorbel::SpiceRow& row(std::string_view id) const {
        for (auto* candidate : rows()) {
            if (candidate->spice().id() == id) {
                return *candidate;
            }
        }
        throw std::runtime_error("no such row");
    }

    template <class Widget>
    Widget& part() const {
        for (auto* candidate : dashboard->findChildren<QWidget*>()) {
            if (auto* found = dynamic_cast<Widget*>(candidate)) {
                return *found;
            }
        }
        throw std::runtime_error("no such part");
    }

    void pick(std::string_view id) {
        QTest::mouseClick(&row(id), Qt::LeftButton);
        settle();
    }

    void steepFor(int seconds) {
        for (int second = 0; second < seconds; ++second) {
            const auto busy = static_cast<std::uint64_t>(3200 + 2000 * std::sin(second / 4.0));
            suite.statistics.work(second % 17 == 9 ? 8800 : busy, 10'000 - busy);
            suite.loop.advance(Seconds{1});
        }
        settle();
    }

    Simulated::SimulatedSuite suite;
    std::unique_ptr<ZorbelKit::Stall> stall;
    std::unique_ptr<QWidget> dashboard;
};

TEST_F(DashboardTest, ListsTheSpicesByWaveInTheirOrder) {
    open();
    QStringList names;
    for (const auto* each : rows()) {
        names << each->accessibleName();
    }
    EXPECT_EQ(names, (QStringList{"Sivrel", "Mordan", "Pintho", "Rusket", "Wendrel", "Duvesk", "Fotrel",
                                  "Hushel", "Tonvik", "Ledgra"}));
    const auto texts = visibleTexts(part<Zorbel::SpiceList>());
    EXPECT_TRUE(texts.contains("IN THE CUP"));
    EXPECT_TRUE(texts.contains("NEXT BATCH"));
    EXPECT_TRUE(texts.contains("LATER"));
    EXPECT_LT(texts.indexOf("IN THE CUP"), texts.indexOf("Sivrel"));
    EXPECT_LT(texts.indexOf("Rusket"), texts.indexOf("NEXT BATCH"));
    EXPECT_LT(texts.indexOf("NEXT BATCH"), texts.indexOf("Wendrel"));
    EXPECT_LT(texts.indexOf("Hushel"), texts.indexOf("LATER"));
    EXPECT_EQ(part<Zorbel::SpiceList>().width(), 268);
}

TEST_F(DashboardTest, AWaveCountsItsSpicesThatAreOn) {
    open();
    const auto counts = [&] {
        QStringList found;
        for (const QString& text : visibleTexts(part<Zorbel::SpiceList>())) {
            bool isNumber = false;
            text.toInt(&isNumber);
            if (isNumber) {
                found << text;
            }
        }
        return found;
    };
    EXPECT_EQ(counts(), (QStringList{"4", "0", "0"}));
    stall->setEnabled(false, *stall->spice("mordan"));
    stall->setEnabled(true, *stall->spice("ledgra"));
    settle();
    EXPECT_EQ(counts(), (QStringList{"3", "0", "1"}));
}

TEST_F(DashboardTest, AClickOnARowSelectsAndStoresIt) {
    open();
    EXPECT_EQ(stall->selection(), "sivrel");
    pick("rusket");
    EXPECT_EQ(stall->selection(), "rusket");
    EXPECT_EQ(suite.defaults.string("stall.selection"), "rusket");
    const auto& detail = part<Zorbel::SpiceDetail>();
    EXPECT_TRUE(showsText(detail, "Rusket"));
    EXPECT_TRUE(showsText(detail, "SYSTEM MONITOR"));
    EXPECT_TRUE(showsText(detail, "Reads processor load, memory and pressure, once a second."));
    EXPECT_TRUE(showsText(detail, "Processor"));
}

TEST_F(DashboardTest, TurningASpiceOffShowsTheDormantPageAtOnce) {
    open();
    pick("rusket");
    auto* power = dynamic_cast<Switch*>(button(part<Zorbel::SpiceDetail>(), "Rusket"));
    ASSERT_NE(power, nullptr);
    EXPECT_TRUE(power->isChecked());
    QTest::mouseClick(power, Qt::LeftButton);
    settle();
    const auto& detail = part<Zorbel::SpiceDetail>();
    EXPECT_FALSE(stall->spice("rusket")->isEnabled());
    EXPECT_EQ(suite.defaults.boolean("spice.rusket.enabled"), false);
    EXPECT_TRUE(showsText(detail, "Rusket is not in the cup."));
    EXPECT_TRUE(showsText(detail, "While it is off it holds no timers and no observers."));
    EXPECT_FALSE(showsText(detail, "Processor"));
    savePicture(*dashboard, "dashboard-dormant");

    QTest::mouseClick(button(detail, "Add Rusket"), Qt::LeftButton);
    settle();
    EXPECT_TRUE(stall->spice("rusket")->isEnabled());
    EXPECT_EQ(suite.defaults.boolean("spice.rusket.enabled"), true);
    EXPECT_TRUE(showsText(detail, "Processor"));
    EXPECT_TRUE(power->isChecked());
}

TEST_F(DashboardTest, FollowsASpiceTurnedOffElsewhere) {
    open();
    pick("rusket");
    stall->setEnabled(false, *stall->spice("rusket"));
    settle();
    EXPECT_TRUE(showsText(part<Zorbel::SpiceDetail>(), "Rusket is not in the cup."));
    EXPECT_FALSE(dynamic_cast<Switch*>(button(part<Zorbel::SpiceDetail>(), "Rusket"))->isChecked());
}

TEST_F(DashboardTest, AStoredSelectionThatNeverCameLeavesThePaneEmpty) {
    suite.defaults.setString("stall.selection", "cumin");
    open();
    EXPECT_FALSE(stall->selection());
    EXPECT_TRUE(visibleTexts(part<Zorbel::SpiceDetail>()).isEmpty());
    savePicture(*dashboard, "dashboard-nothing-selected");
    pick("pintho");
    EXPECT_TRUE(showsText(part<Zorbel::SpiceDetail>(), "Pintho"));
}

TEST_F(DashboardTest, AHoverOfFourTenthsShowsTheReason) {
    open();
    auto& hovered = row("mordan");
    const QString reason = QString::fromStdString(hovered.spice().reason());
    const int height = hovered.height();
    QTest::mouseMove(&hovered);
    settle();
    EXPECT_TRUE(hovered.hover().hovering());
    suite.loop.advance(Seconds{0.399});
    settle();
    EXPECT_FALSE(showsText(hovered, reason));
    suite.loop.advance(Seconds{0.001});
    settle();
    EXPECT_TRUE(showsText(hovered, reason));
    EXPECT_GT(hovered.height(), height);
    savePicture(*dashboard, "dashboard-hovered-row");
    QTest::mouseMove(dashboard.get(), {700, 500});
    settle();
    EXPECT_FALSE(showsText(hovered, reason));
    EXPECT_EQ(hovered.height(), height);
}

TEST_F(DashboardTest, AHoverThatEndsEarlyNeverShowsTheReason) {
    open();
    auto& hovered = row("mordan");
    QTest::mouseMove(&hovered);
    suite.loop.advance(Seconds{0.399});
    QTest::mouseMove(dashboard.get(), {700, 500});
    suite.loop.advance(Seconds{5});
    settle();
    EXPECT_FALSE(showsText(hovered, QString::fromStdString(hovered.spice().reason())));
}

TEST_F(DashboardTest, ArrowsHomeAndEndMoveTheSelection) {
    open();
    dashboard->activateWindow();
    row("sivrel").setFocus();
    struct Step {
        Qt::Key key;
        const char* selected;
    };
    for (const Step step :
         {Step{Qt::Key_Up, "sivrel"}, Step{Qt::Key_Down, "mordan"}, Step{Qt::Key_End, "ledgra"},
          Step{Qt::Key_Down, "ledgra"}, Step{Qt::Key_Up, "tonvik"}, Step{Qt::Key_Home, "sivrel"}}) {
        SCOPED_TRACE(step.selected);
        QTest::keyClick(dashboard->window()->focusWidget(), step.key);
        EXPECT_EQ(stall->selection(), step.selected);
        EXPECT_TRUE(row(step.selected).hasFocus());
    }
    settle();
    savePicture(*dashboard, "dashboard-keyboard");
}

TEST_F(DashboardTest, TabLeadsFromTheListToTheSwitch) {
    open();
    dashboard->activateWindow();
    pick("rusket");
    row("ledgra").setFocus();
    QTest::keyClick(&row("ledgra"), Qt::Key_Tab);
    auto* power = button(part<Zorbel::SpiceDetail>(), "Rusket");
    ASSERT_EQ(dashboard->focusWidget(), power);
    QTest::keyClick(power, Qt::Key_Space);
    EXPECT_FALSE(stall->spice("rusket")->isEnabled());
    EXPECT_EQ(dashboard->focusWidget(), power) << "the switch that was turned keeps the keyboard";
}

TEST_F(DashboardTest, TheAddButtonHandsTheKeyboardToTheSwitch) {
    open();
    dashboard->activateWindow();
    pick("wendrel");
    auto* add = button(part<Zorbel::SpiceDetail>(), "Add Wendrel");
    add->setFocus();
    QTest::keyClick(add, Qt::Key_Space);
    settle();
    EXPECT_EQ(dashboard->focusWidget(), button(part<Zorbel::SpiceDetail>(), "Wendrel"));
}

TEST_F(DashboardTest, EveryControlHasASpokenName) {
    open();
    pick("wendrel");
    for (const auto* control : dashboard->findChildren<QAbstractButton*>()) {
        EXPECT_FALSE(QAccessible::queryAccessibleInterface(const_cast<QAbstractButton*>(control))
                         ->text(QAccessible::Name)
                         .isEmpty());
    }
    EXPECT_EQ(QAccessible::queryAccessibleInterface(&row("rusket"))->role(), QAccessible::ListItem);
    EXPECT_EQ(QAccessible::queryAccessibleInterface(button(part<Zorbel::SpiceDetail>(), "Wendrel"))->role(),
              QAccessible::CheckBox);
    EXPECT_TRUE(QAccessible::queryAccessibleInterface(&row("wendrel"))->state().selected);
    EXPECT_FALSE(QAccessible::queryAccessibleInterface(&row("rusket"))->state().selected);
}

TEST_F(DashboardTest, IsStillWholeAtItsSmallestSize) {
    open();
    pick("rusket");
    dashboard->resize(840, 560);
    steepFor(20);
    savePicture(*dashboard, "dashboard-smallest");
    const auto& detail = part<Zorbel::SpiceDetail>();
    const QWidget* power = button(detail, "Rusket");
    EXPECT_LE(power->mapTo(dashboard.get(), QPoint(power->width(), 0)).x(), 840 - 28);
}

TEST_F(DashboardTest, Pictures) {
    open();
    pick("rusket");
    steepFor(70);
    savePicture(*dashboard, "dashboard");
    pick("sivrel");
    savePicture(*dashboard, "dashboard-sivrel");
    EXPECT_EQ(stall->steepingCount(), 4);
}

} // namespace
