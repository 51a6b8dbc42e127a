// The publisher's list maker: what it says about names, the list of a real tree, and files that change.
#include "makelist/makelist.h"
#include "helpers/files.h"
#include "support/testmain.h"

namespace {
void NoProgress(const Progress&) {}
} // namespace

class MakeListTest : public QObject
{
    Q_OBJECT

private slots:
    // The publisher writes the list into the tree. It names neither itself nor what a launcher spares.
    void aListNamesWhatPlayersShallHaveForAnyNumberOfThreads()
    {
        const TemporaryTree tree;
        const std::string large(300000, 'x');
        QVERIFY(WriteTree(tree.Root(), Files({"b.txt", "out/new.lst", "out/new.lst.gz", "out/new.lst.aB3xYz",
                                              "Game/a+b/new.lst", "Game/empty/", "Game/kept/unins000.dat",
                                              "given up/", "List.txt", "Game/TessaloomLauncher/List.txt"})));
        QVERIFY(WriteFile(tree.Path("large.x"), large));
        const std::string record = "#1#" + Sha256Of("x") + "\n";
        const std::string list = "#records#6\nD#Game\nD#Game\\a+b\nD#given up\nF#Game\\a+b\\new.lst" +
                                 record + "F#b.txt" + record + "F#large.x#300000#" + Sha256Of(large) + "\n";
        for (const unsigned threads : {1u, 3u}) {
            Remarks remarks;
            QCOMPARE(MakeList(tree.Root() + "/", remarks, NoProgress, tree.Path("out/new.lst"), threads),
                     list);
        }
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
            tree.WindowsRoot(),
            {found, {"file", 4, found.changed}, {"file", 5, found.changed - 1000}, {"gone"}}, 2, NoProgress);
        QCOMPARE(digests[0].digest.c_str(), Sha256Of("12345").c_str());
        for (const unsigned changed : {1u, 2u})
            QCOMPARE(digests[changed].error.c_str(), "changed while the list was made");
        QCOMPARE(digests[3].error.c_str(), "can't be opened (No such file or directory)");
    }
};

QTEST_GUILESS_MAIN(MakeListTest)
#include "makelist_test.moc"
