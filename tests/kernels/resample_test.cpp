// The kernels of changes of size: every level against the portable one, and fast forms against the rules.

#include "kernels/kernels.h"
#include "support/random.h"

#include <gtest/gtest.h>

#include <cstring>
#include <numeric>
#include <vector>

namespace lxtest
{

namespace
{

// Calls `test(portable, kernels)` for every level above the portable one.
template <class Test>
void forEachLevel(Test test)
{
    const lx::KernelLevels levels = lx::runnableKernels();
    for (size_t k = 1; k < levels.count; ++k) {
        SCOPED_TRACE(levels.tables[k]->level);
        test(*levels.tables[0], *levels.tables[k]);
    }
}

// Bytes whose last one is the last of an exact allocation, for the sanitizer to see accesses behind it.
std::vector<uint8_t> noise(Random& random, size_t count)
{
    std::vector<uint8_t> bytes(count);
    random.fill(bytes.data(), count);
    return bytes;
}

// A group of 1 to 64 components; steps from one to the next are at most `step`.
lx::PickGroup randomGroup(Random& random, uint32_t base, uint32_t step)
{
    lx::PickGroup group = {};
    group.base = base;
    group.count = static_cast<uint8_t>(random.between(1, 64));
    uint32_t offset = 0;
    for (unsigned k = 0; k < group.count; ++k) {
        group.last = group.offsets[k] = static_cast<uint8_t>(offset);
        offset = std::min(offset + random.below(step + 1), 255U);
    }
    return group;
}

TEST(ResampleKernels, PickGroupsOfEverySpan)
{
    forEachLevel([](const lx::Kernels& portable, const lx::Kernels& kernels) {
        Random random(1);
        for (int round = 0; round < 2000; ++round) {
            const uint32_t first = random.below(5);
            const lx::PickGroup group = randomGroup(random, first + random.below(5), random.below(6));
            const auto source = noise(random, size_t{group.base} - first + group.last + 1);
            std::vector<uint8_t> expected(group.count);
            std::vector<uint8_t> actual(group.count);
            portable.pick->pick(source.data(), first, 0, expected.data(), &group, 1);
            kernels.pick->pick(source.data(), first, 0, actual.data(), &group, 1);
            ASSERT_EQ(expected, actual);
        }
    });
}

// Every row by itself, and added up. Rows end where their memory does, and those picked lie upwards one after the
// other.
TEST(ResampleKernels, PickSums)
{
    Random random(8);
    const lx::KernelLevels levels = lx::runnableKernels();
    for (int round = 0; round < 1000; ++round) {
        std::vector<lx::PickGroup> groups;
        size_t components = 0;
        const uint32_t step = random.below(6);
        for (uint32_t k = random.between(1, 5), base = 0; k > 0; --k, base += groups.back().last + random.below(3)) {
            groups.push_back(randomGroup(random, base, step));
            components += groups.back().count;
        }
        lx::PickRows rows = {};
        rows.count = random.between(1, lx::PickRows::most);
        rows.step = -static_cast<ptrdiff_t>(components);
        std::vector<std::vector<uint8_t>> sources;
        std::vector<uint8_t> expected(rows.count * components);
        std::vector<uint16_t> sums(components);
        for (unsigned r = 0; r < rows.count; ++r) {
            sources.push_back(noise(random, size_t{groups.back().base} + groups.back().last + 1));
            rows.sources[r] = sources[r].data();
            uint8_t* row = expected.data() + (rows.count - 1 - r) * components;
            levels.tables[0]->pick->pick(rows.sources[r], 0, 0, row, groups.data(), groups.size());
            for (size_t i = 0; i < components; ++i)
                sums[i] = static_cast<uint16_t>(sums[i] + row[i]);
        }
        for (size_t k = 0; k < levels.count; ++k) {
            std::vector<uint8_t> actual(expected.size());
            std::vector<uint16_t> actualSums(components + 64);
            rows.destination = actual.data() + (rows.count - 1) * components;
            levels.tables[k]->pick->pickSums(rows, groups.data(), groups.size(), actualSums.data());
            actualSums.resize(components);
            ASSERT_EQ(actual, expected) << levels.tables[k]->level;
            ASSERT_EQ(actualSums, sums) << levels.tables[k]->level;
        }
    }
}

TEST(ResampleKernels, PickNibbles)
{
    Random random(7);
    const lx::KernelLevels levels = lx::runnableKernels();
    for (int round = 0; round < 2000; ++round) {
        lx::PickGroup groups[3] = {};
        const size_t count = random.between(1, 3);
        const unsigned phase = random.below(2);
        std::vector<uint32_t> places;
        uint32_t place = random.below(5);
        for (size_t g = 0; g < count; ++g) {
            groups[g].base = place;
            groups[g].count = static_cast<uint8_t>(g + 1 < count ? 64 : random.between(1, 64));
            for (unsigned k = 0; k < groups[g].count; ++k, place += random.below(3)) {
                groups[g].last = groups[g].offsets[k] = static_cast<uint8_t>(place - groups[g].base);
                places.push_back(phase + place);
            }
        }
        const auto source = noise(random, places.back() / 2 + 1);
        for (size_t k = 0; k < levels.count; ++k) {
            std::vector<uint8_t> actual((places.size() + 1) / 2);
            if (!levels.tables[k]->pick->pickNibbles(source.data(), phase, actual.data(), groups, count)) {
                ASSERT_EQ(actual, std::vector<uint8_t>(actual.size())) << levels.tables[k]->level;
                continue;
            }
            for (size_t i = 0; i < places.size(); ++i)
                ASSERT_EQ(actual[i / 2] >> (i % 2 == 0 ? 4 : 0) & 15,
                          source[places[i] / 2] >> (places[i] % 2 == 0 ? 4 : 0) & 15)
                    << levels.tables[k]->level << ", nibble " << i;
        }
    }
}

// Blocks of random widths, and the rows they are in, from the last one in memory to the first.
struct BlockSample {
    lx::BlockColumns columns;
    lx::BlockRule rule;
    std::vector<uint32_t> starts = {0};
    std::vector<uint64_t> begins;
    std::vector<uint64_t> wide;
    std::vector<uint64_t> wideMeans;
    unsigned rows;
    std::vector<uint8_t> source;

