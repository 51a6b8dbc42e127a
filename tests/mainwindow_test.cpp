// The window and its update cycle: what a list does to the tree, what the window shows, and how the program
// ends.
#include <QWebEnginePage>

#include "press.h"
#include "support/childprocess.h"
#include "support/testmain.h"
#include "support/windowundertest.h"

class MainWindowTest : public QObject
{
    Q_OBJECT

private slots:
    void aFreshWindowIsFixedAndItsPageShowsEvenWhenItFailed()
    {
        WindowUnderTest test;
        MainWindow& window = test.OpenStill();
        QVERIFY(window.windowFlags() & Qt::MSWindowsFixedSizeDialogHint);
        QVERIFY(!window.ui->ProgressBar->isTextVisible());
        QVERIFY(window.ui->LogListView->editTriggers() == QAbstractItemView::NoEditTriggers);
        QVERIFY(window.ui->WebView->contextMenuPolicy() == Qt::NoContextMenu);
        QVERIFY(IsWindows || !window.windowIcon().isNull());
        const QStringList fresh = {"status: Status", "percentage: %", "Play, disabled", "bar, at 0",
                                   "patch notes"};
        COMPARE_ALL(test.Shows(), fresh + listAsked.mid(0, 1));
        window.ui->WebView->hide();
        emit window.ui->WebView->page()->loadFinished(false);
        QVERIFY(window.ui->WebView->isVisible());
    }

    // --- What a list does to the tree ---

    void whatIsNotListedIsRemovedButForTheSpared()
    {
        WindowUnderTest test;
        const Tree listed = Files({"sets/", "sets/no dot", "sets.old/", "sets.old/no dot"});
        Tree after = Files({"unins000.dat", "xengineLog.txt.old", "sets/webBrowserLog.txt", "empty/",
                            "LAUNCHER_TEMP_EXE_FOLDER2/", "LAUNCHER_TEMP_EXE_FOLDER2/x"});
        after.insert(listed.begin(), listed.end());
        Tree before = Files({"UNINS000.EXE", "other/engineLog.txt", "left/over/file.txt", ".left/over.txt"});
        before.insert(after.begin(), after.end());
        test.Publish(listed);
        QVERIFY(test.Update(before));
        QStringList removals = test.Shows().mid(10).filter("elete");
        removals.sort(); // a folder is listed in an order of the system's own
        const QStringList expected = {
            "Deleted file: .left\\over.txt",      "Deleted file: UNINS000.EXE",
            "Deleted file: left\\over\\file.txt", "Directory deleted: .left",
            "Directory deleted: left\\over",      "Directory deleted: other",
            "Directory deleted: sets\\no dot"}; // only said so, of any path without a dot
        COMPARE_ALL(removals, expected);
        QVERIFY(test.Shows().filter("Waiting for").isEmpty()); // nothing was to be fetched
        after["left/"];
        COMPARE_ALL(test.GameTree(), after);
    }

    // The window would hang otherwise.
    void eventsAreProcessedDuringTheLongPasses()
    {
        WindowUnderTest test;
        test.OpenStill();
        for (int i = 0; i < 100; ++i)
            QVERIFY(WriteFile(test.tree.Path(std::to_string(i) + ".dat"), "unlisted"));
        int rounds = 0;
        QTimer timer;
        connect(&timer, &QTimer::timeout, [&] { ++rounds; });
        timer.start(0);
        std::string list = WindowUnderTest::ListOf({});
        for (int i = 0; i < 100; ++i)
            list += "F#absent#1#\n";
        QVERIFY(test.Process(list));
        QVERIFY(rounds > 20); // one for ten files of each kind, and five for what is listed besides
    }

