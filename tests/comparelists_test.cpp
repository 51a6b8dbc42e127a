// The comparison of two lists: what an update fetches and deletes, and what of it surprises.
#include "comparelists/comparison.h"
#include "console/listfile.h"
#include "support/testmain.h"

namespace {
PublishedList Parsed(const std::string& text)
{
    PublishedList list;
    std::string fault;
    ParsePublishedList(SplitLines("F#stays.dat#1000000#0\n" + text), list, fault);
    return list;
}

struct RemarkRow
{
    const char* name;
    std::string old;
    std::string now;
    QString remark; // empty: none
    bool hurts = true;
};
const std::string Launcher = "F#Game\\TessaloomLauncher\\Release\\TessaloomLauncher.exe#1000#x";
const RemarkRow remarkRows[] = {
    {"nothing", "", "", "Nothing changes: are these the lists that are meant?", false},
    {"a new folder", "", "D#d", "", false},
    {"half of the game", "", "F#a.x#1000000#x", "", false},
    {"over half", "", "F#a.x#1000001#x", "More than half of the game is fetched anew: is that meant?", false},
    {"less than 2 GiB", "F#b.x#2147483647#x", "F#a.x#2147483647#x\nF#b.x#2147483647#x", "", false},
    {"2 GiB", "F#b.x#2147483648#x", "F#a.x#2147483648#x\nF#b.x#2147483648#x",
     "2 GiB or more are fetched: the launcher's amounts and bar are wrong"},
    {"a file's name in other case", "F#\xC3\x84.map#1#x", "F#\xC3\xA4.map#1#x",
     "\xC3\xA4.map: the name of this file changes only in case, from \xC3\x84.map: players lose it, and get "
     "it only if the update ends well"},
    {"a folder's name in other case", "D#M\nD#M\\a\nF#M\\x.map#1#x", "D#m\nD#m\\a\nF#m\\x.map#1#x",
     "m: the name of this folder changes only in case, from M: players lose what is in it and get it on the "
     "second start"},
    {"so of a folder without files", "D#M\nD#M\\a\nF#M\\a\\x.map#1#x", "D#m\nD#m\\a\nF#m\\a\\x.map#1#x",
     "m: the name of this folder changes only in case, from M: no file lies directly in it, so it keeps the "
     "old name on Windows, and players lose what is below it on every other start"},
    {"a file that becomes a folder", "F#d.x#1#x", "D#d.x\nF#d.x\\f.x#1#x",
     "d.x: a file becomes a folder: players who have it open get nothing of the folder"},
    {"a folder that becomes a file", "D#d\nF#d\\f.txt#1#x", "F#d#1#x",
     "d: a folder becomes a file: players who have a file of the folder open don't get it"},
    {"a folder without files so", "D#e\nD#e\\d\nF#e\\d\\f.txt#1#x", "F#e#1#x",
     "e: a folder becomes a file: no file lies directly in the folder, so the launcher does not remove it, "
     "and every update fails"},
    {"the launcher given up", Launcher, "",
     "Game\\TessaloomLauncher\\Release\\TessaloomLauncher.exe: no longer named: players lose the launcher"},
    {"programs given up", "F#Editor\\e.exe#1#x\nF#Editor\\f.exe#1#x", "",
     "Editor: no longer named, and held Editor\\e.exe: launchers take it for somebody else's and refuse the "
     "update. Keep an empty folder of that name in the tree"},
    {"their empty folder kept", "D#Editor\nF#Editor\\e.exe#1#x", "D#Editor", "", false},
};
} // namespace

class CompareListsTest : public QObject
{
    Q_OBJECT

private slots:
    ROWS(anUpdateIsRemarkedOnWhereItSurprises, remarkRows)
    void anUpdateIsRemarkedOnWhereItSurprises()
    {
        const RemarkRow& row = CurrentRow(remarkRows);
        const Comparison outcome = CompareLists(Parsed(row.old), Parsed(row.now));
        QString said;
        for (const std::string& remark : outcome.remarks)
            said += remark.c_str();
        QCOMPARE(said, row.remark);
        QCOMPARE(outcome.hurts, row.hurts);
    }

    // Not fetched: a list's own files. Not deleted: an uninstaller's, and folders whose files have no dot.
    void theReportCountsWhatALauncherDoes()
    {
        const std::string old =
            "F#changed#1#aa\nF#capitals#1#C0\nF#MyList.txt#1#dd\nF#unins000.exe#1#x\nF#gone#1#x\nF#gone#1#x\n"
            "D#maps\nD#maps\\far\nF#maps\\far\\deep\\a.map#1#x\nF#maps\\b.map#1#x\nF#maps\\c.map#1#x\n"
            "F#plain\\file#1#x\nF#same#1#bb\nF#maps\\far\\back.map#1#0";
        const std::string now =
            "a remark: F#x#7#\nF#changed#5000000000#ab\nF#capitals#1#c0\nF#MyList.txt#9#ee\nF#same#1#BB\n"
            "D#maps\\far\nF#maps\\far\\back.map#1#0\n"; // comes back, since its folder's folder goes
        QCOMPARE(ReportText(CompareLists(Parsed(old), Parsed(now + Launcher)), 100).c_str(),
                 "fetched: 4 files, 5 000 001 002 bytes (4.7 GiB)\n"
                 "deleted: 6 files, 3 folders\n"
                 "the launcher restarts: yes, its own executable changes\n"
                 "time: 6 min 40 s at 100 Mbit/s\n"
                 "the largest:\n"
                 "  changed: 4.7 GiB\n"
                 "  Game\\TessaloomLauncher\\Release\\TessaloomLauncher.exe: 1000 bytes\n"
                 "  maps\\far\\back.map: 1 bytes\n"
                 "  same: 1 bytes\n"
                 "2 GiB or more are fetched: the launcher's amounts and bar are wrong\n"
                 "More than half of the game is fetched anew: is that meant?\n");
    }
};

QTEST_GUILESS_MAIN(CompareListsTest)
#include "comparelists_test.moc"
