#pragma once

#include "Duvesk/FileWalker.hpp"
#include "Duvesk/Places.hpp"
#include "Platforms/Linux/Storage/StorageLayout.hpp"

#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Linux {

/// The folders that the XDG rules name, and the programs that are installed by packages, as Flatpaks, Snaps
/// and AppImages, or by hand. An entry that begins ticked must truly look abandoned: in doubt it is in use.
/// Any thread.
class LinuxPlaces : public Duvesk::Places {
public:
    LinuxPlaces(StorageLayout layout, std::shared_ptr<const Duvesk::FileWalker> walker);
    ~LinuxPlaces() override;

    /// None also where another folder is named that holds more than caches.
    std::optional<std::filesystem::path> caches() const override;

    /// The last is "Videos". Those the user has switched off are left out, as are those that contain home or
    /// are walked with another one.
    std::vector<Root> largeFileRoots() const override;

    std::vector<std::filesystem::path> supportFolders() const override;

    /// Each identifier as it is written, in lower case, and in the forms in which programs name the folders
    /// of their helpers. Looks afresh, also for `mayBeLeftBehind`.
    std::set<std::string, std::less<>> installedBundleIDs() const override;

    /// By what is installed and runs since `installedBundleIDs` has looked last.
    bool mayBeLeftBehind(const std::filesystem::path& entry) const override;

private:
    struct Knowledge;

    bool isHomeOrAbove(const std::filesystem::path& folder) const;
    std::shared_ptr<const Knowledge> look() const;
    std::shared_ptr<const Knowledge> known() const;

    const StorageLayout layout_;
    const std::shared_ptr<const Duvesk::FileWalker> walker_;
    mutable std::mutex mutex_;                             // guards what follows
    mutable std::shared_ptr<const Knowledge> knowledge_{}; // null until somebody asks
};

} // namespace Linux
