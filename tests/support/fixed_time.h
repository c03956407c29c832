// The calendar time that the library sees, so that operations which reseed the C library's generator with it draw the
// same numbers in every call. Without it, time stands still at `fixedTime`'s default.

#pragma once

#include <ctime>

namespace lxtest
{

extern std::time_t fixedTime;

} // namespace lxtest
