// Asking for memory before it is wanted, for what the processor does not foresee by itself.

#pragma once

#include "kernels/level.h"

#include <cstddef>
#include <cstdint>

namespace lx::LX_LEVEL
{

namespace
{

// Level 3 is the first-level cache, 2 the second. The address may lie anywhere.
template <int Level>
[[maybe_unused]] void fetchEarly(const uint8_t* from, ptrdiff_t ahead)
{
    const uintptr_t address = reinterpret_cast<uintptr_t>(from) + static_cast<uintptr_t>(ahead);
    __builtin_prefetch(reinterpret_cast<const void*>(address), 0, Level); // NOLINT(performance-no-int-to-ptr)
}

} // namespace

} // namespace lx::LX_LEVEL
