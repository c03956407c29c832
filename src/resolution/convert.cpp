// Change of size: the entry, which picks a worker by pixel format and method.

#include "resolution/workers.h"

#include "frame/area_view.h"

namespace lx
{

namespace
{

// The methods that have a meaning of their own for some type; every other one is `otherMethod`.
enum MethodColumn { method0, method1, method2, method5, otherMethod, methodColumns };

MethodColumn columnOf(uint16_t method)
{
    switch (method) {
    case 0:
        return method0;
    case 1:
        return method1;
    case 2:
        return method2;
    case 5:
        return method5;
    default:
        return otherMethod;
    }
}

constexpr ScaleWorker* workers[][methodColumns] = {
    // IMAGE_TYPE_BW
    {ScaleBilevelBySampling, ScaleBilevelByMajority, ScaleBilevelByRuns, ReduceBilevelBlackPriority,
     ScaleBilevelByMajority},
    // IMAGE_TYPE_16GRAY
    {ScaleGray16BySampling, ScaleGray16BySampling, ScaleGray16BySampling, ScaleGray16BySampling, ScaleGray16BySampling},
    // IMAGE_TYPE_256GRAY
    {ScaleGray256BySampling, ScaleGray256ByAveraging, ScaleGray256ByInterpolation, ScaleGray256ByInterpolation,
     ScaleGray256ByInterpolation},
    // IMAGE_TYPE_8RGB
    {Scale8ColorBySampling, Scale8ColorByDiffusion, Scale8ColorByDiffusion, Scale8ColorByDiffusion,
     Scale8ColorByDiffusion},
    // IMAGE_TYPE_16RGB
    {ScaleColor16BySampling, ScaleColor16BySampling, ScaleColor16BySampling, ScaleColor16BySampling,
     ScaleColor16BySampling},
    // IMAGE_TYPE_256RGB
    {ScaleColor256BySampling, ScaleColor256BySampling, ScaleColor256BySampling, ScaleColor256BySampling,
     ScaleColor256BySampling},
    // IMAGE_TYPE_16MRGB
    {ScaleFullColorBySampling, ScaleFullColorByAveraging, ScaleFullColorByInterpolation, ScaleFullColorByInterpolation,
     ScaleFullColorByInterpolation},
};

} // namespace

} // namespace lx

using namespace lx;

int8_t lxResolutionConvert(uint16_t method, const ImageArea* source, const ImageArea* destination,
                           ProgressCallback progress) noexcept
{
    if (source->type != destination->type || !isPixelType(source->type))
        return IMAGE_STATUS_BAD_ARGUMENT;
    return workers[source->type][columnOf(method)](source, destination, progress);
}
