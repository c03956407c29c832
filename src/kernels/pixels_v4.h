// Sixty-four triples in registers, taken apart and put together, for kernels at the level v4.

#pragma once

#include <cstddef>
#include <cstdint>

#include <immintrin.h>

namespace lx::LX_LEVEL
{

namespace
{

// The three bytes of 64 pixels, a register each.
struct Components {
    __m512i byte[3];
};

// How 192 bytes move between three registers and three others: one permute takes a byte from the first two registers
// (those of the second from 64 on), and another, under a mask, from the third.
struct Weave {
    alignas(64) uint8_t firstTwo[3][64] = {};
    alignas(64) uint8_t third[3][64] = {};
    uint64_t isThird[3] = {};

    constexpr void take(unsigned to, unsigned from)
    {
        const unsigned part = to / 64;
        (from < 128 ? firstTwo : third)[part][to % 64] = static_cast<uint8_t>(from < 128 ? from : from - 128);
        isThird[part] |= uint64_t{from >= 128} << to % 64;
    }

    __m512i gather(unsigned part, const __m512i* from) const
    {
        const __m512i two = _mm512_permutex2var_epi8(from[0], _mm512_load_si512(firstTwo[part]), from[1]);
        return _mm512_mask_permutexvar_epi8(two, isThird[part], _mm512_load_si512(third[part]), from[2]);
    }
};

// Byte b of 64 triples is component b % 3 of pixel b / 3.
struct Weaving : Weave {
    constexpr Weaving()
    {
        for (unsigned b = 0; b < 192; ++b)
            take(b, 64 * (b % 3) + b / 3);
    }
};

struct Unweaving : Weave {
    constexpr Unweaving()
    {
        for (unsigned b = 0; b < 192; ++b)
            take(64 * (b % 3) + b / 3, b);
    }
};

constexpr Weaving weaving;
constexpr Unweaving unweaving;

[[maybe_unused]] Components loadTriples(const uint8_t* source)
{
    const __m512i from[3] = {_mm512_loadu_si512(source), _mm512_loadu_si512(source + 64),
                             _mm512_loadu_si512(source + 128)};
    return {{unweaving.gather(0, from), unweaving.gather(1, from), unweaving.gather(2, from)}};
}

[[maybe_unused]] void storeTriples(const Components& components, uint8_t* destination)
{
    for (unsigned part = 0; part < 3; ++part)
        _mm512_storeu_si512(destination + 64 * part, weaving.gather(part, components.byte));
}

// 64 triples with their first and last byte exchanged. Registers of half the size: where memory sets the pace, whole
// ones take longer.
[[maybe_unused]] void swapEnds64(const uint8_t* source, uint8_t* destination)
{
    // For each 32 of 96 bytes, where they are in the 36 bytes from byte 30 `part` on: in the first 32, or in the last.
    struct Places {
        uint8_t from[3][32];
    };
    alignas(32) static constexpr Places places = [] {
        Places p{};
        for (unsigned b = 0; b < 96; ++b) {
            const unsigned from = b - b % 3 + 2 - b % 3 - b / 32 * 30;
            p.from[b / 32][b % 32] = static_cast<uint8_t>(from < 32 ? from : from - 4 + 32);
        }
        return p;
    }();
    const auto load = [](const uint8_t* bytes) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes)); };
    for (unsigned k = 0; k < 6; ++k) {
        const uint8_t* bytes = source + 96 * (k / 3) + 30 * (k % 3);
        const __m256i order = _mm256_load_si256(reinterpret_cast<const __m256i*>(places.from[k % 3]));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(destination + 32 * k),
                            _mm256_permutex2var_epi8(load(bytes), order, load(bytes + 4)));
    }
}

// Calls block(i) for blocks of 64 triples, at least 64 triples in all. Stores across the borders of cache lines cost
// double: the first and the last block overlap those between, which fill whole lines of the destination.
template <class Block>
void walkBlocks(const uint8_t* destination, size_t pixels, Block block)
{
    block(size_t{0});
    const size_t aligned = reinterpret_cast<uintptr_t>(destination) * 21 % 64; // 3 * 21 is -1 modulo 64
    for (size_t i = aligned == 0 ? 64 : aligned; i + 64 <= pixels; i += 64)
        block(i);
    block(pixels - 64);
}

} // namespace

} // namespace lx::LX_LEVEL
