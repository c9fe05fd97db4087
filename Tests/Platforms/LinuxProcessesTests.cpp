#include "Platforms/Linux/Capture/LinuxProcesses.hpp"
#include "Tests/TemporaryFolder.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Linux::LinuxProcesses;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds patience{20};

/// Hears of the ends of children, by the name of each, on whatever thread.
class Ends {
public:
    std::function<void(int)> of(const std::string& name) {
        return [this, name](int status) {
            const std::lock_guard lock(mutex_);
            statuses_[name].push_back(status);
            threads_.push_back(std::this_thread::get_id());
            change_.notify_all();
        };
    }

    /// Its exit status; none where it does not end in time.
    std::optional<int> wait(const std::string& name) {
        std::unique_lock lock(mutex_);
        const bool isThere = change_.wait_for(lock, patience, [&] { return statuses_.contains(name); });
        return isThere ? std::optional(statuses_[name].front()) : std::nullopt;
    }

    std::vector<int> all(const std::string& name) {
        const std::lock_guard lock(mutex_);
        return statuses_[name];
    }

    std::vector<std::thread::id> threads() {
        const std::lock_guard lock(mutex_);
        return threads_;
    }

private:
    std::mutex mutex_;
    std::condition_variable change_;
    std::map<std::string, std::vector<int>> statuses_;
    std::vector<std::thread::id> threads_;
};

