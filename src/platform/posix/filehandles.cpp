// Files by handle: opening one for this process alone, its time, and the closing of every handle.
#include "platform/posix/handle.h"

#include <cerrno>
#include <ctime>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
constexpr std::uint64_t TicksPerSecond = 10'000'000; // of 100 ns
constexpr DWORD ErrorAccessDenied = 5;               // for all that the program does not tell apart

DWORD lastError = 0;

HANDLE Failure(DWORD error)
{
    lastError = error;
    return INVALID_HANDLE_VALUE;
}

// Windows counts from another year. The program only compares two times.
FILETIME ToFileTime(const timespec& time)
{
    const std::uint64_t ticks = static_cast<std::uint64_t>(time.tv_sec) * TicksPerSecond +
                                static_cast<std::uint64_t>(time.tv_nsec) / 100;
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

timespec ToTimespec(const FILETIME& time)
{
    const std::uint64_t ticks = std::uint64_t(time.dwHighDateTime) << 32 | time.dwLowDateTime;
    return {static_cast<time_t>(ticks / TicksPerSecond), static_cast<long>(ticks % TicksPerSecond * 100)};
}
} // namespace

// Windows makes and locks the file in one step. Here another process can lock it between the two steps. Then
// the process that made the file waits, since the other one will find that it was there already.
HANDLE CreateFileA(LPCSTR path, DWORD /*access*/, DWORD /*share*/, void* /*security*/, DWORD /*disposition*/,
                   DWORD /*attributes*/, HANDLE /*templateFile*/)
{
    const std::string native = NativePath(path);
    int file = open(native.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    const bool made = file >= 0;
    if (!made)
        file = open(native.c_str(), O_RDWR | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (file < 0)
        return Failure(ErrorAccessDenied);

    if (flock(file, made ? LOCK_EX : LOCK_EX | LOCK_NB) != 0) {
        const bool taken = errno == EWOULDBLOCK;
        close(file);
        return Failure(taken ? ERROR_SHARING_VIOLATION : ErrorAccessDenied);
    }
    lastError = made ? 0 : ERROR_ALREADY_EXISTS;
    return new OpenedObject{file, 0};
}

DWORD GetLastError()
{
    return lastError;
}

void GetSystemTimeAsFileTime(FILETIME* now)
{
    timespec time;
    clock_gettime(CLOCK_REALTIME, &time);
    *now = ToFileTime(time);
}

BOOL GetFileTime(HANDLE file, FILETIME* /*created*/, FILETIME* /*accessed*/, FILETIME* written)
{
    struct stat status;
    if (fstat(static_cast<OpenedObject*>(file)->descriptor, &status) != 0)
        return FALSE;
    *written = ToFileTime(status.st_mtim);
    return TRUE;
}

BOOL SetFileTime(HANDLE file, const FILETIME* /*created*/, const FILETIME* /*accessed*/,
                 const FILETIME* written)
{
    const timespec times[] = {{0, UTIME_OMIT}, ToTimespec(*written)};
    return futimens(static_cast<OpenedObject*>(file)->descriptor, times) == 0;
}

BOOL CloseHandle(HANDLE handle)
{
    OpenedObject* object = static_cast<OpenedObject*>(handle);
    if (!object)
        return FALSE;
    close(object->descriptor);
    delete object;
    return TRUE;
}
