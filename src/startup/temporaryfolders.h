// The numbered folders from which the launcher's temporary copies run.
#pragma once

#include <string>

// Name of the temporary folder with this number, 1 and up.
std::string TemporaryFolderName(int number);

// Removes the folders numbered 1 to 10 below the current directory with all that they hold. What can't be
// removed stays. Blocks; needs no QApplication; call it before anything is copied.
void RemoveTemporaryFolders();
