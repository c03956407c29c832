// The walk over the pages of a file, for commands that turn one picture file into another.
#ifndef LXPAGE_CONVERT_FILE_H
#define LXPAGE_CONVERT_FILE_H

#include "image.h"
#include "progress_bar.h"

#include <chrono>
#include <functional>
#include <string>

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

// What the user says of the files: `IN OUT --page N --time`.
struct FileArguments {
    std::string input;
    std::string output;
    unsigned page = 0; // 0: all
    bool time = false;
};

using PageStep = std::function<Image(const Image& page, ProgressBar& bar)>;

// Takes every page, or the one asked for, through `step`. One page is in memory at a time. If it is wanted, the time of
// each step is printed, without reading and writing.
void convertFile(const FileArguments& files, const std::string& label, const PageStep& step);

} // namespace lxpage

#endif
