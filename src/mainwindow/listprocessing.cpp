// From the local copy of the file list to a reconciled tree and a filled queue.
#include <QCoreApplication>
#include <QLabel>

#include "gametree/filelist.h"
#include "gametree/layout.h"
#include "helpers/files.h"
#include "helpers/numbers.h"
#include "mainwindow/mainwindow.h"
#include "platform/platform.h"
#include "startup/launchercontext.h"

namespace {
// Reads and parses the list. False if it is invalid. The lines are dropped on return.
bool LoadList(MainWindow& window, const std::string& listPath, ContentList& content)
{
    std::vector<std::string> lines;
    ReadListLines(lines, listPath);
    const auto count = static_cast<std::int32_t>(lines.size());
    if (count >= 1)
        window.Log("List of files loaded with " + IntText(count) + " elements");
    if (count >= 1 && ParseFileList(lines, content))
        return true;
    window.Log("List of files is invalid");
    return false;
}
} // namespace

bool MainWindow::ProcessFileList()
{
    LauncherContext::Instance().StatusText->setText("Looking for updates...");
    const std::string treeRoot = TreeRoot();
    const std::string listPath = ListPath();
    if (!KeepsCheckedRoot(treeRoot))
        return false;

    ContentList content;
    const bool valid = LoadList(*this, listPath, content);
    if (FileExists(listPath)) {
        DeleteFileA(listPath.c_str());
        Log("Deleted temporary list file");
    }
    if (!valid) {
        EndOffline("List of files is invalid");
        return false;
    }

    return ReconcileTree(treeRoot, content) && FindChanges(treeRoot, content);
}

void MainWindow::ProcessWaitingEvents()
{
    QCoreApplication::processEvents();
}

void MainWindow::ProcessWaitingEventsAt(std::size_t index)
{
    if (index % 10 == 0)
        ProcessWaitingEvents();
}
