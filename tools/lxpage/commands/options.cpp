#include "commands/options.h"

#include "standard_streams.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <sstream>

namespace lxpage
{

namespace
{

constexpr int64_t kMostPages = 1'048'576; // that libtiff takes from a file

template <typename Value>
CLI::Validator valuesFrom(Value least, Value most, const char* kind)
{
    return {[=](const std::string& text) {
                Value value;
                // Not a number is within no limits.
                if (CLI::detail::lexical_cast(text, value) && value >= least && value <= most) {
                    return std::string();
                }
                std::ostringstream complaint;
                complaint << "'" << text << "' is not a " << kind << " from " << least << " to " << most;
                return complaint.str();
            },
            ""};
}

} // namespace

CLI::Validator numberFrom(double least, double most)
{
    return valuesFrom(least, most, "number");
}

CLI::Validator wholeNumberFrom(int64_t least, int64_t most)
{
    return valuesFrom(least, most, "whole number");
}

void addFileArguments(CLI::App& command, FileArguments& files)
{
    command.add_option("IN", files.input, "Picture to read: TIFF, PNG, JPEG or PNM")->required()->type_name("");
    command.add_option("OUT", files.output, "Picture to write: .png, .tif or .tiff")->required()->type_name("");
    command.add_option("--page", files.page, "Take one page of a TIFF, counted from 1 (otherwise all of them)")
        ->check(wholeNumberFrom(1, kMostPages));
    command.add_flag("--time", files.time, "Print the milliseconds that each page takes, without reading and writing");
}

void addInputs(CLI::App& command, std::vector<std::string>& inputs)
{
    command.add_option("IN", inputs, "Pictures to read: TIFF, PNG, JPEG or PNM")->required()->type_name("");
}

ExitCode forEachInput(const std::vector<std::string>& inputs, const std::function<void(const std::string&)>& step)
{
    ExitCode first = ExitCode::Done;
    for (const std::string& input : inputs) {
        try {
            step(input);
        } catch (const std::exception&) {
            if (std::ferror(stdout) != 0) { // the other inputs would go on for nobody
                throw;
            }
            const ExitCode code = complain();
            first = first == ExitCode::Done ? code : first;
        }
    }
    return first;
}

void endWith(ExitCode code)
{
    if (code != ExitCode::Done) {
        throw PageError(code, "");
    }
}

void addNamed(CLI::App& command, const char* option, std::string& value, const std::vector<std::string>& names,
              const char* text)
{
    command.add_option(option, value, text)
        ->check(CLI::IsMember(names).description(""))
        ->type_name("NAME")
        ->capture_default_str();
}

std::vector<uint32_t> numbersFrom(const std::string& option, const std::string& text, size_t count, uint32_t most)
{
    std::vector<uint32_t> numbers;
    std::istringstream parts(text);
    std::string part;
    bool sound = text.empty() || text.back() != ',';
    while (std::getline(parts, part, ',')) {
        const bool digits = !part.empty() && part.size() <= 9 && part.find_first_not_of("0123456789") == part.npos;
        numbers.push_back(digits ? static_cast<uint32_t>(std::stoul(part)) : 0);
        sound = sound && digits && numbers.back() <= most;
    }
    if (!sound || numbers.size() != count) {
        throw PageError(ExitCode::Usage, option + " takes " + std::to_string(count) + " whole numbers from 0 to " +
                                             std::to_string(most) + ", with commas between them");
    }
    return numbers;
}

std::vector<uint8_t> colorFrom(const std::string& option, const std::string& text)
{
    std::vector<uint8_t> color;
    for (const uint32_t component : numbersFrom(option, text, 3, 255)) {
        color.push_back(static_cast<uint8_t>(component));
    }
    return color;
}

} // namespace lxpage
