// Pages as a scanner sees them, lying askew: what slant measurement is tried on.

#pragma once

#include "support/picture.h"

namespace lxtest
{

struct SlantScene {
    enum class Side { top, bottom, left, right };
    enum class Border {
        none,
        bar,     // a dark bar with white all around
        longBar, // a dark bar that leaves the page at both ends
        lid,     // dark from the bar to the edge of the page
    };

    uint16_t type = IMAGE_TYPE_256GRAY; // gray, bilevel or full colour
    uint32_t width = 0;
    uint32_t height = 0;
    Side side = Side::top;
    Border border = Border::none;
    double inset = 0.1;      // from the edge of the page to the bar, as a share of the shorter side
    double thickness = 0.03; // of the bar, as a share of the shorter side
    bool text = false;
    double tilt = 0.0;  // degrees clockwise
    double noise = 0.0; // share of the pixels that are black or white at random
    uint64_t seed = 1;

    // Any format, shape and place of the bar, `least` to `most` pixels on the longer side, tilts of 5.5 degrees at
    // most.
    static SlantScene random(Random& random, uint32_t least, uint32_t most);
};

Picture drawScene(const SlantScene& scene);

struct SlantMeasurement {
    int8_t status;
    double angle;
    uint32_t bandFirst[2]; // column, row
    uint32_t bandLast[2];
    uint32_t startA[2];
    uint32_t startB[2];
    uint32_t endA[2];
    uint32_t endB[2];
};

// Measures with work areas of its own.
SlantMeasurement measureSlant(const ImageArea& page);

} // namespace lxtest
