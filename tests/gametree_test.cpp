// The published list's reader, and the two judges that keep an update inside its tree.
#include <QDir>
#include <QFile>

#include "gametree/filelist.h"
#include "gametree/listedpath.h"
#include "gametree/treeroot.h"
#include "support/temporarytree.h"
#include "support/testmain.h"

namespace {
using namespace std::string_literals;

struct PathsRow
{
    const char* what;
    std::vector<std::string> paths;
};
const PathsRow insideTheTree[] = {
    {"what publishers write",
     {"", "readme.txt", "Game\\a + b (100%).map", "日本\\🧶.pak", "\xC9t\xE9/\xD6l.txt"}},
    {"other separators", {"Game\\", "Game/maps\\\\x", "a/b\\c"}},
    {"odd characters", {"~", "${HOME}", "%TEMP%\\x", "*?<>\"", "tab\there", " ", " \\ a", "a ."}},
    {"dots within a name", {".hidden\\..x", "a.", "a..", "...a"}},
    {"almost devices", {"con-x", "xcon.txt", "ICON", "nul0", "com", "com10", "LPTX", "com\xB9", "$con"}},
};
const PathsRow outsideTheTree[] = {
    {"drives and streams", {"C:", "c:x", "z:/x", "a\\C:\\x", "a.txt:hidden", "a:$I30:$INDEX_ALLOCATION\\b"}},
    {"leading separators", {"/", "\\x", "/etc/passwd", "\\\\server\\share\\x", "//?/C:\\x"}},
    {"dots", {"..", "../x", "a\\..", "a/../b", "a\\../..\\b", ".", "./x", "a\\."}},
    {"what Windows takes for dots", {"...", "a/..../b", ".. ", "a\\ .\\b"}},
    {"devices", {"con", "PRN", "Aux.txt", "NUL.tar.gz", "nul .x", "conin$", "CONOUT$", "com1", "lpt0.log"}},
    {"devices below a folder", {"a\\lpt\xC2\xB3", "a/com9 /b"}},
    {"zero bytes", {"a\0b"s, "\0"s}},
};

// What the reader makes of a list file: a line for each record, or none at all if it refuses the list.
struct ReaderRow
{
    const char* name;
    std::string file;
    QStringList records;
};
const ReaderRow readerRows[] = {
    {"the order of the lines stays, and a path that stands twice is there twice",
     "F#b#1#x\nD#d\\e\nF#a#2#y\nD#d\nF#b#1#x\n",
     {"D d\\e", "D d", "F b, 1, x", "F a, 2, y", "F b, 1, x"}},
    {"both kinds of line end, and none at the end", "D#a\r\n\nD#b\n\r\nF#c#1#h", {"D a", "D b", "F c, 1, h"}},
    {"other control characters belong to a name",
     "D#a\rb\r\r\nD#\032\nF#c#1#h\r",
     {"D a\rb\r", "D \032", "F c, 1, h\r"}},
    {"lines of no known kind are skipped",
     "\357\273\277D#x\nd#x\n D#x\nDD#x\n#D#x\n##\nF#a#1#h\n",
     {"F a, 1, h"}},
    {"further fields and empty ones",
     "D#d#x\nD#\nF#a#12#h#extra\nF#b##\n",
     {"D d", "D ", "F a, 12, h", "F b, 0, "}},
    {"a size ends at the first letter",
     "F#a#12abc#h\nF#b# \t-5#h\nF#c#x1#h\n",
     {"F a, 12, h", "F b, -5, h", "F c, 0, h"}},
    {"a size keeps its low 32 bits",
     "F#a#4294967297#h\nF#b#2147483648#h\n",
     {"F a, 1, h", "F b, -2147483648, h"}},
    {"the right number of records", "D#d\n#records#2\nF#a#1#h\n", {"D d", "F a, 1, h"}},
    {"another number of records", "#records#3\nD#d\nF#a#1#h\n", {}},
    {"a number of records that is none", "#records\nF#a#1#h\n", {}},
    {"an empty file", "", {}},
    {"no file is named", "D#d\nf#a#12#h\n", {}},
    {"a folder record without a path", "F#a#1#h\nD", {}},
    {"a file record without a digest", "F#a#1#h\nF#b#1", {}},
    {"a folder outside the tree", "F#a#1#h\nD#x\\..\\..\\y", {}},
    {"a file outside the tree", "F#a#1#h\nF#../y#1#h", {}},
};

QStringList Records(const std::string& file)
{
    const TemporaryTree tree;
    WriteFile(tree.Path("List.txt"), file);
    std::vector<std::string> lines;
    ReadListLines(lines, tree.WindowsRoot() + "\\List.txt");
    ContentList content;
    if (!ParseFileList(lines, content))
        return {};
    QStringList records;
    for (const std::string& directory : content.directories)
        records += QString("D ") + directory.c_str();
    for (std::size_t i = 0; i < content.fileNames.size(); ++i)
        records += QString("F %1, %2, %3")
                       .arg(content.fileNames[i].c_str())
                       .arg(content.fileSizes.at(i))
                       .arg(content.fileDigests.at(i).c_str());
    return records;
}
} // namespace

