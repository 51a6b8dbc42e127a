// The time of day, and waiting.
#include "platform/platform.h"

#include <cerrno>
#include <chrono>
#include <thread>

__time64_t _time64(__time64_t* time)
{
    const __time64_t now = std::time(nullptr);
    if (time)
        *time = now;
    return now;
}

errno_t _localtime64_s(std::tm* local, const __time64_t* time)
{
    const std::time_t seconds = *time;
    return localtime_r(&seconds, local) ? 0 : errno;
}

void Sleep(DWORD milliseconds)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}
