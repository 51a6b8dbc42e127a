// The SHA-256 roads against each other and the standard, and files through the shared buffer.
#include <algorithm>
#include <filesystem>
#include <functional>
#include <random>

#include <QCryptographicHash>
#include <QtTest>

#include "digest/filedigest.h"
#include "digest/sha256.h"
#include "digest/sha256_blocks.h"
#include "support/temporarytree.h"

namespace {
const std::uint8_t* Bytes(const std::string& text)
{
    return reinterpret_cast<const std::uint8_t*>(text.data());
}

std::string SecondOpinion(const std::string& message)
{
    const QByteArray bytes = QByteArray::fromStdString(message);
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex().toStdString();
}

// Calls `feed` with a place and a length for each piece of `size`, up to `largest` long and some of them
// empty.
void Cut(std::size_t size, std::size_t largest, const std::function<void(std::size_t, std::size_t)>& feed)
{
    static std::mt19937 random;
    for (std::size_t done = 0, piece; done < size; done += piece) {
        piece = std::min<std::size_t>(random() % (largest + 1), size - done);
        feed(done, piece);
    }
}

std::string ContextDigest(const std::string& message)
{
    Sha256Context context;
    context.Append(nullptr, 0);
    Cut(message.size(), 150,
        [&](std::size_t at, std::size_t piece) { context.Append(Bytes(message) + at, piece); });
    const std::string digest = context.Finish();
    return context.Finish() == digest ? digest : "Finish() changes the context";
}

// With a padding of its own, from an odd address.
std::string BlockDigest(Sha256BlockFunction feedBlocks, const std::string& message)
{
    std::string padded = "x" + message + '\x80';
    while (padded.size() % 64 != 57)
        padded += '\0';
    for (int shift = 56; shift >= 0; shift -= 8)
        padded += static_cast<char>(std::uint64_t{message.size()} * 8 >> shift);
    std::array<std::uint32_t, 8> state = Sha256Context::InitialState;
    Cut(padded.size() / 64, 3, [&](std::size_t at, std::size_t piece) {
        feedBlocks(state.data(), Bytes(padded) + 1 + 64 * at, piece);
    });
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
    void cleanup()
    {
        ReleaseDigestBuffer();
        QVERIFY(digestBuffer == nullptr && digestBufferSize == 0);
    }

    void roads()
    {
        std::vector<std::string> messages = {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
                                             std::string(1000000, 'a'), "abc", ""};
        std::string digests;
        for (const std::string& message : messages)
            digests += ContextDigest(message) + "\n";
        QCOMPARE(digests.c_str(),
                 "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1\n"
                 "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0\n"
                 "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad\n"
                 "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855\n");
        // No power of two, so swapped or repeated blocks show.
        for (int length = 0; length < 1000; ++length)
            messages.push_back(messages.back() + static_cast<char>(length % 251));
        for (const std::string& message : messages) {
            const std::string expected = SecondOpinion(message);
            QCOMPARE(ContextDigest(message), expected);
            QCOMPARE(BlockDigest(Sha256BlocksPlain, message), expected);
            if (ProcessorHasShaInstructions())
                QCOMPARE(BlockDigest(ShaInstructionsBlockFunction(), message), expected);
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

    void filesShareOneBuffer()
    {
        const TemporaryTree tree;
        const Tree files = {
            {"a", "1\r\n2\r\n"}, {"b", std::string(1000, 'b')}, {"c", ""}, {"d", "dd"}, {"folder/", ""}};
        QVERIFY(WriteTree(tree.Root(), files));
        const std::string root = tree.WindowsRoot() + "\\";
        const std::uint8_t* buffer = nullptr;
        for (const auto& [name, size] :
             {std::pair("c", 0), {"a", 6}, {"b", 1000}, {"c", 1000}, {"d", 1000}}) {
            QCOMPARE(FileSha256(root + name), SecondOpinion(files.at(name)));
            QCOMPARE(digestBufferSize, std::int64_t{size});
            QVERIFY(*name < 'c' || digestBuffer == buffer);
            buffer = digestBuffer;
        }
        std::int64_t size = 0;
        const std::uint8_t* const bytes = ReadWholeFile(root + "a", size);
        QCOMPARE(std::string(bytes, bytes + size), files.at("a"));
        for (const char* name : {"absent", "folder", "folder\\"}) {
            QVERIFY(FileSha256(root + name).empty() && ReadWholeFile(root + name, size) == buffer);
            QCOMPARE(size, std::int64_t{-1});
        }
    }

    void fileOf4GiBGoesInPieces()
    {
        const TemporaryTree tree;
        QVERIFY(WriteFile(tree.Path("large"), ""));
        std::error_code error; // a hole, no disk space
        std::filesystem::resize_file(std::filesystem::u8path(tree.Path("large")),
                                     (std::uintmax_t{1} << 32) + 5, error);
        if (error)
            QSKIP("the disk takes no file of 4 GiB");
        const std::string path = tree.WindowsRoot() + "\\large";
        std::int64_t size = 0;
        QVERIFY(ReadWholeFile(path, size) == nullptr && size == -1);
        QCOMPARE(FileSha256(path).c_str(),
                 "709fc0b74f7c916cedccb212d681c035f36ffbb31ebfe806eb40c31592744eb5");
        QVERIFY(digestBufferSize < std::int64_t{1} << 28);
    }
};

QTEST_GUILESS_MAIN(DigestTest)
#include "digest_test.moc"
