// Slant measurement: the work areas, the way from the page to the small image, and the analysis on it.
//
// The page is made bilevel at its full size, sampled to 2000 pixels on its longer side, and reduced to 750 by black
// priority, which keeps thin dark lines. The analysis looks for the darkest band of long runs and measures its edges.
// The two profiles are the only memory that the library ever allocates.

#include "geometry/slant_analysis.h"
#include "resolution/workers.h"

#include <cstdlib>

namespace lx
{

namespace
{

constexpr uint32_t smallSide = 750;
constexpr uint32_t mediumSide = 2000;

uint32_t scaledSide(uint32_t side, uint32_t longer, uint32_t shorter)
{
    return static_cast<uint32_t>(static_cast<double>(side) / longer * shorter + 0.5);
}

// Everything but the buffer.
void describe(ImageArea& area, uint32_t width, uint32_t height)
{
    area.type = IMAGE_TYPE_BW;
    area.colorOrder = 0;
    area.bottomUp = 0;
    area.x = 0;
    area.y = 0;
    area.width = width;
    area.height = height;
    area.bytesPerLine = lxCalculateBytesOf1Line(IMAGE_TYPE_BW, width);
    area.lines = height;
}

void describeReduced(ImageArea& area, uint32_t side, const ImageArea& source)
{
    if (source.width < source.height)
        describe(area, scaledSide(side, source.height, source.width), side);
    else
        describe(area, side, source.width == 0 ? 0 : scaledSide(side, source.width, source.height));
}

// Counters for the rows and columns of an image, not cleared.
class Profiles
{
  public:
    Profiles(uint32_t rows, uint32_t columns) noexcept : rows_(counters(rows)), columns_(counters(columns)) {}
    ~Profiles()
    {
        std::free(rows_);
        std::free(columns_);
    }
    Profiles(const Profiles&) = delete;
    Profiles& operator=(const Profiles&) = delete;

    bool allocated() const { return rows_ != nullptr && columns_ != nullptr; }
    uint32_t* rows() const { return rows_; }
    uint32_t* columns() const { return columns_; }

  private:
    static uint32_t* counters(uint32_t count)
    {
        return static_cast<uint32_t*>(std::malloc(size_t{std::max(count, 1U)} * sizeof(uint32_t)));
    }

    uint32_t* rows_;
    uint32_t* columns_;
};

struct Slant {
    double angle = 0.0;
    bool vertical = false;
    Band band;
    BandEdges edges;
};

// False if nothing could be looked at.
bool analyse(const ImageArea& small, Slant& slant)
{
    if (small.type != IMAGE_TYPE_BW || small.bottomUp != 0)
        return false;
    const AreaView view(small);
    const Profiles profiles(view.height(), view.width());
    if (!profiles.allocated())
        return false;
    smoothRunning(view);
    measureRuns(view, profiles.rows(), profiles.columns());
    slant.vertical = isBandVertical(view, profiles.rows(), profiles.columns());
    const BandImage image(view, slant.vertical);
    slant.band = slant.vertical ? findBand(image, profiles.columns(), profiles.rows())
                                : findBand(image, profiles.rows(), profiles.columns());
    if (slant.band.hasExtent()) {
        slant.edges = findEdges(image, slant.band);
        slant.angle = angleOfEdges(slant.edges, slant.vertical);
    }
    return true;
}

// From the page to the small image.
int8_t prepare(const ImageArea& source, const ColorPalette* palette, const ImageArea& small, const ImageArea& medium,
               const ImageArea& full, ProgressCallback progress)
{
    const int8_t converted = source.type == IMAGE_TYPE_BW ? lxMedianFiltering(0, &source, &full, nullptr)
                                                          : lxImageTypeConvertToBW(palette, &source, &full, nullptr);
    if (converted != IMAGE_STATUS_OK || ScaleBilevelBySampling(&full, &medium, nullptr) != IMAGE_STATUS_OK)
        return IMAGE_STATUS_BAD_ARGUMENT;
    return ReduceBilevelBlackPriority(&medium, &small, progress);
}

void store(uint32_t* result, uint32_t value)
{
    if (result != nullptr)
        *result = value;
}

} // namespace

} // namespace lx

using namespace lx;

int8_t lxCalculateMemorySizeForDetectionSlantAngle(const ImageArea* source, ImageArea* small, ImageArea* medium,
                                                   ImageArea* full) noexcept
{
    describeReduced(*small, smallSide, *source);
    describeReduced(*medium, mediumSide, *source);
    describe(*full, source->width, source->height);
    return 7;
}

int8_t lxDetectionSlantAngle(double* angle, const ImageArea* source, const ColorPalette* palette, ImageArea* small,
                             ImageArea* medium, ImageArea* full, ProgressCallback progress) noexcept
{
    return lxDetectionSlantAngleForDebug(angle, source, palette, small, medium, full, nullptr, nullptr, nullptr,
                                         nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                         nullptr, progress);
}

int8_t lxDetectionSlantAngleForDebug(double* angle, const ImageArea* source, const ColorPalette* palette,
                                     ImageArea* small, ImageArea* medium, ImageArea* full, uint32_t* bandFirstColumn,
                                     uint32_t* bandLastColumn, uint32_t* bandFirstRow, uint32_t* bandLastRow,
                                     uint32_t* edgeStartAColumn, uint32_t* edgeStartARow, uint32_t* edgeStartBColumn,
                                     uint32_t* edgeStartBRow, uint32_t* edgeEndAColumn, uint32_t* edgeEndARow,
                                     uint32_t* edgeEndBColumn, uint32_t* edgeEndBRow,
                                     ProgressCallback progress) noexcept
{
    *angle = 0.0;
    const int8_t status = prepare(*source, palette, *small, *medium, *full, progress);
    if (status != IMAGE_STATUS_OK)
        return status;
    Slant slant;
    if (!analyse(*small, slant))
        return IMAGE_STATUS_OK;
    *angle = slant.angle;

    const auto storePair = [&](uint32_t* column, uint32_t* row, uint32_t place, uint32_t line) {
        store(column, slant.vertical ? line : place);
        store(row, slant.vertical ? place : line);
    };
    storePair(bandFirstColumn, bandFirstRow, slant.band.firstPlace, slant.band.firstLine);
    storePair(bandLastColumn, bandLastRow, slant.band.lastPlace, slant.band.lastLine);
    storePair(edgeStartAColumn, edgeStartARow, slant.edges.a.start.place, slant.edges.a.start.line);
    storePair(edgeStartBColumn, edgeStartBRow, slant.edges.b.start.place, slant.edges.b.start.line);
    storePair(edgeEndAColumn, edgeEndARow, slant.edges.a.end.place, slant.edges.a.end.line);
    storePair(edgeEndBColumn, edgeEndBRow, slant.edges.b.end.place, slant.edges.b.end.line);
    return IMAGE_STATUS_OK;
}
