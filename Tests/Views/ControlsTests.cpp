#include "Tests/Views/ViewTests.hpp"
#include "ZorbelKit/Controls/AppIcon.hpp"
#include "ZorbelKit/Controls/Buttons.hpp"
#include "ZorbelKit/Controls/Capsule.hpp"
#include "ZorbelKit/Controls/Counter.hpp"
#include "ZorbelKit/Controls/LineText.hpp"
#include "ZorbelKit/Controls/LiveView.hpp"
#include "ZorbelKit/Controls/Reading.hpp"
#include "ZorbelKit/Controls/SearchField.hpp"
#include "ZorbelKit/Controls/SpiceIcon.hpp"
#include "ZorbelKit/Controls/SteepDot.hpp"
#include "ZorbelKit/Controls/Switch.hpp"
#include "ZorbelKit/Controls/Symbol.hpp"
#include "ZorbelKit/Controls/SymbolButton.hpp"
#include "ZorbelKit/Controls/Text.hpp"
#include "ZorbelKit/Observable.hpp"
#include "ZorbelKit/Palette.hpp"
#include "ZorbelKit/Surfaces/ResourceImage.hpp"
#include "ZorbelKit/Surfaces/Theme.hpp"

#include <QAccessible>
#include <QApplication>
#include <QDateTime>
#include <QEnterEvent>
#include <QGridLayout>
#include <QIcon>
#include <QLineEdit>
#include <QLocale>
#include <QPainter>
#include <QTest>
#include <gtest/gtest.h>

#include <cmath>
#include <memory>

namespace {

using namespace Views;
using namespace ZorbelKit;

/// How much of the picture is not the ground it was painted on, 0 … 1.
double coverage(const QImage& picture) {
    const QRgb ground = picture.pixel(0, 0);
    int covered = 0;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            covered += picture.pixel(x, y) != ground ? 1 : 0;
        }
    }
    return static_cast<double>(covered) / (picture.width() * picture.height());
}

TEST(Buttons, HaveTheirPaddingsAndRunOnAClick) {
    BrassButton brassy("Open Zorbel");
    show(brassy, brassy.sizeHint());
    const QFontMetricsF metrics(brassy.font());
    EXPECT_NEAR(brassy.width(), metrics.horizontalAdvance("Open Zorbel") + 28, 1);
    EXPECT_NEAR(brassy.height(), metrics.height() + 14, 1);
    int runs = 0;
    QObject::connect(&brassy, &QAbstractButton::clicked, &brassy, [&] { ++runs; });
    QTest::mouseClick(&brassy, Qt::LeftButton);
    QTest::keyClick(&brassy, Qt::Key_Space);
    EXPECT_EQ(runs, 2);
    QTest::mouseMove(&brassy, {-50, -50});
    QEvent leave(QEvent::Leave);
    QApplication::sendEvent(&brassy, &leave);
    const QColor fill = brassy.grab().toImage().pixelColor(brassy.width() / 2, 3);
    EXPECT_EQ(fill.rgb(), qColor(brass).rgb());
}

TEST(Buttons, ShowTheFocusOfTheKeyboardAndNotOfThePointer) {
    QuietButton quiet("Later");
    show(quiet, quiet.sizeHint());
    quiet.activateWindow();
    quiet.clearFocus();
    const QImage plain = quiet.grab().toImage();
    quiet.setFocus(Qt::MouseFocusReason);
    settle();
    EXPECT_EQ(quiet.grab().toImage(), plain);
    quiet.clearFocus();
    quiet.setFocus(Qt::TabFocusReason);
    settle();
    EXPECT_NE(quiet.grab().toImage(), plain);
}

TEST(Switch, WritingTheModelBackIsSilent) {
    Switch power("Rusket");
    int toggles = 0;
    QObject::connect(&power, &QAbstractButton::toggled, &power, [&] { ++toggles; });
    power.setCheckedSilently(true);
    EXPECT_TRUE(power.isChecked());
    EXPECT_EQ(toggles, 0);
    show(power, power.sizeHint());
    QTest::mouseClick(&power, Qt::LeftButton);
    EXPECT_FALSE(power.isChecked());
    EXPECT_EQ(toggles, 1);
}

