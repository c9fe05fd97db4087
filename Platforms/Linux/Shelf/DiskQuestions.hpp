#pragma once

#include "ZorbelKit/Time.hpp"

#include <filesystem>
#include <functional>
#include <memory>

namespace Linux {

/// Asks disks about files, off the main thread. A disk far away may never answer, so a question can keep its
/// thread for good: one that has taken too long no longer counts among those that run at once. The number of
/// threads is limited altogether, and so is how many may wait for the files of one folder. No thread is kept
/// that has nothing to do. Any thread.
class DiskQuestions {
public:
    static constexpr int mostAtOnce = 3;   // of those that are not overdue
    static constexpr int mostInFolder = 3; // overdue or not
    static constexpr int mostThreads = 9;

    /// `patience`: from when on a question is overdue.
    explicit DiskQuestions(ZorbelKit::Seconds patience);
    DiskQuestions(const DiskQuestions&) = delete;
    DiskQuestions& operator=(const DiskQuestions&) = delete;

    /// Those that wait are dropped. For those that run it waits a moment; what then has no answer yet goes on
    /// by itself, and must touch nothing of ours when it has.
    ~DiskQuestions();

    enum class Order { last, first };
    void ask(const std::filesystem::path& file, std::function<void()> question, Order order = Order::last);

    /// Looks whether questions that wait can be asked now that others are overdue. True while any waits.
    bool goOn();

    /// Drops those that wait.
    void dropWaiting();

    int threads() const; // that run now

private:
    struct State;
    std::shared_ptr<State> state_;
};

} // namespace Linux
