// Numbers as the player reads them.
#pragma once

#include <cstdint>
#include <string>

// Decimal digits with a leading "-" for a negative value; no grouping, no padding.
std::string IntText(std::int32_t value);

// "%f" without zeros at the end, and without a point at the end.
std::string FloatText(float value);

// The percentage of a fraction (1.0 is 100 per cent), truncated to an integer, without the percent sign.
std::string PercentText(double fraction);

// A blank before every third digit from the end.
std::string GroupDigits(std::string digits);
