// A fuzzer's bytes as choices. After the last byte every choice is the first one.

#pragma once

#include "lx.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

namespace lxfuzz
{

class Input
{
  public:
    Input(const uint8_t* bytes, size_t count) : bytes_(bytes), left_(count) {}

    template <class T>
    T take()
    {
        T value = {};
        if (left_ >= sizeof value) {
            std::memcpy(&value, bytes_, sizeof value);
            bytes_ += sizeof value;
            left_ -= sizeof value;
        }
        return value;
    }

    // 0 to bound - 1.
    uint32_t below(uint32_t bound) { return bound <= 256 ? take<uint8_t>() % bound : take<uint16_t>() % bound; }

    bool oneIn(uint32_t n) { return below(n) == n - 1; }

    template <class T, size_t n>
    T pick(const T (&choices)[n])
    {
        return choices[below(n)];
    }

    // Whole numbers: small ones, the ends of the scale, any.
    template <class T>
    T whole()
    {
        constexpr T most = std::numeric_limits<T>::max();
        constexpr T ends[] = {
            0, 1, 2, most, static_cast<T>(most - 1), std::numeric_limits<T>::min(), static_cast<T>(most / 2)};
        switch (below(4)) {
        case 0:
            return pick(ends);
        case 1:
            return take<T>();
        default:
            return static_cast<T>(below(32));
        }
    }

    // Sensible weights, hostile numbers, any bits.
    double real()
    {
        using Limits = std::numeric_limits<double>;
        constexpr double hostile[] = {0.0,
                                      -0.0,
                                      1.0,
                                      -1.0,
                                      1e9,
                                      -1e300,
                                      Limits::max(),
                                      Limits::denorm_min(),
                                      Limits::min(),
                                      Limits::infinity(),
                                      -Limits::infinity(),
                                      Limits::quiet_NaN(),
                                      255.5,
                                      -90.0,
                                      2147483648.0,
                                      1e19};
        switch (below(4)) {
        case 0:
            return pick(hostile);
        case 1:
            return take<double>();
        default:
            return take<int16_t>() / 256.0;
        }
    }

    // Read as one record; not for records with padding between numbers that matter.
    template <class T>
    void fill(T& record)
    {
        for (size_t k = 0; k < sizeof record; ++k)
            reinterpret_cast<uint8_t*>(&record)[k] = take<uint8_t>();
    }

  private:
    const uint8_t* bytes_;
    size_t left_;
};

} // namespace lxfuzz
