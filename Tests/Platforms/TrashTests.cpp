#include "Platforms/Linux/Storage/LinuxFileManager.hpp"
#include "Platforms/Linux/Storage/MountTable.hpp"
#include "Platforms/Linux/Storage/TrashNames.hpp"
#include "Platforms/Simulated/SimulatedMainLoop.hpp"
#include "Tests/Platforms/TrashTest.hpp"
#include "Tests/TimeZone.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <regex>
#include <set>
#include <vector>

namespace fs = std::filesystem;
using TrashReader::contents;
using TrashReader::entries;
using TrashReader::names;
using TrashReader::pictureOf;

namespace {

using Names = std::vector<std::string>;

const std::string strangeNames[] = {
    "plain",
    "two words.txt",
    "100%.txt",
    "%41",
    "1+1=2 & more; #5?",
    "-rf",
    "two\nlines",
    "\t \x01\x7f",
    "caf\xe9.txt",  // not UTF-8
    "\xff\xfe\x80", // not even nearly
    "Stra\xc3\x9f"
    "e \xc3\xbc\xc3\xb6.pdf",
    "\"quoted\" 'twice' \\ $HOME `ls`",
    ".hidden",
    "...",
    "ends in a dot.",
    "already.trashinfo",
    "[Trash Info]\nPath=/etc/passwd",
    std::string(255, 'n'),
    std::string(251, 'n') + ".iso",
    "a" + std::string(254, '\xbf'),
};

class Trash : public TrashTest {};

} // namespace

TEST(TrashNames, EveryByteButTheSafeOnesIsEscaped) {
    EXPECT_EQ(Linux::percentEncoded("/home/u/a b.txt"), "/home/u/a%20b.txt");
    EXPECT_EQ(Linux::percentEncoded("AZaz09-_.~/"), "AZaz09-_.~/");
    EXPECT_EQ(Linux::percentEncoded("+\n\xe9%"), "%2B%0A%E9%25");
    EXPECT_EQ(Linux::percentEncoded("\x01\x7f\xff!*'();:@&=$,?#[]"),
              "%01%7F%FF%21%2A%27%28%29%3B%3A%40%26%3D%24%2C%3F%23%5B%5D");
    for (const std::string& name : strangeNames) {
        EXPECT_EQ(TrashReader::decoded(Linux::percentEncoded(name)), name);
    }
}

