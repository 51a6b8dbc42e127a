// The comparison of two lists: what an update fetches and deletes, and what of it surprises.
#include "comparelists/comparison.h"
#include "console/listfile.h"
#include "support/temporarytree.h"
#include "support/testmain.h"

namespace {
PublishedList Parsed(const std::string& text)
{
    PublishedList list;
    std::string fault;
    if (!ParsePublishedList(SplitLines(text), list, fault))
        qFatal("%s", fault.c_str());
    return list;
}

// "fetched files and bytes, deleted files and folders", then the remarks, a line each.
QString Outcome(const Comparison& outcome)
{
    QString text = QString("%1 %2, %3 %4")
                       .arg(outcome.fetchedFiles)
                       .arg(outcome.fetchedBytes)
                       .arg(outcome.deletedFiles)
                       .arg(outcome.deletedFolders);
    for (const std::string& remark : outcome.remarks)
        text += "\n" + QString::fromStdString(remark);
    return text + (outcome.hurts ? "\nhurts" : "");
}

struct UpdateRow
{
    const char* name;
    std::string old;
    std::string now; // both beside a file that stays
    QString outcome;
};
const UpdateRow updateRows[] = {
    {"nothing", "", "", "0 0, 0 0\nNothing changes: are these the lists that are meant?"},
    {"a folder that is only made", "", "D#new", "0 0, 0 0"},
    {"another content, one in capitals, and none of a list's own",
     "F#a#1#aa\nF#b#1#bb\nF#c#1#C0\nF#MyList.txt#1#dd", "F#a#2#ab\nF#b#4#BB\nF#c#8#c0\nF#MyList.txt#16#ee",
     "2 6, 0 0"},
    {"files that launchers spare, and the folder of one",
     "D#d\nF#d\\engineLog.txt#1#x\nF#unins000.exe#1#x\nF#x\\LAUNCHER_TEMP_EXE_FOLDER1\\y#1#x\nF#gone#1#x", "",
     "0 0, 2 1"},
    {"a given up folder with what lies below it, and one without a file of its own",
     "D#d\nD#d\\e\nF#d\\a.txt#1#x\nF#d\\e\\b#1#x\nD#f\nD#f\\g\nF#f\\g\\c.txt#1#x", "D#f", "0 0, 3 3"},
    {"more than half of the bytes", "F#a#101#x", "F#a#101#y",
     "1 101, 0 0\nMore than half of the game is fetched anew: is that meant?"},
    {"2 GiB in all, of which a list keeps 32 bits a file", "", "F#a#2147483647#x\nF#b#1#x",
     "2 2147483648, 0 0\n2 GiB or more are fetched: the launcher's amounts and bar are wrong\n"
     "More than half of the game is fetched anew: is that meant?\nhurts"},
    {"a file's name in other case", "F#\xC3\x84.map#1#x", "F#\xC3\xA4.map#1#x",
     "1 1, 1 0\n\xC3\xA4.map: the name of this file changes only in case, from \xC3\x84.map: players lose "
     "it, "
     "and get it only if the update ends well\nhurts"},
    {"folders' names in other case, one without a file of its own",
     "D#Maps\nD#Maps\\a\nF#Maps\\x.map#1#x\nF#Maps\\a\\y.map#1#x\nD#B\nD#B\\a\nF#B\\a\\y.map#1#x",
     "D#maps\nD#maps\\a\nF#maps\\x.map#1#x\nF#maps\\a\\y.map#1#x\nD#b\nD#b\\a\nF#b\\a\\y.map#1#x",
     "3 3, 3 3\nmaps: the name of this folder changes only in case, from Maps: players lose what is in it "
     "and "
     "get it on the second start\nb: the name of this folder changes only in case, from B: no file lies "
     "directly in "
     "it, so it keeps the old name on Windows, and players lose what is below it on every other "
     "start\nhurts"},
    {"files and folders that change places", "F#a#1#x\nD#b\nF#b\\c.txt#1#x\nD#d\nD#d\\e\nF#d\\e\\f.txt#1#x",
     "D#a\nF#a\\c.txt#1#x\nF#b#1#x\nF#d#1#x",
     "3 3, 3 2\na: a file becomes a folder: players who have it open get nothing of the folder\n"
     "b: a folder becomes a file: players who have a file of the folder open don't get it\n"
     "d: a folder becomes a file: no file lies directly in the folder, so the launcher does not remove it, "
     "and every "
     "update fails\nhurts"},
    {"programs that are given up",
     "F#Game\\TessaloomLauncher\\Release\\TessaloomLauncher.exe#1#x\nF#Editor\\Read me.PDF#1#x\n"
     "F#Editor\\e.exe#1#x",
     "",
     "0 0, 3 2\nGame\\TessaloomLauncher\\Release\\TessaloomLauncher.exe: no longer named: players lose the "
     "launcher\nEditor: no longer named, and held Editor\\Read me.PDF: launchers take it for somebody else's "
     "and "
     "refuse the update. Keep an empty folder of that name in the tree\nhurts"},
    {"an empty folder of the name is kept, and a folder that held none",
     "D#Editor\nF#Editor\\e.exe#1#x\nD#m\nF#m\\m.map#1#x", "D#Editor", "0 0, 2 1"},
};
} // namespace

