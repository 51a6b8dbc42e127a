#include "digest/filedigest.h"

#include <algorithm>
#include <memory>

#include "digest/sha256.h"
#include "platform/platform.h"

std::uint8_t* digestBuffer = nullptr;
std::int64_t digestBufferSize = 0;

namespace {
constexpr std::int64_t WholeFileLimit = std::int64_t{1} << 32; // bytes; such a file is no longer read whole
constexpr std::int64_t PieceSize =
    1024 * 1024; // bytes; stays in the processor's cache between reading and hashing
constexpr std::size_t BufferAlignment = 64; // bytes, a cache line

struct FileCloser
{
    void operator()(std::FILE* file) const
    {
        std::fclose(file);
    }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

// Opened at its start, with its length in bytes in `size`; null, and -1, if that failed.
File OpenFile(const std::string& path, std::int64_t& size)
{
    size = -1;
    File file(_fsopen(path.c_str(), "rb", _SH_DENYNO));
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

// True if a file of `size` bytes can be read whole. Memory is looked at only if the buffer would have to
// grow; what the buffer holds now is released for it and counts as available.
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

// Reads the next `size` bytes into the buffer, which grows if it has to. False if they did not all come.
bool ReadIntoBuffer(std::FILE* file, std::int64_t size)
{
    if (size > digestBufferSize) {
        ReleaseDigestBuffer();
        digestBuffer =
            static_cast<std::uint8_t*>(_aligned_malloc(static_cast<std::size_t>(size), BufferAlignment));
        if (digestBuffer == nullptr)
            return false;
        digestBufferSize = size;
    }
    const std::size_t wanted = static_cast<std::size_t>(size);
    return wanted == 0 || std::fread(digestBuffer, 1, wanted, file) == wanted;
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
    const File file = OpenFile(path, size);
    if (file != nullptr && !(FitsBuffer(size) && ReadIntoBuffer(file.get(), size)))
        size = -1;
    return digestBuffer;
}

// In one piece or, if the file is too large for that, in many; decided once, since the available memory
// moves.
std::string FileSha256(std::string path)
{
    std::int64_t left;
    const File file = OpenFile(path, left);
    if (file == nullptr)
        return {};

    const std::int64_t pieceSize = FitsBuffer(left) ? left : PieceSize;
    Sha256Context context;
    while (left > 0) {
        const std::int64_t piece = std::min(left, pieceSize);
        if (!ReadIntoBuffer(file.get(), piece))
            return {};
        context.Append(digestBuffer, static_cast<std::uint64_t>(piece));
        left -= piece;
    }
    return context.Finish();
}
