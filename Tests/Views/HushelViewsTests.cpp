#include "Hushel/Hushel.hpp"
#include "Hushel/HushelTexts.hpp"
#include "Hushel/HushelViews.hpp"
#include "Platforms/Simulated/SimulatedHost.hpp"
#include "Platforms/Simulated/SimulatedSuite.hpp"
#include "Tests/Views/SpiceViewTest.hpp"
#include "Zorbel/Blend.hpp"
#include "Zorbel/DashboardView.hpp"
#include "ZorbelKit/Controls/AppIcon.hpp"
#include "ZorbelKit/Controls/Buttons.hpp"
#include "ZorbelKit/Controls/LineText.hpp"
#include "ZorbelKit/Controls/Reading.hpp"
#include "ZorbelKit/Controls/SymbolButton.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Stall.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QAccessible>
#include <QApplication>
#include <QElapsedTimer>
#include <QHelpEvent>
#include <QImage>
#include <QPainter>
#include <QScrollArea>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace Hushel;
using namespace Views;
using ZorbelKit::AppIcon;
using ZorbelKit::BrassButton;
using ZorbelKit::LineText;
using ZorbelKit::Observable;
using ZorbelKit::QuietButton;
using ZorbelKit::Reading;
using ZorbelKit::Seconds;
using ZorbelKit::SymbolButton;

constexpr const char* nothingListed =
    "Nothing on the list yet. Add the apps you want kept away while you work.";
constexpr const char* nothingToAdd = "Everything running is already on the list.";
constexpr const char* note =
    "Hushel hides apps rather than quitting them, so nothing you were working on is lost. Website blocking "
    "needs a system extension Zorbel does not ship yet.";

const Blocked chat{"org.example.Chat", "Chat"};
const Blocked mail{"org.example.Mail", "Mail"};
const Blocked news{"org.example.News", "Newsreader"};

QAccessibleInterface& spoken(QWidget& widget) {
    return *QAccessible::queryAccessibleInterface(&widget);
}

/// The rows of a list from top to bottom.
template <class Row>
std::vector<Row*> rowsIn(const QWidget& widget) {
    std::vector<Row*> rows = parts<Row>(widget);
    std::ranges::sort(rows, {}, [](const Row* row) { return row->y(); });
    return rows;
}

template <class Row>
QStringList namesIn(const QWidget& widget) {
    QStringList names;
    for (const Row* row : rowsIn<Row>(widget)) {
        names << row->accessibleName();
    }
    return names;
}

class HushelViewsTest : public SpiceViewTest {
protected:
    HushelViewsTest() {
        host.workspace.icons[chat.bundleID] = writePicture("chat.png", Qt::blue);
        host.workspace.icons[mail.bundleID] = writePicture("mail.png", Qt::darkCyan);
        spice.setEnabled(true);
        spice.steep();
    }

