// The block function for processors with AVX2, BMI1 and BMI2. This file alone is compiled with their flags,
// so nothing else belongs here.
#include "digest/sha256_blocks.h"

#include <immintrin.h>

// The rounds are scalar: each waits for the one before it. The message schedule does not depend on them, so
// it runs on vectors between them, for two blocks at a time, one in each half of a vector. The words of both
// blocks wait in a table, with the round constants already added.
//
// There is no intrinsic for the rotations. With this file's flags, the compiler makes `rorx` of them and
// `andn` of the negations. Both leave their operands alone, which saves a copy each.
namespace {
// The table holds 16 groups of four words of the first block and the same four of the second.
constexpr int GroupSize = 8;
constexpr int TableSize = 16 * GroupSize;

inline std::uint32_t RotateRight(std::uint32_t value, int bits)
{
    return value >> bits | value << (32 - bits);
}

// One round. `bXorC` is kept from round to round: the next round's is this one's a ^ b.
inline void Round(std::uint32_t a, std::uint32_t b, std::uint32_t& d, std::uint32_t e, std::uint32_t f,
                  std::uint32_t g, std::uint32_t& h, std::uint32_t& bXorC, std::uint32_t input)
{
    h += input;
    h += e & f;
    h += ~e & g;
    h += RotateRight(e, 6) ^ RotateRight(e, 11) ^ RotateRight(e, 25);
    d += h;
    // The majority of a, b and c: b where b equals c, and a where they differ.
    const std::uint32_t aXorB = a ^ b;
    h += (aXorB & bXorC) ^ b;
    h += RotateRight(a, 2) ^ RotateRight(a, 13) ^ RotateRight(a, 22);
    bXorC = aXorB;
}

// Four rounds with one block's part of a group. The caller passes the words shifted by four places next time.
inline void FourRounds(std::uint32_t& a, std::uint32_t& b, std::uint32_t& c, std::uint32_t& d,
                       std::uint32_t& e, std::uint32_t& f, std::uint32_t& g, std::uint32_t& h,
                       std::uint32_t& bXorC, const std::uint32_t* group)
{
    Round(a, b, d, e, f, g, h, bXorC, group[0]);
    Round(h, a, c, d, e, f, g, bXorC, group[1]);
    Round(g, h, b, c, d, e, f, bXorC, group[2]);
    Round(f, g, a, b, c, d, e, bXorC, group[3]);
}

// Four message words of each block.
inline __m256i Load(const std::uint8_t* first, const std::uint8_t* second)
{
    const __m128i bigEndian = _mm_set_epi64x(0x0c0d0e0f08090a0b, 0x0405060700010203);
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(first));
    const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(second));
    return _mm256_shuffle_epi8(_mm256_set_m128i(high, low), _mm256_broadcastsi128_si256(bigEndian));
}

inline void StoreGroup(std::uint32_t* group, __m256i words, const std::uint32_t* constants)
{
    const __m128i four = _mm_load_si128(reinterpret_cast<const __m128i*>(constants));
    _mm256_store_si256(reinterpret_cast<__m256i*>(group),
                       _mm256_add_epi32(words, _mm256_broadcastsi128_si256(four)));
}

// Rotations by 7 and 18 and a shift by 3. The second pair of shifts starts from the first.
inline __m256i SmallSigma0(__m256i words)
{
    const __m256i right7 = _mm256_srli_epi32(words, 7);
    const __m256i left14 = _mm256_slli_epi32(words, 14);
    const __m256i right = _mm256_xor_si256(right7, _mm256_srli_epi32(right7, 11));
    const __m256i left = _mm256_xor_si256(left14, _mm256_slli_epi32(left14, 11));
    return _mm256_xor_si256(_mm256_srli_epi32(words, 3), _mm256_xor_si256(right, left));
}

// Rotations by 17 and 19 and a shift by 10, of words that stand twice side by side: there a shift of 64 bits
// rotates the lower 32. The upper 32 bits of the result mean nothing.
inline __m256i SmallSigma1(__m256i doubled)
{
    const __m256i rotated = _mm256_xor_si256(_mm256_srli_epi64(doubled, 17), _mm256_srli_epi64(doubled, 19));
    return _mm256_xor_si256(_mm256_srli_epi32(doubled, 10), rotated);
}

