// Servers, lists, disks and players that misbehave: what the player is left with, and that nothing is lost.
#include <fstream>
#include <random>

#include <QElapsedTimer>
#include <QLabel>
#include <QProcess>
#include <QPushButton>
#include <QStringListModel>
#include <QTcpSocket>

#include "mainwindow/filelist.h"
#include "mainwindow/installedtree.h"
#include "qtdownload/qtdownload.h"
#include "startup/launchercontext.h"
#include "startup/strings.h"
#include "support/testmain.h"
#include "support/windowundertest.h"

namespace {
using End = Script::End;

// Status, button and log, without the line that the window begins with.
QStringList Outcome(const WindowUnderTest& test)
{
    const QPushButton& play = *LauncherContext::Instance().Play;
    QStringList outcome = {test.Status(), play.text() + (play.isEnabled() ? "" : ", disabled")};
    for (const std::string& line : test.LogLines())
        outcome += QString::fromStdString(line);
    outcome.removeAt(2);
    return outcome;
}

// What follows the lines about the tree's shape.
QStringList AfterChecking(QStringList outcome)
{
    const int checked = outcome.indexOf("Initializing files to download");
    return outcome.mid(0, 2) + outcome.mid(checked + 1);
}

QStringList NoConnection(const QStringList& log)
{
    return QStringList{"Failed to connect to server", "Play Offline"} + log +
           QStringList("Failed to connect to the server");
}

QStringList InvalidList(int lines)
{
    QStringList outcome = {"List of files is invalid", "Play Offline", "Downloading file: List.txt"};
    if (lines > 0)
        outcome += QString("List of files loaded with %1 elements").arg(lines);
    return outcome + QStringList{"List of files is invalid", "Deleted temporary list file"};
}

QStringList CouldNotSave(const std::string& path)
{
    return {"ERROR: Could not save the file, admin permission might be needed: " + QString::fromStdString(path),
            "UnknownContentError"};
}

const Tree Installed = {
    {"readme.txt", "old"}, {"Sets/", ""}, {"Sets/a.map", "mine"}, {"Sets/b.map", "yours"}};

Script Answer(int status, std::vector<std::string> headers = {}, std::string body = "said the server")
{
    Script script;
    script.status = status;
    script.headers = std::move(headers);
    script.body = std::move(body);
    return script;
}

Script Cut(int sendOnly, End end, int delay = 0, int piece = 0)
{
    Script script;
    script.body = std::string(20000, 'x');
    script.sendOnly = sendOnly;
    script.end = end;
    script.delay = delay;
    script.piece = piece;
    script.pause = piece > 0 ? 1 : 0;
    return script;
}

// What can happen to the list. The URL is the server's unless one is given.
struct ListRow
{
    const char* name;
    Script script;
    QStringList causes; // the log lines of a failed transfer
    int lines = -1;     // of a list that has arrived, and is invalid
    const char* url = nullptr;
};
const ListRow listRows[] = {
    {"closed port", {}, {"ConnectionRefusedError"}, -1, "http://127.0.0.1:PORT/List.txt"},
    {"dead name",
     {},
     {"Can not locate host, your internet connection may be down"},
     -1,
     "http://name.invalid/"},
    {"TLS to a plain port", {}, {"SslHandshakeFailedError"}, -1, "https://127.0.0.1:PORT/List.txt"},
    {"unknown protocol", {}, {"ProtocolUnknownError"}, -1, "kachel://127.0.0.1/List.txt"},
    {"no answer at all", Answer(0, {}, ""), {"RemoteHostClosedError"}},
    {"400", Answer(400), {"ProtocolInvalidOperationError"}},
    {"401", Answer(401, {"WWW-Authenticate: Basic realm=\"x\""}), {"AuthenticationRequiredError"}},
    {"403", Answer(403), {"ContentAccessDenied"}},
    {"404", Answer(404), {"File not found on server", "ContentNotFoundError"}},
    {"405", Answer(405), {"ContentOperationNotPermittedError"}},
    {"407", Answer(407, {"Proxy-Authenticate: Basic realm=\"x\""}), {"ProxyAuthenticationRequiredError"}},
    {"409", Answer(409), {}},
    {"410", Answer(410), {}},
    {"402", Answer(402), {"UnknownContentError"}},
    {"500", Answer(500), {}},
    {"501", Answer(501), {}},
    {"503", Answer(503), {}},
    {"599", Answer(599), {}},
    {"not what the encoding says", Answer(200, {"Content-Encoding: deflate"}), {"ProtocolFailure"}},
    {"redirect", Answer(302, {"Location: /LatestVersion/readme.txt"}, "<p>moved</p>\n"), {}, 1},
    {"foreign page", Answer(200, {}, "<!DOCTYPE html>\n<p>Log in to our #F#Wi-Fi#</p>\n"), {}, 2},
    {"no body", Answer(200, {}, ""), {}, 0},
};

// Errors that no server of the tests can provoke.
const std::map<int, QStringList> rareErrors = {
    {4, {"TimeoutError"}},
    {5, {"OperationCanceledError"}},
    {7, {"TemporaryNetworkFailureError"}},
    {8, {"NetworkSessionFailedError"}},
    {9, {"BackgroundRequestNotAllowedError"}},
    {10, {}},
    {99, {"UnknownNetworkError"}},
    {101, {"ProxyConnectionRefusedError"}},
    {102, {"ProxyConnectionClosedError"}},
    {103, {"ProxyNotFoundError"}},
    {104, {"ProxyTimeoutError"}},
    {199, {"UnknownProxyError"}},
    {205, {"ContentReSendError"}},
    {206, {}},
    {-1, {}},
};

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

// Lists of a size that no game has.
struct HugeRow
{
    const char* name;
    std::function<void(std::ostream&)> write;
    std::size_t files; // 0: no list to act on
};
const std::size_t HundredMegabytes = 100 * 1000 * 1000;
const std::string Digest(64, 'e');
const HugeRow hugeRows[] = {
    {"1,000,000 lines",
     [](std::ostream& file) {
         for (int i = 0; i < 1000000; ++i)
             file << "F#Game\\file " << i << "#1#" << Digest << "\r\n";
     },
     1000000},
    {"a line of 100 MB", [](std::ostream& file) { file << std::string(HundredMegabytes, 'F'); }, 0},
    {"a line of delimiters",
     [](std::ostream& file) { file << "F#a#1#h" << std::string(HundredMegabytes, '#'); }, 1},
    {"a path of separators",
     [](std::ostream& file) { file << "F#a" << std::string(HundredMegabytes, '\\') << "#1#h"; }, 1},
    {"noise",
     [](std::ostream& file) {
         std::mt19937 random(1);
         for (std::size_t i = 0; i < HundredMegabytes / 4; ++i) {
             const auto word = random();
             file.write(reinterpret_cast<const char*>(&word), 4);
         }
     },
     0},
};

// Transfers of which the first ones fail.
struct FileRow
{
    const char* name;
    int files;
    int failing;
    Script script;
    QStringList causes;
};
Script Missing(int delay)
{
    Script script = Answer(404);
    script.delay = delay;
    return script;
}
const FileRow fileRows[] = {
    {"success after a failure", 3, 1, Missing(0), {"File not found on server", "ContentNotFoundError"}},
    {"success before a failure", 3, 1, Missing(200), {"File not found on server", "ContentNotFoundError"}},
    {"two at once", 3, 2, Missing(50), {"File not found on server", "ContentNotFoundError"}},
    {"fifteen at once", 17, 17, Missing(50), {"File not found on server", "ContentNotFoundError"}},
    {"cut short", 3, 1, Cut(10000, End::Close), {"RemoteHostClosedError"}},
};

// What the player waits for when he closes the window.
struct ClosingRow
{
    const char* name;
    const char* status;
    const char* path; // what the server answers otherwise
    Script script;
    bool changes = true;
    int interval = 30; // milliseconds
};
const ClosingRow closingRows[] = {
    {"nothing comes", "Connecting to server...", "List.txt", Cut(0, End::Stall, 60000)},
    {"half a list", "Connecting to server...", "List.txt", Cut(10000, End::Stall)},
    {"a trickle", "Connecting to server...", "List.txt", Cut(-1, End::Close, 0, 1)},
    {"while hashing", "Checking for file changes...", "", {}, true, 0},
    {"a file does not come", "Downloading files...", "f100.txt", Cut(0, End::Stall)},
    {"files have failed", "Failed to connect to server", "f100.txt", Missing(0)},
    {"up to date", "Game is up to date", "", {}, false},
};

// Kilobytes of memory in use at the most since the process, or a write to clear_refs, began. 0: can't be
// told.
long PeakMemory()
{
    std::ifstream status("/proc/self/status");
    std::string word;
    long kilobytes = 0;
    while (status >> word && word != "VmHWM:") {
    }
    status >> kilobytes;
    return kilobytes;
}

// A small disk, on which the trees of the tests stand as long as it lives. Only root can have one.
class SmallDisk
{
public:
    explicit SmallDisk(const QString& size) : before(qgetenv("TMPDIR")), mounted(Mount("size=" + size))
    {
        qputenv("TMPDIR", folder.path().toUtf8());
    }
    ~SmallDisk()
    {
        if (before.isNull())
            qunsetenv("TMPDIR");
        else
            qputenv("TMPDIR", before);
        if (mounted)
            QProcess::execute("umount", {folder.path()});
    }
    bool Mount(const QString& options)
    {
        return QProcess::execute("mount", {"-t", "tmpfs", "-o", options, "none", folder.path()}) == 0;
    }

private:
    QTemporaryDir folder;
    QByteArray before;

public:
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
        const ListRow& row = listRows[index];
        WindowUnderTest test;
        QVERIFY(WriteTree(test.tree.Root(), Installed));
        test.server.fallback = row.script;
        QTcpServer other;
        connect(&other, &QTcpServer::newConnection,
                [&] { other.nextPendingConnection()->write("HTTP/1.1 400 Not TLS\r\n\r\n"); });
        QVERIFY(other.listen(QHostAddress::LocalHost));
        if (row.url)
            fileListUrl = QString(row.url).replace("PORT", QString::number(other.serverPort())).toStdString();
        if (row.causes == QStringList("ConnectionRefusedError"))
            other.close();
        const QStringList log(row.url ? QString("Downloading file: %1").arg(fileListUrl.c_str())
                                      : "Downloading file: List.txt");
        QVERIFY(test.RunToTheEnd());
        QCOMPARE(Outcome(test), row.lines < 0 ? NoConnection(log + row.causes) : InvalidList(row.lines));
        QCOMPARE(Readable(test.GameTree()).c_str(), Readable(Installed).c_str());
    }