    /// A round picture, as programs have them.
    std::string writePicture(const QString& name, const QColor& colour) const {
        QImage image(96, 96, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(colour);
        painter.drawRoundedRect(image.rect(), 22, 22);
        painter.end();
        EXPECT_TRUE(image.save(folder_.filePath(name)));
        return folder_.filePath(name).toStdString();
    }

    Application& run(const Blocked& application) {
        apps.all.push_back({.processIdentifier = 100 + static_cast<std::int64_t>(apps.all.size()),
                            .bundleIdentifier = application.bundleID,
                            .localizedName = application.name,
                            .isRegular = true});
        return apps.all.back();
    }

    void reachFor(const Blocked& application) {
        for (Application& running : apps.all) {
            running.isActive = running.bundleIdentifier == application.bundleID;
            running.isHidden = running.isHidden && !running.isActive;
        }
        pass();
    }

    void pass(Seconds time = HushelSpice::interval) {
        host.loop.advance(time);
        settle();
    }

    void listThree() {
        for (const Blocked& application : {chat, mail, news}) {
            run(application);
            spice.block(application);
        }
    }

    HushelPanel& openPanel(int width = pageWidth) { return openPage(new HushelPanel(spice, &ground), width); }
    HushelMenuSection& openSection() {
        return SpiceViewTest::openSection(new HushelMenuSection(spice, &ground));
    }

    static void click(const QWidget& in, const QString& name) {
        QAbstractButton* found = button(in, name);
        ASSERT_NE(found, nullptr) << name.toStdString();
        ASSERT_TRUE(found->isVisible()) << name.toStdString();
        QTest::mouseClick(found, Qt::LeftButton);
        settle();
    }

    Simulated::SimulatedHost host;
    Simulated::SimulatedApplications& apps = host.applications;
    HushelSpice spice{{.loop = host.loop,
                       .clock = host.clock,
                       .defaults = host.defaults,
                       .applications = host.applications,
                       .workspace = host.workspace,
                       .language = host.language,
                       .alerts = host.alerts}};

private:
    QTemporaryDir folder_;
};

// ---- The menu section

TEST_F(HushelViewsTest, TheSectionOffersAStartOnceSomethingIsListed) {
    HushelMenuSection& section = openSection();
    QAbstractButton* start = button(section, "Start 25m session");
    ASSERT_NE(start, nullptr);
    EXPECT_TRUE(start->isVisible());
    EXPECT_FALSE(start->isEnabled());
    QTest::mouseClick(start, Qt::LeftButton);
    EXPECT_EQ(spice.session(), std::nullopt);
    savePicture(ground, "hushel-menu-empty");
    spice.block(chat);
    EXPECT_TRUE(start->isEnabled());
    spice.setPlannedMinutes(90);
    EXPECT_EQ(start->text(), "Start 90m session");
    EXPECT_EQ(visibleTexts(section), QStringList{});
    settle();
    savePicture(ground, "hushel-menu");
    click(section, "Start 90m session");
    EXPECT_EQ(spice.session().value().minutes, 90);
    EXPECT_EQ(visibleTexts(section), (QStringList{"90:00", "left"}));
    EXPECT_FALSE(start->isVisible());
    fitSection();
    savePicture(ground, "hushel-menu-running");
    click(section, "Stop");
    EXPECT_EQ(spice.session(), std::nullopt);
    EXPECT_EQ(spice.lastCompleted(), std::nullopt);
    EXPECT_TRUE(start->isVisible());
    EXPECT_FALSE(showsText(section, "left"));
}

TEST_F(HushelViewsTest, TheKeyboardStaysWhereTheButtonWas) {
    spice.block(chat);
    HushelMenuSection& section = openSection();
    auto* start = dynamic_cast<QuietButton*>(button(section, "Start 25m session"));
    start->clearFocus();
    start->setFocus(Qt::TabFocusReason);
    press(Qt::Key_Space);
    EXPECT_EQ(focused(), "Stop");
    EXPECT_TRUE(dynamic_cast<QuietButton*>(button(section, "Stop"))->showsFocus());
    settle();
    fitSection();
    savePicture(ground, "hushel-menu-keyboard");
    press(Qt::Key_Space);
    EXPECT_EQ(focused(), "Start 25m session");
    EXPECT_EQ(spice.session(), std::nullopt);
}

TEST_F(HushelViewsTest, TheKeyboardGoesFromStartToStopAndBack) {
    const HushelPanel& panel = openPanel();
    button(panel, "Start")->setFocus(Qt::TabFocusReason);
    press(Qt::Key_Space);
    EXPECT_EQ(focused(), "Stop");
    press(Qt::Key_Space);
    EXPECT_EQ(focused(), "Start");
    EXPECT_EQ(spice.session(), std::nullopt);
}

TEST_F(HushelViewsTest, ASessionThatIsStartedElsewhereTakesTheKeyboardAlongUnseen) {
    const HushelPanel& panel = openPanel();
    button(panel, "Start")->setFocus(Qt::TabFocusReason);
    button(panel, "25")->setFocus(Qt::OtherFocusReason);
    spice.start();
    EXPECT_EQ(focused(), "Stop");
    EXPECT_FALSE(dynamic_cast<QuietButton*>(button(panel, "Stop"))->showsFocus());
    button(panel, "Add an app")->setFocus(Qt::TabFocusReason);
    spice.endSession(false);
    EXPECT_EQ(focused(), "Add an app");
}

// ---- The clock

TEST_F(HushelViewsTest, TheClockGoesOnAtEachWholeSecond) {
    const HushelMenuSection& section = openSection();
    pass(Seconds(0.4));
    spice.start();
    settle();
    auto& clock = part<Reading>(section);
    EXPECT_EQ(clock.value(), "25:00");
    pass(Seconds(0.999));
    EXPECT_EQ(clock.value(), "25:00");
    pass(Seconds(0.001));
    EXPECT_EQ(clock.value(), "24:59");
    for (int second = 2; second <= 61; ++second) {
        pass();
        EXPECT_EQ(clock.value().toStdString(), clockText(Seconds(1500 - second)));
    }
}

TEST_F(HushelViewsTest, AViewThatComesLateGoesOnWithTheOthers) {
    spice.start();
    host.loop.advance(Seconds(10.75));
    const HushelPanel& panel = openPanel();
    EXPECT_EQ(part<Reading>(panel).value(), "24:50");
    pass(Seconds(0.25));
    EXPECT_EQ(part<Reading>(panel).value(), "24:49");
}

TEST_F(HushelViewsTest, H9_TheClockFollowsTheWallClock) {
    spice.start();
    const HushelPanel& panel = openPanel();
    pass();
    host.clock.shift(Seconds(-3600));
    pass();
    EXPECT_EQ(part<Reading>(panel).value(), "84:58");
    host.clock.shift(Seconds(3600 + 24 * 60));
    pass(Seconds(2));
    EXPECT_EQ(part<Reading>(panel).value(), "0:56");
    pass(Seconds(56));
    EXPECT_EQ(spice.session(), std::nullopt);
    EXPECT_TRUE(part<Hushel::Setup>(panel).isVisible());
}

TEST_F(HushelViewsTest, TheClockCostsNothingWhileItIsNotSeen) {
    const int timers = host.loop.liveTimers();
    HushelPanel& panel = openPanel();
    EXPECT_EQ(host.loop.liveTimers(), timers) << "no session runs";
    spice.start();
    EXPECT_EQ(host.loop.liveTimers(), timers + 2) << "the session's and the clock's";
    panel.hide();
    EXPECT_EQ(host.loop.liveTimers(), timers + 1);
    EXPECT_EQ(spice.observerCount(), 0);
    panel.show();
    EXPECT_EQ(host.loop.liveTimers(), timers + 2);
    spice.endSession(false);
    EXPECT_EQ(host.loop.liveTimers(), timers);
}

TEST_F(HushelViewsTest, ASecondPaintsTheClockAndLittleElse) {
    listThree();
    spice.start();
    const HushelPanel& panel = openPanel();
    settle();
    PaintCounter paints(ground);
    const int looks = apps.looks;
    pass();
    EXPECT_GT(paints.paintsOf(&part<Reading>(panel)), 0);
    EXPECT_EQ(paints.paintsOf(&part<ApplicationList>(panel)), 0);
    EXPECT_EQ(paints.paintsOf(button(panel, "Stop")), 0);
    EXPECT_EQ(paints.paintsOf(button(panel, "Add an app")), 0);
    EXPECT_EQ(apps.looks, looks + 1) << "the sweep's own look, and no other";
}

// ---- Setup

TEST_F(HushelViewsTest, AsksHowLongAndStarts) {
    const HushelPanel& panel = openPanel();
    EXPECT_TRUE(showsText(panel, "How long?"));
    QStringList presets;
    for (const Preset* preset : parts<Preset>(panel)) {
        presets << preset->text();
    }
    EXPECT_EQ(presets, (QStringList{"15", "25", "45", "60", "90"}));
    EXPECT_TRUE(button(panel, "25")->isChecked());
    click(panel, "90");
    EXPECT_EQ(spice.plannedMinutes(), 90);
    EXPECT_TRUE(button(panel, "90")->isChecked());
    EXPECT_FALSE(button(panel, "25")->isChecked());
    click(panel, "90");
    EXPECT_TRUE(button(panel, "90")->isChecked()) << "it stays chosen";
    click(panel, "Start");
    EXPECT_EQ(spice.session().value().minutes, 90);
    EXPECT_FALSE(part<Running>(panel).isHidden());
    EXPECT_EQ(part<Reading>(panel).value(), "90:00");
}

TEST_F(HushelViewsTest, TheChosenLengthIsToldToScreenReaders) {
    const HushelPanel& panel = openPanel();
    for (Preset* preset : parts<Preset>(panel)) {
        QAccessibleInterface& interface = spoken(*preset);
        EXPECT_EQ(interface.role(), QAccessible::RadioButton);
        EXPECT_EQ(interface.text(QAccessible::Description), preset->text() + " minutes");
        EXPECT_TRUE(interface.state().checkable);
        EXPECT_EQ(interface.state().checked, preset->text() == "25");
    }
    spoken(*button(panel, "45")).actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
    EXPECT_EQ(spice.plannedMinutes(), 45);
}

TEST_F(HushelViewsTest, TheArrowKeysChooseALength) {
    const HushelPanel& panel = openPanel();
    button(panel, "25")->setFocus(Qt::TabFocusReason);
    press(Qt::Key_Right);
    EXPECT_EQ(focused(), "45");
    EXPECT_EQ(spice.plannedMinutes(), 45);
    for (int times = 0; times < 5; ++times) {
        press(Qt::Key_Right);
    }
    EXPECT_EQ(spice.plannedMinutes(), 90);
    for (int times = 0; times < 9; ++times) {
        press(Qt::Key_Left);
    }
    EXPECT_EQ(focused(), "15");
    EXPECT_EQ(spice.plannedMinutes(), 15);
    press(Qt::Key_Tab);
    EXPECT_EQ(focused(), "Start") << "the others are reached by the arrow keys";
}

TEST_F(HushelViewsTest, ALengthThatIsNotOfferedIsNotMarked) {
    spice.setPlannedMinutes(7);
    const HushelPanel& panel = openPanel();
    for (const Preset* preset : parts<Preset>(panel)) {
        EXPECT_FALSE(preset->isChecked());
    }
    EXPECT_EQ(button(panel, "15")->focusPolicy(), Qt::StrongFocus);
}

// ---- Running

TEST_F(HushelViewsTest, TellsOfTheSession) {
    listThree();
    HushelPanel& panel = openPanel();
    spice.start();
    fitPage();
    EXPECT_EQ(visibleTexts(part<Running>(panel)), (QStringList{"25:00", "Session running", "Ends at 09:25"}));
    EXPECT_FALSE(showsText(panel, "How long?"));
    reachFor(chat);
    EXPECT_TRUE(showsText(panel, "1 time you reached for something"));
    reachFor(mail);
    reachFor(chat);
    EXPECT_TRUE(showsText(panel, "3 times you reached for something"));
    click(panel, "Stop");
    EXPECT_EQ(spice.session(), std::nullopt);
    EXPECT_TRUE(showsText(panel, "How long?"));
    EXPECT_FALSE(showsText(panel, "Session running"));
    spice.start();
    EXPECT_FALSE(showsText(panel, "3 times you reached for something")) << "another session";
}

TEST_F(HushelViewsTest, TheRingClosesAsTimePasses) {
    spice.start();
    const HushelPanel& panel = openPanel();
    auto& ring = part<SessionRing>(panel);
    const QColor accent = ZorbelKit::qColor(spice.accent());
    const auto at = [&](double turn) { // of the ring's middle line, clockwise from twelve
        const double angle = turn * 2 * M_PI;
        const double radius = SessionRing::diameter / 2.0 - 4;
        const QPointF centre = QRectF(ring.rect()).center();
        const QPointF point = centre + radius * QPointF(std::sin(angle), -std::cos(angle));
        return ring.grab().toImage().pixelColor(point.toPoint());
    };
    EXPECT_NE(at(0.1), accent);
    pass(Seconds(25 * 60 * 0.5));
    EXPECT_EQ(at(0.1), accent);
    EXPECT_EQ(at(0.4), accent);
    EXPECT_NE(at(0.6), accent);
    pass(Seconds(25 * 60 * 0.4));
    EXPECT_EQ(at(0.8), accent);
    EXPECT_NE(at(0.97), accent);
    host.clock.shift(Seconds(-3600));
    pass();
    EXPECT_NE(at(0.1), accent) << "set back before its start";
}

// ---- The list

TEST_F(HushelViewsTest, TheListIsInItsOrderAndEachCanBeRemoved) {
    const HushelPanel& panel = openPanel();
    EXPECT_TRUE(showsText(panel, "KEPT OUT OF THE WAY"));
    EXPECT_TRUE(showsText(panel, nothingListed));
    EXPECT_TRUE(showsText(panel, note));
    listThree();
    settle();
    EXPECT_FALSE(showsText(panel, nothingListed));
    EXPECT_EQ(namesIn<KeptRow>(panel), (QStringList{"Chat", "Mail", "Newsreader"}));
    click(panel, "Remove Mail");
    EXPECT_EQ(namesIn<KeptRow>(panel), (QStringList{"Chat", "Newsreader"}));
    EXPECT_EQ(spice.blocked(), (std::vector{chat, news}));
    EXPECT_EQ(spoken(*button(panel, "Remove Chat")).role(), QAccessible::Button);
    click(panel, "Remove Chat");
    click(panel, "Remove Newsreader");
    EXPECT_TRUE(showsText(panel, nothingListed));
}

TEST_F(HushelViewsTest, TheKeyboardRemovesToo) {
    listThree();
    const HushelPanel& panel = openPanel();
    rowsIn<KeptRow>(panel).front()->setFocus(Qt::TabFocusReason);
    press(Qt::Key_Down);
    EXPECT_EQ(focused(), "Mail");
    press(Qt::Key_Delete);
    EXPECT_EQ(focused(), "Newsreader") << "the next one takes its place";
    press(Qt::Key_Backspace);
    EXPECT_EQ(focused(), "Chat");
    press(Qt::Key_Up);
    EXPECT_EQ(focused(), "Chat");
    press(Qt::Key_Delete);
    EXPECT_EQ(focused(), "Add an app");
    EXPECT_TRUE(spice.blocked().empty());
}

TEST_F(HushelViewsTest, EntriesThatAreEqualAreAllListed) {
    const std::string_view stored =
        R"([{"bundleID":"a","name":"A"},{"bundleID":"a","name":"A"},{"bundleID":"a","name":"B"}])";
    host.defaults.setData("hushel.blocked", {stored.begin(), stored.end()});
    spice.steep();
    const HushelPanel& panel = openPanel();
    EXPECT_EQ(namesIn<KeptRow>(panel), (QStringList{"A", "A", "B"}));
    spice.block(chat);
    settle();
    EXPECT_EQ(namesIn<KeptRow>(panel), (QStringList{"A", "A", "B", "Chat"}));
    click(panel, "Remove B");
    EXPECT_EQ(namesIn<KeptRow>(panel), QStringList{"Chat"});
}

TEST_F(HushelViewsTest, EachHasItsPictureOrASignThatItHasNone) {
    listThree();
    const HushelPanel& panel = openPanel();
    const auto rows = rowsIn<KeptRow>(panel);
    EXPECT_TRUE(part<AppIcon>(*rows.at(0)).hasPicture());
    EXPECT_EQ(part<AppIcon>(*rows.at(0)).grab().toImage().pixelColor(11, 11), QColor(Qt::blue));
    EXPECT_FALSE(part<AppIcon>(*rows.at(2)).hasPicture());
}

TEST_F(HushelViewsTest, NamesOfAllKindsStayOnTheirLine) {
    std::string endless;
    for (int count = 0; count < 50'000; ++count) {
        endless += "Very long ";
    }
    for (const char* name : {"Two\nlines and <b>marks</b> &amp; more", "\xFF\xFE broken", "", "דואר"}) {
        spice.block({"org.example.App" + std::to_string(spice.blocked().size()), name});
    }
    spice.block({"long", endless});
    const HushelPanel& panel = openPanel();
    const auto rows = rowsIn<KeptRow>(panel);
    ASSERT_EQ(rows.size(), 5U);
    EXPECT_EQ(part<LineText>(*rows.at(0)).text(), "Two lines and <b>marks</b> &amp; more");
    EXPECT_TRUE(rows.at(0)->toolTip().contains("&lt;b&gt;marks"));
    EXPECT_EQ(part<LineText>(*rows.at(2)).text(), "org.example.App2");
    EXPECT_TRUE(part<LineText>(*rows.at(4)).shown().text.endsWith(QChar(0x2026)));
    for (KeptRow* row : rows) {
        EXPECT_EQ(row->height(), ApplicationRow::rowHeight);
        const auto& remove = part<SymbolButton>(*row);
        EXPECT_TRUE(row->rect().contains(remove.geometry()));
        QHelpEvent event(QEvent::ToolTip, {60, 10}, row->mapToGlobal(QPoint(60, 10)));
        QApplication::sendEvent(row, &event);
        EXPECT_EQ(event.isAccepted(), row == rows.at(4)) << "only what is cut off has more to tell";
    }
    savePage("hushel-panel-hostile");
}

TEST_F(HushelViewsTest, TwoHundredListedStayQuick) {
    for (int index = 1; index <= 200; ++index) {
        const Blocked application{"org.example.App" + std::to_string(index), "App " + std::to_string(index)};
        host.workspace.icons[application.bundleID] = host.workspace.icons[chat.bundleID];
        spice.block(application);
    }
    const HushelPanel& panel = openPanel();
    EXPECT_LE(parts<KeptRow>(panel).size(), 8U) << "few more than those in sight are widgets";
    rowsIn<KeptRow>(panel).front()->setFocus(Qt::TabFocusReason);
    QElapsedTimer time;
    time.start();
    for (int step = 0; step < 199; ++step) {
        press(Qt::Key_Down);
    }
    EXPECT_EQ(focused(), "App 200");
    press(Qt::Key_Delete);
    EXPECT_EQ(focused(), "App 199");
    EXPECT_LT(time.elapsed(), 5000);
    savePage("hushel-panel-endless");
}

// ---- The picker

TEST_F(HushelViewsTest, ThePickerAddsAndFollowsTheList) {
    run(news);
    run(mail);
    run({"org.example.chat2", "chat"});
    const HushelPanel& panel = openPanel();
    EXPECT_TRUE(parts<CandidateRow>(panel).empty());
    EXPECT_EQ(apps.looks, 0) << "nobody asked";
    click(panel, "Add an app");
    EXPECT_EQ(namesIn<CandidateRow>(panel), (QStringList{"chat", "Mail", "Newsreader"}));
    EXPECT_EQ(apps.looks, 1);
    fitPage();
    QTest::mouseClick(rowsIn<CandidateRow>(panel).at(1), Qt::LeftButton);
    settle();
    EXPECT_EQ(spice.blocked(), std::vector{mail});
    EXPECT_EQ(namesIn<CandidateRow>(panel), (QStringList{"chat", "Newsreader"})) << "it stays open";
    EXPECT_EQ(namesIn<KeptRow>(panel), QStringList{"Mail"});
    click(panel, "Remove Mail");
    EXPECT_EQ(namesIn<CandidateRow>(panel), (QStringList{"chat", "Mail", "Newsreader"}));
    const int looks = apps.looks;
    run(chat);
    pass(Seconds(60));
    EXPECT_EQ(apps.looks, looks) << "it is read when it opens and when the list changes";
    click(panel, "Add an app");
    EXPECT_TRUE(parts<CandidateRow>(panel).empty()) << "closed";
    click(panel, "Add an app");
    EXPECT_EQ(namesIn<CandidateRow>(panel), (QStringList{"chat", "Chat", "Mail", "Newsreader"}));
}

TEST_F(HushelViewsTest, ThePickerSaysWhenAllAreListed) {
    run(chat);
    const HushelPanel& panel = openPanel();
    EXPECT_FALSE(showsText(panel, nothingToAdd));
    click(panel, "Add an app");
    EXPECT_FALSE(showsText(panel, nothingToAdd));
    fitPage();
    QTest::mouseClick(rowsIn<CandidateRow>(panel).front(), Qt::LeftButton);
    settle();
    EXPECT_TRUE(showsText(panel, nothingToAdd));
    EXPECT_TRUE(button(panel, "Add an app")->isChecked());
}

TEST_F(HushelViewsTest, ThePickerIsWorkedByTheKeyboard) {
    run(news);
    run(mail);
    run(chat);
    const HushelPanel& panel = openPanel();
    QAbstractButton* add = button(panel, "Add an app");
    for (const Qt::Key opens : {Qt::Key_Return, Qt::Key_Down}) {
        add->setFocus(Qt::TabFocusReason);
        press(opens);
        EXPECT_EQ(focused(), "Chat");
        press(Qt::Key_Escape);
        EXPECT_EQ(focused(), "Add an app");
        EXPECT_TRUE(parts<CandidateRow>(panel).empty());
    }
    press(Qt::Key_Space);
    EXPECT_EQ(parts<CandidateRow>(panel).size(), 3U);
    press(Qt::Key_Escape);
    EXPECT_TRUE(parts<CandidateRow>(panel).empty()) << "also from the button";
    press(Qt::Key_Return);
    press(Qt::Key_Up);
    EXPECT_EQ(focused(), "Add an app");
    press(Qt::Key_Down);
    press(Qt::Key_Down);
    EXPECT_EQ(focused(), "Mail");
    press(Qt::Key_Return);
    EXPECT_EQ(spice.blocked(), std::vector{mail});
    EXPECT_EQ(focused(), "Newsreader") << "the next one takes its place";
    press(Qt::Key_Space);
    EXPECT_EQ(focused(), "Chat");
    press(Qt::Key_Return);
    EXPECT_EQ(focused(), "Add an app") << "there is none left";
    EXPECT_EQ(spice.blocked(), (std::vector{mail, news, chat}));
}

TEST_F(HushelViewsTest, ThePickerDoesNotOutliveThePage) {
    run(chat);
    HushelPanel& panel = openPanel();
    click(panel, "Add an app");
    panel.hide();
    panel.show();
    settle();
    EXPECT_TRUE(parts<CandidateRow>(panel).empty());
    EXPECT_FALSE(button(panel, "Add an app")->isChecked());
}

TEST_F(HushelViewsTest, EscapeOnAClosedPickerIsThePages) {
    openPanel();
    button(ground, "Add an app")->setFocus(Qt::TabFocusReason);
    QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
    escape.setAccepted(true);
    QApplication::sendEvent(ground.focusWidget(), &escape);
    EXPECT_FALSE(escape.isAccepted());
}

// ---- What cannot be

TEST_F(HushelViewsTest, H7_SaysOnceThatNothingCanBeHidden) {
    apps.hint = "No window manager runs here, so apps cannot be hidden.";
    listThree();
    const HushelPanel& panel = openPanel();
    EXPECT_EQ(visibleTexts(panel).count(QString::fromStdString(apps.hint)), 1);
    savePage("hushel-panel-no-hiding");
    spice.start();
    settle();
    EXPECT_EQ(visibleTexts(panel).count(QString::fromStdString(apps.hint)), 1);
}

TEST_F(HushelViewsTest, H7_NamesWhatCannotBeHidden) {
    listThree();
    apps.all.front().canHide = false;
    const HushelPanel& panel = openPanel();
    EXPECT_FALSE(showsText(panel, "Chat cannot be hidden here."));
    spice.start();
    settle();
    EXPECT_TRUE(showsText(panel, "Chat cannot be hidden here."));
    savePage("hushel-panel-out-of-reach");
    spice.endSession(false);
    settle();
    EXPECT_FALSE(showsText(panel, "Chat cannot be hidden here."));
}

TEST_F(HushelViewsTest, HiddenViewsListenToNothing) {
    const int before = host.liveThings();
    openPanel();
    EXPECT_EQ(Observable::liveObserversForTesting(), 1);
    ground.hide();
    EXPECT_EQ(host.liveThings(), before);
}

// ---- Pictures

TEST_F(HushelViewsTest, Pictures) {
    HushelPanel& panel = openPanel();
    savePage("hushel-panel-empty");
    listThree();
    savePage("hushel-panel");
    savePage("hushel-panel-narrow", narrowWidth);
    button(panel, "Start")->setFocus(Qt::TabFocusReason);
    button(panel, "25")->setFocus(Qt::BacktabFocusReason);
    pointAt(*button(panel, "60"));
    savePage("hushel-panel-hover-and-keyboard");
    rowsIn<KeptRow>(panel).at(1)->setFocus(Qt::TabFocusReason);
    pointAt(*rowsIn<KeptRow>(panel).at(2));
    savePage("hushel-panel-rows");
    ground.setFocus();
    pointAt(ground, {1, 1});
    spice.start();
    pass(Seconds(7));
    savePage("hushel-panel-running");
    reachFor(chat);
    savePage("hushel-panel-running-1");
    reachFor(mail);
    reachFor(chat);
    pass(Seconds(9 * 60));
    savePage("hushel-panel-running-3");
    savePage("hushel-panel-running-narrow", narrowWidth);
    spice.endSession(false);
    run({"org.example.Editor", "Text Editor"});
    run({"org.example.Films", "Films"});
    click(panel, "Add an app");
    fitPage();
    pointAt(*rowsIn<CandidateRow>(panel).at(1));
    savePage("hushel-panel-picker");
    for (const Blocked& application : spice.runningApps()) {
        spice.block(application);
    }
    pointAt(ground, {1, 1});
    settle();
    savePage("hushel-panel-picker-empty");
    EXPECT_TRUE(showsText(panel, nothingToAdd));
}

class HushelInTheDashboard : public ::testing::Test {
protected:
    HushelInTheDashboard()
        : stall(Zorbel::Blend::build(suite.host())) {
        for (int index = 0; index < 12; ++index) {
            suite.applications.all.push_back({.bundleIdentifier = "app" + std::to_string(index),
                                              .localizedName = "App " + std::to_string(index),
                                              .isRegular = true});
        }
        auto& spice = dynamic_cast<HushelSpice&>(*stall->spice("hushel"));
        for (int index = 0; index < 4; ++index) {
            spice.block(spice.runningApps().front());
        }
        stall->setEnabled(true, spice);
        stall->setSelection("hushel");
        dashboard.reset(Zorbel::dashboardView(*stall, suite.loop).build(nullptr));
    }

    Simulated::SimulatedSuite suite;
    std::unique_ptr<ZorbelKit::Stall> stall;
    std::unique_ptr<QWidget> dashboard;
};

TEST_F(HushelInTheDashboard, Picture) {
    show(*dashboard, {960, 640});
    savePicture(*dashboard, "dashboard-hushel");
    dashboard->resize(840, 560);
    settle();
    savePicture(*dashboard, "dashboard-hushel-smallest");
    EXPECT_LE(part<HushelPanel>(*dashboard).width(), 840 - 268 - 56);
}

TEST_F(HushelInTheDashboard, ThePickerIsBroughtIntoSight) {
    show(*dashboard, {840, 560});
    QTest::mouseClick(button(*dashboard, "Add an app"), Qt::LeftButton);
    settle();
    auto& picker = part<Hushel::Picker>(*dashboard);
    const QRect onScreen(picker.mapTo(dashboard.get(), QPoint()), picker.size());
    EXPECT_LE(onScreen.bottom(), dashboard->height());
    savePicture(*dashboard, "dashboard-hushel-picker");
}

} // namespace
