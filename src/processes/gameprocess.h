// The question whether the game runs.
#pragma once

#include <string>

// True if a process other than this one has `name` in its file name, in any case, launchers included; the
// game's servers don't count. False also if the process table can't be read. A snapshot.
bool IsGameProcessRunning(std::string name);
