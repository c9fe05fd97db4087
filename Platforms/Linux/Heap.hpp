#pragma once

namespace Linux {

/// Keeps what the program holds of the system's memory near what it uses. To be called first of all, before
/// any other thread runs.
void keepHeapSmall();

} // namespace Linux
