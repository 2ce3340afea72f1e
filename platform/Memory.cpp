#include "platform/Memory.h"

#include <malloc.h>

namespace {
// glibc's own starting value, held fixed: a setting made here stops the threshold from sliding.
constexpr int mmapThreshold = 128 * 1024;
} // namespace

void Memory::keepLargeBuffersMapped()
{
    mallopt(M_MMAP_THRESHOLD, mmapThreshold);
}

void Memory::releaseFreePages()
{
    malloc_trim(0);
}
