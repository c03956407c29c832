#include "support/fixed_time.h"

namespace lxtest
{

std::time_t fixedTime = 1234567890;

} // namespace lxtest

// The linker sends the library's calls of time() here.
extern "C" std::time_t __wrap_time(std::time_t* result);

extern "C" std::time_t __wrap_time(std::time_t* result)
{
    if (result != nullptr)
        *result = lxtest::fixedTime;
    return lxtest::fixedTime;
}

#ifdef _WIN32
// There, time() is an inline call through an imported pointer.
extern "C" std::time_t (*const __wrap___imp__time64)(std::time_t*);
std::time_t (*const __wrap___imp__time64)(std::time_t*) = __wrap_time;
#endif
