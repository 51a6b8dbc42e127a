// Brings the shape of the installed tree in line with the file list, in three passes: delete unlisted files,
// make listed folders, remove unlisted folders. The lines are logged whether or not the operation succeeded;
// the next run tries again.
#include "gametree/filelist.h"
#include "gametree/layout.h"
#include "gametree/strings.h"
#include "helpers/files.h"
#include "helpers/paths.h"
#include "helpers/text.h"
#include "mainwindow/longpass.h"
#include "mainwindow/mainwindow.h"
#include "platform/platform.h"

namespace {
// What a pass does with one of its items.
enum class Need
{
    PassOver, // not even looked at: no events are processed for it either
    Nothing,  // it is as it should be
    Change
};

// Goes through the items in their order and changes those that need it. False as soon as a change is needed
// while a game process runs.
template <typename NeedOf, typename Change>
bool RunPass(const MainWindow& window, const std::vector<std::string>& items, NeedOf needOf, Change change)
{
    for (std::size_t i = 0; i < items.size(); ++i) {
        const Need need = needOf(items[i]);
        if (need == Need::PassOver)
            continue;
        if (need == Need::Change) {
            if (window.gameProcessRunning)
                return false;
            change(items[i]);
        }
        ProcessWaitingEventsAt(i);
    }
    return true;
}

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

bool DeleteUnlistedFiles(MainWindow& window, const std::string& prefix,
                         const std::vector<std::string>& treeEntries, const ContentList& content)
{
    const auto needOf = [&](const std::string& entry) {
        if (Contains(entry, tempFolderStem))
            return Need::PassOver;
        const bool stays = content.fileNameIndex.count(entry) != 0 || !FileExists(prefix + entry) ||
                           SparedNameIn(entry) != nullptr;
        return stays ? Need::Nothing : Need::Change;
    };
    return RunPass(window, treeEntries, needOf, [&](const std::string& entry) {
        DeleteFileA((prefix + entry).c_str());
        window.Log("Deleted file: " + entry);
    });
}

bool MakeListedFolders(MainWindow& window, const std::string& prefix, const ContentList& content)
{
    const auto needOf = [&](const std::string& directory) {
        return PathExists(prefix + directory) ? Need::Nothing : Need::Change;
    };
    return RunPass(window, content.directories, needOf, [&](const std::string& directory) {
        CreateDirectoryA((prefix + directory).c_str(), nullptr);
        window.Log("Created directory: " + prefix + directory);
    });
}

bool RemoveUnlistedFolders(MainWindow& window, const std::string& prefix,
                           const std::vector<std::string>& treeEntries, const ContentList& content)
{
    const auto needOf = [&](const std::string& entry) {
        const bool standsInRoot = Contains(entry, ".") && !Contains(entry, "\\");
        if (standsInRoot || Contains(FolderOf(entry), tempFolderStem))
            return Need::PassOver;
        const std::string folder = FolderOf(entry);
        const bool stays = content.directoryIndex.count(folder) != 0 || !PathExists(prefix + folder);
        return stays ? Need::Nothing : Need::Change;
    };
    return RunPass(window, treeEntries, needOf, [&](const std::string& entry) {
        const std::string folder = FolderOf(entry);
        RemoveDirectoryTree(prefix + folder);
        window.Log("Directory deleted: " + folder);
    });
}
} // namespace

bool MainWindow::ReconcileTree(const std::string& treeRoot, const ContentList& content)
{
    Log("Deleting files and directories that are not in the list");
    const std::string prefix = treeRoot + "\\";
    // Not renewed between the passes: a folder is found by the files that it held.
    const std::vector<std::string> treeEntries = TreeEntries(treeRoot);
    return DeleteUnlistedFiles(*this, prefix, treeEntries, content) &&
           MakeListedFolders(*this, prefix, content) &&
           RemoveUnlistedFolders(*this, prefix, treeEntries, content);
}
