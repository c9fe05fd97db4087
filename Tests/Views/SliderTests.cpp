#include "Tests/Views/ViewTests.hpp"
#include "ZorbelKit/Controls/Slider.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QAccessible>
#include <QApplication>
#include <QElapsedTimer>
#include <QMouseEvent>
#include <QScrollBar>
#include <QTest>
#include <QVBoxLayout>
#include <QWheelEvent>
#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <vector>

namespace {

using namespace Views;
using ZorbelKit::Slider;

class SliderTest : public ::testing::Test {
protected:
    SliderTest() {
        QPalette colours = ground.palette();
        colours.setColor(QPalette::Window, ZorbelKit::qColor(ZorbelKit::kettle));
        ground.setPalette(colours);
        slider.setGeometry(20, 20, 222, 24); // 200 points between the ends
        show(ground, {256, 64});
        ground.activateWindow();
        settle();
    }

    ~SliderTest() override { QTest::mouseMove(&ground, {1, 1}); }

    static QPoint at(double level) { return {11 + qRound(level * 200), 12}; }

    void mouse(QEvent::Type type, double level) {
        const QPointF position = at(level);
        const auto button = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
        const auto held = type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton;
        QMouseEvent event(type, position, slider.mapToGlobal(position), button, held, Qt::NoModifier);
        QApplication::sendEvent(&slider, &event);
    }

    void wheel(int delta, bool inverted = false) {
        const QPointF position = at(0.5);
        QWheelEvent event(position, slider.mapToGlobal(position), {}, {0, delta}, Qt::NoButton,
                          Qt::NoModifier, Qt::NoScrollPhase, inverted);
        QApplication::sendEvent(&slider, &event);
    }

    void press(Qt::Key key) { QTest::keyClick(&slider, key); }

    QAccessibleInterface& spoken() { return *QAccessible::queryAccessibleInterface(&slider); }

    bool isLit(double level) const {
        // Beside the knob the line is brass or of the colour of an empty track.
        const QColor colour = const_cast<Slider&>(slider).grab().toImage().pixelColor(at(level));
        return colour == ZorbelKit::qColor(ZorbelKit::brass);
    }

