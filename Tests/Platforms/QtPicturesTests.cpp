#include "Platforms/Qt/QtPictures.hpp"
#include "Tests/DiskTrouble.hpp"
#include "Tests/TemporaryFolder.hpp"
#include "Tests/TestFiles.hpp"

#include <QBuffer>
#include <QColorSpace>
#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

using QtPlatform::QtPictures;
using ZorbelKit::Picture;
namespace fs = std::filesystem;

namespace {

constexpr std::size_t mebibyte = std::size_t{1} << 20;

std::string contents(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

void put(const fs::path& file, const std::string& bytes) {
    std::ofstream(file, std::ios::binary) << bytes;
}

unsigned mode(const fs::path& path) {
    return static_cast<unsigned>(fs::symlink_status(path).permissions());
}

std::set<std::string> namesIn(const fs::path& folder) {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) {
        names.insert(entry.path().filename().string());
    }
    return names;
}

/// What is to be seen on a screen, more or less: lines of writing on a ground that changes slowly.
QImage screen(int width, int height, QImage::Format format = QImage::Format_ARGB32) {
    QImage image(width, height, QImage::Format_ARGB32);
    std::mt19937 chance(2560);
    for (int row = 0; row < height; ++row) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(row));
        for (int column = 0; column < width; ++column) {
            const bool isWriting = row % 20 < 12 && chance() % 8 == 0;
            line[column] = isWriting ? qRgb(20, 20, 20)
                                     : qRgb(column * 255 / width, row * 255 / height, (column + row) % 256);
        }
    }
    return image.convertToFormat(format);
}

std::string encoded(const QImage& image, const char* format = "PNG", int quality = 100) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    EXPECT_TRUE(image.save(&buffer, format, quality));
    return bytes.toStdString();
}

void appendNumber(std::string& bytes, std::uint32_t value) {
    for (const int shift : {24, 16, 8, 0}) {
        bytes += static_cast<char>(value >> shift & 0xFF);
    }
}

/// A part of a PNG, with a right check sum.
std::string chunk(const std::string& type, const std::string& content) {
    std::string bytes;
    appendNumber(bytes, static_cast<std::uint32_t>(content.size()));
    bytes += type + content;
    std::uint32_t sum = ~std::uint32_t{0};
    for (const char byte : type + content) {
        sum ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit) {
            sum = sum >> 1 ^ ((sum & 1) != 0 ? 0xEDB88320U : 0);
        }
    }
    appendNumber(bytes, ~sum);
    return bytes;
}

/// The first 33 bytes of a PNG of this size, in colours with opacity.
std::string headOf(std::uint32_t width, std::uint32_t height) {
    std::string header;
    appendNumber(header, width);
    appendNumber(header, height);
    return "\x89PNG\r\n\x1A\n" + chunk("IHDR", header + std::string("\x08\x06\0\0\0", 5));
}

/// A variable of the environment that is another one for a while.
class Variable {
public:
    Variable(const char* name, const std::optional<std::string>& value)
        : name_(name) {
        if (const char* before = std::getenv(name)) {
            before_ = before;
        }
        set(value);
    }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;
    ~Variable() { set(before_); }

private:
    void set(const std::optional<std::string>& value) const {
        value ? ::setenv(name_, value->c_str(), 1) : ::unsetenv(name_);
    }

    const char* name_;
    std::optional<std::string> before_;
};

class PictureFiles : public testing::Test {
protected:
    fs::path file(const std::string& bytes) {
        const fs::path path = folder_.path() / ("picture" + std::to_string(++count_) + ".png");
        put(path, bytes);
        return path;
    }
    std::optional<Picture> read(const std::string& bytes) { return pictures_.read(file(bytes)); }

    const QtPictures pictures_{};
    const TemporaryFolder folder_;
    int count_ = 0;
};

} // namespace

// Reading

