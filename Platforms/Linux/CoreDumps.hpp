#pragma once

namespace Linux {

/// Nothing of this process's memory is written to disk should it crash: what people copy, passwords among it,
/// is in there. Neither to a core file nor to the system's crash reporter.
void refuseCoreDumps();

} // namespace Linux
