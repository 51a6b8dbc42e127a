// Transfers that work and that fail: what the player is left with, and that nothing is lost.
#include "support/testmain.h"
#include "support/windowundertest.h"

namespace {
struct ListRow
{
    const char* name;
    std::string url; // empty: the server's
    Script answer;
    QString cause; // in the log
};
const ListRow listRows[] = {
    {"closed port", "http://127.0.0.1:1/", {}, "ConnectionRefusedError"},
    {"unknown host", "http://name.invalid/", {}, "Can not locate host, your internet connection may be down"},
    {"breaks off", "", {200, "F#a#1#0\n", "", 7}, "RemoteHostClosedError"},
    {"no body", "", {204, "F#a#1#0\n", "", 0}, "RemoteHostClosedError"},
    {"foreign page", "", {200, "<p>\n#F#Wi-Fi#"}, "List of files is invalid"},
    {"empty", "", {200, ""}, "List of files is invalid"},
};

// A window that is closed while it shows the status, and an answer that never ends.
struct ClosingRow
{
    const char* name; // the status
    std::string answer;
};
const ClosingRow closingRows[] = {{"Connecting to server...", "List.txt"},
                                  {"Looking for updates...", ""},
                                  {"Checking for file changes...", ""},
                                  {"Downloading files...", "new.dat"}};
} // namespace

class TransfersTest : public QObject
{
    Q_OBJECT

private slots:
    void anOutdatedTreeBecomesThePublishedOne()
    {
        Tree published = {
            {"10.dat", "new"}, {"Däten/", ""}, {"Däten/a + b (100%).txt", "new"}, {"link.dat", "new"}};
        WindowUnderTest test;
        test.Publish(published);
        if (!IsWindows) // is replaced and not followed
            QVERIFY(QFile::link("absent", test.tree.Path("link.dat").c_str()));
        QVERIFY(test.Update({{"10.dat", "old"}, {"junk/x.txt", "1"}, {"unins000.exe", "spared"}}));
        const QStringList log = {
            "Current directory after opening temporary application: "
            "ROOT\\Game\\TessaloomLauncher\\Release",
            "Downloading file: List.txt",
            "List of files loaded with 6 elements",
            "Deleted temporary list file",
            "Deleting files and directories that are not in the list",
            "Deleted file: junk\\x.txt",
            "Created directory: ROOT\\Däten",
            "Directory deleted: junk",
            "Initializing files to download",
            "Deleted old file: 10.dat",
            "Downloading file: 10.dat",
            "Downloading file: Däten/a + b (100%).txt",
            "Downloading file: link.dat",
            "Waiting for all files to finish downloading",
            "Game is up to date"};
        COMPARE_ALL(test.Shows(), upToDate + log);
        QCOMPARE(test.window->receivedBytes, 9);
        published["unins000.exe"] = "spared";
        COMPARE_ALL(test.GameTree(), published);
    }

    void noMoreThanFifteenTransfersRunAtOnce()
    {
        Tree published;
        for (int i = 0; i < 40; ++i)
            published[std::to_string(i)] = "new";
        WindowUnderTest test;
        test.Publish(published);
        for (auto& [path, script] : test.server.scripts)
            script.delay = 100;
        QVERIFY(test.Update({}));
        COMPARE_ALL(test.GameTree(), published);
        QCOMPARE(test.server.mostAtOnce, 15);
    }

    ROWS(withoutAListNothingChanges, listRows)
    void withoutAListNothingChanges()
    {
        const ListRow& row = CurrentRow(listRows);
        const Tree game = Files({"a", "sets/", "sets/a.map"});
        WindowUnderTest test;
        test.server.fallback = row.answer;
        fileListUrl = row.url.empty() ? fileListUrl : row.url;
        QVERIFY(test.Update(game));
        QCOMPARE(updateState, UpdateState::Offline);
        COMPARE_ALL(test.GameTree(), game);
        QVERIFY(test.Shows().join("\n").contains("\n" + row.cause + "\n"));
        QCOMPARE(test.window->ui->WebView->isHidden(), row.cause.startsWith("Can not locate host"));
    }

