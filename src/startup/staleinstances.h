// One launcher window at a time: the newest start wins.
#pragma once

#include <vector>

#include "platform/platform.h"

// Identifiers of the other processes that have this process's file name, whatever their folder. Empty if this
// process's own name can't be read.
std::vector<DWORD> OtherInstances();

// Terminates the other instances. Does not wait until they have ended.
void TerminateOtherInstances();
