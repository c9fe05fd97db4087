#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Linux {

/// Whether a name looks like that of a program: two parts or more of letters, digits, '_' and '-' between
/// dots, the first a well-known top-level label, none a number or a version. Three parts or more where the
/// first is a country's label or an everyday word ("my.documents", "app.data"). The last is neither the
/// suffix of a file's name nor the mark of a copy.
bool looksLikeIdentifier(std::string_view name);

/// Whether a desktop keeps there, among the data or the configuration of all programs, what belongs to no
/// program alone.
bool isDesktopName(std::string_view name);

/// The names that desktops use there, as they are written.
const std::vector<std::string_view>& sharedNames();

/// Whether it is a program that installs and runs those of others, which are not known.
bool runsOtherPrograms(std::string_view name);

/// Whether it is this program's.
bool isOwnName(std::string_view name);

/// The parts between the dots.
std::vector<std::string_view> labels(std::string_view name);

/// The first labels that all programs of one vendor share: two, or three where the first two are those of a
/// place where anybody keeps programs ("io.github.someone"). Empty where there are fewer. `name` is in lower
/// case.
std::string_view vendorOf(std::string_view name);

/// Whether it says nothing of which program it is: "app", "desktop". In lower case.
bool isGenericLabel(std::string_view label);

/// A program's name as it can be compared however it was written: in lower case, without blanks, '-', '_' and
/// '.' between its parts, nor the suffix of an executable.
std::string comparable(std::string_view name);

/// The same without what follows the name: a version, a platform, "app" or "desktop".
/// "Obsidian-1.5.3-x86_64.AppImage" is "obsidian".
std::string comparableStem(std::string_view name);

} // namespace Linux
