// The SHA-256 roads against each other and the standard, and files through the shared buffer.
#include "digest/filedigest.h"
#include "digest/sha256.h"
#include "digest/sha256_blocks.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <random>

#include <QCryptographicHash>
#include <QtTest>

#include "support/temporarytree.h"

namespace {
const char* const EmptyDigest = "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855";

// No power of two, so swapped or repeated blocks show.
std::string Pattern(std::size_t length)
{
    std::string bytes(length, '\0');
    for (std::size_t i = 0; i < length; ++i)
        bytes[i] = static_cast<char>(i % 251);
    return bytes;
}

const std::uint8_t* Bytes(const std::string& text)
{
    return reinterpret_cast<const std::uint8_t*>(text.data());
}

std::string SecondOpinion(const std::string& message)
{
    const QByteArray bytes = QByteArray::fromRawData(message.data(), static_cast<int>(message.size()));
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex().toStdString();
}

// Whole, or in random pieces, some of them empty.
std::string ContextDigest(const std::string& message, std::mt19937* cuts)
{
    Sha256Context context;
    std::size_t done = 0;
    while (cuts != nullptr && done < message.size()) {
        const std::size_t piece = std::min<std::size_t>((*cuts)() % 150, message.size() - done);
        context.Append(Bytes(message) + done, piece);
        done += piece;
    }
    context.Append(Bytes(message) + done, message.size() - done);
    return context.Finish();
}

// With a padding of its own, from an odd address, in one call or in random numbers of blocks.
std::string BlockDigest(Sha256BlockFunction feedBlocks, const std::string& message, std::mt19937* cuts)
{
    std::string padded = "x" + message + '\x80';
    while (padded.size() % 64 != 57)
        padded += '\0';
    for (int shift = 56; shift >= 0; shift -= 8)
        padded += static_cast<char>(std::uint64_t{message.size()} * 8 >> shift);

    std::array<std::uint32_t, 8> state = Sha256Context::InitialState;
    const std::size_t blocks = padded.size() / 64;
    for (std::size_t done = 0; done < blocks;) {
        const std::size_t count =
            cuts != nullptr ? std::min<std::size_t>((*cuts)() % 4, blocks - done) : blocks;
        feedBlocks(state.data(), Bytes(padded) + 1 + 64 * done, count);
        done += count;
    }
    QString text;
    for (const std::uint32_t word : state)
        text += QString::asprintf("%08x", word);
    return text.toStdString();
}

void WrongBlocks(std::uint32_t* state, const std::uint8_t* blocks, std::size_t count)
{
    Sha256BlocksPlain(state, blocks, count);
    state[7] ^= 1;
}
} // namespace

class DigestTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        ReleaseDigestBuffer();
    }

    void vectors_data()
    {
        QTest::addColumn<int>("road");
        QTest::addColumn<QByteArray>("message");
        QTest::addColumn<QByteArray>("digest");

        std::vector<std::pair<QByteArray, QByteArray>> cases = {
            {"", EmptyDigest},
            {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
            {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
             "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
            {"abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmnhijklmnoijklmnopjklmnopqklmnopqrlmnopqr"
             "smnopqrs"
             "tnopqrstu",
             "cf5b16a778af8380036ce59e7b0492370b249b11e8f07a51afac45037afee9d1"},
            {QByteArray(1000000, 'a'), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"}};
        for (const int length : {1, 55, 56, 57, 63, 64, 65, 119, 120, 127, 128, 129, 1000, 4096, 100003}) {
            const std::string message = Pattern(static_cast<std::size_t>(length));
            cases.emplace_back(QByteArray::fromStdString(message),
                               QByteArray::fromStdString(SecondOpinion(message)));
        }
        const char* const roads[] = {"context", "plain", "SHA instructions"};
        for (int road = 0; road < 3; ++road) {
            for (const auto& [message, digest] : cases)
                QTest::addRow("%s, %d bytes, %.8s", roads[road], message.size(), digest.data())
                    << road << message << digest;
        }
    }
    void vectors()
    {
        QFETCH(int, road);
        QFETCH(QByteArray, message);
        QFETCH(QByteArray, digest);
        if (road == 2 && !ProcessorHasShaInstructions())
            QSKIP("this processor has no SHA instructions");

        std::mt19937 random(static_cast<unsigned int>(message.size()));
        for (std::mt19937* cuts : {static_cast<std::mt19937*>(nullptr), &random, &random}) {
            const std::string bytes = message.toStdString();
            const std::string result =
                road == 0 ? ContextDigest(bytes, cuts)
                          : BlockDigest(road == 1 ? Sha256BlocksPlain : ShaInstructionsBlockFunction(), bytes,
                                        cuts);
            QCOMPARE(result.c_str(), digest.constData());
        }
    }

    void randomMessages()
    {
        std::mt19937 random(4711);
        for (int i = 0; i < 300; ++i) {
            std::string message(random() % 2000, '\0');
            std::generate(message.begin(), message.end(), [&] { return static_cast<char>(random()); });
            const std::string expected = SecondOpinion(message);
            QCOMPARE(ContextDigest(message, &random), expected);
            QCOMPARE(BlockDigest(Sha256BlocksPlain, message, &random), expected);
        }
    }

    // A processor that gets the known block wrong must not decide which files are deleted.
    void wrongFunctionIsNotTrusted()
    {
        QVERIFY(ProvenBlockFunction(WrongBlocks) == Sha256BlocksPlain);
        QVERIFY(ProvenBlockFunction(nullptr) == Sha256BlocksPlain);
        if (ProcessorHasShaInstructions())
            QVERIFY(FastestBlockFunction() == ShaInstructionsBlockFunction());
    }

    void finishLeavesTheContextAsItWas()
    {
        const std::string message = Pattern(200);
        Sha256Context context;
        for (std::size_t done = 0; done < message.size(); ++done) {
            const std::string before = context.Finish();
            QCOMPARE(before, SecondOpinion(message.substr(0, done)));
            QCOMPARE(context.Finish(), before);
            QCOMPARE(context.processedBytes, std::uint64_t{done / 64 * 64});
            QCOMPARE(context.bufferedBytes, std::uint64_t{done % 64});
            context.Append(Bytes(message) + done, 1);
        }
        context.Reset();
        context.Append(nullptr, 0);
        QCOMPARE(context.Finish().c_str(), EmptyDigest);
    }

    void filesShareOneBuffer()
    {
        TemporaryTree tree;
        const std::string a(100, 'a');
        const std::string b = Pattern(1000);
        QVERIFY(WriteTree(tree.Root(),
                          {{"a", a}, {"b", b}, {"empty", ""}, {"folder/", ""}, {"lines", "1\r\n2\r\n"}}));
        const std::string root = tree.WindowsRoot();

        QCOMPARE(FileSha256(root + "\\empty").c_str(), EmptyDigest);
        QVERIFY(digestBuffer == nullptr);
        for (const auto& [name, content, buffer] :
             std::vector<std::tuple<std::string, std::string, std::int64_t>>{{"a", a, 100},
                                                                             {"b", b, 1000},
                                                                             {"a", a, 1000},
                                                                             {"empty", "", 1000},
                                                                             {"lines", "1\r\n2\r\n", 1000}}) {
            const std::uint8_t* const before = digestBuffer;
            const bool grows = digestBufferSize < buffer;
            QCOMPARE(FileSha256(root + "\\" + name), SecondOpinion(content));
            QCOMPARE(digestBufferSize, buffer);
            QVERIFY(grows || digestBuffer == before);
        }

        const std::uint8_t* const before = digestBuffer;
        for (const char* name : {"\\absent", "\\folder", "\\folder\\", ""}) {
            std::int64_t size = 0;
            QVERIFY(ReadWholeFile(root + name, size) == before);
            QCOMPARE(size, std::int64_t{-1});
            QCOMPARE(FileSha256(root + name), std::string());
        }
        QCOMPARE(digestBufferSize, std::int64_t{1000});

        std::int64_t size = 0;
        const std::uint8_t* const bytes = ReadWholeFile(root + "/a", size);
        QCOMPARE(std::string(bytes, bytes + size), a);
        ReleaseDigestBuffer();
        QVERIFY(digestBuffer == nullptr && digestBufferSize == 0);
    }

    void fileOf4GiBGoesInPieces()
    {
        TemporaryTree tree;
        const std::string path = tree.Path("large");
        QVERIFY(WriteFile(path, ""));
        std::error_code error;
        std::filesystem::resize_file(std::filesystem::u8path(path), (std::uintmax_t{1} << 32) + 5,
                                     error); // a hole, no disk space
        if (error)
            QSKIP("the disk takes no file of 4 GiB");

        std::int64_t size = 0;
        ReadWholeFile(tree.WindowsRoot() + "\\large", size);
        QCOMPARE(size, std::int64_t{-1});
        QVERIFY(digestBuffer == nullptr);
        QCOMPARE(FileSha256(tree.WindowsRoot() + "\\large").c_str(),
                 "709fc0b74f7c916cedccb212d681c035f36ffbb31ebfe806eb40c31592744eb5");
        QVERIFY(digestBufferSize > 0 && digestBufferSize < (std::int64_t{1} << 28));
    }
};

QTEST_GUILESS_MAIN(DigestTest)
#include "digest_test.moc"
