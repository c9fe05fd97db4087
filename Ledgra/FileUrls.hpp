#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace Ledgra {

/// What is dragged, as text/uri-list (RFC 2483). Paths are bytes.

/// The files of this machine that a list names, in its order, repeats included. Anything else in it is left
/// out: other schemes and hosts, and what no file can be called. `hostName`: of this machine.
std::vector<std::filesystem::path> filesInList(std::string_view uriList, std::string_view hostName);

/// The list that names these files. Whatever could be misread is escaped.
std::string uriList(const std::vector<std::filesystem::path>& files);

} // namespace Ledgra
