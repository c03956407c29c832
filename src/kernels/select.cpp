// Picks the kernel table for the processor at hand. The features that a level is compiled with are tested one by one;
// nothing is remembered, for the tests only read what the compiler's runtime found out at load time.

#include "kernels/kernels.h"

namespace lx
{

namespace portable
{
extern const Kernels kernelTable;
}
namespace v3
{
extern const Kernels kernelTable;
}
namespace v4
{
extern const Kernels kernelTable;
}

namespace
{

#ifdef LX_HAVE_v3
bool runsV3()
{
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2") &&
           __builtin_cpu_supports("popcnt");
}
#endif

#ifdef LX_HAVE_v4
bool runsV4()
{
    return runsV3() && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
           __builtin_cpu_supports("avx512cd") && __builtin_cpu_supports("avx512dq") &&
           __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512vbmi") &&
           __builtin_cpu_supports("avx512vbmi2") && __builtin_cpu_supports("avx512bitalg") &&
           __builtin_cpu_supports("avx512vpopcntdq") && __builtin_cpu_supports("avx512vnni") &&
           __builtin_cpu_supports("gfni");
}
#endif

// From the least to the most demanding level: each runs wherever a later one runs.
constexpr const Kernels* levels[] = {
    &portable::kernelTable,
#ifdef LX_HAVE_v3
    &v3::kernelTable,
#endif
#ifdef LX_HAVE_v4
    &v4::kernelTable,
#endif
};

size_t runnableLevels() noexcept
{
    size_t count = 1;
#if defined(LX_HAVE_v3) || defined(LX_HAVE_v4)
    __builtin_cpu_init();
#endif
#ifdef LX_HAVE_v3
    count += runsV3() ? 1 : 0;
#endif
#ifdef LX_HAVE_v4
    count += runsV4() ? 1 : 0;
#endif
    return count;
}

} // namespace

const Kernels& kernels() noexcept
{
    return *levels[runnableLevels() - 1];
}

KernelLevels runnableKernels() noexcept
{
    return {levels, runnableLevels()};
}

} // namespace lx
