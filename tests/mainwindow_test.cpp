// The window and its update cycle: what it does to the tree, what it asks the server for, what it tells the
// player, and how it ends.
#include <QApplication>
#include <QElapsedTimer>
#include <QListView>
#include <QMessageBox>
#include <QRegularExpression>
#include <QScrollBar>
#include <QTabWidget>
#include <QThread>
#include <QWebEnginePage>

#include "gametree/filelist.h"
#include "gametree/layout.h"
#include "qtdownload/qtdownload.h"
#include "support/childprocess.h"
#include "support/testmain.h"
#include "support/windowundertest.h"

namespace {
// Runs the event loop. True if the program has ended it, false if nothing has for a long time.
bool ProgramQuits()
{
    bool late = false;
    const QObject guard;
    QTimer::singleShot(20000, &guard, [&late] {
        late = true;
        QCoreApplication::exit();
    });
    QCoreApplication::exec();
    return !late;
}
} // namespace

class MainWindowTest : public QObject
{
    Q_OBJECT

private slots:
    void aFreshWindowIsFixedAndItsPageShowsEvenWhenItFailed()
    {
        WindowUnderTest test;
        MainWindow& window = test.OpenStill();
        QVERIFY(window.windowFlags() & Qt::MSWindowsFixedSizeDialogHint);
        QVERIFY(window.ui->LogListView->editTriggers() == QAbstractItemView::NoEditTriggers);
        QVERIFY(window.ui->WebView->contextMenuPolicy() == Qt::NoContextMenu);
        QVERIFY(IsWindows || !window.windowIcon().isNull());
        const QStringList shows = {"status: Status", "percentage: %", "Play, disabled", "bar, at 0",
                                   "patch notes"};
        COMPARE_ALL(test.Shows(), shows + listAsked.mid(0, 1));
        window.ui->WebView->hide();
        emit window.ui->WebView->page()->loadFinished(false);
        QVERIFY(window.ui->WebView->isVisible());
    }

    // --- What a list does to the tree ---

    void whatIsNotListedIsRemovedButForTheSpared()
    {
        WindowUnderTest test;
        Tree spared = {{"unins000.dat", ""},
                       {"xengineLog.txt.old", ""},
                       {"LAUNCHER_TEMP_EXE_FOLDER2/", ""},
                       {"LAUNCHER_TEMP_EXE_FOLDER2/x", ""},
                       {"empty/", ""}};
        const Tree listed = {
            {"sets.old/", ""}, {"sets.old/no dot", "1"}, {"sets/", ""}, {"sets/no dot", "2"}};
        QVERIFY(WriteTree(test.tree.Root(), spared) && WriteTree(test.tree.Root(), listed));
        QVERIFY(WriteTree(test.tree.Root(), {{"UNINS000.EXE", "another case"},
                                             {"sets/webBrowserLog.txt", ""},
                                             {"unlisted/engineLog.txt", "goes with its folder"},
                                             {"left/over/file.txt", ""},
                                             {"left.over/no dot", ""}}));
        test.Publish(listed);
        QVERIFY(test.RunToTheEnd());
        QStringList removals = test.Shows().mid(10);
        removals.sort(); // a folder is listed in an order of the system's own
        const QStringList expected = {
            "Deleted file: UNINS000.EXE",         "Deleted file: left.over\\no dot",
            "Deleted file: left\\over\\file.txt", "Directory deleted: left.over",
            "Directory deleted: left\\over",
            "Directory deleted: sets\\no dot", // only said so, of any path without a dot
            "Directory deleted: unlisted",        "Game is up to date",
            "Initializing files to download"};
        COMPARE_ALL(removals, expected);
        spared.insert(listed.begin(), listed.end());
        spared.insert({{"left/", ""}, {"sets/webBrowserLog.txt", ""}});
        COMPARE_ALL(test.GameTree(), spared);
    }

