#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace Linux {

/// The targets that mark a content as secret, or not meant to be kept.
std::span<const std::string_view> secretMarks();

/// Whether one of the targets says that the content is secret, or not meant to be kept. Their presence
/// decides: senders disagree about what to write in them.
bool isMarkedSecret(std::span<const std::string> targets);

/// The target to ask for URLs; none where none is offered.
std::optional<std::string_view> urlTarget(std::span<const std::string> targets);

/// The target to ask for plain text; none where none is offered.
std::optional<std::string_view> textTarget(std::span<const std::string> targets);

/// A text as it came over the wire, as valid UTF-8: Latin-1 where the target says so, repaired where it is
/// broken, without the NULs some programs put at its end.
std::string decodedText(std::string_view target, std::string bytes);

/// A text (UTF-8) in Latin-1, with "?" for what has no place there.
std::string latin1(std::string_view text);

} // namespace Linux
