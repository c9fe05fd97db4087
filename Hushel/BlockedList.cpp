#include "Hushel/BlockedList.hpp"

#include <nlohmann/json.hpp>

#include <string>
#include <utility>

namespace Hushel {

using nlohmann::json;

namespace {

constexpr const char* identifierKey = "bundleID";
constexpr const char* nameKey = "name";

std::optional<Blocked> entryOf(const json& value) {
    if (!value.is_object()) {
        return std::nullopt;
    }
    const auto identifier = value.find(identifierKey);
    const auto name = value.find(nameKey);
    if (identifier == value.end() || name == value.end() || !identifier->is_string() || !name->is_string()) {
        return std::nullopt;
    }
    return Blocked{.bundleID = identifier->get<std::string>(), .name = name->get<std::string>()};
}

} // namespace

ZorbelKit::Defaults::Data encoded(const std::vector<Blocked>& list) {
    json entries = json::array();
    for (const Blocked& application : list) {
        entries.push_back(json{{identifierKey, application.bundleID}, {nameKey, application.name}});
    }
    // Programs name themselves: one name that is no UTF-8 must not cost the user the list.
    const std::string text = entries.dump(-1, ' ', false, json::error_handler_t::replace);
    return {text.begin(), text.end()};
}

std::optional<std::vector<Blocked>> decoded(const ZorbelKit::Defaults::Data& data) {
    const json entries = json::parse(data, nullptr, /*allow_exceptions=*/false);
    if (!entries.is_array()) {
        return std::nullopt;
    }
    std::vector<Blocked> list;
    list.reserve(entries.size());
    for (const json& value : entries) {
        std::optional<Blocked> entry = entryOf(value);
        if (!entry) {
            return std::nullopt;
        }
        list.push_back(std::move(*entry));
    }
    return list;
}

} // namespace Hushel
