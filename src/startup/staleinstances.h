// One launcher window at a time: the newest start wins.
#pragma once

// Terminates every other process that bears this process's file name, whatever its folder. Does not wait for
// their ends. Terminates nothing if this process's own name can't be read.
void TerminateOtherInstances();