    // In a process of its own that can't make a file longer than 4 KB, as if the disk were full.
    void onAFullDiskHalfAListIsRefused()
    {
        if (IsWindows)
            QSKIP("No file can be kept that short there.");
        if (!qEnvironmentVariableIsSet("DISK_IS_FULL")) {
            const QString limited = "trap '' XFSZ; ulimit -f 4; DISK_IS_FULL=1 exec \"$0\" \"$1\"";
            const QString program = QCoreApplication::applicationFilePath();
            QCOMPARE(QProcess::execute("bash", {"-c", limited, program, QTest::currentTestFunction()}), 0);
            return;
        }
        const Tree game = Files({"a.txt"});
        WindowUnderTest test;
        test.Publish(game);
        test.server.scripts["List.txt"].body.insert(0, 5000, '\n');
        QVERIFY(test.Update(game));
        COMPARE_ALL(test.Shows().mid(0, 5), Offline("Failed to write file"));
        COMPARE_ALL(test.GameTree(), game); // nothing was deleted
    }

    // Somebody moves the game's folder. What is on its way would still be written to the old place.
    void anUpdateEndsWhereItsFolderMoves()
    {
        for (const std::string answer : {"List.txt", "new.dat"}) {
            const TemporaryTree other;
            WindowUnderTest test;
            QVERIFY(WriteTree(other.Root(), {{test.launcherFolder + "/", ""}}));
            test.Publish({{"new.dat", "new"}});
            test.server.scripts[answer].delay = 200;
            test.OpenStill().updateTimer.start();
            QTRY_VERIFY(test.server.requests.contains(answer.c_str()));
            QDir::setCurrent(other.Path(test.launcherFolder).c_str());
            QVERIFY(test.Update({}));
            COMPARE_ALL(test.Shows().mid(0, 5), Offline("Refusing to update this folder"));
            QVERIFY(test.Shows().last().startsWith(
                "Refusing to update: the game's folder was \"ROOT\" and is now \""));
            COMPARE_ALL(test.GameTree(), Tree());
        }
    }

    // What is on its way arrives, and nothing else is asked for.
    void aFailedFileStopsTheQueueOnly()
    {
        WindowUnderTest test;
        Tree published = {{"1 absent/1.dat", "new"}}; // the list does not name the folder
        for (int i = 10; i < 30; ++i)
            published[std::to_string(i)] = "new";
        test.Publish(published);
        for (auto& [path, script] : test.server.scripts)
            script.delay = path == "List.txt" ? 0 : 200;
        test.server.scripts["10"] = {404};
        QVERIFY(test.Update({{"10", "old"}}));
        COMPARE_ALL(test.Shows().mid(0, 5), notConnected);
        COMPARE_ALL(test.Shows().mid(test.Shows().size() - 6),
                    QStringList({"File not found on server", "ContentNotFoundError",
                                 "Failed to connect to the server",
                                 "ERROR: Could not save the file, admin permission might be needed: "
                                 "ROOT\\1 absent/1.dat",
                                 "UnknownContentError", "Failed to connect to the server"}));
        QCOMPARE(test.GameTree().size(), 13u); // of fifteen
        QCOMPARE(test.server.requests.size(), 16);
    }

    ROWS(theProgramEndsSoonAfterItsWindowIsClosed, closingRows)
    void theProgramEndsSoonAfterItsWindowIsClosed()
    {
        const ClosingRow& row = CurrentRow(closingRows);
        WindowUnderTest test;
        Tree game = Files({"1.dat", "2.dat", "3.dat", "4.dat", "5.dat"});
        QVERIFY(WriteTree(test.tree.Root(), game));
        game["new.dat"] = "new";
        test.Publish(game);
        Script& stalling = test.server.scripts[row.answer];
        stalling.stalls = true;
        stalling.sendOnly = 1;
        stalling.delay = 150; // so that its one byte is reported at once
        test.OpenStill().updateTimer.start();
        QDeadlineTimer limit;
        QTimer closing;
        connect(&closing, &QTimer::timeout, [&] {
            const bool isAsked = row.answer.empty() || test.server.requests.contains(row.answer.c_str());
            const bool hasCome = row.answer != "new.dat" || test.window->receivedBytes == 1;
            if (isAsked && hasCome && test.window->ui->StatusText->text() == row.name) {
                closing.stop();
                test.window->close(); // takes Wine two seconds where there is no window manager
                limit.setRemainingTime(2000);
            }
        });
        closing.start(0);
        QVERIFY(ProgramQuits());
        test.Close();
        QVERIFY(!limit.hasExpired());
        QTRY_COMPARE(test.server.running, 0);
    }
};

QTEST_MAIN(TransfersTest)
#include "transfers_test.moc"
