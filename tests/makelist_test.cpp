// The publisher's list maker: what it says about a path, and the whole list of a real tree.
#include <algorithm>
#include <set>

#include <QCryptographicHash>
#include <QtTest>

#include "mainwindow/filelist.h"
#include "makelist/makelist.h"
#include "platform/platform.h"
#include "support/temporarytree.h"

namespace {
QString Joined(const std::vector<std::string>& remarks)
{
    QStringList lines;
    for (const std::string& remark : remarks)
        lines << QString::fromUtf8(remark.c_str());
    return lines.join(QLatin1Char('\n'));
}

std::string FileRecord(const std::string& path, const std::string& content)
{
    const QByteArray digest =
        QCryptographicHash::hash(QByteArray::fromStdString(content), QCryptographicHash::Sha256).toHex();
    return "F#" + path + "#" + std::to_string(content.size()) + "#" + digest.toStdString() + "\n";
}

std::string ListOf(const std::string& tree, Remarks& remarks)
{
    return MakeList(tree, remarks, [](std::size_t, std::size_t) {});
}
} // namespace

class MakeListTest : public QObject
{
    Q_OBJECT

private slots:
    void Remarks_data();
    void Remarks();
    void RemarksOnTheWhole();
    void LeftOut_data();
    void LeftOut();
    void ListOfATree();
    void UnusableTree();
};

// A word of each error and warning, in order; nothing else may be said.
void MakeListTest::Remarks_data()
{
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<qint64>("size");
    QTest::addColumn<QStringList>("errors");
    QTest::addColumn<QStringList>("warnings");
    const QStringList none;

    const auto fine = [&](const char* path, qint64 size = 1) {
        QTest::newRow(path) << QByteArray(path) << size << none << none;
    };
    fine("Game\\a b+c (1).map");
    fine("100% wool\\50%.txt");
    fine("100% wool\\%41.txt"); // one loose percent sign, and Qt escapes them all
    fine("Game\\list.txt");
    fine("console.txt");
    fine("com10.txt");
    fine("largest.bin", (qint64(1) << 31) - 1);

    const auto warned = [&](const char* path, const QStringList& warnings, qint64 size = 1) {
        QTest::newRow(path) << QByteArray(path) << size << none << warnings;
    };
    warned("2gib.bin", {"2 GiB"}, qint64(1) << 31);
    warned("Game\\data", {"no dot"});
    warned("MyList.txt.bak", {"never fetched"});
    warned("50%25.txt", {"address"});
    warned("what?.txt", {"hold", "address"});
    warned("a|b.txt", {"hold"});
    warned("name.", {"end of a name"});
    warned("a.b ", {"end of a name"});
    warned(
        "Stra\xC3\x9F"
        "e.map",
        {"1903"});

    const auto refused = [&](const char* path, const QStringList& errors, const QStringList& warnings = {}) {
        QTest::newRow(path) << QByteArray(path) << qint64(1) << errors << warnings;
    };
    refused("a#b.txt", {"separates"});
    refused("a\nb.txt", {"line end"});
    refused("a\rb.txt", {"line end"});
    refused("bytes\xE4.txt", {"UTF-8"});
    refused("c:d.txt", {"whole list"});
    refused("Game\\nul.txt", {"whole list"});
    refused("Game\\COM1", {"whole list"}, {"no dot"});
    refused(".. .", {"whole list"});
}

void MakeListTest::Remarks()
{
    QFETCH(QByteArray, path);
    QFETCH(qint64, size);
    QFETCH(QStringList, errors);
    QFETCH(QStringList, warnings);

    ::Remarks remarks;
    JudgeName(path.toStdString(), remarks);
    JudgeFile(path.toStdString(), size, remarks);
    const auto matches = [](const std::vector<std::string>& got, const QStringList& words) {
        return static_cast<int>(got.size()) == words.size() &&
               std::equal(got.begin(), got.end(), words.begin(),
                          [](const std::string& line, const QString& word) {
                              return Joined({line}).contains(word) && line.find('\n') == std::string::npos;
                          });
    };
    QVERIFY2(matches(remarks.errors, errors), qPrintable(Joined(remarks.errors)));
    QVERIFY2(matches(remarks.warnings, warnings), qPrintable(Joined(remarks.warnings)));
}

