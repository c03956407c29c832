// The namespace of the instruction-set level that this file is being compiled for.
//
// Kernel sources are compiled once per level, each time with LX_LEVEL set to the level's name and LX_LEVEL_<name>
// defined. They include nothing but the C headers of the standard library, each other and the compiler's intrinsics:
// an inline function of a library, compiled for a new instruction set and merged by the linker into the rest, would be
// an illegal instruction on an older machine. Helpers live in anonymous namespaces, so that no symbol leaves an object
// file but its table of functions.

#pragma once

#include <cstddef>
#include <cstdint>

#ifndef LX_LEVEL
#error "kernel sources are compiled with LX_LEVEL set"
#endif

#define LX_RESTRICT __restrict

namespace lx
{

// Eight bytes as a number, the first byte lowest.
static inline uint64_t loadLittle64(const uint8_t* bytes)
{
    uint64_t value;
    __builtin_memcpy(&value, bytes, sizeof value);
    if constexpr (__BYTE_ORDER__ == __ORDER_BIG_ENDIAN__)
        value = __builtin_bswap64(value);
    return value;
}

static inline void storeLittle64(uint8_t* bytes, uint64_t value)
{
    if constexpr (__BYTE_ORDER__ == __ORDER_BIG_ENDIAN__)
        value = __builtin_bswap64(value);
    __builtin_memcpy(bytes, &value, sizeof value);
}

} // namespace lx
