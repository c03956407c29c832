// The driver of operations on the 3 x 3 neighbourhood of a pixel, for gray and full-colour areas.
//
// An operation gets three rows at a time: the line in work and its neighbours. The pixels left and right of a run can
// be read, too; beyond the work rectangle its edge pixels are replicated. Rows are handed out where they lie, except
// for the two edge pixels of a line, which are worked on in a small copy. Where nothing forbids it, an operation may
// take four lines at a time with their neighbours, six rows, to share work between them.
//
// Source and destination may be the same pixels. The line in work is then read from a copy, so that a line sees its
// own original and the lines below it, and the new pixels of the lines above.

#pragma once

#include "frame/line_walk.h"

namespace lx
{

// One pixel, and those above and below it. Its left and right neighbours can be read in all three rows.
struct WindowRows {
    const uint8_t* upper;
    const uint8_t* centre;
    const uint8_t* lower;

    WindowRows at(size_t bytes) const { return {upper + bytes, centre + bytes, lower + bytes}; }
};

// Line j and its neighbours, at its first byte. Beyond the work rectangle they are line j itself.
inline WindowRows rowsAround(const AreaView& area, uint32_t height, uint32_t j)
{
    const uint8_t* centre = area.row(j);
    return {j == 0 ? centre : area.row(j - 1), centre, j + 1 == height ? centre : area.row(j + 1)};
}

// Lines j to j + count - 1 between their neighbours, likewise: rows[0] to rows[count + 1].
inline void gatherRows(const AreaView& area, uint32_t height, uint32_t j, uint32_t count, const uint8_t** rows)
{
    const uint8_t* row = area.row(j);
    rows[0] = j == 0 ? row : row - area.lineStep();
    for (uint32_t k = 1; k <= count; ++k, row += area.lineStep())
        rows[k] = row;
    rows[count + 1] = j + count == height ? rows[count] : row;
}

// Whether pixel (i, j) of one area is pixel (i, j) of the other, over all of their overlap.
inline bool arePixelsShared(const AreaView& a, const AreaView& b)
{
    return a.row(0) == b.row(0) && a.phase() == b.phase() &&
           (std::min(a.height(), b.height()) <= 1 || a.lineStep() == b.lineStep());
}

// `bytes` is the size of a pixel in both areas: 1 or 3.
template <unsigned bytes>
class WindowWalk
{
  public:
    WindowWalk(const AreaView& source, const AreaView& destination) noexcept
        : source_(source), destination_(destination), overlap_(source, destination),
          inPlace_(arePixelsShared(source, destination)),
          swaps_(bytes == 3 && source.blueFirst() != destination.blueFirst())
    {
    }

    uint32_t height() const { return overlap_.height; }
    bool inPlace() const { return inPlace_; }

    // Calls `window(rows, out, i, n)` for runs of the line, in no order: `rows` is the neighbourhood of pixel i, and
    // the results for n <= chunkPixels pixels go to `out`, which shares no byte with the rows. Components are in the
    // source's order on both sides.
    template <class Window>
    void line(uint32_t j, Window window) noexcept
    {
        const uint32_t width = overlap_.width;
        if (width == 0)
            return;
        const WindowRows rows = rowsAround(source_, overlap_.height, j);
        uint8_t* out = destination_.row(j);
        uint8_t first[bytes];
        uint8_t last[bytes];
        edge(rows, 0, first, window);
        edge(rows, width - 1, last, window);
        if (width > 2)
            interior(rows, out, window);
        place(first, out, 1);
        place(last, out + size_t{width - 1} * bytes, 1);
    }

    // Works on four lines from line j on where that can be, or on one. Returns how many.
    template <class Window, class Four>
    uint32_t lines(uint32_t j, Window window, Four four) noexcept
    {
        if (hasFour(j)) {
            fourLines(j, four);
            return 4;
        }
        line(j, window);
        return 1;
    }

  private:
    // Whether the lines from j on can be worked on four at a time: they and their results lie as the operation wants
    // them, and none is changed before its neighbours are done.
    bool hasFour(uint32_t j) const { return !inPlace_ && !swaps_ && overlap_.width > 2 && overlap_.height - j >= 4; }

    // Calls `four(rows, outs, n)` for runs of lines j to j + 3, in no order: the lines and their neighbours are in
    // rows[0] to rows[5], at the first of n pixels, and the results go to outs[0] to outs[3].
    template <class Four>
    void fourLines(uint32_t j, Four four) noexcept
    {
        const uint8_t* rows[6];
        gatherRows(source_, overlap_.height, j, 4, rows);
        uint8_t* outs[4];
        for (uint32_t k = 0; k < 4; ++k)
            outs[k] = destination_.row(j + k);
        fourEdges(rows, outs, four);
        for (const uint8_t*& row : rows)
            row += bytes;
        for (uint8_t*& out : outs)
            out += bytes;
        four(rows, outs, overlap_.width - 2);
    }

