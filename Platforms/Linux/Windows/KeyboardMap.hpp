#pragma once

#include "Platforms/Linux/XReply.hpp"

#include <cstdint>
#include <string_view>
#include <vector>

namespace Linux {

/// Where keys are on the keyboard of an X server, and which of its modifiers mean what. As of the moment it
/// was read.
class KeyboardMap {
public:
    explicit KeyboardMap(xcb_connection_t* connection);

    /// The symbol of a key's name: "A" to "Z", "Left", "Return"; XCB_NO_SYMBOL for any other.
    static xcb_keysym_t symbol(std::string_view key);

    /// The keys that give the symbol without a modifier: in the first layout, else in the second one. A
    /// letter is looked for further on where neither has it, as on a Greek keyboard beside two others.
    std::vector<xcb_keycode_t> keys(xcb_keysym_t symbol) const;

    std::uint16_t alt() const { return alt_; }

    /// Every combination of Caps Lock, Num Lock and Scroll Lock, none of them first.
    std::vector<std::uint16_t> locks() const;

private:
    void readSymbols(const xcb_get_keyboard_mapping_reply_t& reply);
    void readModifiers(const xcb_get_modifier_mapping_reply_t& reply);
    std::uint16_t modifierOf(const xcb_get_modifier_mapping_reply_t& reply,
                             std::initializer_list<xcb_keysym_t> symbols) const;
    xcb_keysym_t at(std::size_t key, std::size_t column) const { return symbols_[key * columns_ + column]; }

    xcb_keycode_t first_ = 0;
    std::size_t columns_ = 0; // symbols of a key; layouts and their levels, two by two
    std::vector<xcb_keysym_t> symbols_;
    std::uint16_t alt_ = XCB_MOD_MASK_1;
    std::uint16_t numLock_ = 0;
    std::uint16_t scrollLock_ = 0;
};

} // namespace Linux
