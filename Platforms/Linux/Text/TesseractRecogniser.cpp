#include "Platforms/Linux/Text/TesseractRecogniser.hpp"

#include "Platforms/Linux/Text/LineReaders.hpp"
#include "Platforms/Linux/Text/PageReading.hpp"
#include "Platforms/Linux/WithoutSignals.hpp"
#include "Platforms/Qt/QtPictures.hpp"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

namespace Linux {

class TesseractRecogniser::Worker {
public:
    explicit Worker(Settings settings)
        : kept_(settings.kept)
        , readers_(std::move(settings.locale)) {}
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;
    ~Worker() = default;

    void add(const ZorbelKit::Picture& picture, ZorbelKit::Priority priority,
             std::function<void(Lines lines)> done) {
        std::unique_lock lock(mutex_);
        if (!isRunning_ && !begin()) {
            lock.unlock();
            done(std::nullopt);
            return;
        }
        (priority == ZorbelKit::Priority::userInitiated ? urgent_ : others_)
            .push_back({picture, std::move(done)});
        changed_.notify_one();
    }

    void keep(int more) {
        const std::lock_guard lock(mutex_);
        keepers_ += more;
        changed_.notify_one();
    }

    /// What waits is dropped, and what is being read is broken off.
    void end() {
        std::deque<Reading> dropped[2];
        {
            const std::lock_guard lock(mutex_);
            isEnding_ = true;
            urgent_.swap(dropped[0]);
            others_.swap(dropped[1]);
            changed_.notify_one();
        }
        if (thread_.joinable()) {
            thread_.join();
        }
    }

private:
    using Clock = std::chrono::steady_clock;

    struct Reading {
        ZorbelKit::Picture picture;
        std::function<void(Lines lines)> done;
    };

    /// Under the lock. False where the system has no thread left.
    bool begin() {
        if (thread_.joinable()) {
            thread_.join(); // has nothing left to do but to end
        }
        const WithoutSignals meanwhile;
        try {
            thread_ = std::thread([this] { run(); });
            isRunning_ = true;
        } catch (const std::system_error&) {
            isRunning_ = false;
        }
        return isRunning_;
    }

    void run() {
        while (auto reading = next()) {
            Lines lines = read(reading->picture);
            if (!isEnding_) {
                reading->done(std::move(lines));
            }
            reading.reset();
            last_ = Clock::now();
        }
    }

    /// Waits for something to read. None when there has been nothing for so long that all was given back, and
    /// when all is to end.
    std::optional<Reading> next() {
        std::unique_lock lock(mutex_);
        for (;;) {
            if (isEnding_) {
                break;
            }
            auto& queue = urgent_.empty() ? others_ : urgent_;
            if (!queue.empty()) {
                Reading reading = std::move(queue.front());
                queue.pop_front();
                return reading;
            }
            const auto due = last_ + std::chrono::duration_cast<Clock::duration>(kept_);
            if (keepers_ > 0) {
                changed_.wait(lock);
            } else if (Clock::now() < due) {
                changed_.wait_until(lock, due);
            } else {
                break;
            }
        }
        // Under the lock: whoever comes now waits, and then finds no thread.
        readers_.stop();
        isRunning_ = false;
        return std::nullopt;
    }

    Lines read(const ZorbelKit::Picture& picture) {
        if (!readers_.start()) {
            return std::nullopt;
        }
        const QImage image = QtPlatform::QtPictures::image(picture);
        if (image.isNull()) {
            return std::nullopt;
        }
        return linesOn(image, readers_.all(), isEnding_);
    }

    const ZorbelKit::Seconds kept_;

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Reading> urgent_;
    std::deque<Reading> others_;
    int keepers_ = 0;
    bool isRunning_ = false;
    std::atomic<bool> isEnding_{false};
    std::thread thread_;

    // The thread's own.
    LineReaders readers_;
    Clock::time_point last_ = Clock::now();
};

TesseractRecogniser::TesseractRecogniser(Settings settings)
    : worker_(std::make_shared<Worker>(std::move(settings))) {
}

TesseractRecogniser::~TesseractRecogniser() {
    worker_->end();
}

void TesseractRecogniser::recognise(const ZorbelKit::Picture& picture, ZorbelKit::Priority priority,
                                    std::function<void(Lines lines)> done) {
    worker_->add(picture, priority, std::move(done));
}

ZorbelKit::Token TesseractRecogniser::keepWarm() {
    worker_->keep(1);
    return ZorbelKit::Token([weak = std::weak_ptr(worker_)] {
        if (const auto worker = weak.lock()) {
            worker->keep(-1);
        }
    });
}

} // namespace Linux
