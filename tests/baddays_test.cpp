// Servers, lists, disks and players that misbehave: what the player is left with, and that nothing is lost.
#include <algorithm>
#include <fstream>
#include <random>

#include <QElapsedTimer>
#include <QLabel>
#include <QNetworkAccessManager>
#include <QProcess>
#include <QPushButton>
#include <QStorageInfo>
#include <QStringListModel>
#include <QTcpSocket>

#include "gametree/filelist.h"
#include "gametree/layout.h"
#include "qtdownload/qtdownload.h"
#include "startup/launchercontext.h"
#include "startup/strings.h"
#include "support/testmain.h"
#include "support/windowundertest.h"

namespace {
using End = Script::End;

// Status, button, and the log behind this line or, without it, behind the one that the window begins with.
QString Outcome(const WindowUnderTest& test, const char* after = "")
{
    const QPushButton& play = *LauncherContext::Instance().Play;
    QStringList log;
    for (const std::string& line : test.LogLines())
        log += QString::fromStdString(line);
    log = log.mid(std::max(log.indexOf(after), 0) + 1);
    return (QStringList{test.Status(), play.text() + (play.isEnabled() ? "" : ", disabled")} + log).join('|');
}
const char* const LastLineAboutTheTree = "Initializing files to download";

QString Offline(const QString& log)
{
    return "Failed to connect to server|Play Offline|" + log + "Failed to connect to the server";
}
QString NoList(const QString& log)
{
    return Offline("Downloading file: List.txt|" + log);
}
QString InvalidList(const QString& log)
{
    return "List of files is invalid|Play Offline|Downloading file: List.txt|" + log +
           "List of files is invalid|Deleted temporary list file";
}
const QString Missing = "File not found on server|ContentNotFoundError|";
const QString NotSaved =
    "ERROR: Could not save the file, admin permission might be needed: %1|UnknownContentError|";

const Tree Installed = {{"readme.txt", "old"}, {"Sets/", ""}, {"Sets/a.map", "mine"}, {"Sets/b", "yours"}};

// A body of 20,000 bytes of which so many come, and what follows them.
Script Cut(int sendOnly, End end, int delay = 0, int piece = 0)
{
    const int pause = piece > 0 ? 1 : 0;
    return {200, std::string(20000, 'x'), {}, sendOnly, true, false, true, end, delay, piece, pause};
}
Script Late(int status, int delay)
{
    return {status, "no", {}, -1, true, false, true, End::Close, delay};
}

struct ServerRow
{
    const char* name;
    Script script;
    QString text;               // the outcome, or the status at which something happens
    const char* path = nullptr; // where the script stands, or another URL for the list
};

const ServerRow listRows[] = {
    {"closed port", {}, Offline("ConnectionRefusedError|"), "http://127.0.0.1:PORT/"},
    {"dead name",
     {},
     Offline("Can not locate host, your internet connection may be down|"),
     "http://name.invalid/"},
    {"TLS to a plain port", {}, Offline("SslHandshakeFailedError|"), "https://127.0.0.1:PORT/"},
    {"unknown protocol", {}, Offline("ProtocolUnknownError|"), "kachel://127.0.0.1/"},
    {"no answer at all", {0}, NoList("RemoteHostClosedError|")},
    {"400", {400}, NoList("ProtocolInvalidOperationError|")},
    {"401", {401, "no", {"WWW-Authenticate: Basic realm=\"x\""}}, NoList("AuthenticationRequiredError|")},
    {"402", {402}, NoList("UnknownContentError|")},
    {"403", {403}, NoList("ContentAccessDenied|")},
    {"404", {404}, NoList(Missing)},
    {"405", {405}, NoList("ContentOperationNotPermittedError|")},
    {"407",
     {407, "", {"Proxy-Authenticate: Basic realm=\"x\""}},
     NoList("ProxyAuthenticationRequiredError|")},
    {"409", {409}, NoList("")},
    {"410", {410}, NoList("")},
    {"500", {500}, NoList("")},
    {"503", {503}, NoList("")},
    {"redirect", {302, "moved", {"Location: /x"}}, InvalidList("List of files loaded with 1 elements|")},
    {"foreign page", {200, "<p>\n#F#Wi-Fi#"}, InvalidList("List of files loaded with 2 elements|")},
    {"no body", {200}, InvalidList("")},
};

// Errors that no server of the tests can provoke, and some that get no line of their own.
const QString RareErrors =
    "4 TimeoutError|,5 OperationCanceledError|,7 TemporaryNetworkFailureError|,8 NetworkSessionFailedError|,"
    "9 BackgroundRequestNotAllowedError|,99 UnknownNetworkError|,101 ProxyConnectionRefusedError|,"
    "102 ProxyConnectionClosedError|,103 ProxyNotFoundError|,104 ProxyTimeoutError|,199 UnknownProxyError|,"
    "205 ContentReSendError|,302 ProtocolInvalidOperationError|,399 ProtocolFailure|,10,206,401,-1";

// Ways in which a body breaks off before its announced length.
struct CutRow
{
    const char* name;
    Script script;
};
const CutRow cutRows[] = {
    {"closed in the middle", Cut(10000, End::Close)},
    {"reset in the middle", Cut(10000, End::Reset)},
    {"closed before the body", Cut(0, End::Close)},
    {"reset before the body", Cut(0, End::Reset)},
    {"one byte missing", Cut(19999, End::Close)},
    {"closed after a while", Cut(10000, End::Close, 3)},
    {"a trickle, closed", Cut(10000, End::Close, 0, 1000)},
    {"a trickle, reset", Cut(10000, End::Reset, 0, 1000)},
};

// The status at which the player closes the window, and what the server does meanwhile.
const ServerRow closingRows[] = {
    {"nothing comes", Cut(0, End::Stall, 60000), "Connecting to server...", "List.txt"},
    {"half a list", Cut(10000, End::Stall), "Connecting to server...", "List.txt"},
    {"while hashing", {}, "Checking for file changes...", "none"},
    {"a file stalls", Cut(10000, End::Stall), "Downloading files...", "f100.txt"},
    {"a file trickles", Cut(-1, End::Close, 0, 1), "Downloading files...", "f100.txt"},
    {"a file has failed", {404}, "Failed to connect to server", "f100.txt"},
    {"up to date", {}, "Game is up to date", "none"},
};

// Transfers of which the first ones fail.
struct FileRow
{
    const char* name;
    int files;
    int failing;
    Script script;
    QString report;
};
const FileRow fileRows[] = {
    {"success after a failure", 3, 1, {404}, Missing},
    {"success before a failure", 3, 1, Late(404, 200), Missing},
    {"two at once", 3, 2, Late(404, 50), Missing},
    {"fifteen at once", 17, 17, Late(404, 50), Missing},
    {"cut short", 3, 1, Cut(10000, End::Close), "RemoteHostClosedError|"},
};

std::string Noise()
{
    std::mt19937 random(1);
    std::string bytes(1000000, 'x');
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random()); });
    return bytes;
}

