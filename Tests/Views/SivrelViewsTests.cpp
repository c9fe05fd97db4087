#include "Platforms/Simulated/SimulatedHost.hpp"
#include "Sivrel/Sivrel.hpp"
#include "Sivrel/SivrelViews.hpp"
#include "Tests/Views/ViewTests.hpp"
#include "ZorbelKit/Controls/Picker.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QAccessible>
#include <QDateTime>
#include <QImage>
#include <QLocale>
#include <QMenu>
#include <QRegularExpression>
#include <QTest>
#include <gtest/gtest.h>

#include <memory>

namespace {

using namespace Sivrel;
using namespace Views;
using ZorbelKit::ClickButton;
using ZorbelKit::Observable;
using ZorbelKit::Picker;
using ZorbelKit::Seconds;

constexpr QSize pageSize(635, 640);   // in the dashboard's own size
constexpr QSize narrowPage(515, 640); // in its least

/// The page or the section on the ground it stands on in the suite.
class Ground : public QWidget {
public:
    explicit Ground(const ZorbelKit::Color& colour) {
        QPalette colours = palette();
        colours.setColor(QPalette::Window, ZorbelKit::qColor(colour));
        setPalette(colours);
    }
};

class SivrelViewsTest : public ::testing::Test {
protected:
    void start(bool isCollapsed = false) {
        host.defaults.setBoolean("sivrel.collapsed", isCollapsed);
        spice = std::make_unique<SivrelSpice>(host.loop, host.clock, host.defaults, host.statusBar);
        spice->steep();
    }

    void openPanel(QSize size = pageSize) {
        panel = new SivrelPanel(*spice, host.statusBar, &ground);
        panel->resize(size);
        show(ground, size);
        fit(size);
    }

    /// As the dashboard does: as high as the page wants to be.
    void fit(QSize size = pageSize) {
        settle();
        const int height =
            panel->hasHeightForWidth() ? panel->heightForWidth(size.width()) : panel->sizeHint().height();
        panel->resize(size.width(), height);
        ground.resize(panel->size());
        settle();
    }

    /// The time of day where the user lives.
    void setTime(QTime time) {
        const std::chrono::milliseconds since(QDateTime({2026, 3, 14}, time).toMSecsSinceEpoch());
        host.clock.set(ZorbelKit::TimePoint(since));
    }

    void click() {
        host.statusBar.click("zorbel.sivrel.divider", ClickButton::left);
        settle();
    }

    Picker* picker() { return dynamic_cast<Picker*>(named(*panel, "Hide again after")); }
    BarDiagram* diagram() { return part<BarDiagram>(); }
    BarNote* note() { return part<BarNote>(); }
    bool shows(const char* text) { return showsText(*panel, text); }

    template <class Part>
    Part* part() {
        for (QWidget* child : panel->findChildren<QWidget*>()) {
            if (auto* found = dynamic_cast<Part*>(child)) {
                return found;
            }
        }
        return nullptr;
    }