    // Both edge pixels of the four lines at once, each in the middle of three pixels of a small picture.
    template <class Four>
    void fourEdges(const uint8_t* const* rows, uint8_t* const* outs, Four four)
    {
        const size_t end = size_t{overlap_.width - 1} * bytes;
        const uint8_t* pictureRows[6];
        uint8_t* results[4];
        for (unsigned k = 0; k < 6; ++k) {
            uint8_t* to = edges_[k];
            std::memcpy(to, rows[k], bytes);
            std::memcpy(to + bytes, rows[k], 2 * bytes);
            std::memcpy(to + 3 * bytes, rows[k] + end - bytes, 2 * bytes);
            std::memcpy(to + 5 * bytes, rows[k] + end, bytes);
            pictureRows[k] = to + bytes;
        }
        for (unsigned k = 0; k < 4; ++k)
            results[k] = edgeResults_[k];
        four(pictureRows, results, edgePixels);
        for (unsigned k = 0; k < 4; ++k) {
            std::memcpy(outs[k], results[k], bytes);
            std::memcpy(outs[k] + end, results[k] + 3 * bytes, bytes);
        }
    }

    template <class Window>
    void edge(const WindowRows& rows, uint32_t i, uint8_t* result, Window window)
    {
        uint8_t upper[3 * bytes];
        uint8_t centre[3 * bytes];
        uint8_t lower[3 * bytes];
        const size_t at = size_t{i} * bytes;
        const size_t left = i == 0 ? at : at - bytes;
        const size_t right = i + 1 == overlap_.width ? at : at + bytes;
        const auto gather = [&](const uint8_t* row, uint8_t* three) {
            std::memcpy(three, row + left, bytes);
            std::memcpy(three + bytes, row + at, bytes);
            std::memcpy(three + 2 * bytes, row + right, bytes);
        };
        gather(rows.upper, upper);
        gather(rows.centre, centre);
        gather(rows.lower, lower);
        window(WindowRows{upper + bytes, centre + bytes, lower + bytes}, result, i, 1);
    }

    template <class Window>
    void interior(const WindowRows& rows, uint8_t* out, Window window)
    {
        if (inPlace_)
            std::memcpy(centre_, rows.centre, bytes);
        walkChunks(overlap_.width - 2, chunkPixels, [&](uint32_t k, uint32_t n) {
            const size_t at = size_t{k + 1} * bytes;
            WindowRows run = rows.at(at);
            if (inPlace_)
                run = fromCopy(rows, run, n);
            if (swaps_) {
                window(run, swapped_, k + 1, n);
                place(swapped_, out + at, n);
            } else {
                window(run, out + at, k + 1, n);
            }
            if (inPlace_)
                std::memcpy(centre_, centre_ + size_t{n} * bytes, bytes);
        });
    }

    // Copies n pixels and their right neighbour behind the left neighbour, which is in the copy already: it has been
    // overwritten at home.
    WindowRows fromCopy(const WindowRows& rows, const WindowRows& run, uint32_t n)
    {
        uint8_t* copy = centre_ + bytes;
        std::memcpy(copy, run.centre, (size_t{n} + 1) * bytes);
        return {rows.upper == rows.centre ? copy : run.upper, copy, rows.lower == rows.centre ? copy : run.lower};
    }

    void place(const uint8_t* pixels, uint8_t* out, uint32_t n) const
    {
        if (!swaps_) {
            std::memcpy(out, pixels, size_t{n} * bytes);
            return;
        }
        for (size_t k = 0; k < size_t{n} * bytes; k += bytes) {
            for (unsigned c = 0; c < bytes; ++c)
                out[k + c] = pixels[k + bytes - 1 - c];
        }
    }

    // Enough for a whole register of the widest kernels, which are slow with less.
    static constexpr uint32_t edgePixels = (63 + bytes) / bytes;

    const AreaView source_;
    const AreaView destination_;
    const Overlap overlap_;
    const bool inPlace_;
    const bool swaps_;
    alignas(64) uint8_t centre_[size_t{chunkPixels + 2} * bytes];
    alignas(64) uint8_t swapped_[size_t{chunkPixels} * bytes];
    uint8_t edges_[6][(edgePixels + 2) * bytes] = {};
    uint8_t edgeResults_[4][edgePixels * bytes];
};

// Whole areas, with the common progress rule.
template <unsigned bytes, class Window, class Four>
void mapWindows(const AreaView& source, const AreaView& destination, ProgressCallback callback, Window window,
                Four four)
{
    WindowWalk<bytes> walk(source, destination);
    Progress progress(callback);
    for (uint32_t j = 0; j < walk.height();) {
        for (const uint32_t end = j + walk.lines(j, window, four); j < end; ++j)
            progress.lineDone(j, walk.height());
    }
}

} // namespace lx
