// Bringing pages to the types that an operation takes.
#ifndef LXPAGE_RETYPE_H
#define LXPAGE_RETYPE_H

#include "image.h"

namespace lxpage
{

// The page in full colour.
Image toColor(const Image& page, ProgressCallback progress = nullptr);

// The page as it is if bilevel, 256 gray or full colour; 16 gray becomes 256 gray, palette colours full colour.
Image toPlain(const Image& page, ProgressCallback progress = nullptr);

// The page as 256 gray or full colour: like toPlain, but bilevel becomes 256 gray, too.
Image toLevels(const Image& page, ProgressCallback progress = nullptr);

} // namespace lxpage

#endif
