#include "image.h"

#include "error.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace lxpage
{

namespace
{

// One pixel as the bits it occupies.
uint32_t pixelAt(const Image& image, uint32_t x, uint32_t y)
{
    const uint8_t* line = image.line(y);
    switch (image.type()) {
    case IMAGE_TYPE_BW:
        return line[x >> 3] >> (7 - (x & 7)) & 1u;
    case IMAGE_TYPE_16GRAY:
    case IMAGE_TYPE_8RGB:
    case IMAGE_TYPE_16RGB:
        return line[x >> 1] >> (x & 1 ? 0 : 4) & 15u;
    case IMAGE_TYPE_16MRGB:
        return static_cast<uint32_t>(line[3 * x] << 16 | line[3 * x + 1] << 8 | line[3 * x + 2]);
    default:
        return line[x];
    }
}

// Set a pixel of an image that is still all 0.
void setPixel(Image& image, uint32_t x, uint32_t y, uint32_t value)
{
    uint8_t* line = image.line(y);
    switch (image.type()) {
    case IMAGE_TYPE_BW:
        line[x >> 3] = static_cast<uint8_t>(line[x >> 3] | value << (7 - (x & 7)));
        break;
    case IMAGE_TYPE_16GRAY:
    case IMAGE_TYPE_8RGB:
    case IMAGE_TYPE_16RGB:
        line[x >> 1] = static_cast<uint8_t>(line[x >> 1] | value << (x & 1 ? 0 : 4));
        break;
    case IMAGE_TYPE_16MRGB:
        for (unsigned k = 0; k < 3; ++k) {
            line[3 * x + k] = static_cast<uint8_t>(value >> (16 - 8 * k));
        }
        break;
    default:
        line[x] = static_cast<uint8_t>(value);
    }
}

// The byte that fills an image with its lightest colour.
int whiteByteOf(const Image& image)
{
    if (image.type() == IMAGE_TYPE_16MRGB) {
        return 0xFF;
    }
    const auto lightness = [&](int index) {
        const uint8_t* entry = image.palette.entries[index];
        return entry[0] + entry[1] + entry[2];
    };
    int lightest = 0;
    for (int index = 1; index < image.palette.count; ++index) {
        lightest = lightness(index) > lightness(lightest) ? index : lightest;
    }
    switch (image.palette.count <= 16 ? lxCalculateBytesOf1Line(image.type(), 8) : 8) {
    case 1:
        return lightest * 0xFF;
    case 4:
        return lightest * 0x11;
    default:
        return lightest;
    }
}

} // namespace

Image::Image(uint16_t type, uint32_t width, uint32_t height, Resolution res, uint32_t storedWidth)
    : resolution(res), palette{type, 0, {}}, type_(type), width_(width), height_(height),
      bytesPerLine_(lxCalculateBytesOf1Line(type, std::max(width, storedWidth))),
      pixels_(size_t{bytesPerLine_} * height)
{
    expectOk(lxGetColorPalette(&palette), "lxGetColorPalette");
}

ImageArea Image::band(uint32_t y, uint32_t lines) const
{
    ImageArea area{};
    area.type = type_;
    area.y = y;
    area.width = width_;
    area.height = std::min(lines, height_ - y);
    area.buffer = const_cast<uint8_t*>(pixels_.data());
    area.bytesPerLine = bytesPerLine_;
    area.lines = height_;
    return area;
}

void fillWhite(Image& image)
{
    std::memset(image.line(0), whiteByteOf(image), size_t{image.bytesPerLine()} * image.height());
}

void checkPageSize(uint64_t width, uint64_t height, unsigned bytesPerPixel)
{
    if (width == 0 || height == 0) {
        throw PageError(ExitCode::Damaged, "the picture has no pixels");
    }
    const std::string size = std::to_string(width) + " x " + std::to_string(height) + " pixels";
    if (width > kMaxSide || height > kMaxSide) {
        throw PageError(ExitCode::TooLarge,
                        size + ", but a side may have at most " + std::to_string(kMaxSide) + " pixels");
    }
    if (width * height > kMaxPixels) {
        throw PageError(ExitCode::TooLarge, size + ", but a page may have at most a thousand million");
    }
    if (width * height * bytesPerPixel > kMaxBytes) {
        throw PageError(ExitCode::TooLarge, size + " would need more than 4 GiB of memory");
    }
}

const char* typeName(uint16_t type)
{
    static constexpr const char* names[] = {"bilevel",    "16 gray",     "256 gray", "8 colours",
                                            "16 colours", "256 colours", "colour"};
    return type < std::size(names) ? names[type] : "unknown";
}

void expectOk(int8_t status, const char* function)
{
    if (status != IMAGE_STATUS_OK) {
        throw PageError(ExitCode::Internal, std::string(function) + " refused its arguments");
    }
}

Image uprighted(const Image& stored, unsigned orientation)
{
    // Codes 5 to 8 store columns as lines. Where the first stored line (or column, for these) is the picture's bottom
    // (or right), the walk runs backwards.
    const bool transposed = orientation >= 5;
    const bool fromRight = orientation == 2 || orientation == 3 || orientation == 6 || orientation == 7;
    const bool fromBottom = orientation == 3 || orientation == 4 || orientation == 7 || orientation == 8;
    Resolution resolution = stored.resolution;
    uint32_t width = stored.width();
    uint32_t height = stored.height();
    if (transposed) {
        std::swap(width, height);
        std::swap(resolution.x, resolution.y);
    }
    Image result(stored.type(), width, height, resolution);
    result.palette = stored.palette;
    for (uint32_t y = 0; y < height; ++y) {
        for (uint32_t x = 0; x < width; ++x) {
            const uint32_t column = fromRight ? width - 1 - x : x;
            const uint32_t row = fromBottom ? height - 1 - y : y;
            const uint32_t value = transposed ? pixelAt(stored, row, column) : pixelAt(stored, column, row);
            setPixel(result, x, y, value);
        }
    }
    return result;
}

} // namespace lxpage