    void rareErrorsAreReported()
    {
        WindowUnderTest test;
        MainWindow& window = test.Open();
        window.updateTimer.stop();
        QStringList log;
        for (const auto& [error, causes] : rareErrors) {
            updateState = UpdateState::DownloadingFiles;
            LauncherContext::Instance().StatusText->clear();
            QtDownload transfer;
            window.TransferFinished(&transfer, error);
            window.finishedTransfers.clear();
            log += causes + QStringList("Failed to connect to the server");
            QCOMPARE(updateState, UpdateState::Offline);
        }
        log.removeLast();
        QCOMPARE(Outcome(test), NoConnection(log));
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
        // Every cut of it would be a list.
        test.server.fallback.body.replace(0, 8, "F#a#1#h\n");
        MainWindow& window = test.Open();
        const QStringList expected = NoConnection({"Downloading file: List.txt", "RemoteHostClosedError"});
        for (int i = 0; i < 75; ++i) {
            window.pendingLogLines.assign(1, "[hh:mm:ss] the line that the window begins with");
            window.logModel->setStringList({});
            updateState = UpdateState::FetchingList;
            window.StartTransfer(fileListUrl, ListPath());
            QElapsedTimer time;
            for (time.start(); !(test.CycleEnded() && window.transfers.empty()) && time.elapsed() < 5000;)
                QCoreApplication::processEvents();
            QCOMPARE(Outcome(test), expected);
            QVERIFY(TreeOf(test.tree.Root()) == before);
        }
    }

