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

    void hashingLeavesNoFileOpen()
    {
        if (IsWindows)
            QSKIP("The open files are counted in /proc.");
        WindowUnderTest test;
        test.OpenStill();
        const Tree large = {{"large", std::string(3000000, 'x')}}; // is fetched in advance
        QVERIFY(WriteTree(test.tree.Root(), large));
        const unsigned openFiles = OpenFiles();
        QVERIFY(test.Process(WindowUnderTest::ListOf(large)));
        QVERIFY(test.window->fileQueue.empty());
        QCOMPARE(OpenFiles(), openFiles);
        QVERIFY(ReadFile("/proc/self/maps").find("large") == std::string::npos);
    }

    void whatCannotBeReadDoesNotStopTheUpdate()
    {
        if (IsWindows)
            QSKIP("There is neither a pipe nor a file that tells a wrong length.");
        WindowUnderTest test;
        test.OpenStill();
        QVERIFY(QFile::link("/sys/devices/system/cpu/possible", test.tree.Path("torn").c_str()));
        QCOMPARE(QProcess::execute("mkfifo", {test.tree.Path("pipe").c_str()}), 0); // nobody writes to it
        QVERIFY(test.Process("F#torn#16#0\nF#pipe#1#\n"));
        QVERIFY(test.window->fileQueue == std::deque<std::string>({"torn"}));
        QCOMPARE(test.Shows().last(), QString("Failed to open/get hash of file: torn"));
    }

    void thePlayerIsToldOnceThatAGameRuns()
    {
        WindowUnderTest test;
        test.Publish({{"a.txt", "1"}});
        MainWindow& window = test.OpenStill();
        window.gameProcessRunning = true;
        QStringList boxes;
        QTimer looking;
        std::size_t waitingLines = 0;
        connect(&looking, &QTimer::timeout, [&] {
            const QStringList box = CloseOwnBox();
            boxes += box;
            if (!box.isEmpty()) {
                window.logElapsed = 1.0;
                window.Log("waits until the box is closed");
                QMetaObject::invokeMethod(&window, "Update"); // opens no second one
                waitingLines = window.pendingLogLines.size();
            }
        });
        looking.start(50);
        window.updateTimer.start();
        QVERIFY(ProgramQuits());
        const QString text =
            "An update was found but at least one Tessaloom process is already running.\n"
            "Close all Tessaloom processes before starting the launcher again.";
        QCOMPARE(boxes, QStringList({"Error", text}));
        QCOMPARE(waitingLines, 1u); // all others showed before the box
        const QStringList shows = {"status: Checking for file changes...",
                                   "percentage: 1 / 2 files checked   50%", "Play, disabled", "bar, at 0",
                                   "patch notes"};
        COMPARE_ALL(test.Shows().mid(0, 5), shows);
    }

    void aStartFromAnotherFolderIsRefusedBeforeAnyRequest()
    {
        WindowUnderTest test;
        test.OpenStill();
        QVERIFY(QDir().mkpath("Backup") && QDir::setCurrent("Backup"));
        QVERIFY(test.Update(Files({"a.txt"})));
        QVERIFY(test.Shows().last().startsWith("Refusing to update: the launcher stands in "));
        COMPARE_ALL(test.Shows().mid(0, 5) + test.server.requests, Offline("Refusing to update this folder"));
    }

    void theHomeFolderIsRefusedBeforeAnyRequest()
    {
        WindowUnderTest test;
        test.OpenStill();
        const char* const variable = IsWindows ? "USERPROFILE" : "HOME";
        const QByteArray home = qgetenv(variable);
        qputenv(variable, test.tree.Root().c_str());
        const bool ended = test.Update(Files({"a.txt"}));
        qputenv(variable, home);
        QVERIFY(ended && test.Shows().last().startsWith("Refusing to update: the folder \"ROOT\""));
        COMPARE_ALL(test.Shows().mid(0, 5) + test.server.requests, Offline("Refusing to update this folder"));
    }

    void aTreeThatMovesDuringTheUpdateIsLeftAlone_data()
    {
        QTest::addColumn<QString>("late");
        QTest::addColumn<QString>("lastButOne"); // line of the log
        QTest::newRow("while the list is on its way") << "List.txt" << listAsked.last();
        QTest::newRow("while a file is on its way") << "b.txt"
                                                    << "Waiting for all files to finish downloading";
    }
    void aTreeThatMovesDuringTheUpdateIsLeftAlone()
    {
        if (IsWindows)
            QSKIP("A folder that a program stands in can't be moved there.");
        QFETCH(const QString, late);
        WindowUnderTest test;
        const QString here = test.tree.Root().c_str();
        test.Publish(Files({"b.txt"}));
        test.server.scripts[late.toStdString()].delay = 300;
        QTimer asking;
        connect(&asking, &QTimer::timeout, [&] {
            if (test.server.requests.contains(late) && QDir().rename(here, here + " moved"))
                asking.stop();
        });
        asking.start(5);
        QVERIFY(test.Update({}));
        QVERIFY(QDir().rename(here + " moved", here));
        COMPARE_ALL(test.Shows().mid(0, 5), Offline("Refusing to update this folder"));
        QVERIFY(test.Shows().last().startsWith("Refusing to update: the game's folder was "));
        QTEST(test.Shows()[test.Shows().size() - 2], "lastButOne");
        QVERIFY(!QFile::exists(test.tree.Path("b.txt").c_str()));
    }

    // Somebody unpacked "Game" into the folder of all his games.
    void aRootThatOtherThingsShareIsRefused()
    {
        for (const char* foreign : {"Other Game/other.exe", "Taxes/2024/March.XLSX", "Löhne/a.Pdf"}) {
            WindowUnderTest test;
            test.Publish(Files({"Sets/", "Sets/a.map"}));
            test.OpenStill().gameProcessRunning = foreign[0] == 'T';
            QVERIFY(WriteTree(test.tree.Root(), Files({"Sets/", "left over.txt", foreign})));
            const Tree before = test.GameTree();
            QVERIFY(test.Update({}));
            COMPARE_ALL(test.Shows().mid(0, 5), Offline("Refusing to update this folder"));
            const QString file = QString(foreign).replace('/', '\\'), folder = file.section('\\', 0, 0);
            QVERIFY(
                test.Shows().last().startsWith("Refusing to update: the folder \"ROOT\\" + folder + "\""));
            QVERIFY(test.Shows().last().contains("\"" + file + "\""));
            COMPARE_ALL(test.GameTree(), before);
        }
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
        const QStringList lines = window.logModel->stringList();
        QCOMPARE(lines[0].mid(11), QString());
        QCOMPARE(lines[1].mid(11), QString("Grüße"));
        const QString hour = QTime::currentTime().toString("HH"); // in a zone that is far from Greenwich's
        QVERIFY2(lines[1].startsWith("[" + hour + ":"), qPrintable(lines[1]));
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

    // A fine timer costs power, and a window may stay open for hours.
    void theTimerIsFineUntilTheCycleEndsOrTheWindowCloses()
    {
        for (const bool closed : {true, false}) {
            WindowUnderTest test;
            QMetaObject::invokeMethod(&test.OpenStill(), "Update");
            QVERIFY(timerIsFine);
            if (closed)
                test.Close();
            else
                QVERIFY(test.Update({}));
            QTRY_VERIFY(!timerIsFine);
        }
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
