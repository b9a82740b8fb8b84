#include "app/FreedMemory.h"

#include <malloc.h>

namespace sonvale::app {

namespace {

constexpr int heaps = 2;
/// Larger blocks are the system's again as soon as they are freed. Set, because the C library raises it by
/// itself to the size of the largest block that was freed.
constexpr int smallestOwnMapping = 128 * 1024;

} // namespace

void keepFreedMemoryTogether() {
    mallopt(M_ARENA_MAX, heaps);
    mallopt(M_MMAP_THRESHOLD, smallestOwnMapping);
}

void returnFreedMemory() {
    malloc_trim(0);
}

} // namespace sonvale::app
