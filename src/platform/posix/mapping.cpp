// Views of files. They are used to fetch the bytes of a file in advance.
#include "platform/posix/handle.h"

#include <algorithm>
#include <map>

#include <fcntl.h>
#include <sys/mman.h>

namespace {
// The system shortens longer hints to the device's read-ahead, which is rarely less than this.
constexpr std::size_t HintPiece = 128 * 1024; // bytes

// The distance of the pages that tell whether the file is in memory already. A multiple of HintPiece.
constexpr std::size_t LookStep = 1024 * 1024; // bytes

// The sizes of the open views, which the system wants to know when one is closed.
std::map<const void*, std::size_t> viewSizes;

bool IsInMemory(char* page)
{
    unsigned char state = 0;
    return mincore(page, 1, &state) == 0 && (state & 1) != 0;
}
} // namespace

std::intptr_t _get_osfhandle(int descriptor)
{
    return descriptor;
}

// Windows' mapping stays when the file is closed, hence the second descriptor.
HANDLE CreateFileMappingA(HANDLE file, void* /*security*/, DWORD /*protection*/, DWORD /*sizeHigh*/,
                          DWORD /*sizeLow*/, LPCSTR /*name*/)
{
    const int number = static_cast<int>(reinterpret_cast<std::intptr_t>(file));
    const int descriptor = fcntl(number, F_DUPFD_CLOEXEC, 0);
    return descriptor < 0 ? nullptr : new OpenedObject{descriptor, 0};
}

// Windows fails if the view goes beyond the file's end. Here only an access there fails.
void* MapViewOfFile(HANDLE mapping, DWORD /*access*/, DWORD /*offsetHigh*/, DWORD /*offsetLow*/,
                    std::size_t size)
{
    const int descriptor = static_cast<OpenedObject*>(mapping)->descriptor;
    void* const view = mmap(nullptr, size, PROT_READ, MAP_SHARED, descriptor, 0);
    if (view == MAP_FAILED)
        return nullptr;
    viewSizes[view] = size;
    return view;
}

BOOL UnmapViewOfFile(const void* view)
{
    const auto entry = viewSizes.find(view);
    if (entry == viewSizes.end())
        return FALSE;
    munmap(const_cast<void*>(view), entry->second);
    viewSizes.erase(entry);
    return TRUE;
}

HANDLE GetCurrentProcess()
{
    return reinterpret_cast<HANDLE>(-1);
}

// A hint costs time even if the bytes are in memory, so the first page of each megabyte is checked before.
// The system answers "in memory" for files that this user could not write; these get no hint.
BOOL PrefetchVirtualMemory(HANDLE /*process*/, ULONG_PTR count, WIN32_MEMORY_RANGE_ENTRY* ranges,
                           DWORD /*flags*/)
{
    bool done = true;
    for (const WIN32_MEMORY_RANGE_ENTRY* range = ranges; range != ranges + count; ++range) {
        std::size_t offset = 0;
        while (offset < range->NumberOfBytes) {
            char* const start = static_cast<char*>(range->VirtualAddress) + offset;
            if (offset % LookStep == 0 && IsInMemory(start)) {
                offset += LookStep;
                continue;
            }
            const std::size_t piece = std::min(HintPiece, range->NumberOfBytes - offset);
            done = madvise(start, piece, MADV_WILLNEED) == 0 && done;
            offset += HintPiece;
        }
    }
    return done;
}
