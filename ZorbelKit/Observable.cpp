#include "ZorbelKit/Observable.hpp"

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

namespace ZorbelKit {

namespace {

int liveObservers = 0;

struct Reader {
    std::function<void()> callback; // empty once stopped
};

} // namespace

struct Observable::Readers {
    std::vector<std::shared_ptr<Reader>> list;
    int depth = 0; // nested notifications; the list is swept only at depth zero

    void stop(const std::shared_ptr<Reader>& reader) {
        // Let go of last: what the callback holds may stop other readers, or this one again.
        const auto dropped = std::exchange(reader->callback, nullptr);
        if (dropped) {
            --liveObservers;
        }
        if (depth == 0) {
            std::erase(list, reader);
        }
    }

    void sweep() {
        std::erase_if(list, [](const auto& reader) { return !reader->callback; });
    }
};

Observable::Observable()
    : readers_(std::make_shared<Readers>()) {
}

Observable::~Observable() {
    ++readers_->depth; // no sweeping while the list is walked: dropping a callback may stop other readers
    for (const auto& reader : readers_->list) {
        readers_->stop(reader);
    }
}

Token Observable::observe(std::function<void()> callback) const {
    auto reader = std::make_shared<Reader>(Reader{std::move(callback)});
    readers_->list.push_back(reader);
    ++liveObservers;
    return Token([weakReaders = std::weak_ptr(readers_), reader] {
        if (auto readers = weakReaders.lock()) {
            readers->stop(reader);
        }
    });
}

int Observable::observerCount() const {
    return static_cast<int>(std::ranges::count_if(
        readers_->list, [](const auto& reader) { return static_cast<bool>(reader->callback); }));
}

int Observable::liveObserversForTesting() {
    return liveObservers;
}

void Observable::notify() {
    // The list outlives this object: a reader may destroy it in the middle.
    const auto readers = readers_;
    ++readers->depth;
    const std::size_t count = readers->list.size(); // newcomers hear from the next change
    for (std::size_t index = 0; index < count; ++index) {
        if (const auto callback = readers->list[index]->callback) {
            callback();
        }
    }
    if (--readers->depth == 0) {
        readers->sweep();
    }
}

} // namespace ZorbelKit
