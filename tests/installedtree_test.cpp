// The two judges that keep an update inside its tree.
#include "mainwindow/installedtree.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>

#include "support/temporarytree.h"
#include "support/testmain.h"

namespace {
using namespace std::string_literals;

struct Paths
{
    const char* kind;
    std::vector<std::string> paths;
};

// Names as publishers give them, and near misses of everything that is refused.
const Paths staying[] = {
    {"plain", {"", "a", "Game", "Game\\", "Game\\Tessaloom\\Code\\Current\\Release\\Tessaloom.exe"}},
    {"both slashes", {"a/b", "a\\b/c\\d", "a//b", "a\\\\b", "a/", "a\\/"}},
    {"real names",
     {"Hanging Gardens\\north + south.map", "100% Wool\\pattern 50%.map",
      "Höhenzug\\Brücke über den Fluß.map", "\xC9t\xE9\\\xD6l.txt", "日本\\🧶.pak",
      "readme (en) [final] {2}.txt", "a&b;c,d=e!f~g'h`i@j$k^l.x", "-x", "~", "$Recycle.Bin\\x", "%TEMP%\\x",
      "${HOME}", "*?<>|\"", "a\tb", "a\x01z", "a\x1Az"}},
    {"dots in names",
     {".a", "..a", "...a", ".hidden\\x", "a.", "a..", "a...", "a.b.c", "a..b\\c", ".a.", "a .", "a. ."}},
    {"blanks in names", {" ", "  \\a", " a", "a ", "a \\b", " a \\ b "}},
    {"stem in the middle", {"LAUNCHER_TEMP_EXE_FOLDER1\\x", "a\\xLAUNCHER_TEMP_EXE_FOLDERx\\b"}},
    {"almost a device",
     {"CO",    "CONS",     "ICON",      "con-x", "con_\\x", "xcon.txt",    "x.con",     "nul0",
      "nully", "aux1.txt", "auxiliary", "com",   "com.x",   "com10",       "COM10.txt", "comx",
      "com1x", "com-1",    "lpt",       "lpt10", "LPTX",    "com\xC2\xB4", "com\xB9",   "lpt\xC2\xB9\xC2\xB9",
      "conin", "conout$x", "$con",      "prn1",  "printer", "pr n"}},
    {"long", {std::string(255, 'x') + "\\" + std::string(3000, 'y'), std::string(40000, 'z')}},
};

const Paths leaving[] = {
    {"drive", {"C:", "c:x", "C:\\", "C:\\x", "C:/x", "z:\\", "a\\C:\\x", "1:", ":", ":x"}},
    {"stream", {"a.txt:hidden", "a\\b.txt::$DATA", "a:$I30:$INDEX_ALLOCATION\\b"}},
    {"root", {"\\", "/", "\\x", "/x", "\\\\", "//", "/etc/passwd", "\\Windows\\x", "/C/x"}},
    {"share", {"\\\\server\\share\\x", "//server/share/x", "\\/server\\share", "/\\server\\share"}},
    {"device path",
     {"\\\\.\\PhysicalDrive0", "\\\\?\\C:\\x", "//?/UNC/server/share", "\\??\\C:\\x", "\\\\.\\pipe\\x"}},
    {"above",
     {"..", "..\\x", "../x", "a\\..", "a/..", "a\\..\\b", "a/../b", "a\\../..\\b", "a\\b\\..\\..\\..\\c",
      "..\\", "../"}},
    {"here", {".", ".\\x", "./x", "a\\.", "a/./b", "a\\.\\b", "a\\./", "./"}},
    {"dots that Windows cuts", {"...", "....", "a\\...\\b", "a/..../b", "a\\..."}},
    {"dots with blanks",
     {".. ", " ..", ". ", " .", ". .", ".. .", "a\\.. \\b", "a/ ../b", "a\\. .\\b", ". . .", "a\\ .."}},
    {"device",
     {"con", "CON", "Con", "prn", "aux", "nul", "NUL", "conin$", "CONOUT$", "com1", "COM9", "com0", "lpt1",
      "LPT9", "lpt0"}},
    {"raised device number", {"com\xC2\xB9", "COM\xC2\xB2.txt", "a\\lpt\xC2\xB3"}},
    {"device with an ending",
     {"nul.txt", "NUL.tar.gz", "con.", "con..x", "aux .txt", "com1.log", "lpt1 .x", "nul ", "nul  .",
      "con. "}},
    {"device in a folder",
     {"a\\nul", "a/con.txt", "nul\\a", "AUX/b", "a\\com1\\b", "a\\prn \\b", "a/LPT2.x/b"}},
    {"zero byte", {"a\0b"s, "\0"s, "a\\..\0"s, "a\0\\..\\b"s}},
};
} // namespace

