// The published list's reader, and the checks of root and paths that keep an update inside its tree.
#include "gametree/filelist.h"
#include "gametree/listedpath.h"
#include "gametree/treeroot.h"
#include "helpers/files.h"
#include "support/testmain.h"

namespace {
using namespace std::string_literals;

// What the reader makes of a list's text: a line for each record, or why it refuses the list.
QStringList Records(const std::string& file)
{
    ContentList content;
    std::string fault;
    if (!ParseFileList(SplitLines(file), content, &fault))
        return {fault.c_str()};
    QStringList records;
    for (const std::string& directory : content.directories)
        records += QString("D ") + directory.c_str();
    for (std::size_t i = 0; i < content.fileNames.size(); ++i) {
        const FileEntry entry = content.File(i);
        records += QString("F %1 %2 %3").arg(entry.path.c_str()).arg(entry.size).arg(entry.digest.c_str());
    }
    return records;
}

const QString otherCount = "it has 1 records, and its line \"#records#\" gives another number";
const QString leadsOut = " names a path that could lead out of the tree";
const struct
{
    const char* name;
    std::string list;
    QStringList records;
} lists[] = {
    {"line ends", "D#a\r\n\nD#b\rb\r\r\nF#c\032#1#h\r", {"D a", "D b\rb\r", "F c\032 1 h\r"}},
    {"byte-order mark", "\357\273\277D#x\nF#a#1#h", {"F a 1 h"}},
    {"further fields", "D#a#b\nF#c#1#h#i#j\n", {"D a", "F c 1 h"}},
    {"sizes", "F#a#12abc#h\nF#b# \t-5#h\nF#c#4294967297#h", {"F a 12 h", "F b -5 h", "F c 1 h"}},
    {"its number of records", "#records#2\n#note#3\nD#a\nF#b#1#h\n", {"D a", "F b 1 h"}},
    {"another number of records", "#records#2\nF#a#1#h\n", {otherCount}},
    {"two numbers of records", "#records#1\nF#a#1#h\n#records#2\n", {otherCount}},
    {"no file", "D#d\nf#a#12#h\n", {"it names no file"}},
    {"file without a digest", "F#a#1#h\nF#b#1", {"line 2 has too few fields"}},
    {"folder without a name", "F#a#1#h\n\nD\n", {"line 3 has too few fields"}},
    {"folder outside the tree", "F#a#1#h\nD#x\\..\\..\\y", {"line 2" + leadsOut}},
    {"file outside the tree", "F#../y#1#h\nF#a#1#h", {"line 1" + leadsOut}},
};
} // namespace

class GameTreeTest : public QObject
{
    Q_OBJECT

private slots:
    ROWS(aListIsReadRecordByRecordOrRefused, lists)
    void aListIsReadRecordByRecordOrRefused()
    {
        const auto& row = CurrentRow(lists);
        COMPARE_ALL(Records(row.list), row.records);
    }

    void ofAListThatCantBeReadToItsEndNothingIsTaken()
    {
        if (IsWindows)
            QSKIP("A folder can't be opened as a file there.");
        const FileHandle folder(std::fopen("/", "rb"));
        std::ungetc('F', folder.get()); // is read first, and then the reading fails
        std::vector<std::string> lines;
        ReadListLines(lines, *folder);
        QVERIFY(std::ferror(folder.get()) && lines.empty());
    }

    void listedPathsStayInTheTree_data()
    {
        QTest::addColumn<bool>("stays");
        for (const char* path : {"Game\\a + b (100%).map", "日本\\🧶.pak", "\xC9t\xE9/\xD6l.txt", "~",
                                 "%TEMP%\\x", "*?<>\"", " \\ a", "a .", ".hidden\\..x", "...a", "con-x",
                                 "xcon.txt", "nul0", "com", "com10", "com\xB9", "$con"})
            QTest::newRow(path) << true;
        // Below a folder, a leading separator would be a doubled one.
        for (const char* path : {"/", "\\x", "\\\\server\\share\\x", "//?/C:\\x"})
            QTest::newRow(path) << false;
        for (const QByteArray path : {"C:",         "z:/x",       "a\\C:\\x",      "a.txt:hidden",
                                      "..",         "../x",       "a\\../..\\b",   ".",
                                      "a\\.",       "...",        "a/..../b",      ".. ",
                                      "a\\ .\\b",   "con",        "PRN",           "Aux.txt",
                                      "NUL.tar.gz", "nul .x",     "conin$",        "CONOUT$",
                                      "com1",       "a/lpt0.log", "a\\lpt\xC2\xB3"})
            for (const QByteArray& place : {path, "Game/" + path, path + "\\below"})
                QTest::newRow(place) << false;
    }
    void listedPathsStayInTheTree()
    {
        QTEST(StaysInTree(QTest::currentDataTag()), "stays");
        QVERIFY(!StaysInTree(QTest::currentDataTag() + "\0"s)); // where the system takes the path to end
    }

    void aRootThatHoldsOtherThingsIsRefused()
    {
        // Wine's own folder of documents is a link to the home folder of the system around it.
        const QString documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
        QStringList roots = {"", "C:", "\\\\server", "\\\\server\\share", QDir::homePath() + "/absent"};
        roots += {QDir::homePath(), QFileInfo(QDir::homePath()).path(), QDir::tempPath()};
        roots += FinalPath(QDir::toNativeSeparators(documents).toStdString()).c_str();
        for (const std::string& folder : SystemFolders())
            roots += (folder + "\\.").c_str();
        for (const QString& root : roots)
            QVERIFY2(!IsSafeTreeRoot(QDir::toNativeSeparators(root).toStdString()), qPrintable(root));
        if (!IsWindows) // a share that is there: on Linux, the same folder
            QVERIFY(IsSafeTreeRoot("\\usr\\lib") && !IsSafeTreeRoot("\\\\usr\\lib"));
    }

    void aHomeIsKnownThroughLinks()
    {
        if (IsWindows)
            QSKIP("Wine makes no links.");
        const TemporaryTree tree;
        QVERIFY(WriteTree(tree.Root(), Files({"hömes/ada/Documents/Games/", "hömes/ad/"})));
        QVERIFY(QFile::link("hömes", tree.Path("link to homes").c_str()));
        QVERIFY(QFile::link("hömes/ada/Documents/Games", tree.Path("link to games").c_str()));
        const QByteArray home = qgetenv("HOME");
        qputenv("HOME", tree.Path("link to homes/ada").c_str());
        QStringList safe;
        for (const std::string folder :
             {"", "hömes", "hömes/ada", "hömes/ada/Desktop", "hömes/ada/Documents", "hömes/ada/Downloads",
              "hömes/ada/Music", "hömes/ada/Pictures", "hömes/ada/Videos", "link to homes", "hömes/ad",
              "hömes/ada/Documents/Games", "link to games"}) {
            QVERIFY(QDir().mkpath(tree.Path(folder).c_str()));
            if (IsSafeTreeRoot(tree.WindowsRoot() + "\\" + folder))
                safe += folder.c_str();
        }
        qputenv("HOME", home);
        COMPARE_ALL(safe, QStringList({"hömes/ad", "hömes/ada/Documents/Games", "link to games"}));
    }
};

QTEST_GUILESS_MAIN(GameTreeTest)
#include "gametree_test.moc"
