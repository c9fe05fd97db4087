#include "Platforms/Linux/Storage/SizeSum.hpp"

#include "Platforms/Linux/Storage/FolderTrail.hpp"
#include "Platforms/Linux/Storage/OrderedWalk.hpp"
#include "Platforms/Linux/WithoutSignals.hpp"
#include "ZorbelKit/Checked.hpp"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

namespace Linux {

namespace {

using Sizes = std::vector<std::optional<std::int64_t>>;

constexpr unsigned int mostThreads = 2;

/// What is known so far of one of the folders; several threads may add to it.
struct Tree {
    Mount mount;
    std::atomic<bool> isReadable = false;
    std::atomic<std::int64_t> bytes = 0;
    std::atomic<std::int64_t> items = 0;

    void add(std::int64_t moreBytes, std::int64_t moreItems) {
        items += moreItems;
        std::int64_t before = bytes;
        while (!bytes.compare_exchange_weak(before, checked::saturatingAdd(before, moreBytes))) {
        }
    }
};

struct Task {
    Tree* tree = nullptr; // none: all is done
    FolderTrail::Branch branch;
    bool isTop = false; // the folder itself is still to be read, else only what it names
};

/// Sums up a part of a tree, in whatever order, and leaves off once the tree turns out to hold too much.
class BranchSum {
public:
    BranchSum(Tree& tree, std::int64_t most, FolderReader& reader)
        : tree_(tree)
        , most_(most)
        , reader_(reader) {}

    /// False where no more of the tree needs to be read.
    bool read(int folder, std::vector<std::string>& folders) {
        reader_.read(
            folder,
            [&](std::string_view name, ItemKind kind) {
                if (!name.starts_with('.')) {
                    ++items_;
                    add(folder, name, kind, folders);
                }
            },
            [&] { return flush(); });
        return flush();
    }

private:
    void add(int folder, std::string_view name, ItemKind kind, std::vector<std::string>& folders) {
        std::optional<ItemStatus> status;
        if (kind != ItemKind::folder && kind != ItemKind::other) {
            status = look(folder, name.data());
            if (!status || status->mount != tree_.mount) {
                return;
            }
            kind = status->kind;
        }
        if (kind == ItemKind::folder) {
            folders.emplace_back(name);
        } else if (status) {
            bytes_ = checked::saturatingAdd(bytes_, status->size);
        }
    }

    bool flush() {
        tree_.add(std::exchange(bytes_, 0), std::exchange(items_, 0));
        return tree_.items <= most_;
    }

    Tree& tree_;
    std::int64_t most_;
    FolderReader& reader_;
    std::int64_t bytes_ = 0;
    std::int64_t items_ = 0;
};

std::optional<std::int64_t> sumInOrder(const std::filesystem::path& folder, std::int64_t most,
                                       const std::atomic<bool>& isStopped) {
    std::int64_t bytes = 0;
    std::int64_t items = 0;
    const auto add = [&](const OrderedItem& item) {
        if (++items > most) {
            return Step::stop;
        }
        if (item.status && item.status->kind != ItemKind::folder) {
            bytes = checked::saturatingAdd(bytes, item.status->size);
        }
        return Step::enter;
    };
    const bool isWalked = walkInOrder(folder, add, isStopped);
    return isWalked ? std::optional(bytes) : std::nullopt;
}

/// The threads that sum up several trees. Each takes a folder of its own as long as there are any; whoever
/// has nothing left is given a part of another's.
class Crew {
public:
    Crew(const std::vector<std::filesystem::path>& folders, std::int64_t most,
         const std::atomic<bool>& isStopped)
        : folders_(folders)
        , most_(most)
        , isStopped_(isStopped)
        , trees_(folders.size())
        , sizes_(folders.size()) {}

