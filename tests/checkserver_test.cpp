// The check of a server: what it says of answers that a real web server gives on a bad day only.
#include <QtTest>

#include "checkserver/servercheck.h"
#include "support/scriptedserver.h"

namespace {
const std::string Content = "content";
const std::string Digest = "ed7002b439e9ac845f22357d822bac1444730fbdb6016d3ec9432297b9ec9f73";

std::string ListOf(const std::string& names)
{
    std::string list = "#records#" + std::to_string(names.size()) + "\n";
    for (const char name : names)
        list += std::string("F#") + name + "#7#" + Digest + "\n";
    return list;
}

// The findings, a line each, and then the files checked and listed, and whether patience ended the check.
QString Check(const ScriptedServer& server)
{
    QString said;
    const CheckResult result = CheckServer(
        {server.BaseUrl(), false, std::chrono::seconds(2)},
        [&](const std::string& finding) { said += QString::fromStdString(finding) + "\n"; },
        [](const Progress&) {});
    return said + QString("%1/%2").arg(result.checked).arg(result.files) + (result.ended ? " ended" : "");
}
} // namespace

class CheckServerTest : public QObject
{
    Q_OBJECT

private slots:
    void oneBadAnswerAmongGoodOnes()
    {
        const std::string list = ListOf("abc");
        const std::string chunk =
            "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n2\r\nF#\r\n"; // of more
        const struct
        {
            const char* path;
            int status = 200;
            std::string body = Content;
            int sendOnly = -1;
            bool stalls = false;
            int pieceSize = 0;
            const char* said; // of this path alone
        } rows[] = {
            {.path = "b", .sendOnly = 3, .said = "cut short: 3 of 7 bytes came\n3/3"},
            // Comes within 3 s, and never pauses for 2.
            {.path = "b", .body = std::string(3000, 'x'), .pieceSize = 1, .said = "[^0]+ 3000 .+\n3/3"},
            {.path = "b", .sendOnly = 3, .stalls = true, .said = "no answer for 2 s.+\n2/3 ended"},
            {.path = "List.txt", .status = 0, .body = chunk, .said = "broken off.+\n0/0"},
            {.path = "List.txt", .sendOnly = 3, .said = "cut short: 3 of 7 .+\n0/0"},
            {.path = "List.txt", .body = ListOf("ab") + "F#c\n", .said = "an invalid list.+\n0/0"},
            {.path = "List.txt",
             .body = ListOf("abcdefghijklmnop").substr(12) + "F#no List.txt#1#x",
             .said = "without its n.+\nno List.txt: never.+\n17/17"},
        };
        for (const auto& row : rows) {
            ScriptedServer server;
            server.fallback = {200, Content};
            server.scripts["List.txt"] = {200, list};
            Script& script = server.scripts[row.path] = {row.status, row.body};
            script.sendOnly = row.sendOnly;
            script.stalls = row.stalls;
            script.pieceSize = row.pieceSize;
            const QString said = Check(server);
            const QRegularExpression expected(QString("^%1: %2$").arg(row.path, row.said));
            QVERIFY2(expected.match(said).hasMatch(), qPrintable(said));
        }
    }
};

QTEST_GUILESS_MAIN(CheckServerTest)
#include "checkserver_test.moc"
