#pragma once

#include "Duvesk/FileWalker.hpp"
#include "Duvesk/Places.hpp"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Duvesk {

/// The places of a system that keeps programs as bundles and their files under ~/Library.
class BundlePlaces : public Places {
public:
    /// The identifier that an information file names; none where it cannot be read or names none.
    using IdentifierReader = std::function<std::optional<std::string>(const std::filesystem::path& file)>;

    static constexpr std::int64_t longestInformation = 4'000'000; // bytes; no program has more to say

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
    std::filesystem::path home_;
    std::vector<std::filesystem::path> applications_;
    std::shared_ptr<const FileWalker> walker_;
    IdentifierReader reader_;
};

} // namespace Duvesk