    Simulated::SimulatedHost host;
    std::unique_ptr<SivrelSpice> spice;
    Ground ground{ZorbelKit::stall};
    SivrelPanel* panel = nullptr;
};

QMenu* openList(Picker& picker) {
    auto* list = picker.findChild<QMenu*>();
    return list && list->isVisible() ? list : nullptr;
}

TEST_F(SivrelViewsTest, TheMenuSectionSaysTheStateAndTurnsItRound) {
    start(true);
    Ground panelGround(ZorbelKit::kettle);
    SivrelMenuSection section(*spice, &panelGround);
    section.resize(300, section.sizeHint().height());
    show(panelGround, section.size());
    EXPECT_EQ(visibleTexts(section), QStringList{"Hidden items are off the bar."});
    savePicture(panelGround, "sivrel-menu-collapsed");
    ASSERT_NE(button(section, "Show hidden items"), nullptr);
    QTest::mouseClick(button(section, "Show hidden items"), Qt::LeftButton);
    EXPECT_FALSE(spice->isCollapsed());
    EXPECT_EQ(visibleTexts(section), QStringList{"Hidden items are showing."});
    savePicture(panelGround, "sivrel-menu-revealed");
    auto* hide = button(section, "Hide items");
    ASSERT_NE(hide, nullptr);
    EXPECT_EQ(hide->text(), "Hide items");
    EXPECT_EQ(hide->accessibleName(), "Hide items");
    QTest::mouseClick(hide, Qt::LeftButton);
    EXPECT_TRUE(spice->isCollapsed());
}

TEST_F(SivrelViewsTest, TheMenuSectionIsOneRowInThePanelsWidth) {
    start(true);
    SivrelMenuSection section(*spice, nullptr);
    show(section, {300, section.sizeHint().height()});
    const QRect label = section.findChildren<QLabel*>().value(0)->geometry();
    const QRect toggle = button(section, "Show hidden items")->geometry();
    EXPECT_LT(label.right(), toggle.left());
    EXPECT_LE(toggle.right(), 300);
    const QFontMetrics metrics(section.findChildren<QLabel*>().value(0)->font());
    EXPECT_GE(label.width(), metrics.horizontalAdvance("Hidden items are off the bar.")) << "on one line";
}

TEST_F(SivrelViewsTest, ThePanelNamesItsFiguresAndFollowsTheDivider) {
    start(true);
    setTime({14, 7, 59});
    openPanel();
    for (const char* text :
         {"Opened today", "Opened today 0", "How often you went looking", "Last opened",
          "Last opened Not yet today", "Most recent look", "Hides after", "Hides after 8s",
          "Then it tidies itself away", "Reveal when the pointer reaches the menu bar", "Hide again after",
          "Arranging your icons",
          "Hold ⌘ and drag any menu bar icon to move it. Icons placed left of Sivrel's divider are hidden. "
          "Icons right of it always stay visible."}) {
        EXPECT_TRUE(shows(text)) << text;
    }
    EXPECT_NE(button(*panel, "Show"), nullptr);
    click();
    EXPECT_TRUE(shows("Opened today 1"));
    EXPECT_NE(button(*panel, "Hide"), nullptr);
    EXPECT_EQ(button(*panel, "Show"), nullptr);
    EXPECT_TRUE(shows("Last opened 14:07"));
    host.loop.advance(Seconds{8});
    settle();
    EXPECT_NE(button(*panel, "Show"), nullptr);
}

TEST_F(SivrelViewsTest, TheLastRevealReadsAsTheLocalesShortTime) {
    start(true);
    setTime({14, 7, 59});
    spice->toggleCollapsed();
    const QLocale before;
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    openPanel();
    QStringList texts = visibleTexts(*panel);
    EXPECT_FALSE(texts.filter(QRegularExpression("^Last opened 2:07\\sPM$")).isEmpty())
        << texts.join(", ").toStdString();
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    ground.hide();
    ground.show();
    settle();
    EXPECT_TRUE(shows("Last opened 14:07"));
    QLocale::setDefault(before);
}

TEST_F(SivrelViewsTest, EightRevealsSuggestMovingOneOut) {
    start(true);
    openPanel();
    for (int reveal = 0; reveal < 7; ++reveal) {
        click();
        host.loop.advance(Seconds{8});
    }
    settle();
    EXPECT_TRUE(shows("Opened today 7"));
    EXPECT_TRUE(shows("How often you went looking"));
    click();
    EXPECT_TRUE(shows("Opened today 8"));
    EXPECT_TRUE(shows("Often — maybe move one out"));
}

TEST_F(SivrelViewsTest, TheButtonTurnsTheBarRound) {
    start(true);
    openPanel();
    QTest::mouseClick(button(*panel, "Show"), Qt::LeftButton);
    EXPECT_FALSE(spice->isCollapsed());
    QTest::mouseClick(button(*panel, "Hide"), Qt::LeftButton);
    EXPECT_TRUE(spice->isCollapsed());
    EXPECT_EQ(spice->revealsToday(), 1);
}

TEST_F(SivrelViewsTest, TheSwitchIsBoundToTheSetting) {
    start();
    openPanel();
    auto* hover = button(*panel, "Reveal when the pointer reaches the menu bar");
    ASSERT_NE(hover, nullptr);
    EXPECT_TRUE(hover->isChecked());
    QTest::mouseClick(hover, Qt::LeftButton);
    EXPECT_FALSE(spice->revealOnHover());
    spice->setRevealOnHover(true);
    EXPECT_TRUE(hover->isChecked());
}

TEST_F(SivrelViewsTest, ThePickerOffersFourDelays) {
    start();
    openPanel();
    ASSERT_NE(picker(), nullptr);
    EXPECT_EQ(picker()->width(), 130);
    EXPECT_EQ(picker()->text(), "8 seconds");
    QStringList choices;
    for (const QAction* choice : picker()->findChild<QMenu*>()->actions()) {
        choices << choice->text();
    }
    EXPECT_EQ(choices, (QStringList{"4 seconds", "8 seconds", "15 seconds", "Never"}));
    const double delays[] = {4, 8, 15, 0};
    for (int index = 0; index < 4; ++index) {
        picker()->findChild<QMenu*>()->actions()[index]->trigger();
        EXPECT_EQ(spice->autoCollapseAfter(), delays[index]);
        EXPECT_EQ(picker()->text(), choices[index]);
    }
    EXPECT_TRUE(shows("Hides after Never"));
    spice->setAutoCollapseAfter(15);
    EXPECT_EQ(picker()->text(), "15 seconds");
    EXPECT_TRUE(shows("Hides after 15s"));
}

TEST_F(SivrelViewsTest, AStoredDelayThatIsNoChoiceShowsWithoutBeingOne) {
    host.defaults.setNumber("sivrel.autoCollapse", 12.9);
    start();
    openPanel();
    EXPECT_TRUE(shows("Hides after 12s"));
    EXPECT_EQ(picker()->text(), "12 seconds");
    EXPECT_EQ(picker()->selection(), std::nullopt);
    EXPECT_EQ(picker()->findChild<QMenu*>()->actions().size(), 4);
    savePicture(ground, "sivrel-other-delay");
}

TEST_F(SivrelViewsTest, AGiganticStoredDelayLeavesThePageInItsWidth) {
    host.defaults.setNumber("sivrel.autoCollapse", 1e300);
    start();
    openPanel();
    EXPECT_TRUE(shows("Hides after 999999999s"));
    EXPECT_LE(panel->minimumSizeHint().width(), pageSize.width());
    savePicture(ground, "sivrel-gigantic-delay");
}

TEST_F(SivrelViewsTest, TheNoteIsThereOnlyWhereThereIsSomethingToSay) {
    start();
    openPanel();
    ASSERT_NE(note(), nullptr);
    EXPECT_FALSE(note()->isVisible());

    host.statusBar.setPushesOthers(false);
    fit();
    EXPECT_TRUE(note()->isVisible());
    EXPECT_TRUE(shows("This desktop's own tray decides about its icons, so Sivrel cannot hide any there."));
    auto* choice = button(*panel, "Use Zorbel's own bar");
    ASSERT_NE(choice, nullptr);
    EXPECT_FALSE(choice->isVisible()) << "nothing to choose";
    savePicture(ground, "sivrel-foreign-tray");

    host.statusBar.setChoice(false);
    fit();
    EXPECT_TRUE(choice->isVisible());
    EXPECT_FALSE(choice->isChecked());
    savePicture(ground, "sivrel-own-bar-off");

    QTest::mouseClick(choice, Qt::LeftButton);
    fit();
    EXPECT_EQ(host.statusBar.usesOwnBar(), true);
    EXPECT_TRUE(choice->isChecked());
    EXPECT_TRUE(note()->isVisible()) << "the way back stays";
    EXPECT_FALSE(shows("This desktop's own tray decides about its icons, so Sivrel cannot hide any there."));
    savePicture(ground, "sivrel-own-bar-on");
    QTest::mouseClick(choice, Qt::LeftButton);
    EXPECT_EQ(host.statusBar.usesOwnBar(), false);

    host.statusBar.setChoice(std::nullopt);
    host.statusBar.setPushesOthers(true);
    settle();
    EXPECT_FALSE(note()->isVisible());
}

TEST_F(SivrelViewsTest, TheArrangingHintStandsUnderItsNote) {
    start();
    openPanel();
    const int without = static_cast<int>(visibleTexts(*panel).size());
    host.statusBar.setArrangingHint("Hold Ctrl and drag an icon of Zorbel's bar with the left mouse button.");
    host.statusBar.setChoice(std::nullopt); // tells of a change
    settle();
    EXPECT_EQ(visibleTexts(*panel).size(), without + 1);
    EXPECT_TRUE(shows("Hold Ctrl and drag an icon of Zorbel's bar with the left mouse button."));
}

TEST_F(SivrelViewsTest, AHiddenPanelListensToNothing) {
    start();
    const int before = Observable::liveObserversForTesting();
    openPanel();
    EXPECT_EQ(Observable::liveObserversForTesting(), before + 2) << "the spice and the status bar";
    ground.hide();
    EXPECT_EQ(Observable::liveObserversForTesting(), before);
    spice->toggleCollapsed();
    host.statusBar.setPushesOthers(false);
    ground.show();
    settle();
    EXPECT_NE(button(*panel, "Show"), nullptr) << "it catches up when it is seen again";
    EXPECT_TRUE(note()->isVisible());
    EXPECT_EQ(Observable::liveObserversForTesting(), before + 2);
}

TEST_F(SivrelViewsTest, AChangeRepaintsOnlyWhatChanged) {
    start(true);
    openPanel();
    PaintCounter paints(*panel);
    spice->setAutoCollapseAfter(4);
    settle();
    EXPECT_EQ(paints.paintsOf(named(*panel, "Hides after 4s")), 1);
    EXPECT_EQ(paints.paintsOf(named(*panel, "Opened today 0")), 0);
    EXPECT_EQ(paints.paintsOf(diagram()), 0);
    EXPECT_EQ(paints.paintsOf(button(*panel, "Show")), 0);
    paints.reset();
    host.statusBar.setReachable(false);
    settle();
    EXPECT_EQ(paints.all(), 0);
}

TEST_F(SivrelViewsTest, TheDiagramSlidesBetweenItsStatesAndRests) {
    start(true);
    openPanel();
    EXPECT_EQ(diagram()->progress(), 1) << "the first picture stands";
    EXPECT_EQ(diagram()->accessibleName(), "Hidden items are off the bar.");
    EXPECT_EQ(diagram()->width(), pageSize.width());
    ZorbelKit::setMotionReduced(false);
    click();
    EXPECT_EQ(diagram()->accessibleName(), "Hidden items are showing.");
    EXPECT_GT(diagram()->progress(), 0);
    EXPECT_TRUE(QTest::qWaitFor([&] { return diagram()->progress() < 0.7; }));
    EXPECT_TRUE(QTest::qWaitFor([&] { return diagram()->progress() == 0; }));
    settle();
    PaintCounter paints(*panel);
    settle();
    EXPECT_EQ(paints.all(), 0);
    ground.hide();
    spice->toggleCollapsed();
    ground.show();
    EXPECT_EQ(diagram()->progress(), 1) << "what changed out of sight is not played";
    ZorbelKit::setMotionReduced(true);
}

TEST_F(SivrelViewsTest, TheDiagramHasItsHiddenIconsOnlyWhileTheyShow) {
    const auto inkIn = [](const QImage& picture, int from, int to) {
        int ink = 0;
        const int dim = ZorbelKit::qColor(ZorbelKit::malaiDim).red();
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = from; x < to; ++x) {
                ink += picture.pixelColor(x, y).red() > dim - 25 ? 1 : 0;
            }
        }
        return ink;
    };
    start();
    openPanel();
    const auto bar = barGeometry(diagram()->width(), 0);
    const int left = static_cast<int>(bar.menusRight);
    const int right = static_cast<int>(bar.dividerLeft);
    const QImage revealed = diagram()->grab().toImage();
    EXPECT_GT(inkIn(revealed, left, right), 150);
    click();
    const QImage collapsed = diagram()->grab().toImage();
    EXPECT_EQ(inkIn(collapsed, left, right), 0);
    const int kept = static_cast<int>(bar.dividerRight) + 2;
    EXPECT_EQ(revealed.copy(kept, 0, revealed.width() - kept, revealed.height()),
              collapsed.copy(kept, 0, revealed.width() - kept, revealed.height()));
}

