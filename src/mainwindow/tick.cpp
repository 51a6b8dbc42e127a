// The tick and the state machine that it steps.
#include <algorithm>

#include <QCoreApplication>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>

#include "gametree/layout.h"
#include "gametree/strings.h"
#include "gametree/treeroot.h"
#include "helpers/files.h"
#include "helpers/text.h"
#include "mainwindow/cyclestate.h"
#include "mainwindow/mainwindow.h"
#include "mainwindow/speedmeter.h"
#include "platform/platform.h"
#include "qtdownload/qtdownload.h"
#include "startup/launchercontext.h"

namespace {
constexpr std::int32_t TicksBetweenSleeps = 20;

// Deletes the ended transfers and empties `finished`. `transfers` is their owner: one that it does not hold
// any more is not deleted.
void DrainFinished(std::vector<QtDownload*>& transfers, std::vector<QtDownload*>& finished)
{
    for (QtDownload* transfer : finished) {
        const auto owned = std::find(transfers.begin(), transfers.end(), transfer);
        if (owned != transfers.end()) {
            delete transfer;
            transfers.erase(owned);
        }
    }
    finished.clear();
}
} // namespace

void MainWindow::Update()
{
    if (messageBoxOpen)
        return;

    FlushLog(false);
    if (speedMeter)
        speedMeter->Tick();

    // While the list is processed, the slot of its ended transfer is still on the stack.
    if (updateState != UpdateState::FetchingList)
        DrainFinished(transfers, finishedTransfers);

    if (updateState <= UpdateState::DownloadingFiles)
        RunCycle();
    SetTimerFine(updateState < UpdateState::UpToDate);

    if (updateState == UpdateState::ProcessesBlocking)
        EndBlocked();

    // The transfers' slots, the list processing, Play or a click on the close button can run in this.
    // Nothing is held across it.
    QCoreApplication::processEvents();

    if (--sleepCountdown < 0) {
        Sleep(1);
        sleepCountdown = TicksBetweenSleeps;
    }
}

void MainWindow::RunCycle()
{
    const std::string treeRoot = TreeRoot();
    if (updateState == UpdateState::Idle)
        BeginCycle(treeRoot);
    else if (KeepsCheckedRoot(treeRoot))
        WorkOffQueue(treeRoot);
    else
        DeleteTransfers(); // they would still write into the other folder
}

void MainWindow::BeginCycle(const std::string& treeRoot)
{
    const LauncherContext& context = LauncherContext::Instance();
    context.Play->setEnabled(false);
    context.StatusText->setText("Connecting to server...");
    context.PercentageText->setText("");
    context.ProgressBar->setHidden(true);
    SetProgress(0.0f);

    // Checked before the first change, which is the arrival of the list.
    const std::string launcherFolder = treeRoot + "\\" + LauncherFolder;
    if (!Equals(CurrentDirectory(), launcherFolder)) {
        RefuseToUpdate("the launcher stands in \"" + CurrentDirectory() + "\" and not in \"" +
                       launcherFolder + "\"");
        return;
    }
    if (!IsReadAlike(treeRoot)) {
        RefuseToUpdate("the path \"" + treeRoot +
                       "\" holds letters that this system does not read as UTF-8, so no new file could be "
                       "written there. Before Windows 10 1903, use a path of plain English letters");
        return;
    }
    if (!IsSafeTreeRoot(treeRoot)) {
        RefuseToUpdate("the folder \"" + treeRoot +
                       "\" holds other things than the game, or can't be examined");
        return;
    }
    checkedRoot = treeRoot;

    const std::string listPath = ListPath();
    updateState = UpdateState::FetchingList;
    StartTransfer(fileListUrl, listPath);
}

bool MainWindow::KeepsCheckedRoot(const std::string& treeRoot)
{
    if (Equals(treeRoot, checkedRoot))
        return true;
    RefuseToUpdate("the game's folder was \"" + checkedRoot + "\" and is now \"" + treeRoot + "\"");
    return false;
}
