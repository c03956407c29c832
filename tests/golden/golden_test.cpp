// The bytes that every platform must give: hashes of what each operation of the table makes of synthesised pages, with
// each pair of types and several draws of its parameters, compared with one list for all processors, compilers and
// instruction-set levels.
//
//   golden_test hashes.txt    compares
//   golden_test > hashes.txt  prints the list, after a change of results that is meant
//
// The pages are made in whole numbers alone, random draws come from a generator of this file, and numbers are hashed
// by value, so that nothing but the library can make a difference. Angles and colour matrices, which the C library's
// sine, cosine and arc tangent take part in, count as single-precision numbers.

#include "support/operations.h"
#include "support/placed_picture.h"
#include "support/progress_log.h"
#include "support/slant_scene.h"

#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <vector>

namespace
{

lxtest::Random drawn(0);

} // namespace

// The linker sends the library's draws here.
extern "C" int __wrap_rand();
extern "C" void __wrap_srand(unsigned seed);

extern "C" int __wrap_rand()
{
    return static_cast<int>(drawn.next() >> 33);
}

extern "C" void __wrap_srand(unsigned)
{
    drawn = lxtest::Random(0);
}

namespace lxtest
{

namespace
{

// FNV-1a over numbers, the lowest byte first.
class Hash
{
  public:
    template <class T>
    void add(T value)
    {
        for (size_t k = 0; k < sizeof(T); ++k)
            addByte(static_cast<uint8_t>(static_cast<uint64_t>(value) >> 8 * k));
    }
    void add(float value)
    {
        uint32_t bits;
        std::memcpy(&bits, &value, sizeof bits);
        add(bits);
    }
    void add(const std::vector<uint8_t>& bytes)
    {
        for (const uint8_t byte : bytes)
            addByte(byte);
    }
    void add(const Picture& picture)
    {
        for (const uint32_t pixel : picture.pixels)
            add(pixel);
    }

    std::string text() const
    {
        char digits[17];
        std::snprintf(digits, sizeof digits, "%08lx%08lx", static_cast<unsigned long>(state_ >> 32),
                      static_cast<unsigned long>(state_ & 0xFFFFFFFF));
        return digits;
    }

  private:
    void addByte(uint8_t byte) { state_ = (state_ ^ byte) * 0x100000001B3; }

