#include "Tests/Desktop/BareServer.hpp"

#include <gtest/gtest.h>

#include <sstream>

namespace Desktop {

BareServer::BareServer()
    : server_({"Xvfb", "-displayfd", "1", "-screen", "0", "800x600x24", "-nolisten", "tcp", "-noreset"}) {
    EXPECT_TRUE(until([this] { return !(display_ = number()).empty(); })) << server_.output();
    display_ = ":" + display_;
}

void BareServer::end(int signal) {
    server_.send(signal);
    EXPECT_TRUE(server_.waitForEnd());
}

/// Of its display: a whole line of digits among whatever else it has to say.
std::string BareServer::number() {
    std::istringstream lines(server_.output());
    for (std::string line; std::getline(lines, line) && !lines.eof();) {
        if (!line.empty() && line.find_first_not_of("0123456789") == std::string::npos) {
            return line;
        }
    }
    return {};
}

} // namespace Desktop
