// Pasting, keying and tinting rows: plain loops, and wide forms of the keyed overlays, which are worth memory speed.
//
// Rounded grays are integer forms of the stated sums, equal to them on all 2^24 colours.

#include "kernels/kernel_tables.h"
#include "kernels/lookup_table.h"

#include <cstring>

#if defined(LX_LEVEL_v4)
#include "kernels/pixels_v4.h"
#endif

namespace lx::LX_LEVEL
{

namespace
{

void grayByThirds(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, size_t pixels)
{
    for (size_t i = 0; i < pixels; ++i) {
        const uint8_t* pixel = source + 3 * i;
        // floor((2 sum + 3) / 6)
        const auto twice = static_cast<uint16_t>(2 * (pixel[0] + pixel[1] + pixel[2]) + 3);
        destination[i] = static_cast<uint8_t>(twice * 10923U >> 16);
    }
}

void grayByWeights(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT destination, size_t pixels)
{
    for (size_t i = 0; i < pixels; ++i) {
        const uint8_t* pixel = source + 3 * i;
        // floor((33 (R + B) + 34 G + 50) / 100)
        const auto x = static_cast<uint16_t>(33 * (pixel[0] + pixel[2]) + 34 * pixel[1] + 50);
        destination[i] = static_cast<uint8_t>((x * 5243U >> 16) >> 3);
    }
}

void tint(const uint8_t* LX_RESTRICT levels, uint8_t* LX_RESTRICT row, size_t bytes)
{
    for (size_t i = 0; i < bytes; ++i) {
        const auto excess = static_cast<uint8_t>(row[i] > levels[i] ? row[i] - levels[i] : 0);
        row[i] = static_cast<uint8_t>(row[i] - excess + excess / 4);
    }
}

uint8_t isOutside(const uint8_t* pixel, const TripleRange& range)
{
    unsigned inside = 1;
    for (unsigned c = 0; c < 3; ++c) {
        const auto above = static_cast<uint8_t>(pixel[c] - range.low[c]);
        const auto span = static_cast<uint8_t>(range.high[c] - range.low[c]);
        inside &= above <= span ? 1U : 0U;
    }
    return static_cast<uint8_t>(inside ^ 1);
}

void outside(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT flags, size_t pixels, const TripleRange& range)
{
    const TripleRange own = range;
    for (size_t i = 0; i < pixels; ++i)
        flags[i] = isOutside(source + 3 * i, own);
}

void select(const uint8_t* LX_RESTRICT source, const uint8_t* LX_RESTRICT flags, uint8_t* LX_RESTRICT row,
            size_t pixels)
{
    for (size_t i = 0; i < pixels; ++i)
        row[i] = flags[i] != 0 ? source[i] : row[i];
}

void selectTriples(const uint8_t* LX_RESTRICT source, const uint8_t* LX_RESTRICT flags, uint8_t* LX_RESTRICT row,
                   size_t pixels)
{
    for (size_t i = 0; i < pixels; ++i) {
        const auto mask = static_cast<uint8_t>(0U - flags[i]);
        for (unsigned c = 0; c < 3; ++c) {
            const uint8_t old = row[3 * i + c];
            row[3 * i + c] = static_cast<uint8_t>(old ^ ((old ^ source[3 * i + c]) & mask));
        }
    }
}

#if defined(LX_LEVEL_v4)

// The bytes of 64 triples as bits. `starts` names the first byte of every triple.
struct TripleBits {
    uint64_t part[3];

    static constexpr uint64_t starts[3] = {0x9249249249249249, 0x4924924924924924, 0x2492492492492492};

