// Rows to columns, in tiles that stay in the registers and the first-level cache.
//
// Bytes move in 16 x 16 squares: interleaving row i with row i + 8 rotates the eight bits of a byte's number (row, then
// column) by one place, so four rounds exchange row and column. A wide register holds several squares, one below the
// other, and writes long pieces of the destination's rows. Packed pixels are folded first: the rows that share a
// destination byte become one row of those bytes, which then move as bytes do. Tiles that would reach over the right
// or the bottom edge are moved back and write some bytes once more; blocks too small for a tile go byte by byte.

#include "kernels/bit_words.h"
#include "kernels/kernel_tables.h"

#include <cstring>

#if defined(LX_LEVEL_v3) || defined(LX_LEVEL_v4)
#include <immintrin.h>
#endif

namespace lx::LX_LEVEL
{

namespace
{

constexpr ptrdiff_t square = 16;

// One square.
struct Narrow {
    using Vector = uint8_t __attribute__((vector_size(square)));
    static constexpr ptrdiff_t squares = 1;

    static Vector load(const uint8_t* source, ptrdiff_t)
    {
        Vector v;
        std::memcpy(&v, source, sizeof v);
        return v;
    }

    static Vector interleaveLow(Vector a, Vector b)
    {
        return __builtin_shufflevector(a, b, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23);
    }

    static Vector interleaveHigh(Vector a, Vector b)
    {
        return __builtin_shufflevector(a, b, 8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29, 14, 30, 15, 31);
    }
};

#if defined(LX_LEVEL_v3) || defined(LX_LEVEL_v4)
__m128i load128(const uint8_t* source)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(source));
}
#endif

#if defined(LX_LEVEL_v4)

// Four squares below one another, `step` apart.
struct Wide {
    using Vector = __m512i;
    static constexpr ptrdiff_t squares = 4;

    static Vector load(const uint8_t* source, ptrdiff_t step)
    {
        // Masked broadcasts need no shuffle.
        Vector v = _mm512_castsi128_si512(load128(source));
        v = _mm512_mask_broadcast_i32x4(v, 0x00F0, load128(source + step));
        v = _mm512_mask_broadcast_i32x4(v, 0x0F00, load128(source + 2 * step));
        return _mm512_mask_broadcast_i32x4(v, 0xF000, load128(source + 3 * step));
    }

    static Vector interleaveLow(Vector a, Vector b) { return _mm512_unpacklo_epi8(a, b); }
    static Vector interleaveHigh(Vector a, Vector b) { return _mm512_unpackhi_epi8(a, b); }
    static Vector interleaveLow32(Vector a, Vector b) { return _mm512_unpacklo_epi32(a, b); }
    static Vector interleaveHigh32(Vector a, Vector b) { return _mm512_unpackhi_epi32(a, b); }
    static Vector shuffle(Vector v, __m128i order) { return _mm512_shuffle_epi8(v, _mm512_broadcast_i32x4(order)); }

    // The first twelve bytes of every lane.
    static void storeTriples(uint8_t* destination, Vector v)
    {
        const Vector order = _mm512_setr_epi32(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 0, 0, 0, 0);
        _mm512_mask_storeu_epi32(destination, 0x0FFF, _mm512_permutexvar_epi32(order, v));
    }
};

#elif defined(LX_LEVEL_v3)

struct Wide {
    using Vector = __m256i;
    static constexpr ptrdiff_t squares = 2;

    static Vector load(const uint8_t* source, ptrdiff_t step)
    {
        return _mm256_inserti128_si256(_mm256_castsi128_si256(load128(source)), load128(source + step), 1);
    }

    static Vector interleaveLow(Vector a, Vector b) { return _mm256_unpacklo_epi8(a, b); }
    static Vector interleaveHigh(Vector a, Vector b) { return _mm256_unpackhi_epi8(a, b); }
    static Vector interleaveLow32(Vector a, Vector b) { return _mm256_unpacklo_epi32(a, b); }
    static Vector interleaveHigh32(Vector a, Vector b) { return _mm256_unpackhi_epi32(a, b); }
    static Vector shuffle(Vector v, __m128i order)
    {
        return _mm256_shuffle_epi8(v, _mm256_broadcastsi128_si256(order));
    }

    static void storeTriples(uint8_t* destination, Vector v)
    {
        const Vector order = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 0, 0);
        const Vector packed = _mm256_permutevar8x32_epi32(v, order);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(destination), _mm256_castsi256_si128(packed));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(destination + 16), _mm256_extracti128_si256(packed, 1));
    }
};

