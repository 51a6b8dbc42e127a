// Decides whether a path of the published list names something inside the tree. A list with one path that
// does not is refused, so no such path is ever deleted, hashed or written.
#pragma once

#include <string>

// True if a path relative to the tree's root stays below it on every system: no leading separator, no drive,
// stream or device, no component that is "." or ".." or that Windows could read as such. Both slash kinds
// separate. The empty path stays.
bool StaysInTree(const std::string& path);
