#pragma once

#include "Duvesk/Finding.hpp"

#include <cstddef>
#include <cstdint>
#include <string>

namespace Duvesk {

/// What the views say of what was found, in UTF-8.

/// The name of the file or folder, in one line; bytes that are no text are replaced.
std::string titleText(const Finding& finding);

/// Where it lies, with its name, in one line.
std::string pathText(const Finding& finding);

/// "3 findings", also for one.
std::string findingsText(std::size_t count);

} // namespace Duvesk
