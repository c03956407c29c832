// The running majority filter of slant measurement.
//
// Rows go from the top and pixels from the left, and a pixel sees what has become of those before it. Each pixel is
// decided twice: when the scan reaches it, and again when its right neighbour has been decided for the first time.
// Pixels beyond an edge are the edge pixels as they stand at that moment. The last pixel of a row has no next column;
// its second decision follows at the end of the row, with itself as the right neighbour.
//
// Within a row the rows above and below do not change, so the count of their six pixels says how many of the row's own
// three are still needed for a majority. More white on the left never makes a pixel dark, so each pixel is of the form
// set | (pass & left). That is how carries run through an addition: one addition decides 64 pixels in their order.

#include "geometry/slant_analysis.h"

namespace lx
{

namespace
{

// The bits of each byte in the opposite order.
uint64_t reverseInBytes(uint64_t v)
{
    v = (v >> 1 & 0x5555555555555555ULL) | (v & 0x5555555555555555ULL) << 1;
    v = (v >> 2 & 0x3333333333333333ULL) | (v & 0x3333333333333333ULL) << 2;
    return (v >> 4 & 0x0F0F0F0F0F0F0F0FULL) | (v & 0x0F0F0F0F0F0F0F0FULL) << 4;
}

uint64_t odd(uint64_t a, uint64_t b, uint64_t c)
{
    return a ^ b ^ c;
}

uint64_t atLeastTwo(uint64_t a, uint64_t b, uint64_t c)
{
    return (a & b) | (c & (a ^ b));
}

// The pixels of a word that has n of them, the last one repeated beyond.
uint64_t repeatLast(uint64_t pixels, unsigned n)
{
    const uint64_t mask = PixelWords::mask(n);
    return (pixels & mask) | ((0 - (pixels >> (n - 1) & 1)) & ~mask);
}

// Three neighbouring words of a row, with the row's edge pixels repeated beyond its ends.
struct Triple {
    uint64_t before;
    uint64_t here;
    uint64_t after;

    uint64_t left() const { return here << 1 | before >> 63; }
    uint64_t right() const { return here >> 1 | after << 63; }
};

class RowScan
{
  public:
    RowScan(const PixelWords& words, uint32_t j) : words_(words), j_(j)
    {
        next_ = fetch(0);
        triple_.here = 0 - (next_ & 1); // becomes what lies before the first word
    }

    const Triple& advance(uint32_t w)
    {
        triple_.before = triple_.here;
        triple_.here = next_;
        next_ = fetch(w + 1);
        triple_.after = next_;
        return triple_;
    }

  private:
    uint64_t fetch(uint32_t w) const
    {
        if (w == words_.count())
            return 0 - (triple_.here >> 63);
        const unsigned n = words_.pixelsOf(w);
        const uint64_t pixels = words_.load(j_, w);
        return repeatLast(pixels, n);
    }

    const PixelWords& words_;
    uint32_t j_;
    uint64_t next_ = 0;
    Triple triple_ = {0, 0, 0};
};

// Where at least 0, 1, 2 and 3 white pixels of the row's own three give a majority. Each implies the next.
struct Needed {
    uint64_t none;
    uint64_t one;
    uint64_t two;
    uint64_t three;
};

Needed betweenRows(const Triple& above, const Triple& below)
{
    // The six are ones + 2 twos + 4 fours.
    const Triple single = {above.before ^ below.before, above.here ^ below.here, above.after ^ below.after};
    const Triple both = {above.before & below.before, above.here & below.here, above.after & below.after};
    const uint64_t ones = odd(single.left(), single.here, single.right());
    const uint64_t carry = atLeastTwo(single.left(), single.here, single.right());
    const uint64_t pairs = odd(both.left(), both.here, both.right());
    const uint64_t twos = carry ^ pairs;
    const uint64_t fours = (carry & pairs) | atLeastTwo(both.left(), both.here, both.right());
    return {fours & (ones | twos), fours, fours | (twos & ones), fours | twos};
}

// At the top and bottom of the image, where the row counts twice.
Needed besideRow(const Triple& other)
{
    const uint64_t any = other.left() | other.here | other.right();
    const uint64_t all = other.left() & other.here & other.right();
    return {0, all, any, ~uint64_t{0}};
}

Needed aloneInImage()
{
    return {0, 0, ~uint64_t{0}, ~uint64_t{0}};
}

// Decides 64 pixels one after the other: `here` and `right` as they stand, `left` being the pixel before the first.
uint64_t decide(const Needed& needed, uint64_t here, uint64_t right, uint64_t left)
{
    const uint64_t either = here | right;
    const uint64_t both = here & right;
    const uint64_t set = needed.none | (needed.one & either) | (needed.two & both);
    const uint64_t pass = needed.one | (needed.two & either) | (needed.three & both) | set;
    const uint64_t partial = pass + set;
    const uint64_t sum = partial + left;
    const uint64_t carryOut = static_cast<uint64_t>(partial < pass) | static_cast<uint64_t>(sum < partial);
    return (sum ^ pass ^ set) >> 1 | carryOut << 63;
}

class RowSmoothing
{
  public:
    RowSmoothing(const PixelWords& words, uint32_t j) : words_(words), j_(j) {}