    void onlyWhatDiffersIsQueued()
    {
        WindowUnderTest test;
        MainWindow& window = test.OpenStill();
        const std::string large(3000000, 'x'); // is fetched in advance
        QVERIFY(WriteTree(test.tree.Root(), Files({"sets/changed", "no digest", "MyList.txt.x"})));
        QVERIFY(WriteFile(test.tree.Path("sets/same"), large));
        std::deque<std::string> queue = {"sets/changed", "no digest", "list.txt", "list.txt"};
        std::int32_t bytes = INT32_MIN + 3 + 4 + 1; // the sum of the sizes passes 2 GiB
        std::string list = WindowUnderTest::ListOf(
            {{"sets/", ""}, {"sets/same", large}, {"sets/changed", "new"}, {"MyList.txt.x", "new"}});
        list += "F#no digest#4#\nF#absent, no digest#8#\nF#list.txt#2147483647#0\nF#list.txt#2#0\n";
        if (!IsWindows) {
            // Ends before the length that the system tells.
            QVERIFY(QFile::link("/sys/devices/system/cpu/possible", test.tree.Path("sets/torn").c_str()));
            QCOMPARE(QProcess::execute("mkfifo", {test.tree.Path("pipe").c_str()}), 0); // nobody writes to it
            list += "F#sets\\torn#16#0\nF#pipe#32#\n";
            queue.push_back("sets/torn");
            bytes += 16;
        }
        const unsigned openFiles = OpenFiles();
        QVERIFY(test.Process(list));
        QCOMPARE(OpenFiles(), openFiles);
        QVERIFY(ReadFile("/proc/self/maps").find("sets/same") == std::string::npos); // no view of it is left
        QVERIFY(window.fileQueue == queue);
        QCOMPARE(window.totalBytes, bytes);
        QVERIFY(IsWindows || test.Shows().last() == "Failed to open/get hash of file: sets\\torn");
    }

    void aRunningGameStopsTheFirstChange()
    {
        struct Row
        {
            const char* name;
            Tree before;
            bool complete;
        };
        const Row rows[] = {
            {"nothing to change", Files({"sets/", "sets/a.map"}), true},
            {"a file to delete", Files({"sets/", "sets/a.map", "b.txt"}), false},
            {"a folder to make", {}, false},
            {"a folder to remove", Files({"sets/", "sets/a.map", "x/", "x/engineLog.txt"}), false},
            {"a file to fetch", Files({"sets/"}), false},
        };
        for (const Row& row : rows) {
            WindowUnderTest test;
            test.OpenStill().gameProcessRunning = true;
            QVERIFY(WriteTree(test.tree.Root(), row.before));
            QVERIFY2(test.Process(WindowUnderTest::ListOf(Files({"sets/", "sets/a.map"}))) == row.complete,
                     row.name);
            QVERIFY2(test.window->fileQueue.empty(), row.name);
            COMPARE_ALL(test.GameTree(), row.before);
        }
    }

    void thePlayerIsToldOnceThatAGameRuns()
    {
        WindowUnderTest test;
        test.Publish({{"a.txt", "1"}});
        MainWindow& window = test.OpenStill();
        window.gameProcessRunning = true;
        QStringList boxes;
        QTimer looking;
        connect(&looking, &QTimer::timeout, [&] {
            const QStringList box = CloseOwnBox();
            boxes += box;
            if (!box.isEmpty()) {
                window.logElapsed = 1.0;
                window.Log("waits until the box is closed");
                QMetaObject::invokeMethod(&window, "Update"); // opens no second one
                QCOMPARE(window.pendingLogLines.size(), 1u);  // all others show already
            }
        });
        looking.start(50);
        window.updateTimer.start();
        QVERIFY(ProgramQuits());
        const QString text =
            "An update was found but at least one Tessaloom process is already running.\n"
            "Close all Tessaloom processes before starting the launcher again.";
        QCOMPARE(boxes, QStringList({"Error", text}));
        const QStringList shows = {"status: Checking for file changes...",
                                   "percentage: 1 / 2 files checked   50%", "Play, disabled", "bar, at 0",
                                   "patch notes"};
        COMPARE_ALL(test.Shows().mid(0, 5), shows);
    }

