#pragma once

#include "Platforms/Linux/Clipboard/CopiedContent.hpp"
#include "Platforms/Linux/Clipboard/OfferedContent.hpp"

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>

namespace Linux {

/// What the main thread and the thread that talks with the X server hand to each other. Neither ever waits
/// here for longer than a few words take to be written.
class SelectionExchange {
public:
    /// Never changes once it is there; the count and the content belong together.
    struct Snapshot {
        std::int64_t changeCount = 0;
        CopiedContent content;
    };

    struct Orders {
        std::optional<OfferedContent> write; // to be offered to other programs
        bool isWatched = false;
        int watching = 0;      // how often watching has begun
        bool isEnding = false; // the program quits
    };

    SelectionExchange();
    SelectionExchange(const SelectionExchange&) = delete;
    SelectionExchange& operator=(const SelectionExchange&) = delete;
    ~SelectionExchange();

    // The main thread

    std::shared_ptr<const Snapshot> snapshot() const;
    void write(const OfferedContent& content); // counts at once

    /// Changes from before the return are none of the watching that begins. Waits until a thread that is
    /// there has taken notice; it is never kept by other programs.
    void beginWatching();
    void endWatching();
    void setEnding();

    /// Whether a thread takes orders. It stops by itself once there is nothing to do.
    bool isServed() const;
    void setServed();

    // The other thread

    int wakeDescriptor() const { return wake_; } // can be read from while there are new orders
    Orders takeOrders();
    void confirmWatching(int watching);

    /// Orders once more what was written before, unless something else was written since. Not counted.
    void writeAgain(const OfferedContent& content);

    /// Counts a change by another program, unless we have written since: that is newer then.
    void publish(CopiedContent content);

    /// Ends the service, where nobody watches and nothing was ordered meanwhile.
    bool stopServing();

    /// Ends it in any case. What is to be offered stays readable for ourselves.
    void giveUpServing();

private:
    void set(std::unique_lock<std::mutex>& lock, CopiedContent content);
    void wake() const;

    mutable std::mutex mutex_; // guards what follows
    std::shared_ptr<const Snapshot> snapshot_ = std::make_shared<const Snapshot>();
    Orders orders_;
    bool isServed_ = false;
    int confirmed_ = 0; // of the watching
    std::condition_variable answered_;
    const int wake_;
};

} // namespace Linux
