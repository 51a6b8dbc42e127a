// SHA-256 of bytes that arrive in pieces, and the digest's text form.
#pragma once

#include <array>
#include <cstdint>
#include <string>

// One digest in the making; a plain value. A fresh one stands in the initial state.
struct Sha256Context
{
    std::uint64_t processedBytes = 0;        // fed through the block function, in whole blocks
    std::uint64_t bufferedBytes = 0;         // waiting in `block`, 0 to 63
    std::array<std::uint8_t, 64> block = {}; // the unfinished block
    std::array<std::uint32_t, 8> state = InitialState;

    // Back to the initial state, for the next digest.
    void Reset();

    // `length` in bytes; `data` may be null if it is 0. Whole blocks are not copied.
    void Append(const std::uint8_t* data, std::uint64_t length);

    // The digest of all bytes appended so far: 64 lower-case hexadecimal digits. The context stays as it is,
    // so more may be appended.
    std::string Finish() const;

    // The same as 32 raw bytes.
    std::array<std::uint8_t, 32> FinishBytes() const;

    // The first 32 bits of the fractional parts of the square roots of the first eight primes.
    static constexpr std::array<std::uint32_t, 8> InitialState = {
        0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a, 0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
};
