#include "digest/filedigest.h"

#include <algorithm>

#include "digest/sha256.h"
#include "helpers/files.h"
#include "platform/platform.h"

std::uint8_t* digestBuffer = nullptr;
std::int64_t digestBufferSize = 0;

namespace {
constexpr std::int64_t WholeFileLimit = std::int64_t{1} << 32; // bytes; from here on in pieces
// Bytes. A piece stays in the processor's cache between reading and hashing.
constexpr std::int64_t PieceSize = 1024 * 1024;
constexpr std::size_t BufferAlignment = 64; // bytes, a cache line

// Opens the file at its start and sets `size` to its length in bytes. On failure gives null and sets -1.
FileHandle OpenFile(const std::string& path, std::int64_t& size)
{
    size = -1;
    FileHandle file(_fsopen(path.c_str(), "rb", _SH_DENYNO));
    if (file == nullptr)
        return nullptr;

    // The bytes go straight into our buffer: the stream's own would cost a copy and, after each seek, a read.
    std::setvbuf(file.get(), nullptr, _IONBF, 0);
    if (_fseeki64(file.get(), 0, SEEK_END) == 0)
        size = _ftelli64(file.get());
    if (size < 0 || _fseeki64(file.get(), 0, SEEK_SET) != 0) {
        size = -1;
        return nullptr;
    }
    return file;
}

// True if a file of `size` bytes can be read whole. Memory matters only if the buffer would have to grow. The
// present buffer is released before that, so it counts as available.
bool FitsBuffer(std::int64_t size)
{
    if (size <= digestBufferSize)
        return true;
    if (size >= WholeFileLimit)
        return false;
    MEMORYSTATUSEX memory = {};
    memory.dwLength = sizeof(memory);
    return !GlobalMemoryStatusEx(&memory) ||
           static_cast<ULONGLONG>(size) <= memory.ullAvailPhys + static_cast<ULONGLONG>(digestBufferSize);
}

// Makes the buffer hold at least `size` bytes. Its content is lost if it has to grow. If there is no memory
// for that, no buffer is left.
bool GrowBuffer(std::int64_t size)
{
    if (size <= digestBufferSize)
        return true;
    ReleaseDigestBuffer();
    digestBuffer =
        static_cast<std::uint8_t*>(_aligned_malloc(static_cast<std::size_t>(size), BufferAlignment));
    if (digestBuffer != nullptr)
        digestBufferSize = size;
    return digestBuffer != nullptr;
}

// Reads the next `size` bytes into the buffer. False if it got fewer.
bool ReadIntoBuffer(std::FILE* file, std::int64_t size)
{
    const std::size_t wanted = static_cast<std::size_t>(size);
    return wanted == 0 || std::fread(digestBuffer, 1, wanted, file) == wanted;
}

// The same result as FileSha256, for a file that does not fit the buffer.
std::string FileSha256InPieces(const std::string& path)
{
    std::int64_t left = 0;
    const FileHandle file = OpenFile(path, left);
    if (file == nullptr || !GrowBuffer(PieceSize))
        return {};

    Sha256Context context;
    while (left > 0) {
        const std::int64_t piece = std::min(left, PieceSize);
        if (!ReadIntoBuffer(file.get(), piece))
            return {};
        context.Append(digestBuffer, static_cast<std::uint64_t>(piece));
        left -= piece;
    }
    return context.Finish();
}
} // namespace

void ReleaseDigestBuffer()
{
    if (digestBuffer != nullptr)
        _aligned_free(digestBuffer);
    digestBuffer = nullptr;
    digestBufferSize = 0;
}

std::uint8_t* ReadWholeFile(std::string path, std::int64_t& size)
{
    const FileHandle file = OpenFile(path, size);
    if (file == nullptr)
        return digestBuffer;
    if (!FitsBuffer(size) || !GrowBuffer(size))
        return nullptr;
    if (!ReadIntoBuffer(file.get(), size))
        size = -1;
    return digestBuffer;
}

std::string FileSha256(std::string path)
{
    std::int64_t size = 0;
    const std::uint8_t* const bytes = ReadWholeFile(path, size);
    if (size < 0)
        return {};
    if (bytes == nullptr && size > 0)
        return FileSha256InPieces(path);

    Sha256Context context;
    context.Append(bytes, static_cast<std::uint64_t>(size));
    return context.Finish();
}
