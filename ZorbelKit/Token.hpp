#pragma once

#include <functional>

namespace ZorbelKit {

/// Owns one running thing (a timer, a subscription, a status item); destroying it stops that thing.
/// May outlive what it came from. Main thread only.
class [[nodiscard]] Token {
public:
    Token() = default;
    explicit Token(std::function<void()> stop);
    Token(const Token&) = delete;
    Token(Token&& other) noexcept;
    Token& operator=(const Token&) = delete;
    Token& operator=(Token&& other) noexcept; // stops what it held before
    ~Token();

    /// Stops the thing now. Does nothing on an empty token.
    void reset();

    /// True while it holds something to stop.
    explicit operator bool() const { return static_cast<bool>(stop_); }

private:
    std::function<void()> stop_;
};

} // namespace ZorbelKit
