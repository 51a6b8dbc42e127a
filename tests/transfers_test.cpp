// Transfers that work and that fail: what the player is left with, and that nothing is lost.
#include <QApplication>
#include <QNetworkAccessManager>
#include <QNetworkReply>

#include "gametree/filelist.h"
#include "support/testmain.h"
#include "support/windowundertest.h"

namespace {
const QStringList missing = {"File not found on server", "ContentNotFoundError",
                             "Failed to connect to the server"};
} // namespace

class TransfersTest : public QObject
{
    Q_OBJECT

private slots:
    void anOutdatedTreeBecomesThePublishedOne()
    {
        Tree published = {{"Däten/", ""}, {"Däten/a + b (100%).txt", "new"}};
        QStringList changes = {"Deleted file: junk\\x.txt", "Created directory: ROOT\\Däten",
                               "Directory deleted: junk", "Initializing files to download"};
        for (int i = 10; i < 50; ++i) {
            published[std::to_string(i) + ".dat"] = "new";
            changes += (i == 10 ? "Deleted old file: 10.dat" : QString());
            changes += QString("Downloading file: %1.dat").arg(i);
        }
        changes.removeAll(QString());
        changes += {"Downloading file: Däten/a + b (100%).txt", "Waiting for all files to finish downloading",
                    "Game is up to date"};
        WindowUnderTest test;
        test.Publish(published);
        for (auto& [path, script] : test.server.scripts)
            script.delay = 100;
        QVERIFY(WriteTree(test.tree.Root(),
                          {{"10.dat", "old"}, {"junk/x.txt", "1"}, {"unins000.exe", "spared"}}));
        QVERIFY(test.RunToTheEnd());
        COMPARE_ALL(test.Shows(), upToDate + ListLoaded(published) + changes);
        published["unins000.exe"] = "spared";
        COMPARE_ALL(test.GameTree(), published);
        QCOMPARE(test.server.mostAtOnce, 15);
        QCOMPARE(test.server.requests.size(), 42); // one for each file, and the list

        // Nothing is added to what Qt sends by itself.
        QNetworkAccessManager plain;
        plain.get(QNetworkRequest(QUrl(fileListUrl.c_str())));
        QTRY_COMPARE(test.server.heads.size(), 43);
        QCOMPARE(test.server.heads.last(), test.server.heads.first());
    }

    void withoutAListNothingChanges()
    {
        struct Row
        {
            const char* name;
            const char* url; // another one than the server's
            Script script;
            QStringList above;
            QStringList log;
        };
        const QStringList invalid = Offline("List of files is invalid");
        QStringList unknownHost = notConnected;
        unknownHost.last() = "no patch notes";
        const QString connectionFailed = "Failed to connect to the server";
        const Row rows[] = {
            {"a closed port",
             "http://127.0.0.1:1/",
             {},
             notConnected,
             {"ConnectionRefusedError", connectionFailed}},
            {"an unknown host",
             "http://name.invalid/",
             {},
             unknownHost,
             {"Can not locate host, your internet connection may be down", connectionFailed}},
            {"no such file", "", {404}, notConnected, missing},
            {"an error that has no line", "", {503}, notConnected, {connectionFailed}},
            {"no HTTP", "", {0}, notConnected, {"RemoteHostClosedError", connectionFailed}},
            {"a foreign page",
             "",
             {200, "<p>\n#F#Wi-Fi#"},
             invalid,
             {"List of files loaded with 2 elements", "List of files is invalid",
              "Deleted temporary list file"}},
            {"nothing at all",
             "",
             {200, ""},
             invalid,
             {"List of files is invalid", "Deleted temporary list file"}},
        };
        const Tree game = {{"readme.txt", "old"}, {"sets/", ""}, {"sets/a.map", "mine"}};
        for (const Row& row : rows) {
            WindowUnderTest test;
            QVERIFY(WriteTree(test.tree.Root(), game));
            test.server.fallback = row.script;
            QStringList asked = listAsked;
            if (*row.url)
                asked.last() = QString("Downloading file: ") + (fileListUrl = row.url).c_str();
            QVERIFY2(test.RunToTheEnd(), row.name);
            COMPARE_ALL(test.Shows(), row.above + asked + row.log);
            COMPARE_ALL(test.GameTree(), game);
        }
    }