    // A cut that nothing tells of. The list is refused, or it names in full what came before the cut: then
    // the files behind it are gone until the next start.
    void everyPrefix()
    {
        Tree published;
        for (int i = 0; i < 200; ++i)
            published["Sets/Set " + std::to_string(i % 9) + "/north + south " + std::to_string(i) + ".map"] =
                "x";
        for (int i = 0; i < 9; ++i)
            published["Sets/Set " + std::to_string(i) + "/"];
        published["Sets/"];
        const std::string list = WindowUnderTest::ListOf(published);
        const TemporaryTree tree;
        const auto read = [&](std::size_t size, ContentList& content) {
            std::vector<std::string> lines;
            if (WriteFile(tree.Path("List.txt"), list.substr(0, size)))
                ReadListLines(lines, tree.Path("List.txt"));
            return ParseFileList(lines, content);
        };
        ContentList whole;
        QVERIFY(read(list.size(), whole));

        int shorter = 0;
        std::size_t named = 0; // files whose digest has been reached
        int delimiters = 0;    // in the last line
        for (std::size_t cut = 1; cut < list.size(); ++cut) {
            const char last = list[cut - 1];
            delimiters = last == '\n' ? 0 : delimiters + (last == '#');
            named += last == '#' && delimiters == 3;
            ContentList content;
            if (read(cut, content) != (named > 0 && (last == '\n' || delimiters == 3))) qInfo("cut %d of %d: %s", (int)cut, (int)list.size(), list.substr(0,cut).substr(cut>120?cut-120:0).c_str());
            ContentList content2; std::swap(content, content2);
            QCOMPARE(read(cut, content), named > 0 && (last == '\n' || delimiters == 3));
            if (content.fileDigests.size() != named || !(last == '\n' || delimiters == 3))
                continue;
            QCOMPARE(content.directories, whole.directories);
            QVERIFY(std::equal(content.fileNames.begin(), content.fileNames.end(), whole.fileNames.begin()));
            shorter += named < whole.fileNames.size();
        }
        qInfo("%d of %d cuts leave a valid, shorter list", shorter, static_cast<int>(list.size()) - 1);
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
        {
            std::ofstream file(tree.Path("List.txt"), std::ios::binary);
            row.write(file);
        }
        std::ofstream("/proc/self/clear_refs") << "5";
        const long before = PeakMemory();
        std::vector<std::string> lines;
        ReadListLines(lines, tree.Path("List.txt"));
        ContentList content;
        QCOMPARE(ParseFileList(lines, content), row.files > 0);
        if (row.files > 0)
            QCOMPARE(content.fileNames.size(), row.files);
        const long used = PeakMemory() - before;
        qInfo("%ld MB at the most", used / 1024);
#ifndef __SANITIZE_ADDRESS__
        QVERIFY(used < 8 * 100 * 1024);
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
        QStringList log;
        for (int i = 0; i < row.files; ++i) {
            const std::string name = "f" + std::to_string(100 + i);
            before[name + ".txt"] = "old";
            published[name + ".txt"] = name;
            if (i >= 15)
                after[name + ".txt"] = "old"; // never asked for
            else if (i >= row.failing)
                after[name + ".txt"] = name;
            if (i < 15)
                log += QString("Deleted old file: %1.txt\nDownloading file: %1.txt")
                           .arg(name.c_str())
                           .split('\n');
        }
        if (row.files < 15)
            log += "Waiting for all files to finish downloading";
        for (int i = 0; i < std::min(row.failing, 15); ++i)
            log += row.causes + QStringList("Failed to connect to the server");
        log.removeLast();
        QVERIFY(WriteTree(test.tree.Root(), before));
        test.Publish(published);
        int started = 0;
        for (auto& [path, script] : test.server.scripts) {
            if (path[0] != 'f')
                continue;
            if (started++ < row.failing)
                script = row.script;
            else
                script.delay = 100;
        }
        QVERIFY(test.RunToTheEnd());
        QCOMPARE(AfterChecking(Outcome(test)), NoConnection(log));
        QCOMPARE(Readable(test.GameTree()).c_str(), Readable(after).c_str());
        QCOMPARE(test.server.requests.size(), 1 + static_cast<std::size_t>(std::min(row.files, 15)));
    }

