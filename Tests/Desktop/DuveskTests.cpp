#include "Tests/Desktop/DesktopTest.hpp"

#include <QDir>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <X11/keysym.h>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <string>

using namespace Desktop;

namespace fs = std::filesystem;

namespace {

constexpr auto panel = "Zorbel panel";
constexpr auto dashboard = "Dashboard";

constexpr std::int64_t megabyte = 1'000'000;

} // namespace

/// The whole program with the spice that gives space back alone, in a home of the test's own.
class Duvesk : public DesktopTest {
protected:
    Duvesk() {
        choose("duvesk");
        environment["HOME"] = home();
        environment["XDG_DATA_HOME"] = std::nullopt;
        environment["XDG_CACHE_HOME"] = std::nullopt;
        environment["XDG_STATE_HOME"] = std::nullopt;
    }

    fs::path home() const { return home_.path(); }

    /// A file with a hole for its content, last changed so many days ago, as is the folder it lies in.
    void makeFile(const fs::path& place, std::int64_t bytes, int days = 0) const {
        const fs::path path = home() / place;
        fs::create_directories(path.parent_path());
        std::ofstream(path) << "x";
        ASSERT_EQ(::truncate(path.c_str(), bytes), 0) << path;
        const timespec then{.tv_sec = std::time(nullptr) - days * 86'400L, .tv_nsec = 0};
        const timespec times[] = {then, then};
        ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
        ASSERT_EQ(::utimensat(AT_FDCWD, path.parent_path().c_str(), times, 0), 0);
    }

    /// One of each kind, and what is none.
    void fillHome() const {
        makeFile(".cache/thumbnails/large/1.png", 30 * megabyte);
        makeFile(".cache/small/1", 3 * megabyte);
        makeFile("Videos/Holiday.mkv", 700 * megabyte, 220);
        makeFile("Videos/Short.mkv", 90 * megabyte);
        makeFile(".local/share/com.example.Gone/state", 40 * megabyte, 90);
        makeFile(".local/share/com.example.Recent/state", 40 * megabyte, 3);
    }

    static std::optional<Node> row(const std::string& title) {
        return shown(dashboard, title, ATSPI_ROLE_LIST_ITEM);
    }

    static bool lists(const std::string& title) {
        return until([&] { return row(title).has_value(); });
    }

    static bool drops(const std::string& title) {
        return until([&] { return !row(title).has_value(); });
    }

    void scan() const {
        ASSERT_TRUE(openDashboard());
        ASSERT_TRUE(says(dashboard, "Nothing scanned yet."));
        ASSERT_TRUE(click(dashboard, "Scan this Mac", ATSPI_ROLE_PUSH_BUTTON));
        ASSERT_TRUE(lists("Holiday.mkv"));
    }

    fs::path trashed(const std::string& name) const { return home() / ".local/share/Trash/files" / name; }

private:
    TemporaryFolder home_;
};

TEST_F(Duvesk, FindsSpaceAndMovesItToTheTrash) {
    fillHome();
    start();
    scan();
    EXPECT_TRUE(lists("thumbnails"));
    EXPECT_TRUE(lists("com.example.Gone"));
    EXPECT_FALSE(row("small"));
    EXPECT_FALSE(row("Short.mkv"));
    EXPECT_FALSE(row("com.example.Recent"));
    EXPECT_TRUE(says(dashboard, "770 MB selected"));
    screen().picture().save(QDir(ZORBEL_PICTURES).filePath("desktop-duvesk.png"));

    // The film stays.
    const QRect film = row("Holiday.mkv")->frame();
    screen().click({film.left() + 20, film.center().y()});
    EXPECT_TRUE(says(dashboard, "70 MB selected"));
    ASSERT_TRUE(click(dashboard, "Move to Trash", ATSPI_ROLE_PUSH_BUTTON));
    EXPECT_TRUE(says(dashboard, "Moved 70 MB to the Trash"));
    EXPECT_TRUE(drops("thumbnails"));
    EXPECT_TRUE(drops("com.example.Gone"));
    EXPECT_TRUE(lists("Holiday.mkv"));
    EXPECT_FALSE(fs::exists(home() / ".cache/thumbnails"));
    EXPECT_EQ(fs::file_size(trashed("thumbnails") / "large/1.png"), 30 * megabyte);
    EXPECT_EQ(fs::file_size(trashed("com.example.Gone") / "state"), 40 * megabyte);
    EXPECT_TRUE(fs::exists(home() / "Videos/Holiday.mkv"));
}

TEST_F(Duvesk, WhatCannotBeMovedStaysListed) {
    fillHome();
    environment["XDG_DATA_HOME"] = home() / "Videos";
    makeFile("Videos/Trash/files/Thrown away.mkv", 200 * megabyte); // is in the Trash already
    start();
    scan();
    ASSERT_TRUE(lists("Thrown away.mkv"));
    ASSERT_TRUE(click(dashboard, "Move to Trash", ATSPI_ROLE_PUSH_BUTTON));
    EXPECT_TRUE(says(dashboard, "Moved 930 MB to the Trash")) << "what was asked for";
    EXPECT_TRUE(drops("Holiday.mkv"));
    EXPECT_TRUE(drops("thumbnails"));
    EXPECT_TRUE(lists("Thrown away.mkv"));
    EXPECT_TRUE(says(dashboard, "200 MB selected"));
    EXPECT_TRUE(fs::exists(home() / "Videos/Trash/files/Thrown away.mkv"));
}

TEST_F(Duvesk, ScansFromThePanel) {
    fillHome();
    start();
    ASSERT_TRUE(openPanel());
    ASSERT_TRUE(click(panel, "Scan this Mac", ATSPI_ROLE_PUSH_BUTTON));
    EXPECT_TRUE(until([] {
        const auto pane = reader().pane(panel);
        bool isTold = false;
        if (pane) {
            pane->walk([&](const Node& node) {
                isTold = isTold || (node.name().starts_with("3 findings") && node.is(ATSPI_STATE_SHOWING));
                return true;
            });
        }
        return isTold;
    }));
    EXPECT_TRUE(findPanel(screen())) << "and the panel is still open";
}

TEST_F(Duvesk, AHomeThatCannotBeReadHoldsNothing) {
    environment["HOME"] = "/nowhere";
    start();
    ASSERT_TRUE(openDashboard());
    ASSERT_TRUE(click(dashboard, "Scan this Mac", ATSPI_ROLE_PUSH_BUTTON));
    EXPECT_TRUE(until([] { return shown(dashboard, "Scan this Mac", ATSPI_ROLE_PUSH_BUTTON).has_value(); }));
    EXPECT_TRUE(says(dashboard, "Nothing scanned yet."));
}

TEST_F(Duvesk, TheGlassGoesOnWhileItScans) {
    // Many small files, so that a scan takes its time.
    for (int folder = 0; folder < 60; ++folder) {
        const fs::path place = home() / ".cache" / ("many" + std::to_string(folder));
        fs::create_directories(place);
        for (int file = 0; file < 300; ++file) {
            std::ofstream(place / std::to_string(file)) << "x";
        }
    }
    fillHome();
    start();
    ASSERT_TRUE(openDashboard());
    ASSERT_TRUE(click(dashboard, "Scan this Mac", ATSPI_ROLE_PUSH_BUTTON));
    ASSERT_TRUE(openPanel());
    screen().press(XK_Escape);
    EXPECT_TRUE(waitForPanel(false));
    EXPECT_TRUE(lists("Holiday.mkv"));
}
