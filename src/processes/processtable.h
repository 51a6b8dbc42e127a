// The process table as this program reads it: the first 1024 identifiers, names without folders, and the
// question whether the game runs.
#pragma once

#include <string>
#include <vector>

#include "platform/platform.h"

// Identifiers of the running processes, in the system's order, without identifier 0; at most 1024. Empty if
// the table could not be read.
std::vector<DWORD> RunningProcesses();

// The file name of the process's executable exactly as the system gives it, or "<unknown>"
// (UnknownProcessName) for a process that can't be opened or read.
std::string ProcessName(DWORD process);
extern const char* const UnknownProcessName;

// True if a process other than this one has `name` in its file name, in any case, launchers included; the
// game's servers don't count. False also if the process table can't be read. A snapshot.
bool IsGameProcessRunning(std::string name);
