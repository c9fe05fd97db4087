#include "Platforms/Linux/DesktopEntries.hpp"

#include "Platforms/Linux/AsciiCase.hpp"
#include "Platforms/Linux/DesktopFile.hpp"
#include "Platforms/Linux/RegularFile.hpp"
#include "ZorbelKit/Utf8.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <system_error>
#include <utility>

namespace Linux {

namespace fs = std::filesystem;

namespace {

// Executables that start others: they tell of no program.
constexpr std::array<std::string_view, 12> launchers{"bash",         "dbus-launch", "env",  "flatpak",
                                                     "gapplication", "java",        "perl", "pkexec",
                                                     "python3",      "sh",          "snap", "wine"};

constexpr std::size_t longestFile = 1 << 20; // bytes; none that launches a program comes near

/// The locale's own spellings of a key's suffix, the best first: language_COUNTRY@MODIFIER,
/// language_COUNTRY, language@MODIFIER, language.
std::vector<std::string> suffixes(const std::string& locale) {
    const auto at = locale.find('@');
    const std::string modifier = at == std::string::npos ? "" : locale.substr(at);
    const std::string place = locale.substr(0, std::min(locale.find('.'), at));
    const std::string language = place.substr(0, place.find('_'));
    std::vector<std::string> found;
    for (const std::string& candidate : {place + modifier, place, language + modifier, language}) {
        if (!candidate.empty() && std::ranges::find(found, candidate) == found.end()) {
            found.push_back(candidate);
        }
    }
    return found;
}

void keepSmaller(std::string& known, const std::string& other) {
    if (known.empty() || other < known) {
        known = other;
    }
}

/// When each was changed last; none where there is no such folder.
std::vector<std::optional<fs::file_time_type>> timesOf(const std::vector<fs::path>& folders) {
    std::vector<std::optional<fs::file_time_type>> times;
    for (const fs::path& folder : folders) {
        std::error_code failure;
        const auto time = fs::last_write_time(folder, failure);
        times.push_back(failure ? std::nullopt : std::optional(time));
    }
    return times;
}

} // namespace

DesktopEntries::DesktopEntries(std::vector<fs::path> folders, const std::string& locale)
    : folders_(std::move(folders))
    , suffixes_(suffixes(locale))
    , changed_(timesOf(folders_)) { // before they are read: what changes meanwhile is seen the next time
    for (const fs::path& folder : folders_) {
        readFolder(folder);
    }
}

bool DesktopEntries::isCurrent() const {
    return timesOf(folders_) == changed_;
}

std::optional<DesktopEntries::Entry> DesktopEntries::ofClass(std::string_view windowClass) const {
    const std::string name = lowered(windowClass);
    if (const auto announced = byClass_.find(name); announced != byClass_.end()) {
        return withId(announced->second);
    }
    if (auto entry = withId(name)) {
        return entry;
    }
    if (const auto part = byPart_.find(name); part != byPart_.end()) {
        return withId(part->second);
    }
    const auto launch = byExecutable_.find(name);
    return launch == byExecutable_.end() ? std::nullopt : withId(launch->second.id);
}

std::optional<DesktopEntries::Entry> DesktopEntries::withId(std::string_view id) const {
    const auto found = byId_.find(lowered(id));
    return found == byId_.end() ? std::nullopt : std::optional(found->second);
}

bool DesktopEntries::hasTwin(std::string_view id) const {
    return twins_.contains(lowered(id));
}

std::vector<fs::path> DesktopEntries::standardFolders() {
    const auto value = [](const char* name, const std::string& otherwise) {
        const char* found = std::getenv(name);
        return found && *found ? std::string(found) : otherwise;
    };
    const std::string home = value("HOME", "");
    std::string all = value("XDG_DATA_HOME", home.empty() ? "" : home + "/.local/share");
    all += ':';
    all += value("XDG_DATA_DIRS", "/usr/local/share:/usr/share");
    std::vector<fs::path> folders;
    for (std::string_view rest = all; !rest.empty();) {
        const std::string_view folder = rest.substr(0, rest.find(':'));
        if (folder.starts_with('/')) {
            folders.push_back(fs::path(folder) / "applications");
        }
        rest.remove_prefix(std::min(folder.size() + 1, rest.size()));
    }
    return folders;
}

void DesktopEntries::readFolder(const fs::path& folder) {
    std::error_code failure;
    for (fs::directory_iterator entry(folder, failure), end; !failure && entry != end;
         entry.increment(failure)) {
        if (entry->path().extension() == ".desktop") {
            readFile(entry->path());
        }
    }
}

void DesktopEntries::readFile(const fs::path& file) {
    const auto text = readRegularFile(file.string(), longestFile + 1);
    if (!text || text->size() > longestFile) {
        return;
    }
    std::size_t rank = suffixes_.size() + 1; // of the name so far; the lower, the better
    std::string name;
    std::string icon;
    std::string windowClass;
    std::string command;
    forEachDesktopKey(*text, [&](const DesktopKey& key) {
        if (key.group != "Desktop Entry") {
            return;
        }
        if (key.name == "StartupWMClass") {
            windowClass = desktopString(key.value);
        } else if (key.name == "Icon") {
            icon = desktopString(key.value);
        } else if (key.name == "Exec") {
            command = desktopString(key.value);
        } else if (key.name == "Name" && rank > suffixes_.size()) {
            rank = suffixes_.size();
            name = desktopString(key.value);
        } else if (key.name.starts_with("Name[") && key.name.ends_with(']')) {
            const auto place = static_cast<std::size_t>(
                std::ranges::find(suffixes_, key.name.substr(5, key.name.size() - 6)) - suffixes_.begin());
            if (place < suffixes_.size() && place < rank) {
                rank = place;
                name = desktopString(key.value);
            }
        }
    });
    name = ZorbelKit::utf8::repaired(std::move(name));
    if (name.empty()) {
        return;
    }
    // The first of a name wins: the user's own folder comes before the system's.
    const std::string id = ZorbelKit::utf8::repaired(file.stem().string());
    const bool isFirst =
        byId_.try_emplace(lowered(id), Entry{id, name, ZorbelKit::utf8::repaired(icon)}).second;
    if (!isFirst) {
        twins_.insert(lowered(id));
        return;
    }
    if (!windowClass.empty()) {
        byClass_.emplace(lowered(windowClass), lowered(id));
    }
    if (const auto dot = id.rfind('.'); dot != std::string::npos) {
        keepSmaller(byPart_[lowered(id.substr(dot + 1))], lowered(id));
    }
    keepExecutable(lowered(id), command);
}

/// Of several that start the same executable, the one that starts all of it; folders are read in no order.
void DesktopEntries::keepExecutable(const std::string& id, std::string_view command) {
    const std::string_view path = command.substr(0, command.find(' '));
    const std::string name = lowered(path.substr(path.rfind('/') + 1)); // past the end of none is all of it
    if (name.empty() || std::ranges::find(launchers, name) != launchers.end()) {
        return;
    }
    const bool hasOptions = command.find(" -") != std::string_view::npos;
    const auto [found, isNew] = byExecutable_.try_emplace(name, Launch{id, hasOptions});
    if (isNew) {
        return;
    }
    Launch& known = found->second;
    if (known.hasOptions == hasOptions) {
        keepSmaller(known.id, id);
    } else if (known.hasOptions) {
        known = {id, hasOptions};
    }
}

} // namespace Linux
