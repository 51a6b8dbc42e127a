// Turns the entries of the queue into running transfers, and notices that nothing is left to do.
#include <memory>

#include <QFileInfo>
#include <QLabel>

#include "gametree/strings.h"
#include "helpers/files.h"
#include "helpers/text.h"
#include "mainwindow/cyclestate.h"
#include "mainwindow/mainwindow.h"
#include "mainwindow/speedmeter.h"
#include "platform/platform.h"
#include "qtdownload/qtdownload.h"
#include "startup/launchercontext.h"

namespace {
// How many transfers run at once.
constexpr std::size_t MaxTransfers = 15;

// True for a link whose target does not exist. The new content would be written to where it points.
bool LeadsNowhere(const std::string& path)
{
    const QFileInfo file(QString::fromLocal8Bit(NativePath(path).c_str()));
    return file.isSymLink() && !file.exists();
}
} // namespace

void MainWindow::WorkOffQueue(const std::string& treeRoot)
{
    LauncherContext::Instance().StatusText->setText("Downloading files...");
    if (!fileQueue.empty())
        filesWereQueued = true;

    const std::string prefix = treeRoot + "\\";
    while (transfers.size() < MaxTransfers) {
        if (fileQueue.empty()) {
            if (waitNoticePending && filesWereQueued)
                Log("Waiting for all files to finish downloading");
            waitNoticePending = false;
            break;
        }
        const std::string entry = fileQueue.front();
        fileQueue.pop_front();
        StartTransfer(updateServerUrl + entry, prefix + entry);
    }

    if (fileQueue.empty() && transfers.empty())
        FinishCycle();
}

void MainWindow::DeleteTransfers()
{
    finishedTransfers.clear();
    for (QtDownload* transfer : transfers)
        delete transfer;
    transfers.clear();
}

void MainWindow::StartTransfer(std::string url, std::string localPath)
{
    std::string displayName = url;
    ReplaceAll(displayName, updateServerUrl, "");

    try {
        if (FileExists(localPath)) {
            // Logged whether or not it was deleted: if it was not, the end of the transfer decides.
            DeleteFileA(localPath.c_str());
            Log("Deleted old file: " + displayName);
        } else if (LeadsNowhere(localPath)) {
            DeleteFileA(localPath.c_str());
        }
    } catch (...) {
        // The transfer starts all the same, with the old file in place.
    }

    Log("Downloading file: " + displayName);
    try {
        // The list is not metered: the first file creates the meter.
        if (!Equals(url, fileListUrl) && !speedMeter)
            speedMeter = new SpeedMeter;
        auto transfer = std::make_unique<QtDownload>();
        transfer->setTransfer(url, localPath);
        transfer->download();
        transfers.push_back(transfer.get());
        static_cast<void>(transfer.release()); // `transfers` owns it now
    } catch (...) {
        Log("ERROR: Creating the web client went wrong!");
        // A file is skipped. Without the list the cycle can't go on.
        if (updateState == UpdateState::FetchingList)
            EndOffline("Failed to connect to server");
    }
}
