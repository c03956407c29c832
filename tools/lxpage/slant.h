// Measuring how far a page lies askew.
#ifndef LXPAGE_SLANT_H
#define LXPAGE_SLANT_H

#include "image.h"

#include <string>

namespace lxpage
{

// Degrees by which the page has to be turned clockwise, and what shows it: positions on a copy of the page of `width` x
// `height` pixels. Points that were not found are 0, 0.
struct Slant {
    struct Point {
        uint32_t column = 0;
        uint32_t row = 0;
        [[nodiscard]] bool isSet() const { return column != 0 || row != 0; }
    };

    [[nodiscard]] bool hasBand() const { return bandLast.isSet(); }
    [[nodiscard]] bool hasEdgeA() const { return endA.isSet(); }
    [[nodiscard]] bool hasEdgeB() const { return endB.isSet(); }
    // Whether an edge tells the angle; otherwise it is 0, however the page lies.
    [[nodiscard]] bool isMeasured() const;

    double angle = 0;
    uint32_t width = 0;
    uint32_t height = 0;
    Point bandFirst; // upper left corner of the band of dark runs
    Point bandLast;
    Point startA; // the edge above or on the left of the band
    Point endA;
    Point startB; // the edge below or on the right
    Point endB;
};

// The band and its edges are there if they are wanted. They also tell whether a page of 0 degrees is straight, which
// takes a second measurement where they are not.
Slant measureSlant(const Image& page, bool withEdges, ProgressCallback progress);

// The angle, or "not measured": 12 characters, for tables.
std::string degreesText(const Slant& slant);

// That copy, in colour, with the band (blue) and its edges (red above or on the left, green below or on the right)
// drawn over it.
Image slantOverlay(const Image& page, const Slant& slant);

} // namespace lxpage

#endif
