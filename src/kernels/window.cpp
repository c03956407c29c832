// Window counts: how they move from line to line, and how a count becomes a level.

#include "kernels/kernel_tables.h"

#include <cstring>

namespace lx::LX_LEVEL
{

namespace
{

void drift(const uint8_t* LX_RESTRICT enterLeft, const uint8_t* LX_RESTRICT leaveLeft,
           const uint8_t* LX_RESTRICT enterRight, const uint8_t* LX_RESTRICT leaveRight, int8_t* LX_RESTRICT delta,
           size_t pixels)
{
    for (size_t i = 0; i < pixels; ++i)
        delta[i] = static_cast<int8_t>((enterLeft[i] - leaveLeft[i]) - (enterRight[i] - leaveRight[i]));
}

int32_t slide(const int8_t* LX_RESTRICT delta, uint32_t* LX_RESTRICT counts, size_t pixels, int32_t change)
{
    size_t i = pixels;
    for (; i >= 8; i -= 8) {
        // One product forms the eight running sums from the right, each modulo 256: they stay within -16 to 16.
        const auto* eight = reinterpret_cast<const uint8_t*>(delta + i - 8);
        const uint64_t sums = __builtin_bswap64(loadLittle64(eight)) * 0x0101010101010101ULL;
        for (unsigned b = 0; b < 8; ++b)
            counts[i - 1 - b] += static_cast<uint32_t>(change + static_cast<int8_t>(sums >> 8 * b));
        change += static_cast<int8_t>(sums >> 56);
    }
    while (i-- > 0) {
        change += delta[i];
        counts[i] += static_cast<uint32_t>(change);
    }
    return change;
}

uint8_t level(uint32_t count, float scale, double step, double rounding)
{
    float s = static_cast<float>(count) * scale;
    if (s >= 1.0F)
        s -= 1.0F;
    return static_cast<uint8_t>(static_cast<int32_t>(step * static_cast<double>(s) + rounding));
}

void shade(const uint32_t* LX_RESTRICT counts, const float* LX_RESTRICT scales, uint8_t* LX_RESTRICT destination,
           size_t stride, size_t pixels, double step, double rounding)
{
    if (stride == 1) {
        for (size_t i = 0; i < pixels; ++i)
            destination[i] = level(counts[i], scales[i], step, rounding);
    } else {
        for (size_t i = 0; i < pixels; ++i)
            destination[i * stride] = level(counts[i], scales[i], step, rounding);
    }
}

} // namespace

constexpr WindowKernels windowKernels = {drift, slide, shade};

} // namespace lx::LX_LEVEL
