#include "halftone.h"

#include "error.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <numbers>
#include <numeric>

namespace lxpage
{

namespace
{

struct NamedKernel {
    const char* name;
    ErrorDiffusionKernel kernel;
};

constexpr NamedKernel namedKernels[] = {
    {"floyd-steinberg", {7 / 16.0, 3 / 16.0, 5 / 16.0, 1 / 16.0}},
    {"three-way", {3 / 8.0, 0, 3 / 8.0, 2 / 8.0}},
    {"light", {2 / 4.0, 1 / 4.0, 1 / 4.0, 0}},
    {"even", {1 / 4.0, 1 / 4.0, 1 / 4.0, 1 / 4.0}},
};

// Dispersed dots: each quadrant of a matrix of twice the size is the smaller matrix, and the quadrants take turns in
// the order of a diagonal cross.
unsigned bayerRank(unsigned size, unsigned row, unsigned column)
{
    if (size == 1) {
        return 0;
    }
    static constexpr unsigned turn[2][2] = {{0, 2}, {3, 1}};
    const unsigned half = size / 2;
    return 4 * bayerRank(half, row % half, column % half) + turn[row / half][column / half];
}

DitherMatrix bayerMatrix(unsigned size)
{
    DitherMatrix matrix{static_cast<uint16_t>(size), static_cast<uint16_t>(size), {}};
    for (unsigned row = 0; row < size; ++row) {
        for (unsigned column = 0; column < size; ++column) {
            matrix.values[row][column] = static_cast<uint16_t>(bayerRank(size, row, column));
        }
    }
    return matrix;
}

// Clustered dots on a screen at 45 degrees: pixels rank by the height of two crossing waves, equal heights by the
// dispersed matrix, which makes the two dots of the matrix grow in turn.
DitherMatrix clusterMatrix()
{
    constexpr unsigned size = 8;
    struct Spot {
        long height;
        unsigned turn, row, column;
    };
    std::vector<Spot> spots;
    for (unsigned row = 0; row < size; ++row) {
        for (unsigned column = 0; column < size; ++column) {
            const double along = (row + column) * 2 * std::numbers::pi / size;
            const double across = (row + size - column) * 2 * std::numbers::pi / size;
            const long height = std::lround((std::cos(along) + std::cos(across)) * 1000);
            spots.push_back({height, bayerRank(size, row, column), row, column});
        }
    }
    std::sort(spots.begin(), spots.end(), [](const Spot& a, const Spot& b) {
        return a.height != b.height ? a.height < b.height : a.turn < b.turn;
    });
    DitherMatrix matrix{size, size, {}};
    for (unsigned rank = 0; rank < spots.size(); ++rank) {
        matrix.values[spots[rank].row][spots[rank].column] = static_cast<uint16_t>(rank);
    }
    return matrix;
}

// One page on its way through the bands: the gray band, and all that is carried from one band to the next.
class Halftoner
{
  public:
    Halftoner(const HalftoneSettings& settings, const Image& page, uint32_t bandLines)
        : settings_(settings), page_(page), gray_(IMAGE_TYPE_256GRAY, gridWidth(), std::min(bandLines, page.height())),
          result_(IMAGE_TYPE_BW, page.width(), page.height(), page.resolution, gray_.width())
    {
        // Columns added to the page are white paper.
        std::memset(gray_.line(0), 255, size_t{gray_.bytesPerLine()} * gray_.height());
        if (settings.method == HalftoneMethod::Diffusion) {
            carry_.resize(lxCalculateErrorBufferSize(IMAGE_TYPE_BW, gray_.width()) / sizeof(double));
            errorBuffer_ = {carry_.data(), static_cast<uint32_t>(carry_.size() * sizeof(double))};
            lxClearErrorBuffer(&errorBuffer_);
        }
    }

    void convertBand(unsigned index, unsigned bands, ProgressBar& bar);
    Image take() { return std::move(result_); }

  private:
    // The library lets the dither's column run on from line to line. Lines made a whole number of matrix columns long
    // keep the pattern upright.
    [[nodiscard]] uint32_t gridWidth() const
    {
        const uint32_t columns = settings_.method == HalftoneMethod::Dither ? settings_.matrix.columns : 1;
        return (page_.width() + columns - 1) / columns * columns;
    }

