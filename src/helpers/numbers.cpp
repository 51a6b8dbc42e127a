#include "helpers/numbers.h"

#include <cstdio>

#include "helpers/text.h"

std::string IntText(std::int32_t value)
{
    return std::to_string(value);
}

std::string FloatText(float value)
{
    // The largest float has 39 digits before the point; what shows is cut to the field's width.
    char buffer[30];
    std::snprintf(buffer, sizeof(buffer), "%f", static_cast<double>(value));

    std::string text = buffer;
    while (!text.empty() && text.back() == '0')
        text.pop_back();
    if (!text.empty() && text.back() == '.')
        text.pop_back();
    return text;
}

std::string PercentText(double fraction)
{
    std::string text = FloatText(static_cast<float>(fraction * 100.0));
    for (const char* separator : {",", "."}) {
        const std::size_t position = text.find(separator);
        if (position != std::string::npos)
            EraseFrom(text, static_cast<int>(position));
    }
    return text;
}

std::string GroupDigits(std::string digits)
{
    for (std::size_t position = digits.size(); position > 3;) {
        position -= 3;
        digits.insert(position, " ");
    }
    return digits;
}
