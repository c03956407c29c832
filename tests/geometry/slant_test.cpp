// Slant measurement from the caller's side: work areas, statuses, progress and memory.

#include "support/converted.h"
#include "support/operations.h"
#include "support/progress_log.h"
#include "support/slant_scene.h"

#include <algorithm>
#include <cstring>
#include <set>

namespace
{

// While watching, the memory that the library holds, and which of its allocations is to fail: 1 is the next.
bool watching = false;
int allocationToFail = 0;
std::set<void*> held;

} // namespace

// The library's calls of malloc and free come here.
extern "C" {
void* __real_malloc(size_t bytes);
void __real_free(void* memory);

void* __wrap_malloc(size_t bytes)
{
    if (!watching)
        return __real_malloc(bytes);
    if (--allocationToFail == 0)
        return nullptr;
    void* memory = __real_malloc(bytes);
    watching = false; // the set's own memory comes here too where the C++ library is linked statically
    held.insert(memory);
    watching = true;
    return memory;
}

void __wrap_free(void* memory)
{
    if (watching) {
        watching = false;
        held.erase(memory);
        watching = true;
    }
    __real_free(memory);
}
}

namespace lxtest
{

namespace
{

const SlantScene tiltedBar = {.width = 400, .height = 500, .border = SlantScene::Border::bar, .tilt = 3};

// The work areas of a page.
struct WorkAreas {
    explicit WorkAreas(const ImageArea& page)
    {
        EXPECT_EQ(lxCalculateMemorySizeForDetectionSlantAngle(&page, &small, &medium, &full), 7);
        ImageArea* areas[] = {&small, &medium, &full};
        for (unsigned k = 0; k < 3; ++k) {
            bits[k].assign(size_t{areas[k]->bytesPerLine} * areas[k]->lines, 0xA5);
            areas[k]->buffer = bits[k].data();
        }
    }

    int8_t detect(const ImageArea& page, ProgressCallback progress = nullptr)
    {
        const ColorPalette palette = paletteOf(page.type);
        angle = 99;
        return lxDetectionSlantAngle(&angle, &page, &palette, &small, &medium, &full, progress);
    }

