// What the handles of files and processes point to on this side. CloseHandle closes and frees it.
#pragma once

#include <sys/types.h>

#include "platform/platform.h"

struct OpenedObject
{
    // Of a process its folder, /proc/<process>: it stays with this process, and is empty and takes no signal
    // once the process is gone, even if another one has got the number by then.
    int descriptor;
    pid_t process; // 0 for a file
};
