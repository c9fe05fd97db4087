#include "Platforms/Linux/DesktopFile.hpp"
#include "Platforms/Linux/RegularFile.hpp"
#include "Platforms/Linux/Storage/FolderEntries.hpp"
#include "Platforms/Linux/Storage/Identifiers.hpp"
#include "Platforms/Linux/Storage/InstalledSources.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>

namespace Linux {

namespace fs = std::filesystem;

namespace {

constexpr int deepest = 8;                     // folders of launchers within one another
constexpr std::size_t longestFile = 262'144;   // bytes that are read of a file: enough for what counts here
constexpr std::size_t mostBytes = 128'000'000; // of all files together

/// Reads what lies in one sort of folder.
class DesktopFileReader {
public:
    explicit DesktopFileReader(InstalledNames& names)
        : names_(names) {}

    /// Launchers, also in folders below. The identifier of one is its path, with dashes.
    void addLaunchers(const fs::path& folder, const std::string& prefix = {}, int depth = 0) {
        if (depth == deepest || !seen_.isNew(folder)) {
            return;
        }
        forEachEntry(folder, [&](const fs::directory_entry& entry) {
            const std::string name = entry.path().filename().string();
            if (name.ends_with(".desktop")) {
                names_.addIdentifier(name);
                names_.addIdentifier(prefix + name);
                addKeys(entry.path());
            } else if (isFolder(entry)) {
                addLaunchers(entry.path(), prefix + name + '-', depth + 1);
            }
        });
    }

    /// Files in which keys name a program, by what their own names end in.
    void addKeyFiles(const fs::path& folder, std::string_view suffix) {
        forEachEntry(folder, [&](const fs::directory_entry& entry) {
            const std::string name = entry.path().filename().string();
            if (name.ends_with(suffix)) {
                names_.addIdentifier(name.substr(0, name.size() - suffix.size()));
                addKeys(entry.path());
            }
        });
    }

    /// Files whose own names begin with those of programs.
    void addNamed(const fs::path& folder, std::string_view suffix) {
        forEachEntry(folder, [&](const fs::directory_entry& entry) {
            const std::string name = entry.path().filename().string();
            if (name.ends_with(suffix)) {
                names_.addIdentifier(name.substr(0, name.size() - suffix.size()));
            }
        });
    }

    /// Whatever is called like a program, with one of these suffixes or as it is.
    void addIdentifiers(const fs::path& folder) {
        forEachEntry(folder, [&](const fs::directory_entry& entry) {
            const fs::path file = entry.path().filename();
            std::string_view name = file.native();
            for (const std::string_view suffix : {".policy", ".svg", ".png", ".conf", "-symbolic"}) {
                name.remove_suffix(name.ends_with(suffix) ? suffix.size() : 0);
            }
            if (looksLikeIdentifier(name)) {
                names_.addIdentifier(name);
            }
        });
    }

    /// Descriptions for program centres.
    void addDescriptions(const fs::path& folder) {
        forEachEntry(folder, [&](const fs::directory_entry& entry) {
            const fs::path file = entry.path().filename();
            std::string_view name = file.native();
            if (!name.ends_with(".xml")) {
                return;
            }
            for (const std::string_view suffix : {".xml", ".metainfo", ".appdata"}) {
                name.remove_suffix(name.ends_with(suffix) ? suffix.size() : 0);
            }
            names_.addIdentifier(name);
            const std::string text = read(entry.path());
            for (const std::string_view tag : {"<id", "<launchable", "<binary", "<dbus", "<pkgname"}) {
                addTagged(text, tag);
            }
        });
    }

private:
    std::string read(const fs::path& file) {
        const std::size_t most = std::min(longestFile, bytesLeft_);
        std::string text = most > 0 ? readRegularFile(file.string(), most).value_or("") : "";
        bytesLeft_ -= text.size();
        return text;
    }

    void addKeys(const fs::path& file) {
        const std::string text = read(file);
        forEachDesktopKey(text, [&](const DesktopKey& key) {
            if (key.name == "Exec" || key.name == "TryExec") {
                addCommand(commandWords(desktopString(key.value)), names_);
            } else if (key.name == "ExecStart") {
                const auto begin = std::min(key.value.find_first_not_of("-@:+!"), key.value.size());
                addCommand(commandWords(key.value.substr(begin)), names_);
            } else if (key.name == "Icon") {
                names_.addProgram(iconName(desktopString(key.value)));
            } else if (key.name == "StartupWMClass" || key.name == "X-Flatpak" || key.name == "BusName" ||
                       key.name == "X-SnapInstanceName" || key.name == "SystemdService") {
                names_.addIdentifier(desktopString(key.value));
            } else if (key.name == "Name") {
                // Of a launcher it is for people, of a service of the bus it is the identifier.
                const std::string name = desktopString(key.value);
                key.group == "Desktop Entry" ? names_.addProgram(name) : names_.addIdentifier(name);
            } else if (key.name == "X-Flatpak-RenamedFrom") {
                addList(desktopString(key.value));
            }
        });
    }