    void folderInTheWay()
    {
        WindowUnderTest test;
        QVERIFY(WriteTree(test.tree.Root(), {{"a/x/", ""}, {"a/y/", ""}, {"a/y/unlisted.txt", "1"}}));
        test.Publish({{"a/", ""}, {"a/x", "a file"}, {"a/y", "another"}});
        // A folder goes only with a file in it.
        QVERIFY(test.RunToTheEnd());
        QCOMPARE(AfterChecking(Outcome(test)),
                 NoConnection(QStringList{"Downloading file: a/x", "Downloading file: a/y",
                                          "Waiting for all files to finish downloading"} +
                              CouldNotSave(test.tree.WindowsRoot() + "\\a/x")));
        QCOMPARE(Readable(test.GameTree()).c_str(),
                 Readable({{"a/", ""}, {"a/x/", ""}, {"a/y", "another"}}).c_str());
    }

    void readOnlyTree()
    {
        SmallDisk disk("1m");
        if (!disk.mounted)
            QSKIP("only root can mount a disk");
        WindowUnderTest test;
        QVERIFY(WriteTree(test.tree.Root(), Installed));
        test.Publish({{"readme.txt", "new"}});
        QVERIFY(disk.Mount("remount,ro"));
        QVERIFY(test.RunToTheEnd());
        QCOMPARE(Outcome(test),
                 NoConnection(QStringList("Downloading file: List.txt") + CouldNotSave("../List.txt")));
        QCOMPARE(Readable(test.GameTree()).c_str(), Readable(Installed).c_str());
    }

