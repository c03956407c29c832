#include "progress_bar.h"

#include <unistd.h>
#include <utility>

namespace lxpage
{

namespace
{

constexpr int kBarLength = 40;

} // namespace

thread_local ProgressBar* ProgressBar::active = nullptr;

ProgressBar::ProgressBar(std::string label, std::FILE* stream) : label_(std::move(label)), stream_(stream)
{
    active = this;
}

ProgressBar::~ProgressBar()
{
    if (shownPercent_ >= 0) {
        std::fputs("\r\x1b[K", stream_);
        std::fflush(stream_);
    }
    active = nullptr;
}

std::FILE* ProgressBar::terminal()
{
    return isatty(STDERR_FILENO) && isatty(STDOUT_FILENO) ? stderr : nullptr;
}

ProgressCallback ProgressBar::part(unsigned index, unsigned count)
{
    if (!stream_) {
        return nullptr;
    }
    start_ = double(index) / count;
    length_ = 1.0 / count;
    show(start_);
    return onProgress;
}

uint32_t ProgressBar::onProgress(uint32_t current, uint32_t total)
{
    if (active) {
        active->show(active->start_ + active->length_ * current / total);
    }
    return 0;
}

void ProgressBar::show(double fraction)
{
    const int percent = static_cast<int>(fraction * 100);
    if (percent == shownPercent_) {
        return;
    }
    shownPercent_ = percent;
    const int filled = percent * kBarLength / 100;
    std::string bar(static_cast<size_t>(filled), '#');
    bar.resize(kBarLength, '.');
    std::fprintf(stream_, "\r%s [%s] %3d %%", label_.c_str(), bar.c_str(), percent);
    std::fflush(stream_);
}

} // namespace lxpage
