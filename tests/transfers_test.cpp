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
            changes += QString("Downloading file: %1.dat").arg(i);
        }
        changes.insert(4, "Deleted old file: 10.dat");
        changes += {"Downloading file: Däten/a + b (100%).txt", "Waiting for all files to finish downloading",
                    "Game is up to date"};
        WindowUnderTest test;
        test.Publish(published);
        for (auto& [path, script] : test.server.scripts)
            script.delay = 100;
        QVERIFY(test.Update({{"10.dat", "old"}, {"junk/x.txt", "1"}, {"unins000.exe", "spared"}}));
        COMPARE_ALL(test.Shows(), upToDate + ListLoaded(published) + changes);
        published["unins000.exe"] = "spared";
        COMPARE_ALL(test.GameTree(), published);
        QCOMPARE(test.server.mostAtOnce, 15);
        QCOMPARE(test.window->speedMeter->meteredBytes, 123); // without the list

        // Nothing is added to what Qt sends by itself.
        QNetworkAccessManager plain;
        plain.get(QNetworkRequest(QUrl(fileListUrl.c_str())));
        QTRY_COMPARE(test.server.heads.size(), 43); // one for each file and the list, and this
        QCOMPARE(test.server.heads.last(), test.server.heads.first());
    }

    void withoutAListNothingChanges()
    {
        struct Row
        {
            const char* name;
            const char* url; // another one than the server's
            Script script;
            QStringList shows;
            QStringList log;
        };
        QStringList unknownHost = notConnected;
        unknownHost.last() = "no patch notes";
        const QString noHost = "Can not locate host, your internet connection may be down";
        const QStringList invalid = Offline("List of files is invalid");
        const QStringList refused = {"List of files is invalid", "Deleted temporary list file"};
        const QStringList twoLines = {"List of files loaded with 2 elements"};
        Script half(200, "F#readme.txt#1#0\n");
        half.sendOnly = 16;
        Script none(204, "F#readme.txt#1#0\n"); // a status that Qt takes for an end without a body
        none.sendOnly = 0;
        const Row rows[] = {
            {"closed port", "http://127.0.0.1:1/", {}, notConnected, Failed("ConnectionRefusedError")},
            {"unknown host", "http://name.invalid/", {}, unknownHost, Failed(noHost)},
            {"no such file", "", {404}, notConnected, missing},
            {"not for everybody", "", {403}, notConnected, Failed("ContentAccessDenied")},
            {"a method refused", "", {405}, notConnected, Failed("ContentOperationNotPermittedError")},
            {"an error that has no line", "", {503}, notConnected, {notConnectedLine}},
            {"no HTTP", "", {0}, notConnected, Failed("RemoteHostClosedError")},
            {"a body that breaks off", "", half, notConnected, Failed("RemoteHostClosedError")},
            {"a body that never came", "", none, notConnected, Failed("RemoteHostClosedError")},
            {"a foreign page", "", {200, "<p>\n#F#Wi-Fi#"}, invalid, twoLines + refused},
            {"nothing at all", "", {200, ""}, invalid, refused},
        };
        const Tree game = Files({"readme.txt", "sets/", "sets/a.map"});
        for (const Row& row : rows) {
            WindowUnderTest test;
            test.server.fallback = row.script;
            QStringList asked = listAsked;
            if (*row.url)
                asked.last() = QString("Downloading file: ") + (fileListUrl = row.url).c_str();
            QVERIFY2(test.Update(game), row.name);
            COMPARE_ALL(test.Shows(), row.shows + asked + row.log);
            COMPARE_ALL(test.GameTree(), game);
        }
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
    void onAFullDiskAListIsRefusedAndAFileIsCutShort()
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
        {
            WindowUnderTest test;
            test.Publish(game);
            QVERIFY(test.Update(game));
            COMPARE_ALL(test.Shows(),
                        Offline("Failed to write file") + listAsked + QStringList("Failed to write file"));
            COMPARE_ALL(test.GameTree(), game); // nothing was deleted
        }
        WindowUnderTest test;
        test.Publish({{"large.dat", std::string(5000, 'x')}});
        QVERIFY(test.Update({}));
        COMPARE_ALL(test.Shows().mid(0, 5), upToDate);
        const QByteArray program = QCoreApplication::applicationFilePath().toUtf8();
        QVERIFY(!CopyFileA(program, test.tree.Path("copy").c_str(), FALSE)); // nor is a half copy left
        COMPARE_ALL(test.GameTree(), Tree({{"large.dat", std::string(4096, 'x')}}));
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

    // What stands behind a link to a folder is judged as the rest of the tree.
    void contentIsWrittenToItsOwnPlaceOnly()
    {
        if (IsWindows)
            QSKIP("Wine has no links.");
        WindowUnderTest test;
        const TemporaryTree outside;
        QVERIFY(WriteTree(outside.Root(), Files({"linked/listed.txt", "linked/sub/unlisted.txt"})));
        const auto link = [&](const std::string& target, const char* name) {
            return QFile::link(target.c_str(), test.tree.Path(name).c_str());
        };
        QVERIFY(link(outside.Path("absent"), "dangling.txt") && link(outside.Path("linked"), "folder"));
        QVERIFY(link(outside.Path("linked/listed.txt"), "unlisted.txt")); // the next one ends no listing
        QVERIFY(link("/dev/null", "late.txt"));                           // leads somewhere, to no file
        Tree published = {{"dangling.txt", "new"}, {"folder/", ""}, {"folder/listed.txt", "new"}};
        published.insert({{"in the way.txt", "new"}, {"late.txt", "new"}});
        test.Publish(published);
        test.server.scripts["late.txt"].delay = 300;
        QVERIFY(test.Update({{"in the way.txt/", ""}}));
        const QStringList log = {"Waiting for all files to finish downloading",
                                 "ERROR: Could not save the file, admin permission might be needed: "
                                 "ROOT\\in the way.txt",
                                 "UnknownContentError", notConnectedLine, "Failed to write file"};
        COMPARE_ALL(test.Shows().mid(0, 5) + test.Shows().mid(19), Offline("Failed to write file") + log);
        COMPARE_ALL(TreeOf(outside.Root()), Tree({{"linked/", ""}, {"linked/listed.txt", "new"}}));
        COMPARE_ALL(test.GameTree(), Tree({{"dangling.txt", "new"},
                                           {"folder", "(unreadable)"},
                                           {"in the way.txt/", ""},
                                           {"late.txt", ""}}));
    }

    void theProgramEndsSoonAfterItsWindowIsClosed()
    {
        struct Row
        {
            const char* status; // at which the player closes the window
            const char* requested;
            bool stalls; // the answer to that
            bool bar;    // is shown then
        };
        const Row rows[] = {{"Connecting to server...", "List.txt", true, false},
                            {"Looking for updates...", "List.txt", false, false},
                            {"Checking for file changes...", "List.txt", false, true},
                            {"Downloading files...", "new.dat", true, true}};
        const Tree installed = Files({"1.dat", "2.dat", "3.dat", "4.dat", "5.dat"});
        Tree published = installed;
        published["new.dat"] = "new";
        for (const Row& row : rows) {
            WindowUnderTest test;
            QVERIFY(WriteTree(test.tree.Root(), installed));
            test.Publish(published);
            Script& script = test.server.scripts[row.requested];
            script.stalls = row.stalls;
            script.sendOnly = row.stalls ? 1 : -1;
            test.OpenStill().updateTimer.start();
            QDeadlineTimer limit;
            QTimer closing;
            connect(&closing, &QTimer::timeout, [&] {
                if (test.window->ui->StatusText->text() == row.status &&
                    test.server.requests.contains(row.requested)) {
                    closing.stop();
                    QCOMPARE(test.window->ui->ProgressBar->isVisible(), row.bar);
                    QCOMPARE(test.window->ui->PercentageText->text().isEmpty(), !row.bar);
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