// FourRounds of the first block, and between them the schedule. `w0` holds the oldest four of the last
// sixteen message words. They are replaced by the next four, which are also stored in the table.
inline void FourRoundsAndSchedule(std::uint32_t& a, std::uint32_t& b, std::uint32_t& c, std::uint32_t& d,
                                  std::uint32_t& e, std::uint32_t& f, std::uint32_t& g, std::uint32_t& h,
                                  std::uint32_t& bXorC, std::uint32_t* group, const std::uint32_t* constants,
                                  __m256i& w0, __m256i w1, __m256i w2, __m256i w3)
{
    // The lower words of two doubled pairs, moved to the front and to the back; zeros elsewhere.
    const __m256i toFront = _mm256_set_epi64x(-1, 0x0b0a090803020100, -1, 0x0b0a090803020100);
    const __m256i toBack = _mm256_set_epi64x(0x0b0a090803020100, -1, 0x0b0a090803020100, -1);

    const __m256i sigma0 = SmallSigma0(_mm256_alignr_epi8(w1, w0, 4));
    Round(a, b, d, e, f, g, h, bXorC, group[0]);
    w0 = _mm256_add_epi32(_mm256_add_epi32(w0, _mm256_alignr_epi8(w3, w2, 4)), sigma0);
    Round(h, a, c, d, e, f, g, bXorC, group[1]);
    // The last two of the four need the first two.
    w0 = _mm256_add_epi32(w0, _mm256_shuffle_epi8(SmallSigma1(_mm256_shuffle_epi32(w3, 0xfa)), toFront));
    Round(g, h, b, c, d, e, f, bXorC, group[2]);
    w0 = _mm256_add_epi32(w0, _mm256_shuffle_epi8(SmallSigma1(_mm256_shuffle_epi32(w0, 0x50)), toBack));
    StoreGroup(group + 4 * GroupSize, w0, constants);
    Round(f, g, a, b, c, d, e, bXorC, group[3]);
}
} // namespace

void Sha256BlocksAvx2(std::uint32_t* state, const std::uint8_t* blocks, std::size_t count)
{
    alignas(32) std::uint32_t table[TableSize];
    std::uint32_t a = state[0], b = state[1], c = state[2], d = state[3];
    std::uint32_t e = state[4], f = state[5], g = state[6], h = state[7];

    const auto addToState = [&] {
        a = state[0] += a;
        b = state[1] += b;
        c = state[2] += c;
        d = state[3] += d;
        e = state[4] += e;
        f = state[5] += f;
        g = state[6] += g;
        h = state[7] += h;
    };

    while (count > 0) {
        // A last block without a neighbour is its own.
        const std::size_t taken = count > 1 ? 2 : 1;
        const std::uint8_t* const second = blocks + (taken - 1) * 64;
        const std::uint32_t* k = Sha256RoundConstants;
        __m256i w0 = Load(blocks, second);
        __m256i w1 = Load(blocks + 16, second + 16);
        __m256i w2 = Load(blocks + 32, second + 32);
        __m256i w3 = Load(blocks + 48, second + 48);
        StoreGroup(table, w0, k);
        StoreGroup(table + GroupSize, w1, k + 4);
        StoreGroup(table + 2 * GroupSize, w2, k + 8);
        StoreGroup(table + 3 * GroupSize, w3, k + 12);

        std::uint32_t bXorC = b ^ c;
        std::uint32_t* t = table;
        for (int i = 0; i < 3; ++i, t += 4 * GroupSize) {
            k += 16;
            FourRoundsAndSchedule(a, b, c, d, e, f, g, h, bXorC, t, k, w0, w1, w2, w3);
            FourRoundsAndSchedule(e, f, g, h, a, b, c, d, bXorC, t + GroupSize, k + 4, w1, w2, w3, w0);
            FourRoundsAndSchedule(a, b, c, d, e, f, g, h, bXorC, t + 2 * GroupSize, k + 8, w2, w3, w0, w1);
            FourRoundsAndSchedule(e, f, g, h, a, b, c, d, bXorC, t + 3 * GroupSize, k + 12, w3, w0, w1, w2);
        }
        FourRounds(a, b, c, d, e, f, g, h, bXorC, t);
        FourRounds(e, f, g, h, a, b, c, d, bXorC, t + GroupSize);
        FourRounds(a, b, c, d, e, f, g, h, bXorC, t + 2 * GroupSize);
        FourRounds(e, f, g, h, a, b, c, d, bXorC, t + 3 * GroupSize);
        addToState();

        if (taken == 2) {
            bXorC = b ^ c;
            for (t = table + 4; t < table + TableSize; t += 4 * GroupSize) {
                FourRounds(a, b, c, d, e, f, g, h, bXorC, t);
                FourRounds(e, f, g, h, a, b, c, d, bXorC, t + GroupSize);
                FourRounds(a, b, c, d, e, f, g, h, bXorC, t + 2 * GroupSize);
                FourRounds(e, f, g, h, a, b, c, d, bXorC, t + 3 * GroupSize);
            }
            addToState();
        }
        blocks += taken * 64;
        count -= taken;
    }
}
