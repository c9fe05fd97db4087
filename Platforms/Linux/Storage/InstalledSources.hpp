#pragma once

#include "Platforms/Linux/Storage/InstalledNames.hpp"
#include "Platforms/Linux/Storage/StorageLayout.hpp"

#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Linux {

/// Where the names of installed programs are found. Each adds what it knows; what cannot be read is passed
/// over, and no file is read beyond its first megabyte.

/// Of the files that programs bring along for the desktop: launchers, also those that are hidden or start
/// with the session, services of the message bus and of the session, descriptions, and settings.
void addDesktopFiles(const StorageLayout& layout, InstalledNames& names);

/// Of the package databases that can be read without a tool, of Flatpaks and of Snaps.
void addPackages(const StorageLayout& layout, InstalledNames& names);

/// Of the executables on the path, and of what has been put into folders for programs by hand.
void addExecutables(const StorageLayout& layout, InstalledNames& names);

/// Of the programs and games of Wine and Steam, and of what else installs them.
void addForeignPrograms(const StorageLayout& layout, InstalledNames& names);

/// Of all that runs.
void addRunningPrograms(const StorageLayout& layout, InstalledNames& names);

/// Of a command: what it starts, also by way of a wrapper, and the identifiers it names.
void addCommand(std::span<const std::string> words, InstalledNames& names);

/// Of a file's path: its name, and the names of folders that tell of the program it belongs to.
void addProgramPath(std::string_view path, InstalledNames& names);

/// Whether a command is one that starts others: an interpreter or a wrapper.
bool startsOthers(std::string_view path);

/// Everything.
InstalledNames installedNames(const StorageLayout& layout);

/// The folders for programs' data, as "/usr/share", that may be there; really lying where they are said to.
std::vector<std::filesystem::path> dataFolders(const StorageLayout& layout);

/// Where Flatpaks are installed, by the system and by the user.
std::vector<std::filesystem::path> flatpakFolders(const StorageLayout& layout);

} // namespace Linux
