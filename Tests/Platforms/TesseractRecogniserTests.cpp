#include "Platforms/Linux/Text/LineReaders.hpp"
#include "Platforms/Linux/Text/TesseractRecogniser.hpp"
#include "Platforms/Qt/QtPictures.hpp"
#include "Tests/TemporaryFolder.hpp"

#include <QFontDatabase>
#include <QGuiApplication>
#include <QPainter>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using Linux::TesseractRecogniser;
using Lines = Fotrel::TextRecogniser::Lines;
using ZorbelKit::Picture;
using ZorbelKit::Priority;
using ZorbelKit::Seconds;

constexpr std::chrono::seconds longestReading{60};

QColor grey(int level) {
    return QColor::fromRgb(level, level, level);
}

/// What a recogniser said, in the order in which it did.
class Answers {
public:
    std::function<void(Lines lines)> take(std::string name) {
        return [this, name = std::move(name)](Lines lines) {
            const std::lock_guard lock(mutex_);
            given_.emplace_back(name, std::move(lines));
            changed_.notify_all();
        };
    }

    /// Waits for so many.
    std::vector<std::pair<std::string, Lines>> first(std::size_t count) {
        std::unique_lock lock(mutex_);
        EXPECT_TRUE(changed_.wait_for(lock, longestReading, [&] { return given_.size() >= count; }));
        return given_;
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::pair<std::string, Lines>> given_;
};

Lines read(TesseractRecogniser& recogniser, const Picture& picture) {
    Answers answers;
    recogniser.recognise(picture, Priority::userInitiated, answers.take(""));
    const auto given = answers.first(1);
    return given.empty() ? Lines() : given.front().second;
}

/// The one that most tests share: it takes time to start.
std::unique_ptr<TesseractRecogniser>& shared() {
    static std::unique_ptr<TesseractRecogniser> recogniser;
    return recogniser;
}

Lines read(const QImage& image) {
    return read(*shared(), QtPlatform::QtPictures::picture(image));
}

std::string joined(const Lines& lines) {
    std::string text;
    for (const auto& line : lines.value_or(std::vector<std::string>())) {
        text += (text.empty() ? "" : "\n") + line;
    }
    return text;
}

int errors(const std::string& one, const std::string& other) {
    std::vector<int> costs(other.size() + 1);
    for (std::size_t column = 0; column < costs.size(); ++column) {
        costs[column] = static_cast<int>(column);
    }
    for (std::size_t row = 0; row < one.size(); ++row) {
        int diagonal = std::exchange(costs[0], static_cast<int>(row) + 1);
        for (std::size_t column = 0; column < other.size(); ++column) {
            const int replaced = diagonal + (one[row] == other[column] ? 0 : 1);
            diagonal = costs[column + 1];
            costs[column + 1] = std::min({costs[column] + 1, diagonal + 1, replaced});
        }
    }
    return costs.back();
}

const std::vector<std::string> prose{
    "Every window keeps its place when the screen changes.", "Copy the text, then paste it into 3 documents.",
    "Volume: 45 % (muted), battery 87 %, 2 hours left.", "The quick brown fox jumps over the lazy dog.",
    "See /usr/share/doc/readme.txt for what is new in v2.1"};

std::string proseText() {
    return joined(prose);
}

QFont fontOf(int size, const char* family = "DejaVu Sans") {
    QFont font(QString::fromLatin1(family));
    font.setPixelSize(size);
    return font;
}

void write(QPainter& painter, int x, int y, const std::vector<std::string>& lines) {
    for (const auto& line : lines) {
        painter.drawText(x, y + painter.fontMetrics().ascent(), QString::fromStdString(line));
        y += painter.fontMetrics().height() + 3;
    }
}

QImage page(int size, const QColor& ground, const QColor& colour) {
    QImage image(560, 160, QImage::Format_RGB32);
    image.fill(ground);
    QPainter painter(&image);
    painter.setPen(colour);
    painter.setFont(fontOf(size));
    write(painter, 14, 14, prose);
    return image;
}

QImage flat(int width, int height, const QColor& colour) {
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(colour);
    return image;
}

/// Gives back what it changed.
class Environment {
public:
    Environment(const char* name, const std::string& value)
        : name_(name)
        , before_(std::getenv(name) ? std::optional<std::string>(std::getenv(name)) : std::nullopt) {
        ::setenv(name, value.c_str(), 1);
    }
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;
    ~Environment() {
        if (before_) {
            ::setenv(name_, before_->c_str(), 1);
        } else {
            ::unsetenv(name_);
        }
    }

private:
    const char* name_;
    const std::optional<std::string> before_;
};

/// Text cannot be drawn without an application.
class TesseractRecogniserTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        if (!QGuiApplication::instance()) {
            const Environment platform("QT_QPA_PLATFORM", "offscreen");
            static int count = 1;
            static char name[] = "model_tests";
            static char* arguments[] = {name, nullptr};
            static const QGuiApplication application(count, arguments);
        }
        ASSERT_TRUE(QFontDatabase::families().contains(QStringLiteral("DejaVu Sans")));
        shared() = std::make_unique<TesseractRecogniser>(TesseractRecogniser::Settings{.locale = "C"});
    }
    static void TearDownTestSuite() { shared().reset(); }
};

} // namespace

