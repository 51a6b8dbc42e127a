// The update cycle on the real window: what it does to the tree, what it asks the server for, what it tells
// the player, and how it ends.
#include <cmath>

#include <QElapsedTimer>
#include <QListView>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QRegularExpression>
#include <QScrollBar>
#include <QStringListModel>
#include <QTabWidget>

#include "form/mainwindowform.h"
#include "gametree/filelist.h"
#include "gametree/layout.h"
#include "mainwindow/speedmeter.h"
#include "qtdownload/qtdownload.h"
#include "startup/launchercontext.h"
#include "support/childprocess.h"
#include "support/testmain.h"
#include "support/windowundertest.h"
#include "taskbarstub.h"

namespace {
// A window whose ticks come from the test alone.
MainWindow& OpenStill(WindowUnderTest& test)
{
    test.Open().updateTimer.stop();
    judgedRoot = TreeRoot(); // as the first tick would
    return *test.window;
}

// Runs the event loop. True if the program has ended it, false if nothing has for a long time.
bool ProgramQuits()
{
    bool late = false; // the exit code won't tell: the program's own end may follow
    const QObject guard;
    QTimer::singleShot(20000, &guard, [&late] {
        late = true;
        QCoreApplication::exit();
    });
    QCoreApplication::exec();
    return !late;
}

// The log, a line each and the tree's root as "ROOT", and all else that the window shows.
QString Seen(const WindowUnderTest& test)
{
    QString log;
    for (const std::string& line : test.LogLines())
        log += QString::fromStdString(line) + "\n";
    const MainWindowForm& ui = *test.window->ui;
    const QString play = ui.Play->text() + (ui.Play->isEnabled() ? "|" : " disabled|");
    const QString bar = ui.ProgressBar->isHidden() ? "no bar" : QString::number(ui.ProgressBar->value());
    return log.replace(QString::fromStdString(test.tree.WindowsRoot()), "ROOT") + test.Status() + "|" +
           test.Percentage() + "|" + play + bar;
}

// What a row writes as "folder/ folder/file=content".
Tree Parsed(const QString& text)
{
    Tree tree;
    for (const QString& item : text.split(' '))
        tree[item.section('=', 0, 0).toStdString()] = item.section('=', 1).toStdString();
    tree.erase("");
    return tree;
}

// What processing a list does to a tree. The list is one of a tree; behind a "|" come further records as they
// are. The outcome is the log, the queue and its bytes, and the tree.
struct ListRow
{
    const char *name, *before, *list, *outcome, *after;
};
const ListRow listRows[] = {
    {"unlisted file", "a.txt=1", "", "Deleted file: a.txt\n", ""},
    {"unlisted folder", "x/y/z.x=1", "", "Deleted file: x\\y\\z.x\nDirectory deleted: x\\y\n", "x/"},
    {"no dot", "a/b=1", "a/ a/b=1", "Directory deleted: a\\b\n", "a/ a/b=1"},
    {"dot in a listed folder", "a.b/c=1", "a.b/ a.b/c=1", "", "a.b/ a.b/c=1"},
    {"dot in another", "a.b/c=1", "", "Deleted file: a.b\\c\nDirectory deleted: a.b\n", ""},
    {"spared", "unins000.exe=1 unins000.dat=1 xengineLog.txt.x=1 a/webBrowserLog.txt=1", "a/", "",
     "unins000.exe=1 unins000.dat=1 xengineLog.txt.x=1 a/ a/webBrowserLog.txt=1"},
    {"spared name, other case", "UNINS000.EXE=1", "", "Deleted file: UNINS000.EXE\n", ""},
    {"spared name, unlisted folder", "sub/engineLog.txt=1", "", "Directory deleted: sub\n", ""},
    {"temporary", "xLAUNCHER_TEMP_EXE_FOLDER2.x=1", "", "", "xLAUNCHER_TEMP_EXE_FOLDER2.x=1"},
    {"other case", "a/B.x=1", "a/ a/b.x=1", "Deleted file: a\\B.x\na/b.x 1", "a/"},
    {"forward slash", "a/b.x=1", "a/|F#a/b.x#1#0", "Deleted file: a\\b.x\na/b.x 1", "a/"},
    {"only the file is listed", "a/b.x=1", "a/b.x=1", "Directory deleted: a\na/b.x 1", ""},
    {"to make", "", "a/ a/b/", "Created directory: ROOT\\a\nCreated directory: ROOT\\a\\b\n", "a/ a/b/"},
    {"child first", "", "|D#a\\b\nD#a", "Created directory: ROOT\\a\\b\nCreated directory: ROOT\\a\n", "a/"},
    {"the root itself, an empty folder", "empty/", "|D#", "", "empty/"},
    {"to fetch", "a.x=old c.x=1", "a.x=new! b.x=22 c.x=1|F#0.x#3#0", "a.x b.x 0.x 9", "a.x=old c.x=1"},
    {"List.txt in the name", "MyList.txt.x=1", "MyList.txt.x=2 list.txt=1", "list.txt 1", "MyList.txt.x=1"},
    {"empty digest", "b.x=1", "|F#a.x#5#\nF#b.x#7#", "b.x 7", "b.x=1"},
    {"twice, past 2 GiB", "", "|F#a.x#2147483647#0\nF#a.x#2#0", "a.x a.x -2147483647", ""},
};

// Notes down what the button in the taskbar is told.
struct RecordingTaskbar : TaskbarStub
{
    HRESULT STDMETHODCALLTYPE SetProgressValue(HWND, ULONGLONG completed, ULONGLONG total) override
    {
        calls += QString("%1/%2 ").arg(completed).arg(total);
        return 0;
    }
    HRESULT STDMETHODCALLTYPE SetProgressState(HWND, TBPFLAG flags) override
    {
        calls += QString("state %1 ").arg(flags);
        return 0;
    }
    QString calls;
};
} // namespace

