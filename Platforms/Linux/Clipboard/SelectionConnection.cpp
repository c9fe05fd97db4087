#include "Platforms/Linux/Clipboard/SelectionConnection.hpp"

#include <xcb/xfixes.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace Linux {

namespace {

constexpr std::uint8_t sentBySomeone = 0x80;         // in an event's type: not the server's own word
constexpr std::uint32_t pieceWords = (1U << 20) / 4; // how much of a property is read at a time

constexpr std::array<std::string_view, static_cast<std::size_t>(SelectionName::count)> selectionNames{
    "ATOM_PAIR",
    "CLIPBOARD",
    "CLIPBOARD_MANAGER",
    "image/png",
    "INCR",
    "MULTIPLE",
    "NULL",
    "SAVE_TARGETS",
    "TARGETS",
    "TEXT",
    "text/plain",
    "text/plain;charset=utf-8",
    "TIMESTAMP",
    "UTF8_STRING",
    "_ZORBEL_SELECTION_HANDOVER",
    "_ZORBEL_SELECTION_MOMENT",
};

} // namespace

std::vector<std::uint32_t> SelectionProperty::cardinals() const {
    std::vector<std::uint32_t> values(bytes.size() / sizeof(std::uint32_t));
    if (!values.empty()) {
        std::memcpy(values.data(), bytes.data(), values.size() * sizeof(std::uint32_t));
    }
    return values;
}

std::unique_ptr<SelectionConnection> SelectionConnection::open(const std::optional<std::string>& display) {
    int screenNumber = 0;
    Connection connection(xcb_connect(display ? display->c_str() : nullptr, &screenNumber));
    if (xcb_connection_has_error(connection.get()) != 0) {
        return nullptr;
    }
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(connection.get()));
    for (int index = 0; index < screenNumber && screens.rem > 1; ++index) {
        xcb_screen_next(&screens);
    }
    const xcb_window_t root = screens.data->root;
    std::unique_ptr<SelectionConnection> result(new SelectionConnection(std::move(connection), root));
    return result->prepare() ? std::move(result) : nullptr;
}

bool SelectionConnection::prepare() {
    xcb_prefetch_extension_data(get(), &xcb_xfixes_id);
    xcb_prefetch_maximum_request_length(get());
    const auto found = atoms(selectionNames);
    std::ranges::copy(found, atoms_.begin());
    const xcb_query_extension_reply_t* fixes = xcb_get_extension_data(get(), &xcb_xfixes_id);
    if (!fixes || fixes->present == 0 || std::ranges::count(found, xcb_atom_t{XCB_ATOM_NONE}) != 0) {
        return false;
    }
    ownerChangeType_ = static_cast<std::uint8_t>(fixes->first_event + XCB_XFIXES_SELECTION_NOTIFY);
    longestRequest_ = std::size_t{xcb_get_maximum_request_length(get())} * 4;
    window_ = makeWindow();
    const auto version = xcb_xfixes_query_version(get(), 1, 0);
    xcb_xfixes_select_selection_input(get(), window_, atom(SelectionName::clipboard),
                                      XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE);
    const auto hasVersion = owned(xcb_xfixes_query_version_reply(get(), version, nullptr));
    static_cast<void>(owner(SelectionName::clipboard)); // once it answers, it has done all that was asked
    return hasVersion && !isLost();
}

bool SelectionConnection::isOurs(xcb_window_t window) const {
    const xcb_setup_t* setup = xcb_get_setup(get());
    return (window & ~setup->resource_id_mask) == setup->resource_id_base;
}

xcb_window_t SelectionConnection::makeWindow() const {
    const xcb_window_t window = xcb_generate_id(get());
    constexpr std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_create_window(get(), XCB_COPY_FROM_PARENT, window, root_, -1, -1, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &mask);
    return window;
}

std::vector<xcb_atom_t> SelectionConnection::atoms(std::span<const std::string_view> names) const {
    std::vector<xcb_intern_atom_cookie_t> cookies;
    for (const std::string_view name : names) {
        cookies.push_back(xcb_intern_atom(get(), 0, static_cast<std::uint16_t>(name.size()), name.data()));
    }
    std::vector<xcb_atom_t> result;
    for (const auto cookie : cookies) {
        const auto reply = owned(xcb_intern_atom_reply(get(), cookie, nullptr));
        result.push_back(reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE});
    }
    return result;
}