TEST_F(TesseractRecogniserTest, F8_ReadsSmallTextLightOrDarkOrFaint) {
    struct Row {
        const char* name;
        int size;
        QColor ground;
        QColor colour;
    };
    const Row rows[] = {
        {"8 px, dark on light", 8, Qt::white, grey(32)},
        {"9 px, dark on light", 9, Qt::white, grey(32)},
        {"10 px, dark on light", 10, Qt::white, grey(32)},
        {"8 px, light on dark", 8, grey(30), grey(212)},
        {"9 px, light on dark", 9, grey(30), grey(212)},
        {"10 px, light on dark", 10, grey(30), grey(212)},
        {"10 px, faint on white", 10, Qt::white, grey(168)},
        {"10 px, faint on dark", 10, grey(43), grey(106)},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const std::string text = joined(read(page(row.size, row.ground, row.colour)));
        EXPECT_LE(errors(proseText(), text) * 100, 2 * static_cast<int>(text.size())) << text;
    }
}

TEST_F(TesseractRecogniserTest, F9_ReadsAPictureOfLightDarkAndColouredPartsColumnByColumn) {
    QImage image(700, 260, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.fillRect(0, 0, 170, 260, grey(43));
    painter.setFont(fontOf(12));
    painter.setPen(grey(220));
    write(painter, 16, 16, {"Overview", "Pictures", "Settings"});
    painter.setPen(grey(32));
    write(painter, 200, 16, {"Choose where the picture goes.", "It can be changed later."});
    painter.fillRect(QRect(204, 200, 110, 32), QColor::fromRgb(28, 113, 216));
    painter.fillRect(QRect(330, 200, 110, 32), QColor::fromRgb(192, 28, 40));
    painter.setPen(Qt::white);
    painter.drawText(QRect(204, 200, 110, 32), Qt::AlignCenter, QStringLiteral("Save"));
    painter.drawText(QRect(330, 200, 110, 32), Qt::AlignCenter, QStringLiteral("Discard"));
    painter.end();

    const auto lines = read(image).value_or(std::vector<std::string>());
    ASSERT_GE(lines.size(), 6U) << joined(lines);
    EXPECT_EQ(std::vector<std::string>(lines.begin(), lines.begin() + 5),
              (std::vector<std::string>{"Overview", "Pictures", "Settings", "Choose where the picture goes.",
                                        "It can be changed later."}));
    std::string buttons = lines[5];
    for (std::size_t line = 6; line < lines.size(); ++line) {
        buttons += " " + lines[line];
    }
    EXPECT_EQ(buttons, "Save Discard");
}

TEST_F(TesseractRecogniserTest, F10_ReadsTheLeftColumnFirst) {
    QImage image(720, 140, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.setFont(fontOf(12));
    painter.setPen(grey(32));
    const std::vector<std::string> left{"The left column begins", "here and goes on for",
                                        "three lines and one more", "before it is over."};
    const std::vector<std::string> right{"The right column comes", "after the left one, for",
                                         "people read that way, and", "it ends down here."};
    write(painter, 16, 16, left);
    write(painter, 380, 16, right);
    painter.end();
    EXPECT_EQ(joined(read(image)), joined(left) + "\n" + joined(right));
}

TEST_F(TesseractRecogniserTest, F11_InventsNothingWhereNothingIsWritten) {
    QImage gradient(500, 300, QImage::Format_RGB32);
    QImage noise(500, 300, QImage::Format_RGB32);
    QImage photograph(500, 300, QImage::Format_RGB32);
    std::mt19937 random(7);
    for (int y = 0; y < 300; ++y) {
        for (int x = 0; x < 500; ++x) {
            gradient.setPixelColor(x, y, QColor::fromRgb(x / 2, y / 2, 128));
            noise.setPixel(x, y, 0xff000000U | static_cast<QRgb>(random()));
            const int wave = static_cast<int>(70 * std::sin(x * 0.05) * std::cos(y * 0.04 + x * 0.01));
            const int grain = static_cast<int>(random() % 25);
            photograph.setPixelColor(
                x, y, QColor::fromRgb(100 + wave + grain, 110 + wave / 2 + grain, 90 - wave + grain));
        }
    }
    for (const auto& [name, image] :
         {std::pair("white", flat(500, 300, Qt::white)), std::pair("black", flat(500, 300, Qt::black)),
          std::pair("gradient", gradient), std::pair("noise", noise), std::pair("photograph", photograph)}) {
        SCOPED_TRACE(name);
        const auto lines = read(image);
        ASSERT_TRUE(lines);
        EXPECT_EQ(joined(lines), "");
    }
}

TEST_F(TesseractRecogniserTest, ReadsWhatIsWrittenOnAPhotograph) {
    QImage image(560, 160, QImage::Format_RGB32);
    std::mt19937 random(3);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const int wave = static_cast<int>(40 * std::sin(x * 0.02) * std::cos(y * 0.03));
            const int grain = static_cast<int>(random() % 15);
            image.setPixelColor(
                x, y, QColor::fromRgb(60 + wave + grain, 70 + wave / 2 + grain, 50 - wave / 2 + grain));
        }
    }
    QPainter painter(&image);
    painter.setFont(fontOf(14));
    painter.setPen(Qt::white);
    write(painter, 14, 14, prose);
    painter.end();
    const std::string text = joined(read(image));
    EXPECT_LE(errors(proseText(), text) * 100, 3 * static_cast<int>(text.size())) << text;
}

