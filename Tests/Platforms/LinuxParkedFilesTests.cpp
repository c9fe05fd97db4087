#include "Platforms/Linux/Shelf/FileLook.hpp"
#include "Platforms/Linux/Shelf/LinuxParkedFiles.hpp"
#include "Platforms/Simulated/SimulatedMainLoop.hpp"
#include "Tests/DiskTrouble.hpp"
#include "Tests/TemporaryFolder.hpp"
#include "Tests/TestFiles.hpp"

#include <QCryptographicHash>
#include <QImage>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace {

using Ledgra::FileIcon;
using Linux::DiskQuestions;
using Linux::LinuxParkedFiles;
using Simulated::SimulatedMainLoop;
using ZorbelKit::Seconds;
namespace fs = std::filesystem;
using namespace std::chrono_literals;
using SteadyClock = std::chrono::steady_clock;
using Look = FileIcon::Look;

constexpr auto deadline = 10s;

bool waitFor(const std::function<bool()>& holds) {
    const auto end = SteadyClock::now() + deadline;
    while (!holds()) {
        if (SteadyClock::now() > end) {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}

bool hasName(const Look& look, const std::string& name) {
    return std::ranges::find(look.names, name) != look.names.end();
}

QImage imageOf(const std::string& png) {
    return QImage::fromData(QByteArray::fromStdString(png), "png");
}

/// An environment variable for a test's time.
class Variable {
public:
    Variable(const char* name, const std::string& value)
        : name_(name)
        , before_(std::getenv(name) ? std::optional<std::string>(std::getenv(name)) : std::nullopt) {
        ::setenv(name, value.c_str(), 1);
    }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;
    ~Variable() { before_ ? ::setenv(name_, before_->c_str(), 1) : ::unsetenv(name_); }

private:
    const char* name_;
    std::optional<std::string> before_;
};

/// A disk that does not answer for some paths until it is mended.
class Disk {
public:
    ~Disk() { mend(); }

    LinuxParkedFiles::Disk questions() {
        return {.look =
                    [state = state_](const fs::path& file) {
                        state->answer(file);
                        return std::optional(Look{.names = {"seen"}});
                    },
                .size =
                    [state = state_](const fs::path& file) {
                        state->answer(file);
                        return std::int64_t{10};
                    },
                .has =
                    [state = state_](const fs::path& file) {
                        state->answer(file);
                        return file.filename() != "gone";
                    }};
    }

    void mend() {
        const std::lock_guard lock(state_->mutex);
        state_->isDead = false;
        state_->mended.notify_all();
    }

    int asked() const { return state_->asked; }
    int stuck() const { return state_->stuck; }

private:
    struct State {
        std::mutex mutex;
        std::condition_variable mended;
        bool isDead = true;
        std::atomic<int> asked = 0;
        std::atomic<int> stuck = 0;

        void answer(const fs::path& file) {
            ++asked;
            if (!file.native().starts_with("/dead")) {
                return;
            }
            ++stuck;
            std::unique_lock lock(mutex);
            mended.wait(lock, [this] { return !isDead; });
            --stuck;
        }
    };
    std::shared_ptr<State> state_ = std::make_shared<State>();
};

class LinuxParkedFilesTest : public ::testing::Test {
protected:
    fs::path at(const std::string& name) const { return folder.path() / name; }

    /// Once the disk has been asked.
    std::shared_ptr<const FileIcon> settledIcon(const fs::path& file) {
        const auto icon = files.icon(file);
        EXPECT_TRUE(waitFor([&] { return files.threads() == 0; }));
        loop.settle();
        return icon;
    }

    static void write(const fs::path& file, const QImage& image, const char* format = "png") {
        fs::create_directories(file.parent_path());
        ASSERT_TRUE(image.save(QString::fromStdString(file.native()), format));
    }

    static QImage picture(int width, int height, Qt::GlobalColor colour) {
        QImage image(width, height, QImage::Format_RGB32);
        image.fill(colour);
        return image;
    }

    /// As the desktop keeps one of a file.
    fs::path keepThumbnail(const fs::path& file, QImage image, const std::string& size = "large") {
        const std::string uri = Linux::thumbnailUri(file);
        image.setText("Thumb::URI", QString::fromStdString(uri));
        struct stat status {};
        ::lstat(file.c_str(), &status);
        image.setText("Thumb::MTime", QString::number(status.st_mtime));
        const fs::path kept = at("cache/thumbnails") / size / (hashOf(uri) + ".png");
        write(kept, image);
        return kept;
    }

    static std::string hashOf(const std::string& uri) {
        return QCryptographicHash::hash(QByteArray::fromStdString(uri), QCryptographicHash::Md5)
            .toHex()
            .toStdString();
    }

    TemporaryFolder folder;
    Variable cache{"XDG_CACHE_HOME", (folder.path() / "cache").native()};
    SimulatedMainLoop loop;
    LinuxParkedFiles files{loop};
};

// Icons

TEST_F(LinuxParkedFilesTest, AnIconIsThereAtOnceByTheNameAlone) {
    const std::pair<const char*, const char*> rows[] = {{"/nowhere/a.pdf", "application-pdf"},
                                                        {"/nowhere/a.png", "image-png"},
                                                        {"/nowhere/a.TXT", "text-plain"},
                                                        {"/nowhere/no extension", "text-x-generic"},
                                                        {"/", "text-x-generic"},
                                                        {"/bad\xFF.mp3", "audio-mpeg"}};
    for (const auto& [path, name] : rows) {
        SCOPED_TRACE(path);
        EXPECT_TRUE(hasName(files.icon(path)->look(), name));
    }
}

TEST_F(LinuxParkedFilesTest, L10_WhatAFileIsDecidesAboutItsIcon) {
    fs::create_directory(at("folder.txt"));
    makeFile(at("file.txt"), 3);
    fs::create_symlink(at("folder.txt"), at("link"));
    fs::create_symlink("/nowhere/at/all", at("dangling"));
    fs::create_symlink(at("file.txt"), at("link.pdf"));
    ASSERT_EQ(::mkfifo(at("fifo.png").c_str(), 0600), 0);
    std::ofstream(at("program")) << "x";
    fs::permissions(at("program"), fs::perms::owner_all);
    const std::pair<fs::path, const char*> rows[] = {{at("folder.txt"), "folder"},
                                                     {at("file.txt"), "text-plain"},
                                                     {at("link"), "inode-symlink"},
                                                     {at("dangling"), "inode-symlink"},
                                                     {at("link.pdf"), "application-pdf"},
                                                     {at("fifo.png"), "inode-fifo"},
                                                     {"/dev/null", "inode-chardevice"},
                                                     {at("program"), "application-x-executable"},
                                                     {"/", "folder"}};
    for (const auto& [path, name] : rows) {
        SCOPED_TRACE(path);
        EXPECT_EQ(settledIcon(path)->look().names.front(), name);
    }
}

TEST_F(LinuxParkedFilesTest, L9_AFileThatIsMissingKeepsTheIconOfItsName) {
    const auto icon = files.icon(at("missing.pdf"));
    const Look before = icon->look();
    ASSERT_TRUE(waitFor([&] { return files.threads() == 0; }));
    loop.settle();
    EXPECT_EQ(icon->look(), before);
}

TEST_F(LinuxParkedFilesTest, L9_ABetterIconIsToldToWhoWatches) {
    fs::create_directory(at("folder"));
    const auto icon = files.icon(at("folder"));
    int changes = 0;
    const auto token = icon->observe([&] { ++changes; });
    ASSERT_TRUE(waitFor([&] { return files.threads() == 0; }));
    EXPECT_EQ(changes, 0); // it is told on the main thread
    loop.settle();
    EXPECT_EQ(changes, 1);
}

TEST_F(LinuxParkedFilesTest, L9_AReplacedFileHasTheIconOfWhatItIsNow) {
    makeFile(at("thing"), 1);
    EXPECT_FALSE(hasName(settledIcon(at("thing"))->look(), "folder"));
    fs::remove(at("thing"));
    fs::create_directory(at("thing"));
    EXPECT_TRUE(hasName(settledIcon(at("thing"))->look(), "folder"));
}

TEST_F(LinuxParkedFilesTest, APictureIsMadeSmall) {
    write(at("wide.png"), picture(1600, 800, Qt::red));
    const QImage thumbnail = imageOf(settledIcon(at("wide.png"))->look().thumbnail);
    EXPECT_EQ(thumbnail.size(), QSize(160, 80));
    EXPECT_EQ(thumbnail.pixelColor(80, 40), QColor(Qt::red));
}

TEST_F(LinuxParkedFilesTest, ASmallPictureStaysAsItIs) {
    write(at("icon.bmp"), picture(16, 9, Qt::blue), "bmp");
    EXPECT_EQ(imageOf(settledIcon(at("icon.bmp"))->look().thumbnail).size(), QSize(16, 9));
}

TEST_F(LinuxParkedFilesTest, WhatIsNoPictureOrTooLargeAOneHasNoThumbnail) {
    std::ofstream(at("text.png")) << "not a picture";
    makeFile(at("huge.png"), std::int64_t{1} << 40);
    makeFile(at("empty.jpg"));
    write(at("bomb.png"), QImage(30'000, 10'000, QImage::Format_Mono));
    std::ofstream(at("drawing.svg")) << "<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'/>";
    write(at("picture.txt"), picture(20, 20, Qt::red)); // by its name it is a text
    for (const char* name : {"text.png", "huge.png", "empty.jpg", "bomb.png", "drawing.svg", "picture.txt"}) {
        SCOPED_TRACE(name);
        EXPECT_TRUE(settledIcon(at(name))->look().thumbnail.empty());
    }
}

TEST_F(LinuxParkedFilesTest, APictureThatALinkLeadsToIsNotRead) {
    write(at("real.png"), picture(20, 20, Qt::red));
    fs::create_symlink(at("real.png"), at("link.png"));
    const Look look = settledIcon(at("link.png"))->look();
    EXPECT_TRUE(hasName(look, "image-png"));
    EXPECT_TRUE(look.thumbnail.empty());
}

TEST_F(LinuxParkedFilesTest, TheThumbnailThatTheDesktopKeepsIsShown) {
    for (const char* size : {"large", "x-large", "normal"}) {
        SCOPED_TRACE(size);
        const fs::path file = at(std::string("talk ") + size + ".pdf");
        makeFile(file, 3);
        keepThumbnail(file, picture(256, 128, Qt::green), size);
        const QImage thumbnail = imageOf(settledIcon(file)->look().thumbnail);
        EXPECT_EQ(thumbnail.size(), QSize(160, 80));
        EXPECT_EQ(thumbnail.pixelColor(80, 40), QColor(Qt::green));
    }
}

TEST_F(LinuxParkedFilesTest, AThumbnailOfAnOlderFileOrOfAnotherOneIsNotShown) {
    makeFile(at("a.pdf"), 3);
    makeFile(at("b.pdf"), 3);
    const fs::path kept = keepThumbnail(at("a.pdf"), picture(64, 64, Qt::green));
    fs::copy_file(kept, kept.parent_path() / (hashOf(Linux::thumbnailUri(at("b.pdf"))) + ".png"));
    EXPECT_TRUE(settledIcon(at("b.pdf"))->look().thumbnail.empty());
    setModified(at("a.pdf"), std::chrono::sys_days{std::chrono::year{2020} / 1 / 1});
    EXPECT_TRUE(settledIcon(at("a.pdf"))->look().thumbnail.empty());
}

TEST_F(LinuxParkedFilesTest, AThumbnailThatIsALinkAFifoOrTooLargeIsLeftAlone) {
    makeFile(at("a.pdf"), 3);
    const fs::path kept = keepThumbnail(at("a.pdf"), picture(64, 64, Qt::green));
    ASSERT_FALSE(settledIcon(at("a.pdf"))->look().thumbnail.empty());
    fs::resize_file(kept, (4 << 20) + 1);
    EXPECT_TRUE(settledIcon(at("a.pdf"))->look().thumbnail.empty());
    fs::resize_file(kept, 100); // cut off
    EXPECT_TRUE(settledIcon(at("a.pdf"))->look().thumbnail.empty());
    keepThumbnail(at("a.pdf"), picture(64, 64, Qt::green));
    fs::rename(kept, at("elsewhere.png"));
    fs::create_symlink(at("elsewhere.png"), kept);
    EXPECT_TRUE(settledIcon(at("a.pdf"))->look().thumbnail.empty());
    fs::remove(kept);
    ASSERT_EQ(::mkfifo(kept.c_str(), 0600), 0);
    EXPECT_TRUE(settledIcon(at("a.pdf"))->look().thumbnail.empty());
}

TEST_F(LinuxParkedFilesTest, AThumbnailOfAnotherUserIsLeftAlone) {
    makeFile(at("a.pdf"), 3);
    const fs::path kept = keepThumbnail(at("a.pdf"), picture(64, 64, Qt::green));
    if (::chown(kept.c_str(), 65534, 65534) != 0) {
        GTEST_SKIP() << "only root gives files away";
    }
    EXPECT_TRUE(settledIcon(at("a.pdf"))->look().thumbnail.empty());
}

TEST(FileLook, ThumbnailsAreNamedAsTheDesktopNamesThem) {
    EXPECT_EQ(Linux::thumbnailUri("/home/jens/photos/me.png"), "file:///home/jens/photos/me.png");
    EXPECT_EQ(Linux::thumbnailUri("/a b/(1)#?%\xC3\xA9,~"), "file:///a%20b/(1)%23%3F%25%C3%A9,~");
}

TEST_F(LinuxParkedFilesTest, AnIconThatNobodyHoldsAnyMoreHurtsNothing) {
    for (int round = 0; round < 50; ++round) {
        files.icon(at("file " + std::to_string(round)));
    }
    ASSERT_TRUE(waitFor([&] { return files.threads() == 0; }));
    loop.settle();
}

// Whether a file is there

TEST_F(LinuxParkedFilesTest, WhetherAFileIsThereIsFoundOutInTheBackground) {
    makeFile(at("file"));
    fs::create_symlink("/nowhere", at("dangling"));
    const std::pair<fs::path, bool> rows[] = {{at("file"), true},
                                              {at("dangling"), true},
                                              {at("missing"), false},
                                              {at("file/below"), false},
                                              {folder.path(), true}};
    for (const auto& [path, expected] : rows) {
        SCOPED_TRACE(path);
        std::optional<bool> answer;
        files.look(path, [&](bool isThere) { answer = isThere; });
        EXPECT_FALSE(answer.has_value());
        ASSERT_TRUE(waitFor([&] { return files.threads() == 0; }));
        loop.settle();
        EXPECT_EQ(answer, expected);
    }
}

TEST_F(LinuxParkedFilesTest, AnAnswerReachesNobodyOnceTheObjectHasGone) {
    auto mortal = std::make_unique<LinuxParkedFiles>(loop);
    bool isAnswered = false;
    mortal->look(at("missing"), [&](bool) { isAnswered = true; });
    ASSERT_TRUE(waitFor([&] { return mortal->threads() == 0; }));
    mortal.reset();
    loop.settle();
    EXPECT_FALSE(isAnswered);
}

// Sizes

TEST_F(LinuxParkedFilesTest, TheBytesOfRegularFilesAreSummedUpAndNothingElseCounts) {
    makeFile(at("a"), 40);
    makeFile(at("b"), 2);
    makeFile(at("folder/inside"), 1000);
    fs::create_symlink(at("a"), at("link"));
    fs::create_symlink("/nowhere", at("dangling"));
    ASSERT_EQ(::mkfifo(at("fifo").c_str(), 0600), 0);
    EXPECT_EQ(files.totalBytes({}), 0);
    EXPECT_EQ(files.totalBytes({at("a"), at("b"), at("folder"), at("link"), at("dangling"), at("fifo"),
                                at("missing"), "/dev/zero", "/"}),
              42);
    EXPECT_EQ(files.totalBytes({at("folder")}), 0);
}

TEST_F(LinuxParkedFilesTest, AFileThatCannotBeReadHasASizeAndOneOutOfReachHasNone) {
    makeFile(at("secret"), 7);
    fs::permissions(at("secret"), fs::perms::none);
    EXPECT_EQ(files.totalBytes({at("secret")}), 7);
    makeFile(at("closed/file"), 7);
    fs::permissions(at("closed"), fs::perms::none);
    {
        const Unprivileged nobody;
        EXPECT_EQ(Linux::sizeOnDisk(at("closed/file")), 0);
    }
    fs::permissions(at("closed"), fs::perms::owner_all);
}

TEST_F(LinuxParkedFilesTest, SizesThatDoNotFitTogetherGiveTheLargestNumber) {
    constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
    LinuxParkedFiles::Disk disk = LinuxParkedFiles::realDisk();
    disk.size = [](const fs::path& file) { return file == "/small" ? std::int64_t{1} : most; };
    const LinuxParkedFiles huge(loop, disk);
    EXPECT_EQ(huge.totalBytes({"/a", "/b", "/small"}), most);
    // The most that this disk holds in one file.
    makeFile(at("sparse"));
    std::int64_t size = most;
    while (::truncate(at("sparse").c_str(), size) != 0) {
        size /= 2;
    }
    EXPECT_EQ(files.totalBytes({at("sparse")}), size);
}

TEST_F(LinuxParkedFilesTest, AFileThatGrowsIsAskedForAnew) {
    makeFile(at("a"), 1);
    EXPECT_EQ(files.totalBytes({at("a")}), 1);
    makeFile(at("a"), 5);
    EXPECT_EQ(files.totalBytes({at("a")}), 5);
    fs::remove(at("a"));
    EXPECT_EQ(files.totalBytes({at("a")}), 0);
}

// Disks that do not answer

TEST_F(LinuxParkedFilesTest, L10_ADeadDiskHoldsUpNeitherItsIconsNorTheSizes) {
    Disk disk;
    LinuxParkedFiles parked(loop, disk.questions());
    const auto begin = SteadyClock::now();
    const auto icon = parked.icon("/dead/a.pdf");
    EXPECT_LT(SteadyClock::now() - begin, 50ms);
    EXPECT_TRUE(hasName(icon->look(), "application-pdf"));
    const auto asked = SteadyClock::now();
    EXPECT_EQ(parked.totalBytes({"/dead/a", "/alive/b"}), 10);
    EXPECT_LT(SteadyClock::now() - asked, 1s);
}

TEST_F(LinuxParkedFilesTest, L10_OtherIconsGoOnBesideADeadDisk) {
    Disk disk;
    LinuxParkedFiles parked(loop, disk.questions());
    std::vector<std::shared_ptr<const FileIcon>> dead;
    for (int number = 0; number < 12; ++number) {
        dead.push_back(parked.icon("/dead/" + std::to_string(number)));
    }
    const auto alive = parked.icon("/alive/a");
    ASSERT_TRUE(waitFor([&] {
        loop.advance(Seconds{1}); // until the dead ones are overdue
        return hasName(alive->look(), "seen");
    }));
    EXPECT_EQ(disk.stuck(), DiskQuestions::mostInFolder);
    EXPECT_LE(parked.threads(), DiskQuestions::mostThreads);
}

TEST_F(LinuxParkedFilesTest, L10_ThreadsDoNotPileUpOnADeadDisk) {
    Disk disk;
    LinuxParkedFiles parked(loop, disk.questions());
    for (int round = 0; round < 5; ++round) {
        std::vector<fs::path> paths;
        for (int number = 0; number < 12; ++number) {
            paths.push_back("/dead/" + std::to_string(number) + "/file");
        }
        EXPECT_EQ(parked.totalBytes(paths), 0);
    }
    EXPECT_LE(parked.threads(), DiskQuestions::mostThreads);
    disk.mend();
    ASSERT_TRUE(waitFor([&] { return parked.threads() == 0; }));
    EXPECT_EQ(parked.totalBytes({"/dead/0/file", "/dead/1/file"}), 20);
}

TEST_F(LinuxParkedFilesTest, L10_WhatADeadDiskHoldsUpIsAnsweredOnceItIsMended) {
    Disk disk;
    LinuxParkedFiles parked(loop, disk.questions());
    std::vector<std::shared_ptr<const FileIcon>> icons;
    for (int number = 0; number < 12; ++number) {
        icons.push_back(parked.icon("/dead/" + std::to_string(number)));
    }
    ASSERT_TRUE(waitFor([&] { return disk.stuck() > 0; }));
    disk.mend();
    EXPECT_TRUE(waitFor([&] {
        loop.advance(Seconds{1});
        return std::ranges::all_of(icons, [](const auto& icon) { return hasName(icon->look(), "seen"); });
    }));
    EXPECT_TRUE(waitFor([&] { return parked.threads() == 0; }));
    loop.advance(Seconds{2});
    EXPECT_EQ(loop.liveTimers(), 0);
}

TEST_F(LinuxParkedFilesTest, L10_WhetherAFileIsThereIsNeverSaidByADeadDisk) {
    Disk disk;
    LinuxParkedFiles parked(loop, disk.questions());
    bool isAnswered = false;
    parked.look("/dead/a", [&](bool) { isAnswered = true; });
    std::optional<bool> answer;
    parked.look("/alive/gone", [&](bool isThere) { answer = isThere; });
    ASSERT_TRUE(waitFor([&] {
        loop.settle();
        return answer.has_value();
    }));
    EXPECT_EQ(answer, false);
    EXPECT_FALSE(isAnswered);
}

TEST_F(LinuxParkedFilesTest, L10_ADeadDiskDoesNotHoldUpTheEndAndMayAnswerAfterIt) {
    Disk disk;
    auto parked = std::make_unique<LinuxParkedFiles>(loop, disk.questions());
    const auto icon = parked->icon("/dead/a");
    ASSERT_TRUE(waitFor([&] { return disk.stuck() == 1; }));
    const auto begin = SteadyClock::now();
    parked.reset();
    EXPECT_LT(SteadyClock::now() - begin, 3s);
    disk.mend();
    ASSERT_TRUE(waitFor([&] { return disk.stuck() == 0; }));
    loop.settle();
    EXPECT_FALSE(hasName(icon->look(), "seen"));
}

} // namespace
