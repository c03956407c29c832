// A C++ program on the installed library: half a page of gray, turned and made bilevel.

#include <lx.h>

#include <cstdio>
#include <vector>

namespace
{

ImageArea areaOf(std::vector<uint8_t>& bytes, uint16_t type, uint32_t width, uint32_t height)
{
    ImageArea area = {};
    area.type = type;
    area.width = width;
    area.height = height;
    area.bytesPerLine = lxCalculateBytesOf1Line(type, width);
    area.lines = height;
    bytes.resize(lxCalculateMemorySize(type, width, height));
    area.buffer = bytes.data();
    return area;
}

} // namespace

int main()
{
    std::vector<uint8_t> levels;
    std::vector<uint8_t> turned;
    std::vector<uint8_t> bits;
    const ImageArea page = areaOf(levels, IMAGE_TYPE_256GRAY, 3, 8);
    const ImageArea landscape = areaOf(turned, IMAGE_TYPE_256GRAY, 8, 3);
    const ImageArea bilevel = areaOf(bits, IMAGE_TYPE_BW, 8, 3);
    // White in the last line, which a turn puts first in every line.
    levels[21] = levels[22] = levels[23] = 255;
    const ThresholdLevel middle = {0, 1};
    if (lxRotationBySimpleAngle(1, &page, &landscape, nullptr) != IMAGE_STATUS_OK ||
        lxImageTypeConvertToBWNonHalftone(&middle, &landscape, &bilevel, nullptr) != IMAGE_STATUS_OK ||
        bits != std::vector<uint8_t>(3, 0x80)) {
        std::fputs("unexpected pixels\n", stderr);
        return 1;
    }
}
