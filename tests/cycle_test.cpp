// The update cycle on the real window: what it does to the tree, what it asks the server for, what it tells
// the player, and how it ends.
#include <QCryptographicHash>
#include <QElapsedTimer>
#include <QLabel>
#include <QMessageBox>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QRegularExpression>
#include <QStringListModel>

#include "form/mainwindowform.h"
#include "mainwindow/filelist.h"
#include "mainwindow/speedmeter.h"
#include "platform/taskbarstub.h"
#include "qtdownload/qtdownload.h"
#include "startup/launchercontext.h"
#include "support/childprocess.h"
#include "support/testmain.h"
#include "support/windowundertest.h"

namespace {
// A window whose ticks come from the test alone.
MainWindow& OpenStill(WindowUnderTest& test)
{
    MainWindow& window = test.Open();
    window.updateTimer.stop();
    return window;
}

// Runs the event loop. True if the program has ended it, false if nothing has for a long time.
bool ProgramQuits()
{
    QTimer guard;
    QObject::connect(&guard, &QTimer::timeout, [] { QCoreApplication::exit(1); });
    guard.start(20000);
    return QCoreApplication::exec() == 0;
}

// The log, with a line end behind each line; the tree's root reads "ROOT".
QString LogText(const WindowUnderTest& test)
{
    QString text;
    for (const std::string& line : test.LogLines())
        text += QString::fromStdString(line) + "\n";
    return text.replace(QString::fromStdString(test.tree.WindowsRoot()), "ROOT");
}

// All that the window shows besides the log: the two texts, the button and the bar.
QString Shown(const WindowUnderTest& test)
{
    const MainWindowForm& ui = *test.window->ui;
    return test.Status() + "|" + test.Percentage() + "|" + ui.Play->text() +
           (ui.Play->isEnabled() ? "|" : " disabled|") +
           (ui.ProgressBar->isHidden() ? "no bar" : QString::number(ui.ProgressBar->value()));
}

// What a row writes as "folder/ folder/file=content".
Tree Parsed(const QString& text)
{
    Tree tree;
    for (const QString& item : text.isEmpty() ? QStringList() : text.split(' '))
        tree[item.section('=', 0, 0).toStdString()] = item.section('=', 1).toStdString();
    return tree;
}

// A list in the order of the same text; an item with a "#" is a whole record.
std::string List(const QString& text)
{
    QString list = QString::fromStdString(WindowUnderTest::ListOf({}));
    for (const QString& item : text.isEmpty() ? QStringList() : text.split(' ')) {
        const QString path = item.section('=', 0, 0).replace('/', '\\');
        const QByteArray content = item.section('=', 1).toUtf8();
        const QString digest = QCryptographicHash::hash(content, QCryptographicHash::Sha256).toHex();
        if (item.contains('#'))
            list += item + "\n";
        else if (item.endsWith('/'))
            list += "D#" + path.chopped(1) + "\n";
        else
            list += QString("F#%1#%2#%3\n").arg(path).arg(content.size()).arg(digest);
    }
    return list.toStdString();
}

// What processing a list does to a tree.
struct ListRow
{
    const char *name, *before, *list, *after, *log, *queue = "";
    std::int32_t totalBytes = 0;
};
const ListRow listRows[] = {
    {"unlisted file", "a.txt=1", "", "", "Deleted file: a.txt\n"},
    {"unlisted folder, its parent stays", "x/y/z.txt=1", "", "x/",
     "Deleted file: x\\y\\z.txt\nDirectory deleted: x\\y\n"},
    {"no dot", "a/b=1", "a/ a/b=1", "a/ a/b=1", "Directory deleted: a\\b\n"},
    {"no dot, in the root", "LICENSE=1", "LICENSE=1", "LICENSE=1", "Directory deleted: LICENSE\n"},
    {"dot in a listed folder", "a.b/c=1", "a.b/ a.b/c=1", "a.b/ a.b/c=1", ""},
    {"dot in an unlisted one", "a.b/c=1", "", "", "Deleted file: a.b\\c\nDirectory deleted: a.b\n"},
    {"spared names", "unins000.exe=1 unins000.dat=1 xengineLog.txt.old=1 a/webBrowserLog.txt=1", "a/",
     "unins000.exe=1 unins000.dat=1 xengineLog.txt.old=1 a/ a/webBrowserLog.txt=1", ""},
    {"spared name, other case", "UNINS000.EXE=1", "", "", "Deleted file: UNINS000.EXE\n"},
    {"spared name, unlisted folder", "sub/engineLog.txt=1", "", "", "Directory deleted: sub\n"},
    {"temporary folder", "LAUNCHER_TEMP_EXE_FOLDER2/a.x=1 xLAUNCHER_TEMP_EXE_FOLDER.x=1", "",
     "LAUNCHER_TEMP_EXE_FOLDER2/ LAUNCHER_TEMP_EXE_FOLDER2/a.x=1 xLAUNCHER_TEMP_EXE_FOLDER.x=1", ""},
    {"other case", "a/B.x=1", "a/ a/b.x=1", "a/", "Deleted file: a\\B.x\n", "a/b.x ", 1},
    {"forward slash", "a/b.x=1", "a/ F#a/b.x#1#0", "a/", "Deleted file: a\\b.x\n", "a/b.x ", 1},
    {"only the file is listed", "a/b.x=1", "a/b.x=1", "", "Directory deleted: a\n", "a/b.x ", 1},
    {"to make", "", "a/ a/b/", "a/ a/b/", "Created directory: ROOT\\a\nCreated directory: ROOT\\a\\b\n"},
    {"child first", "", "a/b/ a/", "a/", "Created directory: ROOT\\a\\b\nCreated directory: ROOT\\a\n"},
    {"file where a folder is listed", "a=1", "a/ a=1", "a=1", ""},
    {"the root itself, an empty folder", "empty/", "D#", "empty/", ""},

    {"changed, missing, current, empty",
     "a.x=old c.x=1 e.x=", "b.x=22 a.x=new! c.x=1 e.x=", "a.x=old c.x=1 e.x=", "", "b.x a.x ", 6},
    {"List.txt in the name", "MyList.txt.x=1", "MyList.txt.x=2 list.txt=1", "MyList.txt.x=1", "", "list.txt ",
     1},
    {"empty digest", "b.x=1", "F#a.x#5# F#b.x#7#", "b.x=1", "", "b.x ", 7},
    {"upper-case digest", "a.x=1", "F#a.x#1#6B86B273FF34FCE19D6B804EFF5A3F5747ADA4EAA22F1D49C01E52DDB7875B4B",
     "a.x=1", "", "a.x ", 1},
    {"twice", "", "a.x=22 a.x=22", "", "", "a.x a.x ", 4},
    {"past 2 GiB", "", "F#a.x#2147483647#0 F#b.x#2#0 F#c.x#-1#0", "", "", "a.x b.x c.x ", INT32_MIN},
};

// Notes down what the button in the taskbar is told, and the text that stands in the window meanwhile.
struct RecordingTaskbar : TaskbarStub
{
    HRESULT STDMETHODCALLTYPE SetProgressValue(HWND, ULONGLONG completed, ULONGLONG total) override
    {
        calls += QString(" %1/%2").arg(completed).arg(total);
        texts += LauncherContext::Instance().PercentageText->text();
        return 0;
    }
    HRESULT STDMETHODCALLTYPE SetProgressState(HWND, TBPFLAG flags) override
    {
        calls += QString(" state %1").arg(flags);
        return 0;
    }
    QString calls;
    QStringList texts;
};
} // namespace

