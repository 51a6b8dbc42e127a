#include "gametree/strings.h"

#include "gametree/layout.h"

// The order matters: each may use those above it.
std::string updateServerUrl = "http://" UPDATE_SERVER_HOST "/LatestVersion/";
std::string fileListUrl = updateServerUrl + ListFileName;
std::string patchNotesUrl = "https://" PATCH_NOTES_HOST "/launcher.php";
const std::string parentPrefix = "../";
const std::string tempFolderStem = "LAUNCHER_TEMP_EXE_FOLDER";
std::string launcherDigest;
