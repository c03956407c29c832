// Scaling by interpolation between the four neighbours of a position, each of them the mean of a small box where the
// picture shrinks.
//
// Destination pixel i lies at x = i * r, r = source width / destination width, in single precision, between the source
// columns x0 = trunc(x) and x0 + 1; box = trunc(r + 0.5), at least 1, is the width of the boxes, which reach box / 2
// pixels to the left and as many to the right, one fewer if box is even. Two boxes side by side have all but their
// outer columns in common: with the first tap a, the last tap b and the sum m of those between,
// (a + m) + (b - a) * (x - x0) is box times the wanted value. The same holds down the columns.
//
// All of it is fixed-point arithmetic, so that no processor and no order of evaluation matters. Weights are rounded to
// 1 / 32768, the columns are interpolated first and rounded to 1 / 128, then the lines are, and the result is rounded
// to the nearest level, halves upwards. Coordinates are clamped to the area, as is x0 + 1, and a box is at most 2,047
// pixels wide and high.

#include "kernels/kernels.h"
#include "resolution/scale_rows.h"
#include "resolution/workers.h"

#include <cstring>

namespace lx
{

namespace
{

constexpr uint32_t widestBox = 2047;

// Where the destination pixels of one axis lie on the source.
class TapAxis
{
  public:
    struct Taps {
        int64_t first; // the first of box + 1 neighbouring source pixels, before clamping
        int16_t weight;
    };

    TapAxis(uint32_t source, uint32_t destination) noexcept
        : ratio_(static_cast<float>(static_cast<double>(source) / destination)), lastPixel_(source - 1),
          destination_(destination),
          box_(static_cast<uint32_t>(std::min(std::max(static_cast<double>(ratio_ + 0.5F), 1.0), 1.0 * widestBox)))
    {
    }

    uint32_t box() const { return box_; }

    // Every other pixel lies halfway between two source pixels. (Longer axes have positions that are rounded.)
    bool doubles() const { return ratio_ == 0.5F && destination_ <= 1U << 24; }

    Taps at(uint32_t i) const
    {
        const float x = static_cast<float>(i) * ratio_;
        const auto whole = static_cast<int64_t>(x);
        if (whole >= lastPixel_) // no neighbour on the right
            return {static_cast<int64_t>(lastPixel_) - box_ / 2, 0};
        const float fraction = x - static_cast<float>(whole);
        const auto weight = static_cast<int32_t>(static_cast<double>(fraction) * 32768.0 + 0.5);
        return {whole - box_ / 2, static_cast<int16_t>(std::min(weight, 32767))};
    }

    uint32_t clamp(int64_t pixel) const { return static_cast<uint32_t>(std::clamp<int64_t>(pixel, 0, lastPixel_)); }

    // As a walker.
    bool done() const { return next_ == destination_; }
    uint32_t position() const { return next_; }
    void moveOn() { ++next_; }

  private:
    float ratio_;
    uint32_t lastPixel_;
    uint32_t destination_;
    uint32_t box_;
    uint32_t next_ = 0;
};

// A Plan of taps on a stretch of source pixels, of which those outside the area stand for the outermost ones in it.
template <unsigned Channels>
struct TapPlan {
    static constexpr uint32_t componentLimit = 12288;
    static constexpr uint32_t groupLimit = 512;

    uint32_t first = 0;       // destination pixel
    int64_t sourceFirst = 0;  // source pixel
    uint32_t sourceCount = 0; // source pixels
    uint32_t groupCount = 0;
    TapGroup groups[groupLimit];

    uint32_t take(TapAxis& axis, uint32_t from) noexcept
    {
        first = from;
        sourceFirst = axis.at(from).first;
        groupCount = 0;
        uint32_t taken = 0;
        for (; !axis.done() && groupCount + 2 <= groupLimit; axis.moveOn(), ++taken) {
            const TapAxis::Taps taps = axis.at(axis.position());
            const int64_t end = taps.first - sourceFirst + axis.box() + 1;
            if (end * Channels > componentLimit)
                break;
            sourceCount = static_cast<uint32_t>(end);
            add(static_cast<uint32_t>(taps.first - sourceFirst) * Channels, axis.box(), taps.weight);
        }
        return taken;
    }

  private:
    void add(uint32_t component, uint32_t box, int16_t weight)
    {
        TapGroup* group = groupCount != 0 ? &groups[groupCount - 1] : nullptr;
        if (group == nullptr || group->count + Channels > TapGroup::lanes ||
            component - group->base + (box + 1) * Channels > TapGroup::reach) {
            group = &groups[groupCount++];
            std::memset(group, 0, sizeof *group);
            group->base = component;
        }
        for (unsigned c = 0; c < Channels; ++c) {
            group->offsets[group->count] = static_cast<uint16_t>(component - group->base + c);
            group->weights[group->count++] = weight;
        }
        group->last = group->offsets[group->count - 1];
    }
};

template <unsigned Channels>
class Interpolation
{
  public:
    Interpolation(const AreaView& source, const AreaView& destination) noexcept
        : kernels_(*kernels().resample), twice_(kernels().enlarge->twice), source_(source), destination_(destination),
          lines_(source.height(), destination.height()), columns_(source.width(), destination.width()), plans_(columns_)
    {
    }

