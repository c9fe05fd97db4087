#pragma once

#include <memory>
#include <utility>

namespace ZorbelKit {

/// Lets a callback in flight notice that its owner is gone:
///
///     loop.background(Priority::utility, [answer = lifetime_.guard([this](Result r) { take(r); })] { … });
///
/// A guarded callback does nothing once the Lifetime is destroyed or renewed. Guard, renew and call on the
/// main thread; only the wrapped callback may travel.
class Lifetime {
public:
    Lifetime() = default;
    Lifetime(const Lifetime&) = delete;
    Lifetime& operator=(const Lifetime&) = delete;
    ~Lifetime() = default;

    template <class Callback>
    auto guard(Callback callback) const {
        return [weak = std::weak_ptr(alive_), callback = std::move(callback)](auto&&... arguments) mutable {
            if (const auto held = weak.lock()) {
                callback(std::forward<decltype(arguments)>(arguments)...);
            }
        };
    }

    /// Answers asked for earlier no longer arrive.
    void renew() { alive_ = std::make_shared<char>(); }

private:
    std::shared_ptr<char> alive_ = std::make_shared<char>();
};

} // namespace ZorbelKit
