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

Script Packed(const std::string& body)
{
    const QByteArray packed = qCompress(QByteArray::fromStdString(body)).mid(4); // without Qt's own length
    return {200, packed.toStdString(), "Content-Encoding: deflate\r\n"};
}
Script Silent()
{
    Script script(0);
    script.stalls = true;
    return script;
}
Script Slow(const std::string& body)
{
    Script script(200, body);
    script.pieceSize = 1;
    return script;
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
    bool quick = false;
};
const std::string Nothing = "no file checked, since there is no list to go by";
const std::string Refused = ": every launcher refuses it\n";
const std::string Unseen = ": the launcher can't tell a broken transfer from a complete one\n";
const AnswerRow answerRows[] = {
    {"missing", "b", {404}, "b: missing (404 Scripted)\n"},
    {"not for everybody", "b", {403}, "b: refused (403 Scripted)\n"},
    {"a redirect", "b", Script(301, "", "Location: /c\r\n"),
     "b: redirected (301 Scripted, to /c): the launcher does not follow it, and writes the page that comes "
     "instead into the file\n"},
    {"other content", "b", {200, "CONTENT"}, "b: other content: its digest is not that of the list\n"},
    {"other size, by heads",
     "b",
     {200, "x"},
     "b: other size: 1 bytes instead of 7\n",
     "3 files checked by length, 1 finding",
     true},
    {"3 s without a pause of 2", "b", Slow(std::string(3000, 'x')),
     "b: other size: 3000 bytes instead of 7\n"},
    {"a file cut short", "b", Script(200, Content, "", 3), "b: cut short: 3 of 7 bytes came\n"},
    {"a packed file", "b", Packed(Content), "b: packed as deflate, so its length is lost" + Unseen},
    {"a packed list", "List.txt", Packed(ListOf("abc")), "", "3 files checked, all as the list says"},
    {"a packed list without a count", "List.txt", Packed("F#b" + Record),
     "List.txt: packed as deflate, so its length is lost" + Unseen +
         "List.txt: without its number of records: the launcher can't tell a part of it from the complete "
         "list\n",
     "1 file checked, 2 findings"},
    {"a list without its length",
     "List.txt",
     {0, "HTTP/1.1 200 OK\r\n\r\n" + ListOf("abc")},
     "List.txt: sent without its length" + Unseen},
    {"broken off",
     "List.txt",
     {0, "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n2\r\nF#\r\n"},
     "List.txt: broken off after 2 bytes: Connection closed\n",
     Nothing},
    {"half a list",
     "List.txt",
     {200, "#records#2\nF#a" + Record},
     "List.txt: an invalid list (it has 1 records, and its line \"#records#\" gives another number)" +
         Refused,
     Nothing},
    {"a bad line",
     "List.txt",
     {200, ListOf("ab") + "F#c\n"},
     "List.txt: an invalid list (line 4 has too few fields)" + Refused,
     Nothing},
    {"another page", "List.txt", Script(200, "<html>", "Content-Type: text/html\r\n"),
     "List.txt: no list but something else (text/html)" + Refused, Nothing},
    {"nobody can fetch them",
     "List.txt",
     {200, "#records#2\nF#%41" + Record + "F#no List.txt" + Record},
     "%41: the launcher asks for \"/LatestVersion/A\" instead\nno List.txt: never fetched, since its path "
     "holds "
     "\"List.txt\"\n",
     "2 files checked, 2 findings"},
    {"no answer", "List.txt", Silent(), "List.txt: no answer for 2 seconds\n",
     "ended, since the server sent nothing for 2 seconds: 0 of 0 files checked, 1 finding"},
};

// What all answers of a server tell caches, and how long these may keep them; empty: not at all.
struct CacheRow
{
    std::string head;
    std::string time;
};
const std::string Sent = "Date: Sun, 06 Nov 1994 08:00:00 GMT\r\n";
const CacheRow cacheRows[] = {
    {"Cache-Control: public, Max-Age=\"3600\"\r\nAge: 600\r\n", "50 minutes (max-age=3600)"},
    {"Cache-Control: max-age=0, s-maxage=31536000\r\n", "1 year (s-maxage=31536000)"},
    {Sent + "Expires: Sun, 06 Nov 1994 11:00:00 GMT\r\n", "3 hours (Expires)"},
    {Sent + "Last-Modified: Mon, 17 Oct 1994 08:00:00 GMT\r\n",
     "2 days (no max-age and no Expires, so caches take a tenth of the time since the last change)"},
    {Sent + "Last-Modified: Sun, 06 Nov 1994 07:51:00 GMT\r\n", ""}, // 54 seconds
    {"Cache-Control: No-Cache, max-age=3600\r\n", ""},
    {"Expires: 0\r\nLast-Modified: Sun, 06 Nov 1994 08:00:00 GMT\r\n", ""},
    {"Cache-Control: max-age=600\r\nAge: 600\r\n", ""},
};
} // namespace

class CheckServerTest : public QObject
{
    Q_OBJECT

private slots:
    void aBadAnswerIsNamed_data()
    {
        QTest::addColumn<int>("index");
        for (const AnswerRow& row : answerRows)
            QTest::newRow(row.name) << int(&row - answerRows);
    }
    void aBadAnswerIsNamed()
    {
        QFETCH(int, index);
        const AnswerRow& row = answerRows[index];
        ScriptedServer server;
        server.fallback = {200, Content};
        server.scripts["List.txt"] = {200, ListOf("abc")};
        server.scripts[row.path] = row.answer;
        CheckOptions options;
        options.quick = row.quick;
        QCOMPARE(Check(server, options), QString::fromStdString(row.said + row.summary));
    }

    void theTimeInCachesIsTold()
    {
        for (const CacheRow& row : cacheRows) {
            ScriptedServer server;
            server.fallback = {200, Content, row.head};
            server.scripts["List.txt"] = {200, ListOf("ab"), row.head};
            const std::string said =
                row.time.empty()
                    ? ""
                    : "List.txt: may stay in caches for " + row.time +
                          ": so long, players may not see the next version\n2 files may stay in caches for " +
                          row.time +
                          ": after the next version is on line, players may get these of the old one\n";
            QCOMPARE(Check(server), QString::fromStdString(said + "2 files checked, all as the list says"));
        }
    }

    void fifteenAreAskedForAtOnce()
    {
        ScriptedServer server;
        server.fallback = Silent();
        server.scripts["List.txt"] = {200, ListOf("abcdefghijklmnopqrst")};
        server.scripts["a"] = server.scripts["b"] = {200, Content};
        QString said;
        for (const char name : std::string("cdefghijklmnopq"))
            said += QString(name) + ": no answer for 2 seconds\n";
        QCOMPARE(Check(server),
                 said +
                     "ended, since the server sent nothing for 2 seconds: 2 of 20 files checked, "
                     "15 findings");
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
        const QString from = QString::fromStdString("from " + options.from + ": ");
        QCOMPARE(
            Check(server, options),
            from +
                "List.txt: the server gives out another list than new.txt, of 2 files: an older version, or "
                "a cache before it\n" +
                from + "b: other size: 7 bytes instead of 8\ncheck-server: " + options.base.c_str() + " " +
                from + "2 files checked, 2 findings");
        QVERIFY(server.heads.last().contains("\r\nHost: updates.example.com:81\r\n"));
    }
};

QTEST_GUILESS_MAIN(CheckServerTest)
#include "checkserver_test.moc"
