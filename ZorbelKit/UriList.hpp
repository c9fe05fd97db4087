#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ZorbelKit {

/// How files and other things are written down in what programs hand to one another: a text/uri-list
/// (RFC 2483). All of it is bytes; paths need not be UTF-8.
namespace uris {

/// The lines of a list without their ends, comments and blank ones too.
std::vector<std::string_view> lines(std::string_view list);

/// What stands before the colon (RFC 3986); none where that is no scheme, as in a comment.
std::optional<std::string_view> scheme(std::string_view line);

/// Whether this is the scheme of files, in whatever case.
bool isFileScheme(std::string_view scheme);

/// A file as a URI names it.
struct File {
    std::string host; // empty where none is named
    std::string path; // absolute, decoded, without a slash at its end
    bool operator==(const File&) const = default;
};

/// None for a line that is no file's: another scheme, no absolute path, or one that no file can have. A
/// percent sign that begins no escape stands for itself, and a plus is a plus.
std::optional<File> file(std::string_view line);

} // namespace uris
} // namespace ZorbelKit