    void anotherRootThanTheGamesIsRefused()
    {
        const QStringList refused = Offline("Refusing to update this folder");
        const Tree game = Files({"a.txt"});
        const char* const variable = IsWindows ? "USERPROFILE" : "HOME";
        const QByteArray home = qgetenv(variable);
        for (const char* folder : {"Backup", "."}) { // below the launcher's
            WindowUnderTest test;
            test.OpenStill();
            QVERIFY(QDir().mkpath(folder) && QDir::setCurrent(folder));
            qputenv(variable, test.tree.Root().c_str());
            const bool ended = test.Update(game);
            qputenv(variable, home);
            QVERIFY(ended && test.Shows().last().startsWith("Refusing to update: "));
            COMPARE_ALL(test.Shows().mid(0, 5) + test.server.requests, refused);
            COMPARE_ALL(test.GameTree(), game);
        }
        if (IsWindows)
            QSKIP("A folder that a program stands in can't be moved there.");
        // The folder is moved while the list is on its way, or while a file is.
        for (const QString late : {"List.txt", "b.txt"}) {
            WindowUnderTest moved;
            const QString here = moved.tree.Root().c_str();
            moved.Publish(Files({"b.txt"}));
            moved.server.scripts[late.toStdString()].delay = 300;
            bool away = false;
            QTimer asking;
            connect(&asking, &QTimer::timeout, [&] {
                if (!away && moved.server.requests.contains(late))
                    away = QDir().rename(here, here + " moved");
            });
            asking.start(5);
            QVERIFY(moved.Update(game) && away);
            asking.stop();
            QVERIFY(QDir().rename(here + " moved", here));
            QCOMPARE(moved.Shows().filter("Refusing to update: "),
                     moved.Shows().mid(moved.Shows().size() - 1));
            QCOMPARE(moved.Shows().filter("List of files loaded").size(), late == "List.txt" ? 0 : 1);
            QVERIFY(updateState == UpdateState::Offline);
        }
    }

    // Somebody unpacked "Game" into the folder of all his games.
    void aRootThatOtherThingsShareIsRefused()
    {
        const Tree listed = Files({"Sets/", "Sets/a.map"});
        for (const char* foreign : {"Other Game/other.exe", "Taxes/2024/March.XLSX", "Löhne/a.Pdf"}) {
            WindowUnderTest test;
            test.Publish(listed);
            test.OpenStill().gameProcessRunning = foreign[0] == 'T';
            QVERIFY(WriteTree(test.tree.Root(), Files({"Sets/", "left over.txt", foreign})));
            const Tree before = test.GameTree();
            QVERIFY(test.Update({}));
            const QStringList shows = test.Shows();
            COMPARE_ALL(shows.mid(0, 5), Offline("Refusing to update this folder"));
            COMPARE_ALL(shows.mid(5, shows.size() - 6), ListLoaded(listed).mid(0, 4));
            const QString file = QString(foreign).replace('/', '\\');
            const QString folder = "ROOT\\" + file.section('\\', 0, 0);
            QVERIFY2(shows.last().startsWith("Refusing to update: the folder \"" + folder + "\"") &&
                         shows.last().contains("\"" + file + "\""),
                     qPrintable(shows.last()));
            COMPARE_ALL(test.GameTree(), before);
        }
    }

    void programsThatTheGameMayHaveLeftAreSwept()
    {
        WindowUnderTest test;
        test.Publish(Files({"Sets/", "Sets/a.map", "Öffentlich/"}));
        const std::vector<std::string> swept = {"Game/old.exe", "OLD.LNK",
                                                "Other/exe",    "Other/old.exe.old",
                                                "Sets/old.exe", "öffentlich/old/old.doc"};
        QVERIFY(
            WriteTree(test.tree.Root(), Files({"Other/unins000.exe", "x/LAUNCHER_TEMP_EXE_FOLDER/x.exe"})));
        QVERIFY(test.Update(Files(swept)));
        COMPARE_ALL(test.Shows().mid(0, 5), upToDate);
        QStringList lines = test.Shows().filter("Deleted file: "), expected;
        for (const std::string& file : swept)
            expected += QString("Deleted file: " + QString(file.c_str())).replace('/', '\\');
        lines.sort(); // a folder is listed in an order of the system's own
        COMPARE_ALL(lines, expected);
    }

    // --- The log, the tick and the end ---

