#include "mainwindow/speedmeter.h"

#include "helpers/wrapping.h"
#include "startup/steadyclock.h"

SpeedMeter::SpeedMeter() : lastTick(SteadyClock::Instance().Seconds()) {}

void SpeedMeter::Book(std::int32_t bytes)
{
    meteredBytes = WrappingAdd(meteredBytes, bytes);
    sampleSizes.push_back(bytes / 1024);
    sampleAges.push_back(sampleLifetime);
}

void SpeedMeter::Tick()
{
    const double now = SteadyClock::Instance().Seconds();
    const double elapsed = now - lastTick;
    if (tickInterval > elapsed)
        return;
    lastTick = now;

    // What is still alive closes up to the front, in one pass.
    std::size_t kept = 0;
    for (std::size_t i = 0; i < sampleAges.size(); ++i) {
        const double age = sampleAges[i] - elapsed;
        if (age < 0.0)
            continue;
        sampleAges[kept] = age;
        sampleSizes[kept] = sampleSizes[i];
        ++kept;
    }
    sampleAges.resize(kept);
    sampleSizes.resize(kept);

    rateCountdown -= elapsed;
    if (rateCountdown >= 0.0)
        return;
    rateCountdown = rateInterval;

    std::int32_t sum = 0;
    for (const std::int32_t size : sampleSizes)
        sum = WrappingAdd(sum, size);
    rateKB = sum > 0 ? static_cast<std::int32_t>(sum / sampleLifetime) : 0;
}
