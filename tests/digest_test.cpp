// Every SHA-256 block function against Qt's, and files through the shared buffer.
#include <algorithm>

#include "digest/filedigest.h"
#include "digest/readahead.h"
#include "digest/sha256.h"
#include "digest/sha256_blocks.h"
#include "support/testmain.h"

class DigestTest : public QObject
{
    Q_OBJECT

    const std::vector<Sha256Implementation> implementations = Sha256Implementations();

private slots:
    void theFastestFunctionIsChosen()
    {
        QVERIFY(ChosenBlockFunction() == implementations.front().function);
        const std::string processor = ReadFile("/proc/cpuinfo"); // Wine sees it too
        const auto has = [&](const char* feature) { return processor.find(feature) != std::string::npos; };
        QCOMPARE(implementations.front().name, has(" sha_ni ")                  ? "shani"
                                               : has(" avx2 ") && has(" bmi2 ") ? "avx2"
                                                                                : "plain");
    }

    void cleanup()
    {
        ChosenBlockFunction() = FirstProvenBlockFunction(implementations);
    }

    ROWS(everyFunctionDigestsTheSame, implementations)
    void everyFunctionDigestsTheSame()
    {
        const Sha256Implementation& row = CurrentRow(implementations);
        QVERIFY(FirstProvenBlockFunction({row}) == row.function);
        ChosenBlockFunction() = row.function;
        std::string message;
        for (std::size_t length = 0; length < 1000; ++length) {
            const auto* const bytes = reinterpret_cast<const std::uint8_t*>(message.data());
            Sha256Context context;
            std::size_t piece = 0; // bytes, at first none and then more and more of what is left
            for (std::size_t done = 0; done < length; done += piece, piece = 2 * piece + 1) {
                piece = std::min(piece, length - done);
                context.Append(bytes + done, piece);
            }
            QCOMPARE(context.Finish(), Sha256Of(message));
            // A pattern whose period is no power of two: swapped or repeated blocks show.
            message += static_cast<char>(length % 251);
        }
    }

    void aFileHasItsDigestWhateverWasReadBefore()
    {
        const TemporaryTree tree;
        const Tree files = {{"small", "1\r\n2\r\n"}, {"large", std::string(1000, 'b')}, {"empty", ""}};
        QVERIFY(WriteTree(tree.Root(), files));
        for (const char* name : {"empty", "small", "large", "small", "empty"})
            QCOMPARE(FileSha256(tree.WindowsRoot() + "\\" + name), Sha256Of(files.at(name)));
        QCOMPARE(digestBufferSize, std::int64_t(1000)); // for the largest one
        // The last of these holds fewer bytes than its length says.
        for (const char* unreadable : {"\\absent", "\\proc", "\\sys\\kernel\\mm\\ksm\\run"})
            QCOMPARE(FileSha256(unreadable).c_str(), "");
    }

    void aFileOfMoreThanFourGigabytesIsDigestedInPieces()
    {
        // Ends in a hole, which takes no space on the disk. The pieces before it differ from each other.
        const TemporaryTree tree;
        std::string start;
        for (int i = 0; i < 3 * 1024 * 1024; ++i)
            start += static_cast<char>(i % 251);
        QVERIFY(WriteFile(tree.Path("huge"), start));
        QVERIFY(QFile::resize(tree.Path("huge").c_str(), (std::int64_t{1} << 32) + 1));
        // Taken with another program.
        QCOMPARE(FileSha256(tree.WindowsRoot() + "\\huge").c_str(),
                 "ec527a295f511b2d414490990dbc74a082d830e24d2eeb088cbc93f08e65e1f6");
        QVERIFY(digestBufferSize < 1 << 30);
    }

    // Large files alone are hinted, and of one that is too large for the window only its start.
    void thirtyTwoMegabytesAreReadAhead()
    {
        const std::int32_t MB = 1024 * 1024;
        const std::vector<std::int32_t> sizes = {MB - 1, MB, 30 * MB, MB - 1, MB, MB, -1, MB};
        const std::vector<std::string> absent(sizes.size(), "\\absent");
        ReadAheadWindow window;
        QStringList reached; // file and MB
        for (std::size_t current = 0; current < sizes.size(); ++current) {
            ReadAhead("", absent, sizes, current, window);
            reached += QString("%1: %2").arg(window.next).arg(window.bytes / MB);
        }
        COMPARE_ALL(reached,
                    QStringList({"5: 32", "6: 32", "6: 2", "6: 2", "6: 1", "7: 32", "8: 1", "8: 0"}));
    }
};

QTEST_GUILESS_MAIN(DigestTest)
#include "digest_test.moc"
