// Prints how well slant is measured, for pages of 400 to 4000 pixels: one line per kind of page and side of its border.
//
//     slant_table [PAGES_PER_LINE] [SEED]

#include "support/placed_picture.h"
#include "support/slant_scene.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

using namespace lxtest;

namespace
{

struct Kind {
    const char* name;
    SlantScene::Border border;
    bool text;
    bool straight;
};

constexpr Kind kinds[] = {
    {"bar", SlantScene::Border::bar, false, false},
    {"long bar", SlantScene::Border::longBar, false, false},
    {"bar and text", SlantScene::Border::bar, true, false},
    {"long bar and text", SlantScene::Border::longBar, true, false},
    {"lid", SlantScene::Border::lid, false, false},
    {"lid and text", SlantScene::Border::lid, true, false},
    {"text alone", SlantScene::Border::none, true, false},
    {"straight bar and text", SlantScene::Border::bar, true, true},
    {"straight lid", SlantScene::Border::lid, true, true},
    {"straight text", SlantScene::Border::none, true, true},
};

void printLine(const Kind& kind, unsigned side, unsigned pages, Random& random)
{
    constexpr const char* sides[] = {"top", "bottom", "left", "right"};
    unsigned within01 = 0;
    unsigned within02 = 0;
    unsigned within05 = 0;
    unsigned none = 0;
    double worst = 0; // of the pages for which there is an angle
    for (unsigned k = 0; k < pages; ++k) {
        SlantScene scene = SlantScene::random(random, 400, 4000);
        scene.side = static_cast<SlantScene::Side>(side);
        scene.border = kind.border;
        scene.text = kind.text;
        if (kind.straight)
            scene.tilt = 0;
        const double angle = measureSlant(Image(drawScene(scene)).area).angle;
        const double error = std::abs(angle + scene.tilt);
        within01 += error <= 0.1 ? 1 : 0;
        within02 += error <= 0.2 ? 1 : 0;
        within05 += error <= 0.5 ? 1 : 0;
        none += angle == 0 ? 1 : 0;
        worst = angle == 0 ? worst : std::max(worst, error);
    }
    const double scale = 100.0 / pages;
    std::printf("%-22s %-7s %6.1f %6.1f %6.1f %6.1f %7.2f\n", kind.name,
                kind.border == SlantScene::Border::none ? "" : sides[side], within01 * scale, within02 * scale,
                within05 * scale, none * scale, worst);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv)
{
    const int pages = argc > 1 ? std::atoi(argv[1]) : 100;
    if (pages <= 0) {
        std::fprintf(stderr, "usage: slant_table [PAGES_PER_LINE] [SEED]\n");
        return 2;
    }
    Random random(argc > 2 ? std::strtoull(argv[2], nullptr, 10) : 1);
    std::printf("%-22s %-7s %6s %6s %6s %6s %7s\n", "page", "border", "<=0.1", "<=0.2", "<=0.5", "none", "worst");
    for (const Kind& kind : kinds)
        for (unsigned side = 0; side < (kind.border == SlantScene::Border::none ? 1U : 4U); ++side)
            printLine(kind, side, static_cast<unsigned>(pages), random);
}
