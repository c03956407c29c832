// Changes of size of bilevel areas.

#include "resolution/workers.h"
#include "support/operations.h"

namespace lxtest
{

namespace
{

// Any ratio, on each axis for itself; long lines keep their length within a factor of 2, and some axes their size.
uint32_t rescaled(uint32_t length, Random& random)
{
    if (length > 200)
        return length / 2 + random.below(length);
    return random.chance(15) ? length : random.between(1, 150);
}

void fitAnySize(Size& source, Size& destination, Random& random)
{
    source = {std::max(source.width, 1U), std::max(source.height, 1U)};
    destination = {rescaled(source.width, random), rescaled(source.height, random)};
}

void fitSmaller(Size& source, Size& destination, Random& random)
{
    source = {std::max(source.width, 2U), std::max(source.height, 2U)};
    destination = {random.between(1, source.width - 1), random.between(1, source.height - 1)};
}

Operation scaling(const char* name, lx::ScaleWorker* work)
{
    return {.name = name,
            .sourceTypes = {IMAGE_TYPE_BW},
            .destinationTypes = {IMAGE_TYPE_BW},
            .run = [work](Call& call) { return work(call.source, call.destination, call.progress); },
            .fit = fitAnySize,
            .draws = work == lx::ScaleBilevelByMajority,
            .ownProgress = true};
}

Operation scalingToGray(const char* name, uint32_t selector)
{
    return {.name = name,
            .sourceTypes = {IMAGE_TYPE_BW},
            .destinationTypes = {IMAGE_TYPE_256GRAY},
            .run =
                [selector](Call& call) {
                    ColorPalette palette = paletteOf(IMAGE_TYPE_BW);
                    call.random.fill(palette.entries[0], 6);
                    return lxResolutionAndImageTypeConvertToGrayscaleFromBW(selector, &palette, call.source,
                                                                            call.destination, call.progress);
                },
            .fit = fitAnySize,
            .ownProgress = true};
}

} // namespace

void addBilevelScaling(Operations& operations)
{
    operations.push_back(scaling("ScaleBilevelBySampling", lx::ScaleBilevelBySampling));
    operations.push_back(scaling("ScaleBilevelByRuns", lx::ScaleBilevelByRuns));
    operations.push_back(scaling("ScaleBilevelByMajority", lx::ScaleBilevelByMajority));
    operations.push_back(scaling("ReduceBilevelBlackPriority", lx::ReduceBilevelBlackPriority));
    operations.back().fit = fitSmaller;
    operations.push_back(scalingToGray("ScaleBilevelToGrayByAveraging", 1));
    operations.push_back(scalingToGray("ScaleBilevelToGraySmoothed", 3));
}

} // namespace lxtest
