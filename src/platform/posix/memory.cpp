// Aligned blocks, the heap, and how much memory is available.
#include "platform/platform.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>

#include <malloc.h>
#include <sys/mman.h>

namespace {
constexpr std::size_t HugePage = 2 * 1024 * 1024;
} // namespace

void* _aligned_malloc(std::size_t size, std::size_t alignment)
{
    alignment = std::max(alignment, size >= HugePage ? HugePage : sizeof(void*));
    void* block = nullptr;
    if (posix_memalign(&block, alignment, size) != 0)
        return nullptr;
    if (size >= HugePage)
        static_cast<void>(madvise(block, size, MADV_HUGEPAGE)); // only for speed
    return block;
}

void _aligned_free(void* block)
{
    std::free(block);
}

// A setting of the GNU library; others have one heap anyway.
void ShareHeapAmongThreads()
{
#ifdef M_ARENA_MAX
    mallopt(M_ARENA_MAX, 1);
#endif
}

// Windows fails if the record's size was not set.
BOOL GlobalMemoryStatusEx(MEMORYSTATUSEX* status)
{
    if (status->dwLength != sizeof(*status))
        return FALSE;

    // Lines of the form "MemAvailable:  16315392 kB".
    std::ifstream lines("/proc/meminfo");
    std::string key;
    ULONGLONG kilobytes = 0;
    std::string unit;
    while (lines >> key >> kilobytes && std::getline(lines, unit)) {
        if (key == "MemAvailable:") {
            status->ullAvailPhys = kilobytes * 1024;
            return TRUE;
        }
    }
    return FALSE;
}
