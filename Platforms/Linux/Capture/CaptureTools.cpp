#include "Platforms/Linux/Capture/CaptureTools.hpp"

namespace Linux {

Fotrel::CaptureTool x11CaptureTool() {
    return {.executable = "maim",
            .region = {"-m", "1", "-u", "-s"},
            .window = {"-m", "1", "-u", "-s"},
            .screen = {"-m", "1", "-u"}};
}

Fotrel::CaptureTool waylandCaptureTool() {
    return {};
}

Fotrel::CaptureTool captureTool() {
    return x11CaptureTool();
}

} // namespace Linux