class CycleTest : public QObject
{
    Q_OBJECT

private slots:
    void wholeUpdate()
    {
        WindowUnderTest test;
        const Tree published = {
            {"Däten/", {}}, {"Däten/a b+c.txt", "new"}, {"big.bin", std::string(300000, 'x')}};
        test.Publish(published);
        QVERIFY(WriteTree(test.tree.Root(), {{"Däten/a b+c.txt", "old"},
                                             {"junk/x.txt", "1"},
                                             {"Game/TessaloomLauncher/List.txt", "left behind"}}));
        QVERIFY(test.RunToTheEnd());
        QCOMPARE(Readable(test.GameTree()).c_str(), Readable(published).c_str());
        const QString log =
            "Current directory after opening temporary application: ROOT\\Game\\TessaloomLauncher\\Release\n"
            "Deleted old file: List.txt\n"
            "Downloading file: List.txt\n"
            "List of files loaded with 7 elements\n"
            "Deleted temporary list file\n"
            "Deleting files and directories that are not in the list\n"
            "Deleted file: junk\\x.txt\n"
            "Directory deleted: junk\n"
            "Initializing files to download\n"
            "Deleted old file: Däten/a b+c.txt\n"
            "Downloading file: Däten/a b+c.txt\n"
            "Downloading file: big.bin\n"
            "Waiting for all files to finish downloading\n"
            "Game is up to date\n";
        QCOMPARE(LogText(test), log);
        QCOMPARE(Shown(test), QString("Game is up to date||Play|no bar"));
        QCOMPARE(test.window->speedMeter->meteredBytes, 300003); // without the list
        // A launcher that has gone is not one that has changed.
        QVERIFY(QFile::remove("TessaloomLauncher.exe"));
        test.window->FinishCycle();
        QCOMPARE(updateState, UpdateState::UpToDate);
    }