#else

using Wide = Narrow;

#endif

template <class Form>
void transposeTile(const uint8_t* LX_RESTRICT source, ptrdiff_t sourceStep, uint8_t* LX_RESTRICT destination,
                   ptrdiff_t destinationStep)
{
    using Vector = typename Form::Vector;
    Vector rows[square];
    for (ptrdiff_t r = 0; r < square; ++r)
        rows[r] = Form::load(source + r * sourceStep, square * sourceStep);
#pragma GCC unroll 4
    for (unsigned round = 0; round < 4; ++round) {
        Vector rotated[square];
#pragma GCC unroll 8
        for (ptrdiff_t r = 0; r < square / 2; ++r) {
            rotated[2 * r] = Form::interleaveLow(rows[r], rows[r + square / 2]);
            rotated[2 * r + 1] = Form::interleaveHigh(rows[r], rows[r + square / 2]);
        }
#pragma GCC unroll 16
        for (ptrdiff_t r = 0; r < square; ++r)
            rows[r] = rotated[r];
    }
    for (ptrdiff_t c = 0; c < square; ++c)
        std::memcpy(destination + c * destinationStep, &rows[c], sizeof rows[c]);
}

// Calls `tile(r, c)` for tiles that cover the block, which must not be smaller than one.
template <class Tile>
void walkTiles(const TransposeBlock& b, ptrdiff_t rows, ptrdiff_t columns, Tile tile)
{
    for (ptrdiff_t c = 0; c < b.columns; c += columns) {
        for (ptrdiff_t r = 0; r < b.rows; r += rows)
            tile(r + rows > b.rows ? b.rows - rows : r, c + columns > b.columns ? b.columns - columns : c);
    }
}

// Each row is a stream of its own, more than the processor follows by itself. Asks for the line of `byte` in some rows
// of `bytes` bytes. The rows of a strip are too many for the first-level cache.
void fetchEarly(const TransposeBlock& b, ptrdiff_t row, ptrdiff_t rows, ptrdiff_t byte, ptrdiff_t bytes)
{
    for (ptrdiff_t r = row; r < row + rows; ++r) {
        if (byte < bytes)
            __builtin_prefetch(b.source + r * b.sourceStep + byte, 0, 2);
    }
}

template <class Form>
void transposeInTiles(const TransposeBlock& b)
{
    constexpr ptrdiff_t rows = square * Form::squares;
    walkTiles(b, rows, square, [&b](ptrdiff_t r, ptrdiff_t c) {
        if (c % (4 * square) == 0)
            fetchEarly(b, r, rows, c + 4 * square, b.columns);
        transposeTile<Form>(b.source + r * b.sourceStep + c, b.sourceStep, b.destination + c * b.destinationStep + r,
                            b.destinationStep);
    });
}

void bytes(const TransposeBlock& b)
{
    if (b.columns >= square && b.rows >= square * Wide::squares) {
        transposeInTiles<Wide>(b);
    } else if (b.columns >= square && b.rows >= square) {
        transposeInTiles<Narrow>(b);
    } else {
        for (ptrdiff_t c = 0; c < b.columns; ++c) {
            for (ptrdiff_t r = 0; r < b.rows; ++r)
                b.destination[c * b.destinationStep + r] = b.source[r * b.sourceStep + c];
        }
    }
}

#if defined(LX_LEVEL_v3) || defined(LX_LEVEL_v4)

constexpr ptrdiff_t quad = 4; // triples that a lane holds, each in four bytes

// Four columns of triples: every lane of the registers turns a square of four rows.
void transposeQuads(const uint8_t* LX_RESTRICT source, ptrdiff_t sourceStep, uint8_t* LX_RESTRICT destination,
                    ptrdiff_t destinationStep, __m128i expand, __m128i pack)
{
    using Vector = Wide::Vector;
    Vector rows[quad];
#pragma GCC unroll 4
    for (ptrdiff_t r = 0; r < quad; ++r)
        rows[r] = Wide::shuffle(Wide::load(source + r * sourceStep, quad * sourceStep), expand);
    const Vector even0 = Wide::interleaveLow32(rows[0], rows[2]);
    const Vector even1 = Wide::interleaveHigh32(rows[0], rows[2]);
    const Vector odd0 = Wide::interleaveLow32(rows[1], rows[3]);
    const Vector odd1 = Wide::interleaveHigh32(rows[1], rows[3]);
    const Vector columns[quad] = {Wide::interleaveLow32(even0, odd0), Wide::interleaveHigh32(even0, odd0),
                                  Wide::interleaveLow32(even1, odd1), Wide::interleaveHigh32(even1, odd1)};
#pragma GCC unroll 4
    for (ptrdiff_t c = 0; c < quad; ++c)
        Wide::storeTriples(destination + c * destinationStep, Wide::shuffle(columns[c], pack));
}