    Sizes run() {
        std::vector<std::thread> helpers;
        const unsigned int wanted = std::min(std::thread::hardware_concurrency(), mostThreads);
        while (helpers.size() + 1 < wanted && startHelper(helpers)) {
        }
        work();
        for (std::thread& helper : helpers) {
            helper.join();
        }
        return std::move(sizes_);
    }

private:
    bool startHelper(std::vector<std::thread>& helpers) {
        const WithoutSignals quiet;
        changeStrength(1);
        try {
            helpers.emplace_back([this] { work(); });
            return true;
        } catch (const std::system_error&) { // no more threads are to be had: it takes longer
            changeStrength(-1);
            return false;
        }
    }

    void changeStrength(int by) {
        const std::lock_guard lock(mutex_);
        strength_ += by;
    }

    void work() {
        FolderReader reader;
        for (Task task = next(); task.tree; task = next()) {
            sum(std::move(task), reader);
        }
        for (std::size_t index = nextResult_++; index < trees_.size(); index = nextResult_++) {
            const Tree& tree = trees_[index];
            if (tree.items > most_) {
                sizes_[index] = sumInOrder(folders_[index], most_, isStopped_);
            } else if (tree.isReadable) {
                sizes_[index] = tree.bytes;
            }
        }
    }

    /// The next folder of the list, or a part that another thread has offered. Waits for one as long as any
    /// thread is at work.
    Task next() {
        for (std::size_t index = nextTree_++; index < trees_.size(); index = nextTree_++) {
            if (Task task = begin(index); task.tree) {
                return task;
            }
        }
        std::unique_lock lock(mutex_);
        if (++idle_ == strength_) {
            changed_.notify_all();
        }
        changed_.wait(lock, [&] { return !offers_.empty() || idle_ == strength_; });
        if (offers_.empty()) {
            return {};
        }
        --idle_;
        Task task = std::move(offers_.front());
        offers_.pop_front();
        return task;
    }

    Task begin(std::size_t index) {
        auto root = openRoot(folders_[index]);
        Tree& tree = trees_[index];
        tree.isReadable = root.has_value();
        if (!root || !root->folder) {
            return {};
        }
        tree.mount = root->status.mount;
        return {.tree = &tree,
                .branch = {.folder = std::make_shared<const FileHandle>(std::move(root->folder)),
                           .names = {},
                           .depth = 0},
                .isTop = true};
    }

    void sum(Task task, FolderReader& reader) {
        const int top = task.branch.folder->get();
        BranchSum branch(*task.tree, most_, reader);
        FolderTrail trail(std::move(task.branch), task.tree->mount);
        std::optional<int> folder = task.isTop ? std::optional(top) : trail.enterNext();
        while (folder && !isStopped_ && branch.read(*folder, trail.waiting())) {
            offerPart(*task.tree, trail);
            folder = trail.enterNext();
        }
    }

    void offerPart(Tree& tree, FolderTrail& trail) {
        if (idle_ == 0) {
            return;
        }
        const std::lock_guard lock(mutex_);
        if (!offers_.empty()) {
            return;
        }
        if (auto part = trail.share()) {
            offers_.push_back({.tree = &tree, .branch = *std::move(part), .isTop = false});
            changed_.notify_one();
        }
    }

    const std::vector<std::filesystem::path>& folders_;
    const std::int64_t most_;
    const std::atomic<bool>& isStopped_;
    std::vector<Tree> trees_; // one for each folder, as are the sizes
    Sizes sizes_;             // each written by one thread
    std::atomic<std::size_t> nextTree_ = 0;
    std::atomic<std::size_t> nextResult_ = 0;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Task> offers_;   // under the mutex
    int strength_ = 1;          // threads, under the mutex
    std::atomic<int> idle_ = 0; // those that wait; written under the mutex
};

} // namespace

std::vector<std::optional<std::int64_t>> sumSizes(const std::vector<std::filesystem::path>& folders,
                                                  std::int64_t most, const std::atomic<bool>& isStopped) {
    return Crew(folders, most, isStopped).run();
}

} // namespace Linux