    void onlyWhatDiffersIsQueued()
    {
        WindowUnderTest test;
        const Tree before = {{"sets/", ""},
                             {"sets/same", "1"},
                             {"sets/changed", "old"},
                             {"no digest", "1"},
                             {"MyList.txt.x", "old"}};
        QVERIFY(WriteTree(test.tree.Root(), before));
        const Tree published = {
            {"sets/", ""}, {"sets/same", "1"}, {"sets/changed", "new"}, {"MyList.txt.x", "new"}};
        const std::string list =
            WindowUnderTest::ListOf(published) +
            "F#no digest#4#\nF#absent, no digest#8#\nF#list.txt#2147483647#0\nF#list.txt#2#0\n";
        QVERIFY(WriteFile(test.tree.Path("Game/TessaloomLauncher/List.txt"), list));
        if (!IsWindows) { // ends before the length that the system tells
            QVERIFY(
                QFile::link("/sys/devices/system/cpu/possible", test.tree.Path("sets/unreadable").c_str()));
            QVERIFY(WriteFile(test.tree.Path("Game/TessaloomLauncher/List.txt"),
                              list + "F#sets\\unreadable#16#0\n"));
        }
        MainWindow& window = test.OpenStill();
        judgedRoot = TreeRoot();
        QVERIFY(window.ProcessFileList() == ListResult::Complete);
        std::deque<std::string> queue = {"sets/changed", "no digest", "list.txt", "list.txt"};
        const bool unreadable = test.Shows().last() == "Failed to open/get hash of file: sets\\unreadable";
        if (!IsWindows)
            queue.push_back("sets/unreadable");
        QVERIFY(window.fileQueue == queue && (unreadable || IsWindows));
        const std::int32_t wrapped = INT32_MIN + 3 + 4 + 1; // the sizes' sum passes 2 GiB
        QCOMPARE(window.totalBytes, IsWindows ? wrapped : wrapped + 16);
    }

    void aRunningGameStopsTheFirstChange()
    {
        const Tree listed = {{"sets/", ""}, {"sets/a.map", "1"}};
        struct Row
        {
            const char* name;
            Tree before;
            ListResult result;
        };
        const Row rows[] = {
            {"nothing to change", listed, ListResult::Complete},
            {"a file to delete", {{"sets/", ""}, {"sets/a.map", "1"}, {"b.txt", "2"}}, ListResult::Blocked},
            {"a folder to make", {{"a.map", "in the root"}}, ListResult::Blocked},
            {"a folder to remove",
             {{"sets/", ""}, {"sets/a.map", "1"}, {"x/", ""}, {"x/engineLog.txt", ""}},
             ListResult::Blocked},
            {"a file to fetch", {{"sets/", ""}}, ListResult::Blocked},
        };
        for (const Row& row : rows) {
            WindowUnderTest test;
            MainWindow& window = test.OpenStill();
            window.gameProcessRunning = true;
            judgedRoot = TreeRoot();
            QVERIFY(WriteTree(test.tree.Root(), row.before));
            QVERIFY(WriteFile(test.tree.Path("Game/TessaloomLauncher/List.txt"),
                              WindowUnderTest::ListOf(listed)));
            QVERIFY2(window.ProcessFileList() == row.result && window.fileQueue.empty(), row.name);
            COMPARE_ALL(test.GameTree(), row.before);
        }
    }

    void thePlayerIsToldAboutARunningGameOnce()
    {
        if (IsWindows)
            QSKIP("The box is the system's own there, and no widget that a test could press.");
        WindowUnderTest test;
        test.Publish({{"a.txt", "1"}});
        test.OpenStill().gameProcessRunning = true;
        QStringList boxes;
        QTimer looking;
        connect(&looking, &QTimer::timeout, [&] {
            for (QWidget* widget : QApplication::topLevelWidgets()) {
                if (auto* const box = qobject_cast<QMessageBox*>(widget)) {
                    QMetaObject::invokeMethod(test.window, "Update"); // opens no second one
                    boxes += {box->windowTitle(), box->text()};
                    QVERIFY(box->icon() == QMessageBox::Critical && box->textFormat() == Qt::PlainText);
                    box->accept();
                }
            }
        });
        looking.start(50);
        test.window->updateTimer.start();
        QVERIFY(ProgramQuits());
        QCOMPARE(boxes,
                 QStringList({"Error",
                              "An update was found but at least one Tessaloom process is already running.\n"
                              "Close all Tessaloom processes before starting the launcher again."}));
        const QStringList shows = {"status: Checking for file changes...",
                                   "percentage: 1 / 2 files checked   50%", "Play, disabled", "bar, at 0",
                                   "patch notes"};
        COMPARE_ALL(test.Shows(),
                    shows + ListLoaded({{"a.txt", ""}}) + QStringList("Initializing files to download"));
    }

