#include "console/wording.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "helpers/numbers.h"

std::string Remark(std::string path, const std::string& reason)
{
    std::replace_if(
        path.begin(), path.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, '?');
    return path + ": " + reason;
}

std::string Count(std::size_t number, const char* what)
{
    return GroupDigits(std::to_string(number)) + " " + what + (number == 1 ? "" : "s");
}

std::string DurationText(double seconds)
{
    const auto whole = std::llround(seconds);
    const auto text = [](std::int64_t number, const char* unit) {
        return std::to_string(number) + " " + unit;
    };
    if (whole >= 3600)
        return text(whole / 3600, "h ") + text(whole % 3600 / 60, "min");
    if (whole >= 60)
        return text(whole / 60, "min ") + text(whole % 60, "s");
    return text(whole, "s");
}
