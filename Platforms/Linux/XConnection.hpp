#pragma once

struct xcb_connection_t;

namespace Linux {

/// The toolkit's own connection to the X server; null where it runs on something else.
xcb_connection_t* xConnection();

/// The number of a name on the X server; 0 where it could not be asked. Waits for the server.
unsigned int xAtom(xcb_connection_t* connection, const char* name);

/// Whether a compositing manager runs, so that windows may have soft edges.
bool isComposited();

} // namespace Linux
