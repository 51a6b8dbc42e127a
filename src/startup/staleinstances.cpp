#include "startup/staleinstances.h"

#include "helpers/text.h"
#include "platform/platform.h"
#include "processes/processtable.h"

std::vector<DWORD> OtherInstances()
{
    const DWORD self = GetCurrentProcessId();
    const std::string ownName = ProcessName(self);
    // Otherwise every process that can't be read would seem to have the same name.
    if (Equals(ownName, UnknownProcessName))
        return {};

    std::vector<DWORD> others;
    for (const DWORD process : RunningProcesses()) {
        if (process != self && Equals(ProcessName(process), ownName))
            others.push_back(process);
    }
    return others;
}

void TerminateOtherInstances()
{
    const std::string ownName = ProcessName(GetCurrentProcessId());
    for (const DWORD process : OtherInstances()) {
        if (const HANDLE handle = OpenProcess(PROCESS_TERMINATE, FALSE, process)) {
            // Another process may have got this number since its name was read. None can get it while the
            // handle is open.
            if (Equals(ProcessName(process), ownName))
                TerminateProcess(handle, 0); // a refusal leaves that process running
            CloseHandle(handle);
        }
    }
}
