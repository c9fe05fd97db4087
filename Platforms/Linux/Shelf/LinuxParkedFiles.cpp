#include "Platforms/Linux/Shelf/LinuxParkedFiles.hpp"

#include "Platforms/Linux/Shelf/FileLook.hpp"
#include "ZorbelKit/Checked.hpp"
#include "ZorbelKit/Host/MainLoop.hpp"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <utility>

namespace Linux {

using Ledgra::FileIcon;
using ZorbelKit::Seconds;
namespace fs = std::filesystem;

namespace {

constexpr Seconds lookPatience{1.0};
constexpr Seconds sizePatience{0.03};
constexpr std::chrono::milliseconds sizesTime{100}; // for all of them
constexpr std::chrono::milliseconds sizesStep{10};

/// The sizes that have been answered so far.
struct Sizes {
    std::mutex mutex;
    std::condition_variable changed;
    std::size_t answers = 0;
    std::int64_t sum = 0;

    void add(std::int64_t size) {
        const std::lock_guard lock(mutex);
        sum = checked::saturatingAdd(sum, size);
        ++answers;
        changed.notify_all();
    }
};

} // namespace

/// Leads answers to the main thread, and nowhere once the object is gone: a thread that waits for its disk
/// lives longer.
class LinuxParkedFiles::Way {
public:
    explicit Way(ZorbelKit::MainLoop& loop)
        : loop_(&loop) {}

    void post(std::function<void()> task) {
        const std::lock_guard lock(mutex_);
        if (loop_) {
            loop_->post(std::move(task));
        }
    }

    void close() {
        const std::lock_guard lock(mutex_);
        loop_ = nullptr;
    }

private:
    std::mutex mutex_;
    ZorbelKit::MainLoop* loop_; // null once nobody waits for answers
};

LinuxParkedFiles::Disk LinuxParkedFiles::realDisk() {
    return {.look = lookOnDisk, .size = sizeOnDisk, .has = isOnDisk};
}

LinuxParkedFiles::LinuxParkedFiles(ZorbelKit::MainLoop& loop, Disk disk)
    : loop_(loop)
    , disk_(std::move(disk))
    , way_(std::make_shared<Way>(loop))
    , looks_(lookPatience)
    , sizes_(sizePatience) {
}

LinuxParkedFiles::~LinuxParkedFiles() {
    way_->close();
}

std::shared_ptr<const FileIcon> LinuxParkedFiles::icon(const fs::path& file) {
    const auto icon = std::make_shared<FileIcon>(lookByName(file));
    // An icon that nobody shows any more is not asked for; it is held on the main thread only.
    ask(
        file,
        [file, look = disk_.look, way = way_, weak = std::weak_ptr(icon)] {
            if (weak.expired()) {
                return;
            }
            if (auto found = look(file)) {
                way->post([weak, found = *std::move(found)] {
                    if (const auto shown = weak.lock()) {
                        shown->setLook(found);
                    }
                });
            }
        },
        DiskQuestions::Order::last);
    return icon;
}

void LinuxParkedFiles::look(const fs::path& file, std::function<void(bool isThere)> answer) {
    ask(
        file,
        [file, has = disk_.has, way = way_, answer = lifetime_.guard(std::move(answer))] {
            way->post([answer, isThere = has(file)]() mutable { answer(isThere); });
        },
        DiskQuestions::Order::first);
}

void LinuxParkedFiles::ask(const fs::path& file, std::function<void()> question, DiskQuestions::Order order) {
    looks_.ask(file, std::move(question), order);
    if (!isWaiting_) {
        goOn();
    }
}

void LinuxParkedFiles::goOn() {
    isWaiting_ = looks_.goOn();
    if (isWaiting_) {
        waiting_ = loop_.after(lookPatience, [this] { goOn(); });
    }
}

std::int64_t LinuxParkedFiles::totalBytes(const std::vector<fs::path>& files) const {
    const auto sizes = std::make_shared<Sizes>();
    for (const fs::path& file : files) {
        sizes_.ask(file, [file, size = disk_.size, sizes] { sizes->add(size(file)); });
    }
    const auto end = std::chrono::steady_clock::now() + sizesTime;
    std::unique_lock lock(sizes->mutex);
    while (sizes->answers < files.size() && std::chrono::steady_clock::now() < end) {
        sizes->changed.wait_for(lock, sizesStep);
        lock.unlock();
        static_cast<void>(sizes_.goOn());
        lock.lock();
    }
    sizes_.dropWaiting();
    return sizes->sum;
}

} // namespace Linux
