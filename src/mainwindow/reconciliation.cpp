// Brings the shape of the installed tree in line with the file list: unlisted files go, listed folders are
// made, unlisted folders go. The lines are logged whether or not the operation succeeded; what failed is met
// again on the next run.
#include <algorithm>

#include <QCoreApplication>

#include "gametree/filelist.h"
#include "helpers/files.h"
#include "helpers/paths.h"
#include "helpers/text.h"
#include "mainwindow/mainwindow.h"
#include "platform/platform.h"
#include "startup/strings.h"

namespace {
// Files of the installer and of the game's own run, anywhere in a path.
bool IsSpared(const std::string& path)
{
    const auto names = {"unins000.exe", "unins000.dat", "engineLog.txt", "webBrowserLog.txt"};
    return std::any_of(names.begin(), names.end(), [&](const char* name) { return Contains(path, name); });
}

// Keeps the window alive in a long pass. Ticks and transfers' slots can run here, and the user can close the
// window; the passes hold only values of their own across it, and run on.
void Pump(std::size_t index)
{
    if (index % 10 == 0)
        QCoreApplication::processEvents();
}

// The folder that directly holds the file of this entry. A path without a dot is taken for a folder's.
std::string FolderOf(const std::string& entry)
{
    std::string item = entry;
    if (Contains(item, "."))
        EraseFrom(item, LastBackslash(item));
    return item;
}
} // namespace

bool MainWindow::ReconcileTree(const std::string& treeRoot, const ContentList& content)
{
    const std::string prefix = treeRoot + "\\";

    Log("Deleting files and directories that are not in the list");
    std::vector<std::string> treeEntries;
    ListDirectory(treeRoot, treeEntries, true);
    for (std::string& entry : treeEntries)
        entry.erase(0, prefix.size());

    for (std::size_t i = 0; i < treeEntries.size(); ++i) {
        const std::string& entry = treeEntries[i];
        if (Contains(entry, tempFolderStem))
            continue;
        const bool listed = content.fileNameIndex.count(entry) != 0;
        if (!listed && FileExists(prefix + entry) && !IsSpared(entry)) {
            if (gameProcessRunning)
                return false;
            DeleteFileA((prefix + entry).c_str());
            Log("Deleted file: " + entry);
        }
        Pump(i);
    }

    for (std::size_t i = 0; i < content.directories.size(); ++i) {
        const std::string path = prefix + content.directories[i];
        if (GetFileAttributesA(path.c_str()) == INVALID_FILE_ATTRIBUTES) {
            if (gameProcessRunning)
                return false;
            CreateDirectoryA(path.c_str(), nullptr);
            Log("Created directory: " + path);
        }
        Pump(i);
    }

    for (std::size_t i = 0; i < treeEntries.size(); ++i) {
        const std::string& entry = treeEntries[i];
        if (Contains(entry, ".") && !Contains(entry, "\\"))
            continue; // a file directly in the root
        const std::string item = FolderOf(entry);
        if (Contains(item, tempFolderStem))
            continue;
        const bool listed = content.directoryIndex.count(item) != 0;
        if (!listed && PathExists(prefix + item)) {
            if (gameProcessRunning)
                return false;
            RemoveDirectoryTree(prefix + item);
            Log("Directory deleted: " + item);
        }
        Pump(i);
    }
    return true;
}
