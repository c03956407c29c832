#include "page_run.h"

#include "error.h"
#include "files/page_file.h"

#include <CLI/CLI.hpp>

namespace lxpage
{

void addFileArguments(CLI::App& command, FileArguments& files)
{
    command.add_option("IN", files.input, "Picture to read: TIFF, PNG, JPEG or PNM")->required()->type_name("");
    command.add_option("OUT", files.output, "Picture to write: .png, .tif or .tiff")->required()->type_name("");
    command.add_option("--page", files.page, "Take one page of a TIFF, counted from 1 (otherwise all of them)")
        ->check(CLI::PositiveNumber);
}

void processPages(const FileArguments& files, const std::string& label,
                  const std::function<Image(const Image& page, ProgressBar& bar)>& step)
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
        ProgressBar bar(count > 1 ? label + ", page " + std::to_string(index + 1) : label);
        writer.append(step(page, bar));
    }
    writer.finish();
}

} // namespace lxpage
