// Thumbnails: which buffers one needs, and the chain of workers that makes one.
//
// Very strong reductions of gray and colour are done in two steps, by sampling to six times the thumbnail's size and
// averaging from there. The sizes at which work areas are described and those at which they are used do not always
// agree; this is deliberate.

#include "frame/area_view.h"
#include "resolution/workers.h"

namespace lx
{

namespace
{

constexpr uint32_t describedFactor = 4; // gray and full colour beyond it have a work area
constexpr uint32_t sampledFactor = 6;   // sources beyond it are sampled to this many times the thumbnail's size first

// Whether both sizes of the source exceed a multiple of the thumbnail's, the product being unsigned.
bool exceeds(const ImageArea& source, const ImageArea& thumbnail, uint32_t factor)
{
    return source.width > factor * thumbnail.width && source.height > factor * thumbnail.height;
}

void describe(ImageArea& work, const ImageArea& source, uint16_t type, uint32_t width, uint32_t height)
{
    work.type = type;
    work.colorOrder = source.colorOrder;
    work.bottomUp = source.bottomUp;
    work.x = 0;
    work.y = 0;
    work.width = width;
    work.height = height;
    work.bytesPerLine = lxCalculateBytesOf1Line(type, width);
    work.lines = height;
}

void describeEmpty(ImageArea& work, const ImageArea& source)
{
    describe(work, source, source.type, 0, 0);
}

void describeSampled(ImageArea& work, const ImageArea& source, uint16_t type, const ImageArea& thumbnail)
{
    describe(work, source, type, sampledFactor * thumbnail.width, sampledFactor * thumbnail.height);
}

// The type of the thumbnail.
uint16_t thumbnailType(const ImageArea& source, const ImageArea& thumbnail)
{
    const bool smaller = exceeds(source, thumbnail, 1);
    if (source.type == IMAGE_TYPE_BW && smaller)
        return IMAGE_TYPE_256GRAY;
    if (source.type == IMAGE_TYPE_8RGB && (smaller || exceeds(source, thumbnail, sampledFactor)))
        return IMAGE_TYPE_16MRGB;
    return source.type;
}

enum WorkAreas : int8_t { noWork = 0, firstWork = 1, bothWork = 3 };

// Describes the work areas that are used, the others being empty already.
WorkAreas describeWork(const ImageArea& source, const ImageArea& thumbnail, ImageArea& work1, ImageArea& work2)
{
    switch (source.type) {
    case IMAGE_TYPE_BW:
        if (!exceeds(source, thumbnail, 1))
            return noWork;
        describe(work1, source, IMAGE_TYPE_256GRAY, source.width, source.height);
        return firstWork;
    case IMAGE_TYPE_256GRAY:
    case IMAGE_TYPE_16MRGB:
        if (!exceeds(source, thumbnail, describedFactor))
            return noWork;
        describeSampled(work1, source, source.type, thumbnail);
        return firstWork;
    case IMAGE_TYPE_8RGB:
        if (exceeds(source, thumbnail, sampledFactor)) {
            describeSampled(work1, source, IMAGE_TYPE_8RGB, thumbnail);
            describeSampled(work2, source, IMAGE_TYPE_16MRGB, thumbnail);
            return bothWork;
        }
        if (!exceeds(source, thumbnail, 1))
            return noWork;
        describe(work1, source, IMAGE_TYPE_16MRGB, source.width, source.height);
        return firstWork;
    default:
        return noWork;
    }
}

ColorPalette paletteOf(uint16_t type)
{
    ColorPalette palette;
    palette.type = type;
    palette.count = 0;
    lxGetColorPalette(&palette);
    return palette;
}

int8_t shrinkBilevel(const ImageArea* source, const ImageArea* thumbnail, ProgressCallback progress)
{
    if (!exceeds(*source, *thumbnail, 1))
        return ScaleBilevelByMajority(source, thumbnail, progress);
    const ColorPalette palette = paletteOf(IMAGE_TYPE_BW);
    return lxResolutionAndImageTypeConvertToGrayscaleFromBW(1, &palette, source, thumbnail, progress);
}

int8_t shrinkByMeans(ScaleWorker* average, StepWorker* reduceInSteps, const ImageArea* source,
                     const ImageArea* thumbnail, const ImageArea* work, ProgressCallback progress)
{
    if (exceeds(*source, *thumbnail, sampledFactor))
        return reduceInSteps(source, work, thumbnail, progress);
    return average(source, thumbnail, progress);
}

// Full colour from 8 colours, then averaged.
int8_t averageColors(const ImageArea* source, const ImageArea* work, const ImageArea* thumbnail,
                     ProgressCallback progress)
{
    const ColorPalette palette = paletteOf(source->type);
    const int8_t status = lxImageTypeConvertTo16MRGB(&palette, source, work, nullptr);
    return status != IMAGE_STATUS_OK ? status : ScaleFullColorByAveraging(work, thumbnail, progress);
}

int8_t shrink8Color(const ImageArea* source, const ImageArea* thumbnail, const ImageArea* work1, const ImageArea* work2,
                    ProgressCallback progress)
{
    if (exceeds(*source, *thumbnail, sampledFactor)) {
        const int8_t status = Scale8ColorBySampling(source, work1, nullptr);
        return status != IMAGE_STATUS_OK ? status : averageColors(work1, work2, thumbnail, progress);
    }
    if (exceeds(*source, *thumbnail, 1))
        return averageColors(source, work1, thumbnail, progress);
    return Scale8ColorByDiffusion(source, thumbnail, progress);
}

} // namespace

} // namespace lx

using namespace lx;

int8_t lxCalculateThumbnailMemorySize(const ImageArea* source, ImageArea* destination, ImageArea* work1,
                                      ImageArea* work2) noexcept
{
    destination->type = thumbnailType(*source, *destination);
    destination->colorOrder = source->colorOrder;
    destination->bottomUp = source->bottomUp;
    destination->bytesPerLine = lxCalculateBytesOf1Line(destination->type, destination->x + destination->width);
    destination->lines = destination->y + destination->height;
    describeEmpty(*work1, *source);
    describeEmpty(*work2, *source);
    return describeWork(*source, *destination, *work1, *work2);
}

int8_t lxCreateThubmnailImage(const ImageArea* source, const ImageArea* destination, const ImageArea* work1,
                              const ImageArea* work2, ProgressCallback progress) noexcept
{
    switch (source->type) {
    case IMAGE_TYPE_BW:
        return shrinkBilevel(source, destination, progress);
    case IMAGE_TYPE_16GRAY:
        return ScaleGray16BySampling(source, destination, progress);
    case IMAGE_TYPE_256GRAY:
        return shrinkByMeans(ScaleGray256ByAveraging, ReduceGray256InSteps, source, destination, work1, progress);
    case IMAGE_TYPE_8RGB:
        return shrink8Color(source, destination, work1, work2, progress);
    case IMAGE_TYPE_16RGB:
        return ScaleColor16BySampling(source, destination, progress);
    case IMAGE_TYPE_256RGB:
        return ScaleColor256BySampling(source, destination, progress);
    case IMAGE_TYPE_16MRGB:
        return shrinkByMeans(ScaleFullColorByAveraging, ReduceFullColorInSteps, source, destination, work1, progress);
    default:
        return IMAGE_STATUS_BAD_ARGUMENT;
    }
}
