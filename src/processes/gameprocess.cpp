#include "processes/gameprocess.h"

#include "helpers/text.h"
#include "processes/processname.h"

namespace {
// The game's servers have its name in theirs. They never count.
bool IsServer(const std::string& loweredName)
{
    return Contains(loweredName, "lobbyserver") || Contains(loweredName, "loginserver");
}
} // namespace

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
