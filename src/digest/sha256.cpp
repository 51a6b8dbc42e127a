#include "digest/sha256.h"

#include <algorithm>

#include "digest/sha256_blocks.h"

namespace {
constexpr std::uint64_t BlockSize = 64; // bytes
constexpr std::uint64_t LengthSize = 8; // bytes, of the message's length at the end of the last block

// The `count` low bytes of `value`, highest first.
void StoreBigEndian(std::uint64_t value, int count, std::uint8_t* bytes)
{
    for (int i = count - 1; i >= 0; --i, value >>= 8)
        bytes[i] = static_cast<std::uint8_t>(value);
}
} // namespace

void Sha256Context::Reset()
{
    *this = Sha256Context();
}

void Sha256Context::Append(const std::uint8_t* data, std::uint64_t length)
{
    const Sha256BlockFunction feedBlocks = ChosenBlockFunction();

    if (bufferedBytes > 0) {
        const std::uint64_t taken = std::min(length, BlockSize - bufferedBytes);
        std::copy_n(data, taken, block.data() + bufferedBytes);
        bufferedBytes += taken;
        data += taken;
        length -= taken;
    }
    if (bufferedBytes == BlockSize) {
        feedBlocks(state.data(), block.data(), 1);
        processedBytes += BlockSize;
        bufferedBytes = 0;
    }

    const std::uint64_t whole = length - length % BlockSize;
    if (whole > 0) {
        feedBlocks(state.data(), data, whole / BlockSize);
        processedBytes += whole;
        data += whole;
        length -= whole;
    }
    std::copy_n(data, length, block.data() + bufferedBytes);
    bufferedBytes += length;
}

std::array<std::uint8_t, 32> Sha256Context::FinishBytes() const
{
    // The padding goes into copies, so the context can go on.
    std::array<std::uint8_t, 2 * BlockSize> padded = {};
    std::copy_n(block.data(), bufferedBytes, padded.data());
    padded[bufferedBytes] = 0x80;
    const std::uint64_t blocks = bufferedBytes < BlockSize - LengthSize ? 1 : 2;
    StoreBigEndian((processedBytes + bufferedBytes) * 8, LengthSize,
                   padded.data() + blocks * BlockSize - LengthSize);

    std::array<std::uint32_t, 8> words = state;
    ChosenBlockFunction()(words.data(), padded.data(), blocks);

    std::array<std::uint8_t, 32> digest;
    for (std::size_t i = 0; i < words.size(); ++i)
        StoreBigEndian(words[i], 4, digest.data() + 4 * i);
    return digest;
}

std::string Sha256Context::Finish() const
{
    std::string text;
    for (const std::uint8_t byte : FinishBytes()) {
        text += "0123456789abcdef"[byte >> 4];
        text += "0123456789abcdef"[byte & 15];
    }
    return text;
}
