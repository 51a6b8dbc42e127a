// The publisher's list maker: what it says about a path, the whole list of a real tree, and the command's
// exit codes.
#include <QCryptographicHash>
#include <QProcess>
#include <QtTest>

#include "gametree/filelist.h"
#include "makelist/makelist.h"
#include "platform/platform.h"
#include "support/temporarytree.h"

namespace {
constexpr std::int64_t Limit = std::int64_t(1) << 31;

// Errors with a "!" in front, then warnings; nothing else may be said. `words` holds a word of each, in their
// order.
void CompareRemarks(const Remarks& remarks, const QStringList& words, const char* what)
{
    QStringList said;
    for (const std::string& error : remarks.errors)
        said += "!" + QString::fromUtf8(error.c_str());
    for (const std::string& warning : remarks.warnings)
        said += QString::fromUtf8(warning.c_str());
    bool matches = said.size() == words.size() && said.filter("!").size() == words.filter("!").size();
    for (int i = 0; matches && i < said.size(); ++i)
        matches = said[i].contains(QString(words[i]).remove('!'));
    QVERIFY2(matches && !said.join("").contains('\n'), qPrintable(what + (": " + said.join('|'))));
}

std::string FileRecord(const std::string& path, const std::string& content)
{
    const QByteArray bytes = QByteArray::fromStdString(content);
    const QByteArray digest = QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex();
    return "F#" + path + "#" + std::to_string(content.size()) + "#" + digest.toStdString() + "\n";
}
} // namespace

class MakeListTest : public QObject
{
    Q_OBJECT

private slots:
    void names()
    {
        const std::vector<std::pair<const char*, QStringList>> rows = {
            {"Game\\a b+c (1).map", {}},
            {"100% wool\\%41.txt", {}}, // one loose percent sign, and Qt escapes them all
            {"Game\\list.txt", {}},
            {"com10.txt", {}},
            {"Game\\data", {"no dot"}},
            {"MyList.txt.bak", {"never fetched"}},
            {"50%25.txt", {"address"}},
            {"what?.txt", {"hold", "address"}},
            {"name.", {"end of a name"}},
            {"a.b ", {"end of a name"}},
            {"Straße.map", {"1903"}},
            {"a#b.txt", {"!separates"}},
            {"a\nb.txt", {"!line end"}},
            {"a\rb.txt", {"!line end"}},
            {"bytes\xE4.txt", {"!UTF-8"}},
            {"c:d.txt", {"!whole list"}},
            {"Game\\nul.txt", {"!whole list"}},
            {"Game\\COM1", {"!whole list", "no dot"}},
            {".. .", {"!whole list"}},
        };
        for (const auto& [path, words] : rows) {
            Remarks remarks;
            JudgeName(path, remarks);
            JudgeFile(path, Limit - 1, remarks);
            CompareRemarks(remarks, words, path);
        }
    }

    void wholeLists()
    {
        const std::string launcher = "Game\\TessaloomLauncher\\Release\\TessaloomLauncher.exe";
        const std::string game = "Game\\Tessaloom\\Code\\Current\\Release\\Tessaloom.exe";
        Remarks fine;
        JudgeList({"Game", "maps"}, {launcher, game, "maps\\Ä.map"}, Limit - 1, fine);
        CompareRemarks(fine, {}, "fine");
        Remarks bad;
        JudgeFile("2gib.bin", Limit, bad);
        JudgeList({"maps", "Maps"}, {"maps\\Ä.map", "maps\\ä.map"}, Limit, bad);
        CompareRemarks(
            bad, {"2 GiB", "case from Maps", "case from maps\\Ä", "Launcher", "Tessaloom.exe", "together"},
            "bad");
    }

    // "+": listed, "-": left out, "?": left out with a warning.
    void leftOut()
    {
        const char rows[] =
            "-List.txt|-Game\\TessaloomLauncher\\List.txt|+Game\\List.txt|-unins000.exe|+UNINS000.EXE|"
            "-Game\\logs\\engineLog.txt|?webBrowserLog.txt\\page.bin|?unins000.dat.old|"
            "-Game\\TessaloomLauncher\\Release\\LAUNCHER_TEMP_EXE_FOLDER12\\platforms\\x.dll|"
            "?Game\\TessaloomLauncher\\Release\\LAUNCHER_TEMP_EXE_FOLDER\\x.dll|"
            "?Game\\LAUNCHER_TEMP_EXE_FOLDER1\\x.dll";
        for (const QString& row : QString(rows).split('|')) {
            const std::string path = row.mid(1).toStdString();
            Remarks remarks;
            JudgeLeftOut(path, remarks);
            const bool quiet = remarks.warnings.empty();
            const char got = IsLeftOut(path) ? (quiet ? '-' : '?') : (quiet ? '+' : '!');
            QVERIFY2(row[0] == got, qPrintable(row));
        }
    }

    // Written as the publisher asks for it, closing slash and all, the list is what the launcher's own reader
    // takes.
    void listOfATree()
    {
        const TemporaryTree tree;
        QVERIFY(WriteTree(tree.Root(), {{"b.txt", "content"}, {"List.txt", "half a list"}}));
        const std::string large(3000, 'x');
        QVERIFY(
            WriteTree(tree.Path("Game"), {{"a+b/z.dat", large}, {"a.b/deep/50%.map", ""}, {"empty/", ""}}));
        QVERIFY(WriteTree(tree.Path("Game"), {{"logs/engineLog.txt", "log"}}));
        Remarks remarks;
        const std::string list = MakeList(tree.Root() + "/", remarks, [](std::size_t, std::size_t) {});
        QCOMPARE(list, "D#Game\nD#Game\\a+b\nD#Game\\a.b\nD#Game\\a.b\\deep\n" +
                           FileRecord("Game\\a+b\\z.dat", large) +
                           FileRecord("Game\\a.b\\deep\\50%.map", "") + FileRecord("b.txt", "content"));
        CompareRemarks(
            remarks, {"empty: an empty", "logs: holds only files", "Launcher.exe", "Tessaloom.exe"}, "tree");

        QVERIFY(WriteFile(tree.Path("List.txt"), list));
        std::vector<std::string> lines;
        ContentList content;
        ReadListLines(lines, tree.WindowsRoot() + "\\List.txt");
        QVERIFY(ParseFileList(lines, content) && content.directories.size() + content.fileNames.size() == 7);
    }

    // A list that is not whole must not be taken for one.
    void exitCodes()
    {
        const TemporaryTree tree;
        QVERIFY(WriteTree(tree.Root(),
                          {{"good/a.txt", "x"}, {"bad/a#b.txt", "x"}, {"bad/b", "x"}, {"empty/", ""}}));
        QString codes; // and a "+" for a list
        for (const char* folder : {"good", "bad", "absent", "good/a.txt", "empty", "-h"}) {
            QProcess command;
            const QString argument = *folder == '-' ? folder : QString::fromStdString(tree.Path(folder));
            command.start(QCoreApplication::applicationDirPath() + "/../make-list", {argument});
            codes += command.waitForFinished() ? QString::number(command.exitCode()) : "(not run)";
            codes += command.readAllStandardOutput().isEmpty() ? "" : "+";
        }
        QCOMPARE(codes, QString("0+11112"));
    }
};

QTEST_GUILESS_MAIN(MakeListTest)
#include "makelist_test.moc"