class CycleTest : public QObject
{
    Q_OBJECT

private slots:
    void wholeUpdate()
    {
        WindowUnderTest test;
        Tree published = Parsed("Däten/ Däten/a+c.txt=new");
        QString log =
            "Current directory after opening temporary application: ROOT\\Game\\TessaloomLauncher\\Release\n"
            "Deleted old file: List.txt\nDownloading file: List.txt\n"
            "List of files loaded with 45 elements\nDeleted temporary list file\n"
            "Deleting files and directories that are not in the list\n"
            "Deleted file: junk\\x.txt\nDirectory deleted: junk\nInitializing files to download\n";
        for (int i = 100; i < 139; ++i) {
            published[std::to_string(i) + ".x"] = "new";
            log += QString("Downloading file: %1.x\n").arg(i);
        }
        log +=
            "Deleted old file: Däten/a+c.txt\nDownloading file: Däten/a+c.txt\n"
            "Waiting for all files to finish downloading\nGame is up to date\n";
        test.Publish(published);
        for (auto& [path, script] : test.server.scripts)
            script.delay = 100;
        const Tree old = Parsed("Däten/a+c.txt=old junk/x.txt=1 Game/TessaloomLauncher/List.txt=left");
        QVERIFY(WriteTree(test.tree.Root(), old));
        QVERIFY(test.RunToTheEnd());
        QCOMPARE(Seen(test), log + "Game is up to date||Play|no bar");
        QCOMPARE(Readable(test.GameTree()).c_str(), Readable(published).c_str());
        QCOMPARE(test.server.mostAtOnce, 15);
        QCOMPARE(test.server.requests.size(), std::size_t(41)); // one each, and the list
        QCOMPARE(test.window->speedMeter->meteredBytes, 120);   // without the list
    }

    void list_data()
    {
        AddRows(listRows);
    }
    void list()
    {
        QFETCH(int, index);
        const ListRow& row = listRows[index];
        const QStringList list = QString(row.list).split('|');
        const std::string text =
            WindowUnderTest::ListOf(Parsed(list.first())) + list.mid(1).join("").toStdString();
        WindowUnderTest test;
        QVERIFY(WriteTree(test.tree.Root(), Parsed(row.before)));
        const Tree before = test.GameTree();
        MainWindow& window = OpenStill(test);
        for (const bool gameRuns : {true, false}) {
            window.gameProcessRunning = gameRuns;
            QVERIFY(WriteFile(test.tree.Path("Game/TessaloomLauncher/List.txt"), text));
            const bool blocked = window.ProcessFileList() == ListResult::Blocked;
            const QString log = Seen(test).section("not in the list\n", -1).section("Initializing", 0, 0);
            QString outcome = blocked ? "blocked" : log;
            for (const std::string& entry : window.fileQueue)
                outcome += QString::fromStdString(entry) + " ";
            if (window.totalBytes != 0)
                outcome += QString::number(window.totalBytes);
            const bool blocks = gameRuns && *row.outcome; // before the first change
            QCOMPARE(outcome, QString(blocks ? "blocked" : row.outcome));
            QVERIFY(test.GameTree() == (blocks ? before : Parsed(row.after)));
        }
    }