    QWidget ground;
    std::vector<double> moves;
    bool isFollowed = true; // whether what is asked for is set
    Slider slider{"Volume",
                  [this](double level) {
                      moves.push_back(level);
                      if (isFollowed) {
                          slider.setValue(level);
                      }
                  },
                  &ground};
};

TEST_F(SliderTest, ShowsWhatIsSetAndTellsNobody) {
    slider.setValue(0.5);
    EXPECT_EQ(slider.shown(), 0.5);
    EXPECT_TRUE(isLit(0.3));
    EXPECT_FALSE(isLit(0.7));
    slider.setValue(0.8);
    EXPECT_TRUE(isLit(0.7));
    EXPECT_TRUE(moves.empty());
}

TEST_F(SliderTest, ALevelPastAnEndIsShownAtThatEnd) {
    struct Row {
        double set;
        std::optional<double> shown;
    };
    for (const Row& row : {Row{0, 0}, Row{1, 1}, Row{1.7, 1}, Row{-0.2, 0}, Row{1e300, 1},
                           Row{std::numeric_limits<double>::infinity(), std::nullopt},
                           Row{std::numeric_limits<double>::quiet_NaN(), std::nullopt}}) {
        SCOPED_TRACE(row.set);
        slider.setValue(row.set);
        EXPECT_EQ(slider.shown(), row.shown);
    }
    slider.setValue(1.7);
    press(Qt::Key_Left);
    EXPECT_EQ(slider.shown(), 0.95) << "from where the knob is seen";
}

TEST_F(SliderTest, AnEqualLevelRepaintsNothing) {
    slider.setValue(0.5);
    settle();
    PaintCounter paints(ground);
    slider.setValue(0.5);
    settle();
    EXPECT_EQ(paints.all(), 0);
    slider.setValue(0.6);
    settle();
    EXPECT_GT(paints.paintsOf(&slider), 0);
}

TEST_F(SliderTest, WithoutALevelItCannotBeMoved) {
    slider.setValue(0.5);
    EXPECT_TRUE(slider.isEnabled());
    slider.setValue(std::nullopt);
    EXPECT_FALSE(slider.isEnabled());
    EXPECT_EQ(slider.shown(), std::nullopt);
    QTest::mouseClick(&slider, Qt::LeftButton, {}, at(0.2));
    press(Qt::Key_Right);
    slider.step(0.05);
    slider.ask(0.3);
    EXPECT_TRUE(moves.empty());
    EXPECT_TRUE(spoken().state().disabled);
    EXPECT_EQ(spoken().text(QAccessible::Value), "–");
    slider.setFocus(Qt::TabFocusReason);
    EXPECT_FALSE(slider.hasFocus());
    slider.setValue(0.5);
    EXPECT_TRUE(slider.isEnabled());
    EXPECT_FALSE(spoken().state().disabled);
}

TEST_F(SliderTest, AClickBringsTheKnobToThePointer) {
    slider.setValue(0.5);
    QTest::mouseClick(&slider, Qt::LeftButton, {}, at(0.2));
    EXPECT_EQ(moves, std::vector<double>{0.2});
    EXPECT_EQ(slider.shown(), 0.2);
    QTest::mouseClick(&slider, Qt::RightButton, {}, at(0.9));
    EXPECT_EQ(moves.size(), 1U);
}

TEST_F(SliderTest, TakenByItsKnobItDoesNotJump) {
    slider.setValue(0.5);
    QTest::mouseClick(&slider, Qt::LeftButton, {}, at(0.53));
    EXPECT_TRUE(moves.empty());
    mouse(QEvent::MouseButtonPress, 0.53);
    mouse(QEvent::MouseMove, 0.63);
    mouse(QEvent::MouseButtonRelease, 0.63);
    ASSERT_FALSE(moves.empty());
    EXPECT_NEAR(moves.back(), 0.6, 1e-9);
}

TEST_F(SliderTest, DraggedPastAnEndItStaysThere) {
    slider.setValue(0.5);
    mouse(QEvent::MouseButtonPress, 0.5);
    mouse(QEvent::MouseMove, 3);
    EXPECT_EQ(slider.shown(), 1.0);
    mouse(QEvent::MouseMove, -2);
    EXPECT_EQ(slider.shown(), 0.0);
    mouse(QEvent::MouseButtonRelease, -2);
    EXPECT_EQ(moves.back(), 0.0);
}

TEST_F(SliderTest, ADragIsToldOnceAFrameAndItsLastLevelAlways) {
    slider.setValue(0);
    QElapsedTimer time;
    time.start();
    mouse(QEvent::MouseButtonPress, 0);
    for (int step = 1; step <= 200; ++step) {
        mouse(QEvent::MouseMove, step / 200.0);
        EXPECT_EQ(slider.shown(), step / 200.0) << "the knob itself follows at once";
    }
    EXPECT_EQ(moves.size(), 1U) << "no frame ends while no event is handled";
    EXPECT_EQ(moves.front(), 0.005);
    ASSERT_TRUE(QTest::qWaitFor([&] { return moves.size() == 2; }, 5000));
    EXPECT_EQ(moves.back(), 1.0);
    EXPECT_GE(time.elapsed(), Slider::frame);
    mouse(QEvent::MouseMove, 0.75);
    mouse(QEvent::MouseMove, 0.5);
    mouse(QEvent::MouseButtonRelease, 0.5);
    EXPECT_EQ(moves.back(), 0.5) << "at the release, whatever the frame";
    const auto told = moves.size();
    QTest::qWait(3 * Slider::frame);
    EXPECT_EQ(moves.size(), told) << "and only once";
}

TEST_F(SliderTest, WhileItIsDraggedWhatIsSetDoesNotMoveIt) {
    isFollowed = false;
    slider.setValue(0.5);
    mouse(QEvent::MouseButtonPress, 0.5);
    mouse(QEvent::MouseMove, 0.8);
    slider.setValue(0.1);
    EXPECT_EQ(slider.shown(), 0.8);
    EXPECT_TRUE(isLit(0.6));
    mouse(QEvent::MouseButtonRelease, 0.8);
    EXPECT_EQ(slider.shown(), 0.1) << "then it shows what is set";
    EXPECT_FALSE(isLit(0.6));
}

TEST_F(SliderTest, ALevelThatGoesWhileItIsDraggedEndsTheDrag) {
    slider.setValue(0.5);
    mouse(QEvent::MouseButtonPress, 0.5);
    mouse(QEvent::MouseMove, 0.8);
    mouse(QEvent::MouseMove, 0.9);
    const auto told = moves.size();
    slider.setValue(std::nullopt);
    EXPECT_EQ(slider.shown(), std::nullopt);
    QTest::qWait(3 * Slider::frame);
    slider.setValue(0.2);
    mouse(QEvent::MouseMove, 0.95);
    mouse(QEvent::MouseButtonRelease, 0.95);
    EXPECT_EQ(slider.shown(), 0.2);
    EXPECT_EQ(moves.size(), told);
}

TEST_F(SliderTest, HiddenUnderTheHandItTellsTheLastLevelAndLetsGo) {
    slider.setValue(0.5);
    mouse(QEvent::MouseButtonPress, 0.5);
    mouse(QEvent::MouseMove, 0.8);
    mouse(QEvent::MouseMove, 0.9);
    ground.hide();
    EXPECT_EQ(moves.back(), 0.9);
    slider.setValue(0.3);
    EXPECT_EQ(slider.shown(), 0.3);
}

TEST_F(SliderTest, KeysMoveItByStepsThatAddUp) {
    struct Row {
        const char* name;
        Qt::Key key;
        double from;
        double to;
    };
    for (const Row& row :
         {Row{"right", Qt::Key_Right, 0.5, 0.55}, Row{"up", Qt::Key_Up, 0.5, 0.55},
          Row{"left", Qt::Key_Left, 0.5, 0.45}, Row{"down", Qt::Key_Down, 0.5, 0.45},
          Row{"page up", Qt::Key_PageUp, 0.5, 0.6}, Row{"page down", Qt::Key_PageDown, 0.5, 0.4},
          Row{"home", Qt::Key_Home, 0.5, 0}, Row{"end", Qt::Key_End, 0.5, 1},
          Row{"no further up", Qt::Key_PageUp, 0.95, 1}, Row{"no further down", Qt::Key_Left, 0.02, 0}}) {
        SCOPED_TRACE(row.name);
        slider.setValue(row.from);
        moves.clear();
        press(row.key);
        EXPECT_EQ(moves, std::vector<double>{row.to});
        EXPECT_EQ(slider.shown(), row.to);
    }
    slider.setValue(0);
    for (int count = 0; count < 20; ++count) {
        press(Qt::Key_Right);
    }
    EXPECT_EQ(slider.shown(), 1.0);
    moves.clear();
    press(Qt::Key_Right);
    press(Qt::Key_End);
    EXPECT_TRUE(moves.empty()) << "it is there already";
}

TEST_F(SliderTest, OtherKeysAreLeftToTheWindow) {
    slider.setValue(0.5);
    QKeyEvent key(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
    QApplication::sendEvent(&slider, &key);
    EXPECT_FALSE(key.isAccepted());
}

TEST_F(SliderTest, TheWheelMovesItByNotchesAndPartsOfThem) {
    slider.setValue(0.5);
    wheel(120);
    EXPECT_EQ(moves.back(), 0.55);
    wheel(-240);
    EXPECT_EQ(moves.back(), 0.45);
    wheel(120, /*inverted=*/true);
    EXPECT_EQ(moves.back(), 0.4);
    moves.clear();
    for (int count = 0; count < 15; ++count) {
        wheel(8); // a touchpad: a whole notch in parts
    }
    EXPECT_EQ(moves.back(), 0.45);
    EXPECT_EQ(moves.size(), 5U) << "in hundredths";
}

TEST_F(SliderTest, ThePointerAndTheKeyboardShow) {
    slider.setValue(0.5);
    const QImage rest = slider.grab().toImage();
    QTest::mouseMove(&slider, at(0.9));
    settle();
    EXPECT_NE(slider.grab().toImage(), rest) << "the knob grows";
    QTest::mouseMove(&ground, {1, 1});
    settle();
    EXPECT_EQ(slider.grab().toImage(), rest);
    slider.setFocus(Qt::MouseFocusReason);
    EXPECT_EQ(slider.grab().toImage(), rest) << "the pointer's focus needs no ring";
    slider.clearFocus();
    slider.setFocus(Qt::TabFocusReason);
    EXPECT_NE(slider.grab().toImage(), rest);
}

TEST_F(SliderTest, TheRingRoundTheKnobIsWholeAtBothEnds) {
    slider.setValue(0.5);
    slider.setFocus(Qt::TabFocusReason);
    const auto ring = [this](double level) {
        return slider.grab(QRect(at(level) - QPoint(11, 12), QSize(22, 8))).toImage(); // above the line
    };
    const QImage whole = ring(0.5);
    for (const double end : {0.0, 1.0}) {
        slider.setValue(end);
        EXPECT_EQ(ring(end), whole) << end;
    }
}

TEST_F(SliderTest, AScreenReaderReadsAndMovesIt) {
    slider.setValue(0.53);
    EXPECT_EQ(spoken().role(), QAccessible::Slider);
    EXPECT_EQ(spoken().text(QAccessible::Name), "Volume");
    EXPECT_EQ(spoken().text(QAccessible::Value), "53%");
    auto* value = spoken().valueInterface();
    ASSERT_NE(value, nullptr);
    EXPECT_EQ(value->currentValue().toDouble(), 0.53);
    EXPECT_EQ(value->minimumValue().toDouble(), 0);
    EXPECT_EQ(value->maximumValue().toDouble(), 1);
    EXPECT_EQ(value->minimumStepSize().toDouble(), 0.05);
    value->setCurrentValue(0.25);
    EXPECT_EQ(moves.back(), 0.25);
    value->setCurrentValue("loud");
    value->setCurrentValue(std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(moves.size(), 1U);
    spoken().actionInterface()->doAction(QAccessibleActionInterface::increaseAction());
    EXPECT_EQ(moves.back(), 0.3);
    spoken().actionInterface()->doAction(QAccessibleActionInterface::decreaseAction());
    EXPECT_EQ(moves.back(), 0.25);
}

TEST_F(SliderTest, ReadsAsAPercentageNotRoundedUp) {
    for (int percent = 0; percent <= 100; ++percent) {
        slider.setValue(static_cast<float>(percent) / 100);
        EXPECT_EQ(slider.valueText(), QStringLiteral("%1%").arg(percent));
    }
    slider.setValue(0.999);
    EXPECT_EQ(slider.valueText(), "99%");
}

TEST_F(SliderTest, Picture) {
    QWidget board;
    board.setPalette(ground.palette());
    auto* column = new QVBoxLayout(&board);
    std::vector<Slider*> sliders;
    for (const std::optional<double> level :
         {std::optional(0.0), std::optional(0.03), std::optional(0.4), std::optional(1.0),
          std::optional<double>(), std::optional(0.5), std::optional(0.7)}) {
        sliders.push_back(new Slider(
            "Level", [](double) {}, &board));
        sliders.back()->setValue(level);
        column->addWidget(sliders.back());
    }
    show(board, {260, board.sizeHint().height()});
    board.activateWindow();
    settle();
    sliders[5]->setFocus(Qt::TabFocusReason);
    QTest::mouseMove(sliders[6], {30, 12});
    settle();
    savePicture(board, "slider");
    QTest::mouseMove(&board, {1, 1});
    EXPECT_TRUE(sliders[5]->hasFocus());
}

} // namespace