    void make(uint32_t j) noexcept
    {
        const TapAxis::Taps taps = lines_.at(j);
        if (doubles_) {
            const uint8_t* top = line(0, taps.first);
            const uint8_t* bottom = taps.weight == 0 ? top : line(0, taps.first + 1);
            twice_(top, bottom, destination_.row(j), size_t{source_.width()} * Channels, Channels);
            return;
        }
        plans_.forEach([&](const TapPlan<Channels>& plan) {
            joinLines(plan, taps);
            kernels_.joinColumns(joined_, destination_.at(plan.first, j), plan.groups, plan.groupCount, Channels,
                                 columns_.box());
        });
    }

  private:
    using Plan = TapPlan<Channels>;

    // Interpolates the columns of the plan, and repeats the outermost of the area.
    void joinLines(const Plan& plan, const TapAxis::Taps& taps) noexcept
    {
        const uint32_t begin = columns_.clamp(plan.sourceFirst);
        const uint32_t last = columns_.clamp(plan.sourceFirst + plan.sourceCount - 1);
        const auto before = static_cast<uint32_t>(begin - plan.sourceFirst);
        const uint32_t there = last - begin + 1;
        joinStretch(begin, there, taps, joined_ + size_t{before} * Channels);
        for (uint32_t k = before * Channels; k-- > 0;)
            joined_[k] = joined_[k + Channels];
        for (uint32_t k = (before + there) * Channels; k < plan.sourceCount * Channels; ++k)
            joined_[k] = joined_[k - Channels];
    }

    void joinStretch(uint32_t first, uint32_t pixels, const TapAxis::Taps& taps, uint16_t* joined) noexcept
    {
        const uint32_t box = lines_.box();
        const uint8_t* top = line(first, taps.first);
        const uint8_t* bottom = line(first, taps.first + box);
        const uint32_t n = pixels * Channels;
        if (box == 1) {
            kernels_.joinTwo(top, bottom, joined, n, taps.weight);
        } else if (box == 2) {
            kernels_.joinThree(top, line(first, taps.first + 1), bottom, joined, n, taps.weight);
        } else {
            std::memset(sums_, 0, n * sizeof sums_[0]);
            for (uint32_t t = 1; t < box; ++t)
                kernels_.addRow(line(first, taps.first + t), sums_, n);
            kernels_.joinRows(top, sums_, bottom, joined, n, box, taps.weight);
        }
    }

    const uint8_t* line(uint32_t first, int64_t j) const { return source_.at(first, lines_.clamp(j)); }

    const ResampleKernels& kernels_;
    decltype(EnlargeKernels::twice) twice_;
    const AreaView source_;
    const AreaView destination_;
    const TapAxis lines_;
    const TapAxis columns_;
    // All weights are 0 or a half: the fixed-point steps come to means of two or four pixels.
    const bool doubles_ = lines_.doubles() && columns_.doubles();
    PlannedColumns<TapAxis, Plan> plans_;
    alignas(64) uint32_t sums_[Plan::componentLimit];
    alignas(64) uint16_t joined_[Plan::componentLimit + 64];
};

template <unsigned Channels>
int8_t interpolate(uint16_t type, const ImageArea* source, const ImageArea* destination, ProgressCallback callback)
{
    if (!isScalable(*source, *destination, type))
        return IMAGE_STATUS_BAD_ARGUMENT;
    const AreaView from(*source);
    const AreaView to(*destination);
    Interpolation<Channels> interpolation(from, to);
    Progress progress(callback);
    for (uint32_t j = 0; j < to.height(); ++j) {
        interpolation.make(j);
        progress.shareDone(j, to.height(), 50, 0);
    }
    return IMAGE_STATUS_OK;
}

} // namespace

int8_t ScaleGray256ByInterpolation(const ImageArea* source, const ImageArea* destination,
                                   ProgressCallback progress) noexcept
{
    return interpolate<1>(IMAGE_TYPE_256GRAY, source, destination, progress);
}

int8_t ScaleFullColorByInterpolation(const ImageArea* source, const ImageArea* destination,
                                     ProgressCallback progress) noexcept
{
    return interpolate<3>(IMAGE_TYPE_16MRGB, source, destination, progress);
}

} // namespace lx
