#pragma once

#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Duvesk {

/// Where a platform keeps what a scan looks at. Any thread.
class Places {
public:
    /// A folder of the user's own files.
    struct Root {
        std::filesystem::path folder;
        std::string name; // as notes call it: "Downloads"
    };

    virtual ~Places() = default;

    /// Whose entries are the programs' caches; none where there is no such folder.
    virtual std::optional<std::filesystem::path> caches() const = 0;

    /// "Downloads", "Desktop", "Documents" and "Movies" in this order, each folder once.
    virtual std::vector<Root> largeFileRoots() const = 0;

    virtual std::vector<std::filesystem::path> supportFolders() const = 0;

    /// The identifiers of all programs that are installed. Reads much.
    virtual std::set<std::string, std::less<>> installedBundleIDs() const = 0;

    /// Whether an entry of a support folder could be some program's own and nobody else's, going by what the
    /// platform keeps there; one that is in use never is.
    virtual bool mayBeLeftBehind(const std::filesystem::path& entry) const = 0;
};

} // namespace Duvesk
