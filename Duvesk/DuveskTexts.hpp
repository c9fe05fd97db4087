#pragma once

#include "Duvesk/Finding.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace Duvesk {

class DuveskSpice;

/// What the views say of what was found, in UTF-8.

/// The name of the file or folder, in one line; bytes that are no text are replaced. Where a name is nothing
/// but white space, all of the path.
std::string titleText(const Finding& finding);

/// Where it lies, with its name, in one line.
std::string pathText(const Finding& finding);

/// The same for a tool tip, with places at which so long a word may be broken.
std::string tipText(const Finding& finding);

/// What a screen reader says after the title: "Cache for com.example.maps, 1.2 GB".
std::string detailText(const Finding& finding);

/// "3 findings", also for one.
std::string findingsText(std::size_t count);

/// "Scan this Mac", or "Scanning" while a scan runs.
std::string scanText(bool isScanning);

/// "Moved 1.2 GB to the Trash"; empty where nothing was.
std::string movedText(std::int64_t bytes);

/// "1.2 GB selected".
std::string selectedText(std::int64_t bytes);

/// What a tab is called: the kind it shows, or "Everything".
std::string tabText(std::optional<Kind> kind);

/// The sum of what a tab shows, in bytes.
std::int64_t tabTotal(const DuveskSpice& spice, std::optional<Kind> kind);

} // namespace Duvesk
