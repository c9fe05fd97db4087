#include "Platforms/Linux/Clipboard/SelectionExchange.hpp"

#include <sys/eventfd.h>
#include <unistd.h>

#include <utility>

namespace Linux {

namespace {

/// What those see who read their own write.
CopiedContent asCopied(const OfferedContent& content) {
    CopiedContent result;
    if (content.kind == OfferedContent::Kind::png) {
        result.hasPng = true;
    } else {
        result.text = content.bytes;
    }
    return result;
}

} // namespace

SelectionExchange::SelectionExchange()
    : wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
}

SelectionExchange::~SelectionExchange() {
    ::close(wake_);
}

std::shared_ptr<const SelectionExchange::Snapshot> SelectionExchange::snapshot() const {
    const std::lock_guard lock(mutex_);
    return snapshot_;
}

void SelectionExchange::write(const OfferedContent& content) {
    std::unique_lock lock(mutex_);
    orders_.write = content;
    set(lock, asCopied(content));
    wake();
}

void SelectionExchange::beginWatching() {
    std::unique_lock lock(mutex_);
    orders_.isWatched = true;
    ++orders_.watching;
    wake();
    answered_.wait(lock, [this] { return !isServed_ || confirmed_ == orders_.watching; });
}

void SelectionExchange::endWatching() {
    const std::lock_guard lock(mutex_);
    orders_.isWatched = false;
    wake();
}

void SelectionExchange::setEnding() {
    const std::lock_guard lock(mutex_);
    orders_.isEnding = true;
    wake();
}

bool SelectionExchange::isServed() const {
    const std::lock_guard lock(mutex_);
    return isServed_;
}

void SelectionExchange::setServed() {
    const std::lock_guard lock(mutex_);
    isServed_ = true;
}

SelectionExchange::Orders SelectionExchange::takeOrders() {
    const std::lock_guard lock(mutex_);
    eventfd_t ignored = 0;
    ::eventfd_read(wake_, &ignored);
    Orders orders = orders_;
    orders_.write.reset();
    return orders;
}

void SelectionExchange::confirmWatching(int watching) {
    const std::lock_guard lock(mutex_);
    confirmed_ = watching;
    answered_.notify_all();
}

void SelectionExchange::writeAgain(const OfferedContent& content) {
    const std::lock_guard lock(mutex_);
    if (!orders_.write) {
        orders_.write = content;
        wake();
    }
}

void SelectionExchange::publish(CopiedContent content) {
    std::unique_lock lock(mutex_);
    if (!orders_.write) {
        set(lock, std::move(content));
    }
}

bool SelectionExchange::stopServing() {
    const std::lock_guard lock(mutex_);
    if (!orders_.isEnding && (orders_.isWatched || orders_.write)) {
        return false;
    }
    isServed_ = false;
    return true;
}

void SelectionExchange::giveUpServing() {
    const std::lock_guard lock(mutex_);
    isServed_ = false;
    orders_.write.reset();
    answered_.notify_all();
}

void SelectionExchange::set(std::unique_lock<std::mutex>& lock, CopiedContent content) {
    auto next = std::make_shared<const Snapshot>(Snapshot{snapshot_->changeCount + 1, std::move(content)});
    next.swap(snapshot_);
    lock.unlock(); // before the old one goes: it may be large
}

void SelectionExchange::wake() const {
    ::eventfd_write(wake_, 1);
}

} // namespace Linux
