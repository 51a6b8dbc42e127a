#include "startup/steadyclock.h"

#include <chrono>

namespace {
SteadyClock* theClock = nullptr;

std::int64_t Nanoseconds()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
}
} // namespace

SteadyClock::SteadyClock() : origin(Nanoseconds()) {}

SteadyClock& SteadyClock::Instance()
{
    if (!theClock)
        theClock = new SteadyClock;
    return *theClock;
}

void SteadyClock::Release()
{
    delete theClock;
    theClock = nullptr;
}

double SteadyClock::Seconds() const
{
    return static_cast<double>(Nanoseconds() - origin) / 1000000000;
}
