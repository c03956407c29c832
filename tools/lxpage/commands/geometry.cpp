// How pages lie: `lxpage angle` tells by how many degrees they are askew, for people or as JSON, and `lxpage rotate`
// turns them, by quarter turns or by any angle.

#include "commands/list.h"
#include "commands/options.h"
#include "convert_file.h"
#include "error.h"
#include "files/page_file.h"
#include "progress_bar.h"
#include "rotate.h"
#include "slant.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>

namespace lxpage
{

namespace
{

struct AngleOptions {
    std::vector<std::string> inputs;
    bool json = false;
};

std::string quoted(const std::string& text)
{
    std::string result = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            result += '\\';
            result += c;
        } else if (static_cast<unsigned char>(c) < 0x20) {
            char code[8];
            std::snprintf(code, sizeof code, "\\u%04x", static_cast<unsigned>(c));
            result += code;
        } else {
            result += c;
        }
    }
    return result + '"';
}

void printJson(const std::string& path, unsigned page, const Slant& slant, bool isFirst)
{
    const auto point = [](const char* name, const Slant::Point& at, bool found) {
        found ? std::printf(", \"%s\": [%u, %u]", name, at.column, at.row) : std::printf(", \"%s\": null", name);
    };
    std::printf("%s\n  {\"file\": %s, \"page\": %u, \"measured\": %s, \"degrees\": %.6f, \"measuredOn\": [%u, %u]",
                isFirst ? "" : ",", quoted(path).c_str(), page, slant.isMeasured() ? "true" : "false", slant.angle,
                slant.width, slant.height);
    point("bandFirst", slant.bandFirst, slant.hasBand());
    point("bandLast", slant.bandLast, slant.hasBand());
    point("startA", slant.startA, slant.hasEdgeA());
    point("endA", slant.endA, slant.hasEdgeA());
    point("startB", slant.startB, slant.hasEdgeB());
    point("endB", slant.endB, slant.hasEdgeB());
    std::printf("}");
}

Slant watchedSlant(const Image& page, bool withEdges)
{
    ProgressBar bar("angle");
    return measureSlant(page, withEdges, bar.part(0, 1));
}

ExitCode printAngles(const AngleOptions& options)
{
    bool isFirst = true;
    std::printf("%s", options.json ? "[" : "");
    const ExitCode code = forEachInput(options.inputs, [&](const std::string& path) {
        const auto source = openPages(path);
        for (unsigned index = 0; index < source->count(); ++index) {
            const Slant slant = watchedSlant(source->read(index), options.json);
            if (options.json) {
                printJson(path, index + 1, slant, isFirst);
            } else {
                const std::string suffix = source->count() > 1 ? ", page " + std::to_string(index + 1) : "";
                std::printf("%s  %s%s\n", degreesText(slant).c_str(), path.c_str(), suffix.c_str());
            }
            isFirst = false;
        }
    });
    std::printf("%s", options.json ? "\n]\n" : "");
    return code;
}

} // namespace

void addAngle(CLI::App& app)
{
    CLI::App* command = app.add_subcommand("angle", "Tell the degrees clockwise that straighten each page");
    const auto options = std::make_shared<AngleOptions>();
    addInputs(*command, options->inputs);
    command->add_flag("--json", options->json, "For machines: with the band and the edges that show the angle");
    command->footer(kMeasurable);
    command->callback([options] { endWith(printAngles(*options)); });
}

namespace
{

constexpr double kMostDegrees = 360'000;

struct RotateOptions {
    FileArguments files;
    double angle = 0;
    bool grow = false;
};

} // namespace

void addRotate(CLI::App& app)
{
    CLI::App* command = app.add_subcommand("rotate", "Turn a page clockwise, by quarter turns or by any angle");
    const auto options = std::make_shared<RotateOptions>();
    addFileArguments(*command, options->files);
    command
        ->add_option("--angle", options->angle,
                     "Degrees clockwise; multiples of 90 turn the page exactly,\n"
                     "other angles leave its size and fill the corners with white")
        ->check(numberFrom(-kMostDegrees, kMostDegrees))
        ->required();
    command->add_flag("--grow", options->grow, "Make the page large enough for all of the turned one");
    command->callback([options] {
        convertFile(options->files, "rotate", [&](const Image& page, ProgressBar& bar) {
            return turned(page, options->angle, options->grow, bar);
        });
    });
}

} // namespace lxpage
