// The published list's reader, and the checks of root and paths that keep an update inside its tree.
#include "gametree/filelist.h"
#include "gametree/listedpath.h"
#include "gametree/treeroot.h"
#include "support/temporarytree.h"
#include "support/testmain.h"

namespace {
using namespace std::string_literals;

// What the reader makes of a list's text: a line for each record, or none at all if it refuses the list.
QStringList Records(const std::string& file)
{
    ContentList content;
    if (!ParseFileList(SplitLines(file), content))
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

Q_DECLARE_METATYPE(std::string)

class GameTreeTest : public QObject
{
    Q_OBJECT

private slots:
    void aListIsReadRecordByRecordOrRefused_data()
    {
        QTest::addColumn<std::string>("file");
        QTest::addColumn<QStringList>("records");
        const auto row = [](const char* name, const std::string& file, const QStringList& records) {
            QTest::newRow(name) << file << records;
        };
        row("line ends", "D#a\r\n\nD#b\rb\r\r\nF#c\032#1#h\r", {"D a", "D b\rb\r", "F c\032 1 h\r"});
        row("byte-order mark", "\357\273\277D#x\nF#a#1#h", {"F a 1 h"});
        row("sizes", "F#a#12abc#h\nF#b# \t-5#h\nF#c#4294967297#h", {"F a 12 h", "F b -5 h", "F c 1 h"});
        row("wrong number of records", "#records#2\nF#a#1#h\n", {});
        row("no file", "D#d\nf#a#12#h\n", {});
        row("file without a digest", "F#a#1#h\nF#b#1", {});
        row("folder outside the tree", "F#a#1#h\nD#x\\..\\..\\y", {});
        row("file outside the tree", "F#a#1#h\nF#../y#1#h", {});
    }
    void aListIsReadRecordByRecordOrRefused()
    {
        QFETCH(const std::string, file);
        QTEST(Records(file), "records");
    }

    void listedPathsStayInTheTree_data()
    {
        QTest::addColumn<std::string>("path");
        QTest::addColumn<bool>("stays");
        const auto row = [](const std::string& path, bool stays) {
            QTest::newRow(path.c_str()) << path << stays;
        };
        for (const char* path : {"", "Game\\a + b (100%).map", "日本\\🧶.pak", "\xC9t\xE9/\xD6l.txt", "~",
                                 "%TEMP%\\x", "*?<>\"", " \\ a", "a .", ".hidden\\..x", "...a", "con-x",
                                 "xcon.txt", "nul0", "com", "com10", "com\xB9", "$con"})
            row(path, true);
        // Below a folder, a leading separator would be a doubled one.
        for (const char* path : {"/", "\\x", "\\\\server\\share\\x", "//?/C:\\x"})
            row(path, false);
        for (const std::string& path :
             {"C:"s,     "z:/x"s,        "a\\C:\\x"s, "a.txt:hidden"s, "a\0b"s,       ".."s,
              "../x"s,   "a\\../..\\b"s, "."s,        "a\\."s,         "..."s,        "a/..../b"s,
              ".. "s,    "a\\ .\\b"s,    "con"s,      "PRN"s,          "Aux.txt"s,    "NUL.tar.gz"s,
              "nul .x"s, "conin$"s,      "CONOUT$"s,  "com1"s,         "a/lpt0.log"s, "a\\lpt\xC2\xB3"s}) {
            row(path, false);
            row("Game/" + path, false);
            row(path + "\\below", false);
        }
    }
    void listedPathsStayInTheTree()
    {
        QFETCH(const std::string, path);
        QTEST(StaysInTree(path), "stays");
    }

    void onlyUtf8IsReadAlikeByTheSystemAndByQt()
    {
        QVERIFY(IsReadAlike("C:\\J\xC3\xBCrgen") && !IsReadAlike("C:\\J\xFCrgen"));
    }

    void aRootThatHoldsOtherThingsIsRefused()
    {
        // Wine's own folder of documents is a link to the home folder of the system around it.
        const QString documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
        QStringList roots = {"",
                             "C:",
                             "\\\\server",
                             "\\\\server\\share",
                             QDir::homePath() + "/absent",
                             QDir::homePath(),
                             QFileInfo(QDir::homePath()).path(),
                             QDir::tempPath(),
                             FinalPath(QDir::toNativeSeparators(documents).toStdString()).c_str()};
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
        for (const char* folder : {"", "/hömes", "/hömes/ada", "/hömes/ada/Documents", "/link to homes",
                                   "/hömes/ad", "/hömes/ada/Documents/Games", "/link to games"})
            safe += IsSafeTreeRoot(tree.WindowsRoot() + folder) ? QStringList(folder) : QStringList();
        qputenv("HOME", home);
        COMPARE_ALL(safe, QStringList({"/hömes/ad", "/hömes/ada/Documents/Games", "/link to games"}));
    }
};

QTEST_MAIN(GameTreeTest)
#include "gametree_test.moc"
