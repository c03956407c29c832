#include "sample/ink.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace lxpage
{

namespace
{

constexpr double kTipFlatness = 0.6; // height of the pen's tip over its width
constexpr double kLetterGap = 1.5;   // in letter units
constexpr double kWordGap = 2.6;

double unitOf(const Face& face)
{
    return face.xHeight / 4;
}

// Distance of p from the line between a and b.
double distanceFrom(Point a, Point b, Point p)
{
    const double dx = b.x - a.x;
    const double dy = b.y - a.y;
    const double length2 = dx * dx + dy * dy;
    const double along = length2 > 0 ? std::clamp(((p.x - a.x) * dx + (p.y - a.y) * dy) / length2, 0.0, 1.0) : 0.0;
    const double ex = p.x - a.x - along * dx;
    const double ey = p.y - a.y - along * dy;
    return std::sqrt(ex * ex + ey * ey);
}

} // namespace

InkMap::InkMap(double widthMm, double heightMm, double pixelsPerMm)
    : scale_(pixelsPerMm), width_(static_cast<int>(widthMm * pixelsPerMm) + 1),
      height_(static_cast<int>(heightMm * pixelsPerMm) + 1),
      coverage_(static_cast<size_t>(width_) * static_cast<size_t>(height_))
{
}

void InkMap::stroke(std::span<const Point> points, double pen)
{
    for (size_t k = 0; k + 1 < points.size(); ++k) {
        segment({points[k].x * scale_, points[k].y * scale_}, {points[k + 1].x * scale_, points[k + 1].y * scale_},
                pen / 2 * scale_);
    }
}

// Pixels within the radius are covered, the last pixel of distance softly. Distances are taken with y stretched, which
// flattens the tip.
void InkMap::segment(Point a, Point b, double radius)
{
    const double reach = radius + 1;
    const int left = std::max(0, static_cast<int>(std::min(a.x, b.x) - reach));
    const int right = std::min(width_ - 1, static_cast<int>(std::max(a.x, b.x) + reach));
    const int top = std::max(0, static_cast<int>(std::min(a.y, b.y) - reach));
    const int bottom = std::min(height_ - 1, static_cast<int>(std::max(a.y, b.y) + reach));
    a.y /= kTipFlatness;
    b.y /= kTipFlatness;
    for (int y = top; y <= bottom; ++y) {
        uint8_t* line = coverage_.data() + static_cast<size_t>(y) * static_cast<size_t>(width_);
        for (int x = left; x <= right; ++x) {
            const double distance = distanceFrom(a, b, {double(x), y / kTipFlatness});
            const double inside = std::clamp(radius + 0.5 - distance, 0.0, 1.0);
            line[x] = std::max(line[x], static_cast<uint8_t>(inside * 255 + 0.5));
        }
    }
}

void InkMap::fill(Point topLeft, Point bottomRight)
{
    const int right = std::min(width_ - 1, static_cast<int>(bottomRight.x * scale_));
    const int bottom = std::min(height_ - 1, static_cast<int>(bottomRight.y * scale_));
    for (int y = std::max(0, static_cast<int>(topLeft.y * scale_)); y <= bottom; ++y) {
        for (int x = std::max(0, static_cast<int>(topLeft.x * scale_)); x <= right; ++x) {
            coverage_[static_cast<size_t>(y) * static_cast<size_t>(width_) + static_cast<size_t>(x)] = 255;
        }
    }
}

double InkMap::at(double xMm, double yMm) const
{
    const double x = xMm * scale_;
    const double y = yMm * scale_;
    if (!(x >= 0 && y >= 0 && x < width_ - 1 && y < height_ - 1)) {
        return 0;
    }
    const auto column = static_cast<size_t>(x);
    const auto row = static_cast<size_t>(y);
    const double fx = x - double(column);
    const double fy = y - double(row);
    const uint8_t* above = coverage_.data() + row * static_cast<size_t>(width_) + column;
    const uint8_t* below = above + width_;
    return ((above[0] * (1 - fx) + above[1] * fx) * (1 - fy) + (below[0] * (1 - fx) + below[1] * fx) * fy) / 255;
}

double TypeSetter::widthOf(const std::string& text, const Face& face)
{
    double units = 0;
    for (const char character : text) {
        const Letter* letter = letterFor(character);
        units += letter ? letter->advance + kLetterGap : character == ' ' ? kWordGap : 0;
    }
    return units * unitOf(face);
}

double TypeSetter::line(InkMap& ink, Point at, const std::string& text, const Face& face)
{
    const double unit = unitOf(face);
    std::vector<Point> placed;
    for (const char character : text) {
        const Letter* letter = letterFor(character);
        for (size_t k = 0; letter && k < letter->strokes.size(); ++k) {
            placed.clear();
            for (const Point& point : letter->strokes[k]) {
                placed.push_back({at.x + point.x * unit, at.y - point.y * unit});
            }
            ink.stroke(placed, face.pen);
        }
        at.x += widthOf(std::string(1, character), face);
    }
    return at.x;
}

// Syllables of a consonant group and a vowel, sometimes closed, make words that look like a language.
std::string TypeSetter::word()
{
    static constexpr std::string_view onsets[] = {"b", "c", "d", "f", "g", "h",  "l",  "m",  "n",  "p",  "r",  "s", "t",
                                                  "v", "w", "j", "k", "z", "st", "tr", "pl", "qu", "br", "sp", "",  ""};
    static constexpr std::string_view vowels[] = {"a", "e", "i", "o", "u", "e", "a", "i", "y", "ae", "io", "ex"};
    static constexpr std::string_view closings[] = {"n", "r", "s", "m", "t", "l", "nt", "", "", "", ""};
    std::string text;
    for (unsigned syllables = 1 + draw(2) + draw(2); syllables > 0; --syllables) {
        text += onsets[draw(std::size(onsets))];
        text += vowels[draw(std::size(vowels))];
        text += closings[draw(std::size(closings))];
    }
    if (sentenceStart_) {
        const char capital = static_cast<char>(text.front() - 'a' + 'A');
        text.front() = letterFor(capital) ? capital : 'S';
    }
    const unsigned end = draw(12);
    sentenceStart_ = end == 0;
    return end == 0 ? text + "." : end == 1 ? text + "," : text;
}

double TypeSetter::paragraph(InkMap& ink, Point at, double width, unsigned lines, const Face& face)
{
    sentenceStart_ = true;
    std::string next = word();
    for (unsigned k = 0; k < lines; ++k) {
        const bool last = k + 1 == lines;
        const double room = last ? width * (0.3 + draw(50) * 0.01) : width;
        std::vector<std::string> words;
        double taken = 0;
        for (double length = widthOf(next, face); words.empty() || taken + length <= room;
             length = widthOf(' ' + next, face)) {
            taken += length;
            words.push_back(next);
            next = word();
        }
        if (std::string& end = words.back(); last) {
            end = end.substr(0, end.find_first_of(",.")) + '.';
        }
        const double stretch = last || words.size() < 2 ? 0 : (room - taken) / double(words.size() - 1);
        Point pen = at;
        for (const std::string& text : words) {
            pen.x = line(ink, pen, text + ' ', face) + stretch;
        }
        at.y += face.leading;
    }
    return at.y;
}

} // namespace lxpage
