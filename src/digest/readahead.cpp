#include "digest/readahead.h"

#include <algorithm>
#include <cstdio>

#include "platform/platform.h"

namespace {
constexpr std::int64_t WindowSize = 32 * 1024 * 1024; // bytes
constexpr std::int64_t SmallFile = 1024 * 1024;       // bytes; smaller ones get no hint

// How many bytes of a file of this size are hinted, from its start.
std::int64_t HintedBytes(std::int32_t size)
{
    const std::int64_t bytes = static_cast<std::uint32_t>(size);
    return bytes < SmallFile ? 0 : std::min(bytes, WindowSize);
}

// The call wants addresses, so the file is mapped for its duration. No page of the view is touched.
void Hint(const std::string& path, std::size_t bytes)
{
    std::FILE* const file = _fsopen(path.c_str(), "rb", _SH_DENYNO);
    if (file == nullptr)
        return;
    const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(file)));
    const HANDLE mapping = CreateFileMappingA(handle, nullptr, PAGE_READONLY, 0, 0, nullptr);
    if (mapping != nullptr) {
        // Fails if the file is shorter than its size in the list.
        void* const view = MapViewOfFile(mapping, FILE_MAP_READ, 0, 0, bytes);
        if (view != nullptr) {
            WIN32_MEMORY_RANGE_ENTRY range = {view, bytes};
            PrefetchVirtualMemory(GetCurrentProcess(), 1, &range, 0);
            UnmapViewOfFile(view);
        }
        CloseHandle(mapping);
    }
    std::fclose(file);
}
} // namespace

void ReadAhead(const std::string& folder, const std::vector<std::string>& names,
               const std::vector<std::int32_t>& sizes, std::size_t current, ReadAheadWindow& window)
{
    if (window.next > current)
        window.bytes -= HintedBytes(sizes[current]);
    else
        window.next = current + 1; // too late for the file that is read now

    for (; window.next < names.size(); ++window.next) {
        const std::int64_t bytes = HintedBytes(sizes[window.next]);
        if (window.bytes + bytes > WindowSize)
            break;
        if (bytes > 0)
            Hint(folder + names[window.next], static_cast<std::size_t>(bytes));
        window.bytes += bytes;
    }
}
