#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace Linux {

/// The installed programs as they were at one time, from the desktop files that launch them. Any thread.
class DesktopEntries {
public:
    struct Entry {
        std::string id;   // the file's name without its suffix: "org.gnome.gedit"
        std::string name; // for people; UTF-8, never empty
        std::string icon; // a file's path, or a name in the icon theme; empty where it has none
        bool operator==(const Entry&) const = default;
    };

    /// Reads them all. `folders` hold the desktop files, the most important first; `locale` chooses among the
    /// translations of a name ("de_AT", "sr@latin").
    DesktopEntries(std::vector<std::filesystem::path> folders, const std::string& locale);

    /// Whether its folders have stayed as they were read.
    bool isCurrent() const;

    /// The program whose windows are of this class: by the class its file announces (StartupWMClass), else by
    /// the file's name, else by the last part of such a name ("mousepad" of "org.xfce.mousepad"), else by the
    /// name of the executable. Both halves of a class may be asked for.
    std::optional<Entry> ofClass(std::string_view windowClass) const;

    /// The program with this id, upper or lower case.
    std::optional<Entry> withId(std::string_view id) const;

    /// Whether several folders have a file of this id, of which the most important counts.
    bool hasTwin(std::string_view id) const;

    /// The folders of the XDG base directories, as the environment names them.
    static std::vector<std::filesystem::path> standardFolders();

private:
    struct Launch {
        std::string id;
        bool hasOptions = false; // it starts a part of the program
    };

    void readFolder(const std::filesystem::path& folder);
    void readFile(const std::filesystem::path& file);
    void keepExecutable(const std::string& id, std::string_view command);

    std::vector<std::filesystem::path> folders_;
    std::vector<std::string> suffixes_; // of the keys with a translation, the best first
    std::vector<std::optional<std::filesystem::file_time_type>> changed_; // each folder
    std::map<std::string, Entry, std::less<>> byId_;                      // in lower case
    std::set<std::string, std::less<>> twins_;                            // ids in lower case
    // To ids, all in lower case.
    std::map<std::string, std::string, std::less<>> byClass_; // from StartupWMClass
    std::map<std::string, std::string, std::less<>> byPart_;  // from the last part of an id
    std::map<std::string, Launch, std::less<>> byExecutable_; // from the name of a file
};

} // namespace Linux