    ImageArea small;
    ImageArea medium;
    ImageArea full;
    std::vector<uint8_t> bits[3];
    double angle = 99;
};

TEST(Slant, WorkAreasHaveFixedLongerSides)
{
    constexpr struct {
        Size source;
        Size small;
        Size medium;
    } cases[] = {
        {{1000, 3000}, {250, 750}, {667, 2000}},  {{400, 300}, {750, 563}, {2000, 1500}}, // 562.5
        {{500, 500}, {750, 750}, {2000, 2000}},   {{2480, 3508}, {530, 750}, {1414, 2000}},
        {{3508, 2480}, {750, 530}, {2000, 1414}}, {{1, 4000}, {0, 750}, {1, 2000}}, // 0.1875 and 0.5
    };
    for (const auto& [source, small, medium] : cases) {
        ImageArea page = {};
        page.type = IMAGE_TYPE_16MRGB;
        page.width = source.width;
        page.height = source.height;
        ImageArea areas[3];
        std::memset(areas, 0x5A, sizeof areas);
        void* const buffer = areas[0].buffer;
        EXPECT_EQ(lxCalculateMemorySizeForDetectionSlantAngle(&page, &areas[0], &areas[1], &areas[2]), 7);
        const Size expected[] = {small, medium, source};
        for (unsigned k = 0; k < 3; ++k) {
            const ImageArea& area = areas[k];
            EXPECT_EQ(area.width, expected[k].width);
            EXPECT_EQ(area.height, expected[k].height);
            EXPECT_EQ(area.lines, expected[k].height);
            EXPECT_EQ(area.bytesPerLine, (expected[k].width + 7) / 8);
            EXPECT_EQ(area.type | area.colorOrder | area.bottomUp | area.x | area.y, 0U);
            EXPECT_EQ(area.buffer, buffer) << "is the caller's";
        }
    }
}

TEST(Slant, LeavesTheBilevelPageInTheFullArea)
{
    Random random(6);
    for (const uint16_t type : everyType) {
        const Image page(Picture::random(random, type, 90, 60));
        const Picture expected = converted(page.picture(), IMAGE_TYPE_BW, [&](auto* from, auto* to) {
            const ColorPalette palette = paletteOf(type);
            return type == IMAGE_TYPE_BW ? lxMedianFiltering(0, from, to, nullptr)
                                         : lxImageTypeConvertToBW(&palette, from, to, nullptr);
        });
        WorkAreas areas(page.area);
        EXPECT_EQ(areas.detect(page.area), IMAGE_STATUS_OK);
        EXPECT_TRUE(samePicture(expected, getPixels(areas.full))) << nameOf(type);
    }
}

TEST(Slant, OnlyTheReductionReportsProgress)
{
    const Image page(drawScene(tiltedBar));
    WorkAreas areas(page.area);
    areas.detect(page.area, ProgressLog::start());
    ProgressLog::Calls expected;
    for (uint32_t value = 1; value <= 50; ++value)
        expected.emplace_back(value, 50);
    EXPECT_EQ(ProgressLog::calls(), expected);
}

TEST(Slant, PassesFailuresOn)
{
    const Image page(drawScene(tiltedBar));
    const struct {
        const char* what;
        void (*spoil)(ImageArea& source, WorkAreas& areas);
    } cases[] = {
        {"source type", [](ImageArea& source, WorkAreas&) { source.type = 7; }},
        {"full type", [](ImageArea&, WorkAreas& areas) { areas.full.type = IMAGE_TYPE_256GRAY; }},
        {"medium type", [](ImageArea&, WorkAreas& areas) { areas.medium.type = IMAGE_TYPE_8RGB; }},
        {"small type", [](ImageArea&, WorkAreas& areas) { areas.small.type = IMAGE_TYPE_16GRAY; }},
        {"no reduction", [](ImageArea&, WorkAreas& areas) { areas.medium.width = areas.small.width; }},
    };
    for (const auto& [what, spoil] : cases) {
        WorkAreas areas(page.area);
        ImageArea source = page.area;
        spoil(source, areas);
        EXPECT_EQ(areas.detect(source), IMAGE_STATUS_BAD_ARGUMENT) << what;
        EXPECT_EQ(areas.angle, 0) << what;
    }
}

struct Stored {
    uint32_t values[12];

    int8_t detect(WorkAreas& areas, const ImageArea& page)
    {
        const ColorPalette palette = paletteOf(page.type);
        std::fill(std::begin(values), std::end(values), 12345U);
        uint32_t* v = values;
        return lxDetectionSlantAngleForDebug(&areas.angle, &page, &palette, &areas.small, &areas.medium, &areas.full, v,
                                             v + 1, v + 2, v + 3, v + 4, v + 5, v + 6, v + 7, v + 8, v + 9, v + 10,
                                             v + 11, nullptr);
    }

    bool untouched() const
    {
        return std::all_of(std::begin(values), std::end(values), [](uint32_t value) { return value == 12345; });
    }
};

TEST(Slant, ABottomUpSmallAreaIsNotAnalysed)
{
    const Image page(drawScene(tiltedBar));
    WorkAreas areas(page.area);
    areas.small.bottomUp = 1;
    Stored stored;
    EXPECT_EQ(stored.detect(areas, page.area), IMAGE_STATUS_OK);
    EXPECT_EQ(areas.angle, 0);
    EXPECT_TRUE(stored.untouched());
}

TEST(Slant, LackOfMemoryIsNoSlant)
{
    const Image page(drawScene(tiltedBar));
    WorkAreas areas(page.area);
    for (const int failing : {1, 2, 3}) {
        Stored stored;
        allocationToFail = failing;
        watching = true;
        const int8_t status = stored.detect(areas, page.area);
        watching = false;
        EXPECT_EQ(status, IMAGE_STATUS_OK);
        EXPECT_TRUE(held.empty());
        if (failing <= 2) {
            EXPECT_LE(allocationToFail, 0) << "fewer allocations were made";
            EXPECT_EQ(areas.angle, 0);
            EXPECT_TRUE(stored.untouched());
        } else {
            EXPECT_EQ(allocationToFail, 1) << "more than the two profiles were allocated";
            EXPECT_NEAR(areas.angle, -3, 0.3);
            EXPECT_FALSE(stored.untouched());
        }
    }
}

} // namespace

} // namespace lxtest
