#include "Platforms/Linux/MenuBar/TrayIcon.hpp"
#include "Platforms/Qt/QtMainLoop.hpp"
#include "Platforms/Simulated/SimulatedMainLoop.hpp"

#include <QBuffer>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QIcon>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <array>
#include <filesystem>
#include <memory>
#include <optional>

namespace {

using Linux::chooseIconTheme;
using Linux::IconPixmap;
using Linux::iconPixmap;
using Linux::TrayIconLoader;
using Linux::TrayImage;
using Linux::TrayPicture;

constexpr int side = 24;
constexpr QRgb red = qRgba(255, 0, 0, 255);
constexpr QRgb green = qRgba(0, 255, 0, 255);
constexpr QRgb blue = qRgba(0, 0, 255, 255);

QImage filled(QSize size, QRgb colour) {
    QImage image(size, QImage::Format_ARGB32);
    image.fill(colour);
    return image;
}

QByteArray encoded(const QImage& image, const char* format = "PNG") {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    image.save(&buffer, format);
    return bytes;
}

QByteArray png(int width, int height, QRgb colour) {
    return encoded(filled({width, height}, colour));
}

QByteArray svg(int width, int height, const QByteArray& inside) {
    return "<?xml version=\"1.0\"?>\n<svg xmlns=\"http://www.w3.org/2000/svg\" "
           "xmlns:xlink=\"http://www.w3.org/1999/xlink\" width=\"" +
           QByteArray::number(width) + "\" height=\"" + QByteArray::number(height) + "\">" + inside +
           "</svg>\n";
}

QByteArray greenDrawing(int width, int height) {
    return svg(width, height, "<rect width=\"100%\" height=\"100%\" fill=\"lime\"/>");
}

/// A picture that says it is of this size, and holds nothing of it.
QByteArray pngDeclaring(quint32 width, quint32 height) {
    QByteArray bytes = png(1, 1, red);
    qToBigEndian(width, bytes.data() + 16);
    qToBigEndian(height, bytes.data() + 20);
    quint32 checksum = 0xFFFFFFFF;
    for (const char byte : bytes.mid(12, 17)) { // the kind of the chunk and its contents
        checksum ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit) {
            checksum = (checksum >> 1) ^ ((checksum & 1) != 0 ? 0xEDB88320 : 0);
        }
    }
    qToBigEndian(~checksum, bytes.data() + 29);
    return bytes;
}

/// The icon theme of one test, put back at its end; and a folder for an item's own files.
class TrayIconTest : public testing::Test {
protected:
    TrayIconTest() {
        QIcon::setThemeSearchPaths({folder_.filePath("themes")});
        QIcon::setFallbackSearchPaths({});
        makeTheme("Kettle");
        makeTheme("hicolor");
        QIcon::setThemeName("Kettle");
        QDir(folder_.path()).mkpath("own");
    }
    ~TrayIconTest() override {
        QIcon::setThemeName(nameBefore_);
        QIcon::setThemeSearchPaths(pathsBefore_);
        QIcon::setFallbackSearchPaths(fallbacksBefore_);
    }

    QString write(const QString& file, const QByteArray& bytes) const {
        const QString path = folder_.filePath(file);
        QDir().mkpath(QFileInfo(path).path());
        QFile out(path);
        EXPECT_TRUE(out.open(QIODevice::WriteOnly));
        out.write(bytes);
        return path;
    }
    void makeTheme(const QString& name) const {
        write("themes/" + name + "/index.theme",
              "[Icon Theme]\nName=" + name.toUtf8() +
                  "\nDirectories=24,scalable\n[24]\nSize=24\nType=Fixed\n[scalable]\nSize=24\nMinSize=8\n"
                  "MaxSize=512\nType=Scalable\n");
    }
    void writeThemed(const QString& file, const QByteArray& bytes) const {
        write("themes/Kettle/" + file, bytes);
    }
    QString own() const { return folder_.filePath("own"); }
    QString path(const QString& file) const { return folder_.filePath(file); }

    TrayImage loaded(const TrayPicture& picture, const QString& themePath = {}, int wanted = side) {
        std::optional<TrayImage> answer;
        int answers = 0;
        loader_.load(picture, themePath, wanted, [&](const TrayImage& image) {
            answer = image;
            ++answers;
        });
        loop_.settle();
        EXPECT_EQ(answers, 1);
        return answer.value_or(TrayImage());
    }

