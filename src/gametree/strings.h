// The process-wide strings, initialised before the entry point runs.
#pragma once

#include <string>

// Base of every file transfer, with the closing slash. Plain HTTP. Tests point it at a server of their own,
// and `fileListUrl` with it.
extern std::string updateServerUrl;
extern std::string fileListUrl;
extern std::string patchNotesUrl;

// Prefix of the local copy of the file list, relative to the launcher's folder.
extern const std::string parentPrefix;

// Name of the temporary folders, before their number. An update deletes no file and no folder for itself
// whose path contains it, only with an unlisted folder above it. Each start removes the folders numbered 1
// to 10.
extern const std::string tempFolderStem;

// Digest of the installed executable when the window opened; empty before that. If it differs at the end of
// the cycle, the launcher restarts.
extern std::string launcherDigest;
