#pragma once

#include <QStringView>

namespace Linux {

inline constexpr qsizetype longestBusName = 255; // characters; the bus itself allows no more

/// Whether a text from another program may be used as a bus name (unique or well-known).
bool isBusName(QStringView name);

/// Whether a text from another program may be used as an object path. No longer than a bus name may be.
bool isObjectPath(QStringView path);

} // namespace Linux