    void fifteenAtOnce()
    {
        WindowUnderTest test;
        Tree published;
        for (int i = 100; i < 140; ++i)
            published[std::to_string(i) + ".txt"] = std::to_string(i);
        test.Publish(published);
        for (auto& [path, script] : test.server.scripts)
            script.delay = 100;
        QVERIFY(test.RunToTheEnd());
        QVERIFY(test.GameTree() == published);
        QCOMPARE(test.server.mostAtOnce, 15);
        QCOMPARE(test.server.requests.size(), std::size_t(41)); // one each, and the list
        const QString waiting = "Waiting for all files to finish downloading\n";
        QCOMPARE(LogText(test).count(waiting), 1);
        QVERIFY(LogText(test).endsWith("Downloading file: 139.txt\n" + waiting + "Game is up to date\n"));
    }

    void list_data()
    {
        AddRows(listRows);
    }
    void list()
    {
        QFETCH(int, index);
        const ListRow& row = listRows[index];
        WindowUnderTest test;
        QVERIFY(WriteTree(test.tree.Root(), Parsed(row.before)));
        const Tree before = test.GameTree();
        MainWindow& window = OpenStill(test);
        updateState = UpdateState::FetchingList;
        // The result, and what the passes over the tree have logged.
        const auto process = [&](bool gameRuns) {
            window.gameProcessRunning = gameRuns;
            WriteFile(test.tree.Path("Game/TessaloomLauncher/List.txt"), List(row.list));
            const QString result =
                window.ProcessFileList() == ListResult::Complete ? "complete: " : "blocked: ";
            return result + LogText(test).section("not in the list\n", -1).section("Initializing", 0, 0);
        };

        // A running game stops it before the first change.
        QCOMPARE(process(true), QString(*row.log || *row.queue ? "blocked: " : "complete: "));
        QVERIFY(test.GameTree() == before && window.fileQueue.empty() && window.totalBytes == 0);

        QCOMPARE(process(false), QString("complete: ") + row.log);
        QCOMPARE(Readable(test.GameTree()).c_str(), Readable(Parsed(row.after)).c_str());
        std::string queue;
        for (const std::string& entry : window.fileQueue)
            queue += entry + " ";
        QCOMPARE(queue.c_str(), row.queue);
        QCOMPARE(window.totalBytes, row.totalBytes);
    }

