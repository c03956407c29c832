// The lanes of a diffusion wavefront: a vector of doubles, one for each line. For diffusion.cpp alone, as each level
// defines it anew.
//
// replace(lane, v, value) puts a value into a lane, rotate(v) moves lane l to lane l + 1 and the last to the first, and
// transpose(rows, tile) gives tile[s] byte s of every lane, of which rows[l] holds eight.

#pragma once

#include "kernels/bit_words.h"

#include <cstring>

#if defined(LX_LEVEL_v3) || defined(LX_LEVEL_v4)
#include <immintrin.h>
#endif

namespace lx::LX_LEVEL
{

namespace
{

#if defined(LX_LEVEL_v4)

// Eight doubles, one for each line. min and max give their second operand when one is not a number.
struct Lanes {
    static constexpr int count = 8;
    using Vector = __m512d;
    using Flags = __mmask8;

    static Vector all(double value) { return _mm512_set1_pd(value); }
    static Vector fromBytes(const uint8_t* bytes)
    {
        return _mm512_cvtepi32_pd(_mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(bytes))));
    }
    static Vector add(Vector a, Vector b) { return _mm512_add_pd(a, b); }
    static Vector multiply(Vector a, Vector b) { return _mm512_mul_pd(a, b); }
    static Vector least(Vector a, Vector b) { return _mm512_min_pd(a, b); }
    static Vector greatest(Vector a, Vector b) { return _mm512_max_pd(a, b); }
    static Flags atLeast(Vector a, Vector b) { return _mm512_cmp_pd_mask(a, b, _CMP_GE_OQ); }
    static Vector subtractWhere(Flags flags, Vector a, Vector b) { return _mm512_mask_sub_pd(a, flags, a, b); }
    static Vector keep(unsigned bits, Vector v) { return _mm512_maskz_mov_pd(static_cast<Flags>(bits), v); }
    static unsigned bits(Flags flags) { return flags; }
    static void storeFirst(double* to, Vector v) { _mm_store_sd(to, _mm512_castpd512_pd128(v)); }
    static Flags lane(unsigned l) { return static_cast<Flags>(1U << l); }
    static Vector replace(Flags lane, Vector v, const double* value)
    {
        return _mm512_mask_broadcastsd_pd(v, lane, _mm_load_sd(value));
    }
    static Vector rotate(Vector v)
    {
        const __m512i i = _mm512_castpd_si512(v);
        return _mm512_castsi512_pd(_mm512_alignr_epi64(i, i, 7));
    }
    static void store(double* to, Vector v) { _mm512_storeu_pd(to, v); }

    static void transpose(const uint64_t* rows, uint8_t (*tile)[count])
    {
        // Put together in registers: a load would have to wait until all eight stores are through.
        const auto pair = [&](int l) {
            const __m128i low = _mm_cvtsi64_si128(static_cast<int64_t>(rows[l]));
            return _mm_insert_epi64(low, static_cast<int64_t>(rows[l + 1]), 1);
        };
        const __m256i half = _mm256_inserti128_si256(_mm256_castsi128_si256(pair(0)), pair(2), 1);
        const __m256i other = _mm256_inserti128_si256(_mm256_castsi128_si256(pair(4)), pair(6), 1);
        const __m512i v = _mm512_inserti64x4(_mm512_castsi256_si512(half), other, 1);
        const __m512i columns =
            _mm512_set_epi8(63, 55, 47, 39, 31, 23, 15, 7, 62, 54, 46, 38, 30, 22, 14, 6, 61, 53, 45, 37, 29, 21, 13, 5,
                            60, 52, 44, 36, 28, 20, 12, 4, 59, 51, 43, 35, 27, 19, 11, 3, 58, 50, 42, 34, 26, 18, 10, 2,
                            57, 49, 41, 33, 25, 17, 9, 1, 56, 48, 40, 32, 24, 16, 8, 0);
        _mm512_storeu_si512(tile, _mm512_permutexvar_epi8(columns, v));
    }
};

// Byte s holds a bit for each lane; byte l of the result has the bits of lane l, the first step highest: a bit matrix
// product with unit vectors picks the columns.
uint64_t bitsByLane(uint64_t steps)
{
    const __m128i units = _mm_cvtsi64_si128(static_cast<int64_t>(0x8040201008040201ULL));
    const __m128i matrix = _mm_cvtsi64_si128(static_cast<int64_t>(steps));
    return static_cast<uint64_t>(_mm_cvtsi128_si64(timesMatrix(units, matrix)));
}

#elif defined(LX_LEVEL_v3)

// Four doubles, one for each line. min and max give their second operand when one is not a number.
struct Lanes {
    static constexpr int count = 4;
    using Vector = __m256d;
    using Flags = __m256d;

