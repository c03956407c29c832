// What the tests of the page tool share: a directory of their own, runs of the program, and pixels as colours.
#ifndef LXPAGE_TESTS_TOOL_TEST_H
#define LXPAGE_TESTS_TOOL_TEST_H

#include "error.h"
#include "image.h"

#include <array>
#include <gtest/gtest.h>
#include <ostream>
#include <set>
#include <string>
#include <vector>

namespace lxpage
{

inline void PrintTo(ExitCode code, std::ostream* out)
{
    *out << "exit code " << static_cast<int>(code);
}

using Rgb = std::array<int, 3>;

// The colour that a pixel stands for.
Rgb colorAt(const Image& image, uint32_t x, uint32_t y);

struct RunResult {
    ExitCode code;
    std::string output;
    std::string errors;
};

// Every test works in a fresh directory that goes away with it.
class ToolTest : public testing::Test
{
  protected:
    ToolTest();
    ~ToolTest() override;

    [[nodiscard]] std::string path(const std::string& name) const;
    [[nodiscard]] std::set<std::string> files() const;

    static std::string bytesOf(const std::string& path);
    static void putBytes(const std::string& path, const std::string& bytes);

    static RunResult run(std::vector<std::string> arguments);

    // Runs `halftone` on the file and demands this exit code, a message that names the file, and no new file.
    void expectRefused(const std::string& input, ExitCode code);

  private:
    std::string directory_;
};

} // namespace lxpage

#endif
