// The published list's reader, and the checks of root and paths that keep an update inside its tree.
#include "gametree/filelist.h"
#include "gametree/listedpath.h"
#include "gametree/treeroot.h"
#include "support/temporarytree.h"
#include "support/testmain.h"

namespace {
using namespace std::string_literals;

// What the reader makes of a list file: a line for each record, or none at all if it refuses the list.
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
        row("byte-order mark",
            "\xEF\xBB\xBF"
            "D#x\nF#a#1#h",
            {"F a 1 h"});
        row("further fields", "D#d#x\nF#a#12#h#extra", {"D d", "F a 12 h"});
        row("empty fields", "D#\nF#b##", {"D ", "F b 0 "});
        row("sizes", "F#a#12abc#h\nF#b# \t-5#h\nF#c#4294967297#h", {"F a 12 h", "F b -5 h", "F c 1 h"});
        row("no number of records", "#records\nF#a#1#h\n", {});
        row("no file", "D#d\nf#a#12#h\n", {});
        row("folder without a path", "F#a#1#h\nD", {});
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
        for (const std::string path : {"",
                                       "readme.txt",
                                       "Game\\a + b (100%).map",
                                       "日本\\🧶.pak",
                                       "\xC9t\xE9/\xD6l.txt",
                                       "Game/maps\\\\x",
                                       "~",
                                       "${HOME}",
                                       "%TEMP%\\x",
                                       "*?<>\"",
                                       "tab\there",
                                       " ",
                                       " \\ a",
                                       "a .",
                                       ".hidden\\..x",
                                       "a.",
                                       "...a",
                                       "con-x",
                                       "xcon.txt",
                                       "ICON",
                                       "nul0",
                                       "com",
                                       "com10",
                                       "LPTX",
                                       "com\xB9",
                                       "$con"})
            QTest::newRow(path.c_str()) << path;
    }
    void listedPathsStayInTheTree()
    {
        QFETCH(const std::string, path);
        QVERIFY(StaysInTree(path));
    }

    void pathsThatCouldLeaveTheTreeAreRefused_data()
    {
        QTest::addColumn<std::string>("path");
        for (const std::string& path :
             {"C:"s,           "c:x"s,
              "z:/x"s,         "a\\C:\\x"s,
              "a.txt:hidden"s, "a:$I30:$INDEX_ALLOCATION\\b"s,
              "a\0b"s,         "\0"s,
              ".."s,           "../x"s,
              "a\\.."s,        "a/../b"s,
              "a\\../..\\b"s,  "."s,
              "./x"s,          "a\\."s,
              "..."s,          "a/..../b"s,
              ".. "s,          "a\\ .\\b"s, // Windows drops dots and blanks at a name's end
              "con"s,          "PRN"s,
              "Aux.txt"s,      "NUL.tar.gz"s,
              "nul .x"s,       "conin$"s,
              "CONOUT$"s,      "com1"s,
              "a/lpt0.log"s,   "a\\lpt\xC2\xB3"s}) {
            QTest::newRow(path.c_str()) << path;
            QTest::newRow(("Game/" + path).c_str()) << "Game/" + path;
            QTest::newRow((path + "\\below").c_str()) << path + "\\below";
        }
        // Below a folder, a leading separator would be a doubled one.
        for (const std::string path : {"/", "\\x", "/etc/passwd", "\\\\server\\share\\x", "//?/C:\\x"})
            QTest::newRow(path.c_str()) << path;
    }
    void pathsThatCouldLeaveTheTreeAreRefused()
    {
        QFETCH(const std::string, path);
        QVERIFY(!StaysInTree(path));
    }

    void pathsInUtf8AreReadAlikeByTheSystemAndByQt()
    {
        QVERIFY(IsReadAlike("C:\\Games\\x"));
        QVERIFY(IsReadAlike("C:\\J\xC3\xBCrgen"));
        QVERIFY(!IsReadAlike("C:\\J\xFCrgen"));
    }

    // Before Windows 10 1903, a code page reads one byte a letter.
    void otherLettersAreReadOtherwiseByAnOldCodePage()
    {
        if (IsWindows)
            QSKIP("Qt asks the system for the code page there.");
        QTextCodec::setCodecForLocale(QTextCodec::codecForName("windows-1252"));
        const bool plain = IsReadAlike("C:\\Games\\x"), other = IsReadAlike("C:\\J\xC3\xBCrgen");
        FixTextConventions();
        QVERIFY(plain && !other);
    }

    void aRootThatHoldsOtherThingsIsRefused_data()
    {
        QTest::addColumn<QString>("root");
        QTest::newRow("empty path") << "";
        QTest::newRow("drive") << "C:";
        QTest::newRow("server") << "\\\\server";
        QTest::newRow("share") << "\\\\server\\share";
        QTest::newRow("absent folder") << QDir::homePath() + "/absent";
        QTest::newRow("home") << QDir::homePath();
        QTest::newRow("folder above the home") << QFileInfo(QDir::homePath()).path();
        QTest::newRow("temporary folder") << QDir::tempPath();
        // Wine's own folder of documents is a link to the home folder of the system around it.
        const QString documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
        QTest::newRow("documents by their final path")
            << FinalPath(QDir::toNativeSeparators(documents).toStdString()).c_str();
        for (const std::string& folder : SystemFolders())
            QTest::newRow(folder.c_str()) << (folder + "\\.").c_str();
    }
    void aRootThatHoldsOtherThingsIsRefused()
    {
        QFETCH(const QString, root);
        QVERIFY(!IsSafeTreeRoot(QDir::toNativeSeparators(root).toStdString()));
    }

    void aShareIsRefusedEvenWhenItIsThere()
    {
        if (IsWindows)
            QSKIP("No share is at hand there.");
        QVERIFY(IsSafeTreeRoot("\\usr\\lib"));
        QVERIFY(!IsSafeTreeRoot("\\\\usr\\lib")); // the same folder on Linux
    }

    void aHomeIsKnownThroughLinks_data()
    {
        QTest::addColumn<bool>("isSafe");
        for (const char* folder :
             {"", "/hömes", "/hömes/ada", "/hömes/ada/Documents", "/hömes/ada/Downloads", "/link to homes"})
            QTest::newRow(folder) << false;
        for (const char* folder : {"/hömes/ad", "/hömes/ada/Documents/Games", "/link to games",
                                   "/hömes/ada/.local/share/gametree_test"})
            QTest::newRow(folder) << true;
    }
    void aHomeIsKnownThroughLinks()
    {
        if (IsWindows)
            QSKIP("Wine makes no links.");
        const TemporaryTree tree;
        QVERIFY(WriteTree(tree.Root(), Files({"hömes/ada/Documents/Games/", "hömes/ada/Downloads/",
                                              "hömes/ad/", "hömes/ada/.local/share/gametree_test/"})));
        QVERIFY(QFile::link("hömes", tree.Path("link to homes").c_str()));
        QVERIFY(QFile::link("hömes/ada/Documents/Games", tree.Path("link to games").c_str()));
        const QByteArray home = qgetenv("HOME");
        qputenv("HOME", tree.Path("link to homes/ada").c_str());
        const bool isSafe = IsSafeTreeRoot(tree.WindowsRoot() + QTest::currentDataTag());
        qputenv("HOME", home);
        QTEST(isSafe, "isSafe");
    }
};

QTEST_MAIN(GameTreeTest)
#include "gametree_test.moc"