TEST(SteepDot, LeavesRoomForTheRingAndSaysWhatItShows) {
    SteepDot dot(brass, false, 10);
    EXPECT_GE(dot.sizeHint().width(), 16) << "1.6 times the dot";
    EXPECT_EQ(dot.accessibleName(), "Resting");
    show(dot, dot.sizeHint());
    const QImage resting = dot.grab().toImage();
    dot.setOn(true);
    settle();
    EXPECT_EQ(dot.accessibleName(), "Steeping");
    EXPECT_GT(coverage(dot.grab().toImage()), coverage(resting)) << "the ring lies outside the dot";
}

TEST(SteepDot, PulsesOnlyWhileItIsOnAndSeen) {
    setMotionReduced(false);
    QWidget window;
    auto* dot = new SteepDot(brass, true, 10, &window);
    show(window, {40, 40});
    PaintCounter paints(window);
    EXPECT_TRUE(QTest::qWaitFor([&] { return paints.paintsOf(dot) > 2; }));
    dot->setOn(false);
    EXPECT_TRUE(QTest::qWaitFor([&] {
        paints.reset();
        QTest::qWait(60);
        return paints.all() == 0;
    })) << "at rest nothing is drawn";
    setMotionReduced(true);
}

TEST(SpiceIcon, EverySpiceHasAnImageOfItsOwnInItsAccent) {
    std::vector<QImage> pictures;
    QWidget fallback;
    SpiceIcon unknown("cumin", 64);
    show(unknown, {64, 64});
    pictures.push_back(unknown.grab().toImage());
    for (const auto& entry : spiceColours) {
        const std::string id(entry.id);
        SCOPED_TRACE(id);
        SpiceIcon icon(id, 64);
        show(icon, {64, 64});
        const QImage picture = icon.grab().toImage();
        EXPECT_GT(coverage(picture), 0.1);
        EXPECT_LT(coverage(picture), 0.9);
        bool hasAccent = false;
        for (int y = 0; y < 64; ++y) {
            for (int x = 0; x < 64; ++x) {
                hasAccent = hasAccent || picture.pixelColor(x, y) == qColor(entry.colour);
            }
        }
        EXPECT_TRUE(hasAccent);
        for (const QImage& other : pictures) {
            EXPECT_NE(picture, other);
        }
        pictures.push_back(picture);
    }
}

TEST(SpiceIcon, IsLegibleAtEighteenPoints) {
    for (const auto& entry : spiceColours) {
        SCOPED_TRACE(entry.id);
        SpiceIcon icon(std::string(entry.id), 18);
        show(icon, {18, 18});
        EXPECT_GT(coverage(icon.grab().toImage()), 0.2);
    }
}

TEST(SpiceIcon, DimmedStandsAtHalfOpacity) {
    const auto strongest = [](SpiceIcon& icon) {
        show(icon, {64, 64});
        const QImage picture = icon.grab().toImage();
        const int ground = picture.pixelColor(0, 0).red();
        int furthest = 0;
        for (int y = 0; y < 64; ++y) {
            for (int x = 0; x < 64; ++x) {
                furthest = std::max(furthest, std::abs(picture.pixelColor(x, y).red() - ground));
            }
        }
        return furthest;
    };
    SpiceIcon bright("rusket", 64);
    SpiceIcon dimmed("rusket", 64, true);
    const int full = strongest(bright);
    EXPECT_NEAR(strongest(dimmed), full / 2.0, 2);
    dimmed.setDimmed(false);
    EXPECT_EQ(strongest(dimmed), full);
}

TEST(Reading, DigitsTakeTheSameWidthSoThatAFigureStandsStill) {
    Reading ones("111%", std::nullopt, 20, QFont::Medium);
    Reading nines("998%", std::nullopt, 20, QFont::Medium);
    EXPECT_EQ(ones.sizeHint(), nines.sizeHint());
    Reading withUnit("111", "GB", 20, QFont::Medium);
    EXPECT_GT(withUnit.sizeHint().width(),
              Reading("111", std::nullopt, 20, QFont::Medium).sizeHint().width());
    EXPECT_EQ(withUnit.accessibleName(), "111 GB");
}

