// The header on its own, in C++: every declaration is usable and promises not to throw.

#include "lx.h"

static_assert(noexcept(lxCalculateBytesOf1Line(0, 0)), "declarations are noexcept in C++");

uint32_t headerCompiles()
{
    const ImageArea area = {};
    return lxCalculateBytesOf1Line(area.type, 9);
}
