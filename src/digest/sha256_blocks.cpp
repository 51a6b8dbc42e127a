#include "digest/sha256_blocks.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#if defined(_MSC_VER) && defined(_M_X64)
#include <intrin.h>
#elif defined(__x86_64__)
#include <cpuid.h>
#endif

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
inline std::uint32_t RotateRight(std::uint32_t value, int bits)
{
    return value >> bits | value << (32 - bits);
}

// One round. The caller passes the words shifted by one place from round to round, so that none has to move.
// The rotations are nested to save copies, and `e`, which comes last from the round before, is added last.
inline void Round(std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t& d, std::uint32_t e,
                  std::uint32_t f, std::uint32_t g, std::uint32_t& h, std::uint32_t input)
{
    h += input + (g ^ (e & (f ^ g))) + RotateRight(e ^ RotateRight(e ^ RotateRight(e, 14), 5), 6);
    d += h;
    h += ((a & b) | (c & (a | b))) + RotateRight(a ^ RotateRight(a ^ RotateRight(a, 9), 11), 2);
}

// The next message word of the block itself, which is big-endian.
inline std::uint32_t Load(std::uint32_t& word, const std::uint8_t* bytes)
{
    word = std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 | std::uint32_t{bytes[2]} << 8 |
           bytes[3];
    return word;
}

// The next message word after those: takes the place of `w0`, the oldest of the last sixteen. The numbers
// count from it.
inline std::uint32_t Next(std::uint32_t& w0, std::uint32_t w1, std::uint32_t w9, std::uint32_t w14)
{
    w0 += (RotateRight(w1, 7) ^ RotateRight(w1, 18) ^ (w1 >> 3)) + w9 +
          (RotateRight(w14, 17) ^ RotateRight(w14, 19) ^ (w14 >> 10));
    return w0;
}

// The answer of the processor's identification; false if it does not know the leaf.
struct Identification
{
    unsigned int a, b, c, d;
};
bool Identify(unsigned int leaf, Identification& answer)
{
#if defined(_MSC_VER) && defined(_M_X64)
    int registers[4];
    __cpuid(registers, 0);
    if (static_cast<unsigned int>(registers[0]) < leaf)
        return false;
    __cpuidex(registers, static_cast<int>(leaf), 0);
    std::memcpy(&answer, registers, sizeof(answer));
    return true;
#elif defined(__x86_64__)
    // Looks at the highest leaf itself.
    return __get_cpuid_count(leaf, 0, &answer.a, &answer.b, &answer.c, &answer.d) != 0;
#else
    static_cast<void>(leaf);
    static_cast<void>(answer);
    return false;
#endif
}

constexpr unsigned int Ssse3Bit = 1u << 9;  // leaf 1, c
constexpr unsigned int Sse41Bit = 1u << 19; // leaf 1, c
constexpr unsigned int ShaBit = 1u << 29;   // leaf 7, b
} // namespace