    static Vector all(double value) { return _mm256_set1_pd(value); }
    static Vector fromBytes(const uint8_t* bytes)
    {
        int32_t four;
        std::memcpy(&four, bytes, sizeof four);
        return _mm256_cvtepi32_pd(_mm_cvtepu8_epi32(_mm_cvtsi32_si128(four)));
    }
    static Vector add(Vector a, Vector b) { return _mm256_add_pd(a, b); }
    static Vector multiply(Vector a, Vector b) { return _mm256_mul_pd(a, b); }
    static Vector least(Vector a, Vector b) { return _mm256_min_pd(a, b); }
    static Vector greatest(Vector a, Vector b) { return _mm256_max_pd(a, b); }
    static Flags atLeast(Vector a, Vector b) { return _mm256_cmp_pd(a, b, _CMP_GE_OQ); }
    static Vector subtractWhere(Flags flags, Vector a, Vector b) { return _mm256_sub_pd(a, _mm256_and_pd(flags, b)); }
    static Vector keep(unsigned bits, Vector v)
    {
        const __m256i places = _mm256_setr_epi64x(1, 2, 4, 8);
        const __m256i set = _mm256_and_si256(_mm256_set1_epi64x(static_cast<int64_t>(bits)), places);
        return _mm256_and_pd(v, _mm256_castsi256_pd(_mm256_cmpeq_epi64(set, places)));
    }
    static unsigned bits(Flags flags) { return static_cast<unsigned>(_mm256_movemask_pd(flags)); }
    static void storeFirst(double* to, Vector v) { _mm_store_sd(to, _mm256_castpd256_pd128(v)); }
    static Flags lane(unsigned l) { return keep(1U << l, _mm256_castsi256_pd(_mm256_set1_epi64x(-1))); }
    static Vector replace(Flags lane, Vector v, const double* value)
    {
        return _mm256_blendv_pd(v, _mm256_broadcast_sd(value), lane);
    }
    static Vector rotate(Vector v) { return _mm256_permute4x64_pd(v, 0x93); }
    static void store(double* to, Vector v) { _mm256_storeu_pd(to, v); }

    static void transpose(const uint64_t* rows, uint8_t (*tile)[count])
    {
        const auto row = [&](int l) { return _mm_cvtsi64_si128(static_cast<int64_t>(rows[l])); };
        const __m128i a = _mm_unpacklo_epi8(row(0), row(1));
        const __m128i b = _mm_unpacklo_epi8(row(2), row(3));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(tile[0]), _mm_unpacklo_epi16(a, b));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(tile[4]), _mm_unpackhi_epi16(a, b));
    }
};

#else

// Two doubles, one for each line, in the compiler's own vectors. least and greatest give their second operand when one
// is not a number.
struct Lanes {
    static constexpr int count = 2;
    using Vector = double __attribute__((vector_size(16)));
    using Flags = int64_t __attribute__((vector_size(16)));

    static Vector all(double value) { return Vector{value, value}; }
    static Vector fromBytes(const uint8_t* bytes)
    {
        return Vector{static_cast<double>(bytes[0]), static_cast<double>(bytes[1])};
    }
    static Vector add(Vector a, Vector b) { return a + b; }
    static Vector multiply(Vector a, Vector b) { return a * b; }
    static Vector least(Vector a, Vector b) { return choose(a < b, a, b); }
    static Vector greatest(Vector a, Vector b) { return choose(a > b, a, b); }
    static Flags atLeast(Vector a, Vector b) { return a >= b; }
    static Vector subtractWhere(Flags flags, Vector a, Vector b)
    {
        return a - reinterpret_cast<Vector>(reinterpret_cast<Flags>(b) & flags);
    }
    static Vector choose(Flags flags, Vector yes, Vector no)
    {
        return reinterpret_cast<Vector>((reinterpret_cast<Flags>(yes) & flags) |
                                        (reinterpret_cast<Flags>(no) & ~flags));
    }
    static Vector keep(unsigned bits, Vector v)
    {
        const Flags flags = {-static_cast<int64_t>(bits & 1), -static_cast<int64_t>(bits >> 1 & 1)};
        return reinterpret_cast<Vector>(reinterpret_cast<Flags>(v) & flags);
    }
    static unsigned bits(Flags flags) { return static_cast<unsigned>((flags[0] & 1) | (flags[1] & 2)); }
    static void storeFirst(double* to, Vector v) { *to = v[0]; }
    static Flags lane(unsigned l) { return Flags{l == 0 ? -1 : 0, l == 1 ? -1 : 0}; }
    static Vector replace(Flags lane, Vector v, const double* value) { return choose(lane, all(*value), v); }
    static Vector rotate(Vector v) { return Vector{v[1], v[0]}; }
    static void store(double* to, Vector v) { std::memcpy(to, &v, sizeof v); }

    static void transpose(const uint64_t* rows, uint8_t (*tile)[count])
    {
        for (int s = 0; s < 8; ++s) {
            for (int l = 0; l < count; ++l)
                tile[s][l] = static_cast<uint8_t>(rows[l] >> 8 * s);
        }
    }
};

#endif

#if !defined(LX_LEVEL_v4)

// Byte s holds a bit for each lane; byte l of the result has the bits of lane l, the first step highest.
uint64_t bitsByLane(uint64_t steps)
{
    uint64_t x = __builtin_bswap64(steps);
    // Transposes an 8 x 8 bit matrix by exchanging ever larger blocks across its diagonal.
    constexpr struct {
        int distance;
        uint64_t mask;
    } exchanges[] = {{7, 0x00AA00AA00AA00AAULL}, {14, 0x0000CCCC0000CCCCULL}, {28, 0x00000000F0F0F0F0ULL}};
    for (const auto& exchange : exchanges) {
        const uint64_t moved = (x ^ (x >> exchange.distance)) & exchange.mask;
        x ^= moved ^ (moved << exchange.distance);
    }
    return x;
}

#endif

} // namespace

} // namespace lx::LX_LEVEL