class InstalledTreeTest : public QObject
{
    Q_OBJECT

private slots:
    void listedPaths()
    {
        QStringList wrong;
        for (const bool stays : {true, false}) {
            for (const Paths& row : stays ? std::vector<Paths>(std::begin(staying), std::end(staying))
                                          : std::vector<Paths>(std::begin(leaving), std::end(leaving))) {
                for (const std::string& path : row.paths) {
                    if (StaysInTree(path) != stays)
                        wrong += QString::fromUtf8(row.kind) + ": " +
                                 QByteArray::fromStdString(path).left(60).toPercentEncoding(" \\/");
                }
            }
        }
        QCOMPARE(wrong, QStringList());
    }

    // Of each refused path, every prefix that is cut at a separator and every path that it stands behind.
    void refusedAnywhere()
    {
        for (const Paths& row : leaving) {
            for (const std::string& path : row.paths) {
                const bool separated = path.front() == '\\' || path.front() == '/';
                QVERIFY2(separated || !StaysInTree("Game\\" + path), path.c_str());
                QVERIFY2(!StaysInTree(path + "\\x") && !StaysInTree(path + "/x y.z"), path.c_str());
            }
        }
    }

    void roots_data()
    {
        QTest::addColumn<QString>("root");
        QTest::addColumn<bool>("own");
        const auto rows = [](bool own, const QStringList& roots) {
            for (const QString& root : roots)
                QTest::newRow(qPrintable((own ? "own: " : "refused: ") + root)) << root << own;
        };
        rows(false, {"", "C:", "Z:", "\\\\server\\share", "\\\\server", "\\\\", "\\\\?\\C:"});
        rows(false,
             {"\\home", "\\usr", "\\var", "\\etc", "\\opt", "\\srv", "\\usr\\", "\\usr\\..\\usr", "\\USR"});
        rows(true, {"\\opt\\Tessaloom", "\\home\\nobody we know\\Games\\Tessaloom", "\\usr2", "\\user",
                    "\\mnt\\spiele\\Weberei"});

        const QString home = QDir::homePath();
        rows(false,
             {home, QDir::tempPath(), QFileInfo(home).path(), home + "/../" + QFileInfo(home).fileName()});
        for (const auto location : {QStandardPaths::DesktopLocation, QStandardPaths::DocumentsLocation,
                                    QStandardPaths::DownloadLocation, QStandardPaths::GenericDataLocation,
                                    QStandardPaths::GenericConfigLocation, QStandardPaths::CacheLocation}) {
            const QString folder = QStandardPaths::writableLocation(location);
            rows(false, {folder, QFileInfo(folder).path()});
            if (folder != home)
                rows(true, {folder + "/Tessaloom"});
        }
        rows(true, {home + "/Tessaloom", home + "x", QDir::tempPath() + "/Tessaloom"});
    }
    void roots()
    {
        QFETCH(QString, root);
        QFETCH(bool, own);
        QCOMPARE(IsRootOfItsOwn(root.replace('/', '\\').toStdString()), own);
    }

    // A root is judged by the folder that it leads to, and its bytes are letters of UTF-8.
    void linkedRoots()
    {
        const TemporaryTree tree;
        QVERIFY(IsRootOfItsOwn(tree.WindowsRoot()));
        QVERIFY(WriteTree(tree.Root(), {{"game/", ""}}));
        const auto link = [&](const QString& target, const char* name) {
            return QFile::link(target, QString::fromStdString(tree.Path(name)));
        };
        QVERIFY(link(QDir::homePath(), "to home") && link("/", "to all") && link("game", "to game"));
        QVERIFY(!IsRootOfItsOwn(tree.WindowsRoot() + "\\to home"));
        QVERIFY(!IsRootOfItsOwn(tree.WindowsRoot() + "\\to all"));
        QVERIFY(IsRootOfItsOwn(tree.WindowsRoot() + "\\to game"));

        // The home folder behind a link, inside the game's: it holds the player's files all the same.
        const QByteArray before = qgetenv("HOME");
        qputenv("HOME", tree.Path("game").c_str());
        const bool refused =
            !IsRootOfItsOwn(tree.WindowsRoot()) && !IsRootOfItsOwn(tree.WindowsRoot() + "\\to game");
        qputenv("HOME", before);
        QVERIFY(refused);
    }
};

LAUNCHER_TEST_MAIN(InstalledTreeTest)
#include "installedtree_test.moc"
