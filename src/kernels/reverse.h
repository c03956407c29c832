// Rows turned end for end.

#pragma once

#include <cstddef>
#include <cstdint>

namespace lx
{

struct ReverseKernels {
    // destination[n - 1 - k] = source[k] for k < n.
    void (*bytes)(const uint8_t* source, uint8_t* destination, size_t n);

    // Triple n - 1 - k of the destination = triple k of the source, its outer bytes exchanged if `swap`.
    void (*triples)(const uint8_t* source, uint8_t* destination, size_t n, bool swap);

    // destination[n - 1 - k] = source[k] with its nibbles or its bits in reverse order, for k < n.
    void (*nibbles)(const uint8_t* source, uint8_t* destination, size_t n);
    void (*bits)(const uint8_t* source, uint8_t* destination, size_t n);
};

} // namespace lx
