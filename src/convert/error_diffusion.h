// Error diffusion of one or three channels, in raster order, with the caller's carry buffer.
//
// Each line takes two passes: the first forms the work row, source plus carried error clamped to bytes, and clears the
// carry row; the second walks the chain from left to right and hands each pixel's error on.

#pragma once

#include "lx.h"

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
template <unsigned Channels>
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
        for (unsigned c = 0; c < Channels; ++c)
            chains_[c] = {.right = 0.0, .lowerLeft = carry_[c], .below = carry[c]};
        turn_ = 0;
    }

    // Second pass of the pixels i to i + n - 1: emit(k, bits) takes pixel i + k, bit c saying whether channel c is on.
    template <class Emit>
    void diffuse(uint32_t i, uint32_t n, Emit emit) noexcept
    {
        for (uint32_t k = 0; k < n; ++k) {
            unsigned bits = 0;
            for (unsigned c = 0; c < Channels; ++c) {
                const size_t entry = (size_t{i} + k) * Channels + c;
                bits |= (advance(chains_[c], pick(), entry) ? 1U : 0U) << c;
            }
            emit(k, bits);
            turn_ = turn_ + 1 == choice_.count ? 0 : turn_ + 1;
        }
    }

    // Puts the errors still in hand into the carry row.
    void endLine() noexcept
    {
        if (width_ == 0)
            return;
        for (unsigned c = 0; c < Channels; ++c) {
            carry_[size_t{width_} * Channels + c] = chains_[c].lowerLeft;
            carry_[(size_t{width_} + 1) * Channels + c] = chains_[c].below;
        }
    }

  private:
    // What a channel has in hand at pixel i: its error for the pixel, and the sums so far of the carry entries of
    // pixels i - 1 and i, which later pixels add to.
    struct Chain {
        double right;
        double lowerLeft;
        double below;
    };

    const ErrorDiffusionKernel& pick() const noexcept
    {
        if (choice_.random)
            return choice_.kernels[std::rand() % static_cast<int>(choice_.count)];
        return choice_.kernels[turn_];
    }

    bool advance(Chain& chain, const ErrorDiffusionKernel& kernel, size_t entry) noexcept
    {
        const double v = chain.right + work_[entry];
        const bool on = v >= 128.0;
        const double error = v >= 255.0 || v <= 0.0 ? 0.0 : on ? v - 255.0 : v;
        chain.right = error * kernel.right;
        carry_[entry] = chain.lowerLeft + error * kernel.lowerLeft;
        chain.lowerLeft = chain.below + error * kernel.below;
        // The entry after the last pixel only collects, so it is not 0 as the others are at this point.
        chain.below = carry_[entry + 2 * Channels] + error * kernel.lowerRight;
        return on;
    }

    KernelChoice choice_;
    double* carry_;
    double* work_;
    uint32_t width_;
    unsigned turn_ = 0;
    Chain chains_[Channels];
};

} // namespace lx
