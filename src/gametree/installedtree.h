// Where the installed tree stands, and the two judges that keep an update inside it: one for listed paths,
// one for the root. Every road to a deletion or a write passes them.
#pragma once

#include <string>

// The root of the game tree, three levels above the current directory, which is the installed launcher's
// folder. Without a closing separator; empty if there are not three levels.
std::string TreeRoot();

// The local copy of the file list, relative to the current directory.
std::string ListPath();

// True if a listed path names something below the root on every system: no leading separator, no drive,
// stream or device, no component that is or could be read as "." or "..". Both slash kinds separate. The
// empty path stays.
bool StaysInTree(const std::string& path);

// True if everything below `root` may be treated as part of the game: neither a drive's root, nor the user's
// home or one of the standard folders of the user or the system, nor a folder that holds one of them.
bool IsRootOfItsOwn(const std::string& root);
