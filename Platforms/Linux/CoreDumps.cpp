#include "Platforms/Linux/CoreDumps.hpp"

#include <sys/resource.h>

namespace Linux {

void refuseCoreDumps() {
    // One byte, not none: a limit of none keeps a file from being written, but a crash reporter that the
    // kernel pipes to is fed all the same. One byte stops both.
    constexpr rlimit oneByte{.rlim_cur = 1, .rlim_max = 1};
    ::setrlimit(RLIMIT_CORE, &oneByte);
}

} // namespace Linux
