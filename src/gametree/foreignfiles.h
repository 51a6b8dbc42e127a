// Finds out whether other things than the game stand in its root, as after unpacking "Game" into a folder
// that holds other programs. An update would delete them.
#pragma once

#include <string>
#include <vector>

#include "gametree/filelist.h"

// Those of the tree's files that an update to this list would delete and that look as if they were somebody
// else's: programs and papers in a folder of the root that is not "Game" and of which the list names nothing.
// Neither spared files nor those of temporary folders count. `entries` are files relative to the root, with
// backslashes. The names of folders are compared without regard to case.
std::vector<std::string> ForeignFiles(const std::vector<std::string>& entries, const ContentList& content);
