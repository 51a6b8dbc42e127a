#include "processes/processname.h"

#include <algorithm>

namespace {
constexpr std::size_t MaxProcesses = 1024;
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