TEST(Reading, AnEqualValueRepaintsNothing) {
    Reading reading("42%", std::nullopt, 20, QFont::Medium);
    show(reading, reading.sizeHint());
    PaintCounter paints(reading);
    reading.setValue("42%");
    settle();
    EXPECT_EQ(paints.all(), 0);
    reading.setValue("43%");
    settle();
    EXPECT_EQ(paints.all(), 1);
}

TEST(LiveView, FollowsItsModelOnlyWhileItIsSeen) {
    struct Model : Observable {
        Published<int> value{*this, 0};
    };
    struct View : LiveView {
        explicit View(Model& model)
            : LiveView(model, nullptr) {}
        void refresh() override { ++refreshes; }
        int refreshes = 0;
    };
    Model model;
    View view(model);
    model.value.set(1);
    EXPECT_EQ(view.refreshes, 0);
    view.show();
    EXPECT_EQ(view.refreshes, 1);
    model.value.set(2);
    EXPECT_EQ(view.refreshes, 2);
    view.hide();
    model.value.set(3);
    EXPECT_EQ(view.refreshes, 2);
    EXPECT_EQ(model.observerCount(), 0);
}

TEST(Glide, MovesToItsTargetAndThenRests) {
    setMotionReduced(false);
    QWidget widget;
    show(widget, {10, 10});
    int steps = 0;
    Glide glide(widget, 0, [&] { ++steps; });
    glide.to(1, Pour::settle(Pour::sip));
    EXPECT_LT(glide.value(), 1);
    EXPECT_TRUE(QTest::qWaitFor([&] { return glide.value() == 1; }));
    EXPECT_GT(steps, 1);
    widget.hide();
    glide.to(0, Pour::settle(Pour::boil));
    EXPECT_EQ(glide.value(), 0) << "what cannot be seen does not move";
    setMotionReduced(true);
    widget.show();
    glide.to(1, Pour::settle(Pour::boil));
    EXPECT_EQ(glide.value(), 1);
}

constexpr const char* symbols[] = {"text.alignleft",
                                   "chevron.left.forwardslash.chevron.right",
                                   "link",
                                   "paintpalette",
                                   "photo",
                                   "doc",
                                   "pin.fill",
                                   "xmark",
                                   "magnifyingglass",
                                   "checkmark",
                                   "macwindow",
                                   "app.dashed",
                                   "plus",
                                   "laptopcomputer",
                                   "display",
                                   "rectangle",
                                   "rectangle.lefthalf.filled",
                                   "mic",
                                   "airpodspro",
                                   "tv",
                                   "airplayaudio",
                                   "hifispeaker",
                                   "speaker.wave.2",
                                   "speaker.wave.2.fill",
                                   "speaker.slash.fill"};

TEST(Symbol, EachHasADrawingOfItsOwnInTheColourAskedFor) {
    std::vector<QImage> pictures;
    for (const char* name : symbols) {
        SCOPED_TRACE(name);
        Symbol symbol(name, 48, brass);
        show(symbol, symbol.sizeHint());
        const QImage picture = symbol.grab().toImage();
        EXPECT_GT(coverage(picture), 0.08);
        EXPECT_LT(coverage(picture), 0.6);
        bool hasColour = false;
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = 0; x < picture.width(); ++x) {
                hasColour = hasColour || picture.pixelColor(x, y) == qColor(brass);
            }
        }
        EXPECT_TRUE(hasColour);
        for (const QImage& other : pictures) {
            EXPECT_NE(picture, other);
        }
        pictures.push_back(picture);
    }
}

TEST(Symbol, NoDrawingTouchesItsEdge) {
    for (const char* name : symbols) {
        SCOPED_TRACE(name);
        const QImage picture = resourceImage(QStringLiteral("Symbols/%1").arg(name), 48);
        ASSERT_FALSE(picture.isNull());
        for (int at = 0; at < 48; ++at) {
            EXPECT_EQ(qAlpha(picture.pixel(at, 0)), 0);
            EXPECT_EQ(qAlpha(picture.pixel(at, 47)), 0);
            EXPECT_EQ(qAlpha(picture.pixel(0, at)), 0);
            EXPECT_EQ(qAlpha(picture.pixel(47, at)), 0);
        }
    }
}

