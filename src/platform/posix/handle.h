// What the handles of files and processes point to. CloseHandle closes and frees it.
#pragma once

#include <sys/types.h>

#include "platform/platform.h"

struct OpenedObject
{
    // For a process, its folder /proc/<process>. The open folder belongs to this very process. After the
    // process has ended it is empty and takes no signal, even if another process has got the number.
    int descriptor;
    pid_t process; // 0 for a file
};
