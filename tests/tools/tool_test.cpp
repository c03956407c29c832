#include "tool_test.h"

#include "commands/command_line.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace lxpage
{

Rgb colorAt(const Image& image, uint32_t x, uint32_t y)
{
    const uint8_t* line = image.line(y);
    if (image.type() == IMAGE_TYPE_16MRGB) {
        return {line[3 * x], line[3 * x + 1], line[3 * x + 2]};
    }
    int index = 0;
    if (image.type() == IMAGE_TYPE_BW) {
        index = line[x / 8] >> (7 - x % 8) & 1;
    } else if (image.type() == IMAGE_TYPE_256GRAY || image.type() == IMAGE_TYPE_256RGB) {
        index = line[x];
    } else {
        index = line[x / 2] >> (x % 2 ? 0 : 4) & 15;
    }
    const uint8_t* entry = image.palette.entries[index];
    return {entry[0], entry[1], entry[2]};
}

ToolTest::ToolTest()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "lxpage-test-XXXXXX").string();
    directory_ = mkdtemp(pattern.data());
}

ToolTest::~ToolTest()
{
    std::filesystem::remove_all(directory_);
}

std::string ToolTest::path(const std::string& name) const
{
    return directory_ + "/" + name;
}

std::set<std::string> ToolTest::files() const
{
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(directory_)) {
        names.insert(entry.path().filename().string());
    }
    return names;
}

std::string ToolTest::bytesOf(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

void ToolTest::putBytes(const std::string& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary) << bytes;
}

RunResult ToolTest::run(std::vector<std::string> arguments)
{
    std::vector<const char*> pointers = {"lxpage"};
    for (const std::string& argument : arguments) {
        pointers.push_back(argument.c_str());
    }
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const ExitCode code = runCommandLine(static_cast<int>(pointers.size()), pointers.data());
    return {code, testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
}

void ToolTest::expectRefused(const std::string& input, ExitCode code)
{
    const std::set<std::string> before = files();
    const RunResult result = run({"halftone", input, path("refused.png")});
    EXPECT_EQ(result.code, code) << result.errors;
    EXPECT_EQ(result.errors.find("lxpage: cannot read '" + input + "': "), 0u) << result.errors;
    EXPECT_EQ(files(), before);
}

} // namespace lxpage