    explicit BlockSample(Random& random)
    {
        const unsigned channels = random.chance(50) ? 1 : 3;
        const uint32_t width = random.between(1, 12);
        rows = random.chance(80) ? random.between(1, 9) : random.between(10, 257);
        const uint32_t blocks = random.between(1, 200);
        begins.resize(blocks * (width + 1) * channels / 64 + 2);
        wide.resize(begins.size());
        wideMeans.resize(begins.size());
        for (uint32_t b = 0; b < blocks; ++b) {
            const bool isWide = random.chance(30);
            for (unsigned c = 0; c < channels; ++c) {
                const uint32_t at = starts.back() * channels + c;
                begins[at / 64] |= uint64_t{1} << at % 64;
                wide[at / 64] |= uint64_t{isWide} << at % 64;
                const uint32_t k = b * channels + c;
                wideMeans[k / 64] |= uint64_t{isWide} << k % 64;
            }
            starts.push_back(starts.back() + width + (isWide ? 1 : 0));
        }
        const uint32_t components = starts.back() * channels;
        const bool flat = random.chance(20);
        source = noise(random, size_t{rows} * components);
        for (uint32_t i = 0; i < components; ++i) {
            for (unsigned r = 0, isFull = random.chance(flat ? 95 : 20) ? 1 : 0; r < rows * isFull; ++r)
                source[size_t{r} * components + i] = 255;
        }
        columns = {channels, width, blocks, components, starts.data(), begins.data(), wide.data(), wideMeans.data()};
        rule = {{rows * width, rows * (width + 1)}, {random.chance(50), random.chance(50)}, {255, 254}};
    }

    bool make(const lx::Kernels& kernels, std::vector<uint8_t>& means, std::vector<uint8_t>& marks) const
    {
        const size_t last = size_t{rows - 1} * columns.components;
        std::vector<uint16_t> sums(columns.components + 32);
        return kernels.resample->blockMeans(source.data() + last, -static_cast<ptrdiff_t>(columns.components), rows,
                                            columns, rule, sums.data(), means.data(), marks.data());
    }

