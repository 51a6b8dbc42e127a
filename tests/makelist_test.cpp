// The publisher's list maker: what it says about names, the list of a real tree, and a tree that changes
// meanwhile.
#include "makelist/makelist.h"
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
} // namespace

class MakeListTest : public QObject
{
    Q_OBJECT

private slots:
    void namesThatAListOrAnAddressOrWindowsCantCarry()
    {
        const std::pair<const char*, QString> rows[] = {
            {"Game\\a b+c (1).map", ""},
            {"100% wool\\%41.txt", ""}, // one loose percent sign, and Qt escapes them all
            {"50%25.txt", "in an address"},
            {"what?.txt", "can't hold.*\n.*in an address"},
            {"a#b.txt", "!.*separates"},
            {"bytes\xE4.txt", "!.*not UTF-8"},
            {"Game\\COM1", "!.*whole list\n.*no dot"},
        };
        for (const auto& [path, words] : rows) {
            Remarks remarks;
            JudgeName(path, remarks);
            JudgeFile(path, INT32_MAX, remarks);
            const QString said = Said(remarks);
            const QRegularExpression expected(words.isEmpty() ? "^$" : "^.*" + words + ".*\n$");
            QVERIFY2(expected.match(said).hasMatch(), qPrintable(path + (": " + said)));
        }
        Remarks remarks;
        JudgeList({"maps", "Maps"}, {"maps\\Ä.map", "maps\\ä.map"}, INT32_MAX + 1LL, remarks);
        QCOMPARE(Said(remarks).count(QRegularExpression("only in case|2 GiB")), 3);
    }

    // Written into the tree, as the publisher does, the list does not name itself, nor what a launcher
    // spares. It is the same however many threads take the digests.
    void theListOfATree()
    {
        const TemporaryTree tree;
        const std::string large(300000, 'x');
        QVERIFY(WriteTree(tree.Root(), {{"b.txt", "content"},
                                        {"new.lst", "old"},
                                        {"new.lst.gz", "packed"},
                                        {"new.lst.aB3xYz", "half a list"},
                                        {"Game/a+b/new.lst", "another"},
                                        {"Game/a+b/z.dat", large},
                                        {"Game/empty/", ""},
                                        {"Game/logs/engineLog.txt", "log"},
                                        {"Game/unins000.dat.old", "kept"}}));
        for (const char* link : {"Game/link1", "Game/link2"}) // to the same folder, not into each other
            QVERIFY(IsWindows || QFile::link("logs", tree.Path(link).c_str())); // Wine has no links
        const std::string output = tree.Path("new.lst");
        Remarks remarks;
        const std::string list = MakeList(tree.Root() + "/", remarks, NoProgress, output, 1);
        const QRegularExpression said(
            "^new.lst.aB3xYz: left out.+\nGame.unins000.dat.old: left out.+\nGame.empty: an empty.+\n"
            "(Game.link1: .+\nGame.link2: .+\n)?Game.logs: holds.+\n.+Launcher.exe: .+\n.+Tessaloom.exe: "
            ".+\n$");
        QVERIFY2(said.match(Said(remarks)).hasMatch(), qPrintable(Said(remarks)));
        QCOMPARE(list, "#records#5\nD#Game\nD#Game\\a+b\n" + FileRecord("Game\\a+b\\new.lst", "another") +
                           FileRecord("Game\\a+b\\z.dat", large) + FileRecord("b.txt", "content"));
        QCOMPARE(MakeList(tree.Root(), remarks, NoProgress, output, 3), list);

        QVERIFY(WriteFile(tree.Path("folder#/file"), "")); // which a list can't name
        QCOMPARE(MakeList(tree.Root(), remarks, NoProgress, output, 1), "");
    }

    // Its list would name content that no file has.
    void aFileThatChangesMeanwhile()
    {
        const TemporaryTree tree;
        QVERIFY(WriteFile(tree.Path("file"), "12345"));
        const auto written = std::filesystem::last_write_time(std::filesystem::u8path(tree.Path("file")));
        const std::vector<TreeFile> asFound = {{"file", 5, written},
                                               {"file", 4, written}, // has grown
                                               {"file", 6, written}, // has shrunk
                                               {"file", 5, written - std::chrono::seconds(1)},
                                               {"gone", 5, written}};
        QStringList said;
        for (const FileDigest& digest : TakeDigests(tree.WindowsRoot(), asFound, 2, NoProgress))
            said += digest.digest.empty() ? QString::fromStdString(digest.error).section(' ', 0, 1) : "fine";
        QCOMPARE(said, QStringList({"fine", "changed while", "changed while", "changed while", "can't be"}));
    }
};

QTEST_GUILESS_MAIN(MakeListTest)
#include "makelist_test.moc"
