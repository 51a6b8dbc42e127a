#include "gametree/listedpath.h"

#include <algorithm>

#include "helpers/text.h"

namespace {
// A component that the system could read as "." or "..": Windows drops blanks and dots at a name's end.
bool IsDots(const std::string& component)
{
    return !component.empty() && component.find_first_not_of(". ") == std::string::npos &&
           Contains(component, ".");
}

// A name that means a device in every folder, whatever follows its first dot.
bool IsDevice(const std::string& component)
{
    std::string stem = component.substr(0, component.find('.'));
    stem.erase(stem.find_last_not_of(' ') + 1);
    ToLower(stem);
    for (const char* device : {"con", "prn", "aux", "nul", "conin$", "conout$"}) {
        if (Equals(stem, device))
            return true;
    }
    if (!Equals(stem.substr(0, 3), "com") && !Equals(stem.substr(0, 3), "lpt"))
        return false;
    const std::string number = stem.substr(3);
    // The raised digits 1 to 3 count as digits there.
    return (number.size() == 1 && number[0] >= '0' && number[0] <= '9') ||
           ListContains({"\xC2\xB9", "\xC2\xB2", "\xC2\xB3"}, number);
}
} // namespace

bool StaysInTree(const std::string& path)
{
    // A zero byte would end the path for the system, but not for this test.
    if (path.find('\0') != std::string::npos || Contains(path, ":"))
        return false;

    std::string rest = path;
    ReplaceAll(rest, "/", "\\");
    if (!rest.empty() && rest.front() == '\\')
        return false;
    for (std::size_t start = 0, end; start < rest.size(); start = end + 1) {
        end = std::min(rest.find('\\', start), rest.size());
        const std::string component = rest.substr(start, end - start);
        if (IsDots(component) || IsDevice(component))
            return false;
    }
    return true;
}
