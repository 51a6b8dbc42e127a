// The time base of every interval in the program: a monotonic clock with an origin of its own.
#pragma once

#include <cstdint>

class SteadyClock
{
public:
    // The one clock; its first use sets the origin.
    static SteadyClock& Instance();
    // Frees the clock, if there is one. A later Instance starts at a new origin.
    static void Release();

    // Seconds since the origin.
    double Seconds() const;

private:
    SteadyClock();

    std::int64_t origin; // nanoseconds on the standard library's steady clock
};