    const HalftoneSettings& settings_;
    const Image& page_;
    Image gray_;
    Image result_;
    std::vector<double> carry_;
    ErrorBufferDesc errorBuffer_{};
    uint16_t phaseX_ = 0;
    uint16_t phaseY_ = 0;
};

void Halftoner::convertBand(unsigned index, unsigned bands, ProgressBar& bar)
{
    const uint32_t y = index * gray_.height();
    ImageArea to = result_.band(y, gray_.height());
    to.width = gray_.width();
    const ImageArea from = gray_.band(0, to.height);
    convertToGray(page_, page_.band(y, to.height), settings_.channel, from, bar.part(2 * index, 2 * bands));
    const ProgressCallback toBilevel = bar.part(2 * index + 1, 2 * bands);
    switch (settings_.method) {
    case HalftoneMethod::Fixed: // has no bands
        break;
    case HalftoneMethod::Threshold:
        expectOk(lxImageTypeConvertToBWNonHalftone(&settings_.threshold, &from, &to, toBilevel),
                 "lxImageTypeConvertToBWNonHalftone");
        break;
    case HalftoneMethod::Dither:
        expectOk(lxImageTypeConvertToBWDitherHalftone(&phaseX_, &phaseY_, &settings_.matrix, &from, &to, toBilevel),
                 "lxImageTypeConvertToBWDitherHalftone");
        break;
    case HalftoneMethod::Diffusion:
        expectOk(lxImageTypeConvertToBWEDHalftone(settings_.randomKernels,
                                                  static_cast<uint16_t>(settings_.kernels.size()),
                                                  settings_.kernels.data(), &errorBuffer_, &from, &to, toBilevel),
                 "lxImageTypeConvertToBWEDHalftone");
        break;
    }
}

Image atFixedThreshold(const Image& page, ProgressBar& bar)
{
    Image result(IMAGE_TYPE_BW, page.width(), page.height(), page.resolution);
    const ImageArea from = page.area();
    const ImageArea to = result.area();
    expectOk(lxImageTypeConvertToBW(&page.palette, &from, &to, bar.part(0, 1)), "lxImageTypeConvertToBW");
    return result;
}

} // namespace

std::vector<std::string> matrixNames()
{
    return {"bayer2", "bayer4", "bayer8", "bayer16", "cluster"};
}

DitherMatrix matrixNamed(const std::string& name)
{
    return name == "cluster" ? clusterMatrix() : bayerMatrix(static_cast<unsigned>(std::stoul(name.substr(5))));
}

std::vector<std::string> kernelNames()
{
    std::vector<std::string> names;
    for (const NamedKernel& named : namedKernels) {
        names.emplace_back(named.name);
    }
    return names;
}

ErrorDiffusionKernel kernelFrom(const std::string& text)
{
    for (const NamedKernel& named : namedKernels) {
        if (text == named.name) {
            return named.kernel;
        }
    }
    double w[4];
    char rest;
    if (std::sscanf(text.c_str(), "%lf,%lf,%lf,%lf%c", &w[0], &w[1], &w[2], &w[3], &rest) != 4) {
        std::string names;
        for (const std::string& name : kernelNames()) {
            names += name + ", ";
        }
        throw PageError(ExitCode::Usage,
                        "no kernel '" + text + "': it is one of " + names + "or four weights such as 0.5,0.2,0.2,0.1");
    }
    // Weights of more than the whole error would build up from pixel to pixel.
    const bool sound = std::all_of(w, w + 4, [](double weight) { return weight >= 0 && weight <= 1; });
    if (!sound || std::accumulate(w, w + 4, 0.0) > 1 + 1e-9) {
        throw PageError(ExitCode::Usage, "kernel '" + text + "': weights lie between 0 and 1 and sum to at most 1");
    }
    return {w[0], w[1], w[2], w[3]};
}

Image halftone(const Image& page, const HalftoneSettings& settings, ProgressBar& bar)
{
    if (settings.method == HalftoneMethod::Fixed) {
        return atFixedThreshold(page, bar);
    }
    const bool whole = settings.bandLines == 0 || settings.randomKernels;
    const uint32_t bandLines = whole ? page.height() : settings.bandLines;
    const uint32_t bands = (page.height() - 1) / bandLines + 1;
    Halftoner halftoner(settings, page, bandLines);
    for (uint32_t k = 0; k < bands; ++k) {
        halftoner.convertBand(k, bands, bar);
    }
    return halftoner.take();
}

} // namespace lxpage
