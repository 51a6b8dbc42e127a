#include "processes/processtable.h"

#include <algorithm>

#include "helpers/text.h"

namespace {
constexpr std::size_t MaxProcesses = 1024;

// The game's servers have its name in theirs. They never count.
bool IsServer(const std::string& loweredName)
{
    return Contains(loweredName, "lobbyserver") || Contains(loweredName, "loginserver");
}
} // namespace

const char* const UnknownProcessName = "<unknown>";

std::vector<DWORD> RunningProcesses()
{
    DWORD table[MaxProcesses];
    DWORD filled = 0;
    if (!EnumProcesses(table, sizeof(table), &filled))
        return {};

    std::vector<DWORD> processes(table, table + filled / sizeof(DWORD));
    processes.erase(std::remove(processes.begin(), processes.end(), DWORD(0)), processes.end());
    return processes;
}

std::string ProcessName(DWORD process)
{
    const HANDLE handle = OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, process);
    if (!handle)
        return UnknownProcessName;

    char name[MAX_PATH] = {};
    HMODULE executable = nullptr;
    DWORD needed = 0;
    const bool read = EnumProcessModules(handle, &executable, sizeof(executable), &needed) &&
                      GetModuleBaseNameA(handle, executable, name, sizeof(name)) > 0;
    CloseHandle(handle);
    return read ? name : UnknownProcessName;
}

bool IsGameProcessRunning(std::string name)
{
    const DWORD ownProcess = GetCurrentProcessId();
    ToLower(name);
    for (const DWORD process : RunningProcesses()) {
        std::string processName = ProcessName(process);
        ToLower(processName);
        if (!IsServer(processName) && Contains(processName, name) && process != ownProcess)
            return true;
    }
    return false;
}