TEST_F(SivrelViewsTest, Pictures) {
    start(true);
    host.statusBar.setArrangingHint("On this bar, hold Super and drag with the left mouse button.");
    openPanel();
    savePicture(ground, "sivrel-collapsed");
    click();
    savePicture(ground, "sivrel-revealed");
    panel->activateWindow();
    settle();
    picker()->setFocus(Qt::TabFocusReason);
    settle();
    savePicture(ground, "sivrel-focus");
    fit({860, 0});
    savePicture(ground, "sivrel-wide");
}

TEST_F(SivrelViewsTest, InTheSmallestWindowNothingIsCutOff) {
    start(true);
    openPanel();
    for (int reveal = 0; reveal < 8; ++reveal) {
        spice->toggleCollapsed();
        spice->toggleCollapsed();
    }
    host.statusBar.setChoice(false);
    host.statusBar.setPushesOthers(false);
    fit(narrowPage);
    EXPECT_LE(panel->minimumSizeHint().width(), narrowPage.width());
    for (const QLabel* label : panel->findChildren<QLabel*>()) {
        if (label->isVisible()) {
            EXPECT_GE(label->width(), label->minimumSizeHint().width()) << label->text().toStdString();
            EXPECT_GE(label->height(), label->heightForWidth(label->width())) << label->text().toStdString();
        }
    }
    savePicture(ground, "sivrel-narrow");
}

