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

// Name of the temporary folders, before their number. No file and no folder whose path contains it is
// removed for itself; an unlisted folder above it is.
extern const std::string tempFolderStem;

// Digest of the installed executable when the window opened; empty before that. If it differs at the end of
// the cycle, the launcher restarts.
extern std::string launcherDigest;
