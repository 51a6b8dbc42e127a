// Transfers that work and that fail: what the player is left with, and that nothing is lost.
#include <QNetworkAccessManager>

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
Q_DECLARE_METATYPE(Tree)

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

    void nothingIsAddedToWhatQtSends()
    {
        WindowUnderTest test;
        test.Publish({{"a.txt", "new"}});
        QVERIFY(test.Update({}));
        for (const QString path : {"List.txt", "a.txt"}) {
            QNetworkAccessManager plain;
            plain.get(QNetworkRequest(QUrl(updateServerUrl.c_str() + path)));
            QTRY_COMPARE(test.server.requests.count(path), 2);
            QCOMPARE(test.server.heads.last(), test.server.heads[test.server.requests.indexOf(path)]);
        }
    }

    void withoutAListNothingChanges_data()
    {
        QTest::addColumn<QString>("url"); // another one than the server's
        QTest::addColumn<Script>("script");
        QTest::addColumn<QStringList>("shows");
        QTest::addColumn<QStringList>("log");
        QStringList unknownHost = notConnected;
        unknownHost.last() = "no patch notes";
        const QString noHost = "Can not locate host, your internet connection may be down";
        QTest::newRow("closed port") << "http://127.0.0.1:1/" << Script() << notConnected
                                     << Failed("ConnectionRefusedError");
        QTest::newRow("unknown host") << "http://name.invalid/" << Script() << unknownHost << Failed(noHost);

        const auto answer = [](const char* name, const Script& script, const QStringList& log) {
            QTest::newRow(name) << "" << script << notConnected << log;
        };
        Script half(200, "F#readme.txt#1#0\n");
        half.sendOnly = 16;
        Script none(204, "F#readme.txt#1#0\n"); // a status that Qt takes for an end without a body
        none.sendOnly = 0;
        answer("no such file", {404}, missing);
        answer("not for everybody", {403}, Failed("ContentAccessDenied"));
        answer("a method refused", {405}, Failed("ContentOperationNotPermittedError"));
        answer("an error that has no line", {503}, {notConnectedLine});
        answer("no HTTP", {0}, Failed("RemoteHostClosedError"));
        answer("a body that breaks off", half, Failed("RemoteHostClosedError"));
        answer("a body that never came", none, Failed("RemoteHostClosedError"));

        const QStringList invalid = Offline("List of files is invalid");
        const QStringList refused = {"List of files is invalid", "Deleted temporary list file"};
        QTest::newRow("a foreign page") << "" << Script(200, "<p>\n#F#Wi-Fi#") << invalid
                                        << QStringList("List of files loaded with 2 elements") + refused;
        QTest::newRow("nothing at all") << "" << Script(200, "") << invalid << refused;
    }
    void withoutAListNothingChanges()
    {
        QFETCH(const QString, url);
        QFETCH(const Script, script);
        QFETCH(const QStringList, shows);
        QFETCH(const QStringList, log);
        const Tree game = Files({"readme.txt", "sets/", "sets/a.map"});
        WindowUnderTest test;
        test.server.fallback = script;
        QStringList asked = listAsked;
        if (!url.isEmpty()) {
            fileListUrl = url.toStdString();
            asked.last() = "Downloading file: " + url;
        }
        QVERIFY(test.Update(game));
        COMPARE_ALL(test.Shows(), shows + asked + log);
        COMPARE_ALL(test.GameTree(), game);
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

    void onAFullDiskAListIsRefusedAndAFileIsCutShort_data()
    {
        QTest::addColumn<Tree>("installed");
        QTest::addColumn<Tree>("published");
        QTest::addColumn<QStringList>("shows");
        QTest::addColumn<Tree>("after");
        Tree game;
        for (int i = 100; i < 200; ++i)
            game["file " + std::to_string(i)] = "x";
        QTest::newRow("list") << game << game << Offline("Failed to write file") << game;
        QTest::newRow("file") << Tree() << Tree{{"large.dat", std::string(5000, 'x')}} << upToDate
                              << Tree{{"large.dat", std::string(4096, 'x')}};
    }
    // In a process of its own that can't make a file longer than 4 KB, as if the disk were full.
    void onAFullDiskAListIsRefusedAndAFileIsCutShort()
    {
        if (IsWindows)
            QSKIP("No file can be kept that short there.");
        if (!qEnvironmentVariableIsSet("DISK_IS_FULL")) {
            const QString row = QString(QTest::currentTestFunction()) + ":" + QTest::currentDataTag();
            const QString limited = "trap '' XFSZ; ulimit -f 4; DISK_IS_FULL=1 exec \"$0\" \"$1\"";
            QCOMPARE(QProcess::execute("bash", {"-c", limited, qApp->applicationFilePath(), row}), 0);
            return;
        }
        QFETCH(const Tree, installed);
        QFETCH(const Tree, published);
        QFETCH(const QStringList, shows);
        QFETCH(const Tree, after);
        WindowUnderTest test;
        test.Publish(published);
        QVERIFY(test.Update(installed));
        COMPARE_ALL(test.Shows().mid(0, 5), shows);
        COMPARE_ALL(test.GameTree(), after);
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
        QTest::addColumn<QString>("requested"); // last
        QTest::addColumn<bool>("stalls");       // the answer to that
        QTest::addColumn<bool>("barShows");
        QTest::newRow("Connecting to server...") << "List.txt" << true << false;
        QTest::newRow("Looking for updates...") << "List.txt" << false << false;
        QTest::newRow("Checking for file changes...") << "List.txt" << false << true;
        QTest::newRow("Downloading files...") << "new.dat" << true << true;
    }
    void theProgramEndsSoonAfterItsWindowIsClosed()
    {
        QFETCH(const QString, requested);
        QFETCH(const bool, stalls);
        QFETCH(const bool, barShows);
        WindowUnderTest test;
        Tree game = Files({"1.dat", "2.dat", "3.dat", "4.dat", "5.dat"});
        QVERIFY(WriteTree(test.tree.Root(), game));
        game["new.dat"] = "new";
        test.Publish(game);
        Script& script = test.server.scripts[requested.toStdString()];
        script.stalls = stalls;
        script.sendOnly = stalls ? 1 : -1;
        const MainWindowForm& ui = *test.OpenStill().ui;
        test.window->updateTimer.start();
        QDeadlineTimer limit;
        QStringList shown;
        QTimer closing;
        connect(&closing, &QTimer::timeout, [&] {
            if (ui.StatusText->text() == QTest::currentDataTag() &&
                test.server.requests.contains(requested)) {
                closing.stop();
                shown = test.Shows();
                test.window->close(); // takes Wine two seconds where there is no window manager
                limit.setRemainingTime(2000);
            }
        });
        closing.start(0);
        QVERIFY(ProgramQuits());
        test.Close();
        QVERIFY(!limit.hasExpired());
        QTRY_COMPARE(test.server.running, 0);
        QCOMPARE(shown[3].startsWith("bar"), barShows);
        QCOMPARE(shown[1] != "percentage: ", barShows);
    }
};

QTEST_MAIN(TransfersTest)
#include "transfers_test.moc"