    // Takes the word w of the row in its turn: decides it for the first time, and the word before for the second.
    void step(uint32_t w, const Needed& needed, const Triple& row)
    {
        uint64_t first = decide(needed, row.here, row.right(), w == 0 ? row.here & 1 : first_ >> 63);
        first = repeatLast(first, words_.pixelsOf(w));
        if (w == 0)
            last_ = first & 1;
        else
            decideAgain(w - 1, first & 1);
        first_ = first;
        needed_ = needed;
    }

    void finish() { decideAgain(words_.count() - 1, first_ >> 63); }

  private:
    void decideAgain(uint32_t w, uint64_t firstOfNext)
    {
        const uint64_t second = decide(needed_, first_, first_ >> 1 | firstOfNext << 63, last_);
        words_.store(j_, w, second);
        last_ = second >> 63;
    }

    const PixelWords& words_;
    uint32_t j_;
    uint64_t first_ = 0; // first decisions of the word before, and what it needed
    Needed needed_ = {0, 0, 0, 0};
    uint64_t last_ = 0; // the pixel before that word, decided for good
};

} // namespace

uint64_t PixelWords::load(uint32_t j, uint32_t w) const noexcept
{
    const uint8_t* bytes = image_.at(w * most, j);
    const unsigned phase = image_.phase(w * most);
    const unsigned n = pixelsOf(w);
    uint64_t pixels = 0;
    if (n == most && phase == 0) {
        for (unsigned k = 0; k < 8; ++k)
            pixels |= uint64_t{bytes[k]} << 8 * k;
        return reverseInBytes(pixels);
    }
    for (unsigned k = 0; k < n; ++k)
        pixels |= uint64_t{bytes[(phase + k) / 8] >> (7 - (phase + k) % 8) & 1U} << k;
    return pixels;
}

void PixelWords::store(uint32_t j, uint32_t w, uint64_t pixels) const noexcept
{
    uint8_t* bytes = image_.at(w * most, j);
    const unsigned phase = image_.phase(w * most);
    const unsigned n = pixelsOf(w);
    if (n == most && phase == 0) {
        const uint64_t reversed = reverseInBytes(pixels);
        for (unsigned k = 0; k < 8; ++k)
            bytes[k] = static_cast<uint8_t>(reversed >> 8 * k);
        return;
    }
    for (unsigned k = 0; k < n; ++k) {
        const unsigned bit = 0x80U >> (phase + k) % 8;
        uint8_t& byte = bytes[(phase + k) / 8];
        byte = static_cast<uint8_t>((pixels >> k & 1) != 0 ? byte | bit : byte & ~bit);
    }
}

void smoothRunning(const AreaView& image) noexcept
{
    const PixelWords words(image);
    const uint32_t height = image.height();
    if (image.width() == 0)
        return;
    for (uint32_t j = 0; j < height; ++j) {
        const bool isFirst = j == 0;
        const bool isLast = j + 1 == height;
        RowScan above(words, isFirst ? j : j - 1);
        RowScan here(words, j);
        RowScan below(words, isLast ? j : j + 1);
        RowSmoothing smoothing(words, j);
        for (uint32_t w = 0; w < words.count(); ++w) {
            const Triple& up = above.advance(w);
            const Triple& row = here.advance(w);
            const Triple& down = below.advance(w);
            if (!isFirst && !isLast)
                smoothing.step(w, betweenRows(up, down), row);
            else if (isFirst && isLast)
                smoothing.step(w, aloneInImage(), row);
            else
                smoothing.step(w, besideRow(isFirst ? down : up), row);
        }
        smoothing.finish();
    }
}

} // namespace lx
