#pragma once

#include "Ledgra/ParkedFiles.hpp"
#include "ZorbelKit/Time.hpp"
#include "ZorbelKit/Uuid.hpp"

#include <filesystem>
#include <memory>
#include <string>

namespace Ledgra {

/// A file or folder on the shelf: where it was when it was parked. It may be gone by now.
struct Staged {
    ZorbelKit::Uuid id = ZorbelKit::Uuid::make();
    std::filesystem::path url; // absolute; its bytes as they came
    std::string name;          // the last part of it, in valid UTF-8
    std::shared_ptr<const FileIcon> icon = nullptr;
    ZorbelKit::TimePoint addedAt{};

    bool operator==(const Staged&) const = default;
};

} // namespace Ledgra
