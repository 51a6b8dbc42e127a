// How the publisher's programs word what they say.
#pragma once

#include <cstddef>
#include <string>

// "path: reason" in one line, whatever the path holds: control characters become "?".
std::string Remark(std::string path, const std::string& reason);

// "1 file" or "1 234 files".
std::string Count(std::size_t number, const char* what);

// "2 h 5 min", "3 min 20 s" or "20 s".
std::string DurationText(double seconds);
