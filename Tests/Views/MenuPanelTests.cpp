#include "Platforms/Simulated/SimulatedSuite.hpp"
#include "Tests/Views/ViewTests.hpp"
#include "Zorbel/Blend.hpp"
#include "Zorbel/MenuPanel.hpp"
#include "Zorbel/Updates.hpp"
#include "ZorbelKit/Spice.hpp"
#include "ZorbelKit/Stall.hpp"

#include <QTest>
#include <gtest/gtest.h>

namespace {

using namespace Views;
using ZorbelKit::Seconds;

class StartableUpdater : public Zorbel::UpdaterController {
public:
    bool automaticallyChecksForUpdates() const override { return false; }
    void startUpdater() override {}
    void checkForUpdates() override { ++checks; }
    int checks = 0;
};

class MenuPanelTest : public ::testing::Test {
protected:
    MenuPanelTest() { stall = Zorbel::Blend::build(suite.host()); }

    QWidget& open() {
        panel.reset(Zorbel::menuPanelView(*stall, updates, suite.application, [this] {
                        ++dashboards;
                    }).build(nullptr));
        show(*panel, {328, 420});
        return *panel;
    }

    void setOnly(std::initializer_list<std::string_view> ids) {
        for (const auto& spice : stall->spices()) {
            stall->setEnabled(std::ranges::find(ids, spice->id()) != ids.end(), *spice);
        }
        settle();
    }

    /// The spices whose headings stand in the panel, from top to bottom.
    QStringList headings() const {
        std::map<int, QString> byHeight;
        for (const auto& spice : stall->spices()) {
            const auto name = QString::fromStdString(spice->name());
            if (const QWidget* section = named(*panel, name); section && showsText(*section, name)) {
                byHeight[section->mapTo(panel.get(), QPoint()).y()] = name;
            }
        }
        QStringList names;
        for (const auto& [y, name] : byHeight) {
            names << name;
        }
        return names;
    }

    Simulated::SimulatedSuite suite;
    StartableUpdater updater;
    Zorbel::Updates updates{[](std::string_view) { return "configured"; }, &updater};
    std::unique_ptr<ZorbelKit::Stall> stall;
    std::unique_ptr<QWidget> panel;
    int dashboards = 0;
};

TEST_F(MenuPanelTest, StacksTheSectionsOfTheSpicesThatAreOn) {
    open();
    EXPECT_EQ(headings(), (QStringList{"Sivrel", "Mordan", "Pintho", "Rusket"}));
    savePicture(*panel, "panel");
}

TEST_F(MenuPanelTest, FollowsASpiceTurnedOnOrOffAtOnce) {
    open();
    stall->setEnabled(false, *stall->spice("mordan"));
    settle();
    EXPECT_EQ(headings(), (QStringList{"Sivrel", "Pintho", "Rusket"}));
    stall->setEnabled(true, *stall->spice("wendrel"));
    stall->setEnabled(true, *stall->spice("mordan"));
    settle();
    EXPECT_EQ(headings(), (QStringList{"Sivrel", "Mordan", "Pintho", "Rusket", "Wendrel"}))
        << "in the list's order";
}

TEST_F(MenuPanelTest, CatchesUpWithChangesMadeWhileItWasClosed) {
    open();
    panel->hide();
    setOnly({"rusket"});
    panel->show();
    settle();
    EXPECT_EQ(headings(), QStringList{"Rusket"});
    savePicture(*panel, "panel-one-spice");
}

TEST_F(MenuPanelTest, WithEverySpiceOffOnlyOneLineAndTheFooterAreLeft) {
    open();
    setOnly({});
    EXPECT_EQ(visibleTexts(*panel), QStringList{"Nothing is steeping."});
    EXPECT_TRUE(button(*panel, "Open Zorbel")->isVisible());
    EXPECT_TRUE(button(*panel, "Quit")->isVisible());
    savePicture(*panel, "panel-nothing-steeping");
}

TEST_F(MenuPanelTest, TheFooterOpensTheDashboardAndQuits) {
    open();
    QTest::mouseClick(button(*panel, "Open Zorbel"), Qt::LeftButton);
    EXPECT_EQ(dashboards, 1);
    QTest::mouseClick(button(*panel, "Quit"), Qt::LeftButton);
    EXPECT_EQ(suite.application.terminations, 1);
}

TEST_F(MenuPanelTest, ChecksForUpdatesOnlyWhereThatIsPossible) {
    open();
    auto* check = button(*panel, "Check for updates");
    EXPECT_FALSE(check->isVisible());
    updates.begin();
    settle();
    EXPECT_TRUE(check->isVisible());
    QTest::mouseClick(check, Qt::LeftButton);
    EXPECT_EQ(suite.application.activations, 1);
    EXPECT_EQ(updater.checks, 1);
    savePicture(*panel, "panel-check-for-updates");
}

TEST_F(MenuPanelTest, TabWalksTheFooter) {
    open();
    panel->activateWindow();
    settle();
    button(*panel, "Open Zorbel")->clearFocus();
    button(*panel, "Open Zorbel")->setFocus(Qt::TabFocusReason);
    settle();
    savePicture(*panel, "panel-focus");
    QTest::keyClick(panel.get(), Qt::Key_Tab);
    EXPECT_TRUE(button(*panel, "Quit")->hasFocus());
    QTest::keyClick(button(*panel, "Quit"), Qt::Key_Space);
    EXPECT_EQ(suite.application.terminations, 1);
}

TEST_F(MenuPanelTest, AllTenSpicesScroll) {
    open();
    for (const auto& spice : stall->spices()) {
        stall->setEnabled(true, *spice);
    }
    settle();
    EXPECT_EQ(headings().size(), 10);
    EXPECT_EQ(panel->size(), QSize(328, 420));
    EXPECT_TRUE(button(*panel, "Quit")->isVisible());
    savePicture(*panel, "panel-all-spices");
}

TEST_F(MenuPanelTest, AClosedPanelLeavesNobodyListening) {
    const int before = ZorbelKit::Observable::liveObserversForTesting();
    open();
    EXPECT_GT(ZorbelKit::Observable::liveObserversForTesting(), before);
    panel->hide();
    EXPECT_EQ(ZorbelKit::Observable::liveObserversForTesting(), before);
}

} // namespace
