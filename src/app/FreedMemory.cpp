#include "app/FreedMemory.h"

#include <malloc.h>

namespace sonvale::app {

namespace {

constexpr int heaps = 2;
/// Larger blocks return to the system when they are freed. The value is set, because the C library otherwise
/// raises it to the size of the largest freed block.
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