void Sha256BlocksPlain(std::uint32_t* state, const std::uint8_t* blocks, std::size_t count)
{
    for (; count > 0; --count, blocks += 64) {
        const std::uint32_t* k = Sha256RoundConstants;
        std::uint32_t a = state[0], b = state[1], c = state[2], d = state[3];
        std::uint32_t e = state[4], f = state[5], g = state[6], h = state[7];
        std::uint32_t w[16];

        Round(a, b, c, d, e, f, g, h, k[0] + Load(w[0], blocks));
        Round(h, a, b, c, d, e, f, g, k[1] + Load(w[1], blocks + 4));
        Round(g, h, a, b, c, d, e, f, k[2] + Load(w[2], blocks + 8));
        Round(f, g, h, a, b, c, d, e, k[3] + Load(w[3], blocks + 12));
        Round(e, f, g, h, a, b, c, d, k[4] + Load(w[4], blocks + 16));
        Round(d, e, f, g, h, a, b, c, k[5] + Load(w[5], blocks + 20));
        Round(c, d, e, f, g, h, a, b, k[6] + Load(w[6], blocks + 24));
        Round(b, c, d, e, f, g, h, a, k[7] + Load(w[7], blocks + 28));
        Round(a, b, c, d, e, f, g, h, k[8] + Load(w[8], blocks + 32));
        Round(h, a, b, c, d, e, f, g, k[9] + Load(w[9], blocks + 36));
        Round(g, h, a, b, c, d, e, f, k[10] + Load(w[10], blocks + 40));
        Round(f, g, h, a, b, c, d, e, k[11] + Load(w[11], blocks + 44));
        Round(e, f, g, h, a, b, c, d, k[12] + Load(w[12], blocks + 48));
        Round(d, e, f, g, h, a, b, c, k[13] + Load(w[13], blocks + 52));
        Round(c, d, e, f, g, h, a, b, k[14] + Load(w[14], blocks + 56));
        Round(b, c, d, e, f, g, h, a, k[15] + Load(w[15], blocks + 60));
        for (k += 16; k != std::end(Sha256RoundConstants); k += 16) {
            Round(a, b, c, d, e, f, g, h, k[0] + Next(w[0], w[1], w[9], w[14]));
            Round(h, a, b, c, d, e, f, g, k[1] + Next(w[1], w[2], w[10], w[15]));
            Round(g, h, a, b, c, d, e, f, k[2] + Next(w[2], w[3], w[11], w[0]));
            Round(f, g, h, a, b, c, d, e, k[3] + Next(w[3], w[4], w[12], w[1]));
            Round(e, f, g, h, a, b, c, d, k[4] + Next(w[4], w[5], w[13], w[2]));
            Round(d, e, f, g, h, a, b, c, k[5] + Next(w[5], w[6], w[14], w[3]));
            Round(c, d, e, f, g, h, a, b, k[6] + Next(w[6], w[7], w[15], w[4]));
            Round(b, c, d, e, f, g, h, a, k[7] + Next(w[7], w[8], w[0], w[5]));
            Round(a, b, c, d, e, f, g, h, k[8] + Next(w[8], w[9], w[1], w[6]));
            Round(h, a, b, c, d, e, f, g, k[9] + Next(w[9], w[10], w[2], w[7]));
            Round(g, h, a, b, c, d, e, f, k[10] + Next(w[10], w[11], w[3], w[8]));
            Round(f, g, h, a, b, c, d, e, k[11] + Next(w[11], w[12], w[4], w[9]));
            Round(e, f, g, h, a, b, c, d, k[12] + Next(w[12], w[13], w[5], w[10]));
            Round(d, e, f, g, h, a, b, c, k[13] + Next(w[13], w[14], w[6], w[11]));
            Round(c, d, e, f, g, h, a, b, k[14] + Next(w[14], w[15], w[7], w[12]));
            Round(b, c, d, e, f, g, h, a, k[15] + Next(w[15], w[0], w[8], w[13]));
        }

        state[0] += a;
        state[1] += b;
        state[2] += c;
        state[3] += d;
        state[4] += e;
        state[5] += f;
        state[6] += g;
        state[7] += h;
    }
}

bool ProcessorHasShaInstructions()
{
    Identification basic;
    Identification extended;
    return Identify(1, basic) && (basic.c & Ssse3Bit) != 0 && (basic.c & Sse41Bit) != 0 &&
           Identify(7, extended) && (extended.b & ShaBit) != 0;
}

Sha256BlockFunction ProvenBlockFunction(Sha256BlockFunction candidate)
{
    if (candidate == nullptr)
        return Sha256BlocksPlain;

    // "abc" as a padded block, and its digest.
    std::uint8_t block[64] = {'a', 'b', 'c', 0x80};
    block[63] = 24; // bits
    std::uint32_t state[8] = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                              0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
    const std::uint32_t digest[8] = {0xba7816bf, 0x8f01cfea, 0x414140de, 0x5dae2223,
                                     0xb00361a3, 0x96177a9c, 0xb410ff61, 0xf20015ad};
    candidate(state, block, 1);
    return std::equal(std::begin(state), std::end(state), digest) ? candidate : Sha256BlocksPlain;
}

Sha256BlockFunction FastestBlockFunction()
{
    static const Sha256BlockFunction fastest =
        ProvenBlockFunction(ProcessorHasShaInstructions() ? ShaInstructionsBlockFunction() : nullptr);
    return fastest;
}
