// Pasting: the rule of each destination, the key's ranges, and what is different on purpose.

#include "support/converted.h"
#include "support/operations.h"
#include "support/progress_log.h"

#include <array>

namespace lxtest
{

namespace
{

using Color = std::array<uint8_t, 3>;

struct Key {
    Color color;
    uint32_t tolerance = 0;
};

// `destination` after the paste.
Picture pasted(const Picture& source, const ColorPalette& palette, const Picture& destination, const Key* key = nullptr,
               uint16_t colorOrder = 0)
{
    const Image from(source, {.colorOrder = colorOrder});
    const Image to(destination);
    EXPECT_EQ(lxSynthesizeToSpecificationArea(key != nullptr ? 1 : 0, &from.area, &palette,
                                              key != nullptr ? key->color.data() : nullptr,
                                              key != nullptr ? key->tolerance : 0, &to.area, nullptr),
              IMAGE_STATUS_OK);
    return to.picture();
}

Picture blank(const Picture& like, uint16_t type, uint32_t pixel = 0)
{
    return Picture(type, like.width, like.height, pixel);
}

// A palette of 256 entries, all of one colour but for some.
ColorPalette paletteWith(const Color& most, std::initializer_list<std::pair<unsigned, Color>> others = {})
{
    ColorPalette palette = {};
    palette.count = 256;
    for (auto& entry : palette.entries)
        std::copy(most.begin(), most.end(), entry);
    for (const auto& [k, color] : others)
        std::copy(color.begin(), color.end(), palette.entries[k]);
    return palette;
}

const ColorPalette noPalette = {};

// Lines without gaps are copied many at a time.
TEST(Synthesis, CopiesWhatIsOfTheSameFormat)
{
    Random random(61);
    for (const uint16_t type : {IMAGE_TYPE_BW, IMAGE_TYPE_256GRAY, IMAGE_TYPE_16MRGB}) {
        for (const uint32_t height : {1U, 31U, 33U, 64U, 100U}) {
            for (const uint32_t width : {16U, 19U, 200U}) {
                const Picture source = Picture::random(random, type, width, height);
                EXPECT_TRUE(samePicture(source, pasted(source, paletteOf(type), blank(source, type, 1))));
            }
        }
    }
}

TEST(Synthesis, TakesThirdsOfAllColorsForGray)
{
    for (const uint16_t colorOrder : {uint16_t{0}, uint16_t{1}}) {
        expectForAllColors(
            colorOrder, IMAGE_TYPE_256GRAY,
            [](auto* from, auto* to) {
                return lxSynthesizeToSpecificationArea(0, from, &noPalette, nullptr, 0, to, nullptr);
            },
            [](uint32_t red, uint32_t green, uint32_t blue) {
                const double w = 0.33333334F;
                return std::min(static_cast<uint32_t>(red * w + blue * w + green * w + 0.5), 255U);
            });
    }
}

TEST(Synthesis, WeightsAllColorsForGrayWithAKey)
{
    const Key key = {{1, 2, 3}};
    expectForAllColors(
        0, IMAGE_TYPE_256GRAY,
        [&](auto* from, auto* to) {
            return lxSynthesizeToSpecificationArea(1, from, &noPalette, key.color.data(), 0, to, nullptr);
        },
        [](uint32_t red, uint32_t green, uint32_t blue) {
            // The key's colour leaves the pixel that the colour before it has left there: red is one less.
            const uint32_t seen = red == 1 && green == 2 && blue == 3 ? 0 : red;
            return static_cast<uint32_t>((blue + seen) * 0.33 + green * 0.34 + 0.5);
        });
}

TEST(Synthesis, TakesTheTwoGrayRulesForPaletteColors)
{
    // (0, 0, 200): thirds give 66.67 + 0.5, weights 66 + 0.5.
    const ColorPalette palette = paletteWith({0, 0, 200});
    const Key elsewhere = {{1, 1, 1}};
    for (const uint16_t type : {IMAGE_TYPE_BW, IMAGE_TYPE_16RGB, IMAGE_TYPE_256RGB}) {
        ColorPalette own = palette;
        own.count = static_cast<uint16_t>(1U << bitsOf(type));
        const Picture source(type, 3, 1, 1);
        EXPECT_EQ(pasted(source, own, blank(source, IMAGE_TYPE_256GRAY)).at(1, 0), 67U);
        EXPECT_EQ(pasted(source, own, blank(source, IMAGE_TYPE_256GRAY), &elsewhere).at(1, 0), 66U);
    }
}

TEST(Synthesis, ReadsTheSourceAsThePaletteCounts)
{
    // Bytes 0x9C and 0x35, whatever their type says: bits 1 and 0, nibbles 9 and C.
    Picture bytes(IMAGE_TYPE_256GRAY, 2, 1);
    bytes.pixels = {0x9C, 0x35};
    struct {
        uint16_t count;
        const char* codes;
    } const cases[] = {{0, "74"}, {1, "74"}, {2, "74"}, {3, "15"}, {16, "15"}, {17, "23"}, {256, "23"}, {0xFFFF, "23"}};
    ColorPalette palette = paletteWith({0, 0, 0}, {{0, {127, 127, 255}},
                                                   {1, {255, 128, 128}},
                                                   {0x9, {200, 100, 50}},
                                                   {0xC, {200, 100, 200}},
                                                   {0x9C, {0, 200, 0}},
                                                   {0x35, {200, 200, 0}}});
    for (const auto& sample : cases) {
        palette.count = sample.count;
        EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_8RGB, {sample.codes}),
                                pasted(bytes, palette, Picture(IMAGE_TYPE_8RGB, 2, 1))))
            << "count " << sample.count;
    }
}

