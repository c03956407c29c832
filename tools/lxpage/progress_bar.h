// A bar on the terminal, fed by the library's ProgressCallback.
//
// The callback is a plain function without user data, so the bar in use is found through a thread-local pointer: one
// bar at a time on a thread.
#ifndef LXPAGE_PROGRESS_BAR_H
#define LXPAGE_PROGRESS_BAR_H

#include "lx.h"

#include <cstdio>
#include <string>

namespace lxpage
{

class ProgressBar
{
  public:
    // A bar that stays silent gets a null `stream`.
    explicit ProgressBar(std::string label, std::FILE* stream = terminal());
    // Clears the line.
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    // The standard error stream if a person sees it and the output both, otherwise null.
    static std::FILE* terminal();

    // For the next call of the library, which does the part `index` of `count` equal ones; null for a silent bar.
    ProgressCallback part(unsigned index, unsigned count);

  private:
    static uint32_t onProgress(uint32_t current, uint32_t total);
    void show(double fraction);

    static thread_local ProgressBar* active;

    std::string label_;
    std::FILE* stream_;
    double start_ = 0;
    double length_ = 1;
    int shownPercent_ = -1;
};

} // namespace lxpage

#endif