// Lists of a size that no game has: a beginning, and what follows it so many times.
struct HugeRow
{
    const char* name;
    const char* start;
    std::string repeated;
    int times;
    std::size_t files; // 0: no list to act on
};
const HugeRow hugeRows[] = {
    {"1,000,000 lines", "", "F#Game\\Worlds\\Hanging Gardens\\north + south ", 1000000, 1000000},
    {"a line of 100 MB", "", std::string(1000, 'F'), 100000, 0},
    {"a line of delimiters", "F#a#1#h", std::string(1000, '#'), 100000, 1},
    {"a path of separators", "F#a#1#h\nD#a", std::string(1000, '\\'), 10000, 1},
    {"noise", "", Noise(), 100, 0},
};

// A small disk, on which the trees of the tests stand as long as it lives. Only root can have one.
struct SmallDisk
{
    explicit SmallDisk(const QString& options) : mounted(Mount(options))
    {
        qputenv("TMPDIR", folder.path().toUtf8());
    }
    ~SmallDisk()
    {
        qputenv("TMPDIR", before);
        QProcess::execute("umount", {folder.path()});
    }
    bool Mount(const QString& options)
    {
        return QProcess::execute("mount", {"-t", "tmpfs", "-o", options, "none", folder.path()}) == 0;
    }
    void LeaveFree(int kilobytes)
    {
        QFile filler(folder.path() + "/filler");
        filler.open(QIODevice::WriteOnly);
        filler.write(QByteArray(int(QStorageInfo(folder.path()).bytesAvailable()) - kilobytes * 1024, 'x'));
    }

