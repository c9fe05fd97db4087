#include "Platforms/Linux/Heap.hpp"

#include <malloc.h>

namespace Linux {

void keepHeapSmall() {
#ifdef __GLIBC__
    constexpr int threshold =
        128 << 10; // bytes; the library's own, which it raises when larger pieces come and go
    mallopt(M_MMAP_THRESHOLD, threshold);
    mallopt(M_TRIM_THRESHOLD, threshold);
    mallopt(M_ARENA_MAX, 1); // the few threads we have hardly ever meet there
#endif
}

} // namespace Linux
