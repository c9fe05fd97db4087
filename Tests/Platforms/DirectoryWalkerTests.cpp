#include "Platforms/Linux/Storage/DirectoryWalker.hpp"
#include "Tests/TemporaryFolder.hpp"
#include "Tests/TestFiles.hpp"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <sys/wait.h>

#include <algorithm>
#include <atomic>
#include <limits>
#include <map>
#include <string>
#include <thread>
#include <vector>

namespace fs = std::filesystem;
using Duvesk::FileWalker;
using Duvesk::WalkItem;
using Linux::DirectoryWalker;
using ZorbelKit::TimePoint;

namespace {

constexpr std::int64_t noLimit = std::numeric_limits<std::int64_t>::max();

using Names = std::vector<std::string>;

std::optional<std::int64_t> sizeBelow(const fs::path& folder, std::int64_t most = noLimit) {
    return DirectoryWalker().sizesBelow({folder}, most).front();
}

/// What a walk shows, below its root.
Names shown(const fs::path& root, FileWalker::Packages packages = FileWalker::Packages::enter) {
    Names names;
    DirectoryWalker().walk(root, packages, [&](const WalkItem& item) {
        names.push_back(item.path.native().substr(root.native().size() + 1));
        return true;
    });
    return names;
}

Names entryNames(const fs::path& folder, FileWalker::Hidden hidden = FileWalker::Hidden::skip) {
    Names names;
    const auto entries = DirectoryWalker().entries(folder, hidden);
    for (const auto& entry : entries.value_or(std::vector<fs::path>())) {
        names.push_back(entry.native());
    }
    return names;
}

/// Runs a check in a process of its own, which may give up what cannot be had back. It must be `passed` or
/// `notPossible`.
enum Outcome { passed = 0, failed = 1, notPossible = 2 };
template <class Check>
int inAnotherProcess(Check check) {
    const pid_t process = ::fork();
    if (process == 0) {
        ::_exit(check());
    }
    int status = 0;
    ::waitpid(process, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : failed;
}

/// So many descriptors may be open, and no more.
class DescriptorLimit {
public:
    explicit DescriptorLimit(rlim_t most) {
        ::getrlimit(RLIMIT_NOFILE, &before_);
        const rlimit fewer{most, before_.rlim_max};
        ::setrlimit(RLIMIT_NOFILE, &fewer);
    }
    DescriptorLimit(const DescriptorLimit&) = delete;
    DescriptorLimit& operator=(const DescriptorLimit&) = delete;
    ~DescriptorLimit() { ::setrlimit(RLIMIT_NOFILE, &before_); }

private:
    rlimit before_{};
};

/// Folders in folders, each with a second one beside it that holds a file of one byte:
///
///     level/level/level/…
///     level/level/side/file
///     level/side/file
class DeepTree {
public:
    DeepTree(const fs::path& root, int depth, std::string name)
        : root_(root)
        , name_(std::move(name)) {
        int folder = ::open(root_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        for (int level = 0; level < depth; ++level) {
            ::mkdirat(folder, "side", 0755);
            const int file = ::openat(folder, "side/file", O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
            EXPECT_EQ(::ftruncate(file, 1), 0);
            ::close(file);
            ::mkdirat(folder, name_.c_str(), 0755);
            const int below = ::openat(folder, name_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
            ::close(folder);
            folder = below;
        }
        EXPECT_GE(folder, 0);
        deepest_ = folder;
    }
    DeepTree(const DeepTree&) = delete;
    DeepTree& operator=(const DeepTree&) = delete;
    /// From below: few can remove by name what lies so deep.
    ~DeepTree() {
        struct stat top {};
        ::stat(root_.c_str(), &top);
        for (int folder = deepest_;;) {
            ::unlinkat(folder, "side/file", 0);
            ::unlinkat(folder, "side", AT_REMOVEDIR);
            ::unlinkat(folder, name_.c_str(), AT_REMOVEDIR);
            struct stat status {};
            ::fstat(folder, &status);
            const bool isTop = status.st_ino == top.st_ino && status.st_dev == top.st_dev;
            const int above = isTop ? -1 : ::openat(folder, "..", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
            ::close(folder);
            if (above < 0) {
                break;
            }
            folder = above;
        }
    }

    int deepest() const { return deepest_; }

private:
    fs::path root_;
    std::string name_;
    int deepest_ = -1;
};

fs::path repeated(const fs::path& root, const std::string& name, int count) {
    std::string path = root.native();
    for (int index = 0; index < count; ++index) {
        path += '/' + name;
    }
    return path;
}

} // namespace

TEST(DirectoryWalker, SumsUpTheLengthsOfFilesAndLinks) {
    const TemporaryFolder folder;
    const fs::path root = folder.path() / "root";
    makeFile(root / "file", 1000);
    makeFile(root / "inner/file", 200);
    makeFile(root / "inner/Deep.app/file", 30);
    makeFile(root / ".hidden", 5'000'000);
    makeFile(root / ".hidden-folder/file", 5'000'000);
    makeFile(root / "inner/.hidden/inner/file", 5'000'000);
    fs::create_directories(root / "empty");
    fs::create_symlink("1234", root / "link"); // its own length is that of the text
    EXPECT_EQ(sizeBelow(root), 1234);
    EXPECT_EQ(sizeBelow(root / "empty"), 0);
}

TEST(DirectoryWalker, AHiddenFolderThatIsAskedForIsSummedUp) {
    const TemporaryFolder folder;
    makeFile(folder.path() / ".cache/file", 7);
    EXPECT_EQ(sizeBelow(folder.path() / ".cache"), 7);
    EXPECT_EQ(shown(folder.path() / ".cache"), Names{"file"});
}

TEST(DirectoryWalker, SizesComeInTheOrderOfTheFolders) {
    const TemporaryFolder folder;
    std::vector<fs::path> folders;
    std::vector<std::optional<std::int64_t>> sizes;
    for (int number = 0; number < 50; ++number) {
        folders.push_back(folder.path() / std::to_string(number));
        makeFile(folders.back() / "inner/file", number);
        sizes.push_back(number);
    }
    folders.push_back(folder.path() / "missing");
    sizes.push_back(std::nullopt);
    makeFile(folder.path() / "file", 100);
    folders.push_back(folder.path() / "file");
    sizes.push_back(0);
    EXPECT_EQ(DirectoryWalker().sizesBelow(folders, noLimit), sizes);
    EXPECT_TRUE(DirectoryWalker().sizesBelow({}, noLimit).empty());
}

TEST(DirectoryWalker, S02_EachNameOfAFileCounts) {
    const TemporaryFolder folder;
    makeFile(folder.path() / "one", 1000);
    fs::create_hard_link(folder.path() / "one", folder.path() / "two");
    fs::create_directory(folder.path() / "inner");
    fs::create_hard_link(folder.path() / "one", folder.path() / "inner/three");
    EXPECT_EQ(sizeBelow(folder.path()), 3000);
}

TEST(DirectoryWalker, AbsurdLengthsEndAtTheMost) {
    const fs::path memory = "/dev/shm"; // files there may be as long as can be said
    if (!fs::is_directory(memory)) {
        GTEST_SKIP() << "no file system in memory";
    }
    const TemporaryFolder folder(memory);
    try {
        makeFile(folder.path() / "a", noLimit);
        makeFile(folder.path() / "b", noLimit);
    } catch (const std::system_error&) {
        GTEST_SKIP() << "files cannot be so long there";
    }
    const auto size = sizeBelow(folder.path());
    const auto first = sizeBelow(folder.path(), 2);
    const auto limited = sizeBelow(folder.path(), 1);
    EXPECT_EQ(size, noLimit);
    EXPECT_EQ(first, noLimit);
    EXPECT_EQ(limited, noLimit);
}

TEST(DirectoryWalker, ListsEntriesInTheOrderOfTheirBytes) {
    const TemporaryFolder folder;
    for (const char* name : {"b", "B", "a", "\xFF", "é", ".hidden", "..odd", "-", "10", "9"}) {
        makeFile(folder.path() / name);
    }
    fs::create_directory(folder.path() / "folder");
    const Names plain{"-", "10", "9", "B", "a", "b", "folder", "é", "\xFF"};
    EXPECT_EQ(entryNames(folder.path()), plain);
    Names all{"-", "..odd", ".hidden"};
    all.insert(all.end(), plain.begin() + 1, plain.end());
    EXPECT_EQ(entryNames(folder.path(), FileWalker::Hidden::include), all);
}

TEST(DirectoryWalker, WhatIsNoFolderHasNoEntries) {
    const TemporaryFolder folder;
    makeFile(folder.path() / "file");
    fs::create_directory(folder.path() / "empty");
    fs::create_directory_symlink(folder.path() / "empty", folder.path() / "link");
    const DirectoryWalker walker;
    for (const char* name : {"file", "missing", "file/below", "link", "link/"}) {
        SCOPED_TRACE(name);
        EXPECT_FALSE(walker.entries(folder.path() / name, FileWalker::Hidden::skip));
        EXPECT_FALSE(walker.isFolder(folder.path() / name));
        EXPECT_FALSE(walker.walk(folder.path() / name, FileWalker::Packages::enter,
                                 [](const WalkItem&) { return true; }));
    }
    const auto entries = walker.entries(folder.path() / "empty", FileWalker::Hidden::skip);
    ASSERT_TRUE(entries);
    EXPECT_TRUE(entries->empty());
    EXPECT_TRUE(walker.isFolder(folder.path() / "empty"));
    EXPECT_TRUE(walker.isFolder(folder.path() / "empty/"));
    EXPECT_TRUE(walker.isFolder("/"));
    EXPECT_FALSE(walker.isFolder(""));
}

TEST(DirectoryWalker, TellsWhenSomethingWasChangedItself) {
    using namespace std::chrono_literals;
    const TemporaryFolder folder;
    makeFile(folder.path() / "file");
    fs::create_symlink("file", folder.path() / "link");
    const TimePoint recent{1'700'000'000'123'456'789ns};
    const TimePoint early{-86'400'000'000'001ns}; // a moment before the last day of 1969
    setModified(folder.path() / "file", recent);
    setModified(folder.path() / "link", early);
    const DirectoryWalker walker;
    EXPECT_EQ(walker.modified(folder.path() / "file"), recent);
    EXPECT_EQ(walker.modified(folder.path() / "link"), early);
    EXPECT_FALSE(walker.modified(folder.path() / "missing"));
}

TEST(DirectoryWalker, WalksParentsFirstAndInTheOrderOfBytes) {
    const TemporaryFolder folder;
    for (const char* name : {"b/inner/file", "b/a", "a", "c/file", "B", ".hidden/file", "b/.hidden"}) {
        makeFile(folder.path() / name);
    }
    const Names expected{"B", "a", "b", "c", "b/a", "b/inner", "b/inner/file", "c/file"};
    EXPECT_EQ(shown(folder.path()), expected);
    EXPECT_EQ(shown(folder.path()), expected);
}

TEST(DirectoryWalker, ShowsWhatItKnowsOfAnItem) {
    const TemporaryFolder folder;
    const TimePoint moment{std::chrono::nanoseconds(1'600'000'000'000'000'007)};
    makeFile(folder.path() / "a-file", 42);
    setModified(folder.path() / "a-file", moment);
    fs::create_directory(folder.path() / "b-folder");
    fs::create_symlink("123", folder.path() / "c-link");
    std::vector<WalkItem> items;
    EXPECT_TRUE(DirectoryWalker().walk(folder.path(), FileWalker::Packages::enter, [&](const WalkItem& item) {
        items.push_back(item);
        return true;
    }));
    ASSERT_EQ(items.size(), 3U);
    EXPECT_EQ(items[0].path, folder.path() / "a-file");
    EXPECT_TRUE(items[0].isRegularFile);
    EXPECT_EQ(items[0].fileSize, 42);
    EXPECT_EQ(items[0].modified, moment);
    EXPECT_FALSE(items[1].isRegularFile);
    EXPECT_FALSE(items[1].fileSize);
    EXPECT_TRUE(items[1].modified);
    EXPECT_FALSE(items[2].isRegularFile);
    EXPECT_EQ(items[2].fileSize, 3);
}

TEST(DirectoryWalker, StopsWhenItIsToldTo) {
    const TemporaryFolder folder;
    for (const char* name : {"a", "b/inner", "c"}) {
        makeFile(folder.path() / name);
    }
    int count = 0;
    const auto stopsAfter = [&](int most) {
        count = 0;
        return DirectoryWalker().walk(folder.path(), FileWalker::Packages::enter,
                                      [&](const WalkItem&) { return ++count < most; });
    };
    for (const int most : {1, 2, 3, 4}) {
        EXPECT_TRUE(stopsAfter(most));
        EXPECT_EQ(count, most);
    }
}

TEST(DirectoryWalker, PackagesAreNotEnteredWhenTheyAreToBeSkipped) {
    const TemporaryFolder folder;
    makeFile(folder.path() / "Tea.app/Contents/file", 10);
    makeFile(folder.path() / "Trip.photoslibrary/file", 10);
    makeFile(folder.path() / "notes.app.d/file", 10);
    makeFile(folder.path() / "plain.app", 10); // a file
    EXPECT_EQ(shown(folder.path(), FileWalker::Packages::skip),
              (Names{"Tea.app", "Trip.photoslibrary", "notes.app.d", "plain.app", "notes.app.d/file"}));
    EXPECT_EQ(shown(folder.path()),
              (Names{"Tea.app", "Trip.photoslibrary", "notes.app.d", "plain.app", "Tea.app/Contents",
                     "Tea.app/Contents/file", "Trip.photoslibrary/file", "notes.app.d/file"}));
    EXPECT_EQ(shown(folder.path() / "Tea.app", FileWalker::Packages::skip),
              (Names{"Contents", "Contents/file"}));
    EXPECT_EQ(sizeBelow(folder.path()), 40);
}

TEST(DirectoryWalker, ASlashAtTheEndOfTheRootChangesNothing) {
    const TemporaryFolder folder;
    makeFile(folder.path() / "file", 5);
    Names paths;
    const auto note = [&](const WalkItem& item) {
        paths.push_back(item.path.native());
        return false;
    };
    DirectoryWalker().walk(folder.path() / "", FileWalker::Packages::enter, note);
    EXPECT_EQ(paths, Names{folder.path() / "file"});
    EXPECT_EQ(sizeBelow(folder.path() / ""), 5);
    paths.clear();
    DirectoryWalker().walk("/", FileWalker::Packages::enter, note);
    ASSERT_EQ(paths.size(), 1U);
    EXPECT_EQ(paths[0].rfind('/'), 0U) << paths[0];
}

TEST(DirectoryWalker, S03_LinksAreNotFollowed) {
    const TemporaryFolder folder;
    const fs::path root = folder.path() / "root";
    makeFile(folder.path() / "outside/big", 1'000'000);
    makeFile(root / "file", 100);
    const std::map<std::string, fs::path> targets{
        {"to-file", root / "file"}, {"to-folder", folder.path() / "outside"},
        {"to-itself", "to-itself"}, {"to-nothing", "nothing"},
        {"to-parent", ".."},        {"to-root", "/"}};
    std::int64_t lengths = 0;
    Names names{"file"};
    for (const auto& [name, target] : targets) {
        fs::create_symlink(target, root / name);
        lengths += static_cast<std::int64_t>(target.native().size());
        names.push_back(name);
    }
    EXPECT_EQ(sizeBelow(root), 100 + lengths);
    EXPECT_EQ(shown(root), names);
    DirectoryWalker().walk(root, FileWalker::Packages::enter, [](const WalkItem& item) {
        EXPECT_EQ(item.isRegularFile, item.path.filename() == "file") << item.path;
        return true;
    });
    EXPECT_EQ(sizeBelow(root / "to-folder"), 0) << "a link has nothing below it";
}

TEST(DirectoryWalker, S04_MountsAreNotEntered) {
    const TemporaryFolder folder;
    const fs::path root = folder.path() / "root";
    makeFile(root / "file", 100);
    makeFile(root / "inner/file", 20);
    makeFile(folder.path() / "beside", 1'000'000);
    makeFile(root / "covered", 3);
    fs::create_directories(root / "bind");
    fs::create_directories(root / "memory");
    const auto mounted = [&] {
        return ::unshare(CLONE_NEWNS) == 0 && ::mount("", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
               ::mount(folder.path().c_str(), (root / "bind").c_str(), nullptr, MS_BIND, nullptr) == 0 &&
               ::mount((folder.path() / "beside").c_str(), (root / "covered").c_str(), nullptr, MS_BIND,
                       nullptr) == 0 &&
               ::mount("none", (root / "memory").c_str(), "tmpfs", 0, nullptr) == 0;
    };
    const int outcome = inAnotherProcess([&] {
        if (!mounted()) {
            return notPossible;
        }
        makeFile(root / "memory/file", 1'000'000);
        // The mount points themselves are seen, what they show is not.
        const Names names{"bind", "covered", "file", "inner", "memory", "inner/file"};
        const bool isRight = sizeBelow(root) == 120 && sizeBelow(root, 6) == 120 &&
                             sizeBelow(root, 5) == 100 && shown(root) == names &&
                             sizeBelow(root / "memory") == 1'000'000;
        return isRight ? passed : failed;
    });
    if (outcome == notPossible) {
        GTEST_SKIP() << "mounting is not permitted";
    }
    EXPECT_EQ(outcome, passed);
}

TEST(DirectoryWalker, S04_FileSystemsOfTheKernelAreListedButNotWalked) {
    const std::string process = "/proc/" + std::to_string(::getpid());
    for (const std::string& root : {std::string("/proc"), process, std::string("/sys")}) {
        SCOPED_TRACE(root);
        if (!fs::exists(root)) {
            continue;
        }
        EXPECT_FALSE(sizeBelow(root));
        EXPECT_TRUE(shown(root).empty());
    }
    const Names names = entryNames(process);
    EXPECT_NE(std::ranges::find(names, "status"), names.end());
}

TEST(DirectoryWalker, S05_WhatMayNotBeReadIsLeftOut) {
    const TemporaryFolder folder;
    ::chmod(folder.path().c_str(), 0755);
    makeFile(folder.path() / "a/file", 1);
    makeFile(folder.path() / "closed/file", 10);
    makeFile(folder.path() / "listed/file", 100); // may be listed, but not looked into
    makeFile(folder.path() / "z/file", 1000);
    ::chmod((folder.path() / "closed").c_str(), 0000);
    ::chmod((folder.path() / "listed").c_str(), 0444);
    const int outcome = inAnotherProcess([&] {
        constexpr uid_t nobody = 65534;
        if (::getuid() == 0 && ::setuid(nobody) != 0) {
            return notPossible;
        }
        const Names names{"a", "closed", "listed", "z", "a/file", "listed/file", "z/file"};
        const bool isRight = sizeBelow(folder.path()) == 1001 && sizeBelow(folder.path(), 7) == 1001 &&
                             sizeBelow(folder.path(), 6) == 1 && shown(folder.path()) == names &&
                             !sizeBelow(folder.path() / "closed") &&
                             !DirectoryWalker().entries(folder.path() / "closed", FileWalker::Hidden::skip);
        return isRight ? passed : failed;
    });
    ::chmod((folder.path() / "closed").c_str(), 0755);
    ::chmod((folder.path() / "listed").c_str(), 0755);
    if (outcome == notPossible) {
        GTEST_SKIP() << "another user cannot be had";
    }
    EXPECT_EQ(outcome, passed);
}

TEST(DirectoryWalker, S06_LimitsAreExact) {
    // In order: the folders a and b, then what is in them: 60,001 items of one byte a file, but for the last.
    const TemporaryFolder folder;
    constexpr int few = 20'000;
    constexpr int many = 39'999;
    makeFile(folder.path() / "a/00000", 1);
    fs::create_directory(folder.path() / "b");
    const fs::path first = folder.path() / "a/00000";
    const auto addLinks = [&](const char* inner, int from, int count) {
        for (int number = from; number < count; ++number) {
            const std::string digits = std::to_string(100'000 + number).substr(1);
            ASSERT_EQ(::link(first.c_str(), (folder.path() / inner / digits).c_str()), 0);
        }
    };
    addLinks("a", 1, few);
    addLinks("b", 0, many - 1);
    makeFile(folder.path() / "b/last", 1'000'000);
    constexpr std::int64_t all = 2 + few + many;
    static_assert(all == 60'001);

    const struct {
        const char* name;
        std::int64_t most;
        std::int64_t size;
    } rows[] = {
        {"nothing", 0, 0},          {"a folder", 1, 0},
        {"the first file", 3, 1},   {"one before the last", 60'000, 59'998},
        {"all", 60'001, 1'059'998},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(sizeBelow(folder.path(), row.most), row.size);
    }
    // Alike however the threads meet.
    const std::vector<fs::path> twice(2, folder.path());
    EXPECT_EQ(DirectoryWalker().sizesBelow(twice, 60'000),
              std::vector<std::optional<std::int64_t>>(2, 59'998));

    // More names than are sorted at a time come in order too, and each once.
    Names names = shown(folder.path() / "b");
    EXPECT_EQ(names.size(), static_cast<std::size_t>(many));
    EXPECT_EQ(std::ranges::adjacent_find(names, std::greater_equal()), names.end());
}

TEST(DirectoryWalker, S07_FilesMayVanishAndGrowMeanwhile) {
    const TemporaryFolder folder;
    constexpr std::int64_t firm = 1000;
    constexpr std::int64_t longest = 1'000'000;
    constexpr int restless = 20;
    makeFile(folder.path() / "firm", firm);
    std::atomic<bool> isOver = false;
    std::atomic<int> rounds = 0;
    std::thread other([&] {
        while (!isOver) {
            for (int number = 0; number < restless; ++number) {
                const fs::path file = folder.path() / std::to_string(number) / "file";
                makeFile(file, number);
                makeFile(file, longest);
                std::error_code gone;
                fs::remove_all(file.parent_path(), gone);
            }
            ++rounds;
        }
    });
    std::int64_t least = noLimit;
    std::int64_t most = 0;
    for (int walk = 0; walk < 200 || rounds < 3; ++walk) {
        for (const std::int64_t limit : {noLimit, std::int64_t{5}}) {
            const std::int64_t size = sizeBelow(folder.path(), limit).value_or(-1);
            least = std::min(least, size);
            most = std::max(most, size);
        }
        shown(folder.path());
    }
    isOver = true;
    other.join();
    EXPECT_GE(least, 0);
    EXPECT_LE(most, firm + restless * longest);
    EXPECT_EQ(sizeBelow(folder.path()), firm);
}

TEST(DirectoryWalker, S07_AFolderThatBecomesALinkIsNotEntered) {
    const TemporaryFolder folder;
    const fs::path root = folder.path() / "root";
    makeFile(folder.path() / "outside/secret");
    makeFile(root / "a/file");
    makeFile(root / "b/file");
    Names names;
    DirectoryWalker().walk(root, FileWalker::Packages::enter, [&](const WalkItem& item) {
        if (item.path == root / "a/file") {
            fs::rename(root / "b", folder.path() / "moved");
            fs::create_directory_symlink(folder.path() / "outside", root / "b");
        }
        names.push_back(item.path.lexically_relative(root));
        return true;
    });
    EXPECT_EQ(names, (Names{"a", "b", "a/file"}));
}

TEST(DirectoryWalker, S07_AWalkDoesNotStrayIntoFoldersThatTakeThePlaceOfOthers) {
    const TemporaryFolder folder;
    const fs::path root = folder.path() / "root";
    fs::create_directory(root);
    constexpr int depth = 60; // more than are open at a time
    const DeepTree tree(root, depth, "level");
    const fs::path deepest = repeated(root, "level", depth - 1) / "side/file";
    int sides = 0;
    DirectoryWalker().walk(root, FileWalker::Packages::enter, [&](const WalkItem& item) {
        if (item.path == deepest) {
            fs::rename(root / "level", folder.path() / "moved");
            fs::create_directories(repeated(root, "level", depth));
            makeFile(root / "level/side/impostor");
            makeFile(root / "level/level/side/impostor");
        }
        EXPECT_NE(item.path.filename(), "impostor");
        sides += item.path.filename() == "file" ? 1 : 0;
        return true;
    });
    EXPECT_GT(sides, 1);     // those that are still open
    EXPECT_LT(sides, depth); // not those that are out of reach
    fs::remove_all(root / "level");
    fs::rename(folder.path() / "moved", root / "level");
}

TEST(DirectoryWalker, S08_NamesAreBytes) {
    const TemporaryFolder folder;
    Names names{"-rf",
                " ",
                "100%",
                "#1+2",
                "a b",
                "line\nend",
                "\xE9t\xE9",
                "\xF0\x9F\x8D\xB5",
                std::string(255, 'n'),
                "tab\t",
                "'\"\\$`*?"};
    for (const std::string& name : names) {
        makeFile(folder.path() / name, 1);
    }
    std::ranges::sort(names);
    EXPECT_EQ(shown(folder.path()), names);
    EXPECT_EQ(entryNames(folder.path()), names);
    EXPECT_EQ(sizeBelow(folder.path()), static_cast<std::int64_t>(names.size()));
}

TEST(DirectoryWalker, S08_DeepTreesAreWalkedWithFewDescriptors) {
    const TemporaryFolder folder;
    constexpr int depth = 1000;
    const std::string name = "a-level-deeper";
    const DeepTree tree(folder.path(), depth, name);
    makeFile(folder.path() / "z/file", 1); // the last of all

    const DescriptorLimit limit(200);
    EXPECT_EQ(sizeBelow(folder.path()), depth + 1);
    constexpr std::int64_t items = 3 * depth + 2;
    EXPECT_EQ(sizeBelow(folder.path(), items), depth + 1);
    EXPECT_EQ(sizeBelow(folder.path(), items - 1), depth); // and the same in order
    std::size_t longest = 0;
    int files = 0;
    DirectoryWalker().walk(folder.path(), FileWalker::Packages::enter, [&](const WalkItem& item) {
        longest = std::max(longest, item.path.native().size());
        files += item.isRegularFile ? 1 : 0;
        return true;
    });
    EXPECT_EQ(longest, repeated(folder.path(), name, depth).native().size());
    EXPECT_EQ(files, depth + 1);
}

TEST(DirectoryWalker, S08_PathsOfAnyLengthAreFound) {
    const TemporaryFolder folder;
    constexpr int depth = 100;
    const std::string name(200, 'n');
    const DeepTree tree(folder.path(), depth, name);
    const DirectoryWalker walker;
    const fs::path deep = repeated(folder.path(), name, depth - 1);
    ASSERT_GT(deep.native().size(), 4U * 4096);
    EXPECT_TRUE(walker.isFolder(deep));
    EXPECT_FALSE(walker.isFolder(deep / "missing"));
    EXPECT_TRUE(walker.modified(deep / "side/file"));
    EXPECT_FALSE(walker.modified(deep / "side/missing"));
    EXPECT_FALSE(walker.modified(deep / "missing/side/file"));
    EXPECT_EQ(entryNames(deep), (Names{name, "side"}));
    EXPECT_EQ(sizeBelow(deep), 1);
    EXPECT_EQ(shown(deep), (Names{name, "side", "side/file"}));
    EXPECT_FALSE(walker.isFolder(std::string(100'000, 'x')));
    EXPECT_FALSE(walker.isFolder("/" + std::string(5000, 'x') + "/y"));
}

TEST(DirectoryWalker, PipesSocketsAndDevicesAreItemsWithoutALength) {
    const TemporaryFolder folder;
    makeFile(folder.path() / "file", 9);
    ASSERT_EQ(::mkfifo((folder.path() / "pipe").c_str(), 0644), 0);
    const int server = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = folder.path() / "socket";
    ASSERT_LT(path.size(), sizeof address.sun_path);
    path.copy(address.sun_path, path.size());
    EXPECT_EQ(::bind(server, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    Names names{"file", "pipe", "socket"};
    if (::mknod((folder.path() / "device").c_str(), S_IFCHR | 0644, makedev(1, 5)) == 0) { // endless zeroes
        names.insert(names.begin(), "device");
    }
    EXPECT_EQ(shown(folder.path()), names);
    EXPECT_EQ(sizeBelow(folder.path()), 9);
    EXPECT_EQ(sizeBelow(folder.path() / "pipe"), 0);
    EXPECT_EQ(sizeBelow(folder.path() / "socket"), 0);
    ::close(server);
}

TEST(DirectoryWalker, SeveralMayWalkAtATime) {
    const TemporaryFolder folder;
    for (int number = 0; number < 400; ++number) {
        makeFile(folder.path() / std::to_string(number % 40) / std::to_string(number % 7) /
                     std::to_string(number),
                 number);
    }
    constexpr std::int64_t sum = 399 * 400 / 2;
    const DirectoryWalker walker;
    constexpr int count = 4;
    std::vector<std::thread> threads;
    threads.reserve(count);
    std::atomic<int> right = 0;
    for (int thread = 0; thread < count; ++thread) {
        threads.emplace_back([&] {
            for (int round = 0; round < 10; ++round) {
                right += walker.sizesBelow({folder.path()}, noLimit).front() == sum ? 1 : 0;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(right, 40);
}

TEST(DirectoryWalker, AWalkThatIsStoppedEndsWithWhatItHas) {
    const TemporaryFolder folder;
    for (int number = 0; number < 100; ++number) {
        makeFile(folder.path() / std::to_string(number) / "file", 1);
    }
    DirectoryWalker walker;
    int items = 0;
    const auto countAndStop = [&](const WalkItem&) {
        ++items;
        walker.stop();
        return true;
    };
    EXPECT_TRUE(walker.walk(folder.path(), FileWalker::Packages::enter, countAndStop));
    EXPECT_EQ(items, 100) << "the folder that was being read";
    EXPECT_LT(walker.sizesBelow({folder.path()}, noLimit).front().value_or(0), 100);
}
