#include "Platforms/Linux/Capture/LinuxPictures.hpp"
#include "Tests/TemporaryFolder.hpp"

#include <QBuffer>
#include <QImage>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

using Linux::LinuxPictures;
using ZorbelKit::ExpectedPicture;
namespace fs = std::filesystem;

namespace {

/// A PNG of a large screen, which is made small while it is read; of noise, so that it has many bytes.
std::string screenful(unsigned seed) {
    QImage image(1200, 900, QImage::Format_RGB32);
    for (int row = 0; row < image.height(); ++row) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(row));
        for (int column = 0; column < image.width(); ++column) {
            seed = seed * 1'664'525 + 1'013'904'223;
            line[column] = qRgb(static_cast<int>(seed >> 24), column % 256, row % 256);
        }
    }
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    EXPECT_TRUE(image.save(&buffer, "PNG", 90));
    return bytes.toStdString();
}

int descriptors() {
    const fs::directory_iterator all("/proc/self/fd");
    return static_cast<int>(std::distance(begin(all), end(all)));
}

/// How far this process has read into a file that it has open; negative where it has not opened it.
long placeIn(const fs::path& file) {
    for (const auto& descriptor : fs::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        if (fs::read_symlink(descriptor.path(), gone) == file) {
            std::ifstream about("/proc/self/fdinfo" / descriptor.path().filename());
            std::string label;
            long place = -1;
            about >> label >> place;
            return place;
        }
    }
    return -1;
}

bool isReadUpTo(const fs::path& file, std::size_t size) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (placeIn(file) < static_cast<long>(size)) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}

class PicturesToCome : public testing::Test {
protected:
    PicturesToCome() { write(""); }

    void write(std::string_view bytes) const { std::ofstream(file_, std::ios::binary) << bytes; }
    void append(std::string_view bytes) const {
        std::ofstream(file_, std::ios::binary | std::ios::app) << bytes;
    }

    const LinuxPictures pictures_{};
    const TemporaryFolder folder_;
    const fs::path file_ = folder_.path() / "picture.png";
    const std::string png_ = screenful(1);
};

} // namespace

TEST_F(PicturesToCome, AreReadWhileTheyAreWritten) {
    const auto expected = pictures_.expect(file_);
    const std::size_t half = png_.size() / 2;
    append(std::string_view(png_).substr(0, half));
    ASSERT_TRUE(isReadUpTo(file_, half));
    // Nobody looks at this again.
    std::fstream(file_, std::ios::binary | std::ios::in | std::ios::out) << "no picture";
    append(std::string_view(png_).substr(half));
    const auto picture = expected->read();
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->png(), png_);
    write(png_);
    EXPECT_EQ(picture->preview().argb, pictures_.read(file_)->preview().argb);
}

TEST_F(PicturesToCome, AreTheSameInPiecesOfAnySize) {
    for (const std::size_t piece : {std::size_t{1}, std::size_t{7}, std::size_t{4096}, png_.size()}) {
        SCOPED_TRACE(piece);
        const std::string_view png = piece == 1 ? std::string_view(png_).substr(0, 2000) : png_;
        write("");
        const auto expected = pictures_.expect(file_);
        std::ofstream stream(file_, std::ios::binary | std::ios::app);
        for (std::size_t begin = 0; begin < png.size(); begin += piece) {
            stream << png.substr(begin, piece) << std::flush;
        }
        const auto picture = expected->read();
        EXPECT_EQ(picture.has_value(), piece != 1) << "a part of a picture is none";
        if (picture) {
            EXPECT_EQ(picture->png(), png_);
        }
    }
}

TEST_F(PicturesToCome, WhatStandsThereAtTheEndCounts) {
    const std::string other = screenful(2);
    {
        const auto expected = pictures_.expect(file_);
        append(png_);
        ASSERT_TRUE(isReadUpTo(file_, png_.size()));
        write(other.substr(0, other.size() / 2));
        EXPECT_FALSE(expected->read()) << "written anew, and not whole";
    }
    {
        write("");
        const auto expected = pictures_.expect(file_);
        append(png_);
        ASSERT_TRUE(isReadUpTo(file_, png_.size()));
        std::ofstream(folder_.path() / "other", std::ios::binary) << other;
        fs::rename(folder_.path() / "other", file_);
        const auto picture = expected->read();
        ASSERT_TRUE(picture) << "another file in its place";
        EXPECT_EQ(picture->png(), other);
    }
    {
        write("");
        const auto expected = pictures_.expect(file_);
        append(png_);
        fs::remove(file_);
        EXPECT_FALSE(expected->read()) << "taken away";
    }
}

TEST_F(PicturesToCome, MayNeverCome) {
    const int before = descriptors();
    EXPECT_FALSE(pictures_.expect(file_)->read()) << "never written";
    { const auto expected = pictures_.expect(file_); } // and never asked for
    EXPECT_FALSE(pictures_.expect(folder_.path() / "nowhere" / "file")->read());
    EXPECT_FALSE(pictures_.expect(folder_.path())->read());
    const fs::path pipe = folder_.path() / "pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_FALSE(pictures_.expect(pipe)->read());
    EXPECT_EQ(descriptors(), before) << "nothing stays open";
}

TEST_F(PicturesToCome, MayComeUnwatched) {
    const fs::path late = folder_.path() / "late.png";
    const auto expected = pictures_.expect(late);
    std::ofstream(late, std::ios::binary) << png_;
    EXPECT_TRUE(expected->read()) << "it was not there at first";

    rlimit before{};
    ::getrlimit(RLIMIT_NOFILE, &before);
    const rlimit few{static_cast<rlim_t>(descriptors()), before.rlim_max};
    ::setrlimit(RLIMIT_NOFILE, &few);
    const auto unwatched = pictures_.expect(file_);
    ::setrlimit(RLIMIT_NOFILE, &before);
    append(png_);
    EXPECT_TRUE(unwatched->read()) << "no descriptor was left to watch it with";
}

TEST_F(PicturesToCome, ManyAtOnceAreAllRead) {
    std::vector<std::unique_ptr<ExpectedPicture>> expected;
    for (int index = 0; index < 21; ++index) {
        const fs::path file = folder_.path() / std::to_string(index);
        std::ofstream(file, std::ios::binary) << "";
        expected.push_back(pictures_.expect(file));
        std::ofstream(file, std::ios::binary) << png_;
    }
    for (const auto& picture : expected) {
        EXPECT_TRUE(picture->read());
    }
}
