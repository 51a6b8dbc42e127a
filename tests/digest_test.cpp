// Every SHA-256 block function against published vectors and Qt, and files through the shared buffer.
#include <algorithm>
#include <random>

#include <QFile>
#include <QtTest>

#include "digest/filedigest.h"
#include "digest/sha256.h"
#include "digest/sha256_blocks.h"
#include "support/temporarytree.h"

namespace {
// In random pieces, some of them empty.
std::string DigestInRandomCuts(const std::string& message)
{
    static std::mt19937 random;
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(message.data());
    Sha256Context context;
    for (std::size_t done = 0, piece; done < message.size(); done += piece) {
        piece = std::min<std::size_t>(random() % 400, message.size() - done);
        context.Append(bytes + done, piece);
    }
    return context.Finish();
}
} // namespace

class DigestTest : public QObject
{
    Q_OBJECT

private slots:
    void everyFunctionDigestsTheSame()
    {
        for (const Sha256Implementation& implementation : Sha256Implementations()) {
            ChosenBlockFunction() = implementation.function;
            // A published digest, should Qt's own ever be wrong too.
            QVERIFY2(DigestInRandomCuts(std::string(1000000, 'a')) ==
                         "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0",
                     implementation.name);
            // A pattern whose period is no power of two: swapped or repeated blocks show.
            std::string message;
            for (int length = 0; length < 1000; ++length) {
                QVERIFY2(DigestInRandomCuts(message) == Sha256Of(message), implementation.name);
                message += static_cast<char>(length % 251);
            }
        }
        ChosenBlockFunction() = FirstProvenBlockFunction(Sha256Implementations());
    }

    // A processor that gets the known blocks wrong must not decide which files are deleted.
    void aWrongFunctionIsNotTrusted()
    {
        const auto wrong = [](std::uint32_t* state, const std::uint8_t* blocks, std::size_t count) {
            Sha256BlocksPlain(state, blocks, count);
            state[7] ^= count > 1 ? 1 : 0; // from the second block on
        };
        QVERIFY(FirstProvenBlockFunction({{"wrong", wrong}}) == Sha256BlocksPlain);
    }

    void filesShareABufferThatGrowsAndIsKept()
    {
        const TemporaryTree tree;
        const Tree files = {{"small", "1\r\n2\r\n"}, {"large", std::string(1000, 'b')}, {"empty", ""}};
        QVERIFY(WriteTree(tree.Root(), files));
        QList<std::int64_t> bufferSizes;
        for (const char* name : {"empty", "small", "large", "small", "empty"}) {
            QCOMPARE(FileSha256(tree.WindowsRoot() + "\\" + name), Sha256Of(files.at(name)));
            bufferSizes += digestBufferSize;
        }
        QCOMPARE(bufferSizes, QList<std::int64_t>({0, 6, 1000, 1000, 1000}));
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
};

QTEST_GUILESS_MAIN(DigestTest)
#include "digest_test.moc"
