#include "Platforms/Linux/Storage/Trash.hpp"

#include <utility>

namespace Linux {

Trash::Trash(std::filesystem::path dataFolder, std::filesystem::path home)
    : dataFolder_(std::move(dataFolder))
    , home_(std::move(home)) {
}

bool Trash::move(const std::filesystem::path&) const {
    return false;
}

std::string percentEncoded(std::string_view path) {
    return std::string(path);
}

} // namespace Linux
