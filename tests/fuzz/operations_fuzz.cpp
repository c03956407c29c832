// Every function of the library, on any areas that a caller may have and with any parameters.
//
// The first byte of the input says which function, the others choose types, sizes, places and parameters. Areas lie in
// guarded memory, among bytes that must survive; a refused call must leave its destination alone. What the header
// trusts callers with (addresses, rectangles, buffer sizes, counts of arrays) is kept sound, everything else may be
// hostile.

#include "fuzz/input.h"

#include "support/placed_picture.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t count);

namespace lxfuzz
{

namespace
{

using lxtest::GuardedArray;
using lxtest::Layout;
using lxtest::Picture;
using lxtest::PlacedPicture;

// Before the call is made: the areas with their types, which it may still change.
struct Call {
    Input& input;
    ImageArea from;
    ImageArea to;
    ProgressCallback progress;
    uint16_t sourceType; // of the picture that lies in `from`
};

constexpr unsigned bw = 1U << IMAGE_TYPE_BW;
constexpr unsigned gray16 = 1U << IMAGE_TYPE_16GRAY;
constexpr unsigned gray = 1U << IMAGE_TYPE_256GRAY;
constexpr unsigned rgb8 = 1U << IMAGE_TYPE_8RGB;
constexpr unsigned rgb16 = 1U << IMAGE_TYPE_16RGB;
constexpr unsigned rgb256 = 1U << IMAGE_TYPE_256RGB;
constexpr unsigned full = 1U << IMAGE_TYPE_16MRGB;
constexpr unsigned any = 127;
constexpr unsigned same = 1U << 16; // the destination has the source's type

enum Kind : uint8_t {
    plain,
    inPlace, // the call looks at `to` alone
    chained, // earlier steps of a refused call may have been done
};

struct Function {
    const char* name;
    unsigned sources;
    unsigned destinations;
    int8_t (*run)(Call&);
    Kind kind = plain;
};

uint32_t onProgress(uint32_t current, uint32_t total)
{
    return current + total;
}

ColorPalette paletteOf(Input& input, uint16_t type)
{
    ColorPalette palette = {};
    palette.type = type;
    lxGetColorPalette(&palette);
    for (uint32_t k = input.below(20); k > 0; --k)
        input.fill(palette.entries[input.below(256)]);
    if (input.oneIn(3))
        palette.count = static_cast<uint16_t>(input.below(257));
    return palette;
}

// Memory for a record's area, exactly as much as it takes.
class Work
{
  public:
    explicit Work(ImageArea& area) : bytes_(size_t{area.bytesPerLine} * area.lines) { area.buffer = bytes_.data(); }