    // Now and then Qt reports a body that breaks off as complete, so this takes many tries.
    void aListThatBreaksOffIsNotTakenForWhole()
    {
        WindowUnderTest test;
        const Tree game = {{"readme.txt", "mine"}};
        QVERIFY(WriteTree(test.tree.Root(), game));
        Script& script = test.server.scripts["List.txt"];
        script.body = "F#readme.txt#1#0\n" + std::string(20000, 'x');
        script.sendOnly = 10000;
        script.pieceSize = 1000;
        MainWindow& window = test.OpenStill();
        window.updateTimer.start();
        for (int i = 0; i < 100; ++i) {
            updateState = UpdateState::Idle;
            window.pendingLogLines.clear();
            QVERIFY(test.RunToTheEnd());
            QVERIFY2(window.pendingLogLines.size() < 100 && test.Shows().mid(0, 5) == notConnected,
                     "a half list was taken");
            COMPARE_ALL(test.GameTree(), game);
        }
    }

    // Writes in a process of its own that can't make a file longer than 4 KB, as if the disk were full.
    void aListThatDoesNotFitTheDiskIsNoOrderToDelete()
    {
        if (IsWindows)
            QSKIP("No file can be kept that short there.");
        if (!qEnvironmentVariableIsSet(Elsewhere)) {
            const QString limited = "trap '' XFSZ; ulimit -f 4; exec \"$0\" \"$@\"";
            const QStringList command = {"bash", "-c", limited, QCoreApplication::applicationFilePath()};
            QVERIFY(PassesElsewhere(command, "aListThatDoesNotFitTheDiskIsNoOrderToDelete"));
            return;
        }
        Tree game;
        for (int i = 100; i < 200; ++i)
            game["file " + std::to_string(i)] = "x";
        std::vector<std::string> lines;
        SplitString(WindowUnderTest::ListOf(game).substr(0, 4096), "\r\n", lines);
        ContentList cut;
        QVERIFY(ParseFileList(lines, cut) && cut.fileNames.size() < game.size()); // it would be one

        WindowUnderTest test;
        QVERIFY(WriteTree(test.tree.Root(), game));
        test.Publish(game);
        QVERIFY(test.RunToTheEnd());
        COMPARE_ALL(test.Shows(),
                    Offline("Failed to write file") + listAsked + QStringList("Failed to write file"));
        COMPARE_ALL(test.GameTree(), game);
    }

    void aFailedFileLeavesTheOthersToEnd()
    {
        WindowUnderTest test;
        const Tree published = {{"a.txt", "new"}, {"b.txt", "new"}, {"c.txt", "new"}};
        QVERIFY(WriteTree(test.tree.Root(), {{"a.txt", "old"}, {"b.txt", "old"}}));
        test.Publish(published);
        test.server.scripts["a.txt"] = {404};
        test.server.scripts["b.txt"].delay = 200;
        test.server.scripts["c.txt"].delay = 200;
        QVERIFY(test.RunToTheEnd());
        const QStringList log = {"Initializing files to download",
                                 "Deleted old file: a.txt",
                                 "Downloading file: a.txt",
                                 "Deleted old file: b.txt",
                                 "Downloading file: b.txt",
                                 "Downloading file: c.txt",
                                 "Waiting for all files to finish downloading"};
        COMPARE_ALL(test.Shows(), notConnected + ListLoaded(published) + log + missing);
        COMPARE_ALL(test.GameTree(), Tree({{"b.txt", "new"}, {"c.txt", "new"}}));
    }

    void everyRunningTransferReportsItsFailureAndNoOtherIsStarted()
    {
        WindowUnderTest test;
        Tree published;
        QStringList log = {"Initializing files to download"};
        for (int i = 10; i < 30; ++i) {
            published[std::to_string(i)] = "new";
            if (i < 25)
                log += QString("Downloading file: %1").arg(i);
        }
        for (int i = 0; i < 15; ++i)
            log += missing;
        test.Publish(published);
        for (auto& [path, script] : test.server.scripts)
            script.status = path == "List.txt" ? 200 : 404;
        QVERIFY(test.RunToTheEnd());
        COMPARE_ALL(test.Shows(), notConnected + ListLoaded(published) + log);
        QCOMPARE(test.server.requests.size(), 16);
    }

