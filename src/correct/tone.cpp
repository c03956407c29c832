// Tone correction: a table built from six settings, and its application in place.
//
// Building runs its stages in a fixed order, each on the table that the one before left. Applying is a lookup of bytes;
// a bilevel line has only two levels, so that it is kept, inverted, set or cleared as a whole.

#include "frame/line_walk.h"
#include "frame/numeric.h"

#include <cmath>
#include <cstring>

namespace lx
{

namespace
{

constexpr double quarterOfPi = 3.1415926535 / 4; // pi to ten digits, deliberately

double fraction(const CorrectionLevel& setting)
{
    return static_cast<double>(setting.level) / setting.maxLevel;
}

// The setting on a scale of 128.
double offsetOf(const CorrectionLevel& setting)
{
    return 128.0 / setting.maxLevel * setting.level;
}

// Rounds, 0 to 255; not-a-number gives 0.
uint8_t saturate(double v)
{
    if (v > 255)
        return 255;
    return v >= 0 ? static_cast<uint8_t>(v + 0.5) : uint8_t{0};
}

// A table in the making.
class ToneCurve
{
  public:
    explicit ToneCurve(GammaTable& table) : entries_(table.entries)
    {
        for (unsigned i = 0; i < 256; ++i)
            entries_[i] = static_cast<uint8_t>(i);
    }

    void brighten(const CorrectionLevel& brightness)
    {
        const double offset = offsetOf(brightness);
        map([=](double e) { return e + offset; });
    }

    void stretch(const CorrectionLevel& contrast)
    {
        const double slope = std::tan((fraction(contrast) + 1.0) * quarterOfPi);
        map([=](double e) { return (e - 127.5) * slope + 127.5; });
    }

    // Both signs darken, a negative setting more gently: deliberately.
    void bend(const CorrectionLevel& gamma)
    {
        const double f = fraction(gamma);
        const double exponent = gamma.level >= 0 ? 1 + 9.0 * f : 1 + 0.9 * -f;
        const double divisor = std::pow(255.0, exponent - 1);
        map([=](double e) { return std::pow(e, exponent) / divisor; });
    }

    // Cuts from H = 255 - t on to white. The 32 entries below H are lowered and not raised, and the ramp reads entry
    // i + H and not H: deliberately.
    void cutHighlights(const CorrectionLevel& highlight)
    {
        if (highlight.level < 1)
            return;
        const auto cut = wrapToInt16(255 - static_cast<uint64_t>(truncateToInt64(offsetOf(highlight) + 0.5)));
        const GammaTable from = copy();
        for (int i = 0; i < 256; ++i) {
            if (i >= cut)
                entries_[i] = 255;
            else if (i >= cut - ramp)
                entries_[i] = saturate(from.entries[i] + (255 - nearest(from, i + cut)) * (i - cut - ramp) * rampStep);
        }
    }

    // Cuts up to S to black. The ramp above it reads entry i + S and not S: deliberately.
    void cutShadows(const CorrectionLevel& shadow)
    {
        if (shadow.level < 1)
            return;
        const auto cut = wrapToInt16(static_cast<uint64_t>(truncateToInt64(offsetOf(shadow) + 0.5)));
        const GammaTable from = copy();
        for (int i = 0; i < 256; ++i) {
            if (i <= cut)
                entries_[i] = 0;
            else if (i <= cut + ramp)
                entries_[i] = saturate(from.entries[i] - nearest(from, i + cut) * (cut + ramp - i) * rampStep);
        }
    }

    void reverse()
    {
        for (unsigned i = 0; i < 256; ++i)
            entries_[i] = static_cast<uint8_t>(255 - entries_[i]);
    }

  private:
    static constexpr int ramp = 32;
    static constexpr double rampStep = 0.03125;

    static int16_t wrapToInt16(uint64_t value) { return static_cast<int16_t>(static_cast<uint16_t>(value)); }

    static int nearest(const GammaTable& table, int i) { return table.entries[std::clamp(i, 0, 255)]; }

    template <class Rule>
    void map(Rule rule)
    {
        for (unsigned i = 0; i < 256; ++i)
            entries_[i] = saturate(rule(entries_[i]));
    }

    GammaTable copy() const
    {
        GammaTable table;
        std::memcpy(table.entries, entries_, sizeof table.entries);
        return table;
    }

    uint8_t* entries_;
};

void CorrectToneBilevel(const GammaTable& table, const ImageArea& image, ProgressCallback progress)
{
    const AreaView area(image);
    const bool black = table.entries[0] >= 128;
    const bool white = table.entries[255] >= 128;
    const uint8_t keep = black == white ? 0 : 0xFF;
    const uint8_t flip = black ? 0xFF : 0;
    const BitKernels& bits = *kernels().bits;
    walkLines(area.height(), progress,
              [&](uint32_t j) { bits.changeBits(area.row(j), area.phase(), area.width(), keep, flip); });
}

void CorrectToneBytes(const GammaTable& table, const ImageArea& image, ProgressCallback progress)
{
    const AreaView area(image);
    const size_t bytes = size_t{area.width()} * (area.bits() / 8);
    const PixelKernels& pixels = *kernels().pixels;
    walkLines(area.height(), progress, [&](uint32_t j) {
        uint8_t* row = area.row(j);
        pixels.lookup(row, row, bytes, table.entries);
    });
}

} // namespace

} // namespace lx

using namespace lx;

int8_t lxCreateGammaCorrectionTable(const CorrectionLevel* brightness, const CorrectionLevel* contrast,
                                    const CorrectionLevel* gamma, const CorrectionLevel* highlight,
                                    const CorrectionLevel* shadow, const int32_t* reverse, GammaTable* table) noexcept
{
    ToneCurve curve(*table);
    curve.brighten(*brightness);
    curve.stretch(*contrast);
    curve.bend(*gamma);
    curve.cutHighlights(*highlight);
    curve.cutShadows(*shadow);
    if (*reverse >= 1)
        curve.reverse();
    return IMAGE_STATUS_OK;
}

int8_t lxGammaCorrection(const GammaTable* table, const ImageArea* area, ProgressCallback progress) noexcept
{
    switch (area->type) {
    case IMAGE_TYPE_BW:
        CorrectToneBilevel(*table, *area, progress);
        return IMAGE_STATUS_OK;
    case IMAGE_TYPE_256GRAY:
    case IMAGE_TYPE_16MRGB:
        CorrectToneBytes(*table, *area, progress);
        return IMAGE_STATUS_OK;
    default:
        return IMAGE_STATUS_BAD_ARGUMENT;
    }
}