template <class Condition>
bool until(Condition condition) {
    const auto end = Clock::now() + patience;
    while (!condition()) {
        if (Clock::now() >= end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

std::string contents(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

/// The state letter of a process; none where there is no such.
std::optional<char> stateOf(pid_t process) {
    const std::string line = contents("/proc/" + std::to_string(process) + "/stat");
    const auto behindName = line.rfind(')');
    return behindName == std::string::npos ? std::nullopt : std::optional(line.at(behindName + 2));
}

bool isRunning(pid_t process) {
    const auto state = stateOf(process);
    return state && *state != 'Z' && *state != 'X';
}

bool hasChildren() {
    siginfo_t found{};
    return ::waitid(P_ALL, 0, &found, WEXITED | WNOHANG | WNOWAIT) == 0;
}

std::size_t entries(const char* folder) {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

class Processes : public testing::Test {
protected:
    /// Runs a text of /bin/sh's.
    std::optional<std::string> shell(const std::string& script, const std::string& name,
                                     const std::vector<std::string>& arguments = {}) {
        std::vector<std::string> words{"-c", script, "sh"};
        words.insert(words.end(), arguments.begin(), arguments.end());
        return processes->start("/bin/sh", words, ends.of(name));
    }

    int statusOf(const std::string& script, const std::vector<std::string>& arguments = {}) {
        EXPECT_EQ(shell(script, script, arguments), std::nullopt);
        return ends.wait(script).value_or(-1);
    }

    /// A process number that a child has written into a file of the folder.
    pid_t numberIn(const std::string& file) {
        EXPECT_TRUE(until([&] { return contents(folder.path() / file).ends_with('\n'); }));
        return static_cast<pid_t>(std::atoi(contents(folder.path() / file).c_str()));
    }

    fs::path script(const std::string& name, const std::string& text, fs::perms permissions) {
        const fs::path file = folder.path() / name;
        std::ofstream(file) << text;
        fs::permissions(file, permissions);
        return file;
    }

    TemporaryFolder folder;
    Ends ends;
    std::optional<LinuxProcesses> processes{std::in_place};
};

constexpr fs::perms runnable = fs::perms::owner_all;
constexpr fs::perms plain = fs::perms::owner_read | fs::perms::owner_write;

TEST_F(Processes, TellTheExitStatus) {
    EXPECT_EQ(statusOf("exit 0"), 0);
    EXPECT_EQ(statusOf("exit 3"), 3);
    EXPECT_EQ(statusOf("exit 255"), 255);
    EXPECT_EQ(statusOf("kill -9 $$"), 128 + SIGKILL);
    EXPECT_EQ(statusOf("kill -15 $$"), 128 + SIGTERM);
}

TEST_F(Processes, TellItOnceAndFromAnotherThread) {
    ASSERT_EQ(statusOf("exit 3"), 3);
    processes.reset();
    EXPECT_EQ(ends.all("exit 3"), std::vector<int>{3});
    EXPECT_NE(ends.threads().at(0), std::this_thread::get_id());
}

TEST_F(Processes, LeaveNoChildBehind) {
    for (int round = 0; round < 5; ++round) {
        ASSERT_EQ(statusOf("exit " + std::to_string(round)), round);
    }
    EXPECT_FALSE(hasChildren());
}

TEST_F(Processes, LookForANameAsAShellDoes) {
    ASSERT_EQ(processes->start("true", {}, ends.of("true")), std::nullopt);
    EXPECT_EQ(ends.wait("true"), 0);
    ASSERT_EQ(processes->start("false", {}, ends.of("false")), std::nullopt);
    EXPECT_EQ(ends.wait("false"), 1);
}

TEST_F(Processes, SayWhichProgramIsMissing) {
    EXPECT_EQ(processes->start("zorbel-no-such-program", {}, ends.of("missing")),
              "The program zorbel-no-such-program is not installed.");
    EXPECT_EQ(processes->start("/no/such/folder/tool", {}, ends.of("missing")),
              "The program /no/such/folder/tool is not installed.");
    processes.reset();
    EXPECT_TRUE(ends.all("missing").empty());
}

TEST_F(Processes, SayWhyAProgramCannotBeStarted) {
    const struct {
        fs::path executable;
        const char* why;
    } rows[] = {{script("plain", "#!/bin/sh\nexit 0\n", plain), "Permission denied"},
                {folder.path(), "Permission denied"},
                {script("nothing", "exit 0\n", runnable), "Exec format error"},
                {script("empty", "", runnable), "Exec format error"},
                {script("file", "", plain) / "tool", "Not a directory"},
                {fs::path(std::string(5000, 'x')), "File name too long"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.executable.filename().string().substr(0, 20));
        EXPECT_EQ(processes->start(row.executable, {}, ends.of("refused")),
                  "The program " + row.executable.string() + " could not be started: " + row.why + ".");
    }
    EXPECT_EQ(processes->start("true", {std::string(1'000'000, 'x')}, ends.of("refused")),
              "The program true could not be started: Argument list too long.");
    processes.reset();
    EXPECT_TRUE(ends.all("refused").empty());
    EXPECT_FALSE(hasChildren());
}

TEST_F(Processes, HandArgumentsOverAsTheyAre) {
    const std::vector<std::string> arguments{"",
                                             "a blank",
                                             "'quotes' \"too\"",
                                             "$HOME $(exit 7) `exit 8`",
                                             "*",
                                             "-n",
                                             "Größe 你好 👩‍👩‍👧",
                                             "two\nlines",
                                             "\\ \t \x01",
                                             std::string(100'000, 'x')};
    std::vector<std::string> words{(folder.path() / "out").string()};
    words.insert(words.end(), arguments.begin(), arguments.end());
    ASSERT_EQ(statusOf(R"(out=$1; shift; for word; do printf '%s\0' "$word"; done >"$out")", words), 0);
    std::string expected;
    for (const std::string& argument : arguments) {
        expected += argument + '\0';
    }
    EXPECT_EQ(contents(folder.path() / "out"), expected);
}

TEST_F(Processes, AChildReadsNothingAndItsOutputGoesNowhere) {
    EXPECT_EQ(statusOf("read -r line; test -z \"$line\" && test \"$(readlink /proc/$$/fd/0)\" = /dev/null && "
                       "test \"$(readlink /proc/$$/fd/1)\" = /dev/null"),
              0);
}

TEST_F(Processes, AChildSeesNoneOfOurFiles) {
    const int open = ::open("/dev/null", O_RDONLY); // as a careless library leaves it
    ASSERT_GT(open, 2);
    EXPECT_EQ(statusOf("ls /proc/self/fd >\"$1\"", {folder.path() / "open"}), 0);
    ::close(open);
    std::istringstream list(contents(folder.path() / "open"));
    std::vector<int> descriptors{std::istream_iterator<int>(list), {}};
    EXPECT_LE(descriptors.size(), 4U)
        << contents(folder.path() / "open"); // its own look at the folder is one
    EXPECT_TRUE(std::ranges::all_of(descriptors, [](int descriptor) { return descriptor <= 3; }));
}

TEST_F(Processes, AChildTakesSignalsAsAnyProgram) {
    sigset_t all;
    sigset_t before;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
    const auto ignored = ::signal(SIGPIPE, SIG_IGN);
    const int status = statusOf("exec cat /proc/self/status >\"$1\"", {folder.path() / "status"});
    ::signal(SIGPIPE, ignored);
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    ASSERT_EQ(status, 0);
    std::istringstream lines(contents(folder.path() / "status"));
    int count = 0;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("SigBlk:") || line.starts_with("SigIgn:") || line.starts_with("SigCgt:")) {
            constexpr std::uint64_t standard = 0x7FFF'FFFF; // the C library keeps some beyond for itself
            ++count;
            EXPECT_EQ(std::strtoull(line.c_str() + 7, nullptr, 16) & standard, 0U) << line;
        }
    }
    EXPECT_EQ(count, 3);
}

TEST_F(Processes, ThirtyAtOnceEachHaveTheirEnd) {
    const auto threads = entries("/proc/self/task");
    for (int number = 0; number < 30; ++number) {
        ASSERT_EQ(shell("exit $1", std::to_string(number), {std::to_string(number)}), std::nullopt);
    }
    for (int number = 0; number < 30; ++number) {
        EXPECT_EQ(ends.wait(std::to_string(number)), number);
    }
    EXPECT_TRUE(until([&] { return entries("/proc/self/task") <= threads; })) << "threads are left over";
    processes.reset();
    for (int number = 0; number < 30; ++number) {
        EXPECT_EQ(ends.all(std::to_string(number)).size(), 1U);
    }
    EXPECT_FALSE(hasChildren());
}

TEST_F(Processes, NothingIsLeftOpenAfterwards) {
    ASSERT_EQ(statusOf("exit 0"), 0);
    const auto open = entries("/proc/self/fd");
    for (int round = 1; round < 20; ++round) {
        ASSERT_EQ(statusOf("exit " + std::to_string(round)), round);
        static_cast<void>(processes->start("zorbel-no-such-program", {}, ends.of("missing")));
    }
    EXPECT_EQ(entries("/proc/self/fd"), open);
}

TEST_F(Processes, StartWithoutASingleDescriptorLeft) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP()
        << "the sanitizer needs descriptors to look at memory, and takes sound objects for broken ones";
#endif
    rlimit before{};
    ::getrlimit(RLIMIT_NOFILE, &before);
    std::vector<int> open;
    const rlimit few{std::min<rlim_t>(64, before.rlim_max), before.rlim_max};
    ::setrlimit(RLIMIT_NOFILE, &few);
    for (int next = ::dup(0); next >= 0; next = ::dup(0)) {
        open.push_back(next);
    }
    const auto refusal = shell("exit 5", "full");
    for (const int descriptor : open) {
        ::close(descriptor);
    }
    ::setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_EQ(refusal, std::nullopt);
    EXPECT_EQ(ends.wait("full"), 5);
}

TEST_F(Processes, AParentThatIgnoredItsChildrenDoesNoHarm) {
    const auto before = ::signal(SIGCHLD, SIG_IGN);
    processes.emplace();
    EXPECT_EQ(statusOf("exit 4"), 4);
    ::signal(SIGCHLD, before);
}

TEST_F(Processes, OneThatStillRunsAtTheEndIsAskedToEnd) {
    ASSERT_EQ(
        shell("echo $$ >\"$1/new\"; mv \"$1/new\" \"$1/pid\"; exec sleep 1000", "sleeps", {folder.path()}),
        std::nullopt);
    const pid_t child = numberIn("pid");
    const auto begin = Clock::now();
    processes.reset();
    EXPECT_LT(Clock::now() - begin, std::chrono::milliseconds(900)) << "it had to be killed";
    EXPECT_EQ(ends.all("sleeps"), std::vector<int>{128 + SIGTERM});
    EXPECT_FALSE(isRunning(child));
    EXPECT_FALSE(hasChildren());
}

TEST_F(Processes, OneThatDoesNotListenIsKilled) {
    ASSERT_EQ(
        shell("trap '' TERM; echo $$ >\"$1/new\"; mv \"$1/new\" \"$1/pid\"; while :; do sleep 1000; done",
              "deaf", {folder.path()}),
        std::nullopt);
    numberIn("pid");
    processes.reset();
    EXPECT_EQ(ends.all("deaf"), std::vector<int>{128 + SIGKILL});
    EXPECT_FALSE(hasChildren());
}

TEST_F(Processes, OneThatWasStoppedIsKilledToo) {
    ASSERT_EQ(
        shell("echo $$ >\"$1/new\"; mv \"$1/new\" \"$1/pid\"; kill -STOP $$", "stopped", {folder.path()}),
        std::nullopt);
    const pid_t child = numberIn("pid");
    ASSERT_TRUE(until([&] { return stateOf(child) == 'T'; }));
    processes.reset();
    EXPECT_EQ(ends.all("stopped"), std::vector<int>{128 + SIGKILL});
}

TEST_F(Processes, WhatAChildHasStartedGoesWithIt) {
    ASSERT_EQ(
        shell("sleep 1000 & echo $! >\"$1/new\"; mv \"$1/new\" \"$1/pid\"; wait", "parent", {folder.path()}),
        std::nullopt);
    const pid_t grandchild = numberIn("pid");
    ASSERT_TRUE(isRunning(grandchild));
    processes.reset();
    EXPECT_TRUE(until([&] { return !isRunning(grandchild); }));
}

TEST_F(Processes, AGrandchildThatHoldsOnIsNotWaitedFor) {
    ASSERT_EQ(shell("sleep 1000 & echo $! >\"$1/new\"; mv \"$1/new\" \"$1/pid\"; exit 6", "parent",
                    {folder.path()}),
              std::nullopt);
    EXPECT_EQ(ends.wait("parent"), 6);
    const pid_t grandchild = numberIn("pid");
    processes.reset();
    EXPECT_TRUE(isRunning(grandchild)) << "it is nobody's business any more";
    ::kill(grandchild, SIGKILL);
}

TEST_F(Processes, TheEndWaitsForWhoHearsOfIt) {
    std::atomic<bool> isHeard = false;
    ASSERT_EQ(processes->start("true", {},
                               [&](int) {
                                   ends.of("begun")(0);
                                   until([&] { return isHeard.load(); });
                                   ends.of("over")(0);
                               }),
              std::nullopt);
    ASSERT_EQ(ends.wait("begun"), 0);
    isHeard = true;
    processes.reset();
    EXPECT_EQ(ends.all("over").size(), 1U);
}

TEST_F(Processes, WhatWaitsForTheEndIsDroppedWithIt) {
    const auto held = std::make_shared<int>(0);
    ASSERT_EQ(processes->start("true", {}, [held, told = ends.of("true")](int status) { told(status); }),
              std::nullopt);
    static_cast<void>(processes->start("zorbel-no-such-program", {}, [held](int) {}));
    ASSERT_EQ(ends.wait("true"), 0);
    EXPECT_TRUE(until([&] { return held.use_count() == 1; }));
}

} // namespace
