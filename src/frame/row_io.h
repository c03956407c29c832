// Packed pixels to canonical rows and back, a chunk at a time.
//
// A canonical row is one byte per pixel (a bit, a nibble, a gray level or an index) or three bytes for full colour.
// 8- and 24-bit rows are passed through where they lie. 1- and 4-bit rows are unpacked by whole bytes into a chunk on
// the stack, in which the first pixel keeps its own place within its byte, so that nothing has to be shifted; the
// writer mirrors this and merges the first and the last byte with what was there.

#pragma once

#include "frame/area_view.h"
#include "kernels/kernels.h"

#include <cstring>

namespace lx
{

// Pixels of a chunk: small enough that every buffer of an operation stays in the first-level cache.
constexpr uint32_t chunkPixels = 2048;

// Whole bytes of 1- or 4-bit pixels to bytes; bits become `zero` or `one`.
inline void unpackPixels(const BitKernels& bits, const AreaView& area, const uint8_t* source, uint8_t* destination,
                         size_t bytes, uint8_t zero = 0, uint8_t one = 1) noexcept
{
    if (area.bits() == 1)
        bits.unpackBits(source, destination, bytes, zero, one);
    else
        bits.unpackNibbles(source, destination, bytes);
}

class RowReader
{
  public:
    // Bits become `zero` or `one`; other pixels are not changed.
    explicit RowReader(const AreaView& area, uint8_t zero = 0, uint8_t one = 1) noexcept
        : bits_(*kernels().bits), area_(area), zero_(zero), one_(one)
    {
    }

    // The canonical row of pixels i to i + n - 1 of line j, valid until the next call. n <= chunkPixels if packed.
    const uint8_t* read(uint32_t i, uint32_t j, uint32_t n) noexcept
    {
        const uint8_t* source = area_.at(i, j);
        if (!area_.packed())
            return source;
        const unsigned phase = area_.phase(i);
        unpack(source, chunk_, (phase + n + area_.phaseMask()) / (area_.phaseMask() + 1));
        return chunk_ + phase;
    }

    // The same row, written to `destination`: whole bytes are unpacked straight to it. For packed areas.
    void readTo(uint8_t* destination, uint32_t i, uint32_t j, uint32_t n) noexcept
    {
        const uint32_t perByte = area_.phaseMask() + 1;
        const uint32_t head = std::min(n, (perByte - area_.phase(i)) & area_.phaseMask());
        if (head != 0)
            std::memcpy(destination, read(i, j, head), head);
        const uint32_t whole = (n - head) / perByte;
        if (whole != 0)
            unpack(area_.at(i + head, j), destination + head, whole);
        const uint32_t done = head + whole * perByte;
        if (done != n)
            std::memcpy(destination + done, read(i + done, j, n - done), n - done);
    }

  private:
    void unpack(const uint8_t* source, uint8_t* destination, size_t bytes) noexcept
    {
        unpackPixels(bits_, area_, source, destination, bytes, zero_, one_);
    }

    const BitKernels& bits_;
    const AreaView area_;
    uint8_t zero_;
    uint8_t one_;
    alignas(64) uint8_t chunk_[chunkPixels + 16];
};

class RowWriter
{
  public:
    explicit RowWriter(const AreaView& area) noexcept : bits_(*kernels().bits), area_(area) {}

    // Where to put the canonical row of pixels i to i + n - 1 of line j. n <= chunkPixels if packed.
    uint8_t* open(uint32_t i, uint32_t j, uint32_t n) noexcept
    {
        destination_ = area_.at(i, j);
        pixels_ = n;
        phase_ = area_.phase(i);
        return area_.packed() ? chunk_ + phase_ : destination_;
    }

    // The same, holding the pixels that are there now.
    uint8_t* load(uint32_t i, uint32_t j, uint32_t n) noexcept
    {
        uint8_t* row = open(i, j, n);
        if (area_.packed())
            unpackPixels(bits_, area_, destination_, chunk_,
                         (phase_ + n + area_.phaseMask()) / (area_.phaseMask() + 1));
        return row;
    }

    // Bring the row home. Bits must be 0 or 1; of nibbles the low four bits count.
    void close() noexcept
    {
        if (!area_.packed() || pixels_ == 0)
            return;
        const unsigned mask = area_.phaseMask();
        const uint32_t end = phase_ + pixels_;
        const size_t last = (end - 1) / (mask + 1);
        // Stale bytes beside the row would leak into its pixels when they are packed.
        std::memset(chunk_, 0, phase_);
        std::memset(chunk_ + end, 0, mask);
        const uint8_t oldFirst = destination_[0];
        const uint8_t oldLast = destination_[last];
        if (area_.bits() == 1)
            bits_.packBits(chunk_, destination_, last + 1);
        else
            bits_.packNibbles(chunk_, destination_, last + 1);
        const unsigned headKept = 0xFF00U >> (phase_ * area_.bits());
        const unsigned tailKept = 0xFFU >> (((end - 1) & mask) + 1) * area_.bits();
        destination_[0] = merge(destination_[0], oldFirst, headKept);
        destination_[last] = merge(destination_[last], oldLast, tailKept);
    }

  private:
    static uint8_t merge(uint8_t fresh, uint8_t old, unsigned kept)
    {
        return static_cast<uint8_t>((fresh & ~kept) | (old & kept));
    }

    const BitKernels& bits_;
    const AreaView area_;
    uint8_t* destination_ = nullptr;
    uint32_t pixels_ = 0;
    unsigned phase_ = 0;
    alignas(64) uint8_t chunk_[chunkPixels + 16];
};

// Where an operation that packs its pixels itself puts them: packed from the highest bit of a byte on.
class PackedRowWriter
{
  public:
    // `area` is packed.
    explicit PackedRowWriter(const AreaView& area) noexcept : bits_(*kernels().bits), area_(area) {}

    // Pixels from pixel i on that lie in a byte which they share with pixels before them: 0 to 7.
    uint32_t head(uint32_t i) const { return (0U - area_.phase(i)) & area_.phaseMask(); }

    // The place of the packed row of pixels i to i + n - 1 of line j. Where head(i) is not 0, n is at most that.
    // What is left of the row's last byte may be overwritten.
    uint8_t* open(uint32_t i, uint32_t j, uint32_t n) noexcept
    {
        destination_ = area_.at(i, j);
        phase_ = area_.phase(i) * area_.bits();
        rowBits_ = size_t{n} * area_.bits();
        old_ = destination_[(phase_ + rowBits_ - 1) / 8];
        return phase_ == 0 ? destination_ : &partial_;
    }

    void close() noexcept
    {
        if (phase_ != 0) {
            bits_.copyBits(&partial_, 0, destination_, phase_, rowBits_);
        } else if (rowBits_ % 8 != 0) {
            uint8_t& last = destination_[rowBits_ / 8];
            last = static_cast<uint8_t>((last & ~(0xFFU >> rowBits_ % 8)) | (old_ & (0xFFU >> rowBits_ % 8)));
        }
    }

  private:
    const BitKernels& bits_;
    const AreaView area_;
    uint8_t* destination_ = nullptr;
    size_t rowBits_ = 0;
    unsigned phase_ = 0;
    uint8_t partial_ = 0;
    uint8_t old_ = 0;
};

} // namespace lx
