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
        log().clear();
        return take;
    }

    // The calls since the last start.
    static const Calls& calls() { return log(); }

  private:
    static uint32_t take(uint32_t current, uint32_t total)
    {
        log().emplace_back(current, total);
        return static_cast<uint32_t>(log().size()) * 0x55555555; // to be ignored
    }

    static Calls& log()
    {
        static thread_local Calls calls;
        return calls;
    }
};

} // namespace lxtest