    Simulated::SimulatedMainLoop loop_;
    TrayIconLoader loader_{loop_};

private:
    QTemporaryDir folder_;
    QString nameBefore_ = QIcon::themeName();
    QStringList pathsBefore_ = QIcon::themeSearchPaths();
    QStringList fallbacksBefore_ = QIcon::fallbackSearchPaths();
};

TrayPicture named(const QString& name) {
    return {name, {}};
}

TrayPicture valued(int width, int height, QRgb colour) {
    return {{}, {iconPixmap(filled({width, height}, colour))}};
}

QRgb middle(const TrayImage& image) {
    return image.image.isNull() ? 0 : image.image.pixel(image.image.width() / 2, image.image.height() / 2);
}

void expectPlaceholder(const TrayImage& image) {
    EXPECT_EQ(image.image.size(), QSize(side, side));
    EXPECT_TRUE(image.isTemplate);
    EXPECT_EQ(qAlpha(middle(image)), 0) << "a ring";
    EXPECT_EQ(qAlpha(image.image.pixel(0, 0)), 0);
    int inked = 0;
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            inked += qAlpha(image.image.pixel(x, y)) > 100 ? 1 : 0;
        }
    }
    EXPECT_GT(inked, 30);
}

// Where pictures come from

TEST_F(TrayIconTest, NothingToShowIsANeutralPicture) {
    expectPlaceholder(loaded({}));
    expectPlaceholder(loaded(named("no-such-icon")));
    expectPlaceholder(loaded(named(path("own/none.png"))));
    expectPlaceholder(loaded(named("none"), own()));
    expectPlaceholder(loaded({{}, {{0, 0, {}}, {22, 22, "short"}}}));
}

TEST_F(TrayIconTest, ANameWinsOverPixmapsWhenItResolves) {
    writeThemed("24/kettle.png", png(24, 24, red));
    TrayPicture both = valued(24, 24, blue);
    both.name = "kettle";
    EXPECT_EQ(middle(loaded(both)), red);
    both.name = "no-such-icon";
    EXPECT_EQ(middle(loaded(both)), blue);
    both.name = path("own/none.png");
    EXPECT_EQ(middle(loaded(both)), blue);
    EXPECT_EQ(middle(loaded(both, own())), blue);
}

TEST_F(TrayIconTest, AnAbsolutePathIsLoaded) {
    EXPECT_EQ(middle(loaded(named(write("own/a.png", png(24, 24, red))))), red);
    EXPECT_EQ(middle(loaded(named(write("own/b.svg", greenDrawing(16, 16))))), green);
    EXPECT_EQ(middle(loaded(named(write("own/no-ending", png(24, 24, blue))))), blue);
    EXPECT_EQ(middle(loaded(named(write("own/wrong.png", greenDrawing(16, 16))))), green);
    EXPECT_EQ(middle(loaded(named(write("own/c.xpm", encoded(filled({24, 24}, red), "XPM"))))), red);
    EXPECT_EQ(middle(loaded(named(path("own/a")))), red) << "the ending left out";
}

TEST_F(TrayIconTest, TheItemsOwnFolderComesBeforeTheTheme) {
    writeThemed("24/kettle.png", png(24, 24, red));
    EXPECT_EQ(middle(loaded(named("kettle"), own())), red);
    write("own/kettle.xpm", encoded(filled({24, 24}, blue), "XPM"));
    EXPECT_EQ(middle(loaded(named("kettle"), own())), blue);
    write("own/kettle.svg", greenDrawing(24, 24));
    EXPECT_EQ(middle(loaded(named("kettle"), own(), 25)), green) << "drawings come first";
    EXPECT_EQ(middle(loaded(named("kettle.xpm"), own())), blue) << "a name with its ending";
    EXPECT_EQ(middle(loaded(named("kettle"), path("no/such/folder"))), red);
    EXPECT_EQ(middle(loaded(named("kettle"), "themes")), red) << "a folder that is no absolute path";
}

