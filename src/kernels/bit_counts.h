// The set bits of blocks, a block at a time from 64-bit windows.

#pragma once

#include "kernels/bit_blocks.h"
#include "kernels/bit_words.h"

namespace lx::LX_LEVEL
{

namespace
{

inline unsigned bitsSet(uint64_t v)
{
#if defined(LX_LEVEL_v4) || defined(LX_LEVEL_v3)
    return static_cast<unsigned>(__builtin_popcountll(v));
#else
    v -= v >> 1 & 0x5555555555555555ULL;
    v = (v & 0x3333333333333333ULL) + (v >> 2 & 0x3333333333333333ULL);
    return static_cast<unsigned>(((v + (v >> 4)) & 0x0F0F0F0F0F0F0F0FULL) * 0x0101010101010101ULL >> 56);
#endif
}

inline uint64_t loadBig64(const uint8_t* bytes)
{
    return __builtin_bswap64(loadLittle64(bytes));
}

// The same of n < 8 bytes, zeros after them.
inline uint64_t loadBig(const uint8_t* bytes, size_t n)
{
    uint64_t v = 0;
    for (size_t k = 0; k < n; ++k)
        v |= uint64_t{bytes[k]} << (56 - 8 * k);
    return v;
}

// Set bits from bit `begin` to `end` - 1 of a row of `bytes` bytes.
inline uint64_t countRange(const uint8_t* row, size_t bytes, size_t begin, size_t end)
{
    uint64_t sum = 0;
    while (begin < end) {
        const size_t byte = begin / 8;
        const uint64_t window = bytes - byte >= 8 ? loadBig64(row + byte) : loadBig(row + byte, bytes - byte);
        const size_t n = end - begin < 64 - begin % 8 ? end - begin : 64 - begin % 8;
        sum += bitsSet(window << begin % 8 >> (64 - n));
        begin += n;
    }
    return sum;
}

inline size_t lengthOf(const BitBlockTable& table, uint32_t i)
{
    if (i + 1 == table.count)
        return table.lastLength;
    return size_t{table.length} + (table.bias[i] != 0 ? 1 : 0);
}

inline uint64_t countBlock(const BitBlockTable& table, uint32_t i, const uint8_t* row, ptrdiff_t stride, uint32_t lines)
{
    const size_t begin = size_t{table.phase} + table.starts[i];
    const size_t end = begin + lengthOf(table, i);
    uint64_t sum = 0;
    for (uint32_t j = 0; j < lines; ++j)
        sum += countRange(row + static_cast<ptrdiff_t>(j) * stride, table.bytes, begin, end);
    return sum;
}

} // namespace

} // namespace lx::LX_LEVEL