std::vector<std::string> SelectionConnection::names(std::span<const xcb_atom_t> atoms) const {
    std::vector<xcb_get_atom_name_cookie_t> cookies;
    for (const xcb_atom_t atom : atoms) {
        cookies.push_back(xcb_get_atom_name(get(), atom));
    }
    std::vector<std::string> result;
    for (const auto cookie : cookies) {
        const auto reply = owned(xcb_get_atom_name_reply(get(), cookie, nullptr));
        result.push_back(reply ? std::string(xcb_get_atom_name_name(reply.get()), reply->name_len)
                               : std::string());
    }
    return result;
}

std::optional<std::uint8_t> SelectionConnection::typeOf(const xcb_generic_event_t& event) const {
    const auto type = static_cast<std::uint8_t>(event.response_type & ~sentBySomeone);
    // Only this one is sent by other programs, as the answer to a request.
    if (type != event.response_type && type != XCB_SELECTION_NOTIFY) {
        return std::nullopt;
    }
    return type;
}

xcb_window_t SelectionConnection::owner(SelectionName selection) const {
    const auto reply =
        owned(xcb_get_selection_owner_reply(get(), xcb_get_selection_owner(get(), atom(selection)), nullptr));
    return reply ? reply->owner : xcb_window_t{XCB_WINDOW_NONE};
}

std::optional<SelectionProperty> SelectionConnection::take(xcb_window_t window, xcb_atom_t property,
                                                           std::size_t longest, bool isDeleted) const {
    SelectionProperty result;
    for (std::uint32_t offset = 0;;) {
        const auto reply =
            owned(xcb_get_property_reply(get(),
                                         xcb_get_property(get(), isDeleted, window, property,
                                                          XCB_GET_PROPERTY_TYPE_ANY, offset, pieceWords),
                                         nullptr));
        const bool isSame =
            offset == 0 || (reply && reply->type == result.type && reply->format == result.format);
        if (!reply || reply->type == XCB_ATOM_NONE || !isSame) {
            return std::nullopt;
        }
        result.type = reply->type;
        result.format = reply->format;
        const auto length = static_cast<std::size_t>(xcb_get_property_value_length(reply.get()));
        if (result.bytes.size() + length + reply->bytes_after > longest) {
            result.bytes = {};
            result.isTooLong = true;
            if (isDeleted) {
                remove(window, property);
            }
            return result;
        }
        result.bytes.append(static_cast<const char*>(xcb_get_property_value(reply.get())), length);
        if (reply->bytes_after == 0) {
            return result; // the server has deleted it with this last part
        }
        offset += pieceWords;
    }
}

SelectionConnection::Outline SelectionConnection::outline(xcb_window_t window, xcb_atom_t property) const {
    const auto reply = owned(xcb_get_property_reply(
        get(), xcb_get_property(get(), 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, 0), nullptr));
    return reply ? Outline{reply->type, reply->bytes_after} : Outline{};
}

void SelectionConnection::setCardinals(xcb_window_t window, xcb_atom_t property, xcb_atom_t type,
                                       std::span<const std::uint32_t> values) const {
    xcb_change_property(get(), XCB_PROP_MODE_REPLACE, window, property, type, 32,
                        static_cast<std::uint32_t>(values.size()), values.data());
}

void SelectionConnection::setBytes(xcb_window_t window, xcb_atom_t property, xcb_atom_t type,
                                   std::string_view bytes) const {
    xcb_change_property(get(), XCB_PROP_MODE_REPLACE, window, property, type, 8,
                        static_cast<std::uint32_t>(bytes.size()), bytes.data());
}

void SelectionConnection::remove(xcb_window_t window, xcb_atom_t property) const {
    xcb_delete_property(get(), window, property);
}

void SelectionConnection::askForTime() const {
    xcb_change_property(get(), XCB_PROP_MODE_APPEND, window_, atom(SelectionName::moment), XCB_ATOM_INTEGER,
                        32, 0, nullptr);
}

} // namespace Linux