    const QByteArray before = qgetenv("TMPDIR");
    QTemporaryDir folder;
    const bool mounted;
};
} // namespace

class BadDaysTest : public QObject
{
    Q_OBJECT

private slots:
    void failedList_data()
    {
        AddRows(listRows);
    }
    void failedList()
    {
        QFETCH(int, index);
        const ServerRow& row = listRows[index];
        if (QString(row.path).startsWith("https") &&
            !QNetworkAccessManager().supportedSchemes().contains("https"))
            QSKIP("this Qt has no TLS");
        WindowUnderTest test;
        QVERIFY(WriteTree(test.tree.Root(), Installed));
        test.server.fallback = row.script;
        QTcpServer plain;
        connect(&plain, &QTcpServer::newConnection,
                [&] { plain.nextPendingConnection()->write("no\r\n\r\n"); });
        QVERIFY(plain.listen(QHostAddress::LocalHost));
        QString expected = row.text;
        if (row.path) {
            const QString url = QString(row.path).replace("PORT", QString::number(plain.serverPort()));
            fileListUrl = url.toStdString();
            expected.replace("Play Offline|", "Play Offline|Downloading file: " + url + "|");
        }
        if (expected.contains("Refused"))
            plain.close();
        QVERIFY(test.RunToTheEnd());
        QCOMPARE(Outcome(test), expected);
        QCOMPARE(Readable(test.GameTree()).c_str(), Readable(Installed).c_str());
    }

    void rareErrors()
    {
        WindowUnderTest test;
        MainWindow& window = test.Open();
        window.updateTimer.stop();
        for (const QString& error : RareErrors.split(',')) {
            window.pendingLogLines.resize(1);
            LauncherContext::Instance().StatusText->clear();
            QtDownload transfer;
            window.TransferFinished(&transfer, error.section(' ', 0, 0).toInt());
            window.finishedTransfers.clear();
            QCOMPARE(Outcome(test), Offline(error.section(' ', 1)));
        }
    }

    // A list that is cut must not become an order to delete.
    void cutList_data()
    {
        AddRows(cutRows);
    }
    void cutList()
    {
        QFETCH(int, index);
        WindowUnderTest test;
        QVERIFY(WriteTree(test.tree.Root(), Installed));
        const Tree before = TreeOf(test.tree.Root());
        test.server.fallback = cutRows[index].script;
        test.server.fallback.body.replace(0, 8, "F#a#1#h\n"); // what comes would be a list
        MainWindow& window = test.Open();
        for (int i = 0; i < 75; ++i) {
            window.pendingLogLines.assign(1, "[hh:mm:ss] the line that the window begins with");
            window.logModel->setStringList({});
            updateState = UpdateState::FetchingList;
            window.StartTransfer(fileListUrl, ListPath());
            QElapsedTimer time;
            for (time.start(); !(test.CycleEnded() && window.transfers.empty()) && time.elapsed() < 5000;)
                QCoreApplication::processEvents();
            QCOMPARE(Outcome(test), NoList("RemoteHostClosedError|"));
            QVERIFY(TreeOf(test.tree.Root()) == before);
        }
    }

    // A cut that nothing tells of. The list is refused, or it names in full what came before the cut: then
    // the files behind it are gone until the next start.
    void everyPrefix()
    {
        Tree published = {{"Sets/", ""}};
        for (int i = 0; i < 200; ++i)
            published["Sets/north + south " + std::to_string(i) + ".map"] = "x";
        const std::string list = WindowUnderTest::ListOf(published);
        int shorter = 0;
        int delimiters = 0;    // in the last line
        std::size_t named = 0; // files whose digest has been reached
        std::vector<std::string> lines(1);
        for (const char byte : list) {
            lines.back() += byte;
            delimiters += byte == '#';
            named += byte == '#' && delimiters == 3;
            if (byte == '\n') {
                lines.back().erase(lines.back().size() - 2);
                lines.emplace_back();
                delimiters = 0;
            }
            const bool isList = named > 0 && (byte == '\n' || delimiters == 3);
            ContentList content;
            QCOMPARE(ParseFileList(lines, content), isList);
            QVERIFY(!isList || (content.fileNames.size() == named && content.directories.size() == 4));
            shorter += isList && named < 201;
        }
        qInfo("%d of %d cuts leave a valid, shorter list", shorter, static_cast<int>(list.size()));
    }

