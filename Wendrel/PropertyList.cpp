#include "Wendrel/PropertyList.hpp"

#include <algorithm>
#include <utility>

namespace Wendrel {

PropertyList& PropertyList::set(std::string name, Value value) {
    const auto found = std::ranges::find(entries_, name, &Entry::name);
    if (found == entries_.end()) {
        entries_.push_back({std::move(name), std::move(value)});
    } else {
        found->value = std::move(value);
    }
    return *this;
}

std::optional<std::int64_t> PropertyList::integer(std::string_view name) const {
    const auto* value = std::get_if<std::int64_t>(find(name));
    return value ? std::optional(*value) : std::nullopt;
}

std::optional<bool> PropertyList::boolean(std::string_view name) const {
    const auto* value = std::get_if<bool>(find(name));
    return value ? std::optional(*value) : std::nullopt;
}

std::optional<std::string> PropertyList::text(std::string_view name) const {
    const auto* value = std::get_if<std::string>(find(name));
    return value ? std::optional(*value) : std::nullopt;
}

const PropertyList* PropertyList::list(std::string_view name) const {
    return std::get_if<PropertyList>(find(name));
}

bool PropertyList::operator==(const PropertyList& other) const {
    return entries_ == other.entries_;
}

const PropertyList::Value* PropertyList::find(std::string_view name) const {
    const auto found = std::ranges::find(entries_, name, &Entry::name);
    return found == entries_.end() ? nullptr : &found->value;
}

} // namespace Wendrel
