#pragma once

#include "Tests/Desktop/Desktop.hpp"

namespace Desktop {

/// The panel of the Xfce desktop with nothing but a tray, 32 pixels high and as wide as the screen. One in a
/// session: its settings are read once.
class RealPanel {
public:
    enum class Edge { top, bottom };

    explicit RealPanel(Edge edge = Edge::top);

    Program& program() { return *program_; }

    /// Asks it to end, and waits.
    bool end();

private:
    std::unique_ptr<Program> program_;
};

} // namespace Desktop