TEST_F(TesseractRecogniserTest, F12_ReadsNothingWithoutDataAndSaysWhichUntilTheyAreThere) {
    const TemporaryFolder folder;
    const Environment data("TESSDATA_PREFIX", folder.path());
    TesseractRecogniser recogniser({.locale = "C"});
    const auto picture = QtPlatform::QtPictures::picture(page(14, Qt::white, Qt::black));

    testing::internal::CaptureStderr();
    EXPECT_FALSE(read(recogniser, picture));
    EXPECT_FALSE(read(recogniser, picture));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "zorbel: no text is read without eng.traineddata in " + folder.path().string() + "\n");
    std::filesystem::create_symlink("/usr/share/tesseract-ocr/5/tessdata/eng.traineddata",
                                    folder.path() / "eng.traineddata");
    EXPECT_EQ(joined(read(recogniser, picture)), proseText());
}

TEST_F(TesseractRecogniserTest, DamagedDataReadNothing) {
    const TemporaryFolder folder;
    const Environment data("TESSDATA_PREFIX", folder.path());
    std::ifstream whole("/usr/share/tesseract-ocr/5/tessdata/eng.traineddata", std::ios::binary);
    std::string bytes(1 << 20, '\0');
    whole.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    for (const auto& content : {std::string(), std::string("no data"), bytes.substr(0, 100), bytes}) {
        SCOPED_TRACE(content.size());
        std::ofstream(folder.path() / "eng.traineddata", std::ios::binary) << content;
        TesseractRecogniser recogniser({.locale = "C"});
        testing::internal::CaptureStderr();
        EXPECT_FALSE(read(recogniser, QtPlatform::QtPictures::picture(flat(32, 32, Qt::white))));
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "zorbel: no text is read without whole data for eng in " + folder.path().string() + "\n");
    }
}

TEST_F(TesseractRecogniserTest, ReadsTheLanguageOfTheLocaleAndEnglish) {
    const TemporaryFolder folder;
    for (const char* name : {"deu", "chi_sim", "chi_tra", "eng", "osd"}) {
        std::ofstream(folder.path() / (std::string(name) + ".traineddata")) << "data";
    }
    struct Row {
        const char* locale;
        const char* languages;
    };
    const Row rows[] = {{"en_GB", "eng"},
                        {"de_DE", "deu+eng"},
                        {"de_AT.UTF-8", "deu+eng"},
                        {"zh_CN", "chi_sim+eng"},
                        {"zh_TW", "chi_tra+eng"},
                        {"fr_FR", "eng"},
                        {"C", "eng"},
                        {"", "eng"},
                        {"osd", "eng"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.locale);
        EXPECT_EQ(Linux::textLanguages(row.locale, folder.path()), row.languages);
    }
    std::filesystem::remove(folder.path() / "eng.traineddata");
    EXPECT_EQ(Linux::textLanguages("de_DE", folder.path()), "deu");
    EXPECT_EQ(Linux::textLanguages("fr_FR", folder.path()), "");
}

