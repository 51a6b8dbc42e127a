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

// Reads the file in one call. Gives `digestBuffer`, which holds the bytes until the next call; it may be null
// for an empty file. `size`: the file's bytes, or -1 if it could not be opened or read in full, if it has 4
// GiB or more or exceeds the available memory. A file that can't be opened leaves the buffer alone; a failed
// allocation leaves none.
std::uint8_t* ReadWholeFile(std::string path, std::int64_t& size);

// The digest of the file's content as 64 lower-case hexadecimal digits, or the empty text if it could not be
// opened or read in full. `path` is absolute or relative to the current directory. A file too large for
// ReadWholeFile is digested in pieces through the same buffer. Blocks; no event is processed meanwhile.
std::string FileSha256(std::string path);
