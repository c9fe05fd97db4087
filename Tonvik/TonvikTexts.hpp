#pragma once

#include "Tonvik/Audio.hpp"

#include <optional>
#include <string>
#include <string_view>

namespace Tonvik {

/// The symbol that stands for a device, by its name among the program's drawings.
std::string_view symbolName(const AudioDevice& device);

/// The symbol of the button that mutes, or ends it.
std::string_view muteSymbolName(bool muted);

/// A device's name as one line, of bounded length: a device may call itself anything.
std::string nameText(const AudioDevice& device);

/// What a screen reader says of a device: "Desk speakers, USB, in use".
std::string spokenText(const AudioDevice& device);

/// A level as a whole percentage, truncated toward zero; a dash for none, and for what is no level.
std::string volumeText(const std::optional<float>& volume);

} // namespace Tonvik
