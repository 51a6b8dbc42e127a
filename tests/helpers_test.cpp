// Text, numbers as text, paths, and questions to the disk.
#include <cfloat>
#include <clocale>
#include <cstdint>

#include <QFile>

#include "helpers/files.h"
#include "helpers/numbers.h"
#include "helpers/paths.h"
#include "helpers/text.h"
#include "support/temporarytree.h"
#include "support/testmain.h"

namespace {
std::string Replaced(std::string text, const std::string& from, const std::string& to, int start = 0)
{
    ReplaceAll(text, from, to, start);
    return text;
}

std::string Lowered(std::string text)
{
    const std::string copy = ToLower(text);
    return copy == text ? copy : "copy and argument differ";
}

// What the listing gave, sorted, without the directory in front.
QStringList Listed(const std::string& directory, bool recursive)
{
    std::vector<std::string> files = {"kept"};
    ListDirectory(directory, files, recursive);
    QStringList names;
    for (const std::string& file : files)
        names += QString::fromStdString(Replaced(file, directory + "\\", "<"));
    names.sort();
    return names;
}
} // namespace

class HelpersTest : public QObject
{
    Q_OBJECT

private slots:
    void searching()
    {
        QVERIFY(Contains("ab\\cd", "b\\c") && Contains("", "") && !Contains("Tool", "tool"));
        QVERIFY(FindLast("abcabc", "bc") == 4 && FindLast("abc", "abcd") == -1 && FindLast("abc", "") == 3);
        QVERIFY(LastBackslash("a\\b\\c/d") == 3 && LastBackslash("") == -1);
        QVERIFY(Equals("a", "a") && !Equals("A", "a") && !Equals("a", std::string("a\0", 2)));
    }

    void results_data()
    {
        QTest::addColumn<QByteArray>("result");
        QTest::addColumn<QByteArray>("expected");
        const auto row = [](const char* name, const std::string& result, const char* expected) {
            QTest::newRow(name) << QByteArray::fromStdString(result) << QByteArray(expected);
        };
        row("replace: the inserted is not searched", Replaced("aa", "a", "aa"), "aaaa");
        row("replace: left to right", Replaced("aaa", "aa", "b"), "ba");
        row("replace: by nothing", Replaced("\\dir\\name\\dir", "\\dir", ""), "\\name");
        row("replace: from a start within a hit", Replaced("ababab", "ab", "x", 1), "abxx");
        row("lower: three letters of Windows-1252", Lowered("AZ\xC5\xC4\xD6"), "az\xE5\xE4\xF6");
        row("lower: other letters stay", Lowered("\xC9\xDC\xE5[@"), "\xC9\xDC\xE5[@");
        row("strip: down to the drive", StripPathComponents("C:\\a\\b\\c", 3), "C:");
        row("strip: closing separator, one", StripPathComponents("C:\\a\\b\\", 1), "C:\\a\\b");
        row("strip: closing separator, none", StripPathComponents("C:\\a\\b/", 0), "C:\\a\\b");
        row("strip: without a drive", StripPathComponents("\\home\\ada\\Game\\L\\R", 3), "\\home\\ada");
        row("strip: too many", StripPathComponents("a\\b", 2), "");
        row("int: smallest", IntText(INT32_MIN), "-2147483648");
        row("float: whole", FloatText(100.0f), "100");
        row("float: below six decimals", FloatText(1e-7f), "0");
        row("float: largest, cut", FloatText(FLT_MAX), "34028234663852885981170418348");
        row("percent: through float", PercentText(0.29), "29");
        row("group: 7 digits", GroupDigits("1234567"), "1 234 567");
        row("group: 6 digits", GroupDigits("123456"), "123 456");
    }
    void results()
    {
        QFETCH(QByteArray, result);
        QTEST(result, "expected");
    }

    void disk()
    {
        const TemporaryTree tree;
        const std::string root = tree.WindowsRoot();
        QVERIFY(WriteTree(tree.Path("sub"), {{"in", "3"}, {"fur/Tür.bin", "4"}, {"fur/second", "5"}}));
        QVERIFY(WriteTree(tree.Root(), {{".hidden", ""}, {"bare", "2"}, {"empty/", ""}, {"kept/c", "6"}}));
        QCOMPARE(Listed(root, false), QStringList({"<.hidden", "<bare", "kept"}));
        const QStringList below = {"<fur\\Tür.bin", "<fur\\second", "<in", "kept"};
        QCOMPARE(Listed(root + "/sub", true), below);
        QCOMPARE(Listed(root + "\\sub\\", true), below); // with a doubled separator each
        for (const char* nothing : {"\\empty", "\\absent", "\\bare"})
            QCOMPARE(Listed(root + nothing, true), QStringList("kept"));
        // Depth first: the files of a folder stand together.
        std::vector<std::string> files;
        ListDirectory(root, files, true);
        std::string order;
        for (const std::string& file : files)
            order += Contains(file, "\\sub\\") ? 's' : '-';
        QVERIFY2(Contains(order, "sss"), order.c_str());

        std::string found; // a letter each: f(ile), p(ath only), a(bsent)
        for (const char* path : {"\\sub\\in", "/.hidden", "\\sub", "\\sub\\", "\\absent", "\\bare\\x"})
            found += !PathExists(root + path) ? 'a' : FileExists(root + path) ? 'f' : 'p';
        QCOMPARE(found.c_str(), "ffppaa");

        // The link goes, what it leads to stays; where links are of another kind, it is one more file.
        const QString kept = QString::fromStdString(tree.Path("kept"));
        QVERIFY(QFile::link(kept, kept + "/../sub/link"));
        for (const char* path : {"\\sub", "\\.hidden", "\\absent", "\\empty"})
            RemoveDirectoryTree(root + path);
        const Tree left = TreeOf(tree.Root());
        QVERIFY2(left == Tree({{".hidden", ""}, {"bare", "2"}, {"kept/", ""}, {"kept/c", "6"}}),
                 Readable(left).c_str());
    }

    // Whatever the user has set: the whole program starts anew under it. A decimal comma, 8-bit letters,
    // ASCII only.
    void usersLocale()
    {
        const QString self = QCoreApplication::applicationFilePath();
        const std::pair<const char*, const char*> rows[] = {
            {"de_DE.UTF-8", "results"}, {"de_DE.ISO-8859-1", "results"}, {"C", "disk"}};
        for (const auto& [locale, function] : rows) {
            const bool known = std::setlocale(LC_ALL, locale);
            FixTextConventions();
            if (!known)
                qInfo("%s: not on this machine", locale);
            QVERIFY2(!known || PassesElsewhere(self, function, "LC_ALL", locale), locale);
        }
    }
};

LAUNCHER_TEST_MAIN(HelpersTest)
#include "helpers_test.moc"