TEST(Synthesis, ReadsEntriesBeyondTheCount)
{
    ColorPalette palette = paletteWith({0, 0, 0}, {{15, {30, 30, 30}}});
    palette.count = 3;
    const Picture source(IMAGE_TYPE_16RGB, {"f0"});
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_256GRAY, {"1e 00"}),
                            pasted(source, palette, blank(source, IMAGE_TYPE_256GRAY))));
}

TEST(Synthesis, ComparesWithTheBlueOfEntryZero)
{
    // (255, 255, 0) is white without dither if entry 0's blue is 255; else its gray of 171 is dithered.
    const Picture source(IMAGE_TYPE_256RGB, 8, 8, 9);
    const Picture white(IMAGE_TYPE_BW, 8, 8, 1);
    const Picture dither171(IMAGE_TYPE_BW, {"..####..", "....#...", "#......#", "##....##", "##....##", "#.......",
                                            "...##...", "..####.."});
    const Color yellow = {255, 255, 0};
    const Key elsewhere = {{1, 1, 1}};
    for (const Key* key : {static_cast<const Key*>(nullptr), &elsewhere}) {
        const auto toBW = [&](const Color& first) {
            return pasted(source, paletteWith(first, {{9, yellow}}), blank(source, IMAGE_TYPE_BW), key);
        };
        EXPECT_TRUE(samePicture(white, toBW({0, 0, 255})));
        EXPECT_TRUE(samePicture(dither171, toBW({0, 0, 0})));
        EXPECT_TRUE(samePicture(dither171, toBW({255, 255, 254})));
    }
    // Of 4 bits the same, (0, 0, 255) being black by the 0 of entry 0.
    ColorPalette sixteen = paletteWith({0, 0, 0}, {{9, {0, 0, 255}}});
    sixteen.count = 16;
    const Picture nibbles(IMAGE_TYPE_16RGB, 8, 8, 9);
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_BW, 8, 8, 0), pasted(nibbles, sixteen, blank(nibbles, IMAGE_TYPE_BW))));
    // Bits and full colour look at their own blue.
    ColorPalette two = paletteWith({0, 0, 255}, {{1, yellow}});
    two.count = 2;
    const Picture bits(IMAGE_TYPE_BW, 8, 8, 1);
    EXPECT_TRUE(samePicture(dither171, pasted(bits, two, blank(bits, IMAGE_TYPE_BW))));
    const Picture colors(IMAGE_TYPE_16MRGB, 8, 8, 0xFFFF00);
    EXPECT_TRUE(samePicture(dither171, pasted(colors, two, blank(colors, IMAGE_TYPE_BW))));
}

TEST(Synthesis, DithersFromTheCornerOn)
{
    // 16 x 9 pixels of gray 128 are the pattern four times over; 128 itself is a threshold, in row 5.
    const Picture colors(IMAGE_TYPE_16MRGB, 16, 9, 0x808080);
    const Picture result = pasted(colors, noPalette, blank(colors, IMAGE_TYPE_BW));
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_BW, {"..####....####..", "..####....####.."}), result.cut(0, 7, 16, 2)));
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_BW, {"##....####....##"}), result.cut(0, 5, 16, 1)));
}

struct KeyCase {
    Key key;
    std::vector<Color> transparent;
    std::vector<Color> opaque;
};