    void aFolderInTheWayOfAFileStays()
    {
        WindowUnderTest test;
        QVERIFY(WriteTree(test.tree.Root(), {{"a.txt/", ""}}));
        const Tree published = {{"a.txt", "new"}, {"b.txt", "new"}};
        test.Publish(published);
        QVERIFY(test.RunToTheEnd());
        QStringList log = {"Initializing files to download",
                           "Downloading file: a.txt",
                           "Downloading file: b.txt",
                           "Waiting for all files to finish downloading",
                           "ERROR: Could not save the file, admin permission might be needed: ROOT\\a.txt",
                           "UnknownContentError",
                           "Failed to connect to the server"};
        COMPARE_ALL(test.Shows(), notConnected + ListLoaded(published) + log);
        COMPARE_ALL(test.GameTree(), Tree({{"a.txt/", ""}, {"b.txt", "new"}}));
    }

    // The list names what stands behind a link as it names the rest of the tree.
    void contentNeverGoesThroughALinkThatLeadsNowhere()
    {
        if (IsWindows)
            QSKIP("Wine has no links.");
        WindowUnderTest test;
        const TemporaryTree outside;
        QVERIFY(WriteTree(outside.Root(), {{"linked/listed.txt", "old"}, {"linked/sub/unlisted.txt", "1"}}));
        const auto link = [&](const std::string& target, const char* name) {
            return QFile::link(target.c_str(), test.tree.Path(name).c_str());
        };
        QVERIFY(link(outside.Path("absent"), "dangling.txt") && link(outside.Path("linked"), "folder"));
        QVERIFY(link("/dev/null", "null.txt")); // leads somewhere, to no file
        const Tree published = {
            {"dangling.txt", "new"}, {"folder/", ""}, {"folder/listed.txt", "new"}, {"null.txt", "new"}};
        test.Publish(published);
        QVERIFY(test.RunToTheEnd());
        COMPARE_ALL(test.Shows().mid(0, 5), Offline("Failed to write file"));
        COMPARE_ALL(TreeOf(outside.Root()), Tree({{"linked/", ""}, {"linked/listed.txt", "new"}}));
        COMPARE_ALL(test.GameTree(),
                    Tree({{"dangling.txt", "new"}, {"folder", "(unreadable)"}, {"null.txt", ""}}));
    }

    void theWindowClosesAtOnceWhateverIsOnItsWay()
    {
        struct Row
        {
            QString status; // at which the player closes the window
            const char* path;
            Script script;
        };
        Script stalls(200, std::string(20000, 'x'));
        stalls.sendOnly = 10000;
        stalls.stalls = true;
        const Row rows[] = {{"Connecting to server...", "List.txt", stalls},
                            {"Checking for file changes...", "", {}},
                            {"Downloading files...", "10.dat", stalls},
                            {"Game is up to date", "", {}}};
        for (const Row& row : rows) {
            WindowUnderTest test;
            Tree published;
            for (int i = 10; i < 99; ++i)
                published[std::to_string(i) + ".dat"] = std::string(50000, 'x');
            QVERIFY(WriteTree(test.tree.Root(), published));
            published["10.dat"] = "new";
            test.Publish(published);
            test.server.scripts[row.path] = row.script;
            test.OpenStill();
            QElapsedTimer closed;
            QTimer poll;
            connect(&poll, &QTimer::timeout, [&] {
                if (test.window->ui->StatusText->text() == row.status && !test.server.requests.isEmpty()) {
                    poll.stop();
                    closed.start();
                    test.window->close();
                }
            });
            poll.start(0);
            test.window->updateTimer.start();
            QTimer::singleShot(20000, &poll, [] { QCoreApplication::exit(1); });
            QCOMPARE(QApplication::exec(), 0);
            test.Close();
            QVERIFY2(closed.elapsed() < 2000, qPrintable(row.status));
            QTRY_COMPARE(test.server.running, 0);
        }
    }
};

QTEST_MAIN(TransfersTest)
#include "transfers_test.moc"