TEST_F(TesseractRecogniserTest, F13_KeepsCodePoints) {
    QImage image(560, 60, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.setFont(fontOf(18));
    painter.drawText(14, 36, QString::fromUtf8("A café for £5 or €6 © “Zorbel”"));
    painter.end();
    EXPECT_EQ(joined(read(image)), "A café for £5 or €6 © “Zorbel”");
}

TEST_F(TesseractRecogniserTest, OddPicturesReadNothing) {
    const std::pair<int, int> sizes[] = {{1, 1}, {32, 32}, {1, 20'000}, {20'000, 1}, {3, 3}, {5000, 2}};
    for (const auto& [width, height] : sizes) {
        SCOPED_TRACE(std::to_string(width) + "×" + std::to_string(height));
        for (const auto& colour : {QColor(Qt::white), QColor(Qt::black), QColor(Qt::transparent)}) {
            QImage image(width, height, QImage::Format_ARGB32);
            image.fill(colour);
            EXPECT_EQ(joined(read(image)), "");
        }
    }
    TesseractRecogniser recogniser({.locale = "C"});
    EXPECT_FALSE(read(recogniser, Picture()));
    EXPECT_FALSE(read(recogniser, Picture({.width = 10, .height = 10, .png = "no picture", .preview = {}})));
}

TEST_F(TesseractRecogniserTest, SeesThroughToWhite) {
    QImage image = page(14, Qt::white, Qt::black).convertToFormat(QImage::Format_ARGB32);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const int black = 255 - qGray(image.pixel(x, y));
            image.setPixel(x, y, qRgba(0, 0, 0, black));
        }
    }
    EXPECT_EQ(joined(read(image)), proseText());
}

TEST_F(TesseractRecogniserTest, TheUrgentGoFirstAndTheOthersInTheOrderTheyCame) {
    TesseractRecogniser recogniser({.locale = "C"});
    Answers answers;
    const auto large = QtPlatform::QtPictures::picture(page(14, Qt::white, Qt::black));
    const auto small = QtPlatform::QtPictures::picture(flat(32, 32, Qt::white));
    recogniser.recognise(large, Priority::utility, answers.take("running"));
    recogniser.recognise(small, Priority::utility, answers.take("utility 1"));
    recogniser.recognise(small, Priority::utility, answers.take("utility 2"));
    recogniser.recognise(small, Priority::userInitiated, answers.take("urgent 1"));
    recogniser.recognise(small, Priority::userInitiated, answers.take("urgent 2"));
    std::vector<std::string> order;
    for (const auto& answer : answers.first(5)) {
        order.push_back(answer.first);
    }
    // The thread may have begun with an urgent one.
    std::erase(order, "running");
    EXPECT_EQ(order, (std::vector<std::string>{"urgent 1", "urgent 2", "utility 1", "utility 2"}));
}

TEST_F(TesseractRecogniserTest, F14_AFullScreenIsBrokenOffWhenTheRecogniserGoes) {
    QImage screen(1920, 1080, QImage::Format_RGB32);
    screen.fill(Qt::white);
    {
        QPainter painter(&screen);
        painter.setFont(fontOf(12));
        for (int y = 10; y < 1000; y += 90) {
            for (int x = 10; x < 1500; x += 460) {
                write(painter, x, y, prose);
            }
        }
    }
    const auto picture = QtPlatform::QtPictures::picture(screen);
    Answers answers;
    auto recogniser = std::make_unique<TesseractRecogniser>(TesseractRecogniser::Settings{.locale = "C"});
    recogniser->recognise(QtPlatform::QtPictures::picture(flat(32, 32, Qt::white)), Priority::utility,
                          answers.take("warm-up"));
    answers.first(1);
    for (int count = 0; count < 20; ++count) {
        recogniser->recognise(picture, Priority::userInitiated, answers.take("screen"));
    }
    const auto begin = std::chrono::steady_clock::now();
    recogniser.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(3));
    EXPECT_EQ(answers.first(1).size(), 1U);
}

TEST_F(TesseractRecogniserTest, ATokenMayOutliveTheRecogniser) {
    auto recogniser = std::make_unique<TesseractRecogniser>(TesseractRecogniser::Settings{.locale = "C"});
    auto warmth = recogniser->keepWarm();
    recogniser.reset();
    warmth.reset();
    EXPECT_FALSE(warmth);
}
