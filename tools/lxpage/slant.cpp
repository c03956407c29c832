#include "slant.h"

namespace lxpage
{

Slant measureSlant(const Image& page, ProgressCallback progress)
{
    const ImageArea source = page.area();
    ImageArea areas[3];
    lxCalculateMemorySizeForDetectionSlantAngle(&source, &areas[0], &areas[1], &areas[2]);
    Slant slant;
    slant.width = areas[0].width;
    slant.height = areas[0].height;
    if (slant.width == 0 || slant.height == 0) {
        return slant; // a strip too narrow to lie askew visibly
    }
    std::vector<uint8_t> buffers[3];
    for (int k = 0; k < 3; ++k) {
        buffers[k].resize(size_t{areas[k].bytesPerLine} * areas[k].lines);
        areas[k].buffer = buffers[k].data();
    }
    const int8_t status = lxDetectionSlantAngleForDebug(
        &slant.angle, &source, &page.palette, &areas[0], &areas[1], &areas[2], &slant.bandFirst.column,
        &slant.bandLast.column, &slant.bandFirst.row, &slant.bandLast.row, &slant.startA.column, &slant.startA.row,
        &slant.startB.column, &slant.startB.row, &slant.endA.column, &slant.endA.row, &slant.endB.column,
        &slant.endB.row, progress);
    expectOk(status, "lxDetectionSlantAngleForDebug");
    return slant;
}

} // namespace lxpage