TEST(AppIcon, EachPixelOfAPictureOfTheRightSizeIsOneOnTheScreen) {
    for (const double scale : {1.0, 1.25, 1.5, 2.0, 3.0}) {
        SCOPED_TRACE(scale);
        const int side = static_cast<int>(std::lround(24 * scale));
        QImage chequers(side, side, QImage::Format_RGB32);
        for (int y = 0; y < side; ++y) {
            for (int x = 0; x < side; ++x) {
                chequers.setPixelColor(x, y, (x + y) % 2 == 0 ? Qt::white : Qt::black);
            }
        }
        const QIcon icon(QPixmap::fromImage(chequers));
        for (const int place : {4, 5, 7}) { // in device pixels, these are not always whole places
            QImage window(QSizeF(40 * scale, 40 * scale).toSize(), QImage::Format_ARGB32_Premultiplied);
            window.setDevicePixelRatio(scale);
            window.fill(Qt::transparent);
            QPainter painter(&window);
            painter.translate(place, place);
            paintIcon(painter, icon, {0, 0, 24, 24});
            painter.end();
            int sharp = 0;
            for (int y = 0; y < window.height(); ++y) {
                for (int x = 0; x < window.width(); ++x) {
                    const QColor pixel = window.pixelColor(x, y);
                    sharp += pixel == QColor(Qt::white) || pixel == QColor(Qt::black) ? 1 : 0;
                }
            }
            EXPECT_EQ(sharp, side * side) << place;
        }
    }
}

TEST(AppIcon, ASmallPictureIsNotBlownUp) {
    QImage small(16, 16, QImage::Format_RGB32);
    small.fill(Qt::white);
    QImage window(40, 40, QImage::Format_RGB32);
    window.fill(Qt::black);
    QPainter painter(&window);
    paintIcon(painter, QIcon(QPixmap::fromImage(small)), {0, 0, 36, 36});
    painter.end();
    EXPECT_EQ(window.pixelColor(9, 18), QColor(Qt::black));
    EXPECT_EQ(window.pixelColor(10, 18), QColor(Qt::white)) << "it stands in the middle";
    EXPECT_EQ(window.pixelColor(25, 18), QColor(Qt::white));
    EXPECT_EQ(window.pixelColor(26, 18), QColor(Qt::black));
}

TEST(AppIcon, WithoutAPictureThereIsTheSymbol) {
    AppIcon icon(24, "app.dashed", nullptr);
    show(icon, icon.sizeHint());
    EXPECT_EQ(icon.sizeHint(), QSize(24, 24));
    const double empty = coverage(icon.grab().toImage());
    EXPECT_GT(empty, 0.03);
    for (const char* place : {"", "/no/such/file.png", "no-such-icon", "/"}) {
        icon.load(place);
        EXPECT_FALSE(icon.hasPicture()) << place;
        EXPECT_EQ(coverage(icon.grab().toImage()), empty) << place;
    }
}

TEST(Symbol, AnUnknownNameLeavesThePlaceEmpty) {
    Symbol symbol("teapot", 16, brass);
    show(symbol, {16, 16});
    EXPECT_EQ(coverage(symbol.grab().toImage()), 0);
}

TEST(Symbol, EqualValuesRepaintNothing) {
    Symbol symbol("link", 16, brass);
    show(symbol, symbol.sizeHint());
    PaintCounter paints(symbol);
    symbol.setSymbol("link");
    symbol.setColour(brass);
    settle();
    EXPECT_EQ(paints.all(), 0);
    symbol.setSymbol("doc");
    settle();
    EXPECT_EQ(paints.all(), 1);
    symbol.setColour(malai);
    settle();
    EXPECT_EQ(paints.all(), 2);
}

