// Files: copying, deleting, attributes, and opening through the C library.
#include "platform/platform.h"

#include <cerrno>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
constexpr std::size_t CopyBlock = 1024 * 1024;

// Closes the descriptor with the object.
struct Descriptor
{
    explicit Descriptor(int opened) : number(opened) {}
    ~Descriptor()
    {
        if (number >= 0)
            close(number);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int number;
};

// O_NONBLOCK: opening a FIFO or a device could wait for ever. O_NOCTTY: a terminal could become the program's
// own. Neither flag matters for a plain file.
int OpenAtOnce(const std::string& path, int flags)
{
    return open(path.c_str(), flags | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0666);
}

bool IsFile(int descriptor, struct stat& status)
{
    return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

bool WriteAll(int descriptor, const char* data, std::size_t size)
{
    while (size > 0) {
        const ssize_t written = write(descriptor, data, size);
        if (written < 0)
            return false;
        data += written;
        size -= static_cast<std::size_t>(written);
    }
    return true;
}

bool CopyContent(int from, int to)
{
    std::vector<char> block(CopyBlock);
    for (;;) {
        const ssize_t got = read(from, block.data(), block.size());
        if (got <= 0)
            return got == 0;
        if (!WriteAll(to, block.data(), static_cast<std::size_t>(got)))
            return false;
    }
}
} // namespace

// Windows refuses to copy a file onto itself or onto a running executable, and leaves no half copy. The
// system refuses the running executable here too. The rest is checked before the destination is truncated.
BOOL CopyFileA(LPCSTR from, LPCSTR to, BOOL /*failIfExists*/)
{
    const Descriptor source(OpenAtOnce(NativePath(from), O_RDONLY));
    struct stat sourceStatus;
    if (source.number < 0 || !IsFile(source.number, sourceStatus))
        return FALSE;

    const std::string destinationPath = NativePath(to);
    Descriptor destination(OpenAtOnce(destinationPath, O_WRONLY | O_CREAT));
    struct stat status;
    if (destination.number < 0 || !IsFile(destination.number, status) ||
        (status.st_dev == sourceStatus.st_dev && status.st_ino == sourceStatus.st_ino))
        return FALSE;

    bool copied = ftruncate(destination.number, 0) == 0 && CopyContent(source.number, destination.number);
    // A disk without modes refuses this. The copy is complete all the same.
    static_cast<void>(fchmod(destination.number, sourceStatus.st_mode & 0777));
    // Some disks report a failed write only now.
    copied = close(std::exchange(destination.number, -1)) == 0 && copied;
    if (!copied)
        unlink(destinationPath.c_str());
    return copied;
}

// Windows refuses directories and links to directories. If the path is a link to a file, the link is deleted,
// not the file.
BOOL DeleteFileA(LPCSTR path)
{
    const std::string native = NativePath(path);
    struct stat status;
    if (stat(native.c_str(), &status) == 0 && S_ISDIR(status.st_mode))
        return FALSE;
    return unlink(native.c_str()) == 0;
}

// Windows gives the link's own attributes, which say whether it was made for a directory. Here the target
// says that, and a link without a target exists too.
DWORD GetFileAttributesA(LPCSTR path)
{
    const std::string native = NativePath(path);
    struct stat status;
    if (stat(native.c_str(), &status) != 0 && lstat(native.c_str(), &status) != 0)
        return INVALID_FILE_ATTRIBUTES;
    return S_ISDIR(status.st_mode) ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_NORMAL;
}

// Windows refuses to write to a file that is marked read-only, and to remove such a folder. Here the owner's
// right to write says that. Who may not read a folder can't remove it either.
BOOL SetFileAttributesA(LPCSTR path, DWORD attributes)
{
    const std::string native = NativePath(path);
    struct stat status;
    if (stat(native.c_str(), &status) != 0)
        return FALSE;
    if (attributes & FILE_ATTRIBUTE_READONLY)
        return TRUE; // the program only takes the mark off
    const mode_t rights = S_ISDIR(status.st_mode) ? S_IRWXU : S_IWUSR;
    return chmod(native.c_str(), (status.st_mode | rights) & 07777) == 0;
}

// Windows fails for a directory, and open does not. Windows has no FIFO, for which open could wait.
errno_t fopen_s(std::FILE** file, LPCSTR path, LPCSTR mode)
{
    *file = nullptr;
    if (mode[0] != 'r')
        return EINVAL; // the program only reads this way

    Descriptor descriptor(OpenAtOnce(NativePath(path), O_RDONLY));
    if (descriptor.number < 0)
        return errno;
    struct stat status;
    if (!IsFile(descriptor.number, status))
        return EACCES;
    *file = fdopen(descriptor.number, "r");
    if (!*file)
        return errno;
    descriptor.number = -1;
    return 0;
}

std::FILE* _fsopen(LPCSTR path, LPCSTR mode, int /*share*/)
{
    std::FILE* file = nullptr;
    fopen_s(&file, path, mode);
    return file;
}

int _fseeki64(std::FILE* file, std::int64_t offset, int origin)
{
    return fseeko(file, offset, origin);
}

std::int64_t _ftelli64(std::FILE* file)
{
    return ftello(file);
}

int _fileno(std::FILE* file)
{
    return fileno(file);
}

int _isatty(int descriptor)
{
    return isatty(descriptor);
}
