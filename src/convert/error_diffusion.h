// Error diffusion of one or three channels, in raster order, with the caller's carry buffer.
//
// Each line takes two passes: the first forms the work row, source plus carried error clamped to bytes, and clears the
// carry row; the second walks the chain from left to right and hands each pixel's error on.

#pragma once

#include "lx.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace lx
{

// The kernels of a conversion, and how they are picked.
struct KernelChoice {
    const ErrorDiffusionKernel* kernels;
    unsigned count;
    bool random; // one draw per pixel and channel; otherwise in turn from the first kernel on each line
};

// `Channels` is 1 for gray, 3 for full colour: entries of the buffer and source pixels are groups of that many.
template <size_t Channels>
class ErrorDiffusion
{
  public:
    // `sourceWidth` places the rows of the buffer; `width` pixels of a line are diffused.
    ErrorDiffusion(const KernelChoice& choice, double* buffer, uint32_t sourceWidth, uint32_t width) noexcept
        : choice_(choice), carry_(buffer), work_(buffer + (size_t{sourceWidth} + 3) * Channels), width_(width)
    {
    }

    // First pass of a line, and the start of the second.
    void beginLine(const uint8_t* source) noexcept
    {
        double* carry = carry_ + Channels;
        for (size_t i = 0; i < size_t{width_} * Channels; ++i) {
            const double v = source[i] + carry[i];
            work_[i] = v >= 255.0 ? 255.0 : v <= 0.0 ? 0.0 : v;
            carry[i] = 0.0;
        }
        for (size_t c = 0; c < Channels; ++c)
            chains_[c] = {.right = Lane{}, .lowerLeft = carry_[c], .below = carry[c]};
        turn_ = 0;
    }

    // Second pass of the pixels i to i + n - 1: emit(k, bits) takes pixel i + k, bit c saying whether channel c is on.
    template <class Emit>
    void diffuse(uint32_t i, uint32_t n, Emit emit) noexcept
    {
        Chain chains[Channels]; // in registers, not in memory that the carry row might lie in
        std::copy(chains_, chains_ + Channels, chains);
        for (uint32_t k = 0; k < n; ++k) {
            unsigned bits = 0;
            for (size_t c = 0; c < Channels; ++c) {
                const size_t entry = (size_t{i} + k) * Channels + c;
                bits |= (advance(chains[c], pick(), entry) ? 1U : 0U) << c;
            }
            emit(k, bits);
            turn_ = turn_ + 1 == choice_.count ? 0 : turn_ + 1;
        }
        std::copy(chains, chains + Channels, chains_);
    }

    // Puts the errors still in hand into the carry row.
    void endLine() noexcept
    {
        if (width_ == 0)
            return;
        for (size_t c = 0; c < Channels; ++c) {
            carry_[size_t{width_} * Channels + c] = chains_[c].lowerLeft;
            carry_[(size_t{width_} + 1) * Channels + c] = chains_[c].below;
        }
    }

  private:
    // A double that compilers choose by masks and not by branches, which no processor can predict here. The second
    // element is of no account.
    using Lane = double __attribute__((vector_size(16)));

    // What a channel has in hand at pixel i: its error for the pixel, and the sums so far of the carry entries of
    // pixels i - 1 and i, which later pixels add to.
    struct Chain {
        Lane right;
        double lowerLeft;
        double below;
    };

    const ErrorDiffusionKernel& pick() const noexcept
    {
        if (choice_.random)
            return choice_.kernels[std::rand() % static_cast<int>(choice_.count)];
        return choice_.kernels[turn_];
    }

    template <class Mask>
    static Lane keep(Mask mask, Lane value) noexcept
    {
        return reinterpret_cast<Lane>(reinterpret_cast<Mask>(value) & mask);
    }

    template <class Mask>
    static Lane choose(Mask mask, Lane yes, Lane no) noexcept
    {
        return reinterpret_cast<Lane>((reinterpret_cast<Mask>(yes) & mask) | (reinterpret_cast<Mask>(no) & ~mask));
    }

    bool advance(Chain& chain, const ErrorDiffusionKernel& kernel, size_t entry) noexcept
    {
        // Both outcomes are worked out before the choice, which is what the next pixel waits for. At 255 and above, and
        // at 0 and below, there is no error.
        const Lane v = chain.right + Lane{work_[entry], 0.0};
        const auto on = v >= 128.0;
        const Lane over = v - 255.0;
        const Lane errorOn = keep(over < 0.0, over);
        const Lane errorOff = keep(~(v < 0.0), v);
        chain.right = choose(on, errorOn * kernel.right, errorOff * kernel.right);
        const double error = choose(on, errorOn, errorOff)[0];
        carry_[entry] = chain.lowerLeft + error * kernel.lowerLeft;
        chain.lowerLeft = chain.below + error * kernel.below;
        // The entry after the last pixel only collects, so it is not 0 as the others are at this point.
        chain.below = carry_[entry + 2 * Channels] + error * kernel.lowerRight;
        return on[0] != 0;
    }

    KernelChoice choice_;
    double* carry_;
    double* work_;
    uint32_t width_;
    unsigned turn_ = 0;
    Chain chains_[Channels];
};

} // namespace lx