    bool makeOfSums(const lx::Kernels& kernels, std::vector<uint8_t>& means, std::vector<uint8_t>& marks) const
    {
        std::vector<uint16_t> sums(columns.components + 32);
        for (size_t i = 0; i < source.size(); ++i)
            sums[i % columns.components] = static_cast<uint16_t>(sums[i % columns.components] + source[i]);
        return kernels.resample->meansOfSums(sums.data(), columns, rule, means.data(), marks.data());
    }
};

TEST(ResampleKernels, BlockMeans)
{
    forEachLevel([](const lx::Kernels& portable, const lx::Kernels& kernels) {
        Random random(3);
        for (int round = 0; round < 3000; ++round) {
            const BlockSample sample(random);
            const size_t count = sample.columns.blocks * sample.columns.channels;
            std::vector<uint8_t> expected(count);
            std::vector<uint8_t> actual(count);
            std::vector<uint8_t> expectedMarks(count + 64);
            std::vector<uint8_t> actualMarks(count + 64);
            const bool any = sample.make(portable, expected, expectedMarks);
            for (const auto make : {&BlockSample::make, &BlockSample::makeOfSums}) {
                EXPECT_EQ(any, (sample.*make)(kernels, actual, actualMarks));
                ASSERT_EQ(expected, actual);
                if (any) {
                    ASSERT_EQ(std::memcmp(expectedMarks.data(), actualMarks.data(), count), 0);
                }
                std::fill(actual.begin(), actual.end(), uint8_t{7});
            }
        }
    });
}

// All pairs of levels, to be taken in one call: apart, and side by side with groups of half of the lanes.
struct LevelPairs {
    std::vector<uint8_t> from = std::vector<uint8_t>(65536);
    std::vector<uint8_t> to = std::vector<uint8_t>(65536);
    std::vector<uint8_t> pixels = std::vector<uint8_t>(131072);
    std::vector<lx::PickGroup> groups = std::vector<lx::PickGroup>(2048);

    LevelPairs()
    {
        for (unsigned k = 0; k < 65536; ++k) {
            from[k] = pixels[2 * k] = static_cast<uint8_t>(k >> 8);
            to[k] = pixels[2 * k + 1] = static_cast<uint8_t>(k);
            lx::PickGroup& group = groups[k / 32];
            group.base = k / 32 * 64;
            group.count = 32;
            group.last = group.offsets[k % 32] = static_cast<uint8_t>(k % 32 * 2);
        }
    }
};

uint8_t rampByDefinition(int from, int to, unsigned t, uint32_t length)
{
    const float d = static_cast<float>(to - from) * (1.0F / static_cast<float>(length));
    return static_cast<uint8_t>(from + static_cast<double>(t) * static_cast<double>(d));
}

TEST(ResampleKernels, RampsFollowTheRuleForAllLevels)
{
    const LevelPairs pairs;
    std::vector<uint8_t> actual(65536);
    std::vector<uint8_t> each(65536);
    const lx::KernelLevels levels = lx::runnableKernels();
    for (uint32_t length = 1; length <= 20; ++length) {
        for (unsigned t = 0; t < length; ++t) {
            std::vector<uint8_t> expected(65536);
            for (unsigned k = 0; k < 65536; ++k)
                expected[k] = rampByDefinition(pairs.from[k], pairs.to[k], t, length);
            const std::vector<uint8_t> narrow(65536, static_cast<uint8_t>(t));
            const std::vector<uint8_t> wide(65536, static_cast<uint8_t>(t | 128));
            for (size_t k = 0; k < levels.count; ++k) {
                SCOPED_TRACE(levels.tables[k]->level);
                const lx::EnlargeKernels& kernels = *levels.tables[k]->enlarge;
                kernels.ramp(pairs.from.data(), pairs.to.data(), actual.data(), 65536, t, length, 0);
                ASSERT_EQ(expected, actual) << t << " of " << length;
                const auto rampEach = [&](const std::vector<uint8_t>& times, uint32_t shorter) {
                    kernels.rampPicked({pairs.pixels.data(), 0, pairs.pixels.size(), 1}, each.data(),
                                       pairs.groups.data(), pairs.groups.size(), times.data(), shorter, 0);
                };
                rampEach(narrow, length);
                ASSERT_EQ(expected, each) << t << " of " << length;
                if (length == 1)
                    continue;
                rampEach(wide, length - 1);
                ASSERT_EQ(expected, each) << t << " of " << length << ", longer";
            }
        }
    }
}

uint8_t half(uint8_t from, uint8_t to)
{
    return rampByDefinition(from, to, 1, 2);
}

// Pixels of a row with runs of one and two, so many of a hundred being runs of two.
struct HalvesSample {
    uint32_t first;
    unsigned channels;
    size_t components;
    std::vector<lx::PickGroup> groups;
    std::vector<std::pair<size_t, size_t>> between = {}; // the two components that each one lies between