TEST(SymbolButton, LooksOtherUnderThePointerWithTheKeyboardAndPressed) {
    SymbolButton forget("Forget", "xmark", 12);
    show(forget, forget.sizeHint());
    forget.activateWindow();
    forget.clearFocus();
    QEvent leave(QEvent::Leave);
    QApplication::sendEvent(&forget, &leave);
    const QImage plain = forget.grab().toImage();
    QEnterEvent enter({12, 12}, {12, 12}, {12, 12});
    QApplication::sendEvent(&forget, &enter);
    const QImage hovered = forget.grab().toImage();
    EXPECT_NE(hovered, plain);
    forget.setDown(true);
    EXPECT_NE(forget.grab().toImage(), hovered);
    forget.setDown(false);
    QApplication::sendEvent(&forget, &leave);
    EXPECT_EQ(forget.grab().toImage(), plain);
    forget.setFocus(Qt::TabFocusReason);
    settle();
    EXPECT_NE(forget.grab().toImage(), plain);
}

TEST(SymbolButton, SaysWhatItDoes) {
    SymbolButton pin("Pin", "pin.fill", 14);
    int runs = 0;
    QObject::connect(&pin, &QAbstractButton::clicked, &pin, [&] { ++runs; });
    EXPECT_EQ(pin.accessibleName(), "Pin");
    EXPECT_EQ(pin.toolTip(), "Pin");
    pin.setKeys("Ctrl+P");
    pin.setName("Unpin");
    EXPECT_EQ(pin.accessibleName(), "Unpin");
    EXPECT_EQ(pin.toolTip(), "Unpin (Ctrl+P)");
    show(pin, pin.sizeHint());
    QTest::mouseClick(&pin, Qt::LeftButton);
    QTest::keyClick(&pin, Qt::Key_Space);
    EXPECT_EQ(runs, 2);
    EXPECT_EQ(QAccessible::queryAccessibleInterface(&pin)->role(), QAccessible::Button);
}

class SearchFieldTest : public ::testing::Test {
protected:
    SearchFieldTest() {
        field.onChange([this](const QString& text) { heard << text; });
        show(window, {300, 60});
        field.setGeometry(10, 10, 280, field.sizeHint().height());
        window.activateWindow();
        field.setFocus();
        settle();
    }

    QLineEdit& edit() { return *field.findChild<QLineEdit*>(); }
    QAbstractButton& clear() { return *button(field, "Clear"); }

    QWidget window;
    SearchField field{"Search what you have copied", "magnifyingglass", &window};
    QStringList heard;
};

TEST_F(SearchFieldTest, TellsWhatIsTyped) {
    EXPECT_TRUE(edit().hasFocus());
    EXPECT_EQ(edit().placeholderText(), "Search what you have copied");
    EXPECT_EQ(edit().accessibleName(), "Search what you have copied");
    QTest::keyClicks(&edit(), "te");
    EXPECT_EQ(heard, (QStringList{"t", "te"}));
    EXPECT_EQ(field.text(), "te");
}

TEST_F(SearchFieldTest, WritingTheModelBackIsSilentAndLeavesTheCursor) {
    QTest::keyClicks(&edit(), "tea");
    edit().setCursorPosition(1);
    heard.clear();
    field.setText("tea");
    EXPECT_EQ(edit().cursorPosition(), 1);
    field.setText("milk");
    EXPECT_EQ(field.text(), "milk");
    EXPECT_TRUE(heard.isEmpty());
}

TEST_F(SearchFieldTest, TheClearButtonIsThereOnlyWhereThereIsSomethingToClear) {
    EXPECT_FALSE(clear().isVisible());
    QTest::keyClicks(&edit(), "t");
    EXPECT_TRUE(clear().isVisible());
    QTest::mouseClick(&clear(), Qt::LeftButton);
    EXPECT_EQ(field.text(), "");
    EXPECT_EQ(heard.back(), "");
    EXPECT_FALSE(clear().isVisible());
    EXPECT_TRUE(edit().hasFocus());
    field.setText("milk");
    EXPECT_TRUE(clear().isVisible());
}

TEST_F(SearchFieldTest, GoesOnWithWhatWasTypedElsewhere) {
    QTest::keyClicks(&edit(), "te");
    window.setFocusPolicy(Qt::StrongFocus);
    window.setFocus();
    field.type("a");
    EXPECT_TRUE(edit().hasFocus());
    EXPECT_EQ(field.text(), "tea");
    EXPECT_EQ(heard.back(), "tea");
}

