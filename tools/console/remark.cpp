#include "console/remark.h"

#include <algorithm>

std::string Remark(std::string path, const std::string& reason)
{
    std::replace_if(
        path.begin(), path.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, '?');
    return path + ": " + reason;
}
