#pragma once

#include "ZorbelKit/Token.hpp"

#include <concepts>
#include <functional>
#include <memory>
#include <utility>

namespace ZorbelKit {

/// Tells its readers when to look again. The callback carries no value: read the object, which is never
/// stale.
///
///     Token changes = spice.observe([this] { refresh(); });
///
/// While it is being told, a reader may stop listening, stop another one (who is then not called), start
/// listening (heard from the next change), change the object again (the inner change is told first) or
/// destroy the object. Main thread only.
class Observable {
public:
    Observable();
    Observable(const Observable&) = delete;
    Observable& operator=(const Observable&) = delete;
    virtual ~Observable();

    Token observe(std::function<void()> callback) const;

    /// How many readers listen now.
    int observerCount() const;

    /// How many readers listen to any observable of the process; for leak checks.
    static int liveObserversForTesting();

protected:
    void notify();

private:
    template <std::equality_comparable T>
    friend class Published;

    struct Readers;
    std::shared_ptr<Readers> readers_;
};

/// A property of an Observable. Writing an equal value is silent.
template <std::equality_comparable T>
class Published {
public:
    explicit Published(Observable& owner, T initial = {})
        : owner_(owner)
        , value_(std::move(initial)) {}
    Published(const Published&) = delete;
    Published& operator=(const Published&) = delete;

    const T& get() const { return value_; }

    /// True when it differed.
    bool set(T next) {
        if (value_ == next) {
            return false;
        }
        value_ = std::move(next);
        owner_.notify();
        return true;
    }

    /// Copies the value, lets `change` edit the copy and sets it. True when it differed.
    template <std::invocable<T&> Edit>
    bool edit(Edit change) {
        T next = value_;
        change(next);
        return set(std::move(next));
    }

private:
    Observable& owner_;
    T value_;
};

/// An Observable whose owner tells the readers by hand: the list behind a port's `onChange`.
class Changes : public Observable {
public:
    using Observable::notify;
};

} // namespace ZorbelKit
