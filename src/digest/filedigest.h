// SHA-256 digests of whole files, read through one buffer that the whole process shares. GUI thread only.
#pragma once

#include <cstdint>
#include <string>

// The shared read buffer: null until the first file with content is read, then as large as the largest file
// read so far. It never shrinks.
extern std::uint8_t* digestBuffer;
extern std::int64_t digestBufferSize; // bytes allocated

// Frees the buffer, if there is one: back to null and 0.
void ReleaseDigestBuffer();

// Reads the file in one call. Gives `digestBuffer`, which holds the bytes until the next call, and the file's
// length in bytes as `size`. There are two other results:
// - `size` is -1: the file could not be opened or read in full.
// - The pointer is null and `size` is above 0: the file is too large for one piece. It has 4 GiB or more, it
//   exceeds the available memory, or the allocation failed. Nothing was read.
// For an empty file `size` is 0, and the pointer is null if there is no buffer yet. A file that can't be
// opened leaves the buffer as it is.
std::uint8_t* ReadWholeFile(std::string path, std::int64_t& size);

// The digest of the file's content as 64 lower-case hexadecimal digits, or the empty text if it could not be
// opened or read in full. `path` is absolute or relative to the current directory. A file that is too large
// for ReadWholeFile is digested in pieces of 1 MiB through the same buffer. Blocks; processes no events.
std::string FileSha256(std::string path);
