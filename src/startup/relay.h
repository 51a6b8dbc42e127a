// The installed run: the launcher copies itself into a temporary folder and starts the copy, so that nothing
// of the installed launcher is in use while an update replaces it.
#pragma once

#include <string>

// Clears old temporary folders, copies the plain files of the current directory and of its "platforms" folder
// into a new one, makes that the current directory and starts the copy there. `currentDirectory`, not empty,
// is the current directory. Failures stop nothing and show nothing. False if the copy was not started.
bool Relay(const std::string& currentDirectory);

// The first step of it: removes the folders numbered 1 to 10 below the current directory with all that they
// hold. What can't be removed stays. Blocks; needs no QApplication.
void RemoveTemporaryFolders();
