#pragma once

#include "Platforms/Linux/Storage/FolderReading.hpp"

#include <atomic>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace Linux {

enum class Step { enter, pass, stop }; // `enter` means a folder; anything else is passed

/// What a walk comes upon. It has no status where that cannot be read, and where it lies on another mount.
struct OrderedItem {
    const std::string& folder; // below the root: empty, or "/some/folder"
    const std::string& name;
    const std::optional<ItemStatus>& status;
};

/// Shows everything below a folder that is not hidden: what lies in a folder in the order of the names'
/// bytes, then what lies in the first folder there, and so on. False where it cannot be walked. Over at the
/// next folder once `isStopped`.
bool walkInOrder(const std::filesystem::path& root, const std::function<Step(const OrderedItem&)>& visit,
                 const std::atomic<bool>& isStopped);

} // namespace Linux
