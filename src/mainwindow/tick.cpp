// The tick and the state machine that it steps.
#include <algorithm>

#include <QCoreApplication>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>

#include "gametree/installedtree.h"
#include "mainwindow/mainwindow.h"
#include "mainwindow/speedmeter.h"
#include "qtdownload/qtdownload.h"
#include "startup/launchercontext.h"
#include "startup/strings.h"

UpdateState updateState = UpdateState::Idle;
std::int32_t sleepCountdown = 0;

namespace {
constexpr std::int32_t TicksBetweenSleeps = 20;

// Set while the box about running processes is open. It pumps messages, so the timer goes on firing.
bool messageBoxOpen = false;

// Destroys the ended transfers that wait in `finished`. `transfers` is their owner: one that it does not hold
// any more is only dropped.
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

    // While the list is processed, its transfer waits here with its own slot still on the stack.
    if (updateState != UpdateState::FetchingList)
        DrainFinished(transfers, finishedTransfers);

    if (updateState <= UpdateState::DownloadingFiles)
        RunCycle();

    if (updateState == UpdateState::ProcessesBlocking) {
        messageBoxOpen = true;
        MessageBoxA(nullptr,
                    "An update was found but at least one Tessaloom process is already running.\n"
                    "Close all Tessaloom processes before starting the launcher again.",
                    "Error", MB_ICONERROR);
        messageBoxOpen = false;
        QCoreApplication::quit();
    }

    // Anything can run here but another timer tick: the transfers' slots, the whole list processing, Play, a
    // click on the close button. Nothing is held across it.
    QCoreApplication::processEvents();

    if (--sleepCountdown < 0) {
        Sleep(1);
        sleepCountdown = TicksBetweenSleeps;
    }
}

void MainWindow::RunCycle()
{
    const std::string treeRoot = TreeRoot();
    if (updateState == UpdateState::DownloadingFiles) {
        PumpQueue(treeRoot);
        return;
    }

    const LauncherContext& context = LauncherContext::Instance();
    context.Play->setEnabled(false);
    context.StatusText->setText("Connecting to server...");
    context.PercentageText->setText("");
    context.ProgressBar->setHidden(true);
    SetProgress(0.0f);

    // Before the first change, which is the arrival of the list.
    if (!IsRootOfItsOwn(treeRoot)) {
        Log("Refusing to update: the folder \"" + treeRoot + "\" holds more than the game");
        EndOffline("Refusing to update this folder");
        return;
    }

    const std::string listPath = ListPath();
    updateState = UpdateState::FetchingList;
    StartTransfer(fileListUrl, listPath);
}