// The kit's picker.

class PickerTest : public ::testing::Test {
protected:
    PickerTest() {
        picker.onChoice([this](std::size_t index) { chosen.push_back(index); });
        picker.select(1);
        picker.move(60, 100);
        show(window, {260, 260});
        window.activateWindow();
        picker.clearFocus(); // the window gave it to its first child, which is not the user's Tab
        settle();
        picker.setFocus(Qt::TabFocusReason);
        settle();
    }

    void press(Qt::Key key) {
        QWidget* target = QApplication::activePopupWidget();
        QTest::keyClick(target ? target : &picker, key);
        settle();
    }

    Ground window{ZorbelKit::stall};
    Picker picker{"Hide again after", {"4 seconds", "8 seconds", "15 seconds", "Never"}, &window};
    std::vector<std::size_t> chosen;
};

TEST_F(PickerTest, OpensByTheKeyboardAndTheArrowsChoose) {
    for (const Qt::Key key : {Qt::Key_Space, Qt::Key_Return, Qt::Key_Enter, Qt::Key_Down, Qt::Key_Up}) {
        SCOPED_TRACE(key);
        chosen.clear();
        picker.select(1);
        press(key);
        ASSERT_NE(openList(picker), nullptr);
        EXPECT_EQ(openList(picker)->activeAction()->text(), "8 seconds") << "it starts at what holds";
        press(Qt::Key_Down);
        press(Qt::Key_Return);
        EXPECT_EQ(openList(picker), nullptr);
        EXPECT_EQ(chosen, std::vector<std::size_t>{2});
        EXPECT_EQ(picker.selection(), 2u);
        EXPECT_EQ(picker.text(), "15 seconds");
    }
}

