// Row kernels, one row of a table each: every instruction-set level must give the bytes of the portable one.

#pragma once

#include "support/guarded_memory.h"
#include "support/random.h"

#include "kernels/kernels.h"

#include <deque>
#include <functional>
#include <vector>

namespace lxtest
{

// Buffers for one call of a kernel. Each has pages of its own: it ends at an inaccessible page, or begins behind one,
// or lies somewhere between. The same seed gives the same contents and places.
class KernelBench
{
  public:
    // To be called before every call of a kernel.
    void start(uint64_t seed);

    Random& random() { return random_; }

    // `count` values that `make()` gives.
    template <class T, class Make>
    const T* from(size_t count, Make make)
    {
        T* values = reinterpret_cast<T*>(place(count * sizeof(T), sizeof(T)));
        for (size_t i = 0; i < count; ++i)
            values[i] = static_cast<T>(make());
        return values;
    }

    const uint8_t* bytes(size_t count)
    {
        return from<uint8_t>(count, [&] { return random_.next(); });
    }

    // Bytes of 0 and 1.
    const uint8_t* flags(size_t count)
    {
        return from<uint8_t>(count, [&] { return random_.next() & 1; });
    }

    // A buffer that the kernel writes, or adds to; it holds noise.
    template <class T = uint8_t>
    T* to(size_t count)
    {
        return reinterpret_cast<T*>(place(count * sizeof(T), sizeof(T)));
    }

    // What a kernel returns.
    void returned(int64_t value) { returned_.push_back(value); }

    // All that can be seen of the call: returned values, buffers, and what lies around them.
    std::vector<uint8_t> outcome() const;

  private:
    uint8_t* place(size_t bytes, size_t alignment);

    struct Span {
        uint8_t* begin;
        uint8_t* end;
    };

    Random random_{0};
    std::deque<GuardedMemory> memory_;
    std::vector<Span> used_;
    std::vector<int64_t> returned_;
};

struct KernelCase {
    const char* name;
    // Calls the kernel of `kernels` for n pixels (or bytes, or whatever it counts), its buffers from `bench`.
    std::function<void(const lx::Kernels& kernels, KernelBench& bench, size_t n)> run;
};

// Tables of the topics; add yours to the list in kernels_test.cpp.
extern const std::vector<KernelCase> bitKernelCases;
extern const std::vector<KernelCase> colorKernelCases;
extern const std::vector<KernelCase> medianKernelCases;
extern const std::vector<KernelCase> pixelKernelCases;
extern const std::vector<KernelCase> rotationKernelCases;
extern const std::vector<KernelCase> windowKernelCases;

} // namespace lxtest
