// The block function for processors with the SHA instructions. This file alone is compiled with their flags,
// so nothing else belongs here.
#include "digest/sha256_blocks.h"

#include <immintrin.h>

// The rounds are a chain: each pair waits 4 cycles for the one before it. So one digest needs at least 128
// cycles a block. The schedule of the coming message words is therefore spread between the rounds,
// where it costs nothing, and everything stays in registers.
namespace {
// Bytes, about a microsecond of hashing. The processor's own look-ahead stops at each page's end, which costs
// a quarter of the speed on a buffer larger than the caches. A prefetch past the end of the data is ignored.
constexpr std::uintptr_t PrefetchDistance = 2048;

inline __m128i Load(const std::uint8_t* bytes)
{
    const __m128i bigEndian = _mm_set_epi64x(0x0c0d0e0f08090a0b, 0x0405060700010203);
    return _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes)), bigEndian);
}

// Four rounds with the words of `message`.
inline void Rounds(__m128i& abef, __m128i& cdgh, __m128i message, const std::uint32_t* constants)
{
    const __m128i sum = _mm_add_epi32(message, _mm_load_si128(reinterpret_cast<const __m128i*>(constants)));
    cdgh = _mm_sha256rnds2_epu32(cdgh, abef, sum);
    abef = _mm_sha256rnds2_epu32(abef, cdgh, _mm_shuffle_epi32(sum, 0x0e));
}

// Turns `w0`, the oldest of the last sixteen message words, into the next four.
inline void Schedule(__m128i& w0, __m128i w1, __m128i w2, __m128i w3)
{
    const __m128i sum = _mm_add_epi32(_mm_sha256msg1_epu32(w0, w1), _mm_alignr_epi8(w3, w2, 4));
    w0 = _mm_sha256msg2_epu32(sum, w3);
}
} // namespace

void Sha256BlocksShani(std::uint32_t* state, const std::uint8_t* blocks, std::size_t count)
{
    const std::uint32_t* const k = Sha256RoundConstants;

    // The instructions want the eight words as two registers, a b e f and c d g h from the top.
    __m128i* const words = reinterpret_cast<__m128i*>(state);
    const __m128i badc = _mm_shuffle_epi32(_mm_loadu_si128(words), 0xb1);
    const __m128i hgfe = _mm_shuffle_epi32(_mm_loadu_si128(words + 1), 0x1b);
    __m128i abef = _mm_alignr_epi8(badc, hgfe, 8);
    __m128i cdgh = _mm_blend_epi16(hgfe, badc, 0xf0);

    for (; count > 0; --count, blocks += 64) {
        // As a number, since a pointer must not leave the data.
        const std::uintptr_t ahead = reinterpret_cast<std::uintptr_t>(blocks) + PrefetchDistance;
        _mm_prefetch(reinterpret_cast<const char*>(ahead), _MM_HINT_T0);
        const __m128i abefBefore = abef;
        const __m128i cdghBefore = cdgh;

        __m128i w0 = Load(blocks);
        Rounds(abef, cdgh, w0, k);
        __m128i w1 = Load(blocks + 16);
        Rounds(abef, cdgh, w1, k + 4);
        __m128i w2 = Load(blocks + 32);
        Rounds(abef, cdgh, w2, k + 8);
        __m128i w3 = Load(blocks + 48);
        Rounds(abef, cdgh, w3, k + 12);

        Schedule(w0, w1, w2, w3);
        Rounds(abef, cdgh, w0, k + 16);
        Schedule(w1, w2, w3, w0);
        Rounds(abef, cdgh, w1, k + 20);
        Schedule(w2, w3, w0, w1);
        Rounds(abef, cdgh, w2, k + 24);
        Schedule(w3, w0, w1, w2);
        Rounds(abef, cdgh, w3, k + 28);

        Schedule(w0, w1, w2, w3);
        Rounds(abef, cdgh, w0, k + 32);
        Schedule(w1, w2, w3, w0);
        Rounds(abef, cdgh, w1, k + 36);
        Schedule(w2, w3, w0, w1);
        Rounds(abef, cdgh, w2, k + 40);
        Schedule(w3, w0, w1, w2);
        Rounds(abef, cdgh, w3, k + 44);

        Schedule(w0, w1, w2, w3);
        Rounds(abef, cdgh, w0, k + 48);
        Schedule(w1, w2, w3, w0);
        Rounds(abef, cdgh, w1, k + 52);
        Schedule(w2, w3, w0, w1);
        Rounds(abef, cdgh, w2, k + 56);
        Schedule(w3, w0, w1, w2);
        Rounds(abef, cdgh, w3, k + 60);

        abef = _mm_add_epi32(abef, abefBefore);
        cdgh = _mm_add_epi32(cdgh, cdghBefore);
    }

    const __m128i feba = _mm_shuffle_epi32(abef, 0x1b);
    const __m128i dchg = _mm_shuffle_epi32(cdgh, 0xb1);
    _mm_storeu_si128(words, _mm_blend_epi16(feba, dchg, 0xf0));
    _mm_storeu_si128(words + 1, _mm_alignr_epi8(dchg, feba, 8));
}