TEST(SynthesisWithKey, HasLopsidedRangesAtTheEnds)
{
    const KeyCase cases[] = {
        {{{0, 0, 0}, 10}, {{0, 0, 0}, {10, 10, 10}, {0, 10, 5}}, {{11, 0, 0}, {0, 11, 0}, {0, 0, 11}}},
        {{{250, 250, 250}, 10}, {{240, 250, 245}}, {{239, 250, 250}, {251, 250, 250}, {255, 255, 255}}},
        {{{5, 5, 5}, 10}, {{5, 15, 5}}, {{4, 5, 5}, {0, 0, 0}, {5, 5, 16}}},
        // A tolerance that just reaches the end counts as one that is too wide.
        {{{10, 245, 128}, 10}, {{10, 245, 118}, {20, 235, 138}}, {{9, 245, 128}, {10, 246, 128}}},
        {{{100, 150, 200}, 0x300}, {{100, 150, 200}}, {{101, 150, 200}, {100, 149, 200}, {200, 150, 100}}},
    };
    for (const KeyCase& sample : cases) {
        for (const bool opaque : {false, true}) {
            for (const Color& color : opaque ? sample.opaque : sample.transparent) {
                // Wide enough for every form of the kernel; the odd pixels are far from the key.
                Picture source(IMAGE_TYPE_16MRGB, 259, 1, 0x404850);
                const uint32_t pixel = static_cast<uint32_t>(color[0] << 16 | color[1] << 8 | color[2]);
                for (uint32_t i = 0; i < source.width; i += 2)
                    source.at(i, 0) = pixel;
                for (uint16_t order = 0; order < 2; ++order) {
                    const Picture result =
                        pasted(source, noPalette, blank(source, IMAGE_TYPE_16MRGB, 0x010203), &sample.key, order);
                    for (uint32_t i = 0; i < source.width; ++i)
                        ASSERT_EQ(result.at(i, 0), i % 2 == 0 && !opaque ? 0x010203U : source.at(i, 0))
                            << "pixel " << i << ", colour " << std::hex << pixel;
                }
            }
        }
    }
}

TEST(SynthesisWithKey, HasARangeForGrayLevelsOnly)
{
    // The key's gray is 100: 90 to 110 are transparent in a gray image, and its opaque levels are looked up.
    const Key key = {{100, 100, 100}, 10};
    const ColorPalette palette = paletteWith({100, 100, 100}, {{89, {7, 7, 7}}, {111, {9, 9, 9}}});
    const Picture levels(IMAGE_TYPE_256GRAY, {"59 5a 64 6e 6f"});
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_256GRAY, {"07 aa aa aa 09"}),
                            pasted(levels, palette, blank(levels, IMAGE_TYPE_256GRAY, 0xAA), &key)));
    // Indices are transparent by their colour, and it must be the key's very colour.
    const Picture indices(IMAGE_TYPE_256RGB, {"59 5a 64 6e 6f"});
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_256GRAY, {"07 aa aa aa 09"}),
                            pasted(indices, palette, blank(indices, IMAGE_TYPE_256GRAY, 0xAA), &key)));
    const Key near = {{101, 100, 100}, 10};
    EXPECT_TRUE(samePicture(Picture(IMAGE_TYPE_256GRAY, {"07 64 64 64 09"}),
                            pasted(indices, palette, blank(indices, IMAGE_TYPE_256GRAY, 0xAA), &near)));
}

TEST(SynthesisWithKey, LeavesPixelsOfEveryFormat)
{
    ColorPalette palette = paletteOf(IMAGE_TYPE_BW);
    const Picture bits(IMAGE_TYPE_BW, {"#.#.."});
    const Key white = {{255, 255, 255}};
    struct {
        Picture before, after;
    } const cases[] = {
        {{IMAGE_TYPE_BW, {".##.#"}}, {IMAGE_TYPE_BW, {"###.#"}}},
        {{IMAGE_TYPE_256GRAY, {"01 02 03 04 05"}}, {IMAGE_TYPE_256GRAY, {"00 02 00 04 05"}}},
        {{IMAGE_TYPE_8RGB, {"f9a1b"}}, {IMAGE_TYPE_8RGB, {"0901b"}}},
        {{IMAGE_TYPE_16MRGB, {"010203 040506 070809 0a0b0c 0d0e0f"}},
         {IMAGE_TYPE_16MRGB, {"000000 040506 000000 0a0b0c 0d0e0f"}}},
    };
    for (const auto& sample : cases)
        EXPECT_TRUE(samePicture(sample.after, pasted(bits, palette, sample.before, &white)));
}

TEST(Synthesis, HasFourDestinationTypes)
{
    constexpr uint16_t refused[] = {1, 4, 5, 7, 0xFFFF};
    const Picture before(IMAGE_TYPE_16MRGB, 3, 3, 0x123456);
    for (const uint16_t type : refused) {
        const Image from(before);
        const Image to(before);
        ImageArea destination = to.area;
        destination.type = type;
        for (uint16_t useKey = 0; useKey < 2; ++useKey) {
            EXPECT_EQ(lxSynthesizeToSpecificationArea(useKey, &from.area, &noPalette, noPalette.entries[0], 0,
                                                      &destination, ProgressLog::start()),
                      IMAGE_STATUS_BAD_ARGUMENT);
            EXPECT_TRUE(samePicture(before, to.picture()));
            EXPECT_TRUE(ProgressLog::calls().empty());
        }
    }
}

} // namespace

} // namespace lxtest
