#pragma once

#include "ZorbelKit/Host/Defaults.hpp"

#include <map>
#include <variant>

namespace Simulated {

/// Settings in memory; counts the writes.
class SimulatedDefaults : public ZorbelKit::Defaults {
public:
    using Value = std::variant<bool, std::int64_t, double, std::string, Data>;

    std::optional<bool> boolean(std::string_view key) const override { return read<bool>(key); }
    std::optional<std::int64_t> integer(std::string_view key) const override {
        return read<std::int64_t>(key);
    }
    std::optional<double> number(std::string_view key) const override {
        if (const auto whole = read<std::int64_t>(key)) {
            return static_cast<double>(*whole);
        }
        return read<double>(key);
    }
    std::optional<std::string> string(std::string_view key) const override { return read<std::string>(key); }
    std::optional<Data> data(std::string_view key) const override { return read<Data>(key); }

    void setBoolean(std::string_view key, bool value) override { write(key, value); }
    void setInteger(std::string_view key, std::int64_t value) override { write(key, value); }
    void setNumber(std::string_view key, double value) override { write(key, value); }
    void setString(std::string_view key, const std::string& value) override { write(key, value); }
    void setData(std::string_view key, const Data& value) override { write(key, value); }
    void remove(std::string_view key) override {
        ++writes_;
        if (const auto found = values_.find(key); found != values_.end()) {
            values_.erase(found);
        }
    }

    bool has(std::string_view key) const { return values_.find(key) != values_.end(); }
    int writes() const { return writes_; }
    const std::map<std::string, Value, std::less<>>& values() const { return values_; }

private:
    template <class T>
    std::optional<T> read(std::string_view key) const {
        const auto found = values_.find(key);
        const T* value = found == values_.end() ? nullptr : std::get_if<T>(&found->second);
        return value ? std::optional<T>(*value) : std::nullopt;
    }
    void write(std::string_view key, Value value) {
        ++writes_;
        values_.insert_or_assign(std::string(key), std::move(value));
    }

    std::map<std::string, Value, std::less<>> values_;
    int writes_ = 0;
};

} // namespace Simulated
