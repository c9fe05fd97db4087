#include "ZorbelKit/Token.hpp"

#include <utility>

namespace ZorbelKit {

Token::Token(std::function<void()> stop)
    : stop_(std::move(stop)) {
}

Token::Token(Token&& other) noexcept
    : stop_(std::exchange(other.stop_, nullptr)) {
}

Token& Token::operator=(Token&& other) noexcept {
    if (this != &other) {
        reset();
        stop_ = std::exchange(other.stop_, nullptr);
    }
    return *this;
}

Token::~Token() {
    reset();
}

void Token::reset() {
    // Emptied first: stopping may destroy the owner of this very token.
    if (auto stop = std::exchange(stop_, nullptr)) {
        stop();
    }
}

} // namespace ZorbelKit
