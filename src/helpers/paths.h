// Byte-wise path operations. Nothing here touches the disk.
#pragma once

#include <string>

// Position of the last backslash, or -1.
int LastBackslash(const std::string& path);

// Turns every "/" into "\", cuts the last `count` components with their separators and one closing backslash.
// A closing separator counts as the end of an empty component. Empty if the path has too few separators.
std::string StripPathComponents(std::string path, int count);
