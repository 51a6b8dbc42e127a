// Tells the system which files will be read next, so that the disk fetches them while the processor hashes.
// It only saves time on a cold start: no result depends on it, and a hint that fails changes nothing.
//
// Here the hint starts the transfers and returns. Windows' documentation promises less: that the system may
// fetch the bytes with few large requests, but not that the call returns before they have arrived. On Windows
// this was only tried under Wine, so what it gains there is unknown.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// How far the hints have got in a list of files. A fresh one stands before its first file.
struct ReadAheadWindow
{
    std::size_t next = 0;   // the first file that has not been considered
    std::int64_t bytes = 0; // hinted and not yet read; at most 32 MiB, to leave a small memory its content
};

// Call it before file number `current` is read, in the order of the list. The paths are `folder` + name, and
// `sizes` are in bytes, the lower 32 bits of each. Small files are left out, since opening them a second time
// costs more than it saves. No file stays open, so that each can be deleted and replaced afterwards.
void ReadAhead(const std::string& folder, const std::vector<std::string>& names,
               const std::vector<std::int32_t>& sizes, std::size_t current, ReadAheadWindow& window);
