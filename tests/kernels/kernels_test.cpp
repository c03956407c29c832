// Every kernel at every level that this processor can run, on all small sizes.

#include "kernels/kernel_test.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

namespace lxtest
{

namespace
{

const std::vector<KernelCase>* const topics[] = {
    &bitKernelCases, &colorKernelCases, &medianKernelCases, &pixelKernelCases, &rotationKernelCases, &windowKernelCases,
};

constexpr size_t margin = 64; // bytes that are watched on either side of a buffer
constexpr size_t room = 1 << 15;

std::vector<KernelCase> allCases()
{
    std::vector<KernelCase> all;
    for (const auto* topic : topics)
        all.insert(all.end(), topic->begin(), topic->end());
    return all;
}

class KernelLevels : public testing::TestWithParam<KernelCase>
{
};

TEST_P(KernelLevels, GiveThePortableBytes)
{
    const lx::KernelLevels levels = lx::runnableKernels();
    ASSERT_STREQ(levels.tables[0]->level, "portable");
    KernelBench bench;
    Random random(GetParam().name);
    const auto outcome = [&](const lx::Kernels& kernels, size_t n, uint64_t seed) {
        bench.start(seed);
        GetParam().run(kernels, bench, n);
        return bench.outcome();
    };
    for (size_t k = 0; k < 4 * 201 + 20; ++k) {
        const size_t n = k < 4 * 201 ? k % 201 : random.between(200, 2100);
        const uint64_t seed = random.next();
        const std::vector<uint8_t> expected = outcome(*levels.tables[0], n, seed);
        for (size_t level = 1; level < levels.count; ++level)
            ASSERT_EQ(expected, outcome(*levels.tables[level], n, seed))
                << "level " << levels.tables[level]->level << ", n = " << n;
    }
}

INSTANTIATE_TEST_SUITE_P(Every, KernelLevels, testing::ValuesIn(allCases()),
                         [](const auto& instance) { return std::string(instance.param.name); });

} // namespace

void KernelBench::start(uint64_t seed)
{
    random_ = Random(seed);
    used_.clear();
    returned_.clear();
}

uint8_t* KernelBench::place(size_t bytes, size_t alignment)
{
    if (used_.size() == memory_.size())
        memory_.emplace_back(room);
    const GuardedMemory& memory = memory_[used_.size()];
    const size_t free = memory.size() - bytes;
    size_t offset = random_.chance(40) ? free : random_.chance(50) ? 0 : random_.below(200);
    offset -= offset % alignment;
    uint8_t* begin = memory.begin() + std::min(offset, free);
    uint8_t* end = begin + bytes;
    used_.push_back({begin - std::min(margin, static_cast<size_t>(begin - memory.begin())),
                     end + std::min(margin, static_cast<size_t>(memory.end() - end))});
    random_.fill(used_.back().begin, static_cast<size_t>(used_.back().end - used_.back().begin));
    return begin;
}

std::vector<uint8_t> KernelBench::outcome() const
{
    const auto* values = reinterpret_cast<const uint8_t*>(returned_.data());
    std::vector<uint8_t> all(values, values + returned_.size() * sizeof(int64_t));
    for (const Span& span : used_)
        all.insert(all.end(), span.begin, span.end);
    return all;
}

void PrintTo(const KernelCase& one, std::ostream* out);

void PrintTo(const KernelCase& one, std::ostream* out)
{
    *out << one.name;
}

} // namespace lxtest
