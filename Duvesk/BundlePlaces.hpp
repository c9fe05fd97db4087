#pragma once

#include "Duvesk/FileWalker.hpp"
#include "Duvesk/Places.hpp"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Duvesk {

/// The places of a system that keeps programs as bundles and their files under ~/Library.
class BundlePlaces : public Places {
public:
    /// The identifier that an information file names; none where it cannot be read or names none.
    using IdentifierReader = std::function<std::optional<std::string>(const std::filesystem::path& file)>;

    /// In bytes; no program has more to say, and a file that is longer is not read.
    static constexpr std::int64_t longestInformation = 4'000'000;

    /// `applications`: the folders that hold programs, and folders of programs. Usually "/Applications",
    /// "/System/Applications" and the user's own.
    BundlePlaces(std::filesystem::path home, std::vector<std::filesystem::path> applications,
                 std::shared_ptr<const FileWalker> walker, IdentifierReader reader);

    std::optional<std::filesystem::path> caches() const override;
    std::vector<Root> largeFileRoots() const override;
    std::vector<std::filesystem::path> supportFolders() const override;
    std::set<std::string, std::less<>> installedBundleIDs() const override;
    bool mayBeLeftBehind(const std::filesystem::path& entry) const override;

private:
    /// Of a folder, also where a link stands for it.
    std::vector<std::filesystem::path> namesIn(const std::filesystem::path& folder) const;
    void addIdentifier(const std::filesystem::path& program, std::set<std::string, std::less<>>& found) const;

    std::filesystem::path home_;
    std::vector<std::filesystem::path> applications_;
    std::shared_ptr<const FileWalker> walker_;
    IdentifierReader reader_;
};

} // namespace Duvesk