    void fullDisk()
    {
        SmallDisk disk("256k");
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
        QCOMPARE(Readable(test.GameTree()).c_str(), Readable(published).c_str());

        // A list for which there is no room is not taken for a shorter one.
        for (int i = 100; i < 400; ++i)
            published["f" + std::to_string(i)] = "";
        QVERIFY(WriteTree(test.tree.Root(), published));
        QVERIFY(WriteFile(test.tree.Path("filler"), std::string(100000, 'x')));
        const Tree before = test.GameTree();
        test.Publish(published);
        QVERIFY(disk.Mount("remount,size=532k"));
        test.StartAnew();
        QVERIFY(test.RunToTheEnd());
        qInfo() << Outcome(test).mid(0, 8);
        QCOMPARE(Readable(test.GameTree()).c_str(), Readable(before).c_str());
    }

    void linkOutOfTheTree()
    {
        const TemporaryTree outside;
        QVERIFY(WriteTree(outside.Root(),
                          {{"listed.txt", "old"}, {"unlisted.txt", "1"}, {"sub/unlisted.txt", "2"}}));
        WindowUnderTest test;
        QVERIFY(QFile::link(QString::fromStdString(outside.Root()),
                            QString::fromStdString(test.tree.Path("link"))));
        QVERIFY(QFile::link(QString::fromStdString(outside.Root()),
                            QString::fromStdString(test.tree.Path("unlisted"))));
        test.Publish({{"link/", ""}, {"link/listed.txt", "new"}});
        QVERIFY(test.RunToTheEnd());
        qInfo() << Outcome(test);
        qInfo("%s", Readable(TreeOf(outside.Root())).c_str());
        qInfo("%s", Readable(test.GameTree()).c_str());
    }

    void closing_data()
    {
        AddRows(closingRows);
    }
    void closing()
    {
        QFETCH(int, index);
        const ClosingRow& row = closingRows[index];
        WindowUnderTest test;
        Tree published;
        for (int i = 100; i < 400; ++i)
            published["f" + std::to_string(i) + ".txt"] = std::string(20000, 'x');
        QVERIFY(WriteTree(test.tree.Root(), published));
        published["f100.txt"] = published["f101.txt"] = "new";
        test.Publish(row.changes ? published : test.GameTree());
        Script& script = test.server.scripts[row.path];
        const std::string body = script.body;
        script = row.script;
        if (script.body.empty())
            script.body = body;

        QElapsedTimer closed;
        QTimer poll;
        connect(&poll, &QTimer::timeout, [&] {
            if (!closed.isValid() && test.Status() == row.status && !test.server.requests.empty()) {
                test.window->close();
                closed.start();
            }
        });
        poll.start(row.interval);
        QTimer::singleShot(20000, qApp, [] { QCoreApplication::exit(1); });
        test.Open();
        QCOMPARE(QApplication::exec(), 0);
        test.Close();
        QVERIFY(closed.isValid());
        qInfo("%lld ms", closed.elapsed());
        QVERIFY(closed.elapsed() < 2000);
        QTRY_COMPARE(test.server.running, 0);
    }
};

LAUNCHER_TEST_MAIN(BadDaysTest)
#include "baddays_test.moc"
