// The publisher's list maker: what it says about names, the list of a real tree, and files that change.
#include "makelist/makelist.h"
#include "helpers/files.h"
#include "support/temporarytree.h"
#include "support/testmain.h"

namespace {
void NoProgress(const Progress&) {}
} // namespace

class MakeListTest : public QObject
{
    Q_OBJECT

private slots:
    void namesThatAListOrAnAddressOrWindowsCantCarry()
    {
        Remarks remarks;
        for (const char* path : {"Game\\a b+c (1).map", "50%25.txt", "a#b.x", "bytes\xE4.x", "COM1.x"}) {
            CheckName(path, remarks);
            CheckFile(path, INT32_MAX, remarks);
        }
        CheckList({}, {"maps\\Ä.map", "maps\\ä.map"}, INT32_MAX, remarks);
        QVERIFY(remarks.errors.size() == 3 && remarks.warnings.size() == 4);
        QCOMPARE(remarks.errors[0].c_str(), "a#b.x: a name with \"#\", which separates the fields of a list");
        QCOMPARE(remarks.errors[1].c_str(),
                 "bytes\xE4.x: a name that is not UTF-8, which the launcher can't ask for");
        QCOMPARE(
            remarks.errors[2].c_str(),
            "COM1.x: a name that leads elsewhere on Windows: every launcher would refuse the whole list");
        QCOMPARE(remarks.warnings[0].c_str(),
                 "50%25.txt: \"?\" or \"%\" means something else in an address: the launcher asks for "
                 "another file");
        QCOMPARE(remarks.warnings[1].c_str(),
                 "maps\\ä.map: differs only in case from maps\\Ä.map: Windows holds one of them");
        QCOMPARE(remarks.warnings[2].c_str(),
                 "Game\\TessaloomLauncher\\Release\\TessaloomLauncher.exe: not in the tree: players who have "
                 "it lose it");
    }

    // The publisher writes the list into the tree. It names neither itself nor what a launcher spares.
    void aListNamesWhatPlayersShallHaveForAnyNumberOfThreads()
    {
        const TemporaryTree tree;
        const std::string large(300000, 'x');
        QVERIFY(WriteTree(tree.Root(), Files({"b.txt", "new.lst", "new.lst.aB3xYz", "Game/List.txt",
                                              "Game/a+b/new.lst", "Game/empty/", "Game/unins000.dat.old",
                                              "Game/TessaloomLauncher/List.txt", "given up/"})));
        QVERIFY(WriteFile(tree.Path("large"), large));
        const std::string output = tree.Path("new.lst");
        Remarks remarks;
        const std::string record = "#1#" + Sha256Of("x") + "\n";
        const std::string list = "#records#7\nD#Game\nD#Game\\a+b\nD#given up\nF#Game\\List.txt" + record +
                                 "F#Game\\a+b\\new.lst" + record + "F#b.txt" + record + "F#large#300000#" +
                                 Sha256Of(large) + "\n";
        for (const unsigned threads : {1u, 3u})
            QCOMPARE(MakeList(tree.Root() + "/", remarks, NoProgress, output, threads), list);

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
        const std::vector<FileDigest> digests = TakeDigests(
            tree.WindowsRoot(), {found, {"file", 4, found.changed}, {"file", 5, found.changed - 1000}}, 2,
            NoProgress);
        QCOMPARE(digests[0].digest.c_str(), Sha256Of("12345").c_str());
        for (const unsigned changed : {1u, 2u})
            QCOMPARE(digests[changed].error.c_str(), "changed while the list was made");
    }
};

QTEST_GUILESS_MAIN(MakeListTest)
#include "makelist_test.moc"
