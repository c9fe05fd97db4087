#pragma once

#include <concepts>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>

/// Arithmetic that must not wrap. A result that does not fit stops the process: a wrong figure would be
/// worse.
namespace checked {

[[noreturn]] inline void fail(const char* what) {
    std::fprintf(stderr, "zorbel: arithmetic overflow in %s\n", what);
    std::abort();
}

template <std::integral T>
[[nodiscard]] T add(T left, T right) {
    T result{};
    if (__builtin_add_overflow(left, right, &result)) {
        fail("add");
    }
    return result;
}

/// The largest value there is where the sum does not fit. Neither may be negative.
template <std::integral T>
[[nodiscard]] T saturatingAdd(T left, T right) {
    T result{};
    return __builtin_add_overflow(left, right, &result) ? std::numeric_limits<T>::max() : result;
}

template <std::integral T>
[[nodiscard]] T multiply(T left, T right) {
    T result{};
    if (__builtin_mul_overflow(left, right, &result)) {
        fail("multiply");
    }
    return result;
}

/// Truncates toward zero; a value that is not finite or does not fit stops the process.
[[nodiscard]] inline std::int64_t toInt64(double value) {
    constexpr double limit = 9223372036854775808.0; // 2^63, the first double that does not fit
    if (!(value >= -limit && value < limit)) {
        fail("toInt64");
    }
    return static_cast<std::int64_t>(value);
}

} // namespace checked
