#include "Platforms/Linux/MenuBar/TrayItemAddress.hpp"

#include "Platforms/Linux/MenuBar/BusNames.hpp"

namespace Linux {

namespace {

constexpr auto usualPath = "/StatusNotifierItem";

std::optional<TrayItemAddress> address(const QString& service, const QString& path) {
    if (!isBusName(service) || !isObjectPath(path)) {
        return std::nullopt;
    }
    return TrayItemAddress{service, path};
}

} // namespace

std::optional<TrayItemAddress> registeredAddress(const QString& argument, const QString& sender) {
    // A name without a path need not be the sender's: some programs keep the item on a second connection.
    return argument.startsWith('/') ? address(sender, argument) : listedAddress(argument);
}

std::optional<TrayItemAddress> listedAddress(const QString& entry) {
    const qsizetype slash = entry.indexOf('/');
    if (slash < 0) {
        return address(entry, usualPath);
    }
    return address(entry.first(slash), entry.sliced(slash));
}

} // namespace Linux
