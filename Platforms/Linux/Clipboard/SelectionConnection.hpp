#pragma once

#include "Platforms/Linux/XReply.hpp"

#include <xcb/xcb.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Linux {

/// The names that the selection is talked about with.
enum class SelectionName : std::size_t {
    atomPair,
    clipboard,
    clipboardManager,
    imagePng,
    incr,
    multiple,
    null,
    saveTargets,
    targets,
    text,
    textPlain,
    textPlainUtf8,
    timestamp,
    utf8String,
    handover, // of our own: the property for the answer of the clipboard manager
    moment,   // of our own: the property whose change tells the server's time
    count
};

/// A property of a window, as far as it was read.
struct SelectionProperty {
    xcb_atom_t type = XCB_ATOM_NONE;
    std::uint8_t format = 0; // bits
    std::string bytes;
    bool isTooLong = false; // there is more than was wanted

    std::vector<std::uint32_t> cardinals() const; // of one with format 32
};

/// A connection of our own to the X server that hears of every change of the CLIPBOARD selection, and the
/// window in whose name we own it. What is asked here waits for the server, never for another program.
/// One thread at a time.
class SelectionConnection {
public:
    /// `display`: none for the environment's. Null where it cannot be reached, or cannot tell of changes.
    /// Every change after the return is heard of.
    static std::unique_ptr<SelectionConnection> open(const std::optional<std::string>& display);

    SelectionConnection(const SelectionConnection&) = delete;
    SelectionConnection& operator=(const SelectionConnection&) = delete;
    ~SelectionConnection() = default;

    xcb_connection_t* get() const { return connection_.get(); }
    bool isLost() const { return xcb_connection_has_error(get()) != 0; }
    int descriptor() const { return xcb_get_file_descriptor(get()); }

    xcb_window_t window() const { return window_; }
    bool isOurs(xcb_window_t window) const; // whether it was made over this connection
    xcb_window_t makeWindow() const;        // never shown; tells of changes of its properties

    xcb_atom_t atom(SelectionName name) const { return atoms_[static_cast<std::size_t>(name)]; }
    std::vector<xcb_atom_t> atoms(std::span<const std::string_view> names) const;
    std::vector<std::string> names(std::span<const xcb_atom_t> atoms) const; // empty for one that is none

    /// The type of an event of the server's own; 0 for errors, and none for what another program made up.
    std::optional<std::uint8_t> typeOf(const xcb_generic_event_t& event) const;
    std::uint8_t ownerChangeType() const { return ownerChangeType_; } // xcb_xfixes_selection_notify_event_t

    xcb_window_t owner(SelectionName selection) const;

    /// A whole property, unless it is longer than so many bytes; deleted then, if that is wanted. None where
    /// there is none, or it changed while it was read.
    std::optional<SelectionProperty> take(xcb_window_t window, xcb_atom_t property, std::size_t longest,
                                          bool isDeleted = true) const;

    /// What a property is, without its content; the number of its bytes beside it.
    struct Outline {
        xcb_atom_t type = XCB_ATOM_NONE;
        std::size_t size = 0;
    };
    Outline outline(xcb_window_t window, xcb_atom_t property) const;

    void setCardinals(xcb_window_t window, xcb_atom_t property, xcb_atom_t type,
                      std::span<const std::uint32_t> values) const;
    void setBytes(xcb_window_t window, xcb_atom_t property, xcb_atom_t type, std::string_view bytes) const;
    void remove(xcb_window_t window, xcb_atom_t property) const;

    /// The server answers with a change of the property `moment` of our window, and its time.
    void askForTime() const;

    std::size_t longestRequest() const { return longestRequest_; } // bytes

private:
    using Connection = std::unique_ptr<xcb_connection_t, Disconnect>;

    SelectionConnection(Connection connection, xcb_window_t root)
        : connection_(std::move(connection))
        , root_(root) {}

    bool prepare();

    Connection connection_;
    xcb_window_t root_ = XCB_NONE;
    xcb_window_t window_ = XCB_NONE;
    std::array<xcb_atom_t, static_cast<std::size_t>(SelectionName::count)> atoms_{};
    std::uint8_t ownerChangeType_ = 0;
    std::size_t longestRequest_ = 0;
};

} // namespace Linux