    void progress()
    {
        WindowUnderTest test;
        MainWindow& window = OpenStill(test);
        RecordingTaskbar taskbar;
        window.taskbar = &taskbar;
        const QString list = QString("F#absent#0#\n").repeated(250); // without a digest: nothing differs
        QVERIFY(WriteFile(test.tree.Path("Game/TessaloomLauncher/List.txt"), list.toStdString()));
        QVERIFY(window.ProcessFileList() == ListResult::Complete);
        const QString seen =
            "Checking for file changes...|249 / 250 files checked   99%|Play disabled|no bar";
        QCOMPARE(Seen(test).section('\n', -1), seen);
        QVERIFY(taskbar.calls.endsWith(" 9840/10000 9959/10000 0/10000 state 0 "));
        QCOMPARE(taskbar.calls.count('/'), 86); // at every third file, and before and after

        taskbar.calls.clear();
        const auto show = [&](float fraction) {
            window.ui->ProgressBar->setValue(1234);
            window.SetProgress(fraction);
            taskbar.calls += QString("bar %1, ").arg(window.ui->ProgressBar->value());
        };
        for (const float fraction : {1.0f, 0.7f, 0.00005f, 0.0f, 1.5f, 1e30f, -1e30f, NAN})
            show(fraction);
        LauncherContext::Instance().closing = true;
        show(0.0f);
        const QString expected =
            "10000/10000 bar 10000, 6999/10000 bar 6999, 0/10000 bar 0, 0/10000 state 0 bar 0, "
            "15000/10000 bar 1234, 2147483647/10000 bar 1234, 18446744071562067968/10000 bar 1234, "
            "0/10000 bar 0, bar 1234, ";
        QCOMPARE(taskbar.calls, expected);
    }

    void metering()
    {
        constexpr std::int32_t MB = 1024 * 1024;
        const std::tuple<std::int32_t, std::int32_t, std::vector<qint64>, const char*> rows[] = {
            // total, KB/s, what two transfers report in turn
            {1234 * MB, 850, {12 * MB}, "12 / 1 234 MB downloaded (850 KB/s)   0%"},
            {2 * MB, 1023, {MB - 1}, "0 / 2 MB downloaded (1 023 KB/s)   49%"},
            {2 * MB, 1024, {1, 0, 2 * MB}, "2 / 2 MB downloaded (1 MB/s)   100%"},
            {MB, 1280, {0}, "0 / 1 MB downloaded (1.2 MB/s)   0%"},
            {0, 0, {3 * MB}, "3 / 0 MB downloaded (0 KB/s)   0%"},
            {-2 * MB, 0, {3 * MB}, "3 / -2 MB downloaded (0 KB/s)   -150%"},
            {8 * MB, 0, {3 * MB, 2 * MB, MB}, "3 / 8 MB downloaded (0 KB/s)   37%"},
            {2 * MB, 0, {4097LL * MB}, "1 / 2 MB downloaded (0 KB/s)   50%"},
        };
        WindowUnderTest test;
        MainWindow& window = OpenStill(test);
        window.speedMeter = new SpeedMeter;
        for (const auto& [totalBytes, rateKB, reports, text] : rows) {
            *window.speedMeter = SpeedMeter();
            window.speedMeter->rateKB = rateKB;
            window.totalBytes = totalBytes;
            window.receivedBytes = 0;
            updateState = UpdateState::DownloadingFiles;
            QtDownload transfers[2];
            for (std::size_t i = 0; i < reports.size(); ++i)
                window.TransferProgress(reports[i], &transfers[i % 2]);
            updateState = UpdateState::Offline; // from then on the display stands still
            window.TransferProgress(5 * MB, &transfers[1]);
            QCOMPARE(test.Percentage(), QString(text));
        }
    }

    // Time passes by moving the meter's last tick into the past.
    void speed()
    {
        SpeedMeter meter;
        QString rates;
        const std::pair<std::int32_t, double> steps[] = {
            {1001 * 1024 + 1023, 0.0}, {1023, 0.3}, {2999 * 1024, 0.3}, {0, 0.3}, {0, 1.25}, {0, 0.6}};
        for (const auto& [bytes, seconds] : steps) {
            meter.Book(bytes);
            meter.lastTick -= seconds;
            meter.Tick();
            rates += QString("%1 ").arg(meter.rateKB);
        }
        QCOMPARE(rates, QString("0 500 500 2000 1499 0 "));
    }

    void log()
    {
        WindowUnderTest test;
        MainWindow& window = OpenStill(test);
        window.Log("B ö");
        window.Log("");
        QString seen;
        for (const double passed : {0.0, 0.1, 0.0, 0.11}) { // counts once
            window.lastLogCheck -= passed;
            window.FlushLog(false);
            seen += QString("%1 ").arg(window.logModel->rowCount());
        }
        window.Log("C");
        window.FlushLog(true);
        seen += window.logModel->stringList().join('|');
        seen.replace(QRegularExpression("\\[\\d\\d:\\d\\d:\\d\\d\\] "), "@");
        QCOMPARE(seen.section(' ', 0, 6), QString("0 0 0 3 @C|@|@B ö|@Current directory"));
    }

