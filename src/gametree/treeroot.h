// Decides whether a folder may be the tree's root. An update deletes whatever the list does not name, so the
// root must hold nothing but the game.
#pragma once

#include <string>

// True if everything below `root`, a full path as TreeRoot gives it, may be treated as part of the game.
// False for a drive's root, for the user's home, for a standard folder of the user or the system, for every
// folder that holds one of these, and for a root whose final path can't be had. Links are followed, and with
// them all that FinalPath sees through. Asks the disk only for what a comparison of the plain paths has not
// settled, but may wait for a slow one.
bool IsSafeTreeRoot(const std::string& root);

// True if the system's calls and Qt take this path for the same folder: the calls read its bytes by the local
// code page, and new files are written under what Qt reads in them as UTF-8. Before Windows 10 1903 the two
// differ in letters outside ASCII, elsewhere in what is no UTF-8. Old files would be deleted and new ones not
// written.
bool IsReadAlike(const std::string& root);