// 16 bytes are read for four triples: those that follow, or at the right edge those that precede.
bool transposeInQuads(const TransposeBlock& b, bool swap)
{
    constexpr ptrdiff_t rows = quad * Wide::squares;
    if (b.rows < rows || b.columns < 2 * quad)
        return false;
    const __m128i gap = _mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1);
    const __m128i swapped = _mm_setr_epi8(2, 1, 0, -1, 5, 4, 3, -1, 8, 7, 6, -1, 11, 10, 9, -1);
    const __m128i expand = swap ? swapped : gap;
    const __m128i expandLast = _mm_add_epi8(expand, _mm_set1_epi8(4));
    const __m128i pack = _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
    walkTiles(b, rows, quad, [&](ptrdiff_t r, ptrdiff_t c) {
        const bool last = 3 * c + 16 > 3 * b.columns;
        if (c % (4 * quad) == 0)
            fetchEarly(b, r, rows, 3 * (c + 12 * quad), 3 * b.columns);
        transposeQuads(b.source + r * b.sourceStep + 3 * c - (last ? 4 : 0), b.sourceStep,
                       b.destination + c * b.destinationStep + 3 * r, b.destinationStep, last ? expandLast : expand,
                       pack);
    });
    return true;
}

#else

bool transposeInQuads(const TransposeBlock&, bool)
{
    return false;
}

#endif

void triples(const TransposeBlock& b, bool swap)
{
    if (transposeInQuads(b, swap))
        return;
    const ptrdiff_t first = swap ? 2 : 0;
    for (ptrdiff_t c = 0; c < b.columns; ++c) {
        uint8_t* LX_RESTRICT out = b.destination + c * b.destinationStep;
        const uint8_t* LX_RESTRICT in = b.source + 3 * c;
        for (ptrdiff_t r = 0; r < b.rows; ++r, out += 3, in += b.sourceStep) {
            out[0] = in[first];
            out[1] = in[1];
            out[2] = in[2 - first];
        }
    }
}

// Folding, in pieces of `bytes` source bytes of each of `rows` rows.
struct NibbleFold {
    static constexpr ptrdiff_t rows = 2;
    static constexpr ptrdiff_t bytes = 32;

    static void piece(const uint8_t* LX_RESTRICT source, ptrdiff_t step, uint8_t* LX_RESTRICT destination)
    {
        const uint8_t* LX_RESTRICT below = source + step;
        for (ptrdiff_t b = 0; b < bytes; ++b) {
            destination[2 * b] = static_cast<uint8_t>((source[b] & 0xF0) | below[b] >> 4);
            destination[2 * b + 1] = static_cast<uint8_t>(source[b] << 4 | (below[b] & 0x0F));
        }
    }
};

struct BitFold {
    static constexpr ptrdiff_t rows = 8;
    static constexpr ptrdiff_t bytes = 8;

#if defined(LX_LEVEL_v4)

    static void piece(const uint8_t* source, ptrdiff_t step, uint8_t* destination)
    {
        __m512i v = _mm512_setzero_si512();
#pragma GCC unroll 8
        for (ptrdiff_t r = 0; r < rows; ++r) {
            v = _mm512_mask_broadcastq_epi64(v, static_cast<__mmask8>(1U << r),
                                             _mm_loadl_epi64(reinterpret_cast<const __m128i*>(source + r * step)));
        }
        alignas(64) static constexpr uint8_t transposed[64] = {
            0,  8,  16, 24, 32, 40, 48, 56, 1,  9,  17, 25, 33, 41, 49, 57, 2,  10, 18, 26, 34, 42,
            50, 58, 3,  11, 19, 27, 35, 43, 51, 59, 4,  12, 20, 28, 36, 44, 52, 60, 5,  13, 21, 29,
            37, 45, 53, 61, 6,  14, 22, 30, 38, 46, 54, 62, 7,  15, 23, 31, 39, 47, 55, 63,
        };
        v = _mm512_permutexvar_epi8(_mm512_load_si512(transposed), v);
        // A bit matrix product that picks the columns of the data, the leftmost first.
        const __m512i columns = _mm512_set1_epi64(0x0102040810204080);
        _mm512_storeu_si512(destination, timesMatrix(columns, v));
    }

#else

