// The two judges that keep an update inside its tree.
#include "gametree/listedpath.h"
#include "gametree/treeroot.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>

#include "gametree/filelist.h"
#include "support/temporarytree.h"
#include "support/testmain.h"

namespace {
using namespace std::string_literals;

// Separated by "|". Names as publishers give them, and near misses of all that is refused.
const std::string staying[] = {
    "|a|Game|Game\\|Game\\Tessaloom\\Code\\Current\\Release\\Tessaloom.exe|a/b|a\\b/c\\d|a//b|a\\\\b|a/|a\\/",
    "Hanging Gardens\\north + south.map|100% Wool\\pattern 50%.map|Höhenzug\\Brücke über den "
    "Fluß.map|日本\\🧶.pak",
    "\xC9t\xE9\\\xD6l.txt|readme (en) [final] "
    "{2}.txt|a&b;c,d=e!f~g'h`i@j$k^l.x|$Recycle.Bin\\x|%TEMP%\\x|${HOME}|~|-x",
    ".a|..a|...a|.hidden\\x|a.|a..|a...|a.b.c|a..b\\c|.a.|a .|a. .|*?<>\"|a\tb|a\x01z|a\x1Az| |  \\a| a|a |a "
    "\\b| a \\ b ",
    "LAUNCHER_TEMP_EXE_FOLDER1\\x|a\\xLAUNCHER_TEMP_EXE_FOLDERx\\b|CO|CONS|ICON|con-x|con_\\x|xcon.txt|x.con|"
    "nul0|nully",
    "aux1.txt|auxiliary|com|com.x|com10|COM10.txt|comx|com1x|com-1|lpt|lpt10|LPTX|com\xC2\xB4|com\xB9|"
    "lpt\xC2\xB9\xC2\xB9",
    "conin|conout$x|$con|prn1|printer|pr n|" + std::string(255, 'x') + "\\" + std::string(40000, 'y'),
};
const std::string leaving[] = {
    "C:|c:x|C:\\|C:\\x|C:/x|z:\\|a\\C:\\x|1:|:|:x|a.txt:hidden|a\\b.txt::$DATA|a:$I30:$INDEX_ALLOCATION\\b",
    "\\|/|\\x|/x|\\\\|//|/etc/passwd|\\Windows\\x|/C/x|\\\\server\\share\\x|//server/share/x|\\/"
    "server\\share|/\\server\\share",
    "\\\\.\\PhysicalDrive0|\\\\?\\C:\\x|//?/UNC/server/share|\\??\\C:\\x|\\\\.\\pipe\\x",
    "..|..\\x|../x|a\\..|a/..|a\\..\\b|a/../b|a\\../..\\b|a\\b\\..\\..\\..\\c|..\\|../|.|.\\x|./x|a\\.|a/./"
    "b|a\\.\\b|a\\./|./",
    "...|....|a\\...\\b|a/..../b|a\\...|.. | ..|. | .|. .|.. .|a\\.. \\b|a/ ../b|a\\. .\\b|. . .|a\\ ..",
    "con|CON|Con|prn|aux|nul|NUL|conin$|CONOUT$|com1|COM9|com0|lpt1|LPT9|lpt0|com\xC2\xB9|COM\xC2\xB2.txt|"
    "a\\lpt\xC2\xB3",
    "nul.txt|NUL.tar.gz|con.|con..x|aux .txt|com1.log|lpt1 .x|nul |nul  .|con. "
    "|a\\nul|a/con.txt|nul\\a|AUX/b",
    "a\\com1\\b|a\\prn \\b|a/LPT2.x/b|a\0b|\0|a\\..\0|a\0\\..\\b"s,
};

std::vector<std::string> Paths(const std::string& row)
{
    std::vector<std::string> paths;
    SplitString(row, "|", paths);
    return paths;
}
} // namespace

class InstalledTreeTest : public QObject
{
    Q_OBJECT

private slots:
    void listedPaths()
    {
        for (const std::string& row : staying) {
            for (const std::string& path : Paths(row))
                QVERIFY2(StaysInTree(path), path.c_str());
        }
        for (const std::string& row : leaving) {
            for (const std::string& path : Paths(row)) {
                QVERIFY2(!StaysInTree(path), path.c_str());
                QVERIFY2(!StaysInTree(path + "\\x") && !StaysInTree(path + "/x y.z"), path.c_str());
                // Below a folder, a leading separator is a doubled one.
                const bool rooted = path[0] == '\\' || path[0] == '/';
                QVERIFY2(rooted || !StaysInTree("Game\\" + path), path.c_str());
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
        rows(false, QString("|C:|Z:|//server/share|//server|//|//?/C:|/home|/usr|/var|/etc|/opt|/srv|/usr/|/"
                            "usr/../usr|/USR")
                        .split('|'));
        const QString home = QDir::homePath();
        rows(false,
             {home, QDir::tempPath(), QFileInfo(home).path(), home + "/../" + QFileInfo(home).fileName()});
        using Standard = QStandardPaths;
        for (const auto location :
             {Standard::DesktopLocation, Standard::DocumentsLocation, Standard::DownloadLocation,
              Standard::GenericDataLocation, Standard::GenericConfigLocation}) {
            const QString folder = Standard::writableLocation(location);
            rows(false, {folder, QFileInfo(folder).path()});
        }
    }
    void roots()
    {
        QFETCH(QString, root);
        QFETCH(bool, own);
        QCOMPARE(IsSafeTreeRoot(root.replace('/', '\\').toStdString()), own);
    }

    // A root is judged by the folder that it leads to, and its bytes are letters of UTF-8.
    void linkedRoots()
    {
        if (QSysInfo::kernelType() == "winnt")
            QSKIP("Qt makes shortcuts there, which are files, and Wine has no links of its own");
        const TemporaryTree tree;
        QVERIFY(IsSafeTreeRoot(tree.WindowsRoot()));
        QVERIFY(WriteTree(tree.Root(), {{"game/", ""}}));
        const auto link = [&](const QString& target, const char* name) {
            return QFile::link(target, QString::fromStdString(tree.Path(name)));
        };
        QVERIFY(link(QDir::homePath(), "to home") && link("/", "to all") && link("game", "to game"));
        QVERIFY(!IsSafeTreeRoot(tree.WindowsRoot() + "\\to home"));
        QVERIFY(!IsSafeTreeRoot(tree.WindowsRoot() + "\\to all"));
        QVERIFY(IsSafeTreeRoot(tree.WindowsRoot() + "\\to game"));

        // The home folder behind a link, inside the game's: it holds the player's files all the same.
        const QByteArray before = qgetenv("HOME");
        qputenv("HOME", tree.Path("game").c_str());
        const bool refused =
            !IsSafeTreeRoot(tree.WindowsRoot()) && !IsSafeTreeRoot(tree.WindowsRoot() + "\\to game");
        qputenv("HOME", before);
        QVERIFY(refused);
    }
};

LAUNCHER_TEST_MAIN(InstalledTreeTest)
#include "installedtree_test.moc"
