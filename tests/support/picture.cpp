#include "support/picture.h"

#include <cstdio>
#include <ostream>

namespace lxtest
{

namespace
{

unsigned digitsOf(uint16_t type)
{
    return bitsOf(type) < 8 ? 1 : bitsOf(type) / 4;
}

std::string pixelText(uint16_t type, uint32_t value)
{
    if (type == IMAGE_TYPE_BW)
        return value == 0 ? "#" : value == 1 ? "." : "?";
    char text[16];
    std::snprintf(text, sizeof text, "%0*x", static_cast<int>(digitsOf(type)), value);
    return text;
}

std::vector<uint32_t> parseLine(uint16_t type, const std::string& line)
{
    std::string digits;
    for (const char c : line)
        if (c != ' ')
            digits += type != IMAGE_TYPE_BW ? c : c == '#' ? '0' : '1';
    std::vector<uint32_t> pixels;
    for (size_t i = 0; i < digits.size(); i += digitsOf(type))
        pixels.push_back(static_cast<uint32_t>(std::stoul(digits.substr(i, digitsOf(type)), nullptr, 16)));
    return pixels;
}

} // namespace

unsigned bitsOf(uint16_t type)
{
    constexpr unsigned bits[] = {1, 4, 8, 4, 4, 8, 24};
    return bits[type];
}

const char* nameOf(uint16_t type)
{
    constexpr const char* names[] = {"BW", "16Gray", "256Gray", "8RGB", "16RGB", "256RGB", "16MRGB"};
    return names[type];
}

Picture::Picture(uint16_t pixelType, std::initializer_list<const char*> lines) : type(pixelType)
{
    for (const char* line : lines) {
        const std::vector<uint32_t> row = parseLine(type, line);
        width = static_cast<uint32_t>(row.size());
        ++height;
        pixels.insert(pixels.end(), row.begin(), row.end());
    }
}

Picture Picture::random(Random& random, uint16_t type, uint32_t width, uint32_t height)
{
    Picture picture(type, width, height);
    const uint32_t mask = (1U << bitsOf(type)) - 1;
    const uint32_t longest = random.chance(30) ? 40 : 1;
    uint32_t left = 0;
    uint32_t value = 0;
    for (uint32_t& pixel : picture.pixels) {
        if (left == 0) {
            left = random.between(1, longest);
            const auto fresh = static_cast<uint32_t>(random.next());
            // Black and white are commoner on paper than in noise.
            value = (random.chance(20) ? fresh & 1 ? ~0U : 0U : fresh) & mask;
        }
        pixel = value;
        --left;
    }
    return picture;
}

Picture Picture::cut(uint32_t left, uint32_t top, uint32_t columns, uint32_t rows) const
{
    Picture part(type, columns, rows);
    for (uint32_t j = 0; j < rows; ++j)
        for (uint32_t i = 0; i < columns; ++i)
            part.at(i, j) = at(left + i, top + j);
    return part;
}

std::ostream& operator<<(std::ostream& out, const Picture& picture)
{
    out << nameOf(picture.type) << ' ' << picture.width << " x " << picture.height;
    if (picture.width > 80 || picture.height > 40)
        return out;
    for (uint32_t j = 0; j < picture.height; ++j) {
        out << '\n';
        for (uint32_t i = 0; i < picture.width; ++i)
            out << pixelText(picture.type, picture.at(i, j)) << (bitsOf(picture.type) < 8 ? "" : " ");
    }
    return out;
}

testing::AssertionResult samePicture(const Picture& expected, const Picture& actual)
{
    if (expected == actual)
        return testing::AssertionSuccess();
    auto failure = testing::AssertionFailure();
    for (size_t k = 0; k < std::min(expected.pixels.size(), actual.pixels.size()); ++k) {
        if (expected.width == actual.width && expected.pixels[k] != actual.pixels[k]) {
            failure << "pixel (" << k % expected.width << ", " << k / expected.width << ") is "
                    << pixelText(actual.type, actual.pixels[k]) << ", expected "
                    << pixelText(expected.type, expected.pixels[k]) << "\n";
            break;
        }
    }
    return failure << "expected " << expected << "\nactual " << actual;
}

} // namespace lxtest
