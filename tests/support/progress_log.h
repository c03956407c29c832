// A ProgressCallback that takes down what it is told, each thread for itself.

#pragma once

#include "lx.h"

#include <utility>
#include <vector>

namespace lxtest
{

class ProgressLog
{
  public:
    using Calls = std::vector<std::pair<uint32_t, uint32_t>>;

    static ProgressCallback start()
    {
        calls_.clear();
        return take;
    }

    // The calls since the last start.
    static const Calls& calls() { return calls_; }

  private:
    static uint32_t take(uint32_t current, uint32_t total)
    {
        calls_.emplace_back(current, total);
        return static_cast<uint32_t>(calls_.size()) * 0x55555555; // to be ignored
    }

    static inline thread_local Calls calls_;
};

} // namespace lxtest
