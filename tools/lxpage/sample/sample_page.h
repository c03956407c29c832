// A page of the tool's own making, for trying things out and for the tests: it looks like a colour scan of a printed
// sheet that lay askew on the glass, and is the same on every run.
#ifndef LXPAGE_SAMPLE_SAMPLE_PAGE_H
#define LXPAGE_SAMPLE_SAMPLE_PAGE_H

#include "image.h"

namespace lxpage
{

struct SamplePage {
    double dpi = 300;         // the frame is A4
    double tiltDegrees = 2.3; // clockwise
};

// Full colour.
Image makeSamplePage(const SamplePage& sample);

} // namespace lxpage

#endif
