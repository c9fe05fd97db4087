#pragma once

#include "Fotrel/CaptureTool.hpp"

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace Linux {

/// The programs that take pictures of an X server's screens: maim, and slop to select with. What cannot be
/// had without slop, xprop and xwininfo is left out: maim selects by itself, a window's shadow stays.
Fotrel::CaptureTool x11CaptureTool();

/// Those of a Wayland compositor that lets them: grim, and slurp to select with.
Fotrel::CaptureTool waylandCaptureTool();

/// A value of the process environment; none where the variable is not set.
using EnvironmentValue = std::function<std::optional<std::string>(std::string_view name)>;

/// Whether the user has a program of this name.
using IsInstalled = std::function<bool(std::string_view program)>;

/// The one for a session with this environment. A program that is missing stands in its place: starting it
/// tells the user which.
Fotrel::CaptureTool captureTool(const EnvironmentValue& environment, const IsInstalled& isInstalled);

/// The one for the session that this process belongs to.
Fotrel::CaptureTool captureTool();

} // namespace Linux