    // --- Refusals and failures ---

    void anotherRootThanTheGamesIsRefused()
    {
        const auto refused = [](const WindowUnderTest& test) {
            QStringList shows = test.Shows();
            return shows.takeLast().startsWith("Refusing to update") &&
                   shows.mid(0, 5) == Offline("Refusing to update this folder");
        };
        const Tree game = {{"a.txt", "mine"}};
        {
            WindowUnderTest deep("Game/TessaloomLauncher/Release/Backup");
            QVERIFY(WriteTree(deep.tree.Root(), game));
            QVERIFY(deep.RunToTheEnd() && refused(deep) && deep.server.requests.isEmpty());
            COMPARE_ALL(deep.GameTree(), game);
        }
        if (IsWindows)
            QSKIP(
                "The home folder can't be another one there, and no folder be moved in which a process "
                "runs.");
        {
            WindowUnderTest home;
            QVERIFY(WriteTree(home.tree.Root(), game));
            const QByteArray before = qgetenv("HOME");
            qputenv("HOME", home.tree.Root().c_str());
            const bool ended = home.RunToTheEnd();
            qputenv("HOME", before);
            QVERIFY(ended && refused(home) && home.server.requests.isEmpty());
            COMPARE_ALL(home.GameTree(), game);
        }
        // The folder is moved while the list, or a file, is on its way.
        for (const char* late : {"List.txt", "b.txt"}) {
            WindowUnderTest moved;
            QVERIFY(WriteTree(moved.tree.Root(), game));
            moved.Publish({{"b.txt", "new"}});
            moved.server.scripts[late].delay = 300;
            const std::string there = moved.tree.Root() + " moved";
            QTimer::singleShot(200,
                               [&] { QVERIFY(QDir().rename(moved.tree.Root().c_str(), there.c_str())); });
            QVERIFY(moved.RunToTheEnd());
            QVERIFY(QDir().rename(there.c_str(), moved.tree.Root().c_str()));
            QVERIFY(refused(moved) || late == std::string("b.txt"));
            QVERIFY(updateState == UpdateState::Offline);
        }
    }

    // --- The log, the tick and the button ---

    void logLinesShowAfterAFifthOfASecondNewestFirst()
    {
        WindowUnderTest test;
        MainWindow& window = test.OpenStill();
        window.Log("Grüße");
        window.Log("");
        QList<int> rows;
        for (const unsigned long pause : {0, 50, 160}) { // milliseconds, which add up
            QThread::msleep(pause);
            window.FlushLog(false);
            rows += window.logModel->rowCount();
        }
        QCOMPARE(rows, QList<int>({0, 0, 3}));
        window.Log("forced");
        window.FlushLog(true);
        QStringList lines = window.logModel->stringList();
        lines.replaceInStrings(QRegularExpression("^\\[\\d\\d:\\d\\d:\\d\\d\\] "), "STAMP ");
        QCOMPARE(lines.mid(0, 3), QStringList({"STAMP forced", "STAMP ", "STAMP Grüße"}));
    }

    void newLogLinesLeaveTheReaderWhereHeIs()
    {
        WindowUnderTest test;
        MainWindow& window = test.OpenStill();
        window.ui->TabControl->setCurrentIndex(1);
        const QListView& view = *window.ui->LogListView;
        for (int i = 0; i < 3000; ++i)
            window.Log("Downloading file");
        window.FlushLog(true);
        QTRY_VERIFY(view.verticalScrollBar()->maximum() > 2500);
        view.verticalScrollBar()->setValue(2250);
        window.Log(std::string(300, 'W'));
        window.Log(std::string(400, 'i')); // more letters, but narrower
        window.FlushLog(true);
        const int widest = view.sizeHintForIndex(window.logModel->index(1)).width();
        QTRY_VERIFY(view.horizontalScrollBar()->maximum() + view.viewport()->width() >= widest);
        QCOMPARE(view.verticalScrollBar()->value(), 2250);
    }

