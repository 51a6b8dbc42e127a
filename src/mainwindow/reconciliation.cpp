// Brings the shape of the installed tree in line with the file list, in three passes: delete unlisted files,
// make listed folders, remove unlisted folders. The lines are logged whether or not the operation succeeded;
// the next run tries again.
#include "gametree/filelist.h"
#include "gametree/foreignfiles.h"
#include "gametree/layout.h"
#include "helpers/files.h"
#include "helpers/paths.h"
#include "helpers/text.h"
#include "mainwindow/mainwindow.h"
#include "platform/platform.h"

namespace {
// Every file below the root, relative to it.
std::vector<std::string> TreeEntries(const std::string& treeRoot)
{
    std::vector<std::string> entries;
    ListDirectory(treeRoot, entries, true);
    for (std::string& entry : entries)
        entry.erase(0, treeRoot.size() + 1);
    return entries;
}

// The folder that directly holds the file of this entry, which lies below the root. A path without any dot is
// taken for a folder's.
std::string FolderOf(const std::string& entry)
{
    std::string folder = entry;
    if (Contains(folder, ".") && Contains(folder, "\\"))
        EraseFrom(folder, LastBackslash(folder));
    return folder;
}

// Each pass returns false as soon as a change is needed while a game process runs. Entries that a pass skips
// for their name alone get no round of events either.

bool DeleteUnlistedFiles(MainWindow& window, const std::string& prefix,
                         const std::vector<std::string>& treeEntries, const ContentList& content)
{
    for (std::size_t i = 0; i < treeEntries.size(); ++i) {
        const std::string& entry = treeEntries[i];
        if (SparedFolderIn(entry) != nullptr)
            continue;
        if (content.fileNameIndex.count(entry) == 0 && FileExists(prefix + entry) &&
            SparedNameIn(entry) == nullptr) {
            if (window.gameProcessRunning)
                return false;
            DeleteFileA((prefix + entry).c_str());
            window.Log("Deleted file: " + entry);
        }
        MainWindow::ProcessWaitingEventsAt(i);
    }
    return true;
}

bool MakeListedFolders(MainWindow& window, const std::string& prefix, const ContentList& content)
{
    for (std::size_t i = 0; i < content.directories.size(); ++i) {
        const std::string path = prefix + content.directories[i];
        if (!PathExists(path)) {
            if (window.gameProcessRunning)
                return false;
            CreateDirectoryA(path.c_str(), nullptr);
            window.Log("Created directory: " + path);
        }
        MainWindow::ProcessWaitingEventsAt(i);
    }
    return true;
}

bool RemoveUnlistedFolders(MainWindow& window, const std::string& prefix,
                           const std::vector<std::string>& treeEntries, const ContentList& content)
{
    for (std::size_t i = 0; i < treeEntries.size(); ++i) {
        const bool standsInRoot = Contains(treeEntries[i], ".") && !Contains(treeEntries[i], "\\");
        const std::string folder = FolderOf(treeEntries[i]);
        if (standsInRoot || SparedFolderIn(folder) != nullptr)
            continue;
        if (content.directoryIndex.count(folder) == 0 && PathExists(prefix + folder)) {
            if (window.gameProcessRunning)
                return false;
            RemoveDirectoryTree(prefix + folder);
            window.Log("Directory deleted: " + folder);
        }
        MainWindow::ProcessWaitingEventsAt(i);
    }
    return true;
}
} // namespace

bool MainWindow::ReconcileTree(const std::string& treeRoot, const ContentList& content)
{
    // Not renewed between the passes: a folder is found by the files that it held.
    const std::vector<std::string> treeEntries = TreeEntries(treeRoot);
    const std::vector<std::string> foreign = ForeignFiles(treeEntries, content);
    if (!foreign.empty()) {
        RefuseToUpdate("the folder \"" + treeRoot + "\\" + TopComponent(foreign.front()) +
                       "\" is not the game's, and an update would delete \"" + foreign.front() +
                       "\" in it. Give the game a folder of its own that holds nothing else");
        return false;
    }

    Log("Deleting files and directories that are not in the list");
    const std::string prefix = treeRoot + "\\";
    return DeleteUnlistedFiles(*this, prefix, treeEntries, content) &&
           MakeListedFolders(*this, prefix, content) &&
           RemoveUnlistedFolders(*this, prefix, treeEntries, content);
}