    /// "a;b;"
    void addList(std::string_view list) {
        while (!list.empty()) {
            const std::string_view item = list.substr(0, list.find(';'));
            names_.addIdentifier(item);
            list.remove_prefix(std::min(item.size() + 1, list.size()));
        }
    }

    /// Of a name in the icon theme, or of a file.
    static std::string iconName(std::string icon) {
        icon.erase(0, icon.rfind('/') + 1); // past the end of none is nothing
        for (const std::string_view suffix : {".png", ".svg", ".xpm", ".ico"}) {
            if (icon.ends_with(suffix)) {
                return icon.substr(0, icon.size() - suffix.size());
            }
        }
        return icon;
    }

    /// What stands between this tag, with attributes or without, and the next one.
    void addTagged(std::string_view text, std::string_view tag) {
        constexpr std::string_view blanks = " \t\r\n";
        for (auto at = text.find(tag); at != std::string_view::npos; at = text.find(tag, at)) {
            const auto begin = text.find('>', at);
            const auto end = begin == std::string_view::npos ? begin : text.find('<', begin);
            if (end == std::string_view::npos) {
                return;
            }
            std::string_view content = text.substr(begin + 1, end - begin - 1);
            content.remove_prefix(std::min(content.find_first_not_of(blanks), content.size()));
            names_.addIdentifier(content.substr(0, content.find_last_not_of(blanks) + 1));
            at = end;
        }
    }

    InstalledNames& names_;
    SeenFolders seen_;
    std::size_t bytesLeft_ = mostBytes;
};

/// What packages bring along under the names of their programs. In home such things outlive them.
void addSystemFiles(const StorageLayout& layout, DesktopFileReader& reader) {
    for (const char* folder :
         {"/usr/lib", "/usr/lib64", "/usr/libexec", "/usr/local/lib", "/usr/local/libexec",
          "/usr/local/share", "/usr/share", "/usr/share/dbus-1/system.d",
          "/usr/share/icons/hicolor/48x48/apps", "/usr/share/icons/hicolor/128x128/apps",
          "/usr/share/icons/hicolor/256x256/apps", "/usr/share/icons/hicolor/512x512/apps",
          "/usr/share/icons/hicolor/scalable/apps", "/usr/share/icons/hicolor/symbolic/apps",
          "/usr/share/polkit-1/actions"}) {
        reader.addIdentifiers(layout.inside(folder));
    }
}

} // namespace

void addDesktopFiles(const StorageLayout& layout, InstalledNames& names) {
    DesktopFileReader reader(names);
    std::vector<fs::path> configs = layout.listed("XDG_CONFIG_DIRS");
    configs.insert(configs.end(), {"/etc/xdg", layout.configFolder()});
    for (const fs::path& folder : configs) {
        reader.addLaunchers(layout.inside(folder / "autostart"));
    }
    reader.addLaunchers(layout.inside(layout.inHome("Desktop")));
    SeenFolders seen;
    for (const fs::path& folder : dataFolders(layout)) {
        if (!seen.isNew(folder)) {
            continue;
        }
        for (const char* launchers : {"applications", "xsessions", "wayland-sessions"}) {
            reader.addLaunchers(folder / launchers);
        }
        for (const char* services : {"dbus-1/services", "dbus-1/system-services"}) {
            reader.addKeyFiles(folder / services, ".service");
        }
        for (const char* descriptions : {"metainfo", "appdata"}) {
            reader.addDescriptions(folder / descriptions);
        }
        reader.addNamed(folder / "glib-2.0/schemas", ".gschema.xml");
        reader.addKeyFiles(folder / "systemd/user", ".service");
    }
    for (const fs::path& units : {layout.configFolder() / "systemd/user", fs::path("/etc/systemd/user"),
                                  fs::path("/usr/lib/systemd/user")}) {
        reader.addKeyFiles(layout.inside(units), ".service");
    }
    for (const char* hosts :
         {"/usr/lib/mozilla/native-messaging-hosts", "/etc/opt/chrome/native-messaging-hosts",
          "/etc/chromium/native-messaging-hosts"}) {
        reader.addNamed(layout.inside(hosts), ".json");
    }
    reader.addNamed(layout.inside(layout.inHome(".mozilla/native-messaging-hosts")), ".json");
    addSystemFiles(layout, reader);
}

} // namespace Linux
