// The calls of the platform layer, compared with what the Windows calls promise, so that the same rows hold
// on both systems. Only what neither the update cycle nor the end-to-end test would notice.
#include "platform/platform.h"
#include "support/temporarytree.h"
#include "support/testmain.h"

class PlatformTest : public QObject
{
    Q_OBJECT

private slots:
    void aCopyIsCompleteOrIsNotMade()
    {
        const TemporaryTree tree;
        Tree files = {{"long", "long content"}, {"short", "x"}, {"in/", ""}};
        files["large"] = std::string(2500000, 'x'); // bytes, more than a copy has in hand at once
        QVERIFY(WriteTree(tree.Root(), files));
        const std::string root = tree.WindowsRoot() + "\\";
        const auto copies = [&](const char* from, const char* to) {
            return CopyFileA((root + from).c_str(), (root + to).c_str(), FALSE) != 0;
        };
        QVERIFY(copies("large", "in\\nöw") && copies("short", "long"));
        QVERIFY(!copies("long", "in\\..\\long")); // the file itself, which must not be emptied
        QVERIFY(!copies("long", "in") && !copies("in", "new"));
        QVERIFY(!CopyFileA("\\proc\\self\\mem", (root + "half").c_str(), FALSE)); // opens, but can't be read
        files["in/nöw"] = files["large"];
        files["long"] = "x";
        COMPARE_ALL(TreeOf(tree.Root()), files);
    }
};

QTEST_GUILESS_MAIN(PlatformTest)
#include "platform_test.moc"