    // New lines leave the scroll bar where it is, and the widest line can be scrolled to its end.
    void logWhileRead()
    {
        WindowUnderTest test;
        MainWindow& window = OpenStill(test);
        window.ui->TabControl->setCurrentIndex(1);
        const QListView& view = *window.ui->LogListView;
        for (int i = 0; i < 3000; ++i)
            window.Log("Downloading file");
        window.FlushLog(true);
        QTRY_VERIFY(view.verticalScrollBar()->maximum() > 2500);
        view.verticalScrollBar()->setValue(2250);
        window.Log(std::string(300, 'W'));
        window.Log(std::string(400, 'i')); // more characters, but narrower
        window.FlushLog(true);
        const int widest = view.sizeHintForIndex(window.logModel->index(1)).width();
        QTRY_VERIFY(view.horizontalScrollBar()->maximum() + view.viewport()->width() >= widest);
        QCOMPARE(view.verticalScrollBar()->value(), 2250);
    }

    void ticks()
    {
        WindowUnderTest test;
        MainWindow& window = OpenStill(test);
        updateState = UpdateState::UpToDate;
        std::vector<qint64> shortest(21, 1000000000); // in nanoseconds, by the place in the round
        for (int tick = 0; tick < 10 * 21; ++tick) {
            QElapsedTimer timer;
            timer.start();
            QMetaObject::invokeMethod(&window, "Update");
            shortest[tick % 21] = std::min(shortest[tick % 21], timer.nsecsElapsed());
        }
        QVERIFY(shortest[0] >= 1000000); // every 21st sleeps
        QVERIFY(*std::max_element(shortest.begin() + 1, shortest.end()) < 1000000);

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

    void runningGame()
    {
        if (QSysInfo::kernelType() == "winnt")
            QSKIP("the box is the system's own there, and no widget that a test could press");
        WindowUnderTest test;
        test.Publish({{"a.txt", "1"}});
        test.Open().gameProcessRunning = true;
        QString seen;
        QTimer looking;
        connect(&looking, &QTimer::timeout, [&] {
            for (QWidget* widget : QApplication::topLevelWidgets()) {
                if (auto* const box = qobject_cast<QMessageBox*>(widget)) {
                    QMetaObject::invokeMethod(test.window, "Update"); // opens no second one
                    seen += Seen(test).section('\n', -1) + "|" + box->windowTitle() + "|" + box->text();
                    box->accept();
                }
            }
        });
        looking.start(50);
        QVERIFY(ProgramQuits());
        const QString expected =
            "Checking for file changes...|1 / 2 files checked   50%|Play disabled|0|Error|An update was "
            "found but at "
            "least one Tessaloom process is already running.\nClose all Tessaloom processes before starting "
            "the launcher again.";
        QCOMPARE(seen, expected);
    }

    void startedProgram()
    {
        const std::string game = "Game/Tessaloom/Code/Current/Release";
        const std::string launcher = "Game/TessaloomLauncher/Release";
        const std::tuple<int, std::string, std::string, const char*> rows[] = {
            // status of the list, folder and name of the program, last line of the log
            {200, game, "Tessaloom.exe", "Game is up to date"},
            {404, game, "Tessaloom.exe", "Failed to connect to the server"},
            {200, launcher, "TessaloomLauncher.exe",
             "Restarting launcher since the .exe file was updated: TessaloomLauncher.exe"},
        };
        for (const auto& [listStatus, folder, program, line] : rows) {
            WindowUnderTest test;
            const std::string report = test.tree.Path("report.txt");
            qputenv("KACHEL_REPORT", report.c_str());
            QVERIFY(CopyChildProgram(test.tree.Path("child.x")));
            const std::string child = ReadFile(test.tree.Path("child.x"));
            const Tree published = {{folder + "/", ""}, {folder + "/" + program, child}};
            QVERIFY(WriteTree(test.tree.Root(), published));
            QVERIFY(WriteFile(test.tree.Path(launcher + "/TessaloomLauncher.exe"), "launcher"));
            test.Publish(published);
            test.server.scripts["List.txt"].status = listStatus;

            QPushButton& play = *test.Open().ui->Play;
            QTimer pressing; // as an impatient player does; a disabled button starts nothing
            connect(&pressing, &QTimer::timeout, &play, &QPushButton::click);
            connect(&play, &QPushButton::clicked, &pressing, &QTimer::stop);
            pressing.start(5);
            QVERIFY(ProgramQuits());
            QCOMPARE(Seen(test).section('\n', -2, -2), QString(line));
            const QString expected = QString::fromStdString(test.tree.Path(folder) + "\n0 arguments");
            QTRY_COMPARE(QString::fromStdString(ReadFile(report)).replace('\\', '/'), expected);
        }
    }
};

LAUNCHER_TEST_MAIN(CycleTest)
#include "cycle_test.moc"
