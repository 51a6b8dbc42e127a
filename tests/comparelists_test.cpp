// The comparison of two lists: what an update fetches and deletes, and what of it surprises.
#include "comparelists/comparison.h"
#include "console/listfile.h"
#include "support/testmain.h"

namespace {
PublishedList Parsed(const std::string& text)
{
    PublishedList list;
    std::string fault;
    ParsePublishedList(SplitLines(text), list, fault);
    return list;
}

struct RemarkRow
{
    const char* name;
    std::string old;
    std::string now;    // both beside a file that stays
    const char* remark; // its beginning; empty: none
    bool hurts;
};
const std::string Launcher = "F#Game\\TessaloomLauncher\\Release\\TessaloomLauncher.exe#1000#";
const RemarkRow remarkRows[] = {
    {"nothing", "", "", "Nothing changes", false},
    {"a file's name in other case", "F#\xC3\x84.map#1#x", "F#\xC3\xA4.map#1#x",
     "\xC3\xA4.map: the name of this file changes only in case, from \xC3\x84.map: players lose it", true},
    {"a folder's name in other case", "D#Maps\nF#Maps\\x.map#1#x", "D#maps\nF#maps\\x.map#1#x",
     "maps: the name of this folder changes only in case, from Maps: players lose what is in it", true},
    {"a folder that becomes a file", "D#d\nD#d\\e\nF#d\\e\\f.txt#1#x", "F#d#1#x",
     "d: a folder becomes a file: no file lies directly in the folder", true},
    {"the launcher given up", Launcher + "x", "",
     "Game\\TessaloomLauncher\\Release\\TessaloomLauncher.exe: no longer named", true},
    {"a program given up", "F#Editor\\e.exe#1#x", "", "Editor: no longer named, and held Editor\\e.exe",
     true},
    {"its empty folder kept", "D#Editor\nF#Editor\\e.exe#1#x", "D#Editor", "", false},
};
} // namespace

class CompareListsTest : public QObject
{
    Q_OBJECT

private slots:
    void anUpdateIsRemarkedOnWhereItSurprises()
    {
        for (const RemarkRow& row : remarkRows) {
            const std::string stays = "F#stays.dat#100#0\n";
            const Comparison outcome = CompareLists(Parsed(stays + row.old), Parsed(stays + row.now));
            const std::string remark = outcome.remarks.empty() ? "" : outcome.remarks[0];
            QVERIFY2(*row.remark ? remark.find(row.remark) == 0 : remark.empty(),
                     (row.name + (": " + remark)).c_str());
            QVERIFY2(outcome.hurts == row.hurts, row.name);
        }
    }

    // A list's own files are never fetched, and those of an uninstaller never deleted.
    void theReportTellsWhatAnUpdateDoes()
    {
        const std::string old =
            "F#changed#1#aa\nF#capitals#1#C0\nF#MyList.txt#1#dd\nF#unins000.exe#1#x\nF#gone#1#x\n"
            "D#maps\nD#maps\\far\nF#maps\\far\\deep\\a.map#1#x\nF#maps\\b.map#1#x\nF#maps\\c.map#1#x\nF#same#"
            "1#bb";
        const std::string now =
            "a remark: F#x#7#\nF#changed#5000000000#ab\nF#capitals#1#c0\nF#MyList.txt#9#ee\nF#same#1#BB\n";
        const Comparison outcome = CompareLists(Parsed(old), Parsed(now + Launcher + "y"));
        QCOMPARE(ReportText(outcome, 100).c_str(),
                 "fetched: 3 files, 5 000 001 001 bytes (4.7 GiB)\n"
                 "deleted: 4 files, 3 folders\n"
                 "the launcher restarts: yes, its own executable changes\n"
                 "time: 6 min 40 s at 100 Mbit/s\n"
                 "the largest:\n"
                 "  changed: 4.7 GiB\n"
                 "  Game\\TessaloomLauncher\\Release\\TessaloomLauncher.exe: 1000 bytes\n"
                 "  same: 1 bytes\n"
                 "2 GiB or more are fetched: the launcher's amounts and bar are wrong\n"
                 "More than half of the game is fetched anew: is that meant?\n");
        QVERIFY(outcome.hurts);
    }
};

QTEST_GUILESS_MAIN(CompareListsTest)
#include "comparelists_test.moc"
