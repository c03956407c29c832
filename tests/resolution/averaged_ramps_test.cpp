// Averaging to larger sizes: every pixel against the rule for ramps.

#include "resolution/ramp_plan.h"
#include "resolution/scaled_by_definition.h"
#include "support/operations.h"

#include <gtest/gtest.h>

#include "lx.h"

namespace lxtest
{

namespace
{

constexpr uint16_t averaging = 1;

// Level t of a run, byte by byte.
uint32_t rampByDefinition(uint32_t from, uint32_t to, uint32_t t, uint32_t length)
{
    uint32_t pixel = 0;
    for (unsigned shift = 0; shift < 24; shift += 8) {
        const auto v = static_cast<int>(from >> shift & 255);
        const float d =
            static_cast<float>(static_cast<int>(to >> shift & 255) - v) * (1.0F / static_cast<float>(length));
        pixel |= static_cast<uint32_t>(v + t * static_cast<double>(d)) << shift;
    }
    return pixel;
}

// `picture` after `source` has been enlarged into it: along the lines first, then from line to line.
Picture rampedByDefinition(const Picture& source, Picture picture)
{
    const std::vector<Share> columns = sharesOf(source.width, picture.width);
    const std::vector<Share> lines = sharesOf(source.height, picture.height);
    for (uint32_t c = 0; c < columns.size(); ++c) {
        const auto [run, own] = columns[c];
        const uint32_t next = c + 1 < columns.size() ? c + 1 : c;
        for (uint32_t t = 0; t < run.length; ++t) {
            const auto across = [&, run = run](uint32_t line) {
                return rampByDefinition(source.at(c, line), source.at(next, line), t, run.length);
            };
            for (uint32_t l = 0; l < lines.size(); ++l) {
                const auto [rows, line] = lines[l];
                const uint32_t below = across(l + 1 < lines.size() ? l + 1 : l);
                for (uint32_t k = 0; k < rows.length; ++k)
                    picture.at(run.start + t, rows.start + k) = rampByDefinition(across(l), below, k, rows.length);
            }
        }
    }
    return picture;
}

TEST(Averaging, RampsAcrossAndThenDown)
{
    struct Sizes {
        uint32_t width, height, newWidth, newHeight;
    };
    Random random(8);
    std::vector<Sizes> all = {
        {15000, 2, 22000, 3}, {15000, 3, 20000, 8}, // more than one plan holds
        {3, 2, 192, 4},       {3, 2, 195, 3},       // runs of 65 and more take another way than shorter ones
        {3, 1, 600, 2},       {3, 2, 90000, 3},
    };
    for (int k = 0; k < 300; ++k) {
        const uint32_t width = random.between(1, 300);
        const uint32_t height = random.between(1, 20);
        all.push_back({width, height, random.between(width, width * 5 / 2), random.between(height, height * 5 / 2)});
    }
    for (const Sizes& sizes : all) {
        for (const uint16_t type : {IMAGE_TYPE_256GRAY, IMAGE_TYPE_16MRGB}) {
            const Picture source = Picture::random(random, type, sizes.width, sizes.height);
            const Picture before(type, sizes.newWidth, sizes.newHeight, 0x77);
            const Picture actual = scaled(source, before, [](const ImageArea* from, const ImageArea* to) {
                return lxResolutionConvert(averaging, from, to, nullptr);
            });
            EXPECT_TRUE(samePicture(rampedByDefinition(source, before), actual))
                << sizes.width << " x " << sizes.height << " to " << sizes.newWidth << " x " << sizes.newHeight;
        }
    }
}

// The last run of this line is empty, and a plan is full just before it.
TEST(Ramps, HaveGroupsInEveryPlan)
{
    lx::RunWalker runs(79833530, 123913398);
    lx::RampPlan<3> plan;
    uint32_t reached = 0;
    for (uint32_t first = 0; !runs.done();) {
        first += plan.take(runs, first);
        ASSERT_NE(plan.picks.groupCount, 0U);
        ASSERT_EQ(plan.picks.first, reached);
        reached += plan.picks.count;
    }
    EXPECT_EQ(reached, runs.reach());
}

} // namespace

} // namespace lxtest
