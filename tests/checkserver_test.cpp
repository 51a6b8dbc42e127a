// The check of a server: what it says of the answers that servers and caches give on a bad day.
#include "checkserver/servercheck.h"
#include "support/scriptedserver.h"
#include "support/testmain.h"

namespace {
const std::string Content = "content";

std::string Record(const std::string& name, const std::string& content = Content)
{
    return "F#" + name + "#" + std::to_string(content.size()) + "#" + Sha256Of(content) + "\n";
}

std::string ListOf(const std::string& names)
{
    std::string list = "#records#" + std::to_string(names.size()) + "\n";
    for (const char name : names)
        list += Record({name});
    return list;
}

Progress shown; // by the last check, as its last

// All that is said, and the summary.
QString Check(const ScriptedServer& server, CheckOptions options = {})
{
    QString said;
    options.base = options.base.empty() ? server.BaseUrl() : options.base;
    options.patience = std::chrono::seconds(2);
    const auto say = [&](const std::string& line) { said += QString::fromStdString(line) + "\n"; };
    const CheckResult result = CheckServer(options, say, [](const Progress& now) { shown = now; });
    said += QString::fromStdString(SummaryText(options, result));
    return said.remove(QString::fromStdString("check-server: " + options.base + ": "));
}

// A server of the files a, b and groß, one of whose answers is another one.
struct AnswerRow
{
    const char* name;
    std::string path;
    Script answer;
    std::string said; // before the summary
    std::string summary = "3 files checked, 1 finding";
};
const std::string Large(300000, 'x');
const std::string Three = "#records#3\n" + Record("a") + Record("b") + Record("gro\xC3\x9F", Large);
const std::string Twenty = ListOf("abcdefghijklmnopqrst"); // more than at once
const std::string Odd = "#records#3\n" + Record("My List.txt") + Record("50%25") + Record("x?y");
const std::string NoList = "no file checked, since there is no list to go by";
const std::string Lost = ": the launcher can't tell a broken transfer from a complete one\n";
const std::string Page =
    "): the launcher does not follow it, and writes the page that comes instead into the file\n";
const std::string Head = "HTTP/1.1 200 OK\r\nConnection: close\r\n";
const std::string Chunks = Head + "Transfer-Encoding: chunked\r\n\r\n7\r\ncontent\r\n";
const AnswerRow answerRows[] = {
    {"missing", "b", Script{404, "", "Cache-Control: max-age=60\r\n"}, "b: missing (404 Scripted)\n"},
    {"refused", "b", {400}, "b: refused (400 Scripted)\n"},
    {"a redirect", "b", Script{301, "", "Location: /c\r\n"}, "b: redirected (301 Scripted, to /c" + Page},
    {"no web server", "b", {0, "SSH-2.0\r\n"}, "b: no answer: Connection closed\n"},
    {"other content", "b", {200, "CONTENT"}, "b: other content: its digest is not that of the list\n"},
    {"another size", "b", {200, "contents"}, "b: other size: 8 bytes instead of 7\n"},
    {"a file cut short", "b", Script{200, Content, "", 3}, "b: cut short: 3 of 7 bytes came\n"},
    {"chunks broken off", "b", {0, Chunks}, "b: broken off after 7 bytes: Connection closed\n"},
    {"chunks", "b", {0, Chunks + "0\r\n\r\n"}, "b: sent in chunks, without its length" + Lost},
    {"no length", "b", {0, Head + "\r\ncontent"}, "b: sent without its length" + Lost},
    {"a packed file", "b", Script{200, "CONTENT", "Content-Encoding: br\r\n"},
     "b: other content: its digest is not that of the list\nb: packed as br, so its length is lost" + Lost,
     "3 files checked, 2 findings"},
    {"a packed list", "List.txt", Script{200, Three, "Content-Encoding: br\r\n"}, "",
     "3 files checked, all as the list says"},
    {"twenty files", "List.txt", {200, Twenty}, "", "20 files checked, all as the list says"},
    {"an uncounted list", "List.txt", Script{200, Three.substr(11)},
     "List.txt: without its number of records: the launcher can't tell a part of it from the complete "
     "list\n"},
    {"no list", "List.txt", {404}, "List.txt: missing (404 Scripted)\n", NoList},
    {"a page for a list", "List.txt", Script{200, "<p>\n", "Content-Type: text/html\r\n"},
     "List.txt: no list but something else (text/html): every launcher refuses it\n", NoList},
    {"a bad line", "List.txt", Script{200, Record("a") + "F#b\n"},
     "List.txt: an invalid list (line 2 has too few fields): every launcher refuses it\n", NoList},
    {"names that mean something else", "List.txt", Script{200, Odd},
     "My List.txt: never fetched, since its path holds \"List.txt\"\n"
     "50%25: the launcher asks for \"/LatestVersion/50%\" instead\n"
     "x?y: the launcher asks for \"/LatestVersion/x\" instead\n",
     "3 files checked, 3 findings"},
};
} // namespace

