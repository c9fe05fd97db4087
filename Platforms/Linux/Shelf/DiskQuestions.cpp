#include "Platforms/Linux/Shelf/DiskQuestions.hpp"

#include "Platforms/Linux/WithoutSignals.hpp"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <list>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

namespace Linux {

using ZorbelKit::Seconds;
using SteadyClock = std::chrono::steady_clock;

namespace {

constexpr Seconds lastWait{0.5}; // at the end, for what still runs

} // namespace

/// Shared with the threads: one whose disk does not answer outlives the object.
struct DiskQuestions::State : std::enable_shared_from_this<State> {
    struct Question {
        std::string folder;
        std::function<void()> ask;
    };
    struct Running {
        std::string folder;
        SteadyClock::time_point since;
    };

    explicit State(Seconds itsPatience)
        : patience(itsPatience) {}

    const Seconds patience;
    mutable std::mutex mutex; // of all below
    std::condition_variable ended;
    std::deque<Question> waiting;
    std::list<Running> running;
    int threads = 0;

    bool hasRoom(const std::string& folder) const {
        return std::ranges::count(running, folder, &Running::folder) < mostInFolder;
    }

    int inTime() const {
        const auto limit = SteadyClock::now() - patience;
        return static_cast<int>(
            std::ranges::count_if(running, [&](const Running& each) { return each.since > limit; }));
    }

    /// The first that may be asked; `waiting.end()` where none may.
    auto next() {
        return inTime() < mostAtOnce
                   ? std::ranges::find_if(waiting, [&](const Question& each) { return hasRoom(each.folder); })
                   : waiting.end();
    }

    /// With the mutex held.
    void startThreads() {
        while (threads < mostThreads) {
            const auto found = next();
            if (found == waiting.end()) {
                return;
            }
            const auto started = begin(found);
            ++threads;
            try {
                const WithoutSignals quiet;
                std::thread([state = shared_from_this(), question = started.first,
                             place = started.second]() mutable {
                    state->work(std::move(question), place);
                }).detach();
            } catch (const std::system_error&) { // no more threads are to be had
                --threads;
                running.erase(started.second);
                waiting.push_front(started.first);
                return;
            }
        }
    }

    std::pair<Question, std::list<Running>::iterator> begin(std::deque<Question>::iterator found) {
        Question question = std::move(*found);
        waiting.erase(found);
        running.push_back({question.folder, SteadyClock::now()});
        return {std::move(question), std::prev(running.end())};
    }

    void work(Question question, std::list<Running>::iterator place) {
        std::unique_lock lock(mutex);
        for (;;) {
            lock.unlock();
            question.ask();
            question = {};
            lock.lock();
            running.erase(place);
            const auto found = next();
            if (found == waiting.end()) {
                break;
            }
            std::tie(question, place) = begin(found);
        }
        --threads;
        ended.notify_all();
    }
};

DiskQuestions::DiskQuestions(Seconds patience)
    : state_(std::make_shared<State>(patience)) {
}

DiskQuestions::~DiskQuestions() {
    std::unique_lock lock(state_->mutex);
    state_->waiting.clear();
    state_->ended.wait_for(lock, lastWait, [&] { return state_->inTime() == 0; });
}

void DiskQuestions::ask(const std::filesystem::path& file, std::function<void()> question, Order order) {
    const std::lock_guard lock(state_->mutex);
    State::Question asked{file.parent_path().native(), std::move(question)};
    if (order == Order::first) {
        state_->waiting.push_front(std::move(asked));
    } else {
        state_->waiting.push_back(std::move(asked));
    }
    state_->startThreads();
}

bool DiskQuestions::goOn() {
    const std::lock_guard lock(state_->mutex);
    state_->startThreads();
    return !state_->waiting.empty();
}

void DiskQuestions::dropWaiting() {
    const std::lock_guard lock(state_->mutex);
    state_->waiting.clear();
}

int DiskQuestions::threads() const {
    const std::lock_guard lock(state_->mutex);
    return state_->threads;
}

} // namespace Linux