TEST_F(PictureFiles, KeepsTheBytesAsTheyCame) {
    const QImage image = screen(1280, 800);
    const std::string bytes = encoded(image);
    const auto picture = read(bytes);
    ASSERT_TRUE(picture);
    EXPECT_TRUE(picture->png().view() == bytes);
    EXPECT_EQ(picture->width(), 1280);
    EXPECT_EQ(picture->height(), 800);
    EXPECT_FALSE(picture->isCompact());
    EXPECT_TRUE(QtPictures::image(*picture) == image);
}

TEST_F(PictureFiles, EveryKindOfPngIsRead) {
    const QImage colours = screen(64, 48);
    QImage translucent = colours;
    translucent.setPixel(3, 4, qRgba(10, 20, 30, 40));
    QImage wide = colours.convertToFormat(QImage::Format_RGBA64);
    wide.setPixelColor(1, 1, QColor::fromRgba64(1, 2, 3, 0xFFFF));
    QImage calibrated = colours;
    calibrated.setColorSpace(QColorSpace::AdobeRgb);
    const struct {
        const char* name;
        QImage image;
    } rows[] = {
        {"colours", colours.convertToFormat(QImage::Format_RGB32)},
        {"with opacity", translucent},
        {"sixteen bits", wide},
        {"shades of grey", colours.convertToFormat(QImage::Format_Grayscale8)},
        {"many shades of grey", colours.convertToFormat(QImage::Format_Grayscale16)},
        {"a palette", colours.convertToFormat(QImage::Format_Indexed8)},
        {"black and white", colours.convertToFormat(QImage::Format_Mono)},
        {"colours of a printer's", calibrated},
        {"one pixel", colours.copy(0, 0, 1, 1)},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto picture = read(encoded(row.image));
        ASSERT_TRUE(picture);
        EXPECT_EQ(picture->preview().width, row.image.width());
        const QImage expected = row.image.convertToFormat(QImage::Format_ARGB32);
        for (int y = 0; y < expected.height(); ++y) {
            for (int x = 0; x < expected.width(); ++x) {
                const auto index = static_cast<std::size_t>(y * expected.width() + x);
                ASSERT_EQ(picture->preview().argb[index], expected.pixel(x, y)) << x << ' ' << y;
            }
        }
        const Picture compact = pictures_.compacted(*picture);
        EXPECT_TRUE(compact.isCompact());
        EXPECT_LE(compact.png().size(), picture->png().size());
        const QImage before = QtPictures::image(*picture);
        EXPECT_TRUE(QtPictures::image(compact).convertToFormat(before.format()) == before);
        EXPECT_EQ(QtPictures::image(compact).colorSpace(), before.colorSpace());
    }
}