    void hugeLists_data()
    {
        AddRows(hugeRows);
    }
    void hugeLists()
    {
        QFETCH(int, index);
        const HugeRow& row = hugeRows[index];
        const TemporaryTree tree;
        std::ofstream file(tree.Path("List.txt"), std::ios::binary);
        file << row.start;
        for (int i = 0; i < row.times; ++i) {
            file << row.repeated;
            if (row.files > 1)
                file << i << "#1#" << std::string(64, 'e') << "\r\n";
        }
        file.close();
        std::ofstream("/proc/self/clear_refs") << "5"; // the peak begins anew
        std::vector<std::string> lines;
        ReadListLines(lines, tree.Path("List.txt"));
        ContentList content;
        QCOMPARE(ParseFileList(lines, content), row.files > 0);
        QVERIFY(row.files == 0 || content.fileNames.size() == row.files);
#ifndef __SANITIZE_ADDRESS__
        const QString status = QString::fromStdString(ReadFile("/proc/self/status"));
        QVERIFY(status.section("VmHWM:", 1).simplified().section(' ', 0, 0).toInt() < 1000 * 1000); // KB
#endif
    }

    void failedFiles_data()
    {
        AddRows(fileRows);
    }
    void failedFiles()
    {
        QFETCH(int, index);
        const FileRow& row = fileRows[index];
        WindowUnderTest test;
        Tree before, published, after;
        QString log;
        for (int i = 0; i < row.files; ++i) {
            const std::string name = "f" + std::to_string(100 + i);
            before[name] = after[name] = "old"; // stays if it is never asked for
            published[name] = "new";
            if (i >= 15)
                continue;
            log += QString("Deleted old file: %1|Downloading file: %1|").arg(name.c_str());
            after[name] = "new";
            if (i < row.failing)
                after.erase(name);
        }
        if (row.files < 15)
            log += "Waiting for all files to finish downloading|";
        log += row.report;
        for (int i = 1; i < std::min(row.failing, 15); ++i)
            log += "Failed to connect to the server|" + row.report;
        QVERIFY(WriteTree(test.tree.Root(), before));
        test.Publish(published);
        int place = 0;
        for (const auto& [name, content] : published) {
            Script& script = test.server.scripts[name];
            script.delay = 100;
            if (place++ < row.failing)
                script = row.script;
        }
        QVERIFY(test.RunToTheEnd());
        QCOMPARE(Outcome(test, LastLineAboutTheTree), Offline(log));
        QCOMPARE(Readable(test.GameTree()).c_str(), Readable(after).c_str());
        QCOMPARE(test.server.requests.size(), 1 + static_cast<std::size_t>(std::min(row.files, 15)));
    }

    void folderInTheWay()
    {
        WindowUnderTest test;
        QVERIFY(WriteTree(test.tree.Root(), {{"a/x/", ""}, {"a/y/", ""}, {"a/y/unlisted.txt", "1"}}));
        test.Publish({{"a/", ""}, {"a/x", "a file"}, {"a/y", "another"}});
        QVERIFY(test.RunToTheEnd());
        QCOMPARE(
            Outcome(test, LastLineAboutTheTree),
            Offline(
                "Downloading file: a/x|Downloading file: a/y|Waiting for all files to finish downloading|" +
                NotSaved.arg(QString::fromStdString(test.tree.WindowsRoot() + "\\a/x"))));
        // A folder goes only with a file in it.
        QCOMPARE(Readable(test.GameTree()).c_str(),
                 Readable({{"a/", ""}, {"a/x/", ""}, {"a/y", "another"}}).c_str());
    }

