// Conversions that are defined for every value.

#pragma once

#include <cstdint>
#include <limits>

namespace lx
{

constexpr int32_t wrapToInt32(int64_t value) noexcept
{
    return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(value)));
}

// Toward zero; values out of range saturate, and not-a-number gives 0.
constexpr int64_t truncateToInt64(double value) noexcept
{
    constexpr double bound = 9223372036854775808.0; // 2^63
    if (value >= bound)
        return std::numeric_limits<int64_t>::max();
    if (value <= -bound)
        return std::numeric_limits<int64_t>::min();
    return value == value ? static_cast<int64_t>(value) : 0;
}

} // namespace lx
