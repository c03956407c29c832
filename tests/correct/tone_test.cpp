// Tone tables entry by entry, and their application.

#include "support/placed_picture.h"
#include "support/progress_log.h"

#include <gtest/gtest.h>

#include <climits>

namespace lxtest
{

namespace
{

struct Settings {
    CorrectionLevel brightness = {0, 10};
    CorrectionLevel contrast = {0, 10};
    CorrectionLevel gamma = {0, 10};
    CorrectionLevel highlight = {0, 10};
    CorrectionLevel shadow = {0, 10};
    int32_t reverse = 0;
};

GammaTable tableOf(const Settings& settings)
{
    GammaTable table;
    EXPECT_EQ(lxCreateGammaCorrectionTable(&settings.brightness, &settings.contrast, &settings.gamma,
                                           &settings.highlight, &settings.shadow, &settings.reverse, &table),
              IMAGE_STATUS_OK);
    return table;
}

struct Entry {
    unsigned level;
    unsigned expected;
};

struct TableCase {
    const char* name;
    Settings settings;
    std::vector<Entry> entries;
};

void PrintTo(const TableCase& sample, std::ostream* out)
{
    *out << sample.name;
}

class ToneTable : public testing::TestWithParam<TableCase>
{
};

TEST_P(ToneTable, HasTheEntriesOfItsStages)
{
    const GammaTable table = tableOf(GetParam().settings);
    for (const Entry& entry : GetParam().entries)
        EXPECT_EQ(table.entries[entry.level], entry.expected) << "entry " << entry.level;
}

INSTANTIATE_TEST_SUITE_P(
    Stages, ToneTable,
    testing::Values(
        TableCase{"BrightnessUp", {.brightness = {10, 10}}, {{0, 128}, {127, 255}, {128, 255}, {255, 255}}},
        TableCase{"BrightnessDown", {.brightness = {-5, 10}}, {{0, 0}, {64, 0}, {65, 1}, {255, 191}}},
        TableCase{"FlatContrast", {.contrast = {-10, 10}}, {{0, 128}, {127, 128}, {255, 128}}},
        // tan(67.5 degrees) = 2.41421: 100 goes to 61.1, 150 to 181.8.
        TableCase{"Contrast", {.contrast = {5, 10}}, {{0, 0}, {74, 0}, {75, 1}, {100, 61}, {150, 182}, {181, 255}}},
        TableCase{"FullContrast", {.contrast = {10, 10}}, {{127, 0}, {128, 255}}},
        // 255 (128 / 255)^10 = 0.26; 255 (200 / 255)^10 = 22.498.
        TableCase{"Gamma", {.gamma = {10, 10}}, {{0, 0}, {128, 0}, {200, 22}, {255, 255}}},
        // A negative setting darkens, too: 255 (128 / 255)^1.9 = 68.84.
        TableCase{"NegativeGamma", {.gamma = {-10, 10}}, {{0, 0}, {128, 69}, {255, 255}}},
        // H = 204. The ramp lowers: entry 172 + 204 reads entry 255, 255 - 255 = 0: only white above is seen.
        TableCase{"Highlight", {.highlight = {4, 10}}, {{171, 171}, {172, 172}, {203, 203}, {204, 255}, {255, 255}}},
        // H = 27: entry 20 + 27 = 47, so 20 + (255 - 47) * (20 - 59) / 32 = -233.5; entry 0: 0 + 228 * -59 / 32.
        TableCase{"DeepHighlight", {.highlight = {228, 128}}, {{0, 0}, {20, 0}, {26, 0}, {27, 255}}},
        // Bent before the cut: with H = 127 and entry 95 + 127 = 222 at 193, 43 + 62 * -64 / 32 stays below 0, while
        // entry 126 + 127 = 253 is at 251: 67 + 4 * -33 / 32 = 62.9.
        TableCase{"HighlightAfterGamma",
                  {.gamma = {-10, 10}, .highlight = {10, 10}},
                  {{94, 38}, {95, 0}, {126, 63}, {127, 255}}},
        // S = 51: entry 52 is 52 - 103 * 31 / 32, entry 70 is 70 - 121 * 13 / 32 = 20.8, entry 83 keeps its value.
        TableCase{"Shadow", {.shadow = {4, 10}}, {{51, 0}, {52, 0}, {70, 21}, {83, 83}, {84, 84}}},
        // S = 128: entry 150 + 128 reads entry 255: 150 - 255 * 10 / 32 = 70.3.
        TableCase{"ShadowBeyondTheTable", {.shadow = {10, 10}}, {{128, 0}, {150, 70}, {160, 160}}},
        TableCase{"Negative", {.reverse = 1}, {{0, 255}, {100, 155}, {255, 0}}},
        TableCase{"NegativeComesLast", {.brightness = {10, 10}, .reverse = 7}, {{0, 127}, {127, 0}, {255, 0}}},
        // 128 / 0 is infinite, times level 0 not a number.
        TableCase{"NoScale", {.brightness = {0, 0}}, {{0, 0}, {255, 0}}},
        TableCase{"InfiniteOffset", {.brightness = {1, 0}}, {{0, 255}, {255, 255}}}),
    [](const auto& tested) { return std::string(tested.param.name); });

TEST(ToneTable, IsTheIdentityByDefault)
{
    for (const int32_t reverse : {0, -1, INT_MIN}) {
        const GammaTable table = tableOf({.highlight = {-3, 10}, .shadow = {-3, 10}, .reverse = reverse});
        for (unsigned i = 0; i < 256; ++i)
            ASSERT_EQ(table.entries[i], i);
    }
}

TEST(ToneTable, IsDefinedForEverySetting)
{
    constexpr int32_t values[] = {INT_MIN, -300, -1, 0, 1, 300, INT_MAX};
    for (const int32_t level : values) {
        for (const int32_t maxLevel : values) {
            const CorrectionLevel setting = {level, maxLevel};
            tableOf({setting, setting, setting, setting, setting, 0});
            // What a wrapping cut leaves is not stated, but what lies at the table's ends is never read beyond.
            const GammaTable cut = tableOf({.highlight = setting, .shadow = setting});
            if (level < 1) {
                EXPECT_EQ(cut.entries[77], 77);
            }
        }
    }
}

class ToneCorrection : public testing::Test
{
  protected:
    void expectCorrected(const GammaTable& table, const Picture& before, const Picture& after)
    {
        const PlacedPicture placed(before, {.x = 5}, ground_);
        ASSERT_EQ(lxGammaCorrection(&table, &placed.area(), nullptr), IMAGE_STATUS_OK);
        EXPECT_TRUE(samePicture(after, placed.picture()));
        EXPECT_TRUE(placed.surroundingsKept());
    }

