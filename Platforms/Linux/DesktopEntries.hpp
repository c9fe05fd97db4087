#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Linux {

/// The installed programs, from the desktop files that launch them. Any thread, one at a time.
class DesktopEntries {
public:
    struct Entry {
        std::string id;   // the file's name without its suffix: "org.gnome.gedit"
        std::string name; // for people; UTF-8, never empty
        std::string icon; // a file's path, or a name in the icon theme; empty where it has none
        bool operator==(const Entry&) const = default;
    };

    /// `folders` hold the desktop files, the most important first; `locale` chooses among the translations of
    /// a name ("de_AT", "sr@latin").
    DesktopEntries(std::vector<std::filesystem::path> folders, std::string locale);

    /// The program whose windows are of this class: by the class its file announces (StartupWMClass), else by
    /// the file's own name. Both halves of a class may be asked for. Looks into the folders again only when
    /// one of them has changed.
    std::optional<Entry> ofClass(std::string_view windowClass);

    /// The program with this id, upper or lower case.
    std::optional<Entry> withId(std::string_view id);

    /// The folders of the XDG base directories, as the environment names them.
    static std::vector<std::filesystem::path> standardFolders();

private:
    void readAgainIfChanged();
    void readFolder(const std::filesystem::path& folder);
    void readFile(const std::filesystem::path& file);

    const std::vector<std::filesystem::path> folders_;
    const std::string locale_;
    std::vector<std::optional<std::filesystem::file_time_type>> changed_; // of each folder, when last read
    std::map<std::string, Entry, std::less<>> byId_;                      // in lower case
    std::map<std::string, std::string, std::less<>> byClass_; // from StartupWMClass to id, both in lower case
};

} // namespace Linux
