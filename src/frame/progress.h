// Progress reports: one method for each reporting rule. A value is passed on only when it exceeds the last one.
// Filters of several passes have a rule of their own.

#pragma once

#include "lx.h"

#include <cstdint>

namespace lx
{

class Progress
{
  public:
    explicit Progress(ProgressCallback callback) noexcept : callback_(callback) {}

    // Line j of `height` lines is finished: j / height on the scale of 50, rounded. It is the line's index, not the
    // count of finished lines, so that few lines end below 50; this is deliberate. Heights from 2^31 on count as
    // negative and their values wrap.
    void lineDone(uint32_t j, uint32_t height) noexcept
    {
        if (callback_ == nullptr)
            return;
        const double share = static_cast<double>(j) / static_cast<int32_t>(height);
        report(static_cast<uint32_t>(static_cast<int64_t>(share * 50.0F + 0.5)));
    }

    // n of `total` lines on a part of the scale, `span` long and starting at `base`, rounded.
    void shareDone(uint32_t n, uint32_t total, uint32_t span, uint32_t base) noexcept
    {
        if (callback_ == nullptr)
            return;
        const double share = static_cast<double>(n) / total;
        report(static_cast<uint32_t>(share * span + 0.5) + base);
    }

    // Raw counts: every one is passed on, and the last reported value is neither looked at nor changed. Deliberately
    // unlike the other rules.
    void rawCount(uint32_t n, uint32_t total) noexcept
    {
        if (callback_ != nullptr)
            callback_(n, total);
    }

  private:
    void report(uint32_t value) noexcept
    {
        if (value <= last_)
            return;
        last_ = value;
        callback_(value, 50);
    }

    ProgressCallback callback_;
    uint32_t last_ = 0;
};

// A single-precision total climbs towards 100 in equal steps, one for each line of each pass, and is reported when its
// rounded value changes. The scale passed on is 50 all the same; this is deliberate.
class PassProgress
{
  public:
    PassProgress(ProgressCallback callback, unsigned passes, uint32_t height) noexcept
        : callback_(callback), step_(100.0F / static_cast<float>(uint64_t{passes} * height))
    {
    }

    void lineDone() noexcept
    {
        if (callback_ == nullptr)
            return;
        total_ += step_;
        const auto value = static_cast<uint32_t>(total_ + 0.5);
        if (value == last_)
            return;
        last_ = value;
        callback_(value, 50);
    }

  private:
    ProgressCallback callback_;
    float step_;
    float total_ = 0.0F;
    uint32_t last_ = 0;
};

} // namespace lx