    void checkedFiles()
    {
        WindowUnderTest test;
        MainWindow& window = OpenStill(test);
        RecordingTaskbar taskbar;
        window.taskbar = &taskbar;
        ContentList content; // of absent files without a digest: nothing differs
        for (int i = 0; i < 250; ++i)
            content.fileNames.push_back(std::to_string(i));
        content.fileSizes.resize(250);
        content.fileDigests.resize(250);
        QVERIFY(window.FindChanges(test.tree.WindowsRoot(), content));

        QStringList texts = {"%", "%"}; // each text is seen at the next step
        for (int i = 0; i < 250; i += 3)
            texts += QString("%1 / 250 files checked   %2%").arg(i).arg(i * 100 / 250);
        QCOMPARE(taskbar.texts, texts);
        QVERIFY(taskbar.calls.endsWith(" 9840/10000 9959/10000 0/10000 state 0"));
        QCOMPARE(Shown(test),
                 QString("Checking for file changes...|249 / 250 files checked   99%|Play disabled|no bar"));
    }

    void metering()
    {
        constexpr std::int32_t MB = 1024 * 1024;
        const struct
        {
            std::int32_t totalBytes, rateKB;
            std::vector<qint64> reports;
            const char* text;
        } rows[] = {
            {1234 * MB, 850, {12 * MB}, "12 / 1 234 MB downloaded (850 KB/s)   0%"},
            {2 * MB, 1023, {MB - 1}, "0 / 2 MB downloaded (1 023 KB/s)   49%"},
            {2 * MB, 1024, {1, 2 * MB}, "2 / 2 MB downloaded (1 MB/s)   100%"},
            {MB, 1536, {0}, "0 / 1 MB downloaded (1.5 MB/s)   0%"},
            {MB, 1280, {0}, "0 / 1 MB downloaded (1.2 MB/s)   0%"},
            {0, 0, {3 * MB}, "3 / 0 MB downloaded (0 KB/s)   0%"},
            {2 * MB, 0, {3 * MB}, "3 / 2 MB downloaded (0 KB/s)   150%"},
            {-2 * MB, 0, {MB}, "1 / -2 MB downloaded (0 KB/s)   -50%"},
            {4 * MB, 0, {3 * MB, MB}, "1 / 4 MB downloaded (0 KB/s)   25%"},
            {2 * MB, 0, {4097LL * MB}, "1 / 2 MB downloaded (0 KB/s)   50%"},
        };
        WindowUnderTest test;
        MainWindow& window = OpenStill(test);
        updateState = UpdateState::DownloadingFiles;
        QtDownload list;
        window.TransferProgress(5 * MB, &list); // there is no meter yet
        for (const auto& row : rows) {
            SpeedMeter meter;
            meter.rateKB = row.rateKB;
            window.speedMeter = &meter;
            window.totalBytes = row.totalBytes;
            window.receivedBytes = 0;
            QtDownload transfer;
            for (const qint64 received : row.reports)
                window.TransferProgress(received, &transfer);
            window.speedMeter = nullptr;
            QCOMPARE(test.Percentage(), QString(row.text));
        }

        QtDownload one, other; // each books its own growth, and nothing after a failure
        window.speedMeter = new SpeedMeter;
        window.receivedBytes = 0;
        for (QtDownload* transfer : {&one, &other, &one})
            window.TransferProgress(transfer->lastReceived + MB, transfer);
        updateState = UpdateState::Offline;
        window.TransferProgress(5 * MB, &other);
        QVERIFY(window.receivedBytes == 3 * MB && window.speedMeter->meteredBytes == 3 * MB);
    }

    // Time passes by moving the meter's last tick into the past.
    void speed()
    {
        SpeedMeter meter;
        const auto rateAfter = [&meter](double seconds) {
            meter.lastTick -= seconds;
            meter.Tick();
            return meter.rateKB;
        };
        meter.Book(1000 * 1024 + 1023);
        meter.Book(1023);
        QCOMPARE(rateAfter(0.3), 500);
        meter.Book(3000 * 1024);
        QCOMPARE(rateAfter(0.3), 500); // half a second has not passed
        QCOMPARE(rateAfter(0.3), 2000);
        QCOMPARE(rateAfter(1.25), 1500); // the first has aged away
        QCOMPARE(rateAfter(0.6), 0);
        QVERIFY(meter.sampleSizes.empty() && meter.sampleAges.empty());
    }