// What a list as a whole is told, and a word of the remark that it must not carry.
void MakeListTest::RemarksOnTheWhole()
{
    const std::string launcher = "Game\\TessaloomLauncher\\Release\\TessaloomLauncher.exe";
    const std::string game = "Game\\Tessaloom\\Code\\Current\\Release\\Tessaloom.exe";
    const std::int64_t limit = std::int64_t(1) << 31;

    ::Remarks fine;
    JudgeList({"Game", "maps"}, {launcher, game, "maps\\\xC3\x84.map"}, limit - 1, fine);
    QCOMPARE(Joined(fine.errors) + Joined(fine.warnings), QString());

    ::Remarks bad;
    JudgeList({"maps", "Maps"}, {"maps\\\xC3\x84.map", "maps\\\xC3\xA4.map"}, limit, bad);
    QCOMPARE(Joined(bad.errors), QString());
    QCOMPARE(static_cast<int>(bad.warnings.size()), 5);
    for (const char* word : {"case from Maps", "case from maps\\\xC3\x84", "Launcher.exe: not",
                             "Tessaloom.exe: not", "All files together"})
        QVERIFY2(Joined(bad.warnings).contains(QString::fromUtf8(word)), word);

    ::Remarks empty;
    JudgeList({}, {}, 0, empty);
    QVERIFY(Joined(empty.errors).contains("nothing to publish"));
}

void MakeListTest::LeftOut_data()
{
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<bool>("leftOut");
    QTest::addColumn<bool>("warned");
    const auto row = [](const char* path, bool leftOut, bool warned) {
        QTest::newRow(path) << QByteArray(path) << leftOut << warned;
    };
    row("List.txt", true, false);
    row("Game\\TessaloomLauncher\\List.txt", true, false);
    row("Game\\List.txt", false, false);
    row("unins000.exe", true, false);
    row("Game\\logs\\engineLog.txt", true, false);
    row("webBrowserLog.txt\\page.bin", true, true);
    row("unins000.dat.old", true, true);
    row("UNINS000.EXE", false, false);
    row("Game\\TessaloomLauncher\\Release\\LAUNCHER_TEMP_EXE_FOLDER12\\platforms\\x.dll", true, false);
    row("Game\\TessaloomLauncher\\Release\\LAUNCHER_TEMP_EXE_FOLDER\\x.dll", true, true);
    row("Game\\LAUNCHER_TEMP_EXE_FOLDER1\\x.dll", true, true);
}

void MakeListTest::LeftOut()
{
    QFETCH(QByteArray, path);
    ::Remarks remarks;
    JudgeLeftOut(path.toStdString(), remarks);
    QTEST(IsLeftOut(path.toStdString()), "leftOut");
    QTEST(!remarks.warnings.empty(), "warned");
}

// Written as the publisher asks for it, closing slash and all, the list is what the launcher's own reader
// takes.
void MakeListTest::ListOfATree()
{
    const TemporaryTree folder;
    QVERIFY(WriteTree(folder.Root(), {{"b.txt", "content"},
                                      {"Game/a+b/z.dat", std::string(3000, 'x')},
                                      {"Game/a.b/deep/er/50%.map", ""},
                                      {"Game/empty/", ""},
                                      {"Game/logs/engineLog.txt", "log"},
                                      {"List.txt", "half a list"}}));
    ::Remarks remarks;
    const std::string list = ListOf(folder.Root() + "/", remarks);
    QCOMPARE(list, "D#Game\nD#Game\\a+b\nD#Game\\a.b\nD#Game\\a.b\\deep\nD#Game\\a.b\\deep\\er\n" +
                       FileRecord("Game\\a+b\\z.dat", std::string(3000, 'x')) +
                       FileRecord("Game\\a.b\\deep\\er\\50%.map", "") + FileRecord("b.txt", "content"));
    QCOMPARE(Joined(remarks.errors), QString());
    QVERIFY(Joined(remarks.warnings).contains("Game\\empty: an empty directory"));
    QVERIFY(Joined(remarks.warnings).contains("Game\\logs: holds only files that are left out"));

    QVERIFY(WriteFile(folder.Path("List.txt"), list));
    std::vector<std::string> lines;
    ContentList content;
    ReadListLines(lines, folder.WindowsRoot() + "\\List.txt");
    QVERIFY(ParseFileList(lines, content));
    QCOMPARE(static_cast<int>(content.directories.size() + content.fileNames.size()), 8);
}

void MakeListTest::UnusableTree()
{
    const TemporaryTree folder;
    QVERIFY(WriteTree(folder.Root(), {{"plain.txt", "x"}, {"empty/", ""}}));
    for (const char* tree : {"absent", "plain.txt", "empty"}) {
        ::Remarks remarks;
        ListOf(folder.Path(tree), remarks);
        QVERIFY2(!remarks.errors.empty(), tree);
    }
}

QTEST_GUILESS_MAIN(MakeListTest)

#include "makelist_test.moc"
