// The block function in plain C++, which every processor can run.
#include "digest/sha256_blocks.h"

#include <iterator>

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

// The next message word after those of the block. It replaces `w0`, the oldest of the last sixteen. The
// numbers count from `w0`.
inline std::uint32_t Next(std::uint32_t& w0, std::uint32_t w1, std::uint32_t w9, std::uint32_t w14)
{
    w0 += (RotateRight(w1, 7) ^ RotateRight(w1, 18) ^ (w1 >> 3)) + w9 +
          (RotateRight(w14, 17) ^ RotateRight(w14, 19) ^ (w14 >> 10));
    return w0;
}
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
