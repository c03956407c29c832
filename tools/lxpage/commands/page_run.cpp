#include "commands/page_run.h"

#include "error.h"
#include "files/page_file.h"

#include <CLI/CLI.hpp>
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

void addFileArguments(CLI::App& command, FileArguments& files)
{
    command.add_option("IN", files.input, "Picture to read: TIFF, PNG, JPEG or PNM")->required()->type_name("");
    command.add_option("OUT", files.output, "Picture to write: .png, .tif or .tiff")->required()->type_name("");
    command.add_option("--page", files.page, "Take one page of a TIFF, counted from 1 (otherwise all of them)")
        ->check(CLI::PositiveNumber);
    command.add_flag("--time", files.time, "Print the milliseconds that each page takes, without reading and writing");
}

void processPages(const FileArguments& files, const std::string& label, const PageStep& step)
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