  private:
    GuardedArray<uint8_t> bytes_;
};

DitherMatrix matrixOf(Input& input)
{
    DitherMatrix matrix;
    input.fill(matrix.values);
    matrix.columns = static_cast<uint16_t>(input.oneIn(16) ? input.whole<uint16_t>() : 1 + input.below(16));
    matrix.rows = static_cast<uint16_t>(input.oneIn(16) ? input.whole<uint16_t>() : 1 + input.below(16));
    return matrix;
}

template <auto function>
int8_t dither(Call& call)
{
    auto phaseX = call.input.whole<uint16_t>();
    auto phaseY = call.input.whole<uint16_t>();
    const DitherMatrix matrix = matrixOf(call.input);
    return function(&phaseX, &phaseY, &matrix, &call.from, &call.to, call.progress);
}

template <auto function, uint16_t type>
int8_t diffuse(Call& call)
{
    Input& input = call.input;
    GuardedArray<ErrorDiffusionKernel> kernels(1 + input.below(6));
    for (ErrorDiffusionKernel& kernel : kernels)
        kernel = {input.real(), input.real(), input.real(), input.real()};
    const uint32_t size = lxCalculateErrorBufferSize(type, call.from.width);
    GuardedArray<double> entries(size / sizeof(double));
    const ErrorBufferDesc desc = {entries.data(), size};
    lxClearErrorBuffer(&desc);
    for (uint32_t k = input.below(6); k > 0; --k)
        entries[input.below(static_cast<uint32_t>(entries.size()))] = input.real();
    const auto count = static_cast<uint16_t>(input.oneIn(16) ? 0 : kernels.size());
    return function(input.below(3) == 1, count, kernels.data(), &desc, &call.from, &call.to, call.progress);
}

template <auto function>
int8_t byThreshold(Call& call)
{
    const ThresholdLevel level = {call.input.whole<int32_t>(), call.input.whole<int32_t>()};
    return function(&level, &call.from, &call.to, call.progress);
}

template <auto function>
int8_t byPalette(Call& call)
{
    const ColorPalette palette = paletteOf(call.input, call.from.type);
    return function(&palette, &call.from, &call.to, call.progress);
}

template <auto function>
int8_t byWhole(Call& call)
{
    return function(call.input.whole<uint16_t>(), &call.from, &call.to, call.progress);
}

template <auto function>
int8_t byTypes(Call& call)
{
    return function(&call.from, &call.to, call.progress);
}

// Other sources than full colour are read as the palette's count says, whatever their type.
int8_t synthesize(Call& call)
{
    Input& input = call.input;
    ColorPalette palette = paletteOf(input, call.from.type);
    const unsigned bits = lxtest::bitsOf(call.sourceType);
    if (bits == 1)
        palette.count = static_cast<uint16_t>(input.below(3));
    else if (bits == 4)
        palette.count = static_cast<uint16_t>(3 + input.below(14));
    else if (bits == 8)
        palette.count = static_cast<uint16_t>(input.oneIn(3) ? 17 + input.below(0xFFFF - 17) : 256);
    else
        call.from.type = IMAGE_TYPE_16MRGB;
    if (bits != 24 && input.oneIn(4))
        call.from.type = static_cast<uint16_t>(input.oneIn(2) ? 7 + input.below(0xFFF0) : input.below(6));
    uint8_t key[3];
    input.fill(key);
    if (input.oneIn(2))
        std::memcpy(key, palette.entries[input.below(16)], sizeof key);
    return lxSynthesizeToSpecificationArea(input.whole<uint16_t>(), &call.from, &palette, key, input.whole<uint32_t>(),
                                           &call.to, call.progress);
}

int8_t mask(Call& call)
{
    uint8_t color[3];
    call.input.fill(color);
    return lxMaskingBySpecificationColor(call.input.whole<uint16_t>(), color, &call.to, call.progress);
}

int8_t sharpen(Call& call)
{
    Input& input = call.input;
    const MTFParameters parameters = {input.whole<uint16_t>(),
                                      {input.real(), input.real(), input.real(), input.real()}};
    return lxMTFCorrection(&parameters, &call.from, &call.to, call.progress);
}

CorrectionLevel levelOf(Input& input)
{
    return {input.whole<int32_t>(), input.oneIn(3) ? input.whole<int32_t>() : 20};
}

int8_t correctTone(Call& call)
{
    Input& input = call.input;
    const CorrectionLevel levels[] = {levelOf(input), levelOf(input), levelOf(input), levelOf(input), levelOf(input)};
    const auto reverse = input.whole<int32_t>();
    GammaTable table;
    lxCreateGammaCorrectionTable(&levels[0], &levels[1], &levels[2], &levels[3], &levels[4], &reverse, &table);
    return lxGammaCorrection(&table, &call.to, call.progress);
}

int8_t correctColor(Call& call)
{
    Input& input = call.input;
    const CorrectionLevel levels[] = {levelOf(input), levelOf(input), levelOf(input)};
    ColorCorrectionMatrix matrix;
    lxCreateColorCorrectionMatrix(&levels[0], &levels[1], &levels[2], &matrix);
    if (input.oneIn(2))
        for (double& entry : matrix.entries)
            entry = input.real();
    return lxColorCorrection(&matrix, &call.to, call.progress);
}

int8_t scaleToGray(Call& call)
{
    const auto selector = call.input.whole<uint32_t>();
    const ColorPalette palette = paletteOf(call.input, call.from.type);
    return lxResolutionAndImageTypeConvertToGrayscaleFromBW(selector, &palette, &call.from, &call.to, call.progress);
}

int8_t rotate(Call& call)
{
    return lxRotationBySpecificationAngle(call.input.real(), &call.from, &call.to, call.progress);
}

int8_t rotateSimply(Call& call)
{
    const auto angle = static_cast<uint16_t>(call.input.oneIn(16) ? call.input.whole<uint16_t>() : call.input.below(4));
    return lxRotationBySimpleAngle(angle, &call.from, &call.to, call.progress);
}

int8_t filter(Call& call)
{
    return lxMedianFiltering(call.input.whole<uint32_t>(), &call.from, &call.to, call.progress);
}

int8_t filterInPlace(Call& call)
{
    return lxMedianFiltering(call.input.whole<uint32_t>(), &call.to, &call.to, call.progress);
}

int8_t makeThumbnail(Call& call)
{
    ImageArea thumbnail = call.to;
    ImageArea areas[2];
    const int8_t used = lxCalculateThumbnailMemorySize(&call.from, &thumbnail, &areas[0], &areas[1]);
    std::unique_ptr<Work> works[2];
    for (int k = 0; k < 2; ++k) {
        areas[k].buffer = areas;
        if ((used >> k & 1) != 0)
            works[k] = std::make_unique<Work>(areas[k]);
    }
    // The work areas' types are not trusted, their sizes are.
    if (call.input.oneIn(16) && (used & 1) != 0)
        areas[0].type = static_cast<uint16_t>(7 + call.input.below(0xFFF0));
    return lxCreateThubmnailImage(&call.from, &call.to, &areas[0], &areas[1], call.progress);
}

int8_t measureSlant(Call& call)
{
    Input& input = call.input;
    ImageArea areas[3];
    lxCalculateMemorySizeForDetectionSlantAngle(&call.from, &areas[0], &areas[1], &areas[2]);
    // Of sizes that take less time.
    const uint32_t share = 8 + input.below(60);
    for (ImageArea* area : {&areas[0], &areas[1]}) {
        area->width /= share;
        area->height /= share;
        area->lines = area->height;
    }
    const Work works[] = {Work(areas[0]), Work(areas[1]), Work(areas[2])};
    if (input.oneIn(16))
        areas[input.below(3)].type = static_cast<uint16_t>(7 + input.below(0xFFF0));
    if (input.oneIn(16))
        areas[input.below(3)].bottomUp = 1;
    const ColorPalette palette = paletteOf(input, call.from.type);
    double angle = 99;
    if (input.oneIn(2))
        return lxDetectionSlantAngle(&angle, &call.from, &palette, &areas[0], &areas[1], &areas[2], call.progress);
    uint32_t places[12];
    uint32_t* p[12];
    for (size_t k = 0; k < 12; ++k)
        p[k] = input.oneIn(8) ? nullptr : &places[k];
    const int8_t status =
        lxDetectionSlantAngleForDebug(&angle, &call.from, &palette, &areas[0], &areas[1], &areas[2], p[0], p[1], p[2],
                                      p[3], p[4], p[5], p[6], p[7], p[8], p[9], p[10], p[11], call.progress);
    if (!(angle > -6 && angle < 6))
        std::abort();
    return status;
}

// The functions that work on no image.
int8_t describe(Call& call)
{
    Input& input = call.input;
    const auto type = input.whole<uint16_t>();
    const auto width = input.whole<uint32_t>();
    lxCalculateBytesOf1Line(type, width);
    lxCalculateMemorySize(type, width, input.whole<uint32_t>());
    lxCalculateErrorBufferSize(type, width);
    ColorPalette palette = {};
    palette.type = type;
    lxGetColorPalette(&palette);
    ImageArea source = {};
    ImageArea areas[3] = {};
    source.type = type;
    source.width = width;
    source.height = input.whole<uint32_t>();
    areas[0].width = input.whole<uint32_t>();
    areas[0].height = input.whole<uint32_t>();
    areas[0].x = input.whole<uint32_t>();
    lxCalculateThumbnailMemorySize(&source, &areas[0], &areas[1], &areas[2]);
    lxCalculateMemorySizeForDetectionSlantAngle(&source, &areas[0], &areas[1], &areas[2]);
    const uint32_t bytes = input.below(100);
    GuardedArray<double> entries((bytes + 7) / 8);
    const ErrorBufferDesc desc = {entries.data(), bytes};
    lxClearErrorBuffer(&desc);
    return IMAGE_STATUS_OK;
}

constexpr Function functions[] = {
    {"describe", any, any, describe},
    {"To16Gray", gray, gray16, byTypes<lxImageTypeConvertTo16Gray>},
    {"To256Gray", full, gray, byWhole<lxImageTypeConvertTo256Gray>},
    {"ToGrayscale", any, gray, byPalette<lxImageTypeConvertToGrayscale>},
    {"ToGrayscaleFromBW", bw, gray, byWhole<lxImageTypeConvertToGrayscaleFromBW>},
    {"ToBWNonHalftone", gray, bw, byThreshold<lxImageTypeConvertToBWNonHalftone>},
    {"ToBWDitherHalftone", gray, bw, dither<lxImageTypeConvertToBWDitherHalftone>},
    {"ToBWEDHalftone", gray, bw, diffuse<lxImageTypeConvertToBWEDHalftone, IMAGE_TYPE_BW>},
    {"ToBW", any, bw, byPalette<lxImageTypeConvertToBW>},
    {"RotationBySimpleAngle", any, same, rotateSimply},
    {"RotationBySpecificationAngle", any, same, rotate},
    {"To8RGBNonHalftone", full, rgb8, byThreshold<lxImageTypeConvertTo8RGBNonHalftone>},
    {"To8RGBDitherHalftone", full, rgb8, dither<lxImageTypeConvertTo8RGBDitherHalftone>},
    {"To8RGBEDHalftone", full, rgb8, diffuse<lxImageTypeConvertTo8RGBEDHalftone, IMAGE_TYPE_8RGB>},
    {"To16RGB", full, rgb16, byTypes<lxImageTypeConvertTo16RGB>},
    {"To256RGB", full, rgb256, byTypes<lxImageTypeConvertTo256RGB>},
    {"To16MRGB", any, full, byPalette<lxImageTypeConvertTo16MRGB>},
    {"To16MRGBFrom8RGB", rgb8, full, byWhole<lxImageTypeConvertTo16MRGBFrom8RGB>},
    {"ResolutionConvert", any, same, byWhole<lxResolutionConvert>},
    {"ScaleToGray", bw, gray, scaleToGray},
    {"Thumbnail", any, any, makeThumbnail, chained},
    {"DetectionSlantAngle", any, any, measureSlant, chained},
    {"GammaCorrection", any, bw | gray | full, correctTone, inPlace},
    {"ColorCorrection", any, full, correctColor, inPlace},
    {"MTFCorrection", gray | full, same, sharpen},
    {"MedianFiltering", bw | gray | rgb8 | full, same, filter},
    {"MedianFilteringInPlace", any, bw | gray | rgb8 | full, filterInPlace, inPlace},
    {"Synthesize", any, bw | gray | rgb8 | full, synthesize},
    {"Masking", any, bw | gray | rgb8 | full, mask, inPlace},
};

uint16_t pickType(Input& input, unsigned types)
{
    const uint32_t wanted = input.below(21);
    uint16_t type = 0;
    for (uint32_t k = 0; k <= wanted;)
        for (type = 0; type < 7; ++type)
            if ((types >> type & 1) != 0 && k++ == wanted)
                return type;
    return type;
}

uint32_t pickLength(Input& input, uint32_t most)
{
    return input.oneIn(16) ? input.below(most) : input.below(72);
}

Picture pickPicture(Input& input, uint16_t type)
{
    const uint32_t width = pickLength(input, 4500);
    const uint32_t height = width > 300 ? input.below(8) : pickLength(input, 120);
    lxtest::Random random(input.take<uint32_t>());
    if (input.oneIn(4))
        return Picture(type, width, height, input.take<uint8_t>() & 1U);
    return Picture::random(random, type, width, height);
}

Layout pickLayout(Input& input)
{
    constexpr uint16_t orders[] = {0, 1, 0, 0x200};
    Layout layout;
    layout.colorOrder = input.pick(orders);
    layout.bottomUp = input.pick(orders);
    layout.x = input.oneIn(8) ? input.below(1000) : input.below(17);
    // Now and then the area lies far behind the start of its buffer.
    layout.y = input.oneIn(8) ? input.below(1U << 16) << 8 : input.below(9);
    layout.linesBelow = input.below(9);
    layout.padding = input.below(9);
    layout.guard = static_cast<Layout::Guard>(input.below(4));
    return layout;
}

struct Grounds {
    lxtest::Ground source;
    lxtest::Ground destination;
};

[[noreturn]] void fail(const Function& function, const char* what)
{
    std::fprintf(stderr, "%s: %s\n", function.name, what);
    std::abort();
}

void check(const Function& function, Input& input, Grounds& grounds)
{
    const uint16_t sourceType = pickType(input, function.sources);
    uint16_t destinationType = function.destinations == same ? sourceType : pickType(input, function.destinations);
    if (function.destinations == same && input.oneIn(32))
        destinationType = pickType(input, any);
    const Picture sourcePicture = pickPicture(input, sourceType);
    const Picture destinationPicture = pickPicture(input, destinationType);
    const PlacedPicture source(sourcePicture, pickLayout(input), grounds.source);
    const PlacedPicture destination(destinationPicture, pickLayout(input), grounds.destination);
    Call call = {input, source.area(), destination.area(), input.oneIn(3) ? nullptr : onProgress, sourceType};
    // Types that are not taken, or do not exist at all.
    if (input.oneIn(32))
        (input.oneIn(2) ? call.to : call.from).type = static_cast<uint16_t>(7 + input.below(0xFFF0));
    const int8_t status = function.run(call);
    if (status != IMAGE_STATUS_OK && status != IMAGE_STATUS_BAD_ARGUMENT)
        fail(function, "unknown status");
    if (!source.surroundingsKept() || source.picture() != sourcePicture)
        fail(function, "the source has changed");
    if (!destination.surroundingsKept())
        fail(function, "bytes around the destination have changed");
    if (status != IMAGE_STATUS_OK && function.kind != chained && destination.picture() != destinationPicture)
        fail(function, "refused, and yet written");
}

} // namespace

} // namespace lxfuzz

int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t count)
{
    using namespace lxfuzz;
    static Grounds grounds;
    Input input(bytes, count);
    const Function& function = functions[input.below(std::size(functions))];
    check(function, input, grounds);
    return 0;
}
