// The 3 x 3 neighbourhoods of packed pixels, a byte of pixels at a time.
//
// A run of a line is worked on as the bytes it lies in, three rows of them. The first and the last byte of a line are
// taken from a small copy, in which the bits outside the area are replaced by its edge pixel; all others are read where
// they lie. Results are made beside the rows and then copied to their place in the destination.
//
// Several lines are worked on together, unless they are filtered in place. Both edge bytes of a line are then one
// word, and the results of areas whose pixels lie alike in their bytes are written straight to the destination.
//
// Source and destination may be the same pixels, with the same meaning as in WindowWalk.

#pragma once

#include "frame/window_walk.h"

namespace lx
{

// A run of a line: n pixels from pixel i on, in `bytes` bytes, the first at bit `phase` of the first byte.
struct PackedRun {
    uint32_t i;
    uint32_t n;
    unsigned phase;
    size_t bytes;
};

// `bits` is the size of a pixel in both areas: 1 or 4.
template <unsigned bits>
class PackedWindows
{
  public:
    static constexpr size_t runBytes = 1024;
    static constexpr uint32_t mostLines = 8; // that are worked on together

    PackedWindows(const AreaView& source, const AreaView& destination) noexcept
        : bits_(*kernels().bits), source_(source), destination_(destination), overlap_(source, destination),
          phase_(source.phase() * bits), bytes_((phase_ + size_t{overlap_.width} * bits + 7) / 8),
          tail_(static_cast<unsigned>(bytes_ * 8 - phase_ - size_t{overlap_.width} * bits)),
          inside_((0x0FFFU >> phase_) << 16 | (0xFFF0U << tail_ & 0xFFFF)),
          inPlace_(arePixelsShared(source, destination))
    {
    }

    uint32_t height() const { return overlap_.height; }
    bool inPlace() const { return inPlace_; }

    // filter(upper, centre, lower, out, n) makes n bytes, and reads one byte more on both sides of the rows;
    // finish(run, centre, out) may change them before they go home.
    template <class Filter, class Finish>
    void line(uint32_t j, Filter filter, Finish finish) noexcept
    {
        if (overlap_.width == 0)
            return;
        const WindowRows rows = rowsAround(source_, overlap_.height, j);
        for (size_t k = 0; k < bytes_; k += runBytes) {
            const PackedRun run = runAt(k);
            const WindowRows here = inPlace_ ? fromCopy(rows, k, run.bytes) : rows.at(k);
            const size_t end = run.bytes - 1;
            const bool isLast = k + end + 1 == bytes_;
            if (k == 0)
                filterEdge(here, 0, out_, filter);
            if (isLast && bytes_ != 1)
                filterEdge(here.at(end), k + end, out_ + end, filter);
            const size_t from = k == 0 ? 1 : 0;
            const size_t to = isLast ? end : end + 1;
            if (from < to)
                filter(here.upper + from, here.centre + from, here.lower + from, out_ + from, to - from);
            finish(run, here.centre, out_);
            bits_.copyBits(out_, run.phase, destination_.at(run.i, j), destination_.phase(run.i) * bits,
                           size_t{run.n} * bits);
        }
    }

    // How many lines from j on can be worked on together: none if they are too narrow, or one is changed before its
    // neighbours are done.
    uint32_t linesAt(uint32_t j) const { return inPlace_ || bytes_ < 2 ? 0 : std::min(overlap_.height - j, mostLines); }

    // As line() for `count` lines, with `filter(rows, outs, count, n)`: the lines and their neighbours are in rows[0]
    // to rows[count + 1], the results go to outs[0] to outs[count - 1]. `filterWords(rows, results, count)` does so for
    // words.
    template <class Filter, class FilterWords>
    void lines(uint32_t j, uint32_t count, Filter filter, FilterWords filterWords) noexcept
    {
        const uint8_t* rows[mostLines + 2];
        gatherRows(source_, overlap_.height, j, count, rows);
        uint32_t words[mostLines + 2];
        for (uint32_t row = 0; row < count + 2; ++row)
            words[row] = edgeWord(rows[row]);
        uint32_t edges[mostLines];
        if (destination_.phase() * bits == phase_) {
            filterAtHome(j, count, rows, filter);
            filterWords(words, edges, count);
            placeEdges(j, count, edges);
        } else {
            filterWords(words, edges, count);
            filterBeside(j, count, rows, edges, filter);
        }
    }

    void copyLine(uint32_t j) noexcept
    {
        if (!inPlace_ && overlap_.width != 0)
            bits_.copyBits(source_.row(j), phase_, destination_.row(j), destination_.phase() * bits,
                           size_t{overlap_.width} * bits);
    }

  private:
    // The run that starts at byte k of the line.
    PackedRun runAt(size_t k) const
    {
        const size_t bytes = std::min(bytes_ - k, runBytes);
        const unsigned phase = k == 0 ? phase_ : 0;
        const unsigned behind = k + bytes == bytes_ ? tail_ : 0;
        return {static_cast<uint32_t>(k == 0 ? 0 : (k * 8 - phase_) / bits),
                static_cast<uint32_t>((bytes * 8 - phase - behind) / bits), phase, bytes};
    }

    // The line in work goes through a copy, which still holds the byte before the run as it was.
    WindowRows fromCopy(const WindowRows& rows, size_t k, size_t bytes)
    {
        uint8_t* copy = centre_ + 1;
        if (k != 0)
            copy[-1] = copy[runBytes - 1];
        const size_t after = k + bytes == bytes_ ? 0 : 1;
        std::memcpy(copy, rows.centre + k, bytes + after);
        return {rows.upper == rows.centre ? copy : rows.upper + k, copy,
                rows.lower == rows.centre ? copy : rows.lower + k};
    }

