// The publisher's list maker: what it says about names, the list of a real tree, and a tree that changes
// meanwhile.
#include "makelist/makelist.h"
#include "helpers/files.h"
#include "support/temporarytree.h"
#include "support/testmain.h"

namespace {
// Errors with a "!" in front, then warnings, a line each.
QString Said(const Remarks& remarks)
{
    QString said;
    for (const std::string& error : remarks.errors)
        said += "!" + QString::fromStdString(error) + "\n";
    for (const std::string& warning : remarks.warnings)
        said += QString::fromStdString(warning) + "\n";
    return said;
}

std::string FileRecord(const std::string& path, const std::string& content)
{
    return "F#" + path + "#" + std::to_string(content.size()) + "#" + Sha256Of(content) + "\n";
}

void NoProgress(const Progress&) {}

struct NameRow
{
    std::string path;
    std::string said; // after the path
};
const std::string OtherFile =
    R"(: "?" or "%" means something else in an address: the launcher asks for another file)";
const NameRow nameRows[] = {
    {"Game\\a b+c (1).map", ""},
    {"100% wool\\%41.txt", ""}, // one loose percent sign, and Qt escapes them all
    {"50%25.txt", OtherFile},
    {std::string(192, 'x') + ".map", ""},
    {std::string(193, 'x') + ".map",
     ": 197 bytes long: below a usual folder of a game it reaches the 260 bytes that no launcher can write"},
    {"MyList.txt", ": a path that holds \"List.txt\" is never fetched"},
};
} // namespace

class MakeListTest : public QObject
{
    Q_OBJECT

private slots:
    void namesThatAListOrAnAddressOrWindowsCantCarry()
    {
        for (const auto& [path, said] : nameRows) {
            Remarks remarks;
            JudgeName(path, remarks);
            JudgeFile(path, INT32_MAX, remarks);
            QCOMPARE(Said(remarks), QString::fromStdString(said.empty() ? "" : path + said + "\n"));
        }
        Remarks remarks;
        for (const char* path : {"what?.x", "a#b.x", "bytes\xE4.x", "COM1.x"})
            JudgeName(path, remarks);
        JudgeList({"maps", "Maps"}, {"maps\\Ä.map", "maps\\ä.map"}, INT32_MAX + 1LL, remarks);
        QCOMPARE(
            Said(remarks),
            QString::fromUtf8("!a#b.x: a name with \"#\", which separates the fields of a list\n") +
                QString::fromStdString(
                    "!bytes\xE4.x: a name that is not UTF-8, which the launcher can't ask for\n") +
                "!COM1.x: a name that leads elsewhere on Windows: every launcher would refuse the whole "
                "list\n"
                "what?.x: Windows can't hold a name with any of < > \" | ? *\n"
                "maps: differs only in case from Maps: Windows holds one of them\n"
                "maps\\ä.map: differs only in case from maps\\Ä.map: Windows holds one of them\n"
                "Game\\TessaloomLauncher\\Release\\TessaloomLauncher.exe: not in the tree: players who have "
                "it "
                "lose it\n"
                "Game\\Tessaloom\\Code\\Current\\Release\\Tessaloom.exe: not in the tree: players who have "
                "it lose "
                "it\n"
                "All files together have 2 GiB or more: a player who fetches them all sees wrong amounts\n");
    }

    // Written into the tree, as the publisher does, the list does not name itself, nor what a launcher
    // spares. It is the same however many threads take the digests.
    void aListNamesAllOfATreeThatPlayersShallHave()
    {
        const TemporaryTree tree;
        const std::string large(300000, 'x');
        QVERIFY(WriteTree(tree.Root(), {{"b.txt", "content"},
                                        {"new.lst", "old"},
                                        {"new.lst.aB3xYz", "half a list"},
                                        {"Game/a+b/new.lst", "another"},
                                        {"Game/a+b/z.dat", large},
                                        {"Game/empty/", ""},
                                        {"Game/unins000.dat.old", "kept"},
                                        {"Game/TessaloomLauncher/List.txt", "the launcher's own"},
                                        {"given up/", ""},
                                        {"logs/engineLog.txt", "log"}}));
        for (const char* link : {"Game/link1", "Game/link2"}) // to the same folder, not into each other
            QVERIFY(IsWindows || QFile::link("empty", tree.Path(link).c_str())); // Wine has no links
        const std::string output = tree.Path("new.lst");
        Remarks remarks;
        const std::string list = MakeList(tree.Root() + "/", remarks, NoProgress, output, 1);
        const QString unmanaged = ": an empty directory is not listed and stays unmanaged\n";
        const QString left = ": holds only files that are left out: the launcher may remove it with them\n";
        const QString links = "Game\\link1" + unmanaged + "Game\\link2" + unmanaged;
        QCOMPARE(Said(remarks).section('\n', 0, IsWindows ? 4 : 6) + "\n",
                 "new.lst.aB3xYz: left out: an unfinished file of an earlier make-list\n"
                 "Game\\unins000.dat.old: left out, since the launcher deletes no file whose path holds "
                 "\"unins000.dat\"\nGame\\TessaloomLauncher" +
                     left + "Game\\empty" + unmanaged + (IsWindows ? "" : links) + "logs" + left);
        QCOMPARE(list, "#records#6\nD#Game\nD#Game\\a+b\nD#given up\n" +
                           FileRecord("Game\\a+b\\new.lst", "another") +
                           FileRecord("Game\\a+b\\z.dat", large) + FileRecord("b.txt", "content"));
        QCOMPARE(MakeList(tree.Root(), remarks, NoProgress, output, 3), list);

        QVERIFY(WriteFile(tree.Path("folder#/file"), "")); // which a list can't name
        QCOMPARE(MakeList(tree.Root(), remarks, NoProgress, output, 1), "");
    }

    // Its list would name content that no file has.
    void aFileThatChangesMeanwhileGetsNoDigest()
    {
        const TemporaryTree tree;
        QVERIFY(WriteFile(tree.Path("file"), "12345"));
        const FileHandle opened(_fsopen(tree.WindowsRoot().append("\\file").c_str(), "rb", _SH_DENYNO));
        TreeFile found{"file"};
        TakeState(opened.get(), found);
        const std::vector<TreeFile> asFound = {found,
                                               {"file", 4, found.changed}, // has grown
                                               {"file", 6, found.changed}, // has shrunk
                                               {"file", 5, found.changed - 1000},
                                               {"gone", 5, found.changed}};
        QStringList said;
        for (const FileDigest& digest : TakeDigests(tree.WindowsRoot(), asFound, 2, NoProgress))
            said += digest.digest.empty() ? QString::fromStdString(digest.error) : "fine";
        const QString changed = "changed while the list was made";
        QCOMPARE(said, QStringList({"fine", changed, changed, changed,
                                    "can't be opened (No such file or directory)"}));
    }
};

QTEST_GUILESS_MAIN(MakeListTest)
#include "makelist_test.moc"
