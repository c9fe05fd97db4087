#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace Wendrel {

/// Named values as a system reports them; a list may hold lists. A value of another kind than asked for
/// counts as missing.
class PropertyList {
public:
    using Value = std::variant<bool, std::int64_t, double, std::string, PropertyList>;

    /// Replaces what has this name.
    PropertyList& set(std::string name, Value value);

    std::optional<std::int64_t> integer(std::string_view name) const;
    std::optional<bool> boolean(std::string_view name) const;
    std::optional<std::string> text(std::string_view name) const; // UTF-8
    const PropertyList* list(std::string_view name) const;        // null where there is none

    bool operator==(const PropertyList& other) const;

private:
    struct Entry;

    const Value* find(std::string_view name) const;

    std::vector<Entry> entries_;
};

struct PropertyList::Entry {
    std::string name;
    Value value;
    bool operator==(const Entry&) const = default;
};

} // namespace Wendrel
