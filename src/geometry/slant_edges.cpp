// The edges of a band, and the angle they tell of.
//
// A walk goes through the lines of the band, from its first or its last one, and looks in each for the first dark
// place. As long as the places come nearer to a corner, the walk follows an edge; where they turn back, the edge has
// ended. Two walks give two points; they count only if the band has a straight border all along the line through them.

#include "geometry/slant_analysis.h"

#include <cmath>

namespace lx
{

namespace
{

constexpr double degreesPerRadian = 57.29577951471995; // of a pi of ten decimals, deliberately
constexpr double angleLimit = 6.0;

double difference(uint32_t a, uint32_t b)
{
    return a < b ? b - a : a - b;
}

// The hypotenuse, by way of the angle.
double lengthOf(double along, double across)
{
    if (along == 0.0)
        return across;
    return across == 0.0 ? along : along / std::cos(std::atan(across / along));
}

// From which line on the walks go, and in which direction.
struct Side {
    uint32_t from;
    uint32_t lines;
    uint32_t step; // 1 or -1

    uint32_t line(uint32_t k) const { return from + k * step; }
};

class EdgeWalks
{
  public:
    EdgeWalks(const BandImage& image, const Band& band, const Side& side) noexcept
        : image_(image), band_(band), side_(side)
    {
    }

    Edge find() const
    {
        Edge edge = {walk(true, true), {}};
        if (edge.start.line != side_.from)
            edge.end = walk(true, false);
        if (edge.start.line == side_.from || edge.end.place - band_.firstPlace < sixth()) {
            // The band falls the other way: the mirror image of the walks above.
            edge = {walk(false, true), walk(false, false)};
            if (band_.lastPlace - edge.start.place < sixth())
                edge.start = walk(true, true);
        }
        return isEdge(edge) ? edge : Edge{};
    }

  private:
    // Looks from the band's first or last place on, and goes towards the first or the last.
    EdgePoint walk(bool lookFromFirst, bool goToFirst) const
    {
        const EdgePoint corner = {goToFirst ? band_.firstPlace : band_.lastPlace, side_.from};
        EdgePoint point = {goToFirst ? band_.lastPlace : band_.firstPlace, side_.from};
        double best =
            lengthOf(difference(band_.lastPlace, band_.firstPlace), difference(band_.lastLine, band_.firstLine));
        for (uint32_t k = 0; k < side_.lines; ++k) {
            const uint32_t line = side_.line(k);
            uint32_t place;
            if (!findDark(line, lookFromFirst, place))
                continue;
            if (goToFirst ? place >= point.place : place <= point.place)
                break;
            const double distance = lengthOf(difference(place, corner.place), difference(line, corner.line));
            if (distance < best) {
                best = distance;
                point = {place, line};
            }
        }
        return point;
    }

    // The first place at which this line and the next are both dark.
    bool findDark(uint32_t line, bool lookFromFirst, uint32_t& place) const
    {
        if (line + 1 >= image_.lines())
            return false;
        const uint32_t end = lastPlace();
        for (uint32_t k = 0; k <= end - band_.firstPlace; ++k) {
            place = lookFromFirst ? band_.firstPlace + k : end - k;
            if (image_.isDark(place, line) && image_.isDark(place, line + 1))
                return true;
        }
        return false;
    }

    uint32_t lastPlace() const { return std::min(band_.lastPlace, image_.places() - 1); }

    uint32_t sixth() const { return (band_.lastPlace - band_.firstPlace + 1) / 6; }

    // Whether the points can be trusted to lie on one straight edge of the band.
    bool isEdge(const Edge& edge) const
    {
        constexpr uint32_t shortest = 115; // one line more or less makes half a degree here
        return edge.start.place + std::max(sixth(), shortest) <= edge.end.place &&
               isBorder(edge, edge.start.place, edge.end.place) && isBorder(edge, band_.firstPlace, lastPlace());
    }

    // Whether the band begins along the line through the two points, from one place to another: dark on the inside and
    // white outside, with little exception. Rows of letters fail here.
    bool isBorder(const Edge& edge, uint32_t from, uint32_t to) const
    {
        constexpr uint32_t inside = 2;
        constexpr uint32_t outside = 3;
        constexpr double share = 0.85;
        const double slope = (static_cast<double>(edge.end.line) - edge.start.line) /
                             (static_cast<double>(edge.end.place) - edge.start.place);
        uint32_t borders = 0;
        for (uint32_t place = from; place <= to; ++place) {
            const double distance = static_cast<double>(place) - edge.start.place;
            const auto line = static_cast<uint32_t>(std::llround(edge.start.line + slope * distance));
            borders += isDark(place, line + inside * side_.step) && !isDark(place, line - outside * side_.step) ? 1 : 0;
        }
        return borders >= share * (static_cast<double>(to) - from + 1);
    }

    // Beyond the image all is white.
    bool isDark(uint32_t place, uint32_t line) const
    {
        return place < image_.places() && line < image_.lines() && image_.isDark(place, line);
    }

    const BandImage& image_;
    const Band& band_;
    const Side side_;
};

// Lines by which the edge falls from its start to its end.
int64_t fallOf(const Edge& edge)
{
    return int64_t{edge.end.line} - edge.start.line;
}

// Dots on a level edge can shift all that follows by a line, seldom by two, but hardly those on the other edge as well.
// A fall of one line counts only where the angle is small, and one of two lines only if the other edge falls, too.
bool isNoise(const Edge& edge, const Edge& other)
{
    constexpr double tenthOfDegree = 573.0; // places over which an edge of that slant falls by one line
    const int64_t fall = fallOf(edge);
    if (fall == 1 || fall == -1)
        return difference(edge.start.place, edge.end.place) < tenthOfDegree;
    return (fall == 2 && fallOf(other) <= 0) || (fall == -2 && fallOf(other) >= 0);
}

struct Slope {
    double angle;
    double length;
};

Slope slopeOf(const Edge& edge)
{
    const double along = difference(edge.start.place, edge.end.place);
    const double across = difference(edge.start.line, edge.end.line);
    if (along == 0.0)
        return {0.0, 0.0};
    if (across == 0.0)
        return {0.0, along};
    const double radians = std::atan(across / along);
    const double degrees = radians * degreesPerRadian;
    const double angle = edge.start.line >= edge.end.line ? degrees : -degrees;
    return {angle > -angleLimit && angle < angleLimit ? angle : 0.0, along / std::cos(radians)};
}

// Of two angles of one sign the longer edge's wins, of opposite ones the shorter edge's: deliberately.
double choose(const Slope& a, const Slope& b)
{
    if (a.angle == 0.0)
        return b.angle;
    if (b.angle == 0.0)
        return a.angle;
    const bool agree = (a.angle > 0.0) == (b.angle > 0.0);
    return (agree ? a.length <= b.length : a.length >= b.length) ? b.angle : a.angle;
}

} // namespace

BandEdges findEdges(const BandImage& image, const Band& band) noexcept
{
    const uint32_t lines = band.lastLine - band.firstLine + 1;
    const Edge a = EdgeWalks(image, band, {band.firstLine, lines, 1U}).find();
    const Edge b = EdgeWalks(image, band, {band.lastLine, lines, ~0U}).find();
    return {isNoise(a, b) ? Edge{} : a, isNoise(b, a) ? Edge{} : b};
}

double angleOfEdges(const BandEdges& edges, bool vertical) noexcept
{
    const double angle = choose(slopeOf(edges.a), slopeOf(edges.b));
    // Exchanging rows and columns turns the sense of rotation round. There is no negative zero.
    return vertical ? 0.0 - angle : angle;
}

} // namespace lx
