// The launcher's side of ./bench: runs one of its pieces on real files and prints what it took.
//
// Each command prints "name value" lines; times are seconds of wall time without the program's own start.
#include <algorithm>
#include <string>
#include <vector>

#include <QApplication>
#include <QFileInfo>
#include <QLabel>
#include <QTabWidget>

#include "bench/coarsetimer.h"
#include "bench/measure.h"
#include "digest/filedigest.h"
#include "digest/readahead.h"
#include "digest/sha256_blocks.h"
#include "form/mainwindowform.h"
#include "gametree/layout.h"
#include "gametree/strings.h"
#include "helpers/files.h"
#include "mainwindow/cyclestate.h"
#include "mainwindow/mainwindow.h"
#include "platform/platform.h"
#include "startup/launchercontext.h"

namespace {
std::vector<std::string> FilesIn(const std::string& folder)
{
    std::vector<std::string> files;
    ListDirectory(folder, files, true);
    return files;
}

int Digest(const std::string& folder)
{
    const std::vector<std::string> files = FilesIn(folder);
    std::size_t digested = 0;
    {
        const Measurement measurement;
        for (const std::string& file : files)
            digested += FileSha256(file).size() == 64;
    }
    return !files.empty() && digested == files.size() ? 0 : 1;
}

// As Digest, with the hints that a start gives in front of each file.
int HintedDigest(const std::string& folder)
{
    const std::vector<std::string> files = FilesIn(folder);
    std::vector<std::int32_t> sizes;
    sizes.reserve(files.size());
    for (const std::string& file : files)
        sizes.push_back(static_cast<std::int32_t>(QFileInfo(NativePath(file).c_str()).size()));
    std::size_t digested = 0;
    {
        const Measurement measurement;
        ReadAheadWindow window;
        for (std::size_t i = 0; i < files.size(); ++i) {
            ReadAhead("", files, sizes, i, window);
            digested += FileSha256(files[i]).size() == 64;
        }
    }
    return !files.empty() && digested == files.size() ? 0 : 1;
}

void Settle(double seconds)
{
    for (const double settled = Now() + seconds; Now() < settled;)
        QCoreApplication::processEvents();
}

// The window in an installed tree, which stands as after a start of its temporary copy. It has been painted,
// and the cycle has not begun.
MainWindow& Open(const std::string& root)
{
    SetCurrentDirectoryA((root + "/Game/TessaloomLauncher/Release/" + tempFolderStem + "1").c_str());
    auto* const window = new MainWindow;
    window->gameProcessRunning = false;
    LauncherContext::Instance().window = window;
    window->show();
    updateState = UpdateState::Offline;
    Settle(0.2);
    return *window;
}

int Start(const std::string& root)
{
    Open(root);
    updateState = UpdateState::Idle;
    WarmMemory();
    {
        const Measurement measurement;
        while (updateState < UpdateState::UpToDate)
            QCoreApplication::processEvents();
    }
    return updateState == UpdateState::UpToDate ? 0 : 1;
}

// The list processing alone, with the list already in its place.
int List(const std::string& root)
{
    MainWindow& window = Open(root);
    checkedRoot = TreeRoot();
    updateState = UpdateState::FetchingList;
    bool complete = false;
    {
        const Measurement measurement;
        complete = window.ProcessFileList();
    }
    return complete && window.fileQueue.empty() ? 0 : 1;
}

// Lines arrive by the hundred between two rounds of the event loop, as from a long pass, with the log tab in
// front.
int Log(const std::string& root, int lines)
{
    MainWindow& window = Open(root);
    window.ui->TabControl->setCurrentWidget(window.ui->LogTabItem);
    Settle(0.2);

    double longestRound = 0;
    double longestFlush = 0;
    const double start = Now();
    for (int line = 0; line < lines || !window.pendingLogLines.empty();) {
        for (int i = 0; i < 100 && line < lines; ++i, ++line)
            window.Log("Deleted file: Game\\data\\some folder\\file number " + std::to_string(line) + ".dat");
        const double flush = Now();
        window.FlushLog(false);
        longestFlush = std::max(longestFlush, Now() - flush);
        const double round = Now();
        QCoreApplication::processEvents();
        longestRound = std::max(longestRound, Now() - round);
    }
    Print("seconds", Now() - start);
    Print("longest_flush", longestFlush);
    Print("longest_round", longestRound);

    // And all at once, as when a pass without a pump has gathered them.
    for (int line = 0; line < lines; ++line)
        window.Log("Deleted file: Game\\data\\some folder\\file number " + std::to_string(line) + ".dat");
    const double burst = Now();
    window.FlushLog(true);
    Print("burst_flush", Now() - burst);
    const double round = Now();
    QCoreApplication::processEvents();
    Print("burst_round", Now() - round);
    return 0;
}

// Share of one processor that the window uses when all is done.
int Idle(const std::string& root)
{
    Open(root);
    updateState = UpdateState::UpToDate;
    Settle(2); // the web engine's own start
    const std::clock_t used = std::clock();
    const double start = Now();
    while (Now() - start < 5)
        QCoreApplication::processEvents();
    Print("processor", static_cast<double>(std::clock() - used) / CLOCKS_PER_SEC / (Now() - start));
    return 0;
}
} // namespace

int main(int argc, char** argv)
{
    ShareHeapAmongThreads();
    FixTextConventions();
    const std::string command = argc > 1 ? argv[1] : "";
    const std::string folder = argc > 2 ? argv[2] : "";
    if (command == "digest")
        return Digest(folder);
    if (command == "hinted-digest")
        return HintedDigest(folder);
    for (const Sha256Implementation& implementation : Sha256Implementations()) {
        if (command == std::string(implementation.name) + "-digest") {
            ChosenBlockFunction() = implementation.function;
            return Digest(folder);
        }
    }

    int count = 0;
    QApplication application(count, nullptr);
    FixTextConventions();
    patchNotesUrl = "about:blank";
    if (argc > 3 && command == "start") {
        updateServerUrl = argv[3];
        fileListUrl = updateServerUrl + "List.txt";
        return Start(folder);
    }
    if (command == "list")
        return List(folder);
    if (command == "windows-list" || command == "unasked-list") {
        timerOf = command == "windows-list" ? TimerOf::Windows : TimerOf::WindowsUnasked;
        return List(folder);
    }
    if (argc > 3 && command == "log")
        return Log(folder, std::atoi(argv[3]));
    if (command == "idle")
        return Idle(folder);
    std::fputs(
        "launcher_bench digest|hinted-digest FOLDER, start TREE URL, list|idle TREE, log TREE LINES\n"
        "Also shani-digest, avx2-digest, plain-digest FOLDER: with one block function\n"
        "windows-list, unasked-list TREE: with the timer of Windows, as it is and if nobody asked for a "
        "finer one\n",
        stderr);
    return 2;
}
