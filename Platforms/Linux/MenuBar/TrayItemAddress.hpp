#pragma once

#include <QString>

#include <compare>
#include <optional>

namespace Linux {

/// Where a program's item lives on the session bus.
struct TrayItemAddress {
    /// The bus name the item was registered under. Calls go to it as it stands: some programs answer only
    /// under the name they gave.
    QString service;
    QString path;

    QString text() const { return service + path; } // as watchers list it
    std::strong_ordering operator<=>(const TrayItemAddress&) const = default;
};

/// What `sender` means by RegisterStatusNotifierItem(`argument`): programs give a path, a name, both in one,
/// or the name of another connection of theirs. None where it is not a usable name and path.
std::optional<TrayItemAddress> registeredAddress(const QString& argument, const QString& sender);

/// An entry of a watcher's list of items.
std::optional<TrayItemAddress> listedAddress(const QString& entry);

} // namespace Linux
