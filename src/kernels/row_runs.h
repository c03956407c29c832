// Rows that become runs of rows, as the lines of an enlarged picture do.

#pragma once

#include <cstddef>
#include <cstdint>

namespace lx
{

// Row j becomes lengths[j] equal rows, for j < count; the runs follow one another.
struct RowRuns {
    const uint8_t* source;
    ptrdiff_t sourceStep; // in bytes
    uint8_t* destination;
    ptrdiff_t step; // in bytes
    const uint32_t* lengths;
    uint32_t count;
};

} // namespace lx
