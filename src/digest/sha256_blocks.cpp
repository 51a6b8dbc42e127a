// The choice of the block function, and the constants that all of them share.
#include "digest/sha256_blocks.h"

#include <algorithm>
#include <string>

#include "digest/sha256.h"

// The first 32 bits of the fractional parts of the cube roots of the first 64 primes.
alignas(16) const std::uint32_t Sha256RoundConstants[64] = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

namespace {
// Feeds a published message that fills two blocks with its padding: a function may treat pairs differently.
bool DigestsKnownBlocks(Sha256BlockFunction function)
{
    const std::string message =
        "abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmn"
        "hijklmnoijklmnopjklmnopqklmnopqrlmnopqrsmnopqrstnopqrstu";
    std::uint8_t blocks[128] = {};
    std::copy(message.begin(), message.end(), blocks);
    blocks[112] = 0x80;
    blocks[126] = 112 * 8 >> 8; // the length in bits
    blocks[127] = 112 * 8 & 0xff;
    const std::array<std::uint32_t, 8> digest = {0xcf5b16a7, 0x78af8380, 0x036ce59e, 0x7b049237,
                                                 0x0b249b11, 0xe8f07a51, 0xafac4503, 0x7afee9d1};
    std::array<std::uint32_t, 8> state = Sha256Context::InitialState;
    function(state.data(), blocks, 2);
    return state == digest;
}
} // namespace

Sha256BlockFunction FirstProvenBlockFunction(const std::vector<Sha256Implementation>& candidates)
{
    for (const Sha256Implementation& candidate : candidates) {
        if (DigestsKnownBlocks(candidate.function))
            return candidate.function;
    }
    return Sha256BlocksPlain;
}

Sha256BlockFunction& ChosenBlockFunction()
{
    static Sha256BlockFunction chosen = FirstProvenBlockFunction(Sha256Implementations());
    return chosen;
}
