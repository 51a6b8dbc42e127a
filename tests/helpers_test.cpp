// Text, numbers as text, paths, and questions to the disk.
#include <algorithm>
#include <cfloat>
#include <clocale>
#include <cstdint>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include "helpers/files.h"
#include "helpers/numbers.h"
#include "helpers/paths.h"
#include "helpers/text.h"
#include "support/temporarytree.h"
#include "support/testmain.h"

namespace {
QTestData& Row(const char* name, const std::string& result, const char* expected)
{
    return QTest::newRow(name) << QByteArray::fromStdString(result) << QByteArray(expected);
}

void ResultColumns()
{
    QTest::addColumn<QByteArray>("result");
    QTest::addColumn<QByteArray>("expected");
}

void CompareResult()
{
    QFETCH(QByteArray, result);
    QFETCH(QByteArray, expected);
    QCOMPARE(result, expected);
}

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

// What the listing gave, without the directory in front, sorted; "not below" marks an element without it.
QStringList Listed(const std::string& directory, bool recursive)
{
    std::vector<std::string> files = {"kept"};
    ListDirectory(directory, files, recursive);
    QStringList names;
    for (const std::string& file : files) {
        const bool below = file.compare(0, directory.size() + 1, directory + "\\") == 0;
        names += QString::fromStdString(below ? file.substr(directory.size() + 1) : "not below: " + file);
    }
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
        QVERIFY(Contains("ab\\cd", "b\\c") && Contains("x", "") && Contains("", ""));
        QVERIFY(!Contains("", "x") && !Contains("Tool", "tool"));
        QCOMPARE(FindLast("abcabc", "bc"), 4);
        QCOMPARE(FindLast("abc", "abcd"), -1);
        QCOMPARE(FindLast("abc", ""), 3);
        QCOMPARE(LastBackslash("a\\b\\c/d"), 3);
        QCOMPARE(LastBackslash(""), -1);
        QVERIFY(Equals("a", "a") && !Equals("A", "a") && !Equals("a", std::string("a\0", 2)));
        QVERIFY(ListContains({"a", "b"}, "b") && !ListContains({"a", "b"}, "B") && !ListContains({}, ""));
    }

    void text_data()
    {
        ResultColumns();
        Row("replace: the inserted is not searched", Replaced("aa", "a", "aa"), "aaaa");
        Row("replace: left to right", Replaced("aaa", "aa", "b"), "ba");
        Row("replace: by nothing", Replaced("\\dir\\name\\dir", "\\dir", ""), "\\name");
        Row("replace: from a start within a hit", Replaced("ababab", "ab", "x", 1), "abxx");
        Row("replace: none", Replaced("abc", "d", "x"), "abc");
        Row("lower: three letters of Windows-1252", Lowered("AZ\xC5\xC4\xD6"), "az\xE5\xE4\xF6");
        Row("lower: other letters stay", Lowered("\xC9\xDC\xE5[@"), "\xC9\xDC\xE5[@");
        std::string erased = "abc";
        EraseFrom(erased, 3);
        Row("erase: at the end", erased, "abc");
        EraseFrom(erased, 1);
        Row("erase: from the middle", erased, "a");
    }
    void text()
    {
        CompareResult();
    }

    void paths_data()
    {
        ResultColumns();
        Row("one", StripPathComponents("C:\\a\\b\\c", 1), "C:\\a\\b");
        Row("down to the drive", StripPathComponents("C:\\a\\b\\c", 3), "C:");
        Row("both slash kinds", StripPathComponents("C:/a/b\\c", 1), "C:\\a\\b");
        Row("closing separator, one", StripPathComponents("C:\\a\\b\\", 1), "C:\\a\\b");
        Row("closing separator, none", StripPathComponents("C:\\a\\b/", 0), "C:\\a\\b");
        Row("two closing separators, none", StripPathComponents("a\\\\", 0), "a\\");
        Row("negative", StripPathComponents("a/b", -1), "a\\b");
        Row("without a drive", StripPathComponents("\\home\\ada\\Game\\L\\R", 3), "\\home\\ada");
        Row("too many", StripPathComponents("a\\b", 2), "");
        Row("empty", StripPathComponents("", 0), "");
    }
    void paths()
    {
        CompareResult();
    }

    void numbers_data()
    {
        ResultColumns();
        Row("int: smallest", IntText(INT32_MIN), "-2147483648");
        Row("int: 0", IntText(0), "0");
        Row("float: 1.5", FloatText(1.5f), "1.5");
        Row("float: whole", FloatText(100.0f), "100");
        Row("float: 0", FloatText(0.0f), "0");
        Row("float: below six decimals", FloatText(1e-7f), "0");
        Row("float: largest, cut", FloatText(FLT_MAX), "34028234663852885981170418348");
        Row("percent: truncated", PercentText(0.9999), "99");
        Row("percent: whole", PercentText(1.0), "100");
        Row("percent: through float", PercentText(0.29), "29");
        Row("percent: below 1", PercentText(0.004), "0");
        Row("group: 7 digits", GroupDigits("1234567"), "1 234 567");
        Row("group: 6 digits", GroupDigits("123456"), "123 456");
        Row("group: 3 digits", GroupDigits("123"), "123");
        Row("group: none", GroupDigits(""), "");
    }
    void numbers()
    {
        CompareResult();
    }

