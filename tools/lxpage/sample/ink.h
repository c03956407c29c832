// Ink on a sheet: strokes drawn with a broad pen into a coverage map, and text set in lines and paragraphs.
//
// Lengths are millimetres from the sheet's top left corner, y downwards.
#ifndef LXPAGE_SAMPLE_INK_H
#define LXPAGE_SAMPLE_INK_H

#include <cstdint>
#include <random>
#include <span>
#include <string>
#include <vector>

namespace lxpage
{

struct Point {
    double x = 0;
    double y = 0;
};

// Coverage 0 (bare) to 255 (full) of a sheet.
class InkMap
{
  public:
    InkMap(double widthMm, double heightMm, double pixelsPerMm);

    // Lines between the points. The pen's tip is an ellipse lying down: upright strokes come out `pen` wide, level
    // ones thinner.
    void stroke(std::span<const Point> points, double pen);
    void fill(Point topLeft, Point bottomRight);

    // Coverage between 0 and 1 at a place, interpolated; nothing beyond the sheet.
    [[nodiscard]] double at(double xMm, double yMm) const;

  private:
    void segment(Point a, Point b, double radius);

    double scale_;
    int width_;
    int height_;
    std::vector<uint8_t> coverage_;
};

struct Face {
    double xHeight; // height of a small letter
    double pen;
    double leading; // from line to line
};

// Sets invented words, always the same ones for the same seed.
class TypeSetter
{
  public:
    explicit TypeSetter(uint32_t seed) : random_(seed) {}

    // One line as given, its base line starting at `at`; returns where it ends. Signs without a letter form are left
    // out.
    static double line(InkMap& ink, Point at, const std::string& text, const Face& face);
    static double widthOf(const std::string& text, const Face& face);

    // A justified paragraph of invented sentences, its first base line at `at.y`; returns the base line after it.
    double paragraph(InkMap& ink, Point at, double width, unsigned lines, const Face& face);

  private:
    unsigned draw(unsigned count) { return static_cast<unsigned>(random_() % count); }
    std::string word();

    std::minstd_rand random_; // the same sequence in every standard library
    bool sentenceStart_ = true;
};

// The strokes of a letter in units of a quarter of the x-height, y upwards from the base line, and how far the pen
// moves on.
struct Letter {
    double advance;
    std::vector<std::vector<Point>> strokes;
};

// Null if there is no such letter.
const Letter* letterFor(char character);

} // namespace lxpage

#endif
