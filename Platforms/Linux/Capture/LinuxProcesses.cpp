#include "Platforms/Linux/Capture/LinuxProcesses.hpp"

#include "Platforms/Linux/SystemCalls.hpp"
#include "Platforms/Linux/WithoutSignals.hpp"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <future>
#include <list>
#include <mutex>
#include <set>
#include <system_error>
#include <thread>
#include <utility>

namespace Linux {

namespace {

constexpr std::chrono::seconds grace{1}; // for a child that was asked to end

/// How a child begins: nothing open but the first three descriptors, no signal blocked, ignored or handled,
/// and at the head of a group of its own.
class Beginning {
public:
    Beginning() {
        ::posix_spawn_file_actions_init(&files_);
        ::posix_spawnattr_init(&attributes_);
        ::posix_spawn_file_actions_addopen(&files_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        ::posix_spawn_file_actions_addopen(&files_, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        ::posix_spawn_file_actions_addclosefrom_np(&files_, STDERR_FILENO + 1);
        sigset_t signals;
        ::sigemptyset(&signals);
        ::posix_spawnattr_setsigmask(&attributes_, &signals);
        ::sigfillset(&signals);
        ::posix_spawnattr_setsigdefault(&attributes_, &signals);
        ::posix_spawnattr_setpgroup(&attributes_, 0);
        ::posix_spawnattr_setflags(&attributes_,
                                   POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
    }
    Beginning(const Beginning&) = delete;
    Beginning& operator=(const Beginning&) = delete;
    ~Beginning() {
        ::posix_spawnattr_destroy(&attributes_);
        ::posix_spawn_file_actions_destroy(&files_);
    }

    /// 0 where it runs; else the error's number.
    int spawn(pid_t& child, std::vector<std::string>& words) const {
        std::vector<char*> pointers;
        for (std::string& word : words) {
            pointers.push_back(word.data());
        }
        pointers.push_back(nullptr);
        return ::posix_spawnp(&child, words.front().c_str(), &files_, &attributes_, pointers.data(),
                              ::environ);
    }

private:
    posix_spawn_file_actions_t files_{};
    posix_spawnattr_t attributes_{};
};

/// A parent that does not want to hear of its children may have passed that on to us.
void hearOfChildren() {
    struct sigaction action {};
    if (::sigaction(SIGCHLD, nullptr, &action) == 0 && action.sa_handler == SIG_IGN) {
        std::signal(SIGCHLD, SIG_DFL);
    }
}

/// A child that has ended keeps its number until it is fetched.
void awaitEnd(pid_t child) {
    siginfo_t end{};
    retried([&] { return ::waitid(P_PID, static_cast<id_t>(child), &end, WEXITED | WNOWAIT); });
}

int fetchStatus(pid_t child) {
    int status = 0;
    retried([&] { return ::waitpid(child, &status, 0); });
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

std::string refusal(const std::filesystem::path& executable, int error) {
    const std::string program = "The program " + executable.string();
    return error == ENOENT
               ? program + " is not installed."
               : program + " could not be started: " + std::generic_category().message(error) + ".";
}

} // namespace

/// Those that run, and the threads that wait for them.
class LinuxProcesses::Children {
public:
    using Ended = std::function<void(int status)>;

    Children() = default;
    Children(const Children&) = delete;
    Children& operator=(const Children&) = delete;

    ~Children() {
        std::unique_lock lock(mutex_);
        signalAll(SIGTERM);
        if (!change_.wait_for(lock, grace, [this] { return running_.empty(); })) {
            signalAll(SIGKILL);
        }
        change_.wait(lock, [this] { return threads_.empty(); });
        lock.unlock();
        if (lastToFinish_.joinable()) {
            lastToFinish_.join();
        }
    }

    /// 0 where it runs; else the error's number. The thread that waits for the child starts it too: where no
    /// thread can be had there is no child. Until it has, this one keeps the others away.
    int start(std::vector<std::string> words, Ended ended) {
        std::promise<int> started;
        auto error = started.get_future();
        const std::lock_guard lock(mutex_);
        const auto place = threads_.emplace(threads_.end());
        try {
            const WithoutSignals meanwhile;
            *place = std::thread([this, place, started = std::move(started), words = std::move(words),
                                  ended = std::move(ended)]() mutable {
                attend(std::move(started), std::move(words), std::move(ended));
                finish(place);
            });
        } catch (const std::system_error& failure) {
            threads_.erase(place);
            return failure.code().value();
        }
        return error.get();
    }

private:
    using Threads = std::list<std::thread>;

    void attend(std::promise<int> started, std::vector<std::string> words, Ended ended) {
        pid_t child = 0;
        const int error = Beginning().spawn(child, words);
        if (error == 0) {
            running_.insert(child);
        }
        started.set_value(error);
        if (error != 0) {
            return;
        }
        awaitEnd(child);
        ended(fetch(child));
    }

    /// From here on its number may be another's.
    int fetch(pid_t child) {
        const std::lock_guard lock(mutex_);
        running_.erase(child);
        change_.notify_all();
        return fetchStatus(child);
    }

    /// A thread cannot wait for its own end: the next one to finish does.
    void finish(Threads::iterator place) {
        std::thread previous;
        {
            const std::lock_guard lock(mutex_);
            previous = std::exchange(lastToFinish_, std::move(*place));
            threads_.erase(place);
            change_.notify_all();
        }
        if (previous.joinable()) {
            previous.join();
        }
    }

    void signalAll(int signal) const {
        for (const pid_t child : running_) {
            ::kill(-child, signal);
        }
    }

    std::mutex mutex_;
    std::condition_variable change_;
    std::set<pid_t> running_; // none of them fetched: these numbers are nobody else's
    Threads threads_;
    std::thread lastToFinish_;
};

LinuxProcesses::LinuxProcesses()
    : children_(std::make_unique<Children>()) {
    hearOfChildren();
}

LinuxProcesses::~LinuxProcesses() = default;

std::optional<std::string> LinuxProcesses::start(const std::filesystem::path& executable,
                                                 const std::vector<std::string>& arguments,
                                                 std::function<void(int status)> ended) {
    std::vector<std::string> words{executable.string()};
    words.insert(words.end(), arguments.begin(), arguments.end());
    const int error = children_->start(std::move(words), std::move(ended));
    return error == 0 ? std::nullopt : std::optional(refusal(executable, error));
}

} // namespace Linux
