#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Linux {

/// Names of the installed programs, from the desktop files that launch them. Any thread, one at a time.
class DesktopEntries {
public:
    /// `folders` hold the desktop files, the most important first; `locale` chooses among the translations of
    /// a name ("de_AT", "sr@latin").
    DesktopEntries(std::vector<std::filesystem::path> folders, std::string locale);

    /// The name of the program whose windows are of this class: by the file's own name, else by the class the
    /// file announces (StartupWMClass). Both halves of a class may be asked for. Looks into the folders again
    /// only when one of them has changed.
    std::optional<std::string> nameOfClass(std::string_view windowClass);

    /// The folders of the XDG base directories, as the environment names them.
    static std::vector<std::filesystem::path> standardFolders();

private:
    void readAgainIfChanged();
    void readFolder(const std::filesystem::path& folder);
    void readFile(const std::filesystem::path& file);

    const std::vector<std::filesystem::path> folders_;
    const std::string locale_;
    std::vector<std::optional<std::filesystem::file_time_type>> changed_; // of each folder, when last read
    std::map<std::string, std::string, std::less<>> byId_;    // file name without its suffix, lower case
    std::map<std::string, std::string, std::less<>> byClass_; // StartupWMClass, lower case
};

} // namespace Linux
