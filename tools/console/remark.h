// What the publisher's programs say about a path.
#pragma once

#include <string>

// "path: reason" in one line, whatever the path holds: control characters become "?".
std::string Remark(std::string path, const std::string& reason);