class GameTreeTest : public QObject
{
    Q_OBJECT

private slots:
    void theReaderTakesOnlyWholeRecords()
    {
        for (const ReaderRow& row : readerRows)
            QVERIFY2(Records(row.file) == row.records, row.name);
    }

    void aListThatCountsItsRecordsIsRefusedWhenItsEndIsMissing()
    {
        const std::string list = "#records#4\nD#sets\nF#sets\\a#1#h\nF#sets\\b#1#h\nF#c#1#h\n";
        QCOMPARE(Records(list).size(), 4);
        for (std::size_t end = list.rfind('\n', list.size() - 2); end != std::string::npos;
             end = list.rfind('\n', end - 1))
            QVERIFY2(Records(list.substr(0, end + 1)).isEmpty(), list.substr(0, end).c_str());
    }

    void listedPathsStayInTheTree()
    {
        for (const PathsRow& row : insideTheTree) {
            for (const std::string& path : row.paths)
                QVERIFY2(StaysInTree(path), path.c_str());
        }
        for (const PathsRow& row : outsideTheTree) {
            for (const std::string& path : row.paths) {
                QVERIFY2(!StaysInTree(path) && !StaysInTree(path + "\\below"), path.c_str());
                const bool leads =
                    path[0] == '\\' || path[0] == '/'; // below a folder, it is a doubled separator
                QVERIFY2(leads || !StaysInTree("Game/" + path), path.c_str());
            }
        }
    }

    void aRootHoldsNothingButTheGame()
    {
        for (const char* root :
             {"", "C:", "\\\\server\\share", "\\\\server", "\\usr", "\\etc", "\\home", "\\home\\.\\"})
            QVERIFY2(!IsSafeTreeRoot(root), root);
        for (const QString& folder : {QDir::homePath(), QDir::tempPath(), QFileInfo(QDir::homePath()).path()})
            QVERIFY2(!IsSafeTreeRoot(QDir::toNativeSeparators(folder).toStdString()), qPrintable(folder));
        const TemporaryTree tree;
        QVERIFY(IsSafeTreeRoot(tree.WindowsRoot()));
        QVERIFY(!IsSafeTreeRoot(tree.WindowsRoot() + "\\absent"));
        if (IsWindows)
            QSKIP("The home folder can't be another one there, and Wine has no links.");

        const std::string ownFolder = ".local/share/" + QCoreApplication::applicationName().toStdString();
        QVERIFY(WriteTree(
            tree.Root(),
            {{"hömes/ada/Documents/Games/", ""}, {"hömes/ad/", ""}, {"hömes/ada/" + ownFolder + "/", ""}}));
        const auto link = [&](const char* target, const char* name) {
            return QFile::link(target, tree.Path(name).c_str());
        };
        QVERIFY(link("hömes", "link to homes") && link("hömes/ada/Documents/Games", "link to games"));
        const QByteArray home = qgetenv("HOME");
        qputenv("HOME",
                tree.Path("link to homes/ada").c_str()); // a home folder that is reached through a link
        QStringList safe;
        for (const std::string folder : {"", "/hömes", "/hömes/ada", "/hömes/ada/Documents", "/link to homes",
                                         "/hömes/ad", "/hömes/ada/Documents/Games", "/link to games"}) {
            if (IsSafeTreeRoot(tree.WindowsRoot() + folder))
                safe += folder.c_str();
        }
        const bool ownIsSafe = IsSafeTreeRoot(tree.WindowsRoot() + "/hömes/ada/" + ownFolder);
        qputenv("HOME", home);
        QCOMPARE(safe, QStringList({"/hömes/ad", "/hömes/ada/Documents/Games", "/link to games"}));
        QVERIFY(ownIsSafe);
    }
};

QTEST_MAIN(GameTreeTest)
#include "gametree_test.moc"