class CheckServerTest : public QObject
{
    Q_OBJECT

private slots:
    ROWS(eachAnswerIsToldAsAPlayerMeetsIt, answerRows)
    void eachAnswerIsToldAsAPlayerMeetsIt()
    {
        const AnswerRow& row = CurrentRow(answerRows);
        ScriptedServer server;
        server.fallback = {200, Content};
        server.scripts = {{"List.txt", {200, Three}}, {"gro\xC3\x9F", {200, Large}}};
        server.scripts[row.path] = row.answer;
        QCOMPARE(Check(server), QString::fromStdString(row.said + row.summary));
    }

    void theTimeThatCachesMayKeepAListIsTold()
    {
        const std::string date = "Date: Fri, 31 Dec 1999 23:59:30 GMT\r\n";
        const std::map<std::string, const char*> times = {
            {"Cache-Control: max-age=9, max-age=6\r\nAge: 8", "1 second (max-age=9)"},
            {"Cache-Control: max-age=9, s-maxage = \"9000\"", "3 hours (s-maxage=9000)"},
            {date + "Age: 2\r\nExpires: Sat, 01 Jan 2000 00:01:29 GMT", "117 seconds (Expires)"},
            {date + "Last-Modified: Fri, 31 Dec 1999 23:49:30 GMT",
             "1 minute (no max-age and no Expires, so caches take a tenth of the time since the last "
             "change)"},
            {"Expires: 0\r\nLast-Modified: Fri, 31 Dec 1999 00:00:00 GMT", ""},
            {"Cache-Control: max-age=9, No-Store", ""}};
        ScriptedServer server;
        server.fallback = {200, Content};
        for (const auto& [head, time] : times) {
            server.scripts["List.txt"] = Script{200, Record("a") + "#records#1\n", head + "\r\n"};
            const QString kept =
                "List.txt: may stay in caches for %1: so long, players may not see the next version\n";
            QCOMPARE(Check(server), (*time ? kept.arg(time) : "") + "1 file checked, all as the list says");
        }
    }

    // Who is slow is not silent.
    void fifteenAreAskedForAtOnceAndWaitedForUntilTheServerIsSilent()
    {
        ScriptedServer server;
        server.fallback = {0};
        server.fallback.stalls = true;
        server.scripts["a"] = server.scripts["b"] = {200, Content};
        server.scripts["List.txt"].body = Twenty;
        server.scripts["List.txt"].delay = server.scripts["a"].delay = 1200;
        QString said;
        for (const char name : std::string("cdefghijklmnopq"))
            said += QString(name) + ": no answer for 2 seconds\n";
        said += "ended, since the server sent nothing for 2 seconds: 2 of 20 files checked, 15 findings";
        QCOMPARE(Check(server), said);
        for (std::int64_t* const bytes : {&shown.bytes, &shown.bytesDone})
            *bytes *= 10'000'000'000;
        QCOMPARE(ProgressText(shown, 3600).c_str(), "2 / 20 files   10%   37.1 MB/s   9 h 0 min left");
    }

    void anOlderVersionInACacheIsFound()
    {
        ScriptedServer server;
        server.fallback = {200, Content};
        server.scripts["List.txt"] = {200, ListOf("ab")};
        server.scripts["a"] = {200, "old"};
        server.scripts["a"].delay = 300; // what is said keeps the list's order
        PublishedList published;
        std::string fault;
        QVERIFY(ParsePublishedList(SplitLines(Record("a", "CONTENT") + Record("b", "CONTENT")), published,
                                   fault));
        const std::string cache = "127.0.0.1:" + std::to_string(server.serverPort());
        const std::string base = "http://updates.example.com:81/LatestVersion/";
        const QString said = Check(server, {base, false, {}, &published, "new.txt", cache});
        const char expected[] =
            "from CACHE: List.txt: the server gives out another list than new.txt, of 2 files: "
            "an older version, or a cache before it\n"
            "from CACHE: a: other size: 3 bytes instead of 7\n"
            "from CACHE: b: other content: its digest is not that of the list\n"
            "check-server: http://updates.example.com:81/LatestVersion/ from CACHE: 2 files checked, 3 "
            "findings";
        QCOMPARE(said, QString(expected).replace("CACHE", cache.c_str()));
        QVERIFY(server.heads.last().contains("\r\nHost: updates.example.com:81\r\n"));
    }
};

QTEST_GUILESS_MAIN(CheckServerTest)
#include "checkserver_test.moc"
