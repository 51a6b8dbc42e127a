#include "startup/relay.h"

#include <vector>

#include "gametree/layout.h"
#include "gametree/strings.h"
#include "helpers/files.h"
#include "helpers/numbers.h"
#include "helpers/text.h"
#include "platform/platform.h"

namespace {
// The numbers of the folders that a start removes.
constexpr int FoldersCleaned = 10;

// Name of the temporary folder with this number, 1 and up.
std::string TemporaryFolderName(int number)
{
    return tempFolderStem + IntText(number);
}

std::vector<std::string> PlainFiles(const std::string& folder)
{
    std::vector<std::string> files;
    ListDirectory(folder, files, false);
    return files;
}

// Windows removes no folder that is marked read-only, and OneDrive marks all that it keeps.
void ClearReadOnly(const std::string& folder)
{
    const DWORD attributes = GetFileAttributesA(folder.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY))
        SetFileAttributesA(folder.c_str(), attributes & ~FILE_ATTRIBUTE_READONLY);
}

// Copies files that stand directly in `from` into the existing folder `to`.
void Copy(const std::vector<std::string>& files, const std::string& from, const std::string& to)
{
    for (const std::string& file : files) {
        std::string rest = file;
        ReplaceAll(rest, from, "");
        CopyFileA(file.c_str(), (to + rest).c_str(), FALSE);
    }
}
} // namespace

void RemoveTemporaryFolders()
{
    for (int number = 1; number <= FoldersCleaned; ++number) {
        const std::string folder = TemporaryFolderName(number);
        if (!PathExists(folder))
            continue;
        ClearReadOnly(folder);
        ClearReadOnly(folder + "\\" + PluginFolderName);
        try {
            RemoveDirectoryTree(folder);
        } catch (...) {
            // The folder stays, and the relay takes another number. The next folders are still removed.
        }
    }
}

bool Relay(const std::string& currentDirectory)
{
    RemoveTemporaryFolders();

    int number = 1;
    while (PathExists(TemporaryFolderName(number)))
        ++number;
    const std::string folder = TemporaryFolderName(number);

    CreateDirectoryA(folder.c_str(), nullptr);
    Copy(PlainFiles(currentDirectory), currentDirectory, currentDirectory + "\\" + folder);

    // Qt looks for its platform plugin here.
    const std::string plugins = std::string("\\") + PluginFolderName;
    const std::vector<std::string> pluginFiles = PlainFiles(currentDirectory + plugins);
    CreateDirectoryA((folder + plugins).c_str(), nullptr);
    Copy(pluginFiles, currentDirectory + plugins, currentDirectory + "\\" + folder + plugins);

    // The copy inherits this directory, and knows by it what kind of run it is.
    const std::string temporaryPath = currentDirectory + "\\" + folder + "\\";
    SetCurrentDirectoryA(temporaryPath.c_str());
    const HINSTANCE result = ShellExecuteA(nullptr, "open", (temporaryPath + LauncherFileName).c_str(), "",
                                           nullptr, SW_SHOWDEFAULT);
    return reinterpret_cast<ULONG_PTR>(result) > 32;
}
