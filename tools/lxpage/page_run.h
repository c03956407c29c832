// What commands that turn one picture file into another have in common: `IN OUT --page N`, and the walk over the pages.
#ifndef LXPAGE_PAGE_RUN_H
#define LXPAGE_PAGE_RUN_H

#include "image.h"
#include "progress_bar.h"

#include <functional>
#include <string>

namespace CLI
{
class App;
}

namespace lxpage
{

struct FileArguments {
    std::string input;
    std::string output;
    unsigned page = 0; // 0: all
};

void addFileArguments(CLI::App& command, FileArguments& files);

// Takes every page, or the one asked for, through `step`. One page is in memory at a time.
void processPages(const FileArguments& files, const std::string& label,
                  const std::function<Image(const Image& page, ProgressBar& bar)>& step);

} // namespace lxpage

#endif