    void listing()
    {
        const TemporaryTree tree;
        const std::string root = tree.WindowsRoot();
        QVERIFY(WriteTree(tree.Root(), {{"top.txt", "1"},
                                        {".hidden", ""},
                                        {"no extension", "2"},
                                        {"sub/in", "3"},
                                        {"sub/fur/Tür.bin", "4"},
                                        {"sub/fur/second", "5"},
                                        {"empty/", ""}}));
        QCOMPARE(Listed(root, false), QStringList({".hidden", "no extension", "not below: kept", "top.txt"}));
        const QStringList below = {"fur\\Tür.bin", "fur\\second", "in", "not below: kept"};
        QStringList sorted = below;
        sorted.sort();
        QCOMPARE(Listed(root + "/sub", true), sorted);
        QCOMPARE(Listed(root + "\\sub\\", true), sorted); // with a doubled separator each
        for (const char* nothing : {"\\empty", "\\absent", "\\top.txt"})
            QCOMPARE(Listed(root + nothing, true), QStringList("not below: kept"));

        // Depth first: the files of a folder stand together.
        std::vector<std::string> files;
        ListDirectory(root, files, true);
        QCOMPARE(files.size(), std::size_t(6));
        const auto isBelow = [&](const std::string& file) { return file.rfind(root + "\\sub\\", 0) == 0; };
        const auto first = std::find_if(files.begin(), files.end(), isBelow);
        QVERIFY(files.end() - first >= 3 && std::all_of(first, first + 3, isBelow));
    }

    // Whatever the user has set: the whole program starts anew under it.
    void usersLocale_data()
    {
        QTest::addColumn<QString>("locale");
        QTest::addColumn<QByteArray>("function");
        QTest::newRow("decimal comma") << "de_DE.UTF-8" << QByteArray("numbers");
        QTest::newRow("8-bit letters") << "de_DE.ISO-8859-1" << QByteArray("text");
        QTest::newRow("ASCII only") << "C" << QByteArray("listing");
    }
    void usersLocale()
    {
        QFETCH(QString, locale);
        QFETCH(QByteArray, function);
        const bool known = std::setlocale(LC_ALL, qPrintable(locale));
        std::setlocale(LC_ALL, "C");
        FixTextConventions();
        if (!known)
            QSKIP("not on this machine");
        QVERIFY(PassesElsewhere(QCoreApplication::applicationFilePath(), function, "LC_ALL", locale));
    }

    void existence_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<bool>("opens");
        QTest::addColumn<bool>("exists");
        QTest::newRow("file") << "\\sub\\file" << true << true;
        QTest::newRow("forward slashes") << "/sub/file" << true << true;
        QTest::newRow("empty file") << "\\empty" << true << true;
        QTest::newRow("folder") << "\\sub" << false << true;
        QTest::newRow("folder, closing separator") << "\\sub\\" << false << true;
        QTest::newRow("absent") << "\\absent" << false << false;
        QTest::newRow("below a file") << "\\empty\\x" << false << false;
    }
    void existence()
    {
        QFETCH(QString, path);
        const TemporaryTree tree;
        QVERIFY(WriteTree(tree.Root(), {{"sub/file", "1"}, {"empty", ""}}));
        const std::string whole = tree.WindowsRoot() + path.toStdString();
        QTEST(FileExists(whole), "opens");
        QTEST(PathExists(whole), "exists");
    }

    void removal()
    {
        const TemporaryTree tree;
        const std::string root = tree.WindowsRoot();
        QVERIFY(WriteTree(tree.Root(), {{"gone/a/b", "1"}, {"gone/ö/", ""}, {"file", "2"}, {"kept/c", "3"}}));
        // The link goes, what it leads to stays; where links are of another kind, it is one more file.
        QVERIFY(QFile::link(QString::fromStdString(tree.Path("kept")),
                            QString::fromStdString(tree.Path("gone/link"))));
        for (const char* path : {"\\gone", "\\file", "\\absent"})
            RemoveDirectoryTree(root + path);
        const Tree expected = {{"file", "2"}, {"kept/", ""}, {"kept/c", "3"}};
        const Tree left = TreeOf(tree.Root());
        QVERIFY2(left == expected, Readable(left).c_str());
    }
};

LAUNCHER_TEST_MAIN(HelpersTest)
#include "helpers_test.moc"
