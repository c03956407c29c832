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

    // Place n - 1 - k of the destination row = place k of the source row for k < n, places being bits or nibbles. They
    // are counted from the first byte's highest one, the phases being that of the first pixel; other bits of the
    // destination's first and last byte keep their values.
    void (*nibbles)(const uint8_t* source, unsigned sourcePhase, uint8_t* destination, unsigned destinationPhase,
                    size_t n);
    void (*bits)(const uint8_t* source, unsigned sourcePhase, uint8_t* destination, unsigned destinationPhase,
                 size_t n);
};

} // namespace lx
