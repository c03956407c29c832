// A small preview of a page.
#ifndef LXPAGE_THUMBNAIL_H
#define LXPAGE_THUMBNAIL_H

#include "image.h"
#include "progress_bar.h"

namespace lxpage
{

// The longer side gets `side` pixels, and the proportions are kept. Bilevel pages that shrink become 256 gray.
Image thumbnail(const Image& page, uint32_t side, ProgressBar& bar);

} // namespace lxpage

#endif
