#include "startup/temporaryfolders.h"

#include "gametree/strings.h"
#include "helpers/files.h"
#include "helpers/numbers.h"

namespace {
constexpr int FoldersCleaned = 10;
}

std::string TemporaryFolderName(int number)
{
    return tempFolderStem + IntText(number);
}

void RemoveTemporaryFolders()
{
    for (int number = 1; number <= FoldersCleaned; ++number) {
        const std::string folder = TemporaryFolderName(number);
        if (!PathExists(folder))
            continue;
        try {
            RemoveDirectoryTree(folder);
        } catch (...) {
            // The folder stays, and the relay takes another number. The next folders are still removed.
        }
    }
}