    void logLinesShowAfterAFifthOfASecondNewestFirst()
    {
        WindowUnderTest test;
        MainWindow& window = test.OpenStill();
        window.Log("Grüße");
        window.Log("");
        QList<int> rows;
        for (const double pause : {0.0, 0.02, 0.19}) { // seconds, which add up
            window.lastLogCheck -= pause;
            window.FlushLog(false);
            rows += window.logModel->rowCount();
        }
        QCOMPARE(rows, QList<int>({0, 0, 3}));
        QStringList lines = window.logModel->stringList().mid(0, 2);
        const QString hour = QTime::currentTime().toString("HH"); // in a zone that is far from Greenwich's
        lines.replaceInStrings(QRegularExpression("^\\[" + hour + ":\\d\\d:\\d\\d\\] "), "STAMP ");
        QCOMPARE(lines, QStringList({"STAMP ", "STAMP Grüße"}));
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
        window.FlushLog(true);
        window.Log(std::string(400, 'i')); // more letters, but narrower: narrows nothing
        window.FlushLog(true);
        const int widest = view.sizeHintForIndex(window.logModel->index(1)).width();
        QTRY_VERIFY(view.horizontalScrollBar()->maximum() + view.viewport()->width() >= widest);
        QCOMPARE(view.verticalScrollBar()->value(), 2250);
    }

    void theFirstTickSleepsAndEvery21stAfterIt()
    {
        WindowUnderTest test;
        MainWindow& window = test.OpenStill();
        const QDeadlineTimer leastTime(50); // milliseconds, for a hundred sleeps of one
        for (int tick = 0; tick < 2100; ++tick) {
            QMetaObject::invokeMethod(&window, "Update");
            QCOMPARE(sleepCountdown, 20 - tick % 21); // set at each sleep
        }
        QVERIFY(leastTime.hasExpired());
    }

    void playQuitsAfterAFailureAndWithoutAGame()
    {
        WindowUnderTest test;
        QPushButton& play = *test.OpenStill().ui->Play;
        QTimer pressing; // as an impatient player does; a disabled button starts nothing
        connect(&pressing, &QTimer::timeout, &play, &QPushButton::click);
        pressing.start(5);
        test.window->updateTimer.start();
        QVERIFY(ProgramQuits());
        COMPARE_ALL(test.Shows().mid(0, 5), notConnected);
        QCOMPARE(QDir::currentPath(), QDir(test.tree.Path(test.launcherFolder).c_str()).path());
    }

    void aChangedLauncherIsStartedAndThisOneQuits()
    {
        WindowUnderTest test;
        const std::string report = test.tree.Path("report");
        qputenv(ReportVariable, report.c_str());
        const std::string launcher = "Game/TessaloomLauncher/Release/TessaloomLauncher.exe";
        const std::string listed = "Game\\TessaloomLauncher\\Release";
        test.server.scripts["List.txt"].body =
            "D#" + listed + "\nF#" + listed + "\\" + LauncherFileName + "#8#0\n";
        test.server.scripts[launcher].body = ReadFile(TEST_CHILD);
        test.OpenStill().updateTimer.start();
        QVERIFY(ProgramQuits());
        qunsetenv(ReportVariable);
        QVERIFY(QFile::permissions(test.tree.Path(launcher).c_str()) & QFile::ReadOwner);
        QCOMPARE(test.Shows().last(),
                 QString("Restarting launcher since the .exe file was updated: ") + LauncherFileName);
        const QString folder = QDir::toNativeSeparators(test.tree.Path(test.launcherFolder).c_str());
        QTRY_COMPARE(QString(ReadFile(report).c_str()), folder + "\n0 arguments");
    }

    // The current directory is gone then, where a system lets it go.
    void aListWithoutTheLauncherWritesInTheTreeAndDoesNotRestart()
    {
        WindowUnderTest test;
        test.server.scripts["List.txt"].body = "#records#1\nF#a b.txt#3#0\n";
        test.server.scripts["a b.txt"].body = "new";
        QVERIFY(test.Update({}));
        COMPARE_ALL(test.Shows().mid(0, 5), upToDate);
        QCOMPARE(ReadFile(test.tree.Path("a b.txt")).c_str(), "new");
        QVERIFY(!QFile::exists(test.tree.Path(test.launcherFolder + "/" + LauncherFileName).c_str()));
    }
};

QTEST_MAIN(MainWindowTest)
#include "mainwindow_test.moc"