TEST_F(PickerTest, EscapeChoosesNothing) {
    press(Qt::Key_Space);
    press(Qt::Key_Down);
    press(Qt::Key_Escape);
    EXPECT_EQ(openList(picker), nullptr);
    EXPECT_TRUE(chosen.empty());
    EXPECT_EQ(picker.text(), "8 seconds");
}

TEST_F(PickerTest, OpensByAClickWithItsChoiceOverTheButton) {
    QTest::mouseClick(&picker, Qt::LeftButton);
    settle();
    auto* list = openList(picker);
    ASSERT_NE(list, nullptr);
    savePicture(*list, "picker-list");
    const QRect row = list->actionGeometry(list->actions()[1]).translated(list->pos());
    const QRect box(picker.mapToGlobal(QPoint()), picker.size());
    EXPECT_LE(std::abs(row.center().y() - box.center().y()), 1);
    QTest::mouseClick(list, Qt::LeftButton, {}, list->actionGeometry(list->actions()[3]).center());
    settle();
    EXPECT_EQ(openList(picker), nullptr);
    EXPECT_EQ(chosen, std::vector<std::size_t>{3});
}

TEST_F(PickerTest, WritingTheModelBackIsSilent) {
    picker.select(0);
    picker.selectOther("12 seconds");
    EXPECT_TRUE(chosen.empty());
    EXPECT_EQ(picker.selection(), std::nullopt);
    for (const QAction* choice : picker.findChild<QMenu*>()->actions()) {
        EXPECT_FALSE(choice->isChecked());
    }
    press(Qt::Key_Down);
    ASSERT_NE(openList(picker), nullptr);
    EXPECT_GE(openList(picker)->y(), picker.mapToGlobal(QPoint()).y() + picker.height());
    press(Qt::Key_Escape);
}

