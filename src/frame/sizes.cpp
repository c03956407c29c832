// Sizes of lines, images and error buffers, in unsigned 32-bit arithmetic that wraps, and the clearing of the latter.

#include "frame/area_view.h"

#include <cstring>

uint32_t lxCalculateBytesOf1Line(uint16_t type, uint32_t width) noexcept
{
    if (!lx::isPixelType(type))
        return 0;
    switch (lx::bitsPerPixel(type)) {
    case 1:
        return width / 8 + (width % 8 != 0 ? 1 : 0);
    case 4:
        return width / 2 + width % 2;
    case 8:
        return width;
    default:
        return width * 3;
    }
}

uint32_t lxCalculateMemorySize(uint16_t type, uint32_t width, uint32_t height) noexcept
{
    return lxCalculateBytesOf1Line(type, width) * height;
}

uint32_t lxCalculateErrorBufferSize(uint16_t type, uint32_t width) noexcept
{
    constexpr uint32_t bytesPerColumn = 2 * sizeof(double);
    if (type == IMAGE_TYPE_BW)
        return (width + 2) * bytesPerColumn;
    if (type == IMAGE_TYPE_8RGB)
        return (width * 3 + 6) * bytesPerColumn;
    return 0;
}

void lxClearErrorBuffer(const ErrorBufferDesc* desc) noexcept
{
    // Bytes are written so that a descriptor inside its own buffer is read anew at every step.
    auto* bytes = reinterpret_cast<unsigned char*>(desc->buffer);
    constexpr double zero = 0.0;
    for (size_t written = 0; written < desc->size; written += sizeof zero)
        std::memcpy(bytes + written, &zero, sizeof zero);
}
