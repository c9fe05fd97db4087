#pragma once

#include "Duvesk/FileWalker.hpp"
#include "Duvesk/Places.hpp"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Linux {

/// Where a scan begins to look: everything is below `root`, which is "/" but in tests, and named by the
/// environment.
struct StorageLayout {
    std::filesystem::path root = "/";
    std::filesystem::path home; // as are all below, absolute and not below root yet
    std::function<std::optional<std::string>(std::string_view name)> environment;
    unsigned int user = 0; // whose processes are looked at

    /// XDG_DATA_HOME where it is absolute, else ~/.local/share.
    std::filesystem::path dataFolder() const;

    /// Of this process.
    static StorageLayout standard();
};

/// The folders that the XDG rules name, and the programs that are installed by packages, as Flatpaks, Snaps
/// and AppImages, or by hand. An entry that begins ticked must truly look abandoned: in doubt it is in use.
/// Any thread.
class LinuxPlaces : public Duvesk::Places {
public:
    LinuxPlaces(StorageLayout layout, std::shared_ptr<const Duvesk::FileWalker> walker);

    std::optional<std::filesystem::path> caches() const override;
    std::vector<Root> largeFileRoots() const override;
    std::vector<std::filesystem::path> supportFolders() const override;

    /// Each identifier as it is written, in lower case, and in the forms in which programs name the folders
    /// of their helpers.
    std::set<std::string, std::less<>> installedBundleIDs() const override;

    bool mayBeLeftBehind(const std::filesystem::path& entry) const override;

private:
    StorageLayout layout_;
    std::shared_ptr<const Duvesk::FileWalker> walker_;
};

/// Whether a name looks like that of a program: two parts or more of letters, digits, '_' and '-' between
/// dots, the first a well-known top-level label, none a number or a version.
bool looksLikeIdentifier(std::string_view name);

} // namespace Linux
