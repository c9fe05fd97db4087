#pragma once

#include "Fotrel/Capture.hpp"

#include <string>
#include <string_view>
#include <vector>

namespace Fotrel {

/// What the spice and its views say, in UTF-8.

/// "Could not start screencapture. " and why, in the system's words.
std::string errorText(std::string_view why);

/// Lines as one text, a line feed between them.
std::string joined(const std::vector<std::string>& lines);

/// "Fotrel Nov 21, 2026, 9:56:07 PM.png". What no file's name can hold is replaced.
std::string saveName(std::string_view dateAndTime);

/// "Reading the text", "3 lines of text found" or "No text in this one".
std::string statusText(const Capture& capture);

/// When it was taken and its size in pixels: "14:02 · 1920 × 1080". `time`: the time of day as the user reads
/// it.
std::string detailText(const Capture& capture, std::string_view time);

/// What a screen reader says of its row.
std::string spokenText(const Capture& capture, std::string_view time);

/// Whether there is text to copy and to show.
bool hasText(const Capture& capture);

} // namespace Fotrel
