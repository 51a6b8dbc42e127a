// The check of a server: what it says of the answers that servers and caches give on a bad day.
#include "checkserver/servercheck.h"
#include "support/scriptedserver.h"
#include "support/testmain.h"

namespace {
const std::string Content = "content";
const std::string Digest = "ed7002b439e9ac845f22357d822bac1444730fbdb6016d3ec9432297b9ec9f73";
const std::string Record = "#7#" + Digest + "\n";

std::string ListOf(const std::string& names)
{
    std::string list = "#records#" + std::to_string(names.size()) + "\n";
    for (const char name : names)
        list += std::string("F#") + name + Record;
    return list;
}

// All that is said, and the summary.
QString Check(const ScriptedServer& server, CheckOptions options = {})
{
    QString said;
    options.base = options.base.empty() ? server.BaseUrl() : options.base;
    options.patience = std::chrono::seconds(2);
    const auto say = [&](const std::string& line) { said += QString::fromStdString(line) + "\n"; };
    const CheckResult result = CheckServer(options, say, [](const Progress&) {});
    said += QString::fromStdString(SummaryText(options, result));
    return said.remove(QString::fromStdString("check-server: " + server.BaseUrl() + ": "));
}

// A server of three files, one of whose answers is another one.
struct AnswerRow
{
    const char* name;
    std::string path;
    Script answer;
    std::string said; // before the summary
    std::string summary = "3 files checked, 1 finding";
};
// Without Qt's own length.
const std::string Packed = qCompress(QByteArray::fromStdString(ListOf("abc"))).mid(4).toStdString();
const std::string Fine = "3 files checked, all as the list says";
const AnswerRow answerRows[] = {
    {"missing", "b", {404}, "b: missing (404 Scripted)\n"},
    {"a redirect", "b", Script(301, "", "Location: /c\r\n"),
     "b: redirected (301 Scripted, to /c): the launcher does not follow it, and writes the page that comes "
     "instead into the file\n"},
    {"other content", "b", {200, "CONTENT"}, "b: other content: its digest is not that of the list\n"},
    {"a file cut short", "b", Script(200, Content, "", 3), "b: cut short: 3 of 7 bytes came\n"},
    {"a packed list", "List.txt", Script(200, Packed, "Content-Encoding: deflate\r\n"), "", Fine},
    {"more files than at once", "List.txt", Script(200, ListOf("abcdefghijklmnopqrst")), "",
     "20 files checked, all as the list says"},
    {"kept by caches", "List.txt", Script(200, ListOf("abc"), "Cache-Control: max-age=3600\r\nAge: 600\r\n"),
     "List.txt: may stay in caches for 50 minutes (max-age=3600): so long, players may not see the next "
     "version\n",
     Fine},
    {"a bad line", "List.txt", Script(200, ListOf("ab") + "F#c\n"),
     "List.txt: an invalid list (line 4 has too few fields): every launcher refuses it\n",
     "no file checked, since there is no list to go by"},
};
} // namespace

class CheckServerTest : public QObject
{
    Q_OBJECT

private slots:
    void aBadAnswerIsNamed()
    {
        for (const AnswerRow& row : answerRows) {
            ScriptedServer server;
            server.fallback = {200, Content};
            server.scripts["List.txt"] = {200, ListOf("abc")};
            server.scripts[row.path] = row.answer;
            const QString said = Check(server);
            QVERIFY2(said == QString::fromStdString(row.said + row.summary),
                     qPrintable(row.name + (": " + said)));
        }
    }

    void fifteenAreAskedForAtOnce()
    {
        ScriptedServer server;
        server.fallback = {0};
        server.fallback.stalls = true;
        server.scripts["List.txt"] = {200, ListOf("abcdefghijklmnopqrst")};
        server.scripts["a"] = server.scripts["b"] = {200, Content};
        QString said;
        for (const char name : std::string("cdefghijklmnopq"))
            said += QString(name) + ": no answer for 2 seconds\n";
        said += "ended, since the server sent nothing for 2 seconds: 2 of 20 files checked, 15 findings";
        QCOMPARE(Check(server), said);
    }

    void anOlderVersionInACacheIsFound()
    {
        ScriptedServer server;
        server.fallback = {200, Content};
        server.scripts["List.txt"] = {200, ListOf("ab")};
        PublishedList published;
        std::string fault;
        QVERIFY(ParsePublishedList({"F#a#7#" + Digest, "F#b#8#new"}, published, fault));
        CheckOptions options;
        options.published = &published;
        options.publishedName = "new.txt";
        options.base = "http://updates.example.com:81/LatestVersion/";
        options.from = "127.0.0.1:" + std::to_string(server.serverPort());
        const QString said = Check(server, options);
        QVERIFY2(said.contains("another list than new.txt, of 2 files: an older version"), qPrintable(said));
        QVERIFY2(said.contains("b: other size: 7 bytes instead of 8\n"), qPrintable(said));
        QVERIFY2(said.endsWith("2 files checked, 2 findings"), qPrintable(said));
        QVERIFY(server.heads.last().contains("\r\nHost: updates.example.com:81\r\n"));
    }
};

QTEST_GUILESS_MAIN(CheckServerTest)
#include "checkserver_test.moc"
