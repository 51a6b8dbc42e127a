// The launcher's only window, and the owner of all state of the one update cycle that a run performs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include <QMainWindow>
#include <QTimer>

class QStringListModel;
class QtDownload;
struct ContentList;
struct ITaskbarList3;
struct MainWindowForm;
struct SpeedMeter;

// The operations stand in the order of an update, under the name of the file that holds them.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    // --- construction.cpp ---

    // Expects the temporary folder as the current directory, and moves it up to the installed launcher's.
    // When it returns the timer runs, but no tick has been delivered. Reports no failure.
    MainWindow();
    ~MainWindow() override;

    // --- transfers.cpp ---

    // Deletes the old file and starts fetching the new one. Processes no events.
    void StartTransfer(std::string url, std::string localPath);

    // --- metering.cpp ---

    // Books the bytes that a transfer has received so far, and shows amount, speed and fraction.
    void TransferProgress(qint64 received, QtDownload* transfer);

    // --- transferend.cpp ---

    // Takes the end of a transfer, which stays in `transfers` until the next tick. `error` is a
    // QNetworkReply::NetworkError, 0 for success.
    void TransferFinished(QtDownload* transfer, int error);

    // --- listprocessing.cpp ---

    // Reads the local file list, brings the tree's shape in line with it and fills the queue with what
    // differs. False if a change is needed while a game process runs; then only the local list was deleted.
    // If the list or the tree is refused, the state is Offline on return and the result means nothing.
    // Processes events, so ticks run inside it; the state stays FetchingList meanwhile.
    bool ProcessFileList();
    // Lets Qt deliver all events, so that the window lives while a long pass holds the thread. Ticks and the
    // slots of transfers can run in it, and the player can close the window: a pass holds only values of its
    // own across it, and runs on.
    static void ProcessWaitingEvents();
    // The same at every tenth place of a pass, the first one included.
    static void ProcessWaitingEventsAt(std::size_t index);

    // --- log.cpp ---

    // Adds a line, stamped with the local time. Only queues it.
    void Log(std::string message);
    // Moves the queued lines on top of the list, newest first. Without `force`, only if 0.2 seconds have
    // gathered since the last time.
    void FlushLog(bool force);

    // --- progress.cpp ---

    // Shows a fraction from 0 to 1 on the bar and on the taskbar button; exactly 0 clears the button.
    void SetProgress(float fraction);

    // The fields in the order of their construction.
    MainWindowForm* ui;                         // owned; the widgets are the window's children
    std::vector<QtDownload*> transfers;         // owned; an ended one stays until the next tick
    std::vector<QtDownload*> finishedTransfers; // point into `transfers`; the next tick deletes them
    SpeedMeter* speedMeter = nullptr;           // owned; made with the first file transfer
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

private:
    // --- construction.cpp ---

    // Shows the patch notes whenever a page has loaded, or failed to.
    void OnPatchNotesLoaded(bool ok);

    // --- tick.cpp ---

    // Steps the cycle from Idle or DownloadingFiles.
    void RunCycle();
    // Starts the cycle: checks the root and asks for the list.
    void BeginCycle(const std::string& treeRoot);
    // True if this is still the checked root. Otherwise the cycle has ended.
    bool KeepsCheckedRoot(const std::string& treeRoot);

    // --- reconciliation.cpp ---

    // Deletes unlisted files, makes listed folders and removes unlisted ones. False as soon as a change is
    // needed while a game process runs. Also false if the root holds other things than the game: then nothing
    // has been changed, and the cycle has ended.
    bool ReconcileTree(const std::string& treeRoot, const ContentList& content);

    // --- changedetection.cpp ---

    // Hashes every listed file and queues each that differs. False as soon as one differs while a game
    // process runs.
    bool FindChanges(const std::string& treeRoot, const ContentList& content);

    // --- transfers.cpp ---

    // Starts transfers up to the limit and ends the cycle when nothing is left.
    void WorkOffQueue(const std::string& treeRoot);
    // Deletes the running and the ended transfers, which then write nothing more. No slot of theirs may be
    // on the stack.
    void DeleteTransfers();

    // --- cycleend.cpp ---

    // Ends a cycle that went well: up to date, or a restart if the launcher's own file has changed.
    void FinishCycle();
    // Ends the cycle as a failure with this status text, and offers "Play Offline".
    void EndOffline(const std::string& status);
    void OfferPlayOffline();
    // Ends the cycle before it can do harm, with this reason in the log.
    void RefuseToUpdate(const std::string& reason);
    // Tells the player that a game process runs, waits until he has closed the box, and quits.
    void EndBlocked();
};

// --- log.cpp ---

// The local time of day as "hour:minute:second", two digits each: the stamp of a log line.
std::string TimeOfDayText();
