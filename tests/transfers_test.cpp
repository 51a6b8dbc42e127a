// Transfers that work and that fail: what the player is left with, and that nothing is lost.
#include "mainwindow/speedmeter.h"
#include "qtdownload/qtdownload.h"
#include "support/testmain.h"
#include "support/windowundertest.h"

namespace {
const QString notConnectedLine = "Failed to connect to the server";
const QStringList missing = {"File not found on server", "ContentNotFoundError", notConnectedLine};

QStringList Failed(const QString& error)
{
    return {error, notConnectedLine};
}

} // namespace

Q_DECLARE_METATYPE(Script)

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
        const QStringList changes = {"Deleted file: junk\\x.txt",
                                     "Created directory: ROOT\\Däten",
                                     "Directory deleted: junk",
                                     "Initializing files to download",
                                     "Deleted old file: 10.dat",
                                     "Downloading file: 10.dat",
                                     "Downloading file: Däten/a + b (100%).txt",
                                     "Waiting for all files to finish downloading",
                                     "Game is up to date"};
        COMPARE_ALL(test.Shows(), upToDate + ListLoaded(published) + changes);
        published["unins000.exe"] = "spared";
        COMPARE_ALL(test.GameTree(), published);
        QCOMPARE(test.window->speedMeter->meteredBytes, 6); // without the list
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

    void withoutAListNothingChanges_data()
    {
        QTest::addColumn<Script>("answer");
        QTest::addColumn<QString>("error");
        Script half(200, "F#readme.txt#1#0\n");
        half.sendOnly = 16;
        Script none(204, "F#readme.txt#1#0\n"); // a status that Qt takes for an end without a body
        none.sendOnly = 0;
        QTest::newRow("not for everybody") << Script(403) << "ContentAccessDenied";
        QTest::newRow("no such file") << Script(404) << "ContentNotFoundError";
        QTest::newRow("a method refused") << Script(405) << "ContentOperationNotPermittedError";
        QTest::newRow("an error that has no line") << Script(503) << "Downloading file: List.txt";
        QTest::newRow("no HTTP") << Script(0) << "RemoteHostClosedError";
        QTest::newRow("a body that breaks off") << half << "RemoteHostClosedError";
        QTest::newRow("a body that never came") << none << "RemoteHostClosedError";
    }
    void withoutAListNothingChanges()
    {
        QFETCH(const Script, answer);
        QFETCH(const QString, error);
        const Tree game = Files({"readme.txt", "sets/", "sets/a.map"});
        WindowUnderTest test;
        test.server.fallback = answer;
        QVERIFY(test.Update(game));
        COMPARE_ALL(test.Shows().mid(0, 5), notConnected);
        COMPARE_ALL(test.Shows().mid(test.Shows().size() - 2), Failed(error));
        COMPARE_ALL(test.GameTree(), game);
    }

    void aServerThatIsNotThereIsReported_data()
    {
        QTest::addColumn<QString>("error");
        QTest::addColumn<QString>("notes");
        QTest::newRow("http://127.0.0.1:1/") << "ConnectionRefusedError"
                                             << "patch notes";
        QTest::newRow("http://name.invalid/") << "Can not locate host, your internet connection may be down"
                                              << "no patch notes";
    }
    void aServerThatIsNotThereIsReported()
    {
        QFETCH(const QString, error);
        QFETCH(const QString, notes);
        WindowUnderTest test;
        fileListUrl = QTest::currentDataTag();
        QVERIFY(test.Update({}));
        COMPARE_ALL(test.Shows(), notConnected.mid(0, 4) + QStringList({notes, listAsked[0]}) +
                                      QStringList("Downloading file: " + QString(QTest::currentDataTag())) +
                                      Failed(error));
    }

    void aForeignPageIsNoList()
    {
        WindowUnderTest test;
        test.server.fallback = {200, "<p>\n#F#Wi-Fi#"};
        QVERIFY(test.Update(Files({"a.txt"})));
        COMPARE_ALL(test.Shows().mid(0, 5), Offline("List of files is invalid"));
        COMPARE_ALL(test.GameTree(), Files({"a.txt"}));
    }

    // A proxy may take a packed list that it has in part for the complete one. Qt then unpacks the part.
    void ofAPackedListThatIsCutNothingIsDeleted()
    {
        const Tree game = Files({"a", "sets/", "sets/a.map"});
        const std::string list = "#records#7\r\n" + WindowUnderTest::ListOf(game);
        const QByteArray packed =
            qCompress(QByteArray::fromStdString(list)).mid(4); // without Qt's own length
        int refused = 0;
        for (int length = 0; length <= packed.size(); ++length) {
            WindowUnderTest test;
            test.Publish(game);
            const QByteArray head = "HTTP/1.1 200 OK\r\nContent-Encoding: deflate\r\nContent-Length: ";
            const QByteArray answer = head + QByteArray::number(length) + "\r\n\r\n" + packed.left(length);
            test.server.scripts["List.txt"] = {0, answer.toStdString()};
            QVERIFY(test.Update(game));
            COMPARE_ALL(test.GameTree(), game);
            refused += updateState == UpdateState::Offline;
        }
        // Without its end, the last digest may be cut: that file is fetched once more.
        QVERIFY(refused > packed.size() - 60 && updateState == UpdateState::UpToDate);
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
        Tree game;
        for (int i = 100; i < 200; ++i)
            game["file " + std::to_string(i)] = "x";
        WindowUnderTest test;
        test.Publish(game);
        QVERIFY(test.Update(game));
        COMPARE_ALL(test.Shows().mid(0, 5), Offline("Failed to write file"));
        COMPARE_ALL(test.GameTree(), game); // nothing was deleted
    }

    // Each failure is reported. What is on its way arrives, and nothing else is asked for.
    void aFailedFileStopsTheQueueOnly()
    {
        WindowUnderTest test;
        Tree published, after;
        QStringList log = {"Directory deleted: 10", "Initializing files to download", "Deleted old file: 10"};
        for (int i = 10; i < 30; ++i) {
            published[std::to_string(i)] = "new";
            log += i < 25 ? QStringList(QString("Downloading file: %1").arg(i)) : QStringList();
            if (i >= 12 && i < 25)
                after[std::to_string(i)] = "new";
        }
        test.Publish(published);
        for (auto& [path, script] : test.server.scripts)
            script.delay = path == "List.txt" ? 0 : 200;
        test.server.scripts["10"] = test.server.scripts["11"] = {404};
        QVERIFY(test.Update({{"10", "old"}}));
        COMPARE_ALL(test.Shows(), notConnected + ListLoaded(published) + log + missing + missing);
        COMPARE_ALL(test.GameTree(), after);
        QCOMPARE(test.server.requests.size(), 16);
    }

    void aDeadLinkIsReplacedAndNotFollowed()
    {
        if (IsWindows)
            QSKIP("Wine has no links.");
        WindowUnderTest test;
        const TemporaryTree outside;
        QVERIFY(QFile::link(outside.Path("absent").c_str(), test.tree.Path("dead.txt").c_str()));
        test.Publish({{"dead.txt", "new"}});
        QVERIFY(test.Update({}));
        COMPARE_ALL(test.GameTree(), Tree({{"dead.txt", "new"}}));
        COMPARE_ALL(TreeOf(outside.Root()), Tree());
    }

    void aLinkedFolderIsPartOfTheGame()
    {
        if (IsWindows)
            QSKIP("Wine has no links.");
        WindowUnderTest test;
        const TemporaryTree outside;
        QVERIFY(WriteTree(outside.Root(), Files({"listed.txt", "unlisted.txt", "sub/unlisted.txt"})));
        QVERIFY(QFile::link(outside.Root().c_str(), test.tree.Path("folder").c_str()));
        test.Publish({{"folder/", ""}, {"folder/listed.txt", "new"}});
        QVERIFY(test.Update({}));
        COMPARE_ALL(test.Shows().mid(0, 5), upToDate);
        COMPARE_ALL(TreeOf(outside.Root()), Tree({{"listed.txt", "new"}}));
    }

    void aFileThatCannotBeSavedIsReported()
    {
        WindowUnderTest test;
        test.Publish({{"in the way.txt", "new"}});
        QVERIFY(test.Update({{"in the way.txt/", ""}}));
        const QStringList log = {
            "ERROR: Could not save the file, admin permission might be needed: "
            "ROOT\\in the way.txt",
            "UnknownContentError", notConnectedLine};
        COMPARE_ALL(test.Shows().mid(0, 5), notConnected);
        COMPARE_ALL(test.Shows().mid(test.Shows().size() - 3), log);
        COMPARE_ALL(test.GameTree(), Tree({{"in the way.txt/", ""}}));
    }

    void aSavedFileThatIsNotThereIsReported()
    {
        if (IsWindows)
            QSKIP("No link leads to a device there.");
        WindowUnderTest test;
        QVERIFY(QFile::link("/dev/null", test.tree.Path("lost.txt").c_str()));
        test.Publish({{"lost.txt", "new"}});
        QVERIFY(test.Update({}));
        COMPARE_ALL(test.Shows().mid(0, 5), Offline("Failed to write file"));
        QCOMPARE(test.Shows().last(), QString("Failed to write file"));
    }

    void theProgramEndsSoonAfterItsWindowIsClosed_data()
    {
        QTest::addColumn<QString>("stalling"); // the answer that never ends
        QTest::addColumn<bool>("bar");         // shows then
        QTest::newRow("Connecting to server...") << "List.txt" << false;
        QTest::newRow("Looking for updates...") << "" << false;
        QTest::newRow("Checking for file changes...") << "" << true;
        QTest::newRow("Downloading files...") << "new.dat" << true;
    }
    void theProgramEndsSoonAfterItsWindowIsClosed()
    {
        QFETCH(const QString, stalling);
        WindowUnderTest test;
        Tree game = Files({"1.dat", "2.dat", "3.dat", "4.dat", "5.dat"});
        QVERIFY(WriteTree(test.tree.Root(), game));
        game["new.dat"] = "new";
        test.Publish(game);
        test.server.scripts[stalling.toStdString()].stalls = true;
        test.server.scripts[stalling.toStdString()].sendOnly = 1;
        const MainWindowForm& ui = *test.OpenStill().ui;
        test.window->updateTimer.start();
        QDeadlineTimer limit;
        bool barShows = false;
        QTimer closing;
        connect(&closing, &QTimer::timeout, [&] {
            const bool isAsked = stalling.isEmpty() || test.server.requests.contains(stalling);
            if (isAsked && ui.StatusText->text() == QTest::currentDataTag()) {
                closing.stop();
                barShows = ui.ProgressBar->isVisible() && !ui.PercentageText->text().isEmpty();
                test.window->close(); // takes Wine two seconds where there is no window manager
                limit.setRemainingTime(2000);
            }
        });
        closing.start(0);
        QVERIFY(ProgramQuits());
        test.Close();
        QVERIFY(!limit.hasExpired());
        QTRY_COMPARE(test.server.running, 0);
        QTEST(barShows, "bar");
    }
};

QTEST_MAIN(TransfersTest)
#include "transfers_test.moc"
