#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ZorbelKit {

/// The user's settings: typed values under dotted keys. A read yields none where nothing is stored or where
/// the stored value is of another type. A write holds at once for every later read; storing it may take a
/// moment and never fails loudly. Main thread only.
class Defaults {
public:
    using Data = std::vector<std::uint8_t>;

    virtual ~Defaults() = default;

    virtual std::optional<bool> boolean(std::string_view key) const = 0;
    virtual std::optional<std::int64_t> integer(std::string_view key) const = 0;
    virtual std::optional<double> number(std::string_view key) const = 0; // an integer reads as a number too
    virtual std::optional<std::string> string(std::string_view key) const = 0;
    virtual std::optional<Data> data(std::string_view key) const = 0;

    virtual void setBoolean(std::string_view key, bool value) = 0;
    virtual void setInteger(std::string_view key, std::int64_t value) = 0;
    virtual void setNumber(std::string_view key, double value) = 0;
    virtual void setString(std::string_view key, const std::string& value) = 0;
    virtual void setData(std::string_view key, const Data& value) = 0;
    virtual void remove(std::string_view key) = 0;
};

} // namespace ZorbelKit
