// The parser of all commands, and where every failure becomes an exit code and one line on standard error.

#include "commands/command_line.h"
#include "commands/list.h"
#include "standard_streams.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <exception>
#include <sstream>

namespace lxpage
{

namespace
{

constexpr const char* kDescription = "lxpage: work on scanned pages, from picture file to picture file";
constexpr const char* kFooter =
    "`lxpage COMMAND --help` tells a command's options.\n\n"
    "Reads TIFF (strips, tiles, several pages; bilevel, gray, palette, RGB), PNG, JPEG (gray and colour) and PNM\n"
    "(P1 to P6). Writes PNG and TIFF. An output file appears whole or not at all.\n\n"
    "Exit codes:\n"
    "  0  done\n"
    "  1  internal error\n"
    "  2  wrong arguments\n"
    "  3  the input cannot be opened or read\n"
    "  4  the input is truncated or damaged\n"
    "  5  the input is of a kind that is not supported\n"
    "  6  the page is too large (a side above 65500 pixels, above a thousand million pixels, or more memory\n"
    "     than 4 GiB), or memory ran out\n"
    "  7  the output, a file or what is printed, cannot be written";

// In the order of the help.
constexpr void (*kCommands[])(CLI::App& app) = {
    addAngle, addColor,    addFullColor, addGray,  addHalftone, addMask,      addMedian, addPage,
    addPaste, addQuantize, addRotate,    addScale, addSharpen,  addThumbnail, addTone,   addDemo,
};

bool isCommand(const CLI::App& app, const std::string& name)
{
    const auto commands = app.get_subcommands([](const CLI::App*) { return true; });
    return std::any_of(commands.begin(), commands.end(),
                       [&](const CLI::App* command) { return command->get_name() == name; });
}

ExitCode parseAndRun(CLI::App& app, int argumentCount, const char* const* arguments)
{
    try {
        const std::string first = argumentCount > 1 ? arguments[1] : "-";
        if (first[0] != '-' && !isCommand(app, first)) {
            throw CLI::ParseError("'" + first + "' is not a command", CLI::ExitCodes::ExtrasError);
        }
        app.parse(argumentCount, arguments);
        if (app.get_subcommands().empty()) {
            throw CLI::RequiredError("a command");
        }
        return ExitCode::Done;
    } catch (const CLI::Success& request) { // for help or the version
        std::ostringstream text;
        app.exit(request, text);
        std::fputs(text.str().c_str(), stdout);
        return ExitCode::Done;
    } catch (const CLI::ParseError& error) {
        std::fprintf(stderr, "lxpage: %s\nTry `lxpage --help` or `lxpage COMMAND --help`.\n", error.what());
        return ExitCode::Usage;
    }
}

} // namespace

ExitCode runCommandLine(int argumentCount, const char* const* arguments)
{
    try {
        CLI::App app(kDescription, "lxpage");
        app.set_version_flag("--version", "lxpage " LXPAGE_VERSION, "Print the version and exit");
        app.require_subcommand(0, 1); // none is complained of below
        for (const auto add : kCommands) {
            add(app);
        }
        app.footer(kFooter); // last, or every command would inherit it
        const ExitCode code = parseAndRun(app, argumentCount, arguments);
        if (code == ExitCode::Done) {
            flushOutput();
        }
        return code;
    } catch (const std::exception&) {
        return complain();
    }
}

} // namespace lxpage