TEST_F(TrayIconTest, BelowTheItemsFolderTheBestSizeIsTaken) {
    write("own/hicolor/16x16/apps/kettle.png", png(16, 16, red));
    write("own/hicolor/32x32/apps/kettle.png", png(32, 32, green));
    write("own/hicolor/64x64/apps/kettle.png", png(64, 64, blue));
    EXPECT_EQ(middle(loaded(named("kettle"), own(), 16)), red);
    EXPECT_EQ(middle(loaded(named("kettle"), own(), 24)), green);
    EXPECT_EQ(middle(loaded(named("kettle"), own(), 33)), blue);
    EXPECT_EQ(middle(loaded(named("kettle"), own(), 200)), blue);
    write("own/hicolor/24x24/apps/cup.png", png(24, 24, red));
    write("own/hicolor/16x16@2/apps/cup.png", png(32, 32, blue));
    EXPECT_EQ(middle(loaded(named("cup"), own(), 30)), blue) << "sixteen points of two pixels";
    write("own/hicolor/scalable/apps/cup.svg", greenDrawing(16, 16));
    EXPECT_EQ(middle(loaded(named("cup"), own(), 30)), blue) << "the file last shown, while it is the same";
    EXPECT_EQ(middle(loaded(named("cup"), own(), 31)), green) << "a drawing fits every size";
}

