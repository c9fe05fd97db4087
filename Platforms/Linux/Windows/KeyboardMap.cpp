#include "Platforms/Linux/Windows/KeyboardMap.hpp"

#include <algorithm>
#include <array>
#include <optional>

namespace Linux {

namespace {

constexpr xcb_keysym_t altLeft = 0xFFE9;
constexpr xcb_keysym_t altRight = 0xFFEA;
constexpr xcb_keysym_t numLockSymbol = 0xFF7F;
constexpr xcb_keysym_t scrollLockSymbol = 0xFF14;

struct NamedSymbol {
    std::string_view name;
    xcb_keysym_t symbol;
};

constexpr std::array<NamedSymbol, 5> namedSymbols{
    {{"Left", 0xFF51}, {"Up", 0xFF52}, {"Right", 0xFF53}, {"Down", 0xFF54}, {"Return", 0xFF0D}}};

// Columns of the keyboard's map. What follows the second layout's are further levels and layouts.
constexpr std::size_t firstLayout = 0;
constexpr std::size_t secondLayout = 2;
constexpr std::size_t further = 4;

bool isLetter(xcb_keysym_t symbol) {
    return symbol >= 'a' && symbol <= 'z';
}

} // namespace

KeyboardMap::KeyboardMap(xcb_connection_t* connection) {
    const xcb_setup_t* setup = xcb_get_setup(connection);
    const auto count = static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1);
    first_ = setup->min_keycode;
    const auto symbols = xcb_get_keyboard_mapping(connection, first_, count);
    const auto modifiers = xcb_get_modifier_mapping(connection);
    const auto symbolsReply = owned(xcb_get_keyboard_mapping_reply(connection, symbols, nullptr));
    const auto modifiersReply = owned(xcb_get_modifier_mapping_reply(connection, modifiers, nullptr));
    if (symbolsReply && modifiersReply) {
        readSymbols(*symbolsReply);
        readModifiers(*modifiersReply);
    }
}

void KeyboardMap::readSymbols(const xcb_get_keyboard_mapping_reply_t& reply) {
    const xcb_keysym_t* begin = xcb_get_keyboard_mapping_keysyms(&reply);
    columns_ = reply.keysyms_per_keycode;
    symbols_.assign(begin, begin + xcb_get_keyboard_mapping_keysyms_length(&reply));
}

void KeyboardMap::readModifiers(const xcb_get_modifier_mapping_reply_t& reply) {
    const std::uint16_t alt = modifierOf(reply, {altLeft, altRight});
    alt_ = alt != 0 ? alt : alt_;
    numLock_ = modifierOf(reply, {numLockSymbol});
    scrollLock_ = modifierOf(reply, {scrollLockSymbol});
}

/// The bit of the first modifier with a key that has one of these symbols; 0 where there is none.
std::uint16_t KeyboardMap::modifierOf(const xcb_get_modifier_mapping_reply_t& reply,
                                      std::initializer_list<xcb_keysym_t> symbols) const {
    const xcb_keycode_t* codes = xcb_get_modifier_mapping_keycodes(&reply);
    const auto count = static_cast<std::size_t>(xcb_get_modifier_mapping_keycodes_length(&reply));
    for (std::size_t index = 0; index < count; ++index) {
        const std::size_t key = codes[index] - std::size_t{first_};
        const bool isKey = codes[index] >= first_ && (key + 1) * columns_ <= symbols_.size();
        for (std::size_t column = 0; isKey && column < columns_; ++column) {
            if (std::ranges::find(symbols, at(key, column)) != symbols.end()) {
                return static_cast<std::uint16_t>(1U << index / reply.keycodes_per_modifier);
            }
        }
    }
    return 0;
}

xcb_keysym_t KeyboardMap::symbol(std::string_view key) {
    if (key.size() == 1 && key[0] >= 'A' && key[0] <= 'Z') {
        return static_cast<xcb_keysym_t>(key[0] - 'A' + 'a');
    }
    const auto* found = std::ranges::find(namedSymbols, key, &NamedSymbol::name);
    return found == namedSymbols.end() ? xcb_keysym_t{XCB_NO_SYMBOL} : found->symbol;
}

std::vector<xcb_keycode_t> KeyboardMap::keys(xcb_keysym_t symbol) const {
    std::vector<std::size_t> columns{firstLayout, secondLayout};
    for (std::size_t column = further; isLetter(symbol) && column < columns_; ++column) {
        columns.push_back(column);
    }
    std::vector<xcb_keycode_t> found;
    for (const std::size_t column : columns) {
        for (std::size_t key = 0; column < columns_ && (key + 1) * columns_ <= symbols_.size(); ++key) {
            if (at(key, column) == symbol) {
                found.push_back(static_cast<xcb_keycode_t>(first_ + key));
            }
        }
        if (!found.empty()) {
            break;
        }
    }
    return found;
}

std::vector<std::uint16_t> KeyboardMap::locks() const {
    std::vector<std::uint16_t> combinations{0};
    for (const std::uint16_t lock : {std::uint16_t{XCB_MOD_MASK_LOCK}, numLock_, scrollLock_}) {
        const std::size_t count = lock != 0 ? combinations.size() : 0;
        for (std::size_t index = 0; index < count; ++index) {
            combinations.push_back(static_cast<std::uint16_t>(combinations[index] | lock));
        }
    }
    return combinations;
}

} // namespace Linux
