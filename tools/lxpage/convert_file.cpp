#include "convert_file.h"

#include "error.h"
#include "files/page_file.h"

#include <cstdio>
#include <optional>

namespace lxpage
{

namespace
{

Image timed(const Image& page, const std::string& label, bool print, const PageStep& step)
{
    std::optional<ProgressBar> bar(label);
    const Stopwatch watch;
    Image result = step(page, *bar);
    const double milliseconds = watch.milliseconds();
    bar.reset(); // the line is free again
    if (print) {
        std::printf("%10.2f ms  %u x %u %s\n", milliseconds, result.width(), result.height(), typeName(result.type()));
    }
    return result;
}

} // namespace

void convertFile(const FileArguments& files, const std::string& label, const PageStep& step)
{
    PageWriter writer(files.output);
    const auto source = openPages(files.input);
    const unsigned count = source->count();
    if (files.page > count) {
        throw PageError(ExitCode::Usage, "there is no page " + std::to_string(files.page) + " in '" + files.input +
                                             "', which has " + std::to_string(count));
    }
    const unsigned first = files.page == 0 ? 0 : files.page - 1;
    const unsigned end = files.page == 0 ? count : files.page;
    for (unsigned index = first; index < end; ++index) {
        const Image page = source->read(index);
        const Image result =
            timed(page, count > 1 ? label + ", page " + std::to_string(index + 1) : label, files.time, step);
        writer.append(result);
    }
    writer.finish();
}

} // namespace lxpage