    HalvesSample(Random& random, unsigned channelCount, uint32_t pixels, uint32_t twos)
        : first(random.below(5)), channels(channelCount), components(size_t{pixels} * channels)
    {
        for (uint32_t pixel = 0; pixel < pixels; ++pixel) {
            add(random, pixel, pixel, 0);
            if (random.chance(twos))
                add(random, pixel, pixel + 1 < pixels ? pixel + 1 : pixel, 64);
        }
    }

    void add(Random& random, uint32_t pixel, uint32_t next, unsigned mark)
    {
        if (groups.empty() || groups.back().count + channels > lx::PickGroup::lanes || random.below(50) == 0) {
            groups.emplace_back();
            groups.back().base = first + pixel * channels;
        }
        lx::PickGroup& group = groups.back();
        for (unsigned c = 0; c < channels; ++c) {
            group.last = static_cast<uint8_t>(first + pixel * channels + c - group.base);
            group.offsets[group.count++] = static_cast<uint8_t>(group.last + mark);
            between.emplace_back(pixel * channels + c, next * channels + c);
        }
    }

    // Makes them of two rows at every level.
    void check(const uint8_t* top, const uint8_t* bottom) const
    {
        std::vector<uint8_t> expected;
        for (const auto& [own, next] : between)
            expected.push_back(half(half(top[own], top[next]), half(bottom[own], bottom[next])));
        const lx::KernelLevels levels = lx::runnableKernels();
        for (size_t k = 0; k < levels.count; ++k) {
            std::vector<uint8_t> actual(expected.size());
            levels.tables[k]->enlarge->rampHalves({top, first, components, channels}, bottom, actual.data(),
                                                  groups.data(), groups.size());
            ASSERT_EQ(expected, actual) << levels.tables[k]->level;
        }
    }
};

TEST(ResampleKernels, HalvesFollowTheRuleForAllLevels)
{
    Random random(9);
    const LevelPairs pairs;
    const std::vector<uint8_t> copy = pairs.pixels;
    // All pairs one above the other as well, in two pixels each.
    std::vector<uint8_t> from(131072);
    std::vector<uint8_t> to(131072);
    for (size_t k = 0; k < from.size(); ++k) {
        from[k] = pairs.from[k / 2];
        to[k] = pairs.to[k / 2];
    }
    const HalvesSample sample(random, 1, 131072, 100);
    sample.check(pairs.pixels.data(), pairs.pixels.data());
    sample.check(pairs.pixels.data(), copy.data());
    sample.check(from.data(), to.data());
}

TEST(ResampleKernels, HalvesOfAnyRow)
{
    Random random(10);
    for (int round = 0; round < 2000; ++round) {
        const HalvesSample sample(random, random.chance(50) ? 1 : 3, random.between(1, 300), random.below(101));
        const auto top = noise(random, sample.components);
        sample.check(top.data(), top.data());
        sample.check(top.data(), noise(random, sample.components).data());
    }
}

TEST(ResampleKernels, TwiceThePixels)
{
    forEachLevel([](const lx::Kernels& portable, const lx::Kernels& kernels) {
        Random random(6);
        for (size_t pixels = 1; pixels < 900; ++pixels) {
            const unsigned channels = random.chance(50) ? 1 : 3;
            const auto top = noise(random, pixels * channels);
            const auto bottom = noise(random, pixels * channels);
            std::vector<uint8_t> expected(2 * pixels * channels);
            std::vector<uint8_t> actual(2 * pixels * channels);
            portable.enlarge->twice(top.data(), bottom.data(), expected.data(), pixels * channels, channels);
            kernels.enlarge->twice(top.data(), bottom.data(), actual.data(), pixels * channels, channels);
            ASSERT_EQ(expected, actual);
            portable.enlarge->rampTwice(top.data(), bottom.data(), expected.data(), pixels * channels, channels);
            kernels.enlarge->rampTwice(top.data(), bottom.data(), actual.data(), pixels * channels, channels);
            ASSERT_EQ(expected, actual) << "ramps";
            portable.enlarge->repeatTwice(top.data(), expected.data(), pixels * channels, channels);
            kernels.enlarge->repeatTwice(top.data(), actual.data(), pixels * channels, channels);
            ASSERT_EQ(expected, actual) << "repeats";
        }
    });
}

TEST(ResampleKernels, JoinRows)
{
    forEachLevel([](const lx::Kernels& portable, const lx::Kernels& kernels) {
        Random random(4);
        for (size_t columns = 1; columns < 200; ++columns) {
            const auto top = noise(random, columns);
            const auto middle = noise(random, columns);
            const auto bottom = noise(random, columns);
            const std::vector<uint32_t> sums(middle.begin(), middle.end());
            const int weight = static_cast<int>(random.below(32768));
            std::vector<uint16_t> expected(columns);
            std::vector<uint16_t> actual(columns);
            portable.resample->joinTwo(top.data(), bottom.data(), expected.data(), columns, weight);
            kernels.resample->joinTwo(top.data(), bottom.data(), actual.data(), columns, weight);
            ASSERT_EQ(expected, actual);
            kernels.resample->joinRows(top.data(), std::vector<uint32_t>(columns).data(), bottom.data(), actual.data(),
                                       columns, 1, weight);
            ASSERT_EQ(expected, actual) << "box of 1";
            portable.resample->joinThree(top.data(), middle.data(), bottom.data(), expected.data(), columns, weight);
            kernels.resample->joinThree(top.data(), middle.data(), bottom.data(), actual.data(), columns, weight);
            ASSERT_EQ(expected, actual);
            kernels.resample->joinRows(top.data(), sums.data(), bottom.data(), actual.data(), columns, 2, weight);
            ASSERT_EQ(expected, actual) << "box of 2";
        }
    });
}

TEST(ResampleKernels, JoinColumns)
{
    forEachLevel([](const lx::Kernels& portable, const lx::Kernels& kernels) {
        Random random(5);
        for (int round = 0; round < 2000; ++round) {
            const unsigned channels = random.chance(50) ? 1 : 3;
            const uint32_t box = random.between(1, 3);
            lx::TapGroup group = {};
            group.base = random.below(9);
            group.count = static_cast<uint16_t>(random.between(1, lx::TapGroup::lanes));
            const uint32_t span = random.between(0, lx::TapGroup::reach - (box + 1) * channels);
            for (unsigned k = 0; k < group.count; ++k) {
                group.offsets[k] = static_cast<uint16_t>(span * k / group.count);
                group.weights[k] = static_cast<int16_t>(random.below(32768));
            }
            group.last = group.offsets[group.count - 1];
            std::vector<uint16_t> source(256);
            for (uint16_t& level : source)
                level = static_cast<uint16_t>(64 + random.below(32641));
            std::vector<uint8_t> expected(group.count);
            std::vector<uint8_t> actual(group.count);
            portable.resample->joinColumns(source.data(), expected.data(), &group, 1, channels, box);
            kernels.resample->joinColumns(source.data(), actual.data(), &group, 1, channels, box);
            ASSERT_EQ(expected, actual) << "box of " << box;
        }
    });
}

TEST(ResampleKernels, SmoothEveryThreeLevels)
{
    std::vector<uint8_t> level(256);
    std::iota(level.begin(), level.end(), uint8_t{0});
    std::vector<uint8_t> smoothed(256);
    const lx::KernelLevels levels = lx::runnableKernels();
    for (size_t k = 0; k < levels.count; ++k) {
        for (unsigned before = 0; before < 256; ++before) {
            for (unsigned after = 0; after < 256; ++after) {
                const std::vector<uint8_t> left(256, static_cast<uint8_t>(before));
                const std::vector<uint8_t> right(256, static_cast<uint8_t>(after));
                levels.tables[k]->resample->smooth(left.data(), level.data(), right.data(), smoothed.data(), 256);
                for (unsigned i = 0; i < 256; ++i)
                    ASSERT_EQ(smoothed[i], (before + 6 * i + after + 4) / 8) << levels.tables[k]->level;
            }
        }
    }
}

} // namespace

} // namespace lxtest
