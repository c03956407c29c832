#include "slant.h"

#include <cstdio>

namespace lxpage
{

namespace
{

// The three work areas of a measurement, with their memory.
class WorkAreas
{
  public:
    explicit WorkAreas(const ImageArea& source)
    {
        lxCalculateMemorySizeForDetectionSlantAngle(&source, &small, &medium, &full);
        ImageArea* const areas[] = {&small, &medium, &full};
        for (int k = 0; k < 3; ++k) {
            buffers_[k].resize(lxCalculateMemorySize(areas[k]->type, areas[k]->width, areas[k]->height));
            areas[k]->buffer = buffers_[k].data();
        }
    }

    // A strip too narrow to lie askew visibly has none.
    [[nodiscard]] bool hasPixels() const { return small.width != 0 && small.height != 0; }

    ImageArea small{};
    ImageArea medium{};
    ImageArea full{};

  private:
    std::vector<uint8_t> buffers_[3];
};

} // namespace

Slant measureSlant(const Image& page, bool withEdges, ProgressCallback progress)
{
    const ImageArea source = page.area();
    WorkAreas work(source);
    Slant slant;
    slant.width = work.small.width;
    slant.height = work.small.height;
    if (!work.hasPixels()) {
        return slant;
    }
    if (!withEdges) {
        expectOk(lxDetectionSlantAngle(&slant.angle, &source, &page.palette, &work.small, &work.medium, &work.full,
                                       progress),
                 "lxDetectionSlantAngle");
    }
    if (withEdges || slant.angle == 0) {
        const int8_t status = lxDetectionSlantAngleForDebug(
            &slant.angle, &source, &page.palette, &work.small, &work.medium, &work.full, &slant.bandFirst.column,
            &slant.bandLast.column, &slant.bandFirst.row, &slant.bandLast.row, &slant.startA.column, &slant.startA.row,
            &slant.startB.column, &slant.startB.row, &slant.endA.column, &slant.endA.row, &slant.endB.column,
            &slant.endB.row, withEdges ? progress : nullptr);
        expectOk(status, "lxDetectionSlantAngleForDebug");
    }
    return slant;
}

bool Slant::isMeasured() const
{
    const auto isLevel = [](const Point& start, const Point& end) {
        return start.column == end.column || start.row == end.row;
    };
    // The angle of an edge that is too steep is 0, too.
    return angle != 0 || (hasEdgeA() && isLevel(startA, endA)) || (hasEdgeB() && isLevel(startB, endB));
}

std::string degreesText(const Slant& slant)
{
    char text[16];
    std::snprintf(text, sizeof text, "%12.3f", slant.angle);
    return slant.isMeasured() ? text : "not measured";
}

} // namespace lxpage
