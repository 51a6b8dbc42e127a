// Text, numbers as text and folders: the odd rules, which the update cycle does not come across.
#include <cfloat>
#include <cstdint>

#include <QDir>

#include "helpers/files.h"
#include "helpers/numbers.h"
#include "helpers/paths.h"
#include "helpers/text.h"
#include "support/temporarytree.h"
#include "support/testmain.h"

namespace {
std::string Replaced(std::string text, const std::string& from, const std::string& to)
{
    ReplaceAll(text, from, to);
    return text;
}

std::string Lowered(std::string text)
{
    const std::string copy = ToLower(text);
    return copy == text ? copy : "copy and argument differ";
}
} // namespace

class HelpersTest : public QObject
{
    Q_OBJECT

private slots:
    void textsAreFormedAsThePlayerReadsThem()
    {
        QCOMPARE(Replaced("aaa", "a", "aa").c_str(), "aaaaaa"); // what was inserted is not searched
        QCOMPARE(Replaced("aaa", "aa", "b").c_str(), "ba");     // left to right
        QCOMPARE(Lowered("AZ[\xC5\xC4\xD6").c_str(), "az[\xE5\xE4\xF6");
        QCOMPARE(Lowered("\xC9\xDC\xE5").c_str(), "\xC9\xDC\xE5"); // other letters outside ASCII stay
        QCOMPARE(FindLast("abcabc", "bc"), 4);
        QCOMPARE(FindLast("abc", ""), 3);
        QCOMPARE(StripPathComponents("C:/a\\b\\c", 3).c_str(), "C:");
        QCOMPARE(StripPathComponents("C:\\a\\b\\", 1).c_str(), "C:\\a\\b");
        QCOMPARE(StripPathComponents("C:\\a\\b/", 0).c_str(), "C:\\a\\b");
        QCOMPARE(StripPathComponents("a\\b", 2).c_str(), ""); // too few separators
        QCOMPARE(IntText(INT32_MIN).c_str(), "-2147483648");
        QCOMPARE(FloatText(100.0f).c_str(), "100");
        QCOMPARE(FloatText(1.5f).c_str(), "1.5");
        QCOMPARE(FloatText(FLT_MAX).c_str(), "34028234663852885981170418348"); // cut after 29 characters
        QCOMPARE(PercentText(0.9999).c_str(), "99");
        QCOMPARE(GroupDigits("1234567").c_str(), "1 234 567");
        QCOMPARE(GroupDigits("123456").c_str(), "123 456");
    }

    void aRemovedFolderTakesNothingElseAlong()
    {
        const TemporaryTree tree;
        const std::string root = tree.WindowsRoot() + "\\";
        QVERIFY(WriteTree(tree.Root(), {{"größe/in/file", "1"}, {"plain", "2"}, {"kept/file", "3"}}));
        // Where links are of another kind, it is one more file.
        QVERIFY(QFile::link(tree.Path("kept").c_str(), tree.Path("größe/link.lnk").c_str()));
        for (const char* path : {"größe", "plain", "absent"})
            RemoveDirectoryTree(root + path);
        QCOMPARE(Differences(TreeOf(tree.Root()), {{"plain", "2"}, {"kept/", ""}, {"kept/file", "3"}}),
                 QString());
    }

    void aCurrentDirectoryOf260BytesDoesNotFit()
    {
        const TemporaryTree tree;
        const QString start = QDir::currentPath();
        std::string longest = tree.Path(std::string(100, 'a') + "/");
        longest += std::string(MAX_PATH - 1 - longest.size(), 'b');
        for (const std::string& folder : {longest, longest + "b"}) {
            QVERIFY(QDir().mkpath(folder.c_str()) && QDir::setCurrent(folder.c_str()));
            const std::string fits = folder.size() < MAX_PATH ? Replaced(folder, "/", "\\") : "";
            QCOMPARE(CurrentDirectory().c_str(), fits.c_str());
        }
        QDir::setCurrent(start);
    }
};

QTEST_GUILESS_MAIN(HelpersTest)
#include "helpers_test.moc"
