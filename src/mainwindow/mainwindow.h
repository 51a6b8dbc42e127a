// The launcher's only window, and the owner of all state of the one update cycle that a run performs.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include <QMainWindow>
#include <QTimer>

#include "platform/platform.h"

class QStringListModel;
class QtDownload;
struct ContentList;
struct MainWindowForm;
struct SpeedMeter;

// The phases of the cycle, not in its order: up to DownloadingFiles the tick steps it. UpToDate and what
// follows end it, and nothing leads back to Idle.
enum class UpdateState : std::uint32_t
{
    Idle,              // nothing has been started yet
    DownloadingFiles,  // the queue is worked off
    FetchingList,      // the list is under way, or is being processed
    UpToDate,          // Play is enabled
    Offline,           // something failed; Play is enabled as "Play Offline"
    ProcessesBlocking, // a change is needed while a game process runs; the player is told, then the launcher
                       // quits
    Restarting         // the launcher's own file changed; the new one has been started and this one quits
};

// What became of the file list.
enum class ListResult
{
    Complete, // all passes ran to their end
    Blocked,  // a change is needed while a game process runs; only the local list is gone
    Invalid   // no list to act on; only the local list is gone
};

// The state of the cycle is the process's, and outlives the window. GUI thread only.
extern UpdateState updateState;
extern std::int32_t sleepCountdown; // ticks until the next sleep
extern bool filesWereQueued;        // the queue has held a file
extern bool waitNoticePending;      // the line about waiting for the last transfers is still to be logged

// How many transfers run at once.
constexpr std::size_t MaxTransfers = 15;

class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    // --- construction.cpp ---

    // Expects the temporary folder as the current directory, and moves it up to the installed launcher's.
    // When it returns the timer runs, but no tick has been delivered. Reports no failure.
    MainWindow();
    ~MainWindow() override;
    // Shows the patch notes whenever a page has loaded, or failed to.
    void OnPatchNotesLoaded(bool ok);

    // --- tick.cpp ---

    // Steps the cycle from Idle or DownloadingFiles. Only the tick calls it.
    void RunCycle();

    // --- listprocessing.cpp, reconciliation.cpp, changedetection.cpp ---

    // Reads the local file list, brings the tree's shape in line with it and fills the queue with what
    // differs. Pumps events, so ticks run inside it; the state stays FetchingList meanwhile.
    ListResult ProcessFileList();
    // Removes unlisted files and folders and makes listed folders. False as soon as a change is needed while
    // a game process runs.
    bool ReconcileTree(const std::string& treeRoot, const ContentList& content);
    // Hashes every listed file and queues each that differs. False as soon as one does while a game process
    // runs.
    bool FindChanges(const std::string& treeRoot, const ContentList& content);

    // --- transfers.cpp ---

    // Starts transfers up to the limit and ends the cycle when nothing is left.
    void PumpQueue(const std::string& treeRoot);
    // Deletes the old file and starts fetching the new one. Processes no events.
    void StartTransfer(std::string url, std::string localPath);

    // --- completion.cpp ---

    // Judges the end of a transfer, which stays in `transfers` until the next tick. `error` is a
    // QNetworkReply::NetworkError, 0 for success.
    void TransferFinished(QtDownload* transfer, int error);
    // Ends the cycle for good with this status text, and offers "Play Offline".
    void EndOffline(const std::string& status);

    // --- metering.cpp ---

    // Books the bytes that a transfer has received so far, and shows amount, speed and fraction.
    void TransferProgress(qint64 received, QtDownload* transfer);

    // --- finish.cpp ---

    // Ends a cycle that went well: up to date, or a restart if the launcher's own file has changed.
    void FinishCycle();

    // --- log.cpp ---

    // Adds a line, stamped with the local time. Only queues it.
    void Log(std::string message);
    // Moves the queued lines on top of the list, newest first, if 0.2 seconds have gathered or `force` is
    // set.
    void FlushLog(bool force);

    // --- progress.cpp ---

    // Shows a fraction from 0 to 1 on the bar and on the taskbar button; exactly 0 clears the button.
    void SetProgress(float fraction);

    // The fields in the order of their construction.
    MainWindowForm* ui;                 // owned; the widgets are the window's children
    std::vector<QtDownload*> transfers; // owned; an ended one stays until the next tick
    std::vector<QtDownload*>
        finishedTransfers;                // ended, to be deleted on the next tick; points into `transfers`
    SpeedMeter* speedMeter = nullptr;     // owned; made with the first file transfer
    std::deque<std::string> fileQueue;    // still to be fetched: paths below the root, with forward slashes
    std::int32_t totalBytes = 0;          // listed sizes of all queued files; wraps at 2 GiB
    std::int32_t receivedBytes = 0;       // over all file transfers; wraps at 2 GiB
    bool gameProcessRunning;              // when the window was built; never refreshed
    QTimer updateTimer;                   // the tick
    QStringListModel* logModel = nullptr; // owned; row 0 is the newest line
    double lastLogCheck = 0.0;            // seconds on SteadyClock; 0 means none yet
    double logElapsed = 0.0;              // seconds gathered since the last flush
    std::vector<std::string> pendingLogLines; // not yet in the model, oldest first
    ITaskbarList3* taskbar = nullptr;         // null where the system has none

private slots:
    // --- play.cpp ---

    // Starts the game in its own folder and quits.
    void on_Play_clicked();

    // --- tick.cpp ---

    // One tick: log, meter, ended transfers, a step of the cycle, events, and now and then a short sleep.
    void Update();
};

// The local time of day, "hh:mm:ss".
std::string TimeOfDayText();
