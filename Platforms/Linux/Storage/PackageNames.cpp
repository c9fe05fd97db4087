#include "Platforms/Linux/RegularFile.hpp"
#include "Platforms/Linux/Storage/FolderEntries.hpp"
#include "Platforms/Linux/Storage/InstalledSources.hpp"

#include <algorithm>
#include <cstddef>
#include <optional>

namespace Linux {

namespace fs = std::filesystem;

namespace {

/// The name of a file or folder in a database that describes a package in files named after it.
using PackageName = std::string_view (*)(std::string_view entry);

/// "gimp:amd64.list"
std::string_view debianName(std::string_view entry) {
    return entry.ends_with(".list") ? entry.substr(0, std::min(entry.find(':'), entry.size() - 5))
                                    : std::string_view();
}

/// "gimp-2.10.36-2": name, version and release.
std::string_view archName(std::string_view entry) {
    for (int part = 0; part < 2; ++part) {
        const auto dash = entry.rfind('-');
        entry = dash == std::string_view::npos ? std::string_view() : entry.substr(0, dash);
    }
    return entry;
}

/// "gimp-2.10.36-r1": the version begins with a digit.
std::string_view gentooName(std::string_view entry) {
    auto dash = entry.find('-');
    while (dash != std::string_view::npos && dash + 1 < entry.size() &&
           (entry[dash + 1] < '0' || entry[dash + 1] > '9')) {
        dash = entry.find('-', dash + 1);
    }
    return entry.substr(0, dash);
}

/// "firefox_2987.snap"
std::string_view snapFileName(std::string_view entry) {
    return entry.ends_with(".snap") ? entry.substr(0, entry.find('_')) : std::string_view();
}

void addDatabase(const fs::path& folder, PackageName packageName, InstalledNames& names) {
    forEachEntry(folder, [&](const fs::directory_entry& entry) {
        names.addProgram(packageName(entry.path().filename().native()));
    });
}

/// Alpine's database is a text of fields: "P:gimp".
void addAlpinePackages(const fs::path& file, InstalledNames& names) {
    constexpr std::size_t longest = 1 << 20; // bytes
    const std::string text = readRegularFile(file.string(), longest).value_or("");
    for (std::string_view rest = text; !rest.empty();) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        if (line.starts_with("P:")) {
            names.addProgram(line.substr(2));
        }
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    }
}

void addFlatpaks(const StorageLayout& layout, InstalledNames& names) {
    for (const fs::path& folder : flatpakFolders(layout)) {
        for (const char* kind : {"app", "runtime"}) {
            forEachEntry(folder / kind, [&](const fs::directory_entry& entry) {
                names.addIdentifier(entry.path().filename().native());
            });
        }
    }
}

void addSnaps(const StorageLayout& layout, InstalledNames& names) {
    for (const char* folder : {"/snap", "/var/lib/snapd/snap"}) {
        forEachEntry(layout.inside(folder), [&](const fs::directory_entry& entry) {
            std::error_code failure;
            if (fs::is_symlink(entry.path() / "current", failure)) {
                const std::string name = entry.path().filename().string();
                names.addProgram(name);
                names.addProgram(name.substr(0, name.find('_'))); // installed twice, as "name_instance"
            }
        });
    }
    addDatabase(layout.inside("/var/lib/snapd/snaps"), snapFileName, names);
}

} // namespace

void addPackages(const StorageLayout& layout, InstalledNames& names) {
    addFlatpaks(layout, names);
    addSnaps(layout, names);
    addDatabase(layout.inside("/var/lib/dpkg/info"), debianName, names);
    addDatabase(layout.inside("/var/lib/pacman/local"), archName, names);
    forEachEntry(layout.inside("/var/db/pkg"), [&](const fs::directory_entry& category) {
        addDatabase(category.path(), gentooName, names);
    });
    addAlpinePackages(layout.inside("/lib/apk/db/installed"), names);
}

} // namespace Linux
