// A page of any kind turned, over a white background.
#ifndef LXPAGE_ROTATE_H
#define LXPAGE_ROTATE_H

#include "image.h"
#include "progress_bar.h"

namespace lxpage
{

// Clockwise. Multiples of 90 turn the page exactly; other angles leave its size, unless it may grow to hold all of the
// turned page.
Image turned(const Image& page, double degrees, bool grow, ProgressBar& bar);

} // namespace lxpage

#endif
