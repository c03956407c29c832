// Changes of size by their definition: pixel by pixel, from the blocks and runs of the two axes.

#pragma once

#include "resolution/block_geometry.h"
#include "support/placed_picture.h"

#include <vector>

namespace lxtest
{

// Destination pixels that are made from a block of source pixels, along one axis.
struct Share {
    lx::Span destination;
    lx::Span source;
};

template <class Blocks>
std::vector<Share> sharesOf(Blocks blocks)
{
    std::vector<Share> shares;
    for (lx::Span block; blocks.next(block);)
        shares.push_back({{static_cast<uint32_t>(shares.size()), 1}, block});
    return shares;
}

template <class Real = float>
std::vector<Share> sharesOf(uint32_t source, uint32_t destination)
{
    if (source > destination)
        return sharesOf(lx::BlockWalker<Real>(source, destination));
    std::vector<Share> shares;
    lx::RunWalker runs(source, destination);
    for (lx::Span run; runs.next(run);)
        shares.push_back({run, {static_cast<uint32_t>(shares.size()), 1}});
    return shares;
}

// Fills the pixels of one share of columns and one of lines.
inline void fillShare(Picture& picture, const Share& columns, const Share& lines, uint32_t pixel)
{
    for (uint32_t j = 0; j < lines.destination.length; ++j)
        for (uint32_t i = 0; i < columns.destination.length; ++i)
            picture.at(columns.destination.start + i, lines.destination.start + j) = pixel;
}

// `picture` after each destination pixel that is reached has become rule(source, columns, lines).
template <class Real = float, class Rule>
Picture scaledByDefinition(const Picture& source, Picture picture, Rule rule)
{
    const std::vector<Share> columns = sharesOf<Real>(source.width, picture.width);
    const std::vector<Share> lines = sharesOf<Real>(source.height, picture.height);
    for (const Share& line : lines)
        for (const Share& column : columns)
            fillShare(picture, column, line, rule(source, column.source, line.source));
    return picture;
}

inline uint32_t setPixels(const Picture& source, lx::Span columns, lx::Span lines)
{
    uint32_t set = 0;
    for (uint32_t j = 0; j < lines.length; ++j)
        for (uint32_t i = 0; i < columns.length; ++i)
            set += source.at(columns.start + i, lines.start + j) != 0;
    return set;
}

// What `run(source, destination)` makes of a picture that shows `before`.
template <class Run>
Picture scaled(const Picture& source, const Picture& before, Run run)
{
    const Image from(source);
    const Image to(before);
    EXPECT_EQ(run(&from.area, &to.area), IMAGE_STATUS_OK);
    return to.picture();
}

// Sizes that lead through every path: blocks and runs of all lengths, cut ones and ones that end early.
inline uint32_t anyLength(Random& random)
{
    constexpr uint32_t bounds[] = {8, 40, 130, 700};
    return random.between(1, random.pick(bounds));
}

} // namespace lxtest
