// The time of day.
#include "platform/platform.h"

#include <cerrno>

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