    Ground ground_;
};

TEST_F(ToneCorrection, LooksBytesUp)
{
    const GammaTable negative = tableOf({.reverse = 1});
    expectCorrected(negative, {IMAGE_TYPE_256GRAY, {"00 10 ff 80"}}, {IMAGE_TYPE_256GRAY, {"ff ef 00 7f"}});
    expectCorrected(negative, {IMAGE_TYPE_16MRGB, {"0010ff 800001"}}, {IMAGE_TYPE_16MRGB, {"ffef00 7ffffe"}});
}

TEST_F(ToneCorrection, KeepsInvertsSetsOrClearsBits)
{
    struct {
        uint8_t black, white;
        const char* after;
    } const cases[] = {
        {127, 128, "##..#.#.#.##"}, {128, 127, "..##.#.#.#.."}, {128, 255, "............"}, {0, 127, "############"}};
    for (const auto& sample : cases) {
        GammaTable table = {};
        table.entries[0] = sample.black;
        table.entries[255] = sample.white;
        expectCorrected(table, {IMAGE_TYPE_BW, {"##..#.#.#.##"}}, {IMAGE_TYPE_BW, {sample.after}});
    }
}

TEST_F(ToneCorrection, TakesThreeTypesOnly)
{
    const GammaTable negative = tableOf({.reverse = 1});
    for (const uint16_t type : {IMAGE_TYPE_16GRAY, IMAGE_TYPE_8RGB, IMAGE_TYPE_16RGB, IMAGE_TYPE_256RGB}) {
        const Picture before(type, 4, 2, 5);
        const PlacedPicture placed(before, {}, ground_);
        EXPECT_EQ(lxGammaCorrection(&negative, &placed.area(), ProgressLog::start()), IMAGE_STATUS_BAD_ARGUMENT);
        EXPECT_TRUE(samePicture(before, placed.picture()));
        EXPECT_TRUE(ProgressLog::calls().empty());
    }
    ImageArea wrong = {};
    wrong.type = 7;
    EXPECT_EQ(lxGammaCorrection(&negative, &wrong, nullptr), IMAGE_STATUS_BAD_ARGUMENT);
}

} // namespace

} // namespace lxtest