    // All bytes of those triples of which all three bytes are set.
    TripleBits whole() const
    {
        TripleBits first;
        for (unsigned k = 0; k < 3; ++k) {
            const uint64_t next = k < 2 ? part[k + 1] : 0;
            const uint64_t second = part[k] >> 1 | next << 63;
            const uint64_t third = part[k] >> 2 | next << 62;
            first.part[k] = part[k] & second & third & starts[k];
        }
        TripleBits all;
        for (unsigned k = 0; k < 3; ++k) {
            const uint64_t before = k > 0 ? first.part[k - 1] : 0;
            all.part[k] = first.part[k] * 7 | before >> 63 | before >> 62;
        }
        return all;
    }
};

// A range's byte for each of 192 bytes.
struct Triples192 {
    alignas(64) uint8_t byte[192];

    explicit Triples192(const uint8_t* three)
    {
        for (unsigned b = 0; b < 192; ++b)
            byte[b] = three[b % 3];
    }

    __m512i at(unsigned part) const { return _mm512_load_si512(byte + 64 * part); }
};

// At least 64 triples. Blocks may overlap, for what a triple becomes is the same the second time.
void overlayBlocks(const uint8_t* source, uint8_t* row, size_t pixels, const TripleRange& range)
{
    const Triples192 low(range.low);
    const Triples192 high(range.high);
    walkBlocks(row, pixels, [&](size_t i) {
        __m512i fresh[3];
        TripleBits inside;
        for (unsigned k = 0; k < 3; ++k) {
            fresh[k] = _mm512_loadu_si512(source + 3 * i + 64 * k);
            const __mmask64 reaches = _mm512_cmpge_epu8_mask(fresh[k], low.at(k));
            inside.part[k] = _mm512_mask_cmple_epu8_mask(reaches, fresh[k], high.at(k));
        }
        const TripleBits kept = inside.whole();
        for (unsigned k = 0; k < 3; ++k) {
            uint8_t* to = row + 3 * i + 64 * k;
            _mm512_storeu_si512(to, _mm512_mask_mov_epi8(fresh[k], kept.part[k], _mm512_loadu_si512(to)));
        }
    });
}

#endif

void overlayTriples(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT row, size_t pixels,
                    const TripleRange& range)
{
#if defined(LX_LEVEL_v4)
    if (pixels >= 64) {
        overlayBlocks(source, row, pixels, range);
        return;
    }
#endif
    const TripleRange own = range;
    for (size_t i = 0; i < pixels; ++i) {
        const auto mask = static_cast<uint8_t>(0U - isOutside(source + 3 * i, own));
        for (unsigned c = 0; c < 3; ++c) {
            const uint8_t old = row[3 * i + c];
            row[3 * i + c] = static_cast<uint8_t>(old ^ ((old ^ source[3 * i + c]) & mask));
        }
    }
}

void overlayLookup(const uint8_t* LX_RESTRICT source, uint8_t* LX_RESTRICT row, size_t pixels,
                   const uint8_t* LX_RESTRICT values, const uint8_t* LX_RESTRICT flags)
{
#if defined(LX_LEVEL_v4)
    if (pixels >= 64) {
        const LookupTable fresh(values);
        const LookupTable opaque(flags);
        const auto block = [&](size_t i) {
            const __m512i index = _mm512_loadu_si512(source + i);
            const __m512i flag = opaque.look(index);
            const __m512i old = _mm512_loadu_si512(row + i);
            _mm512_storeu_si512(row + i,
                                _mm512_mask_mov_epi8(old, _mm512_test_epi8_mask(flag, flag), fresh.look(index)));
        };
        // Blocks may overlap, for what a pixel becomes is the same the second time. Those between the first and the
        // last fill whole lines of the cache.
        block(0);
        for (size_t i = 64 - reinterpret_cast<uintptr_t>(row) % 64; i + 64 <= pixels; i += 64)
            block(i);
        block(pixels - 64);
        return;
    }
#endif
    for (size_t i = 0; i < pixels; ++i)
        row[i] = flags[source[i]] != 0 ? values[source[i]] : row[i];
}

} // namespace

constexpr ComposeKernels composeKernels = {
    grayByThirds, grayByWeights, tint, outside, select, selectTriples, overlayTriples, overlayLookup,
};

} // namespace lx::LX_LEVEL