class CompareListsTest : public QObject
{
    Q_OBJECT

private slots:
    void anUpdateDoesWhatALauncherWould_data()
    {
        QTest::addColumn<int>("row");
        for (int row = 0; row < int(std::size(updateRows)); ++row)
            QTest::newRow(updateRows[row].name) << row;
    }
    void anUpdateDoesWhatALauncherWould()
    {
        QFETCH(int, row);
        const std::string stays = "F#stays.dat#100#0\n";
        QCOMPARE(
            Outcome(CompareLists(Parsed(stays + updateRows[row].old), Parsed(stays + updateRows[row].now))),
            updateRows[row].outcome);
    }

    void theReportIsTheSameOnEveryMachine()
    {
        std::string now =
            "D#Game\\TessaloomLauncher\\Release\n"
            "F#Game\\TessaloomLauncher\\Release\\TessaloomLauncher.exe#1000#y\n";
        for (int i = 0; i < 10; ++i)
            now += "F#" + std::to_string(9 - i) + "#5000000000#y\n";
        const Comparison outcome =
            CompareLists(Parsed("F#0#1#x\nF#gone#1#x"), Parsed(now + "F#tenth#5000000001#y"));
        QCOMPARE(ReportText(outcome, 100).c_str(),
                 "fetched: 12 files, 55 000 001 001 bytes (51.2 GiB)\n"
                 "deleted: 1 file, 0 folders\n"
                 "the launcher restarts: yes, its own executable changes\n"
                 "time: 1 h 13 min at 100 Mbit/s\n"
                 "the largest:\n"
                 "  tenth: 4.7 GiB\n"
                 "  0: 4.7 GiB\n  1: 4.7 GiB\n  2: 4.7 GiB\n  3: 4.7 GiB\n  4: 4.7 GiB\n"
                 "  5: 4.7 GiB\n  6: 4.7 GiB\n  7: 4.7 GiB\n  8: 4.7 GiB\n"
                 "2 GiB or more are fetched: the launcher's amounts and bar are wrong\n"
                 "More than half of the game is fetched anew: is that meant?\n");
    }

    void aListThatIsNoneIsNamed()
    {
        const TemporaryTree tree;
        QVERIFY(WriteTree(tree.Root(), {{"page", "<html>"}, {"half", "F#a#1#x\nF#b#1#x\nF#c#1"}}));
        const QString root = QString::fromStdString(tree.Root());
        PublishedList list;
        QCOMPARE(ReadPublishedList(root + "/page", list), root + "/page: is no list: it names no file");
        QCOMPARE(ReadPublishedList(root + "/half", list),
                 root + "/half: is no list: line 3 has too few fields");
        QCOMPARE(ReadPublishedList("http://host/List.txt", list),
                 "http://host/List.txt: is an address. Fetch the list first: curl -fo List.txt "
                 "http://host/List.txt");
    }
};

QTEST_GUILESS_MAIN(CompareListsTest)
#include "comparelists_test.moc"
