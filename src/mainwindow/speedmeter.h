// The transfer rate over the last two seconds.
#pragma once

#include <cstdint>
#include <vector>

// Times are seconds on SteadyClock. 1 KB is 1024 bytes. Sums wrap at 32 bits.
struct SpeedMeter
{
    double tickInterval = 0.01;            // least time between two ageing passes
    double rateInterval = 0.5;             // time between two recomputations of the rate
    double rateCountdown = 0.0;            // left to the next recomputation
    double sampleLifetime = 2.0;           // how long a sample counts, and the divisor of the rate
    std::int32_t rateKB = 0;               // KB per second, the value on display
    double lastTick;                       // of the last ageing pass
    std::int32_t meteredBytes = 0;         // all that was booked since creation
    std::vector<std::int32_t> sampleSizes; // booked amounts in whole KB
    std::vector<double> sampleAges;        // seconds of life left, parallel to the sizes

    SpeedMeter();

    // Books bytes that have arrived, fewer than before if negative.
    void Book(std::int32_t bytes);

    // Ages the samples and now and then recomputes the rate. To be called often.
    void Tick();
};