    // `rows` are at byte k of the line, its first or its last.
    template <class Filter>
    void filterEdge(const WindowRows& rows, size_t k, uint8_t* out, Filter filter) const
    {
        uint8_t upper[3];
        uint8_t centre[3];
        uint8_t lower[3];
        padEdge(rows.upper, k, upper);
        padEdge(rows.centre, k, centre);
        padEdge(rows.lower, k, lower);
        filter(upper + 1, centre + 1, lower + 1, out, 1);
    }

    // The first byte of a row and the last one, both between four bits of what is beside them. firstOf() and lastOf()
    // take the results for them out of such a word.
    uint32_t edgeWord(const uint8_t* row) const
    {
        const uint8_t* end = row + bytes_ - 1;
        const uint32_t firstTwo = uint32_t{row[0]} << 8 | row[1];
        const uint32_t lastTwo = uint32_t{end[-1]} << 8 | end[0];
        const uint32_t own = firstTwo >> 4 << 16 | (lastTwo << 4 & 0xFFFF);
        const uint32_t edges =
            repeated(row[0] >> (8 - bits - phase_)) * 0x01010000U | repeated(end[0] >> tail_) * 0x0101U;
        return (own & inside_) | (edges & ~inside_);
    }

    static uint8_t firstOf(uint32_t edges) { return static_cast<uint8_t>(edges >> 20); }
    static uint8_t lastOf(uint32_t edges) { return static_cast<uint8_t>(edges >> 4); }

    // Results lie in their bytes as the pixels do, and go where they belong: all but those of the edges.
    template <class Filter>
    void filterAtHome(uint32_t j, uint32_t count, const uint8_t* const* rows, Filter filter)
    {
        const uint8_t* here[mostLines + 2];
        uint8_t* outs[mostLines];
        for (uint32_t row = 0; row < count + 2; ++row)
            here[row] = rows[row] + 1;
        uint8_t* out = destination_.row(j) + 1;
        for (uint32_t line = 0; line < count; ++line, out += destination_.lineStep())
            outs[line] = out;
        if (bytes_ > 2)
            filter(here, outs, count, bytes_ - 2);
    }

    void placeEdges(uint32_t j, uint32_t count, const uint32_t* edges) const
    {
        uint8_t* out = destination_.row(j);
        for (uint32_t line = 0; line < count; ++line, out += destination_.lineStep()) {
            uint8_t* end = out + bytes_ - 1;
            *out = mixed(firstOf(edges[line]), *out, 0xFFU >> phase_);
            *end = mixed(lastOf(edges[line]), *end, 0xFFU << tail_);
        }
    }

    template <class Filter>
    void filterBeside(uint32_t j, uint32_t count, const uint8_t* const* rows, const uint32_t* edges, Filter filter)
    {
        for (size_t k = 0; k < bytes_; k += runBytes) {
            const PackedRun run = runAt(k);
            const bool isLast = k + run.bytes == bytes_;
            const size_t from = k == 0 ? 1 : 0;
            const size_t to = isLast ? run.bytes - 1 : run.bytes;
            const uint8_t* here[mostLines + 2];
            uint8_t* outs[mostLines];
            for (uint32_t row = 0; row < count + 2; ++row)
                here[row] = rows[row] + k + from;
            for (uint32_t line = 0; line < count; ++line)
                outs[line] = outs_[line] + from;
            if (from < to)
                filter(here, outs, count, to - from);
            for (uint32_t line = 0; line < count; ++line) {
                uint8_t* out = outs_[line];
                if (isLast)
                    out[run.bytes - 1] = lastOf(edges[line]);
                if (k == 0)
                    out[0] = firstOf(edges[line]);
                bits_.copyBits(out, run.phase, destination_.at(run.i, j + line), destination_.phase(run.i) * bits,
                               size_t{run.n} * bits);
            }
        }
    }

    void padEdge(const uint8_t* row, size_t k, uint8_t* three) const
    {
        uint8_t byte = *row;
        if (k == 0) {
            three[0] = repeated(byte >> (8 - bits - phase_));
            byte = mixed(byte, three[0], 0xFFU >> phase_);
        } else {
            three[0] = row[-1];
        }
        if (k + 1 == bytes_) {
            three[2] = repeated(byte >> tail_);
            byte = mixed(byte, three[2], 0xFFU << tail_);
        } else {
            three[2] = row[1];
        }
        three[1] = byte;
    }

    // A byte full of the pixel in the lowest bits.
    static uint8_t repeated(unsigned pixel)
    {
        return static_cast<uint8_t>(bits == 1 ? (pixel & 1) * 0xFF : (pixel & 15) * 0x11);
    }

    static uint8_t mixed(unsigned own, unsigned other, unsigned mask)
    {
        return static_cast<uint8_t>((own & mask) | (other & ~mask));
    }

    const BitKernels& bits_;
    const AreaView source_;
    const AreaView destination_;
    const Overlap overlap_;
    const unsigned phase_;  // bits in front of the first pixel in its byte
    const size_t bytes_;    // bytes that a line of the source lies in
    const unsigned tail_;   // bits behind the last pixel in its byte
    const uint32_t inside_; // the line's own bits of edgeWord()
    const bool inPlace_;
    alignas(64) uint8_t centre_[runBytes + 2];
    alignas(64) uint8_t out_[runBytes];
    alignas(64) uint8_t outs_[mostLines][runBytes];
};

} // namespace lx
