#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace Linux {

/// Where the user's own files lie, by the file user-dirs.dirs that desktops keep: XDG_DOWNLOAD_DIR and the
/// like, written as a shell would read them.
class UserFolders {
public:
    /// `text` of the file; empty where there is none. `home` is absolute.
    UserFolders(std::string_view text, const std::filesystem::path& home);

    /// The folder that is named there ("DOWNLOAD"), else `otherwise` in the home. None where the user has
    /// none: home itself is named then.
    std::optional<std::filesystem::path> folder(std::string_view key, const char* otherwise) const;

private:
    void read(std::string_view line);

    std::filesystem::path home_;
    std::map<std::string, std::filesystem::path, std::less<>> folders_;
};

} // namespace Linux