TEST_F(SearchFieldTest, EscapeClearsAndDownLeads) {
    int downs = 0;
    field.onDown([&] { ++downs; });
    QTest::keyClicks(&edit(), "te");
    QTest::keyClick(&edit(), Qt::Key_Down);
    EXPECT_EQ(downs, 1);
    QTest::keyClick(&edit(), Qt::Key_Escape);
    EXPECT_EQ(field.text(), "");
    EXPECT_EQ(heard.back(), "");
}

TEST_F(SearchFieldTest, ShowsThatItHasTheKeyboard) {
    const QPoint edge(140, 0);
    const QColor focused = field.grab().toImage().pixelColor(edge);
    edit().clearFocus();
    settle();
    EXPECT_NE(field.grab().toImage().pixelColor(edge), focused);
}

class LineTextTest : public ::testing::Test {
protected:
    void open(int width) { show(line, {width, 24}); }

    int widthOf(const QString& text) const {
        return static_cast<int>(std::ceil(QFontMetricsF(line.font()).horizontalAdvance(text)));
    }

    QString markedText() const {
        const auto& cut = line.shown();
        return cut.marked ? cut.text.mid(cut.marked->begin, cut.marked->length) : QString();
    }

    LineText line{styleFont(TextStyle::callout), malai};
};

TEST_F(LineTextTest, ShowsAllOfWhatFits) {
    line.setLine("tea and milk");
    open(widthOf("tea and milk") + 1);
    EXPECT_EQ(line.shown().text, "tea and milk");
    line.resize(widthOf("tea and milk") - 2, 24);
    EXPECT_NE(line.shown().text, "tea and milk");
    EXPECT_TRUE(line.shown().text.endsWith(QChar(0x2026)));
    EXPECT_EQ(line.text(), "tea and milk");
    line.resize(1, 24);
    EXPECT_FALSE(line.grab().isNull());
}

TEST_F(LineTextTest, AMarkInSightMovesNothing) {
    line.setLine("tea " + QString("kettle ").repeated(40), LineText::Part{0, 3});
    open(200);
    EXPECT_TRUE(line.shown().text.startsWith("tea kettle"));
    EXPECT_EQ(markedText(), "tea");
}

TEST_F(LineTextTest, AMarkOutOfSightBeginsTheLineShortlyBeforeIt) {
    const QString text = QString("kettle ").repeated(40) + "tea";
    line.setLine(text, LineText::Part{280, 3});
    open(200);
    EXPECT_EQ(line.shown().text, QString(QChar(0x2026)) + "kettle tea");
    EXPECT_EQ(markedText(), "tea");
    const QString whole = QString(400, 'x');
    line.setLine(whole, LineText::Part{300, 5});
    EXPECT_TRUE(line.shown().text.startsWith(QChar(0x2026)));
    EXPECT_TRUE(line.shown().text.endsWith(QChar(0x2026)));
    EXPECT_EQ(line.shown().marked, (LineText::Part{13, 5})) << "after the ellipsis and twelve letters";
}

TEST_F(LineTextTest, AMarkWiderThanTheLineIsCut) {
    line.setLine(QString(400, 'x'), LineText::Part{0, 400});
    open(100);
    EXPECT_LE(widthOf(line.shown().text), 100);
    EXPECT_EQ(line.shown().marked->length, line.shown().text.size());
    line.setLine("x", LineText::Part{0, 1});
    line.resize(1, 24);
    EXPECT_FALSE(line.grab().isNull());
}

TEST_F(LineTextTest, EqualValuesRepaintNothing) {
    line.setLine("tea", LineText::Part{0, 1});
    open(100);
    PaintCounter paints(line);
    line.setLine("tea", LineText::Part{0, 1});
    line.setColour(malai);
    settle();
    EXPECT_EQ(paints.all(), 0);
    line.setLine("tea");
    settle();
    EXPECT_EQ(paints.all(), 1);
}

TEST(Text, TheTimeOfDayIsTheLanguagesShortForm) {
    const QDateTime moment({2026, 3, 14}, {14, 2, 59});
    const TimePoint time{std::chrono::milliseconds(moment.toMSecsSinceEpoch())};
    const QLocale before;
    QLocale::setDefault(QLocale::c());
    EXPECT_EQ(timeOfDay(time), "14:02");
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    EXPECT_EQ(timeOfDay(time), "14:02");
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    EXPECT_TRUE(timeOfDay(time).startsWith("2:02")) << timeOfDay(time).toStdString();
    QLocale::setDefault(before);
}

