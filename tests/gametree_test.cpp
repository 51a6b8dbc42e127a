// The published list's reader, and the two judges that keep an update inside its tree.
#include "gametree/filelist.h"
#include "gametree/listedpath.h"
#include "gametree/treeroot.h"
#include "support/temporarytree.h"
#include "support/testmain.h"

namespace {
using namespace std::string_literals;

using Paths = std::vector<std::string>;
const Paths insideTheTree[] = {
    {"", "readme.txt", "Game\\a + b (100%).map", "日本\\🧶.pak", "\xC9t\xE9/\xD6l.txt", "Game/maps\\\\x"},
    {"~", "${HOME}", "%TEMP%\\x", "*?<>\"", "tab\there", " ", " \\ a", "a .", ".hidden\\..x", "a.", "...a"},
    {"con-x", "xcon.txt", "ICON", "nul0", "com", "com10", "LPTX", "com\xB9", "$con"}, // almost devices
};
const Paths outsideTheTree[] = {
    {"C:", "c:x", "z:/x", "a\\C:\\x", "a.txt:hidden", "a:$I30:$INDEX_ALLOCATION\\b", "a\0b"s, "\0"s},
    {"/", "\\x", "/etc/passwd", "\\\\server\\share\\x", "//?/C:\\x"},
    {"..", "../x", "a\\..", "a/../b", "a\\../..\\b", ".", "./x", "a\\."},
    {"...", "a/..../b", ".. ", "a\\ .\\b"}, // Windows drops dots and blanks at a name's end
    {"con", "PRN", "Aux.txt", "NUL.tar.gz", "nul .x", "conin$", "CONOUT$", "com1", "a/lpt0.log",
     "a\\lpt\xC2\xB3"},
};

// What the reader makes of a list file: a line for each record, or none at all if it refuses the list.
struct ReaderRow
{
    const char* name;
    std::string file;
    QStringList records;
};
const ReaderRow readerRows[] = {
    {"the order stays, and what stands twice",
     "F#b#1#x\nD#d\\e\nD#d\nF#b#1#x\n",
     {"D d\\e", "D d", "F b 1 x", "F b 1 x"}},
    {"line ends", "D#a\r\n\nD#b\rb\r\r\nF#c\032#1#h\r", {"D a", "D b\rb\r", "F c\032 1 h\r"}},
    {"other lines", "\357\273\277D#x\nd#x\n D#x\nDD#x\n#D#x\n##\nF#a#1#h", {"F a 1 h"}},
    {"further fields and empty ones",
     "D#d#x\nD#\nF#a#12#h#extra\nF#b##",
     {"D d", "D ", "F a 12 h", "F b 0 "}},
    {"sizes", "F#a#12abc#h\nF#b# \t-5#h\nF#c#4294967297#h", {"F a 12 h", "F b -5 h", "F c 1 h"}},
    {"the right number of records", "D#d\n#records#2\nF#a#1#h\n", {"D d", "F a 1 h"}},
    {"another number of records", "#records#3\nD#d\nF#a#1#h\n", {}},
    {"no number of records", "#records\nF#a#1#h\n", {}},
    {"no file is named", "D#d\nf#a#12#h\n", {}},
    {"a folder without a path", "F#a#1#h\nD", {}},
    {"a file without a digest", "F#a#1#h\nF#b#1", {}},
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
    for (std::size_t i = 0; i < content.fileNames.size(); ++i) {
        const FileEntry file = content.File(i);
        records += QString("F %1 %2 %3").arg(file.path.c_str()).arg(file.size).arg(file.digest.c_str());
    }
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

    void listedPathsStayInTheTree()
    {
        for (const Paths& paths : insideTheTree) {
            for (const std::string& path : paths)
                QVERIFY2(StaysInTree(path), path.c_str());
        }
        for (const Paths& paths : outsideTheTree) {
            for (const std::string& path : paths) {
                QVERIFY2(!StaysInTree(path) && !StaysInTree(path + "\\below"), path.c_str());
                // Below a folder, a leading separator is a doubled one.
                const bool leads = path[0] == '\\' || path[0] == '/';
                QVERIFY2(leads || !StaysInTree("Game/" + path), path.c_str());
            }
        }
    }

    // Windows 10 1903 and all else read UTF-8. Its code pages before that read one byte a letter.
    void theRootIsReadAlikeByTheSystemAndByQt()
    {
        const std::string plain = "C:\\Games\\x", utf8 = "C:\\J\xC3\xBCrgen", windows1252 = "C:\\J\xFCrgen";
        QVERIFY(IsReadAlike(plain) && IsReadAlike(utf8) && !IsReadAlike(windows1252));
        if (IsWindows)
            QSKIP("Qt asks the system for the code page there.");
        QTextCodec::setCodecForLocale(QTextCodec::codecForName("windows-1252"));
        const QList<bool> alike = {IsReadAlike(plain), IsReadAlike(utf8), IsReadAlike(windows1252)};
        FixTextConventions();
        QCOMPARE(alike, QList<bool>({true, false, false}));
    }

    void aRootHoldsNothingButTheGame()
    {
        for (const char* root : {"", "C:", "\\\\server\\share", "\\\\server"})
            QVERIFY2(!IsSafeTreeRoot(root), root);
        for (const std::string& root : SystemFolders())
            QVERIFY2(root.empty() || !IsSafeTreeRoot(root + "\\."), root.c_str());
        for (const QString& folder : {QDir::homePath(), QDir::tempPath(), QFileInfo(QDir::homePath()).path()})
            QVERIFY2(!IsSafeTreeRoot(QDir::toNativeSeparators(folder).toStdString()), qPrintable(folder));
        // Wine's own folder of documents is a link to the home folder of the system around it.
        const QString documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
        QVERIFY(!IsSafeTreeRoot(FinalPath(QDir::toNativeSeparators(documents).toStdString())));
        const TemporaryTree tree;
        QVERIFY(IsSafeTreeRoot(tree.WindowsRoot()));
        QVERIFY(!IsSafeTreeRoot(tree.WindowsRoot() + "\\absent"));
        if (IsWindows)
            QSKIP("Wine makes no links.");

        const std::string own = "/hömes/ada/.local/share/" + qApp->applicationName().toStdString();
        for (const std::string folder :
             {"/hömes/ada/Documents/Games", "/hömes/ada/Downloads", "/hömes/ad", own.c_str()})
            QVERIFY(QDir().mkpath((tree.Root() + folder).c_str()));
        QVERIFY(QFile::link("hömes", tree.Path("link to homes").c_str()));
        QVERIFY(QFile::link("hömes/ada/Documents/Games", tree.Path("link to games").c_str()));
        const QByteArray home = qgetenv("HOME");
        qputenv("HOME", tree.Path("link to homes/ada").c_str());
        QStringList safe;
        for (const std::string folder :
             {"", "/hömes", "/hömes/ada", "/hömes/ada/Documents", "/hömes/ada/Downloads", "/link to homes",
              "/hömes/ad", "/hömes/ada/Documents/Games", "/link to games", own.c_str()}) {
            if (IsSafeTreeRoot(tree.WindowsRoot() + folder))
                safe += folder.c_str();
        }
        qputenv("HOME", home);
        QCOMPARE(safe,
                 QStringList({"/hömes/ad", "/hömes/ada/Documents/Games", "/link to games", own.c_str()}));
    }
};

QTEST_MAIN(GameTreeTest)
#include "gametree_test.moc"