    uint64_t state_ = 0xCBF29CE484222325;
};

// Shaded paper with lines of letters, a photograph at the lower right, and a slightly tilted bar along the top.
uint32_t colorAt(Size page, uint32_t i, uint32_t j)
{
    const auto grain = static_cast<uint32_t>(Random(uint64_t{j} << 32 | i).next());
    const uint32_t down = page.height / 10 + i / 40;
    uint32_t rgb[3];
    for (uint32_t k = 0; k < 3; ++k) {
        const uint32_t noise = grain >> 8 * k & 15;
        const bool bar = j > down && j < down + page.height / 20;
        const bool letter = j % 24 > 10 && (Random(uint64_t{j / 24} << 32 | i / 4).next() >> j % 24 & 1) != 0;
        if (i > page.width / 3 && j > page.height / 2)
            rgb[k] = ((i * (k + 1) + j * (3 - k)) * 2 + noise * 3) % 256;
        else if (bar || letter)
            rgb[k] = 10 + 20 * k + noise;
        else
            rgb[k] = 240 - i * 64 / page.width + noise;
    }
    return rgb[0] << 16 | rgb[1] << 8 | rgb[2];
}

Picture synthesizedPage(uint16_t type, Size size)
{
    Picture page(type, size.width, size.height);
    for (uint32_t j = 0; j < size.height; ++j) {
        for (uint32_t i = 0; i < size.width; ++i) {
            const uint32_t color = colorAt(size, i, j);
            const uint32_t red = color >> 16;
            const uint32_t green = color >> 8 & 255;
            const uint32_t blue = color & 255;
            const uint32_t byType[] = {green >> 7,
                                       green >> 4,
                                       green,
                                       red >> 7 | green >> 7 << 1 | blue >> 7 << 2 | (i + j) % 7 / 6 << 3,
                                       (red ^ blue) >> 4,
                                       red / 43 + green / 43 * 6 + blue / 43 * 36,
                                       color};
            page.at(i, j) = byType[type];
        }
    }
    return page;
}

std::string hashOf(const TypedOperation& typed)
{
    const Operation& operation = *typed.operation;
    constexpr Layout from = {.x = 5, .padding = 3};
    constexpr Layout to = {.bottomUp = 1, .x = 3, .linesBelow = 1};
    Hash hash;
    Random random(typed.name());
    for (const Size& size : {Size{211, 163}, Size{2311, 17}, Size{67, 400}}) {
        const Picture page = synthesizedPage(typed.sourceType, size);
        for (int draw = 0; draw < 5; ++draw) {
            Size sourceSize = size;
            Size destinationSize = size;
            if (operation.fit)
                operation.fit(sourceSize, destinationSize, random);
            const bool fits = sourceSize.width == size.width && sourceSize.height == size.height;
            const Image source(fits ? page : synthesizedPage(typed.sourceType, sourceSize), from);
            const Image destination(
                operation.inPlace()
                    ? page
                    : Picture::random(random, typed.destinationType, destinationSize.width, destinationSize.height),
                to);
            Call call = {operation.inPlace() ? &destination.area : &source.area,
                         &destination.area,
                         ProgressLog::start(),
                         Random(random.next()),
                         {}};
            hash.add(operation.run(call));
            for (const auto& [current, total] : ProgressLog::calls())
                hash.add(uint64_t{total} << 32 | current);
            hash.add(destination.picture());
            hash.add(call.kept);
        }
    }
    return hash.text();
}

std::string hashOfSizes()
{
    Hash hash;
    for (uint16_t type = 0; type <= 7; ++type) {
        for (const uint32_t width : {0U, 1U, 9U, 2480U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
            hash.add(lxCalculateBytesOf1Line(type, width));
            hash.add(lxCalculateMemorySize(type, width, 3508));
            hash.add(lxCalculateErrorBufferSize(type, width));
        }
    }
    return hash.text();
}

std::string hashOfPalettes()
{
    Hash hash;
    for (const uint16_t type : everyType) {
        const ColorPalette palette = paletteOf(type);
        hash.add(palette.count);
        for (const auto& entry : palette.entries)
            for (const uint8_t component : entry)
                hash.add(component);
    }
    return hash.text();
}

std::string hashOfWorkAreas()
{
    Hash hash;
    const auto add = [&](const ImageArea& area) {
        for (const uint32_t value : {uint32_t{area.type}, area.width, area.height, area.bytesPerLine, area.lines})
            hash.add(value);
    };
    for (const uint16_t type : everyType) {
        for (const uint32_t width : {20U, 100U, 480U, 2480U}) {
            ImageArea source = {};
            source.type = type;
            source.width = width;
            source.height = 720;
            ImageArea areas[3] = {};
            areas[0].width = areas[0].height = 100;
            hash.add(lxCalculateThumbnailMemorySize(&source, &areas[0], &areas[1], &areas[2]));
            for (const ImageArea& area : areas)
                add(area);
            hash.add(lxCalculateMemorySizeForDetectionSlantAngle(&source, &areas[0], &areas[1], &areas[2]));
            for (const ImageArea& area : areas)
                add(area);
        }
    }
    return hash.text();
}

std::string hashOfTables()
{
    Hash hash;
    Random random(1);
    for (int k = 0; k < 200; ++k) {
        CorrectionLevel levels[5];
        for (CorrectionLevel& level : levels)
            level = {static_cast<int32_t>(random.below(41)) - 20, 20};
        const int32_t reverse = k % 3;
        GammaTable table;
        hash.add(
            lxCreateGammaCorrectionTable(&levels[0], &levels[1], &levels[2], &levels[3], &levels[4], &reverse, &table));
        for (const uint8_t entry : table.entries)
            hash.add(entry);
        ColorCorrectionMatrix matrix;
        hash.add(lxCreateColorCorrectionMatrix(&levels[0], &levels[1], &levels[2], &matrix));
        for (const double entry : matrix.entries)
            hash.add(static_cast<float>(entry));
    }
    return hash.text();
}

std::string hashOfMeasurements()
{
    Hash hash;
    for (const uint16_t type : everyType) {
        const Image page(synthesizedPage(type, {400, 500}));
        const SlantMeasurement found = measureSlant(page.area);
        hash.add(found.status);
        hash.add(static_cast<float>(found.angle));
        for (const auto* place :
             {&found.bandFirst, &found.bandLast, &found.startA, &found.startB, &found.endA, &found.endB})
            for (const uint32_t coordinate : *place)
                hash.add(coordinate);
    }
    return hash.text();
}

using Hashes = std::map<std::string, std::string>;

Hashes allHashes()
{
    Hashes hashes = {{"sizes", hashOfSizes()},
                     {"palettes", hashOfPalettes()},
                     {"workAreas", hashOfWorkAreas()},
                     {"tables", hashOfTables()},
                     {"measurements", hashOfMeasurements()}};
    for (const TypedOperation& typed : allOperations())
        hashes[typed.name()] = hashOf(typed);
    return hashes;
}

Hashes readList(const char* path)
{
    Hashes list;
    std::ifstream file(path);
    std::string name;
    std::string hash;
    while (file >> name >> hash)
        list[name] = hash;
    return list;
}

int compare(const char* path)
{
    const Hashes expected = readList(path);
    Hashes actual = allHashes();
    size_t faults = expected.empty() ? 1 : 0;
    for (const auto& [name, hash] : expected) {
        if (actual[name] != hash) {
            std::fprintf(stderr, "%s: %s instead of %s\n", name.c_str(), actual[name].c_str(), hash.c_str());
            ++faults;
        }
    }
    for (const auto& [name, hash] : actual) {
        if (!expected.contains(name)) {
            std::fprintf(stderr, "%s is not in the list\n", name.c_str());
            ++faults;
        }
    }
    std::printf("%zu hashes compared, %zu faults\n", expected.size(), faults);
    return faults == 0 ? 0 : 1;
}

} // namespace

} // namespace lxtest

int main(int argc, char** argv)
{
    if (argc > 1)
        return lxtest::compare(argv[1]);
    for (const auto& [name, hash] : lxtest::allHashes())
        std::printf("%s %s\n", name.c_str(), hash.c_str());
    return 0;
}