    void progress()
    {
        WindowUnderTest test;
        MainWindow& window = OpenStill(test);
        QProgressBar& bar = *window.ui->ProgressBar;
        RecordingTaskbar taskbar;
        const auto shown = [&](float fraction) {
            bar.setValue(1234);
            taskbar.calls.clear();
            window.SetProgress(fraction);
            return QString::number(bar.value()) + taskbar.calls;
        };
        QCOMPARE(shown(0.5f), QString("5000")); // without a taskbar
        window.taskbar = &taskbar;
        QCOMPARE(shown(1.0f), QString("10000 10000/10000"));
        QCOMPARE(shown(0.7f), QString("6999 6999/10000"));
        QCOMPARE(shown(0.9f), QString("8999 8999/10000"));
        QCOMPARE(shown(0.00005f), QString("0 0/10000"));
        QCOMPARE(shown(0.0f), QString("0 0/10000 state 0"));
        QCOMPARE(shown(1.5f), QString("1234 15000/10000"));
        QCOMPARE(shown(1e30f), QString("1234 2147483647/10000"));
        QCOMPARE(shown(-1e30f), QString("1234 18446744071562067968/10000"));
        QCOMPARE(shown(std::numeric_limits<float>::quiet_NaN()), QString("0 0/10000"));
        LauncherContext::Instance().closing = true;
        QCOMPARE(shown(0.0f), QString("1234"));
    }

    void log()
    {
        WindowUnderTest test;
        MainWindow& window = OpenStill(test);
        for (const char* message : {"A", "B ö", ""})
            window.Log(message);
        window.FlushLog(false);     // no time has passed yet
        window.lastLogCheck -= 0.1; // time passes, and counts once
        window.FlushLog(false);
        window.FlushLog(false);
        QCOMPARE(window.logModel->rowCount(), 0);
        window.lastLogCheck -= 0.11;
        window.FlushLog(false);
        QCOMPARE(window.logModel->rowCount(), 4);
        window.Log("C");
        window.FlushLog(true);
        QVERIFY(window.logElapsed == 0.0 && window.pendingLogLines.empty());
        const QString rows = window.logModel->stringList().mid(0, 4).join('|');
        const QRegularExpression pattern(
            QStringList({"^", "C\\|", "\\|", "B ö\\|", "A$"}).join("\\[\\d\\d:\\d\\d:\\d\\d\\] "));
        QVERIFY2(pattern.match(rows).hasMatch(), qPrintable(rows));
    }

