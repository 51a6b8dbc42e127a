// The publisher's list maker: what it says about a path, the whole list of a real tree, and the command's
// exit codes.
#include <QCryptographicHash>
#include <QProcess>
#include <QtTest>

#include "mainwindow/filelist.h"
#include "makelist/makelist.h"
#include "platform/platform.h"
#include "support/temporarytree.h"

namespace {
constexpr std::int64_t Limit = std::int64_t(1) << 31;

// Errors with a "!" in front, then warnings; nothing else may be said. `words` holds a word of each, in their
// order.
void CompareRemarks(const Remarks& remarks, const QStringList& words)
{
    QStringList said;
    for (const std::string& error : remarks.errors)
        said += "!" + QString::fromUtf8(error.c_str());
    for (const std::string& warning : remarks.warnings)
        said += QString::fromUtf8(warning.c_str());
    bool matches = said.size() == words.size();
    for (int i = 0; matches && i < said.size(); ++i)
        matches =
            said[i].contains(QString(words[i]).remove('!')) && said[i][0] == '!' == (words[i][0] == '!');
    QVERIFY2(matches && !said.join("").contains('\n'), qPrintable(said.join('|')));
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
    void names_data()
    {
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<QStringList>("words");
        const auto row = [](const char* path, const QStringList& words) {
            QTest::newRow(path) << QByteArray(path) << words;
        };
        row("Game\\a b+c (1).map", {});
        row("100% wool\\%41.txt", {}); // one loose percent sign, and Qt escapes them all
        row("Game\\list.txt", {});
        row("com10.txt", {});
        row("Game\\data", {"no dot"});
        row("MyList.txt.bak", {"never fetched"});
        row("50%25.txt", {"address"});
        row("what?.txt", {"hold", "address"});
        row("name.", {"end of a name"});
        row("a.b ", {"end of a name"});
        row("Straße.map", {"1903"});
        row("a#b.txt", {"!separates"});
        row("a\nb.txt", {"!line end"});
        row("a\rb.txt", {"!line end"});
        row("bytes\xE4.txt", {"!UTF-8"});
        row("c:d.txt", {"!whole list"});
        row("Game\\nul.txt", {"!whole list"});
        row("Game\\COM1", {"!whole list", "no dot"});
        row(".. .", {"!whole list"});
    }
    void names()
    {
        QFETCH(QByteArray, path);
        QFETCH(QStringList, words);
        Remarks remarks;
        JudgeName(path.toStdString(), remarks);
        JudgeFile(path.toStdString(), Limit - 1, remarks);
        CompareRemarks(remarks, words);
    }

    void wholeLists()
    {
        Remarks fine;
        JudgeList({"Game", "maps"},
                  {"Game\\TessaloomLauncher\\Release\\TessaloomLauncher.exe",
                   "Game\\Tessaloom\\Code\\Current\\Release\\Tessaloom.exe", "maps\\Ä.map"},
                  Limit - 1, fine);
        CompareRemarks(fine, {});
        Remarks bad;
        JudgeFile("2gib.bin", Limit, bad);
        JudgeList({"maps", "Maps"}, {"maps\\Ä.map", "maps\\ä.map"}, Limit, bad);
        CompareRemarks(bad, {"2 GiB", "case from Maps", "case from maps\\Ä", "Launcher.exe: not",
                             "Tessaloom.exe: not", "All files together"});
    }

    // "+" listed, "-" left out, "?" left out with a warning.
    void leftOut()
    {
        for (const char* row :
             {"-List.txt", "-Game\\TessaloomLauncher\\List.txt", "+Game\\List.txt", "-unins000.exe",
              "-Game\\logs\\engineLog.txt", "?webBrowserLog.txt\\page.bin", "?unins000.dat.old",
              "+UNINS000.EXE", "?Game\\LAUNCHER_TEMP_EXE_FOLDER1\\x.dll",
              "-Game\\TessaloomLauncher\\Release\\LAUNCHER_TEMP_EXE_FOLDER12\\platforms\\x.dll",
              "?Game\\TessaloomLauncher\\Release\\LAUNCHER_TEMP_EXE_FOLDER\\x.dll"}) {
            Remarks remarks;
            JudgeLeftOut(row + 1, remarks);
            const bool quiet = remarks.warnings.empty();
            QVERIFY2(row[0] == (IsLeftOut(row + 1) ? quiet ? '-' : '?' : quiet ? '+' : '!'), row);
        }
    }

    // Written as the publisher asks for it, closing slash and all, the list is what the launcher's own reader
    // takes.
    void listOfATree()
    {
        const TemporaryTree tree;
        QVERIFY(WriteTree(tree.Root(), {{"b.txt", "content"}, {"List.txt", "half a list"}}));
        QVERIFY(WriteTree(tree.Path("Game"), {{"a+b/z.dat", std::string(3000, 'x')},
                                              {"a.b/deep/er/50%.map", ""},
                                              {"empty/", ""},
                                              {"logs/engineLog.txt", "log"}}));
        Remarks remarks;
        const std::string list = MakeList(tree.Root() + "/", remarks, [](std::size_t, std::size_t) {});
        QCOMPARE(list, "D#Game\nD#Game\\a+b\nD#Game\\a.b\nD#Game\\a.b\\deep\nD#Game\\a.b\\deep\\er\n" +
                           FileRecord("Game\\a+b\\z.dat", std::string(3000, 'x')) +
                           FileRecord("Game\\a.b\\deep\\er\\50%.map", "") + FileRecord("b.txt", "content"));
        CompareRemarks(remarks,
                       {"Game\\empty: an empty directory", "Game\\logs: holds only files that are left out",
                        "Launcher.exe: not", "Tessaloom.exe: not"});

        QVERIFY(WriteFile(tree.Path("List.txt"), list));
        std::vector<std::string> lines;
        ContentList content;
        ReadListLines(lines, tree.WindowsRoot() + "\\List.txt");
        QVERIFY(ParseFileList(lines, content) && content.directories.size() + content.fileNames.size() == 8);
    }

    // A list that is not whole must not be taken for one.
    void exitCodes()
    {
        const TemporaryTree tree;
        QVERIFY(WriteTree(tree.Root(),
                          {{"good/a.txt", "x"}, {"bad/nul.txt", "x"}, {"bad/a.txt", "x"}, {"empty/", ""}}));
        QString codes; // and a "+" for a list
        for (const char* folder : {"good", "bad", "absent", "good/a.txt", "empty"}) {
            QProcess command;
            command.start(QCoreApplication::applicationDirPath() + "/../make-list",
                          {QString::fromStdString(tree.Path(folder))});
            command.waitForFinished();
            codes +=
                QString::number(command.exitCode()) + (command.readAllStandardOutput().isEmpty() ? "" : "+");
        }
        QCOMPARE(codes, QString("0+1111"));
        QCOMPARE(QProcess::execute(QCoreApplication::applicationDirPath() + "/../make-list", {"-h"}), 2);
    }
};

QTEST_GUILESS_MAIN(MakeListTest)
#include "makelist_test.moc"
