#include "Platforms/Linux/Storage/StorageLayout.hpp"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>

namespace Linux {

namespace fs = std::filesystem;

namespace {

/// The home of a user's entry in the user database; empty where it cannot be read.
fs::path homeOf(unsigned int user) {
    std::array<char, 16384> space{};
    passwd entry{};
    passwd* found = nullptr;
    const bool isKnown = ::getpwuid_r(user, &entry, space.data(), space.size(), &found) == 0 && found;
    return isKnown && entry.pw_dir && entry.pw_dir[0] == '/' ? fs::path(entry.pw_dir) : fs::path();
}

} // namespace

fs::path StorageLayout::dataFolder() const {
    return named("XDG_DATA_HOME", ".local/share");
}

fs::path StorageLayout::configFolder() const {
    return named("XDG_CONFIG_HOME", ".config");
}

fs::path StorageLayout::cacheFolder() const {
    return named("XDG_CACHE_HOME", ".cache");
}

fs::path StorageLayout::named(std::string_view variable, const char* otherwise) const {
    const auto value = environment(variable);
    return value && value->starts_with('/') ? fs::path(*value) : inHome(otherwise);
}

std::vector<fs::path> StorageLayout::listed(std::string_view variable) const {
    const std::string all = environment(variable).value_or("");
    std::vector<fs::path> folders;
    for (std::string_view rest = all; !rest.empty();) {
        const std::string_view folder = rest.substr(0, rest.find(':'));
        if (folder.starts_with('/')) {
            folders.emplace_back(folder);
        }
        rest.remove_prefix(std::min(folder.size() + 1, rest.size()));
    }
    return folders;
}

fs::path StorageLayout::inHome(const fs::path& relative) const {
    return home.is_absolute() ? home / relative : fs::path();
}

fs::path StorageLayout::inside(const fs::path& path) const {
    return path.is_absolute() ? root / path.relative_path() : fs::path();
}

StorageLayout StorageLayout::standard() {
    StorageLayout layout;
    layout.environment = [](std::string_view name) -> std::optional<std::string> {
        const char* value = std::getenv(std::string(name).c_str());
        return value ? std::optional<std::string>(value) : std::nullopt;
    };
    layout.user = ::getuid();
    const fs::path home = layout.environment("HOME").value_or("");
    layout.home = home.is_absolute() ? home : homeOf(layout.user);
    return layout;
}

} // namespace Linux