    void sleepOnEvery21stTick()
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
        QVERIFY(shortest[0] >= 1000000);
        QVERIFY(*std::max_element(shortest.begin() + 1, shortest.end()) < 1000000);
    }

    void draining()
    {
        WindowUnderTest test;
        MainWindow& window = OpenStill(test);
        QtDownload stranger;
        const QPointer<QtDownload> ended = new QtDownload;
        auto* const running = new QtDownload;
        window.transfers = {running, ended};
        window.finishedTransfers = {&stranger, ended};
        updateState = UpdateState::FetchingList; // its transfer may still be at work
        QMetaObject::invokeMethod(&window, "Update");
        QVERIFY(ended && window.finishedTransfers.size() == 2);
        QCOMPARE(Shown(test), QString("Status|%|Play disabled|0"));
        updateState = UpdateState::Offline;
        QMetaObject::invokeMethod(&window, "Update");
        QVERIFY(!ended && window.finishedTransfers.empty());
        QCOMPARE(window.transfers, std::vector<QtDownload*>{running});
    }

    void runningGame()
    {
        WindowUnderTest test;
        test.Publish({{"a.txt", "1"}});
        MainWindow& window = test.Open();
        window.gameProcessRunning = true;
        QStringList seen;
        QTimer looking;
        connect(&looking, &QTimer::timeout, [&] {
            auto* const box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            if (!box)
                return;
            const double lastLogCheck = window.lastLogCheck;
            QMetaObject::invokeMethod(&window, "Update");
            seen += box->windowTitle() + ": " + box->text();
            if (window.lastLogCheck != lastLogCheck || seen.size() == 5)
                box->accept();
        });
        looking.start(10);
        QVERIFY(ProgramQuits());
        QCOMPARE(seen.size(), 5); // looks at one box, which the idle ticks in between did not disturb
        QCOMPARE(seen[4],
                 QString("Error: An update was found but at least one Tessaloom process is already "
                         "running.\nClose all Tessaloom processes before starting the launcher again."));
        QCOMPARE(Shown(test),
                 QString("Checking for file changes...|1 / 2 files checked   50%|Play disabled|0"));
        QCOMPARE(test.server.requests, std::vector<std::string>{"List.txt"});
    }

    void startedProgram_data()
    {
        QTest::addColumn<QString>("shown");
        QTest::addColumn<QString>("folder"); // the program's, below "Game"; none: no program
        const QString game = "Tessaloom/Code/Current/Release";
        QTest::newRow("game") << "Game is up to date||Play|no bar" << game;
        QTest::newRow("offline") << "Failed to connect to server||Play Offline|no bar" << game;
        QTest::newRow("no game") << "Game is up to date||Play|no bar"
                                 << "";
        QTest::newRow("new launcher") << "Downloading files...||Play disabled|10000"
                                      << "TessaloomLauncher/Release";
    }
    void startedProgram()
    {
        QFETCH(QString, shown);
        QFETCH(QString, folder);
        WindowUnderTest test;
        qputenv("KACHEL_REPORT", QByteArray::fromStdString(test.tree.Path("report.txt")));
        QVERIFY(CopyChildProgram(test.tree.Path("child")));
        const std::string child = ReadFile(test.tree.Path("child"));
        Tree game;
        if (folder.startsWith("Tessaloom/")) {
            game = Parsed("Game/Tessaloom/ Game/Tessaloom/Code/ Game/Tessaloom/Code/Current/");
            game["Game/" + folder.toStdString() + "/"];
            game["Game/" + folder.toStdString() + "/Tessaloom.exe"] = child;
        }
        test.Publish(game);
        if (shown.startsWith("Failed")) {
            QVERIFY(WriteTree(test.tree.Root(), game));
            test.server.scripts.clear();
        }
        if (folder.startsWith("TessaloomLauncher")) {
            test.server.scripts["Game/TessaloomLauncher/Release/TessaloomLauncher.exe"].body = child;
            test.server.scripts["List.txt"].body = List(
                QString("F#Game\\TessaloomLauncher\\Release\\TessaloomLauncher.exe#%1#0").arg(child.size()));
        }

        QPushButton& play = *test.Open().ui->Play;
        QTimer pressing; // as an impatient player does; a disabled button starts nothing
        connect(&pressing, &QTimer::timeout, &play, [&] {
            if (play.isEnabled())
                pressing.stop();
            play.click();
        });
        pressing.start(5);
        QVERIFY(ProgramQuits());
        QCOMPARE(Shown(test).remove(QRegularExpression("0 / 0 MB downloaded .* 100%")), shown);
        QString report = folder.isEmpty() ? "(unreadable)" : "ROOT/Game/" + folder + "\n0 arguments";
        report.replace("ROOT", QString::fromStdString(test.tree.Root()));
        QTRY_COMPARE(QString::fromStdString(ReadFile(test.tree.Path("report.txt"))), report);
        QCOMPARE(updateState == UpdateState::Restarting,
                 LogText(test).endsWith(
                     "\nRestarting launcher since the .exe file was updated: TessaloomLauncher.exe\n"));
    }
};

LAUNCHER_TEST_MAIN(CycleTest)
#include "cycle_test.moc"