TEST(Heading, IsInCapitalsAndAHeadingForReaders) {
    const std::unique_ptr<QLabel> heading(makeHeading("Put it here"));
    EXPECT_EQ(heading->text(), "PUT IT HERE");
    const auto* reader = QAccessible::queryAccessibleInterface(heading.get());
    EXPECT_EQ(reader->role(), QAccessible::Heading);
    EXPECT_EQ(reader->text(QAccessible::Name), "PUT IT HERE");
}

TEST(Capsule, BearsItsWordsInCapitalsOnAGroundOfItsColour) {
    Capsule capsule("Main", brass);
    show(capsule, capsule.sizeHint());
    EXPECT_EQ(capsule.text(), "MAIN");
    const QImage picture = capsule.grab().toImage();
    const QColor ground = picture.pixelColor(picture.width() / 2, 1);
    EXPECT_NE(ground, picture.pixelColor(0, 0)) << "its ends are round";
    EXPECT_EQ(ground, picture.pixelColor(picture.width() / 2, picture.height() - 2));
}

TEST(Symbols, PictureOfAllOfThem) {
    QWidget board;
    QPalette ground = board.palette();
    ground.setColor(QPalette::Window, qColor(kettle));
    board.setPalette(ground);
    auto* grid = new QGridLayout(&board);
    grid->setSpacing(16);
    int column = 0;
    for (const char* name : symbols) {
        grid->addWidget(new Symbol(name, 14, malaiDim), 0, column, Qt::AlignCenter);
        grid->addWidget(new Symbol(name, 16, malaiDim), 1, column, Qt::AlignCenter);
        grid->addWidget(new Symbol(name, 48, malai), 2, column, Qt::AlignCenter);
        grid->addWidget(new SymbolButton(name, name, 14), 3, column, Qt::AlignCenter);
        ++column;
    }
    show(board, board.sizeHint());
    savePicture(board, "symbols");
    EXPECT_EQ(column, static_cast<int>(std::size(symbols)));
}

TEST(Controls, PictureOfAllOfThem) {
    QWidget board;
    QPalette ground = board.palette();
    ground.setColor(QPalette::Window, qColor(kettle));
    board.setPalette(ground);
    auto* grid = new QGridLayout(&board);
    grid->setContentsMargins(24, 24, 24, 24);
    grid->setSpacing(18);
    auto* brassy = new BrassButton("Open Zorbel");
    auto* quiet = new QuietButton("Not now");
    auto* focused = new BrassButton("Focused");
    grid->addWidget(brassy, 0, 0);
    grid->addWidget(quiet, 0, 1);
    grid->addWidget(new PlainButton("Quit", malaiDim), 0, 2);
    grid->addWidget(focused, 0, 3);
    auto* on = new Switch("On");
    on->setChecked(true);
    grid->addWidget(on, 1, 0);
    grid->addWidget(new Switch("Off"), 1, 1);
    grid->addWidget(new SteepDot(brass, true, 10), 1, 2);
    grid->addWidget(new SteepDot(brass, false, 10), 1, 3);
    grid->addWidget(new Reading("7.42", "GB", 22, QFont::Medium), 2, 0);
    grid->addWidget(new Counter(false, makeText("  A card", TextStyle::callout, malai)), 2, 1);
    grid->addWidget(new Counter(true, makeText("  A raised card", TextStyle::callout, malai)), 2, 2);
    int column = 0;
    for (const auto& entry : spiceColours) {
        grid->addWidget(new SpiceIcon(std::string(entry.id), 64), 3 + column / 5 * 2, column % 5);
        grid->addWidget(new SpiceIcon(std::string(entry.id), 18, column % 2 == 1), 4 + column / 5 * 2,
                        column % 5);
        ++column;
    }
    show(board, {620, 520});
    board.activateWindow();
    focused->setFocus(Qt::TabFocusReason);
    settle();
    savePicture(board, "controls");
    for (const auto* button : board.findChildren<QAbstractButton*>()) {
        EXPECT_FALSE(button->accessibleName().isEmpty());
    }
}

} // namespace
