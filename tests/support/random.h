// A small generator for test data: the same numbers on every machine, for every run.

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace lxtest
{

class Random
{
  public:
    explicit Random(uint64_t seed) : state_(seed) {}

    explicit Random(const std::string& seed) : state_(0)
    {
        for (const char c : seed)
            state_ = next() ^ static_cast<uint8_t>(c);
    }

    // Sixty-four fresh bits: a Weyl sequence, stirred.
    uint64_t next()
    {
        state_ += 0x9E3779B97F4A7C15ULL;
        uint64_t z = state_;
        z = (z ^ z >> 32) * 0xD6E8FEB86659FD93ULL;
        z = (z ^ z >> 32) * 0xD6E8FEB86659FD93ULL;
        return z ^ z >> 32;
    }

    // 0 to bound - 1; bound is not 0.
    uint32_t below(uint32_t bound) { return static_cast<uint32_t>((next() >> 32) * bound >> 32); }

    uint32_t between(uint32_t least, uint32_t most) { return least + below(most - least + 1); }

    bool chance(uint32_t percent) { return below(100) < percent; }

    double unit() { return static_cast<double>(next() >> 11) * 0x1p-53; }

    template <class T, size_t n>
    const T& pick(const T (&choices)[n])
    {
        return choices[below(n)];
    }

    void fill(uint8_t* bytes, size_t count)
    {
        for (size_t i = 0; i < count;) {
            uint64_t word = next();
            for (unsigned b = 0; b < 8 && i < count; ++b, ++i, word >>= 8)
                bytes[i] = static_cast<uint8_t>(word);
        }
    }

  private:
    uint64_t state_;
};

} // namespace lxtest