    void readOnlyTree()
    {
        SmallDisk disk("size=1m");
        if (!disk.mounted)
            QSKIP("only root can mount a disk");
        WindowUnderTest test;
        QVERIFY(WriteTree(test.tree.Root(), Installed));
        test.Publish({{"readme.txt", "new"}});
        QVERIFY(disk.Mount("remount,ro"));
        QVERIFY(test.RunToTheEnd());
        QCOMPARE(Outcome(test), NoList(NotSaved.arg("../List.txt")));
        QVERIFY(test.GameTree() == Installed);
    }

    void fullDisk()
    {
        SmallDisk disk("size=256k");
        if (!disk.mounted)
            QSKIP("only root can mount a disk");
        WindowUnderTest test;
        Tree published = {{"big.bin", std::string(400000, 'x')}};
        test.Publish(published);
        // The short file shows on the next start, and is mended when there is room.
        QVERIFY(test.RunToTheEnd());
        QCOMPARE(test.Status(), QString("Game is up to date"));
        QVERIFY(test.GameTree() != published);
        QVERIFY(disk.Mount("remount,size=1m"));
        test.StartAnew();
        QVERIFY(test.RunToTheEnd());
        QVERIFY(test.GameTree() == published);

        // A list for which there is no room is not taken for a shorter one, wherever it is cut.
        for (int i = 100; i < 400; ++i)
            published["f" + std::to_string(i)] = "";
        QVERIFY(WriteTree(test.tree.Root(), published));
        test.Publish(published);
        for (const int room : {0, 4, 12, 20}) {
            test.StartAnew();
            disk.LeaveFree(room);
            QVERIFY(test.RunToTheEnd());
            QCOMPARE(Outcome(test),
                     "Failed to write file|Play Offline|Downloading file: List.txt|Failed to write file");
            QVERIFY(test.GameTree() == published);
        }
    }

    // What lies behind a link counts as the tree's: what the player has moved there and the list does not
    // name goes. The links stay.
    void linkOutOfTheTree()
    {
        if (QSysInfo::kernelType() == "winnt")
            QSKIP("Qt makes shortcuts there, which are files, and Wine has no links of its own");
        const TemporaryTree outside;
        QVERIFY(WriteTree(outside.Root(), {{"listed.txt", "old"}, {"sub/unlisted.txt", "1"}}));
        WindowUnderTest test;
        const QString link = QString::fromStdString(test.tree.Path("link"));
        QVERIFY(QFile::link(QString::fromStdString(outside.Root()), link));
        test.Publish({{"link/", ""}, {"link/listed.txt", "new"}});
        QVERIFY(test.RunToTheEnd());
        QVERIFY(TreeOf(outside.Root()) == Tree({{"listed.txt", "new"}}));
        QVERIFY(test.Status() == "Game is up to date" && QFileInfo(link).isSymLink());
    }

    void closing_data()
    {
        AddRows(closingRows);
    }
    void closing()
    {
        QFETCH(int, index);
        const ServerRow& row = closingRows[index];
        WindowUnderTest test;
        Tree published;
        for (int i = 100; i < 400; ++i)
            published["f" + std::to_string(i) + ".txt"] = std::string(50000, 'x');
        QVERIFY(WriteTree(test.tree.Root(), published));
        published["f100.txt"] = "new";
        test.Publish(published);
        test.server.scripts[row.path] = row.script;

        QElapsedTimer closed;
        QTimer poll, guard;
        connect(&poll, &QTimer::timeout, [&] {
            if (!closed.isValid() && test.Status() == row.text && !test.server.requests.empty()) {
                test.window->close();
                closed.start();
            }
        });
        connect(&guard, &QTimer::timeout, [] { QCoreApplication::exit(1); });
        poll.start(5);
        guard.start(20000);
        test.Open();
        QCOMPARE(QApplication::exec(), 0);
        test.Close();
        QVERIFY(closed.isValid() && closed.elapsed() < 2000);
        QTRY_COMPARE(test.server.running, 0);
    }
};

LAUNCHER_TEST_MAIN(BadDaysTest)
#include "baddays_test.moc"
