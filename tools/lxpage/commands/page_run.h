// What commands that turn one picture file into another have in common: `IN OUT --page N`, and the walk over the pages.
#ifndef LXPAGE_PAGE_RUN_H
#define LXPAGE_PAGE_RUN_H

#include "image.h"
#include "progress_bar.h"

#include <chrono>
#include <functional>
#include <string>

namespace CLI
{
class App;
}

namespace lxpage
{

// Milliseconds since it was made.
class Stopwatch
{
  public:
    [[nodiscard]] double milliseconds() const
    {
        return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start_).count();
    }

  private:
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

struct FileArguments {
    std::string input;
    std::string output;
    unsigned page = 0; // 0: all
    bool time = false;
};

void addFileArguments(CLI::App& command, FileArguments& files);

using PageStep = std::function<Image(const Image& page, ProgressBar& bar)>;

// Takes every page, or the one asked for, through `step`. One page is in memory at a time. If it is wanted, the time of
// each step is printed, without reading and writing.
void processPages(const FileArguments& files, const std::string& label, const PageStep& step);

} // namespace lxpage

#endif
