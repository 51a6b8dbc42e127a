// Waiting.
#include "platform/platform.h"

#include <chrono>
#include <thread>

// Windows waits until the first tick of its timer after that time.
void Sleep(DWORD milliseconds)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

// The timer is fine here.
UINT timeBeginPeriod(UINT /*milliseconds*/)
{
    return 0;
}

UINT timeEndPeriod(UINT /*milliseconds*/)
{
    return 0;
}