TEST(TrashNames, ANumberComesBeforeTheExtension) {
    struct Row {
        std::string name;
        int number;
        std::string result;
    };
    const std::string umlaut = "\xc3\xbc";
    const Row rows[] = {
        {"a.txt", 1, "a.txt"},
        {"a.txt", 2, "a.2.txt"},
        {"a.tar.gz", 3, "a.tar.3.gz"},
        {"folder", 2, "folder.2"},
        {".hidden", 2, ".hidden.2"},
        {"dot.", 2, "dot.2."},
        {"a." + std::string(31, 'x'), 2, "a.2." + std::string(31, 'x')},
        {"a." + std::string(32, 'x'), 2, "a." + std::string(32, 'x') + ".2"},
        {std::string(245, 'n'), 1, std::string(245, 'n')},
        {std::string(246, 'n'), 1, std::string(245, 'n')},
        {std::string(245, 'n'), 2, std::string(243, 'n') + ".2"},
        {std::string(251, 'n') + ".iso", 10'000, std::string(235, 'n') + ".10000.iso"},
        {"n" + std::string(122 * 2, 'n') + umlaut, 1, std::string(245, 'n')},
        {std::string(244, 'n') + umlaut, 1, std::string(244, 'n')},
        {std::string(244, 'n') + "\xff\xff", 1, std::string(244, 'n') + "\xff"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name + " " + std::to_string(row.number));
        EXPECT_EQ(Linux::trashName(row.name, row.number), row.result);
    }
}

TEST(TrashNames, TheDateIsThatOfTheClockOnTheWall) {
    const std::time_t moment = 1'800'000'000; // 2027-01-15T08:00:00 in Greenwich
    const TimeZone zone("<+0530>-05:30");
    EXPECT_EQ(Linux::trashInfo("/a b", moment),
              "[Trash Info]\nPath=/a%20b\nDeletionDate=2027-01-15T13:30:00\n");
}

TEST(MountTable, ReadsWhereThingsAreMounted) {
    const auto points = Linux::mountPoints("22 1 8:1 / / rw - ext4 /dev/sda1 rw\n"
                                           "23 22 8:2 /a\\040b /mnt/my\\040disk\\134\\012 rw,x - ext4 d rw\n"
                                           "24 22 0:3 / /odd\\04 rw\n"
                                           "\n"
                                           "25 22\n"
                                           " \n"
                                           "26 22 0:3 / /last");
    EXPECT_EQ(points, (Names{"/", "/mnt/my disk\\\n", "/odd\\04", "/last"}));
}

TEST_F(Trash, AFileLiesThereWithWhereItCameFrom) {
    const fs::path file = write(home / "Downloads" / "a b.txt", "bytes");
    ASSERT_TRUE(trash.move(file));
    EXPECT_FALSE(isThere(file));
    EXPECT_EQ(contents(homeTrash() / "files" / "a b.txt"), "bytes");
    const std::string info = contents(homeTrash() / "info" / "a b.txt.trashinfo");
    const std::regex expected(
        "\\[Trash Info\\]\nPath=(.*)\nDeletionDate=\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\n");
    std::smatch match;
    ASSERT_TRUE(std::regex_match(info, match, expected)) << info;
    EXPECT_EQ(match[1], home.native() + "/Downloads/a%20b.txt");
}

TEST_F(Trash, IsMadeForTheUserAlone) {
    ASSERT_TRUE(trash.move(write(home / "a")));
    for (const fs::path& folder : {data, homeTrash(), homeTrash() / "files", homeTrash() / "info"}) {
        EXPECT_EQ(fs::status(folder).permissions(), fs::perms::owner_all) << folder;
    }
}

TEST_F(Trash, S08_NamesAreBytes) {
    for (const std::string& name : strangeNames) {
        SCOPED_TRACE(name);
        const fs::path folder = home / "Downloads" / name;
        write(folder / name, name);
        fs::create_symlink(name, folder / "link");
        const auto before = pictureOf(folder);
        ASSERT_TRUE(trash.move(folder));
        const auto moved = entries(homeTrash());
        ASSERT_EQ(moved.size(), 1U);
        EXPECT_EQ(moved.front().place, folder.native());
        EXPECT_FALSE(isThere(folder));
        TrashReader::restore(moved.front());
        EXPECT_EQ(pictureOf(folder), before);
        EXPECT_EQ(names(homeTrash() / "files"), Names{});
        fs::remove_all(folder);
    }
}

TEST_F(Trash, S08_ATreeDeeperThanAPathMayBeLong) {
    const std::string name(250, 'd');
    std::vector<int> folders{::open(home.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
    fs::path deep = home;
    while (deep.native().size() < 5000) {
        ASSERT_EQ(::mkdirat(folders.back(), name.c_str(), 0700), 0);
        folders.push_back(::openat(folders.back(), name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        deep /= name;
    }
    const int file = ::openat(folders.back(), "big file", O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_GE(file, 0);
    ::close(file);
    EXPECT_FALSE(trash.move(deep / "missing"));
    ASSERT_TRUE(trash.move(deep / "big file"));
    EXPECT_NE(::faccessat(folders.back(), "big file", F_OK, 0), 0);
    const auto moved = entries(homeTrash());
    ASSERT_EQ(moved.size(), 1U);
    EXPECT_EQ(moved.front().place, (deep / "big file").native());
    EXPECT_EQ(::renameat(AT_FDCWD, moved.front().item.c_str(), folders.back(), "big file"), 0);
    fs::remove(moved.front().info);
    EXPECT_TRUE(trash.move(home / name)) << "all of it";
    for (const int folder : folders) {
        ::close(folder);
    }
}

TEST_F(Trash, S03_LinksAreMovedAsLinks) {
    const fs::path target = write(home / "target" / "file");
    const fs::path links = home / "links";
    fs::create_directories(links);
    const std::pair<std::string, fs::path> rows[] = {{"file", target},
                                                     {"folder", home / "target"},
                                                     {"broken", "/nowhere"},
                                                     {"itself", "itself"},
                                                     {"home", home},
                                                     {"root", "/"},
                                                     {"up", ".."}};
    for (const auto& [name, goal] : rows) {
        SCOPED_TRACE(name);
        fs::create_symlink(goal, links / name);
        ASSERT_TRUE(trash.move(links / name));
        EXPECT_FALSE(isThere(links / name));
        EXPECT_EQ(fs::read_symlink(homeTrash() / "files" / name), goal);
    }
    EXPECT_TRUE(isThere(target));
}

TEST_F(Trash, APlaceIsTheTrueOneOfTheFolder) {
    write(home / "real" / "file");
    fs::create_symlink(home / "real", home / "link");
    ASSERT_TRUE(trash.move(home / "link" / "." / "file/"));
    EXPECT_EQ(entries(homeTrash()).at(0).place, home / "real" / "file");
}

TEST_F(Trash, S16_TwoFilesWithOneNameBothComeBack) {
    const fs::path one = write(home / "one" / "report.tar.gz", "first");
    const fs::path two = write(home / "two" / "report.tar.gz", "second");
    ASSERT_TRUE(trash.move(one));
    ASSERT_TRUE(trash.move(two));
    ASSERT_TRUE(trash.move(write(one, "third")));
    const Names expected{"report.tar.2.gz", "report.tar.3.gz", "report.tar.gz"};
    EXPECT_EQ(names(homeTrash() / "files"), expected);
    std::multiset<std::pair<std::string, std::string>> moved;
    for (const auto& entry : entries(homeTrash())) {
        moved.emplace(entry.place, contents(entry.item));
    }
    const std::multiset<std::pair<std::string, std::string>> all{
        {one, "first"}, {two, "second"}, {one, "third"}};
    EXPECT_EQ(moved, all);
}

TEST_F(Trash, S18_WhatAnEndInBetweenLeftIsNotInTheWay) {
    const fs::path orphan = write(homeTrash() / "info" / "file.trashinfo", "half of it");
    const fs::path stray = write(homeTrash() / "files" / "file.2", "of another");
    const fs::path strayFolder = homeTrash() / "files" / "file.3";
    fs::create_directories(strayFolder);
    ASSERT_TRUE(trash.move(write(home / "file", "mine")));
    EXPECT_EQ(contents(homeTrash() / "files" / "file.4"), "mine");
    EXPECT_EQ(contents(orphan), "half of it");
    EXPECT_EQ(contents(stray), "of another");
    EXPECT_TRUE(fs::is_empty(strayFolder));
}

TEST_F(Trash, S18_KilledItLosesNothing) {
    constexpr int count = 400;
    std::vector<fs::path> files;
    for (int number = 0; number < count; ++number) {
        files.push_back(write(home / std::to_string(number) / "file", std::to_string(number)));
    }
    const pid_t child = ::fork();
    if (child == 0) {
        for (const fs::path& file : files) {
            trash.move(file);
        }
        ::_exit(0);
    }
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (names(homeTrash() / "files").size() < 20 && std::chrono::steady_clock::now() < deadline) {
    }
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    std::set<std::string> inTrash;
    for (const auto& entry : entries(homeTrash())) {
        EXPECT_TRUE(inTrash.insert(entry.place).second);
        EXPECT_EQ(home / contents(entry.item) / "file", entry.place);
    }
    EXPECT_GE(inTrash.size(), 20U);
    EXPECT_EQ(names(homeTrash() / "files").size(), inTrash.size()) << "none without its place";
    EXPECT_LE(names(homeTrash() / "info").size(), inTrash.size() + 1);
    for (const fs::path& file : files) {
        EXPECT_NE(isThere(file), inTrash.contains(file)) << file;
        EXPECT_TRUE(inTrash.contains(file) || trash.move(file)) << "the rest goes later";
    }
}

TEST_F(Trash, RefusesWhatMustStay) {
    ASSERT_TRUE(trash.move(write(home / "before")));
    write(home / "Downloads" / "file");
    write(root / "stick" / ".Trash-1000" / "files" / "file");
    write(root / "stick" / ".Trash" / "1000" / "files" / "file");
    write(root / "other" / "Trash" / "files" / "file");
    fs::create_directories(root / "other" / "Trash" / "info");
    fs::create_symlink(root, root / "loop");
    const std::string inner = home / "Downloads";
    const std::pair<const char*, std::string> rows[] = {
        {"empty", ""},
        {"root", "/"},
        {"root twice", "//"},
        {"dot", "."},
        {"two dots", ".."},
        {"relative", "Downloads/file"},
        {"upwards in the middle", inner + "/../Downloads/file"},
        {"upwards at the end", inner + "/.."},
        {"a folder as its own dot", inner + "/."},
        {"with a zero byte", inner + "/file" + std::string(1, '\0') + "x"},
        {"not there", inner + "/missing"},
        {"below a file", inner + "/file/more"},
        {"below nothing", inner + "/missing/more"},
        {"name too long", inner + "/" + std::string(256, 'n')},
        {"home", home},
        {"home with a slash", home.native() + "/"},
        {"home by a link", root / "loop" / "home"},
        {"above home", root},
        {"data folder", data},
        {"above the data folder", home / ".local"},
        {"the Trash", homeTrash()},
        {"its files", homeTrash() / "files"},
        {"its info", homeTrash() / "info"},
        {"in the Trash", homeTrash() / "files" / "before"},
        {"about what is in it", homeTrash() / "info" / "before.trashinfo"},
        {"the Trash by a link", root / "loop" / "home" / ".local/share/Trash/files/before"},
        {"a stick's Trash", root / "stick" / ".Trash-1000"},
        {"in a stick's Trash", root / "stick" / ".Trash-1000" / "files" / "file"},
        {"in a stick's shared Trash", root / "stick" / ".Trash" / "1000" / "files" / "file"},
        {"in another's Trash", root / "other" / "Trash" / "files" / "file"},
        {"mount point", "/proc"},
        {"not on any disk", "/proc/self/status"},
    };
    const auto before = pictureOf(root);
    for (const auto& [name, path] : rows) {
        SCOPED_TRACE(name);
        EXPECT_FALSE(trash.move(path));
    }
    EXPECT_EQ(pictureOf(root), before);
    write(root / "stick" / ".Trash-x" / "file");
    write(root / "plain" / "Trash" / "file");
    EXPECT_TRUE(trash.move(root / "stick" / ".Trash-x")) << "is none";
    EXPECT_TRUE(trash.move(root / "plain" / "Trash" / "file")) << "is in none";
}

TEST_F(Trash, RefusesWhatAHomeOrATrashIsReachedBy) {
    const fs::path disk = root / "disk";
    fs::create_directories(disk / "people" / "me");
    fs::create_directories(disk / "trash");
    fs::create_symlink(disk / "people", root / "people");
    const fs::path linked = root / "people" / "me";
    fs::create_directories(linked / "share");
    fs::create_symlink(disk / "trash", linked / "share" / "Trash");
    const Linux::Trash own(linked / "share", linked);
    ASSERT_TRUE(own.move(write(linked / "file"))) << "a Trash behind a link";
    for (const fs::path& kept : {root / "people", disk / "people", disk, linked, linked / "share" / "Trash",
                                 disk / "trash", disk / "trash" / "files" / "file"}) {
        EXPECT_FALSE(own.move(kept)) << kept;
    }
}

TEST_F(Trash, TheCacheOfSizesIsLeftAlone) {
    const fs::path sizes = write(homeTrash() / "directorysizes", "16384 15803468 Documents\n");
    const auto before = pictureOf(sizes);
    write(home / "Documents" / "file");
    ASSERT_TRUE(trash.move(home / "Documents"));
    EXPECT_EQ(pictureOf(sizes), before);
}

TEST_F(Trash, AMoveOutlivesItsFileManager) {
    Simulated::SimulatedMainLoop loop;
    const fs::path file = write(home / "file");
    std::vector<fs::path> moved;
    Linux::LinuxFileManager(loop, trash).recycle({file}, [&](auto answer) { moved = std::move(answer); });
    loop.settle();
    EXPECT_EQ(moved, std::vector{file}) << "also at the end of the program";
}

TEST_F(Trash, TheEndOfTheProgramIsNotKeptWaiting) {
    const fs::path file = write(home / "file");
    Simulated::SimulatedMainLoop loop;
    std::optional<std::vector<fs::path>> moved;
    Linux::LinuxFileManager(loop, trash, std::chrono::milliseconds(0)).recycle({file}, [&](auto answer) {
        moved = std::move(answer);
    });
    loop.settle();
    EXPECT_EQ(moved, std::vector<fs::path>());
    EXPECT_EQ(contents(file), "something");
}
