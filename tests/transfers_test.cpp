// Transfers that work and that fail: what the player is left with, and that nothing is lost.
#include "support/testmain.h"
#include "support/windowundertest.h"

class TransfersTest : public QObject
{
    Q_OBJECT

private slots:
    void anOutdatedTreeBecomesThePublishedOne()
    {
        Tree published = {{"10.dat", "new"}, {"Däten/", ""}, {"Däten/a + b (100%).txt", "new"}};
        WindowUnderTest test;
        test.Publish(published);
        QVERIFY(test.Update({{"10.dat", "old"}, {"junk/x.txt", "1"}, {"unins000.exe", "spared"}}));
        const QStringList log = {"Downloading file: List.txt",
                                 "List of files loaded with 7 elements",
                                 "Deleted temporary list file",
                                 "Deleting files and directories that are not in the list",
                                 "Deleted file: junk\\x.txt",
                                 "Created directory: ROOT\\Däten",
                                 "Directory deleted: junk",
                                 "Initializing files to download",
                                 "Deleted old file: 10.dat",
                                 "Downloading file: 10.dat",
                                 "Downloading file: Däten/a + b (100%).txt",
                                 "Waiting for all files to finish downloading",
                                 "Game is up to date"};
        const QString folder =
            "Current directory after opening temporary application: ROOT\\Game\\TessaloomLauncher\\Release";
        COMPARE_ALL(test.Shows(), upToDate + QStringList(folder) + log);
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

    void withoutAListNothingChanges()
    {
        struct Row
        {
            const char* name;
            std::string url;
            Script answer;
            QString cause; // in the log
        };
        const QString noHost = "Can not locate host, your internet connection may be down";
        const QString loadedInvalid = "List of files loaded with 2 elements\nList of files is invalid";
        for (const Row& row : {Row{"closed port", "http://127.0.0.1:1/", {}, "ConnectionRefusedError"},
                               {"unknown host", "http://name.invalid/", {}, noHost},
                               {"breaks off", "", {200, "F#a#1#0\n", "", 7}, "RemoteHostClosedError"},
                               {"no body", "", {204, "F#a#1#0\n", "", 0}, "RemoteHostClosedError"},
                               {"foreign page", "", {200, "<p>\n#F#Wi-Fi#"}, loadedInvalid}}) {
            const Tree game = Files({"a", "sets/", "sets/a.map"});
            WindowUnderTest test;
            test.server.fallback = row.answer;
            fileListUrl = row.url.empty() ? fileListUrl : row.url;
            QVERIFY2(test.Update(game) && test.Shows().join("\n").contains("\n" + row.cause + "\n"),
                     row.name);
            QVERIFY2(updateState == UpdateState::Offline && test.GameTree() == game, row.name);
            QCOMPARE(test.window->ui->WebView->isHidden(), row.cause == noHost);
        }
    }

    // A proxy may take a packed list that it has in part for the complete one. Qt then unpacks the part.
    void ofAPackedListThatIsCutNothingIsDeleted()
    {
        const Tree game = Files({"a", "sets/", "sets/a.map"});
        const std::string list = "#records#7\r\n" + WindowUnderTest::ListOf(game);
        const QByteArray packed =
            qCompress(QByteArray::fromStdString(list)).mid(4); // without Qt's own length
        // Without its end, the last digest may be cut: that file is fetched once more.
        const int mayPass = 60, step = IsWindows ? 50 : 5; // a window takes Wine more than a second
        for (int missing = 0; missing <= packed.size(); missing += missing == 0 ? mayPass : step) {
            WindowUnderTest test;
            const QByteArray length = QByteArray::number(packed.size() - missing);
            const QByteArray head = "HTTP/1.1 200 OK\r\nContent-Encoding: deflate\r\nContent-Length: ";
            test.server.fallback = {0, (head + length + "\r\n\r\n" + packed.chopped(missing)).toStdString()};
            QVERIFY(test.Update(game));
            QCOMPARE(updateState == UpdateState::UpToDate, missing == 0);
            COMPARE_ALL(test.GameTree(), game);
        }
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

    // What is on its way arrives, and nothing else is asked for.
    void aFailedFileStopsTheQueueOnly()
    {
        WindowUnderTest test;
        Tree published;
        for (int i = 10; i < 30; ++i)
            published[std::to_string(i)] = "new";
        test.Publish(published);
        for (auto& [path, script] : test.server.scripts)
            script.delay = path == "List.txt" ? 0 : 200;
        test.server.scripts["10"] = test.server.scripts["11"] = {404};
        QVERIFY(test.Update({{"10", "old"}}));
        COMPARE_ALL(test.Shows().mid(0, 5), notConnected);
        QCOMPARE(test.Shows().count("ContentNotFoundError"), 2);
        QCOMPARE(test.GameTree().size(), 13u); // of fifteen
        QCOMPARE(test.server.requests.size(), 16);
    }

    void theProgramEndsSoonAfterItsWindowIsClosed()
    {
        struct Row
        {
            const char* status;
            std::string answer; // that never ends
        };
        for (const Row& row : {Row{"Connecting to server...", "List.txt"},
                               {"Looking for updates...", ""},
                               {"Checking for file changes...", ""},
                               {"Downloading files...", "new.dat"}}) {
            WindowUnderTest test;
            Tree game = Files({"1.dat", "2.dat", "3.dat", "4.dat", "5.dat"});
            QVERIFY(WriteTree(test.tree.Root(), game));
            game["new.dat"] = "new";
            test.Publish(game);
            Script& stalling = test.server.scripts[row.answer];
            stalling.stalls = true;
            stalling.sendOnly = 1;
            test.OpenStill().updateTimer.start();
            QDeadlineTimer limit;
            QTimer closing;
            connect(&closing, &QTimer::timeout, [&] {
                const bool isAsked = row.answer.empty() || test.server.requests.contains(row.answer.c_str());
                if (isAsked && test.window->ui->StatusText->text() == row.status) {
                    closing.stop();
                    test.window->close(); // takes Wine two seconds where there is no window manager
                    limit.setRemainingTime(2000);
                }
            });
            closing.start(0);
            QVERIFY2(ProgramQuits(), row.status);
            test.Close();
            QVERIFY2(!limit.hasExpired(), row.status);
            QTRY_COMPARE(test.server.running, 0);
        }
    }
};

QTEST_MAIN(TransfersTest)
#include "transfers_test.moc"
