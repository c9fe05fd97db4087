#pragma once

#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>

namespace Linux {

/// What the X server sends, freed as the library wants it.
template <class Sent>
using FromServer = std::unique_ptr<Sent, decltype(&std::free)>;

template <class Sent>
FromServer<Sent> owned(Sent* sent) {
    return {sent, &std::free};
}

using XEvent = FromServer<xcb_generic_event_t>;

/// An event as what its type says it is.
template <class Kind>
const Kind& as(const xcb_generic_event_t& event) {
    return reinterpret_cast<const Kind&>(event);
}

/// Ends a connection.
struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};

} // namespace Linux
