#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Linux {

/// Where a scan begins to look: everything is below `root`, which is "/" but in tests, and named by the
/// environment.
struct StorageLayout {
    std::filesystem::path root = "/";
    std::filesystem::path home; // as are all below, absolute and not below root yet; empty: there is none
    std::function<std::optional<std::string>(std::string_view name)> environment;
    unsigned int user = 0; // whose processes are looked at

    /// XDG_DATA_HOME where it is absolute, else ~/.local/share; likewise the others. Empty where there is
    /// neither.
    std::filesystem::path dataFolder() const;
    std::filesystem::path configFolder() const;
    std::filesystem::path cacheFolder() const;

    /// The folders that a variable lists between colons, without those that are not absolute.
    std::vector<std::filesystem::path> listed(std::string_view variable) const;

    /// A folder or file of the user's home; empty where there is none.
    std::filesystem::path inHome(const std::filesystem::path& relative) const;

    /// Where an absolute path really lies.
    std::filesystem::path inside(const std::filesystem::path& path) const;

    /// Of this process.
    static StorageLayout standard();

private:
    std::filesystem::path named(std::string_view variable, const char* otherwise) const;
};

} // namespace Linux