    void every21stTickSleeps()
    {
        WindowUnderTest test;
        MainWindow& window = test.OpenStill();
        updateState = UpdateState::UpToDate;
        std::vector<qint64> shortest(21, 1000000000); // in nanoseconds, by the place in the round
        for (int tick = 0; tick < 10 * 21; ++tick) {
            QElapsedTimer timer;
            timer.start();
            QMetaObject::invokeMethod(&window, "Update");
            shortest[tick % 21] = std::min(shortest[tick % 21], timer.nsecsElapsed());
        }
        QVERIFY(shortest[0] >= 1000000);
        QVERIFY(*std::max_element(shortest.begin() + 1, shortest.end()) < 1000000);
    }

    void onlyEndedTransfersOfItsOwnAreDeletedByATick()
    {
        WindowUnderTest test;
        MainWindow& window = test.OpenStill();
        QtDownload stranger;
        window.transfers = {new QtDownload, new QtDownload};
        const std::vector<QtDownload*> running = {window.transfers[0]};
        window.finishedTransfers = {&stranger, window.transfers[1]};
        updateState = UpdateState::FetchingList; // its transfer may still be at work
        QMetaObject::invokeMethod(&window, "Update");
        QVERIFY(window.transfers.size() == 2 && window.finishedTransfers.size() == 2);
        updateState = UpdateState::Offline;
        QMetaObject::invokeMethod(&window, "Update");
        QVERIFY(window.transfers == running && window.finishedTransfers.empty());
    }

    void playQuitsWithTheGameOrWithoutOne()
    {
        const std::string folder = "Game/Tessaloom/Code/Current/Release/";
        for (const bool thereIsAGame : {true, false}) {
            WindowUnderTest test;
            const std::string report = test.tree.Path("report");
            qputenv(ReportVariable, report.c_str());
            QVERIFY(WriteTree(test.tree.Root(), {{folder, ""}}));
            QVERIFY(
                CopyChildProgram(test.tree.Path(folder + (thereIsAGame ? "Tessaloom.exe" : "other.exe"))));
            // As a transfer leaves the game.
            QFile::setPermissions(test.tree.Path(folder + "Tessaloom.exe").c_str(),
                                  QFile::ReadOwner | QFile::WriteOwner);
            QPushButton& play = *test.OpenStill().ui->Play;
            QTimer pressing; // as an impatient player does; a disabled button starts nothing
            connect(&pressing, &QTimer::timeout, &play, &QPushButton::click);
            pressing.start(5);
            test.window->updateTimer.start();
            QVERIFY(ProgramQuits());
            COMPARE_ALL(test.Shows().mid(0, 5), notConnected);
            const std::string expected =
                test.tree.Path(folder).substr(0, test.tree.Path(folder).size() - 1) + "\n0 arguments";
            if (thereIsAGame)
                QTRY_COMPARE(QDir::fromNativeSeparators(ReadFile(report).c_str()), QString(expected.c_str()));
            QCOMPARE(QFile::exists(report.c_str()), thereIsAGame);
        }
        qunsetenv(ReportVariable);
    }

    void anAbsentLauncherIsNoReasonToRestart()
    {
        WindowUnderTest test;
        test.server.scripts["List.txt"].body = "D#Game\\TessaloomLauncher\\Release\nF#nothing to fetch#0#\n";
        QVERIFY(test.RunToTheEnd());
        const QStringList log = {"List of files loaded with 2 elements",
                                 "Deleted temporary list file",
                                 "Deleting files and directories that are not in the list",
                                 "Deleted file: Game\\TessaloomLauncher\\Release\\TessaloomLauncher.exe",
                                 "Initializing files to download",
                                 "Game is up to date"};
        COMPARE_ALL(test.Shows(), upToDate + listAsked + log);
    }
};

QTEST_MAIN(MainWindowTest)
#include "mainwindow_test.moc"