TEST_F(PictureFiles, F7_WhatIsNoWholePngIsNone) {
    const QImage image = screen(200, 100);
    const std::string whole = encoded(image);
    const struct {
        const char* name;
        std::string bytes;
    } rows[] = {
        {"nothing", ""},
        {"the signature", whole.substr(0, 8)},
        {"the head", whole.substr(0, 33)},
        {"half", whole.substr(0, whole.size() / 2)},
        {"without its end", whole.substr(0, whole.size() - 12)},
        {"without the last check sum", whole.substr(0, whole.size() - 4)},
        {"without the last byte", whole.substr(0, whole.size() - 1)},
        {"a text", "This is no picture, though its name says so."},
        {"a bitmap", encoded(image, "BMP")},
        {"a photo", encoded(image, "JPG")},
        {"a drawing", encoded(image, "XPM")},
        {"something before it", "\n" + whole},
        {"only zeros", std::string(100'000, '\0')},
        {"no width", headOf(0, 10) + whole.substr(33)},
        {"no height", headOf(10, 0) + whole.substr(33)},
        {"a width below nothing", headOf(0x80000001, 10) + whole.substr(33)},
        {"more rows than come", headOf(200, 101) + whole.substr(33)},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_FALSE(read(row.bytes));
    }
    EXPECT_TRUE(read(whole));
    EXPECT_TRUE(read(whole + "something after it"));
}

TEST_F(PictureFiles, F7_ADamagedByteMakesItNone) {
    const std::string whole = encoded(screen(200, 100), "PNG", 80);
    const std::size_t data = whole.find("IDAT");
    ASSERT_NE(data, std::string::npos);
    for (const std::size_t place :
         {std::size_t{0}, std::size_t{9}, std::size_t{13}, std::size_t{17}, std::size_t{24}, std::size_t{30},
          data - 2, data + 5, whole.size() / 2, whole.size() - 14, whole.size() - 2}) {
        SCOPED_TRACE(place);
        std::string damaged = whole;
        damaged[place] = static_cast<char>(damaged[place] ^ 0x15);
        EXPECT_FALSE(read(damaged));
    }
}

TEST_F(PictureFiles, F7_OfALargeScreenToo) {
    const std::string whole = encoded(screen(2560, 1440), "PNG", 80);
    const auto picture = read(whole);
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->width(), 2560);
    EXPECT_EQ(picture->height(), 1440);
    const std::size_t data = whole.find("IDAT");
    for (const std::size_t length : {std::size_t{33}, data + 4, data + 5000, whole.size() / 2,
                                     whole.size() - 12, whole.size() - 4, whole.size() - 1}) {
        SCOPED_TRACE(length);
        EXPECT_FALSE(read(whole.substr(0, length)));
    }
    EXPECT_FALSE(read(headOf(2560, 1441) + whole.substr(33)));
}

TEST_F(PictureFiles, F7_WhatIsNoFileIsNone) {
    EXPECT_FALSE(pictures_.read(folder_.path() / "missing.png"));
    EXPECT_FALSE(pictures_.read(folder_.path()));
    EXPECT_FALSE(pictures_.read(""));
    EXPECT_FALSE(pictures_.read("/dev/zero"));
    EXPECT_FALSE(pictures_.read("/proc/self/mem"));
    EXPECT_FALSE(pictures_.read(folder_.path() / std::string(5000, 'x')));
    const fs::path pipe = folder_.path() / "pipe.png";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_FALSE(pictures_.read(pipe)) << "and nobody waits for one who writes";
    const fs::path link = folder_.path() / "link.png";
    fs::create_symlink(link, link);
    EXPECT_FALSE(pictures_.read(link));
    fs::remove(link);
    fs::create_symlink(file(encoded(screen(10, 10))), link);
    EXPECT_TRUE(pictures_.read(link));
}

TEST_F(PictureFiles, LargerThanAnyScreenIsNone) {
    EXPECT_FALSE(read(encoded(screen(30'000, 1))));
    EXPECT_FALSE(read(encoded(screen(1, 20'001))));
    EXPECT_TRUE(read(encoded(screen(20'000, 1))));
    EXPECT_TRUE(read(encoded(screen(1, 20'000))));
}

TEST_F(PictureFiles, NoRoomIsMadeForWhatIsTooLarge) {
    const struct {
        const char* name;
        std::string head;
        std::int64_t size;
    } rows[] = {
        {"wide", headOf(30'000, 30'000), 400'000'000},
        {"too many pixels", headOf(20'000, 20'000), 400'000'000},
        {"one row too many", headOf(20'000, 5'001), 400'000'000},
        {"as large as numbers get", headOf(0x7FFFFFFF, 0x7FFFFFFF), 400'000'000},
        {"a long file", headOf(100, 100), QtPictures::longestFile + 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const fs::path path = file(row.head);
        fs::resize_file(path, static_cast<std::uintmax_t>(row.size));
        rusage before{};
        ::getrusage(RUSAGE_SELF, &before);
        EXPECT_FALSE(pictures_.read(path));
        rusage after{};
        ::getrusage(RUSAGE_SELF, &after);
        EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 16 * 1024) << "KiB";
    }
}

TEST_F(PictureFiles, ADeskOfLargeScreensIsRead) {
    constexpr int side = 8200; // 269 MB as pixels: more than the library allows by itself
    const QByteArray rows((qsizetype{side} * 4 + 1) * side, '\0');
    const std::string compressed = qCompress(rows, 1).mid(4).toStdString();
    const auto picture = read(headOf(side, side) + chunk("IDAT", compressed) + chunk("IEND", ""));
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->width(), side);
    EXPECT_EQ(picture->preview().width, 250);
    EXPECT_EQ(picture->preview().height, 250);
}

// The small look

TEST_F(PictureFiles, APreviewShowsAllOfThePictureInItsShape) {
    const struct {
        int width, height;
        int previewWidth, previewHeight;
    } rows[] = {
        {1, 1, 1, 1},         {400, 250, 400, 250}, {399, 1, 399, 1},       {401, 250, 400, 249},
        {400, 251, 398, 250}, {800, 500, 400, 250}, {2560, 1440, 400, 225}, {1080, 1920, 140, 250},
        {20'000, 1, 400, 1},  {1, 20'000, 1, 250},  {20'000, 3, 400, 1},    {1'000, 1'000, 250, 250},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(row.width) + "x" + std::to_string(row.height));
        QImage image(row.width, row.height, QImage::Format_RGB32);
        image.fill(qRgb(12, 34, 56));
        const auto picture = read(encoded(image, "PNG", 80));
        ASSERT_TRUE(picture);
        const ZorbelKit::Pixels& preview = picture->preview();
        EXPECT_EQ(preview.width, row.previewWidth);
        EXPECT_EQ(preview.height, row.previewHeight);
        ASSERT_EQ(preview.argb.size(), static_cast<std::size_t>(preview.width * preview.height));
        EXPECT_EQ(std::set(preview.argb.begin(), preview.argb.end()), std::set{0xFF0C2238U});
    }
}

TEST_F(PictureFiles, APreviewIsMadeOfEveryPixel) {
    QImage image(1600, 1000, QImage::Format_RGB32); // a preview's pixel stands for sixteen
    for (int row = 0; row < image.height(); ++row) {
        for (int column = 0; column < image.width(); ++column) {
            const bool isWhite = column < 800 ? (row + column) % 2 == 0 : true;
            image.setPixel(column, row, isWhite ? qRgb(255, 255, 255) : qRgb(0, 0, 0));
        }
    }
    const auto picture = read(encoded(image, "PNG", 80));
    ASSERT_TRUE(picture);
    const auto& preview = picture->preview();
    ASSERT_EQ(preview.width, 400);
    for (const std::size_t row : {0U, 124U, 249U}) {
        for (const std::size_t column : {0U, 100U, 198U}) {
            EXPECT_NEAR(qRed(preview.argb[row * 400 + column]), 127, 2) << column << ' ' << row;
        }
        for (const std::size_t column : {201U, 300U, 399U}) {
            EXPECT_EQ(preview.argb[row * 400 + column], 0xFFFFFFFFU) << column << ' ' << row;
        }
    }
}

TEST_F(PictureFiles, ALargeScreenLooksTheSameWhateverWayItIsMadeSmall) {
    for (const QSize& size : {QSize(2560, 1440), QSize(3841, 2161), QSize(1921, 600)}) {
        SCOPED_TRACE(std::to_string(size.width()) + "x" + std::to_string(size.height()));
        const QImage image = screen(size.width(), size.height());
        const auto quick = read(encoded(image, "PNG", 80));
        ASSERT_TRUE(quick);
        const ZorbelKit::Pixels& first = quick->preview();
        const ZorbelKit::Picture drawn = QtPictures::picture(image); // of all its pixels at once
        const ZorbelKit::Pixels& second = drawn.preview();
        ASSERT_EQ(first.width, second.width);
        ASSERT_EQ(first.height, second.height);
        std::int64_t difference = 0;
        for (std::size_t index = 0; index < first.argb.size(); ++index) {
            difference += std::abs(qGray(first.argb[index]) - qGray(second.argb[index]));
            EXPECT_EQ(qAlpha(first.argb[index]), 0xFF);
        }
        EXPECT_LT(static_cast<double>(difference) / static_cast<double>(first.argb.size()), 4);
    }
}

// Compact

TEST_F(PictureFiles, CompactedItIsSmallAndTheSame) {
    const QImage image = screen(2560, 1440);
    const auto picture = read(encoded(image));
    ASSERT_TRUE(picture);
    const Picture compact = pictures_.compacted(*picture);
    EXPECT_TRUE(compact.isCompact());
    EXPECT_LT(compact.png().size(), picture->png().size() / 4);
    EXPECT_LT(compact.png().size(), encoded(image, "PNG", 80).size() * 5 / 4);
    EXPECT_TRUE(QtPictures::image(compact).convertToFormat(QImage::Format_ARGB32) == image);
    EXPECT_EQ(compact.width(), 2560);
    EXPECT_EQ(compact.height(), 1440);
    EXPECT_EQ(compact.preview().argb, picture->preview().argb);
    EXPECT_EQ(pictures_.compacted(compact), compact) << "it is done once";
}

TEST_F(PictureFiles, CompactedItIsNeverLarger) {
    const auto picture = read(encoded(screen(1280, 800).convertToFormat(QImage::Format_RGB32), "PNG", 0));
    ASSERT_TRUE(picture);
    const Picture compact = pictures_.compacted(*picture);
    EXPECT_TRUE(compact.isCompact());
    EXPECT_EQ(compact.png(), picture->png()) << "it was small already";
}

TEST_F(PictureFiles, WhatCannotBeCompactedStaysItself) {
    const Picture empty;
    EXPECT_EQ(pictures_.compacted(empty), empty);
    const Picture broken({.width = 1, .height = 1, .png = "no picture"});
    EXPECT_EQ(pictures_.compacted(broken), broken);
}

// Made of what was drawn

TEST_F(PictureFiles, ADrawnPictureComesBackPixelByPixel) {
    QImage translucent(3, 2, QImage::Format_ARGB32_Premultiplied);
    translucent.fill(qRgba(0x20, 0x10, 0x08, 0x40));
    for (const QImage& image : {screen(1, 1), screen(1, 1, QImage::Format_RGB32), screen(640, 401),
                                translucent, screen(300, 3, QImage::Format_RGB888)}) {
        const Picture picture = QtPictures::picture(image);
        EXPECT_TRUE(picture.isCompact());
        EXPECT_EQ(picture.width(), image.width());
        EXPECT_EQ(picture.height(), image.height());
        EXPECT_TRUE(QtPictures::image(picture).convertToFormat(QImage::Format_ARGB32) ==
                    image.convertToFormat(QImage::Format_ARGB32));
        EXPECT_TRUE(read(std::string(picture.png().view())));
    }
}

TEST_F(PictureFiles, OfNothingComesNoPicture) {
    EXPECT_TRUE(QtPictures::picture(QImage()).isEmpty());
    EXPECT_TRUE(QtPictures::image(Picture()).isNull());
    EXPECT_TRUE(pictures_.blank(0, 5).isEmpty());
    EXPECT_TRUE(pictures_.blank(5, -1).isEmpty());
}

TEST_F(PictureFiles, ABlankOneIsBlackInShadesOfGrey) {
    const Picture picture = pictures_.blank(32, 32);
    EXPECT_EQ(picture.width(), 32);
    EXPECT_EQ(picture.height(), 32);
    const QImage image = QtPictures::image(picture);
    EXPECT_EQ(image.format(), QImage::Format_Grayscale8);
    EXPECT_EQ(std::set(picture.preview().argb.begin(), picture.preview().argb.end()), std::set{0xFF000000U});
}

// Writing

TEST_F(PictureFiles, F16_AFileIsWrittenWithTheUsersPermissions) {
    const Picture picture = QtPictures::picture(screen(300, 200));
    const mode_t before = ::umask(027);
    const fs::path path = folder_.path() / "Fotrel 21 Nov 2026, 21:56:07 ☕.png";
    EXPECT_TRUE(pictures_.write(picture, path));
    ::umask(before);
    EXPECT_TRUE(contents(path) == picture.png().view());
    EXPECT_EQ(mode(path), 0640U);
    EXPECT_EQ(namesIn(folder_.path()).size(), 1U);
}

TEST_F(PictureFiles, F16_AFileThatIsThereIsReplaced) {
    const Picture picture = QtPictures::picture(screen(300, 200));
    const fs::path path = file("something that was longer than the picture" + std::string(mebibyte, 'x'));
    fs::permissions(path, fs::perms(0600));
    const fs::path link = folder_.path() / "link.png";
    fs::create_symlink(path.filename(), link);
    EXPECT_TRUE(pictures_.write(picture, link));
    EXPECT_TRUE(contents(path) == picture.png().view());
    EXPECT_EQ(mode(path), 0600U);
    EXPECT_TRUE(fs::is_symlink(link)) << "a link leads where it led";
    EXPECT_EQ(namesIn(folder_.path()), (std::set<std::string>{path.filename().string(), "link.png"}));
}

TEST_F(PictureFiles, F16_AFullDiskLeavesWhatWasThere) {
    const Picture picture = QtPictures::picture(screen(1280, 800));
    ASSERT_GT(picture.png().size(), 100'000U);
    const fs::path there = file("what was there");
    for (const rlim_t room : {0U, 100U, 50'000U}) {
        SCOPED_TRACE(room);
        const FullDisk full(room);
        EXPECT_FALSE(pictures_.write(picture, there));
        EXPECT_FALSE(pictures_.write(picture, folder_.path() / "new.png"));
    }
    EXPECT_EQ(contents(there), "what was there");
    EXPECT_EQ(namesIn(folder_.path()).size(), 1U) << "no half file";
    EXPECT_TRUE(pictures_.write(picture, there));
}

TEST_F(PictureFiles, F16_AFolderThatMayNotBeWrittenToIsLeftAlone) {
    const Picture picture = QtPictures::picture(screen(300, 200));
    const fs::path there = file("what was there");
    fs::permissions(folder_.path(), fs::perms(0555));
    {
        const Unprivileged unprivileged;
        EXPECT_FALSE(pictures_.write(picture, there));
        EXPECT_FALSE(pictures_.write(picture, folder_.path() / "new.png"));
    }
    fs::permissions(folder_.path(), fs::perms(0700));
    EXPECT_EQ(contents(there), "what was there");
    EXPECT_EQ(namesIn(folder_.path()).size(), 1U);
}

TEST_F(PictureFiles, F16_OnlyFilesAreReplaced) {
    const Picture picture = QtPictures::picture(screen(30, 20));
    const fs::path folder = folder_.path() / "folder.png";
    fs::create_directory(folder);
    const fs::path pipe = folder_.path() / "pipe.png";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_FALSE(pictures_.write(picture, folder));
    EXPECT_FALSE(pictures_.write(picture, pipe));
    EXPECT_FALSE(pictures_.write(picture, folder_.path() / "missing" / "new.png"));
    EXPECT_FALSE(pictures_.write(picture, ""));
    EXPECT_FALSE(pictures_.write(Picture(), folder_.path() / "new.png"));
    EXPECT_TRUE(fs::is_directory(folder));
    EXPECT_TRUE(fs::is_fifo(pipe));
    EXPECT_EQ(namesIn(folder_.path()), (std::set<std::string>{"folder.png", "pipe.png"}));
}

// A file for a moment

TEST_F(PictureFiles, ATemporaryFileIsReadableToNobodyElse) {
    const Variable runtime("XDG_RUNTIME_DIR", folder_.path().string());
    const mode_t before = ::umask(0);
    const fs::path path = pictures_.temporaryFile("zorbel-1.png");
    EXPECT_EQ(path, folder_.path() / "zorbel-1.png");
    EXPECT_EQ(mode(path), 0600U);
    EXPECT_EQ(fs::file_size(path), 0U);
    put(path, encoded(screen(30, 20))); // as a program does
    ::umask(before);
    EXPECT_EQ(mode(path), 0600U);
    EXPECT_TRUE(pictures_.read(path));
    pictures_.remove(path);
    EXPECT_TRUE(namesIn(folder_.path()).empty());
}

TEST_F(PictureFiles, ATemporaryFileGoesWhereNoOtherUserLooks) {
    const fs::path temporary = folder_.path() / "temporary";
    fs::create_directory(temporary);
    const fs::path open = folder_.path() / "open";
    fs::create_directory(open);
    fs::permissions(open, fs::perms(0755));
    const fs::path grouped = folder_.path() / "grouped";
    fs::create_directory(grouped);
    fs::permissions(grouped, fs::perms(0710));
    const fs::path noFolder = file("");
    const Variable place("TMPDIR", temporary.string());
    const struct {
        const char* name;
        std::optional<std::string> runtime;
    } rows[] = {
        {"none", std::nullopt},
        {"empty", ""},
        {"missing", (folder_.path() / "missing").string()},
        {"no folder", noFolder.string()},
        {"open to all", open.string()},
        {"open to a group", grouped.string()},
        {"relative", "temporary"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const Variable runtime("XDG_RUNTIME_DIR", row.runtime);
        const fs::path path = pictures_.temporaryFile("zorbel-1.png");
        EXPECT_EQ(path, temporary / "zorbel-1.png");
        EXPECT_EQ(mode(path), 0600U);
        pictures_.remove(path);
    }
}

TEST_F(PictureFiles, WithoutAPlaceATemporaryFileHasAPathAllTheSame) {
    const Variable runtime("XDG_RUNTIME_DIR", std::nullopt);
    const Variable place("TMPDIR", (folder_.path() / "missing").string());
    const fs::path path = pictures_.temporaryFile("zorbel-test-without-a-place.png");
    EXPECT_EQ(path, "/tmp/zorbel-test-without-a-place.png");
    pictures_.remove(path);
}

TEST_F(PictureFiles, WhatAnotherPutThereIsNotTakenForATemporaryFile) {
    const Variable runtime("XDG_RUNTIME_DIR", folder_.path().string());
    const fs::path other = file("theirs");
    fs::create_symlink(other, folder_.path() / "zorbel-1.png");
    EXPECT_EQ(pictures_.temporaryFile("zorbel-1.png"), folder_.path() / "zorbel-1.png");
    EXPECT_EQ(contents(other), "theirs");
    EXPECT_TRUE(fs::is_symlink(folder_.path() / "zorbel-1.png"));
}

TEST_F(PictureFiles, OnlyFilesAreRemoved) {
    const fs::path folder = folder_.path() / "folder";
    fs::create_directory(folder);
    const fs::path path = file("");
    const fs::path link = folder_.path() / "link";
    fs::create_symlink(path, link);
    pictures_.remove(folder);
    pictures_.remove(folder_.path() / "missing");
    pictures_.remove("");
    pictures_.remove(link);
    EXPECT_TRUE(fs::is_directory(folder));
    EXPECT_TRUE(fs::exists(path));
    EXPECT_FALSE(fs::is_symlink(link));
}

// Many

TEST_F(PictureFiles, F17_TwentyLargePicturesTakeNoMoreRoomThanTheirFiles) {
    const auto taken = [] {
        const struct mallinfo2 info = ::mallinfo2();
        return info.uordblks + info.hblkhd;
    };
    const fs::path path = file(encoded(screen(1280, 720), "PNG", 80));
    const std::size_t size = fs::file_size(path);
    pictures_.compacted(*pictures_.read(path)); // whatever the library keeps for good
    const std::size_t before = taken();
    std::vector<Picture> kept;
    for (int count = 0; count < 20; ++count) {
        kept.push_back(pictures_.compacted(*pictures_.read(path)));
    }
    constexpr std::size_t previewSize = 400 * 225 * 4;
    EXPECT_LT(taken(), before + 20 * (size + previewSize) + mebibyte);
    EXPECT_LE(kept.back().png().size(), size);
}
