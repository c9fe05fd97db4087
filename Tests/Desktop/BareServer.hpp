#pragma once

#include "Tests/Desktop/Desktop.hpp"

#include <string>

namespace Desktop {

/// Another X server than the session's, without a window manager.
class BareServer {
public:
    BareServer();

    const char* display() const { return display_.c_str(); }

    /// Ends it by this signal, and waits for that.
    void end(int signal);

private:
    std::string number();

    Program server_;
    std::string display_;
};

} // namespace Desktop