TEST_F(PickerTest, TicksTheOneChoiceThatHolds) {
    picker.select(2);
    QStringList ticked;
    for (const QAction* choice : picker.findChild<QMenu*>()->actions()) {
        ticked << (choice->isChecked() ? choice->text() : QString());
    }
    EXPECT_EQ(ticked, (QStringList{"", "", "15 seconds", ""}));
}

TEST_F(PickerTest, IsAComboBoxWithANameAndAValueToReaders) {
    auto* spoken = QAccessible::queryAccessibleInterface(&picker);
    ASSERT_NE(spoken, nullptr);
    EXPECT_EQ(spoken->role(), QAccessible::ComboBox);
    EXPECT_EQ(spoken->text(QAccessible::Name), "Hide again after");
    EXPECT_EQ(spoken->text(QAccessible::Value), "8 seconds");
    EXPECT_TRUE(spoken->state().hasPopup);
    picker.selectOther("12 seconds");
    EXPECT_EQ(spoken->text(QAccessible::Value), "12 seconds");
    EXPECT_EQ(spoken->text(QAccessible::Description), "12 seconds");
    ASSERT_NE(spoken->actionInterface(), nullptr);
    spoken->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_NE(openList(picker), nullptr);
    press(Qt::Key_Escape);
}

TEST_F(PickerTest, KeepsItsFocusRingWhileAndAfterItsListIsOpen) {
    ASSERT_TRUE(picker.hasFocus());
    const QImage focused = picker.grab().toImage();
    press(Qt::Key_Return);
    press(Qt::Key_Escape);
    EXPECT_EQ(picker.grab().toImage(), focused);
    EXPECT_TRUE(picker.hasFocus());
    picker.clearFocus();
    settle();
    EXPECT_NE(picker.grab().toImage(), focused);
}

TEST_F(PickerTest, HidingItClosesItsList) {
    press(Qt::Key_Space);
    ASSERT_NE(openList(picker), nullptr);
    window.hide();
    settle();
    EXPECT_EQ(openList(picker), nullptr);
}

TEST_F(PickerTest, HasALookOfItsOwnUnderThePointer) {
    picker.clearFocus();
    const QImage plain = picker.grab().toImage();
    QEnterEvent enter({10, 10}, {10, 10}, {10, 10});
    QApplication::sendEvent(&picker, &enter);
    EXPECT_NE(picker.grab().toImage(), plain);
    QEvent leave(QEvent::Leave);
    QApplication::sendEvent(&picker, &leave);
    EXPECT_EQ(picker.grab().toImage(), plain);
}

} // namespace
