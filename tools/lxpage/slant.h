// Measuring how far a page lies askew.
#ifndef LXPAGE_SLANT_H
#define LXPAGE_SLANT_H

#include "image.h"

namespace lxpage
{

// Degrees by which the page has to be turned clockwise.
double measureAngle(const Image& page, ProgressCallback progress);

// The same, and what shows it: positions on a copy of the page of
// `width` x `height` pixels.
struct Slant {
    struct Point {
        uint32_t column = 0;
        uint32_t row = 0;
    };

    double angle = 0;
    uint32_t width = 0;
    uint32_t height = 0;
    Point bandFirst; // upper left corner of the band of dark runs; all points are 0, 0 if none was found
    Point bandLast;
    Point startA; // the edge above or on the left of the band
    Point endA;
    Point startB; // the edge below or on the right
    Point endB;
};

Slant measureSlant(const Image& page, ProgressCallback progress);

// That copy, in colour, with the band (blue) and its edges (red above or on the left, green below or on the right)
// drawn over it.
Image slantOverlay(const Image& page, const Slant& slant);

} // namespace lxpage

#endif
