// Arguments and kinds of options that several commands have.
#ifndef LXPAGE_OPTIONS_H
#define LXPAGE_OPTIONS_H

#include "convert_file.h"
#include "error.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace CLI
{
class App;
class Validator;
} // namespace CLI

namespace lxpage
{

template <typename Value>
std::vector<std::string> namesOf(const std::map<std::string, Value>& values)
{
    std::vector<std::string> names;
    for (const auto& [name, value] : values) {
        names.push_back(name);
    }
    return names;
}

// `IN OUT --page N --time`.
void addFileArguments(CLI::App& command, FileArguments& files);

// `IN...`.
void addInputs(CLI::App& command, std::vector<std::string>& inputs);

// Takes every input through `step`, with a complaint about each that fails. The exit code is that of the first one.
ExitCode forEachInput(const std::vector<std::string>& inputs, const std::function<void(const std::string&)>& step);

// The end of the help of commands that measure pages.
constexpr const char* kMeasurable =
    "Measured is a dark bar, or the edge of a lid, along one side of the page with white on both its sides.\n"
    "Text alone is not measured; a page where none is found is told as \"not measured\", and left as it lies.";

// Ends a command whose failures have been complained of.
void endWith(ExitCode code);

// An option that takes one of several names.
void addNamed(CLI::App& command, const char* option, std::string& value, const std::vector<std::string>& names,
              const char* text);

// Checks of options that take a number. The limits are within those of the option's type, and finite.
CLI::Validator numberFrom(double least, double most);
CLI::Validator wholeNumberFrom(int64_t least, int64_t most);

// "1,2,3": `count` whole numbers from 0 to `most`; else throws a usage error that starts with the option's name.
std::vector<uint32_t> numbersFrom(const std::string& option, const std::string& text, size_t count, uint32_t most);

// "255,128,0": red, green and blue.
std::vector<uint8_t> colorFrom(const std::string& option, const std::string& text);

} // namespace lxpage

#endif
