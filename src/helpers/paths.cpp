#include "helpers/paths.h"

#include "helpers/text.h"

int LastBackslash(const std::string& path)
{
    return FindLast(path, "\\");
}

std::string StripPathComponents(std::string path, int count)
{
    ReplaceAll(path, "/", "\\");
    for (int i = 0; i < count; ++i) {
        const int separator = LastBackslash(path);
        if (separator < 0)
            return std::string();
        EraseFrom(path, separator);
    }
    if (!path.empty() && path.back() == '\\')
        path.pop_back();
    return path;
}
