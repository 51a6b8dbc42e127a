// The process table, the names of processes, and their end.
#include "platform/posix/handle.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include <dirent.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {
// What the system appends to the path of a removed executable.
constexpr char RemovedMark[] = " (deleted)";
constexpr std::size_t MaxLink = 4096;

// The path of the executable; empty if the process is gone or may not be read.
// `link` is relative to `folder`.
std::string ExecutablePath(int folder, const std::string& link = "exe")
{
    char path[MaxLink];
    const ssize_t length = readlinkat(folder, link.c_str(), path, sizeof(path));
    return std::string(path, length > 0 ? static_cast<std::size_t>(length) : 0);
}

bool Signal(const OpenedObject& process, int signal)
{
    if (syscall(SYS_pidfd_send_signal, process.descriptor, signal, nullptr, 0) == 0)
        return true;
    // An old kernel, or one that forbids the call, sends signals by process number only.
    return (errno == ENOSYS || errno == EPERM) && kill(process.process, signal) == 0;
}
} // namespace

DWORD GetCurrentProcessId()
{
    return static_cast<DWORD>(getpid());
}

// Windows' table has no kernel threads. Hundreds of them here could leave no room for the player's processes.
// They have no executable, and that of another user's process can't be read. Nothing can be done with a
// process that has no name, so neither kind is listed.
BOOL EnumProcesses(DWORD* processes, DWORD size, DWORD* filled)
{
    DIR* table = opendir("/proc");
    if (!table)
        return FALSE;

    const DWORD room = size / static_cast<DWORD>(sizeof(DWORD));
    DWORD count = 0;
    while (count < room) {
        const dirent* entry = readdir(table);
        if (!entry)
            break;
        if (std::isdigit(static_cast<unsigned char>(entry->d_name[0])) &&
            !ExecutablePath(dirfd(table), std::string(entry->d_name) + "/exe").empty())
            processes[count++] = static_cast<DWORD>(std::strtoul(entry->d_name, nullptr, 10));
    }
    closedir(table);
    *filled = count * static_cast<DWORD>(sizeof(DWORD));
    return TRUE;
}

// Windows refuses here what the handle could not do later.
HANDLE OpenProcess(DWORD access, BOOL /*inheritHandle*/, DWORD process)
{
    const std::string path = "/proc/" + std::to_string(process);
    const int folder = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0)
        return nullptr;

    const OpenedObject opened = {folder, static_cast<pid_t>(process)};
    const bool reads = access & (PROCESS_QUERY_INFORMATION | PROCESS_VM_READ);
    if ((reads && ExecutablePath(folder).empty()) || ((access & PROCESS_TERMINATE) && !Signal(opened, 0))) {
        close(folder);
        return nullptr;
    }
    return new OpenedObject(opened);
}

BOOL EnumProcessModules(HANDLE process, HMODULE* modules, DWORD size, DWORD* needed)
{
    if (ExecutablePath(static_cast<OpenedObject*>(process)->descriptor).empty())
        return FALSE;
    if (size >= sizeof(HMODULE))
        modules[0] = static_cast<HMODULE>(process); // never looked into
    *needed = sizeof(HMODULE);
    return TRUE;
}

// Windows gives the file's name on disk. A running file can't be removed there.
DWORD GetModuleBaseNameA(HANDLE process, HMODULE /*module*/, LPSTR name, DWORD size)
{
    std::string path = ExecutablePath(static_cast<OpenedObject*>(process)->descriptor);
    const std::size_t marked = path.rfind(RemovedMark);
    if (marked != std::string::npos && marked + std::strlen(RemovedMark) == path.size())
        path.erase(marked);
    const std::string base = path.substr(path.rfind('/') + 1);
    if (base.empty() || size == 0)
        return 0;

    const std::size_t length = std::min<std::size_t>(base.size(), size - 1);
    std::memcpy(name, base.data(), length);
    name[length] = '\0';
    return static_cast<DWORD>(length);
}

// Windows ends the process without asking it. A killed process has no exit code here.
BOOL TerminateProcess(HANDLE process, UINT /*exitCode*/)
{
    return Signal(*static_cast<OpenedObject*>(process), SIGKILL);
}
