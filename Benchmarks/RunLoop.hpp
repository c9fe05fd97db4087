#pragma once

#include <functional>

namespace Bench {

/// Runs Qt's loop until `isDone`, which is asked every millisecond and after all that happens. False when so
/// many seconds have passed first.
bool runUntil(const std::function<bool()>& isDone, double seconds);
void runFor(double seconds);

} // namespace Bench
