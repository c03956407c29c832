// A small alphabet of pen strokes. A stroke is a list of points; one that begins with ~ is the control polygon of a
// curve.

#include "sample/ink.h"

#include <map>
#include <sstream>

namespace lxpage
{

namespace
{

struct Form {
    char character;
    double advance;
    const char* strokes;
};

constexpr Form forms[] = {
    {'a', 2.8, "~.3,3.3 .7,4.4 2.8,4.6 2.8,2.6|2.8,3 2.8,0|~2.8,2.4 -.2,2.7 -.5,-.6 2.2,-.4 2.8,1.2"},
    {'b', 3.0, "0,6.6 0,0|~0,1.4 .5,-.5 3.1,-.4 3.1,4.4 .5,4.5 0,2.6"},
    {'c', 2.7, "~2.7,3.3 2.2,4.5 -.1,4.4 -.1,-.4 2.2,-.5 2.8,.8"},
    {'d', 3.0, "3,6.6 3,0|~3,2.6 2.5,4.5 -.1,4.4 -.1,-.4 2.5,-.5 3,1.4"},
    {'e', 2.9, "0,2.1 2.8,2.1|~2.8,2.1 3,4.4 -.1,4.6 -.1,-.4 2.2,-.5 2.9,.8"},
    {'f', 1.6, "~2.3,6.3 .8,7.1 .7,5 .7,3|.7,4 .7,0|-.3,4 1.8,4"},
    {'g', 3.0, "~3,2.6 2.5,4.5 -.1,4.4 -.1,-.4 2.5,-.5 3,1.4|3,4 3,0|~3,0 3,-2.6 .9,-2.5 .2,-1.5"},
    {'h', 3.0, "0,6.6 0,0|~0,2.5 .7,4.3 2.9,4.7 3,2.6 3,1.6|3,2 3,0"},
    {'i', 0.2, "0,4 0,0|0,5.7 0,5.9"},
    {'j', 0.6, ".6,4 .6,-1|~.6,-1 .6,-2.6 -.4,-2.2|.6,5.7 .6,5.9"},
    {'k', 2.7, "0,6.6 0,0|2.6,4 0,1.6|1,2.5 2.8,0"},
    {'l', 0.2, "0,6.6 0,0"},
    {'m', 4.8,
     "0,4 0,0|~0,2.5 .5,4.3 2.3,4.7 2.4,2.6 2.4,1.6|2.4,2 2.4,0|~2.4,2.5 2.9,4.3 4.7,4.7 4.8,2.6 4.8,1.6|4.8,2 4.8,0"},
    {'n', 3.0, "0,4 0,0|~0,2.5 .7,4.3 2.9,4.7 3,2.6 3,1.6|3,2 3,0"},
    {'o', 3.1, "~1.55,4.15 -.15,4.2 -.15,-.2 1.55,-.15|~1.55,-.15 3.25,-.2 3.25,4.2 1.55,4.15"},
    {'p', 3.0, "0,4 0,-2.2|~0,1.4 .5,-.5 3.1,-.4 3.1,4.4 .5,4.5 0,2.6"},
    {'q', 3.0, "3,4 3,-2.2|~3,2.6 2.5,4.5 -.1,4.4 -.1,-.4 2.5,-.5 3,1.4"},
    {'r', 1.7, "0,4 0,0|~0,2.4 .4,4.2 1.4,4.4 1.9,3.7"},
    {'s', 2.5, "~2.4,3.4 2.1,4.5 0,4.6 -.1,2.5 2.7,1.8 2.6,-.5 .4,-.6 -.1,.7"},
    {'t', 1.7, "~.7,5.4 .7,1 .8,-.4 2,.2|-.3,4 1.8,4"},
    {'u', 3.0, "0,4 0,2|~0,2.4 0,-.8 2.4,-.5 3,1.5|3,4 3,0"},
    {'v', 2.8, "0,4 1.4,0 2.8,4"},
    {'w', 4.4, "0,4 1.1,0 2.2,3.8 3.3,0 4.4,4"},
    {'x', 2.7, "0,4 2.7,0|2.7,4 0,0"},
    {'y', 2.8, "0,4 1.4,.2|2.8,4 .8,-2.2"},
    {'z', 2.6, "0,4 2.6,4 0,0 2.7,0"},
    {'A', 4.0, "0,0 2,6.4 4,0|.7,2.1 3.3,2.1"},
    {'C', 4.0, "~4,5 3.2,6.9 -.1,6.8 -.1,-.4 3.2,-.5 4.1,1.4"},
    {'D', 3.9, "0,0 0,6.4|~0,6.4 4.1,6.6 4.1,-.2 0,0"},
    {'E', 3.1, "3.1,6.4 0,6.4 0,0 3.2,0|0,3.3 2.6,3.3"},
    {'H', 3.9, "0,6.4 0,0|3.9,6.4 3.9,0|0,3.3 3.9,3.3"},
    {'I', 0.2, "0,6.4 0,0"},
    {'L', 2.9, "0,6.4 0,0 3,0"},
    {'M', 4.8, "0,0 .2,6.4 2.4,1.4 4.6,6.4 4.8,0"},
    {'N', 3.9, "0,0 0,6.4 3.9,0 3.9,6.4"},
    {'P', 3.2, "0,6.4 0,0|~0,6.4 3.6,6.7 3.6,2.6 0,2.9"},
    {'R', 3.4, "0,6.4 0,0|~0,6.4 3.6,6.7 3.6,2.6 0,2.9|1.5,2.9 3.5,0"},
    {'S', 3.3, "~3.2,5.4 2.8,6.9 0,7.1 -.1,3.8 3.6,2.9 3.5,-.6 .4,-.7 -.1,1.2"},
    {'T', 4.0, "0,6.4 4,6.4|2,6.4 2,0"},
    {'V', 3.8, "0,6.4 1.9,0 3.8,6.4"},
    {'1', 1.8, ".2,5.1 1.5,6.4 1.5,0"},
    {'2', 3.0, "~0,5 .2,6.6 2.9,6.8 3.2,4 0,0|0,0 3.1,0"},
    {'7', 2.9, "0,6.4 2.9,6.4 1,0"},
    {'.', 0.2, "0,.1 0,-.1"},
    {',', 0.2, ".1,.1 -.3,-1"},
};

// Cut every corner at a quarter of its two sides; the ends stay.
std::vector<Point> smoothed(const std::vector<Point>& polygon)
{
    std::vector<Point> curve = {polygon.front()};
    for (size_t k = 0; k + 1 < polygon.size(); ++k) {
        const Point a = polygon[k];
        const Point b = polygon[k + 1];
        if (k > 0) {
            curve.push_back({a.x * 0.75 + b.x * 0.25, a.y * 0.75 + b.y * 0.25});
        }
        if (k + 2 < polygon.size()) {
            curve.push_back({a.x * 0.25 + b.x * 0.75, a.y * 0.25 + b.y * 0.75});
        }
    }
    curve.push_back(polygon.back());
    return curve;
}

std::vector<Point> parseStroke(const std::string& text)
{
    const bool curved = text.front() == '~';
    std::istringstream in(text.substr(curved ? 1 : 0));
    in.imbue(std::locale::classic());
    std::vector<Point> points;
    Point point;
    for (char comma; in >> point.x >> comma >> point.y;) {
        points.push_back(point);
    }
    for (int round = 0; curved && round < 3; ++round) {
        points = smoothed(points);
    }
    return points;
}

std::map<char, Letter> parseForms()
{
    std::map<char, Letter> letters;
    for (const Form& form : forms) {
        Letter letter{form.advance, {}};
        std::istringstream in(form.strokes);
        for (std::string stroke; std::getline(in, stroke, '|');) {
            letter.strokes.push_back(parseStroke(stroke));
        }
        letters.emplace(form.character, std::move(letter));
    }
    return letters;
}

} // namespace

const Letter* letterFor(char character)
{
    static const std::map<char, Letter> letters = parseForms();
    const auto found = letters.find(character);
    return found == letters.end() ? nullptr : &found->second;
}

} // namespace lxpage