TEST_F(TrayIconTest, TheSearchBelowAFolderIsBounded) {
    write("own/a/b/c/d/kettle.png", png(24, 24, red));
    write("own/a/b/c/d/e/deep.png", png(24, 24, red));
    EXPECT_EQ(middle(loaded(named("kettle"), own())), red);
    expectPlaceholder(loaded(named("deep"), own()));

    std::filesystem::create_directory_symlink(own().toStdString(), path("own/a/loop").toStdString());
    expectPlaceholder(loaded(named("nowhere"), own()));

    QDir(path("")).mkpath("crowd/x");
    for (int number = 0; number < 4000; ++number) {
        QFile file(path(QString("crowd/%1").arg(number)));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
    write("crowd/x/y/kettle.png", png(24, 24, red));
    expectPlaceholder(loaded(named("kettle"), path("crowd")));
}

TEST_F(TrayIconTest, AThemedNameFallsBackToWhatItIsASpecialCaseOf) {
    writeThemed("24/audio-volume-muted.png", png(24, 24, red));
    writeThemed("24/audio-volume-muted-symbolic.png", png(24, 24, blue));
    writeThemed("24/audio.png", png(24, 24, green));
    EXPECT_EQ(middle(loaded(named("audio-volume-muted-panel"))), red);
    EXPECT_EQ(middle(loaded(named("audio-volume-muted-panel-symbolic"))), blue);

    TrayPicture telling = valued(24, 24, blue);
    telling.name = "audio-call";
    EXPECT_EQ(middle(loaded(telling)), blue) << "one word says less than the pixmap";
    EXPECT_EQ(middle(loaded(named("audio-call"))), green) << "and more than nothing";
}

TEST_F(TrayIconTest, SymbolicIconsAreTemplates) {
    writeThemed("24/kettle-symbolic.png", png(24, 24, red));
    writeThemed("24/teapot.png", png(24, 24, red));
    EXPECT_TRUE(loaded(named("kettle-symbolic")).isTemplate);
    EXPECT_FALSE(loaded(named("teapot")).isTemplate);
    EXPECT_FALSE(loaded(named("teapot-symbolic")).isTemplate) << "the coloured one stands in for it";
    EXPECT_TRUE(loaded(named(write("own/cup-symbolic.svg", greenDrawing(9, 9)))).isTemplate);
    EXPECT_TRUE(loaded(named("cup-symbolic"), own()).isTemplate);
    EXPECT_FALSE(loaded(named(write("own/symbolic.svg", greenDrawing(9, 9)))).isTemplate);
    TrayPicture pixmap = valued(24, 24, red);
    pixmap.name = "none-symbolic";
    EXPECT_FALSE(loaded(pixmap).isTemplate);
}

TEST_F(TrayIconTest, ANameDoesNotLeadOutOfItsFolder) {
    write("secret.png", png(24, 24, red));
    write("own/sub/kettle.png", png(24, 24, red));
    for (const char* name : {"../secret", "../../secret", "sub/kettle", "..", ".", "", "/", "//"}) {
        SCOPED_TRACE(name);
        expectPlaceholder(loaded(named(name), own()));
        expectPlaceholder(loaded(named(name)));
    }
}

// Size

TEST_F(TrayIconTest, PicturesAreFittedToTheBar) {
    const struct {
        const char* name;
        QSize given;
        int side;
        QSize size;
    } rows[] = {
        {"as large", {24, 24}, 24, {24, 24}},
        {"larger", {128, 128}, 24, {24, 24}},
        {"a little smaller", {22, 22}, 24, {22, 22}},
        {"just over half", {13, 13}, 24, {13, 13}},
        {"half", {12, 12}, 24, {24, 24}},
        {"less than half", {10, 10}, 24, {20, 20}},
        {"on a screen of twice the pixels", {22, 22}, 48, {44, 44}},
        {"on a screen of three times the pixels", {22, 22}, 72, {66, 66}},
        {"one pixel", {1, 1}, 24, {24, 24}},
        {"wide", {60, 24}, 24, {60, 24}},
        {"wide and large", {120, 48}, 24, {60, 24}},
        {"wider than may be", {240, 24}, 24, {72, 7}},
        {"a line", {512, 1}, 24, {72, 1}},
        {"high", {12, 48}, 24, {6, 24}},
        {"a post", {1, 512}, 24, {1, 24}},
        {"no room", {24, 24}, 0, {1, 1}},
        {"less than no room", {24, 24}, -5, {1, 1}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const TrayImage byValue = loaded(valued(row.given.width(), row.given.height(), red), {}, row.side);
        EXPECT_EQ(byValue.image.size(), row.size);
        EXPECT_EQ(middle(byValue), red);
        const QString file = write("own/x.png", png(row.given.width(), row.given.height(), blue));
        const TrayImage byName = loaded(named(file), {}, row.side);
        EXPECT_EQ(byName.image.size(), row.size);
        EXPECT_EQ(byName.image.format(), QImage::Format_ARGB32_Premultiplied);
    }
    EXPECT_LE(loaded({}, {}, 1'000'000).image.height(), 512);
}

TEST_F(TrayIconTest, DrawingsAreDrawnAtTheSizeTheyAreShown) {
    const struct {
        const char* name;
        QSize given;
        int side;
        QSize size;
    } rows[] = {
        {"small", {8, 8}, 24, {24, 24}},
        {"large", {1000, 1000}, 24, {24, 24}},
        {"between", {20, 20}, 24, {24, 24}},
        {"wide", {32, 16}, 24, {48, 24}},
        {"very wide", {1600, 16}, 24, {72, 1}},
        {"as large as can be said", {2000000000, 2000000000}, 24, {24, 24}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const QString file = write("own/x.svg", greenDrawing(row.given.width(), row.given.height()));
        EXPECT_EQ(loaded(named(file), {}, row.side).image.size(), row.size);
        writeThemed("scalable/kettle.svg", greenDrawing(16, 16));
        EXPECT_EQ(loaded(named("kettle"), {}, row.side).image.size(), QSize(row.side, row.side));
    }
}

// What is no picture

TEST_F(TrayIconTest, WhatIsNoRegularFileIsLeftAlone) {
    ASSERT_EQ(::mkfifo(qPrintable(path("own/pipe.png")), 0600), 0);
    QDir(path("own")).mkpath("folder.png");
    std::filesystem::create_symlink("/dev/zero", path("own/zero.png").toStdString());
    std::filesystem::create_symlink(path("own/pipe.png").toStdString(), path("own/link.png").toStdString());
    std::filesystem::create_symlink(path("own/self.png").toStdString(), path("own/self.png").toStdString());
    for (const char* name : {"pipe", "folder", "zero", "link", "self"}) {
        SCOPED_TRACE(name);
        expectPlaceholder(loaded(named(name), own()));
        expectPlaceholder(loaded(named(path(QString("own/%1.png").arg(name)))));
    }
    for (const char* name : {"/dev/zero", "/dev/tty", "/dev/full", "/proc/self/mem", "/proc/kmsg"}) {
        SCOPED_TRACE(name);
        expectPlaceholder(loaded(named(name)));
    }
}

TEST_F(TrayIconTest, WhatIsNoPictureIsPassedOver) {
    const QByteArray whole = png(24, 24, red);
    const struct {
        const char* name;
        QByteArray bytes;
    } rows[] = {
        {"empty", {}},
        {"text", "no picture at all"},
        {"a signature alone", whole.first(8)},
        {"cut in its header", whole.first(20)},
        {"declares billions", pngDeclaring(0x7FFFFFFF, 0x7FFFFFFF)},
        {"declares a little too much", pngDeclaring(TrayIconLoader::longestSide + 1, 1)},
        {"declares much", pngDeclaring(30000, 30000)},
        {"declares nothing", pngDeclaring(0, 0)},
        {"drawing cut short", greenDrawing(16, 16).chopped(10)},
        {"drawing of negative size", svg(-5, -5, "<rect width=\"9\" height=\"9\"/>")},
        {"another kind of page", "<html><body/></html>"},
        {"declares billions in letters", "/* XPM */\nstatic char *x[] = {\n\"2000000000 2000000000 2 1\"};"},
        {"packed", QByteArray("\x1f\x8b\x08\x00", 4) + QByteArray(1000, 'x')},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        TrayPicture picture = valued(24, 24, blue);
        picture.name = write("own/x.png", row.bytes);
        EXPECT_EQ(middle(loaded(picture)), blue);
    }
    QFile huge(path("own/huge.png"));
    ASSERT_TRUE(huge.open(QIODevice::WriteOnly));
    huge.write(whole);
    ASSERT_TRUE(huge.resize(TrayIconLoader::largestFile + 1));
    huge.close();
    expectPlaceholder(loaded(named(huge.fileName())));
    ASSERT_TRUE(huge.resize(TrayIconLoader::largestFile));
    EXPECT_EQ(middle(loaded(named(huge.fileName()))), red) << "as large as may be";
}

TEST_F(TrayIconTest, ADrawingThatLeadsElsewhereOrGrowsIsNotDrawn) {
    ASSERT_EQ(::mkfifo(qPrintable(path("own/pipe")), 0600), 0);
    const QByteArray pipe = path("own/pipe").toUtf8();
    QByteArray doubling = "<rect id=\"u0\" width=\"1\" height=\"1\"/>";
    for (int step = 1; step <= 40; ++step) {
        const QByteArray use = "<use xlink:href=\"#u" + QByteArray::number(step - 1) + "\"/>";
        doubling += "<g id=\"u" + QByteArray::number(step) + "\">" + use + use + "</g>";
    }
    QByteArray style = greenDrawing(16, 16);
    style.replace("?>\n", "?>\n<?xml-stylesheet type=\"text/css\" href=\"" + pipe + "\"?>\n");
    QByteArray entities = greenDrawing(16, 16);
    QByteArray declared = "<!ENTITY e0 \"<g/>\">";
    for (int step = 1; step <= 12; ++step) {
        const QByteArray before = "&e" + QByteArray::number(step - 1) + ";";
        declared += "<!ENTITY e" + QByteArray::number(step) + " \"" + before.repeated(10) + "\">";
    }
    entities.replace("?>\n", "?>\n<!DOCTYPE svg [" + declared + "]>\n").replace("</svg>", "&e12;</svg>");
    const struct {
        const char* name;
        QByteArray bytes;
    } rows[] = {
        {"a picture by reference",
         svg(9, 9, "<image width=\"9\" height=\"9\" xlink:href=\"" + pipe + "\"/>")},
        {"a picture of another prefix",
         "<s:svg xmlns:s=\"http://www.w3.org/2000/svg\" width=\"9\" height=\"9\"><s:image href=\"" + pipe +
             "\"/></s:svg>"},
        {"a style sheet", style},
        {"uses that double", svg(9, 9, "<defs>" + doubling + "</defs><use xlink:href=\"#u40\"/>")},
        {"a use of itself", svg(9, 9, "<g id=\"a\"><use xlink:href=\"#a\"/></g>")},
        {"deep nesting",
         svg(9, 9, QByteArray("<g>").repeated(200'000) + QByteArray("</g>").repeated(200'000))},
        {"many uses of much", svg(9, 9,
                                  "<g id=\"a\">" + QByteArray("<g/>").repeated(50'000) + "</g>" +
                                      QByteArray("<use xlink:href=\"#a\"/>").repeated(5000))},
        {"entities that grow", entities},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        QElapsedTimer time;
        time.start();
        expectPlaceholder(loaded(named(write("own/x.svg", row.bytes))));
        EXPECT_LT(time.elapsed(), 3000) << "milliseconds";
    }
    EXPECT_EQ(
        middle(loaded(named(write("own/y.svg", svg(16, 16,
                                                   "<defs><rect id=\"a\" width=\"16\" height=\"16\" "
                                                   "fill=\"lime\"/></defs><use xlink:href=\"#a\"/>"))))),
        green)
        << "an ordinary use is drawn";
}

// Order of answers

TEST_F(TrayIconTest, AnswersAtOnceWhereNoFileIsRead) {
    writeThemed("24/kettle.png", png(24, 24, red));
    int answers = 0;
    const auto count = [&](const TrayImage&) { ++answers; };
    loader_.load(valued(24, 24, red), own(), side, count);
    loader_.load(named("kettle"), {}, side, count);
    loader_.load({}, {}, side, count);
    EXPECT_EQ(answers, 3);
    loader_.load(named(write("own/a.png", png(24, 24, red))), {}, side, count);
    EXPECT_EQ(answers, 3) << "not before the file has been read";
    loop_.settle();
    EXPECT_EQ(answers, 4);
    loop_.settle();
    EXPECT_EQ(answers, 4);
}

TEST_F(TrayIconTest, OnlyTheNewestCallIsAnswered) {
    const QString first = write("own/first.png", png(24, 24, red));
    const QString last = write("own/last.png", png(24, 24, blue));
    std::vector<QRgb> answers;
    const auto note = [&](const TrayImage& image) { answers.push_back(middle(image)); };
    for (int call = 0; call < 1000; ++call) {
        loader_.load(named(first), {}, side, [&](const TrayImage&) { ADD_FAILURE() << "an earlier call"; });
    }
    loader_.load(named(last), {}, side, note);
    loop_.settle();
    loop_.settle();
    EXPECT_EQ(answers, std::vector<QRgb>{blue});

    loader_.load(named(first), {}, side, [&](const TrayImage&) { ADD_FAILURE() << "an earlier call"; });
    loader_.load(valued(24, 24, green), {}, side, note);
    loop_.settle();
    EXPECT_EQ(answers, (std::vector<QRgb>{blue, green}));
}

TEST_F(TrayIconTest, ALoaderThatIsGoneDoesNotAnswer) {
    const QString file = write("own/a.png", png(24, 24, red));
    auto gone = std::make_unique<TrayIconLoader>(loop_);
    gone->load(named(file), {}, side, [](const TrayImage&) { ADD_FAILURE() << "after its end"; });
    gone.reset();
    loop_.settle();

    auto ending = std::make_unique<TrayIconLoader>(loop_);
    int answers = 0;
    ending->load(named(file), {}, side, [&](const TrayImage&) {
        ending.reset();
        ++answers;
    });
    loop_.settle();
    EXPECT_EQ(answers, 1) << "an answer may be the end of the loader";
}

TEST_F(TrayIconTest, AReceiverMayAskAgain) {
    const QString file = write("own/a.png", png(24, 24, red));
    int answers = 0;
    loader_.load(named(file), {}, side, [&](const TrayImage&) {
        ++answers;
        loader_.load(named(file), {}, 12, [&](const TrayImage& image) {
            ++answers;
            EXPECT_EQ(image.image.height(), 12);
        });
    });
    loop_.settle();
    loop_.settle();
    EXPECT_EQ(answers, 2);
}

TEST_F(TrayIconTest, AFileThatStaysTheSameIsReadOnce) {
    const QString file = write("own/a.png", png(24, 24, red));
    const QByteArray other = png(24, 24, blue);
    const qint64 size = std::max(QFileInfo(file).size(), static_cast<qint64>(other.size()));
    const std::array times{timespec{1'000'000, 0}, timespec{1'000'000, 5}};
    const auto rewrite = [&](const QByteArray& bytes, const timespec& when) {
        write("own/a.png", bytes.leftJustified(size, '\0'));
        const std::array both{when, when};
        ASSERT_EQ(::utimensat(AT_FDCWD, qPrintable(file), both.data(), 0), 0);
    };
    rewrite(png(24, 24, red), times[0]);
    EXPECT_EQ(middle(loaded(named(file))), red);
    EXPECT_EQ(middle(loaded(named("a"), own())), red);

    rewrite(other, times[0]); // looks like the same file
    EXPECT_EQ(middle(loaded(named("a"), own())), red) << "not read again";
    EXPECT_EQ(middle(loaded(named("a"), own(), 20)), blue) << "at another size it is";
    EXPECT_EQ(middle(loaded(named("a"), own())), blue);

    rewrite(png(24, 24, red), times[1]);
    EXPECT_EQ(middle(loaded(named("a"), own())), red) << "five nanoseconds younger";
    QFile::remove(file);
    expectPlaceholder(loaded(named("a"), own()));
}

TEST_F(TrayIconTest, FilesAreReadOffTheMainThread) {
    QtPlatform::QtMainLoop loop;
    TrayIconLoader loader(loop);
    const QString file = write("own/a.svg", greenDrawing(16, 16));
    std::optional<TrayImage> answer;
    loader.load(named(file), {}, side, [&](const TrayImage& image) {
        EXPECT_TRUE(loop.isMainThread());
        answer = image;
    });
    EXPECT_FALSE(answer);
    EXPECT_TRUE(QTest::qWaitFor([&] { return answer.has_value(); }));
    EXPECT_EQ(middle(*answer), green);
}

// The theme

class IconThemeTest : public TrayIconTest {
protected:
    IconThemeTest() {
        qputenv("XDG_CONFIG_HOME", path("config").toUtf8());
        QIcon::setThemeName("hicolor");
    }
    ~IconThemeTest() override {
        if (before_.isNull()) {
            qunsetenv("XDG_CONFIG_HOME");
        } else {
            qputenv("XDG_CONFIG_HOME", before_);
        }
    }
    QString chosen() const {
        chooseIconTheme();
        return QIcon::themeName();
    }

private:
    QByteArray before_ = qgetenv("XDG_CONFIG_HOME");
};

TEST_F(IconThemeTest, IsTheDesktopsOwn) {
    makeTheme("Adwaita");
    makeTheme("Teapot");
    write("config/kdeglobals", "[General]\nTheme=no\n[Icons]\nTheme=Teapot\n");
    EXPECT_EQ(chosen(), "Teapot");
    QIcon::setThemeName("hicolor");
    write("config/gtk-3.0/settings.ini",
          "[Settings]\r\ngtk-theme-name=no\r\n gtk-icon-theme-name = Kettle \r\n");
    EXPECT_EQ(chosen(), "Kettle");
}

TEST_F(IconThemeTest, IsAdwaitaWhereTheDesktopNamesNone) {
    EXPECT_EQ(chosen(), "hicolor") << "not installed";
    makeTheme("Adwaita");
    EXPECT_EQ(chosen(), "Adwaita");
}

TEST_F(IconThemeTest, StaysWhereTheToolkitHasOne) {
    makeTheme("Adwaita");
    QIcon::setThemeName("Kettle");
    EXPECT_EQ(chosen(), "Kettle");
}

TEST_F(IconThemeTest, IsOneThatIsInstalled) {
    makeTheme("Adwaita");
    const char* rows[] = {
        "[Settings]\ngtk-icon-theme-name=Missing\n", "[Settings]\ngtk-icon-theme-name=\n",
        "[Settings]\ngtk-icon-theme-name\n",         "[Settings]\ngtk-icon-theme-name=../themes/Kettle\n",
        "[Other]\ngtk-icon-theme-name=Kettle\n",     "gtk-icon-theme-name=Kettle\n",
        "[Settings]\n#gtk-icon-theme-name=Kettle\n", ""};
    for (const char* text : rows) {
        SCOPED_TRACE(text);
        QIcon::setThemeName("hicolor");
        write("config/gtk-3.0/settings.ini", text);
        EXPECT_EQ(chosen(), "Adwaita");
    }
    QFile::remove(path("config/gtk-3.0/settings.ini"));
    ASSERT_EQ(::mkfifo(qPrintable(path("config/gtk-3.0/settings.ini")), 0600), 0);
    QIcon::setThemeName("hicolor");
    EXPECT_EQ(chosen(), "Adwaita") << "a pipe is not waited for";
}

} // namespace