    // The high parts of one word, `shift` bits above the low ones, change places with the low parts of the other.
    static void exchange(uint64_t& a, uint64_t& b, unsigned shift, uint64_t low)
    {
        const uint64_t difference = ((a >> shift) ^ b) & low;
        a ^= difference << shift;
        b ^= difference;
    }

    static uint64_t swapOverAntidiagonal(uint64_t v, unsigned shift, uint64_t low)
    {
        const uint64_t difference = ((v >> shift) ^ v) & low;
        return v ^ difference ^ difference << shift;
    }

    static void piece(const uint8_t* LX_RESTRICT source, ptrdiff_t step, uint8_t* LX_RESTRICT destination)
    {
        uint64_t words[8];
        for (ptrdiff_t r = 0; r < rows; ++r)
            words[r] = loadLittle64(source + r * step);
        for (unsigned k = 0; k < 4; ++k)
            exchange(words[k], words[k + 4], 32, 0x00000000FFFFFFFF);
        for (unsigned k = 0; k < 8; k += k % 4 == 1 ? 3 : 1)
            exchange(words[k], words[k + 2], 16, 0x0000FFFF0000FFFF);
        for (unsigned k = 0; k < 8; k += 2)
            exchange(words[k], words[k + 1], 8, 0x00FF00FF00FF00FF);
        // The first row is a byte's highest bit, as the first column was: the other diagonal.
        for (unsigned k = 0; k < 8; ++k) {
            uint64_t v = swapOverAntidiagonal(words[k], 36, 0x000000000F0F0F0F);
            v = swapOverAntidiagonal(v, 18, 0x0000333300003333);
            storeLittle64(destination + 8 * k, swapOverAntidiagonal(v, 9, 0x0055005500550055));
        }
    }

#endif
};

// Any number of bytes; the last piece is filled up with zeros.
template <class Fold>
void foldRows(const uint8_t* source, ptrdiff_t step, uint8_t* destination, ptrdiff_t bytes)
{
    ptrdiff_t b = 0;
    for (; b + Fold::bytes <= bytes; b += Fold::bytes)
        Fold::piece(source + b, step, destination + b * Fold::rows);
    if (b == bytes)
        return;
    uint8_t in[Fold::rows][Fold::bytes] = {};
    uint8_t out[Fold::rows * Fold::bytes];
    for (ptrdiff_t r = 0; r < Fold::rows; ++r)
        std::memcpy(in[r], source + r * step + b, static_cast<size_t>(bytes - b));
    Fold::piece(in[0], Fold::bytes, out);
    std::memcpy(destination + b * Fold::rows, out, static_cast<size_t>((bytes - b) * Fold::rows));
}

template <class Fold>
void transposePacked(const TransposeBlock& b)
{
    constexpr ptrdiff_t perByte = Fold::rows;
    constexpr ptrdiff_t pieces = 2;
    constexpr ptrdiff_t tileBytes = pieces * Fold::bytes;
    alignas(64) uint8_t folded[TransposeKernels::strip][tileBytes * perByte];
    const ptrdiff_t groups = b.rows / perByte;
    const ptrdiff_t end = b.phase + b.columns;
    const ptrdiff_t bytesOfRow = (end + perByte - 1) / perByte;
    for (ptrdiff_t at = 0; at < bytesOfRow; at += tileBytes) {
        const ptrdiff_t n = bytesOfRow - at < tileBytes ? bytesOfRow - at : tileBytes;
        for (ptrdiff_t g = 0; g < groups; ++g)
            foldRows<Fold>(b.source + g * perByte * b.sourceStep + at, b.sourceStep, folded[g], n);
        const ptrdiff_t first = at == 0 ? b.phase : at * perByte;
        const ptrdiff_t last = (at + n) * perByte < end ? (at + n) * perByte : end;
        bytes({.source = folded[0] + (first - at * perByte),
               .sourceStep = sizeof folded[0],
               .destination = b.destination + (first - b.phase) * b.destinationStep,
               .destinationStep = b.destinationStep,
               .rows = groups,
               .columns = last - first,
               .phase = 0});
    }
}

} // namespace

constexpr TransposeKernels transposeKernels = {bytes, triples, transposePacked<NibbleFold>, transposePacked<BitFold>};

} // namespace lx::LX_LEVEL
