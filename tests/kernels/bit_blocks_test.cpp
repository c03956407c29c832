// Every level's form of the bit block kernels against the portable one, on rows that end at an inaccessible page.

#include "kernels/kernels.h"
#include "support/guarded_memory.h"
#include "support/random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace lxtest
{

namespace
{

// Blocks in `lines` rows of noise.
struct Sample {
    alignas(64) uint8_t bias[2048] = {};
    alignas(64) uint32_t starts[2048] = {};
    lx::BitBlockTable table = {};
    uint32_t lines;
    GuardedArray<uint8_t> rows;

    // `shortest` is the length of blocks, some of them one longer; they follow one another, or repeat, often or seldom,
    // as the columns of an enlarged axis do.
    Sample(Random& random, uint32_t shortest, bool repeats, uint32_t rowCount) : lines(rowCount), rows(size_t{1} << 20)
    {
        table.bias = bias;
        table.starts = starts;
        table.count = random.between(1, repeats ? 2048 : rowCount < 10 ? 512 : 64);
        table.length = repeats ? 1 : shortest;
        table.phase = random.below(8);
        const uint32_t again = 50 >> random.below(6); // percent
        uint32_t start = 0;
        for (uint32_t i = 0; i < table.count; ++i) {
            const bool longer = !repeats && shortest != lx::BitBlockTable::gatherLimit && random.chance(40);
            starts[i] = start;
            bias[i] = longer ? lx::BitBlockTable::longBias : uint8_t{0};
            table.lastLength = random.between(1, table.length + (longer ? 1 : 0));
            start += repeats ? (random.chance(again) ? 0 : 1) : table.length + (longer ? 1 : 0);
        }
        table.bytes = (table.phase + starts[table.count - 1] + table.lastLength + 7) / 8;
        const size_t used = lines * (size_t{table.bytes} + 5);
        if (lines < 10)
            random.fill(rows.end() - used, used);
        else // as many set bits as there can be
            std::fill_n(rows.end() - used, used, uint8_t{0xFF});
    }

    Sample(Random& random, uint32_t shortest, bool repeats) : Sample(random, shortest, repeats, random.between(1, 9)) {}

    lx::LeastBits anyLeast(Random& random) const
    {
        const uint32_t most = (table.length + 1) * lines;
        return {random.between(0, most), random.between(0, most), random.between(0, most)};
    }

    const uint8_t* last() const { return rows.end() - table.bytes; }
    ptrdiff_t stride() const { return -ptrdiff_t{5} - table.bytes; }
};

class BitBlockLevels : public testing::TestWithParam<size_t>
{
  protected:
    const lx::BitBlockKernels& portable = *lx::runnableKernels().tables[0]->bitBlocks;
    const lx::BitBlockKernels& level = *lx::runnableKernels().tables[GetParam()]->bitBlocks;
    Random random{41};
};

TEST_P(BitBlockLevels, CountAndFlagAlike)
{
    for (int k = 0; k < 2000; ++k) {
        const uint32_t shortest = random.between(1, lx::BitBlockTable::gatherLimit);
        Sample sample(random, shortest, random.chance(20));
        const lx::BitBlockTable& table = sample.table;
        const lx::LeastBits least = sample.anyLeast(random);
        std::vector<uint8_t> counts[2];
        std::vector<uint8_t> flags[2];
        for (int side = 0; side < 2; ++side) {
            const lx::BitBlockKernels& kernels = side == 0 ? portable : level;
            counts[side].resize(table.count);
            flags[side].resize((table.count + 63) / 64 * 8);
            if (side == 1)
                kernels.arrangeBlocks(sample.table);
            kernels.countInBytes(table, sample.last(), sample.stride(), sample.lines, counts[side].data());
            kernels.flag(table, sample.last(), sample.stride(), sample.lines, least, flags[side].data());
            for (uint32_t i = table.count; i < flags[side].size() * 8; ++i)
                flags[side][i / 8] &= static_cast<uint8_t>(~(0x80U >> i % 8));
        }
        ASSERT_EQ(counts[0], counts[1]);
        ASSERT_EQ(flags[0], flags[1]);
        for (uint32_t i = 0; i + 1 < table.count; ++i) {
            const bool longer = table.bias[i] != 0;
            const auto count = static_cast<unsigned>(counts[0][i] - table.bias[i]);
            ASSERT_EQ((flags[0][i / 8] >> (7 - i % 8) & 1) != 0, count >= (longer ? least.inLong : least.inShort));
        }
    }
}

TEST_P(BitBlockLevels, CountAndFlagWideBlocksAlike)
{
    for (int k = 0; k < 1000; ++k) {
        const bool high = random.chance(5);
        const uint32_t shortest = high                ? random.between(1, 16)
                                  : random.chance(80) ? random.between(1, 70)
                                                      : random.between(8, 900);
        const Sample sample(random, shortest, false, high ? random.between(4600, 4800) : random.between(1, 9));
        const lx::BitBlockTable& table = sample.table;
        std::vector<uint64_t> expected(table.count);
        std::vector<uint64_t> actual(table.count);
        portable.count(table, 0, table.count, sample.last(), sample.stride(), sample.lines, expected.data());
        const uint32_t cut = std::min(table.count, random.below(8) * 64);
        level.count(table, 0, cut, sample.last(), sample.stride(), sample.lines, actual.data());
        level.count(table, cut, table.count - cut, sample.last(), sample.stride(), sample.lines, actual.data() + cut);
        ASSERT_EQ(expected, actual);

        const lx::LeastBits least = sample.anyLeast(random);
        std::vector<uint8_t> flags((table.count + 63) / 64 * 8);
        level.flag(table, sample.last(), sample.stride(), sample.lines, least, flags.data());
        for (uint32_t i = 0; i < table.count; ++i) {
            const uint64_t limit = i + 1 == table.count ? least.inLast
                                   : table.bias[i] != 0 ? least.inLong
                                                        : least.inShort;
            ASSERT_EQ((flags[i / 8] >> (7 - i % 8) & 1) != 0, expected[i] >= limit);
        }
    }
}

TEST_P(BitBlockLevels, PickAlike)
{
    for (int k = 0; k < 2000; ++k) {
        Sample sample(random, random.between(1, lx::BitBlockTable::gatherLimit), random.chance(50));
        // Only the first bit of the last block is there.
        sample.table.bytes = (sample.table.phase + sample.starts[sample.table.count - 1]) / 8 + 1;
        const uint32_t last = sample.starts[sample.table.count - 1] + sample.table.phase;
        const bool expectedLast = (sample.last()[last / 8] >> (7 - last % 8) & 1) != 0;
        std::vector<uint8_t> picked[2];
        for (int side = 0; side < 2; ++side) {
            const lx::BitBlockKernels& kernels = side == 0 ? portable : level;
            picked[side].resize((sample.table.count + 7) / 8);
            if (side == 1)
                kernels.arrangePicks(sample.table);
            kernels.pick(sample.table, sample.last(), picked[side].data());
            for (uint32_t i = sample.table.count; i < picked[side].size() * 8; ++i)
                picked[side][i / 8] &= static_cast<uint8_t>(~(0x80U >> i % 8));
        }
        ASSERT_EQ(picked[0], picked[1]);
        const uint32_t i = sample.table.count - 1;
        ASSERT_EQ((picked[0][i / 8] >> (7 - i % 8) & 1) != 0, expectedLast);
    }
}

// Rows that end at inaccessible pages, and become runs of lines from the last one up.
struct Runs {
    static constexpr uint32_t lengths[] = {2, 0, 1, 5, 1, 1, 2, 1, 1, 2, 1, 1, 2, 1, 1, 2, 1, 1};
    static constexpr uint32_t count = std::size(lengths);
    static constexpr uint32_t lineCount = 26;

    size_t bytes;
    GuardedArray<uint8_t> lines;

    Runs(Random& random, size_t lineBytes) : bytes(lineBytes), lines(lineBytes * lineCount)
    {
        random.fill(lines.data(), lines.size());
    }

    lx::RowRuns rows(const uint8_t* source, ptrdiff_t stride)
    {
        return {source, stride, lines.data() + bytes * (lineCount - 1), -static_cast<ptrdiff_t>(bytes), lengths, count};
    }

    // Calls check(line, row that it is from).
    template <class Check>
    void forEach(Check check) const
    {
        const uint8_t* line = lines.data() + bytes * lineCount;
        for (uint32_t j = 0; j < count; ++j) {
            for (uint32_t t = 0; t < lengths[j]; ++t)
                check(line -= bytes, j);
        }
    }
};

TEST_P(BitBlockLevels, PickRuns)
{
    for (int k = 0; k < 1000; ++k) {
        Sample sample(random, random.between(1, lx::BitBlockTable::gatherLimit), random.chance(70), Runs::count);
        const uint8_t* const source = sample.last() + (Runs::count - 1) * sample.stride();
        const size_t bytes = (sample.table.count + 7) / 8;
        const auto others = static_cast<uint8_t>(sample.table.count % 8 != 0 ? 0xFF >> sample.table.count % 8 : 0);
        std::vector<uint8_t> picked[Runs::count];
        for (uint32_t j = 0; j < Runs::count; ++j) {
            picked[j].resize(bytes);
            portable.pick(sample.table, source - ptrdiff_t{j} * sample.stride(), picked[j].data());
        }
        Runs runs(random, bytes);
        const std::vector<uint8_t> before(runs.lines.data(), runs.lines.end());
        level.arrangePicks(sample.table);
        level.pickRuns(sample.table, runs.rows(source, -sample.stride()));
        runs.forEach([&](const uint8_t* line, uint32_t j) {
            ASSERT_TRUE(std::equal(line, line + bytes - 1, picked[j].data()));
            const uint8_t old = before[static_cast<size_t>(line - runs.lines.data()) + bytes - 1];
            ASSERT_EQ(line[bytes - 1], (picked[j][bytes - 1] & ~others) | (old & others));
        });
    }
}

TEST_P(BitBlockLevels, Repeat)
{
    const lx::BitKernels& bitKernels = *lx::runnableKernels().tables[GetParam()]->bits;
    for (unsigned k = 0; k < 14; ++k) {
        const unsigned bits = k < 7 ? 1 : 4;
        const unsigned times = k % 7 + 2;
        for (const size_t bytes : {1U, 2U, 31U, 63U, 64U, 65U, 97U, 128U, 200U}) {
            GuardedArray<uint8_t> source(bytes * Runs::count);
            random.fill(source.data(), source.size());
            Runs runs(random, bytes * times);
            bitKernels.repeat(runs.rows(source.data(), static_cast<ptrdiff_t>(bytes)), bytes, bits, times);
            runs.forEach([&](const uint8_t* line, uint32_t j) {
                const uint8_t* const row = source.data() + j * bytes;
                for (size_t i = 0; i < 8 * bytes * times; ++i) {
                    const size_t from = i / bits / times * bits + i % bits;
                    ASSERT_EQ(line[i / 8] >> (7 - i % 8) & 1, row[from / 8] >> (7 - from % 8) & 1)
                        << "bit " << i << " of " << bytes << " bytes, " << times << " times " << bits;
                }
            });
        }
    }
}

TEST_P(BitBlockLevels, AndAlike)
{
    for (int k = 0; k < 500; ++k) {
        const Sample sample(random, random.between(1, 60), false);
        const size_t bytes = sample.table.bytes;
        std::vector<uint8_t> expected(bytes, 0xFF);
        for (uint32_t j = 0; j < sample.lines; ++j)
            for (size_t i = 0; i < bytes; ++i)
                expected[i] &= (sample.last() + static_cast<ptrdiff_t>(j) * sample.stride())[i];
        GuardedArray<uint8_t> actual(bytes);
        level.andRows(sample.last(), sample.stride(), sample.lines, actual.data(), bytes);
        ASSERT_TRUE(std::equal(expected.begin(), expected.end(), actual.begin()));
    }
}

INSTANTIATE_TEST_SUITE_P(Every, BitBlockLevels, testing::Range(size_t{0}, lx::runnableKernels().count),
                         [](const auto& instance) { return lx::runnableKernels().tables[instance.param]->level; });

} // namespace

} // namespace lxtest
