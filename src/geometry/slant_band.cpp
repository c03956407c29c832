// Where the darkest band of the page lies: run profiles, its orientation and its bounds.

#include "geometry/slant_analysis.h"

#include <bit>

namespace lx
{

namespace
{

// The longest run of dark pixels in a row that a white pixel ends.
uint32_t longestRun(const PixelWords& words, uint32_t j)
{
    uint32_t longest = 0;
    uint32_t run = 0;
    for (uint32_t w = 0; w < words.count(); ++w) {
        uint64_t white = words.load(j, w);
        unsigned left = words.pixelsOf(w);
        while (white != 0) {
            const auto dark = static_cast<unsigned>(std::countr_zero(white));
            longest = std::max(longest, run + dark);
            run = 0;
            white >>= dark;
            const auto bright = static_cast<unsigned>(std::countr_one(white));
            left -= dark + bright;
            white = bright == PixelWords::most ? 0 : white >> bright;
        }
        run += left;
    }
    return longest;
}

// The longest runs of the columns of word w. Only changes from one row to the next cost time.
void measureColumns(const PixelWords& words, uint32_t height, uint32_t w, uint64_t wanted, uint32_t* columns)
{
    uint32_t start[PixelWords::most];
    uint64_t before = ~uint64_t{0};
    for (uint32_t j = 0; j < height; ++j) {
        const uint64_t white = words.load(j, w) | ~wanted;
        for (uint64_t begun = before & ~white; begun != 0; begun &= begun - 1)
            start[std::countr_zero(begun)] = j;
        for (uint64_t ended = ~before & white; ended != 0; ended &= ended - 1) {
            const int c = std::countr_zero(ended);
            columns[c] = std::max(columns[c], j - start[c]);
        }
        before = white;
    }
}

uint64_t sumOf(const uint32_t* values, uint32_t count)
{
    uint64_t sum = 0;
    for (uint32_t k = 0; k < count; ++k)
        sum += values[k];
    return sum;
}

uint32_t maximumOf(const uint32_t* values, uint32_t count)
{
    uint32_t most = 0;
    for (uint32_t k = 0; k < count; ++k)
        most = std::max(most, values[k]);
    return most;
}

uint32_t meanOf(const uint32_t* values, uint32_t count)
{
    return count == 0 ? 0 : static_cast<uint32_t>(sumOf(values, count) / count);
}

// Not a number if both are 0.
double percentage(uint32_t a, uint32_t b)
{
    return static_cast<double>(std::min(a, b)) / std::max(a, b) * 100.0;
}

// What touches the start of the image is not a band: lines are cleared up to the first one with short runs.
void trimStart(uint32_t* lineRuns, uint32_t lines, uint32_t mean)
{
    for (uint32_t k = 0; k < lines && lineRuns[k] >= mean / 2; ++k)
        lineRuns[k] = 0;
}

// The first of the strongest groups of lines with runs of at least `mean`. The first group of all, and one that
// reaches the last line, count only if asked for.
bool findBandLines(const uint32_t* lineRuns, uint32_t lines, uint32_t mean, bool all, Band& band)
{
    uint32_t best = 0;
    bool isFirst = true;
    for (uint32_t k = 0; k < lines;) {
        if (lineRuns[k] < mean) {
            ++k;
            continue;
        }
        const uint32_t begin = k;
        uint32_t strength = 0;
        for (; k < lines && lineRuns[k] >= mean; ++k)
            strength = std::max(strength, lineRuns[k]);
        const bool counts = all || (!isFirst && k < lines);
        isFirst = false;
        if (counts && strength > best) {
            best = strength;
            band.firstLine = begin;
            band.lastLine = k - 1;
        }
    }
    return best != 0;
}

// The longest group of places with dark pixels becomes the band; the result is the sum of its counts.
uint64_t findLongestGroup(const uint32_t* counts, uint32_t places, Band& band)
{
    uint32_t best = 0;
    uint64_t sum = 0;
    for (uint32_t k = 0; k < places;) {
        if (counts[k] == 0) {
            ++k;
            continue;
        }
        const uint32_t begin = k;
        while (k < places && counts[k] != 0)
            ++k;
        if (k - begin > best) {
            best = k - begin;
            sum = sumOf(counts + begin, best);
            band.firstPlace = begin;
            band.lastPlace = k - 1;
        }
    }
    return sum;
}

// The start of the second group of places, seen from either end; `end` if there is none.
template <class Count>
uint32_t secondGroup(uint32_t end, Count count)
{
    uint32_t k = 0;
    while (k < end && count(k) == 0)
        ++k;
    while (k < end && count(k) != 0)
        ++k;
    while (k < end && count(k) == 0)
        ++k;
    return k;
}

// A band in pieces: its outermost groups are passed over. The last place lies one beyond the group's last,
// deliberately.
void searchFromEnds(const uint32_t* counts, uint32_t places, Band& band)
{
    const uint32_t first = secondGroup(places, [&](uint32_t k) { return counts[k]; });
    band.firstPlace = first == places ? 0 : first;
    const uint32_t last = secondGroup(places, [&](uint32_t k) { return counts[places - 1 - k]; });
    band.lastPlace = last == places ? 0 : places - 1 - last + 1;
}

} // namespace

void measureRuns(const AreaView& image, uint32_t* rows, uint32_t* columns) noexcept
{
    const PixelWords words(image);
    for (uint32_t j = 0; j < image.height(); ++j)
        rows[j] = longestRun(words, j);
    std::fill(columns, columns + image.width(), 0U);
    const uint32_t margin = image.width() / 20;
    for (uint32_t w = 0; w < words.count(); ++w) {
        uint64_t wanted = 0;
        for (unsigned k = 0; k < words.pixelsOf(w); ++k) {
            const uint32_t c = w * PixelWords::most + k;
            wanted |= (c > margin && c < image.width() - margin ? uint64_t{1} : uint64_t{0}) << k;
        }
        measureColumns(words, image.height(), w, wanted, columns + w * PixelWords::most);
    }
}

bool isBandVertical(const AreaView& image, const uint32_t* rows, const uint32_t* columns) noexcept
{
    const uint32_t maxRow = maximumOf(rows, image.height());
    const uint32_t maxColumn = maximumOf(columns, image.width());
    const uint32_t meanRow = meanOf(rows, image.height());
    const uint32_t meanColumn = meanOf(columns, image.width());
    // The measure in which the two directions differ more decides.
    if (percentage(maxColumn, maxRow) >= percentage(meanColumn, meanRow))
        return meanRow < meanColumn;
    return maxRow < maxColumn;
}

Band findBand(const BandImage& image, uint32_t* lineRuns, uint32_t* places) noexcept
{
    Band band;
    const uint32_t mean = meanOf(lineRuns, image.lines());
    trimStart(lineRuns, image.lines(), mean);
    if (!findBandLines(lineRuns, image.lines(), mean, false, band) &&
        !findBandLines(lineRuns, image.lines(), mean, true, band))
        return band;
    const uint32_t count = image.places();
    for (uint32_t place = 0; place < count; ++place) {
        places[place] = 0;
        for (uint32_t line = band.firstLine; line <= band.lastLine; ++line)
            places[place] += image.isDark(place, line) ? 1 : 0;
    }
    const uint64_t inside = findLongestGroup(places, count, band);
    const uint64_t total = sumOf(places, count);
    if (!(static_cast<double>(inside) / static_cast<double>(total) * 100.0 > 30.0))
        searchFromEnds(places, count, band);
    return band;
}

} // namespace lx
