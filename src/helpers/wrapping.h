// Arithmetic of the 32-bit byte counters, which wrap at 2 GiB. Signed overflow is undefined, so they
// compute with unsigned types.
#pragma once

#include <cstdint>

// Amounts from here on are shown wrongly. Bytes.
constexpr std::int64_t CounterLimit = std::int64_t{1} << 31;

inline std::int32_t LowBits(std::int64_t value)
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(value));
}

inline std::int32_t WrappingAdd(std::int32_t a, std::int32_t b)
{
    return LowBits(std::int64_t{a} + b);
}

inline std::int32_t WrappingSubtract(std::int32_t a, std::int32_t b)
{
    return LowBits(std::int64_t{a} - b);
}
