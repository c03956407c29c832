// A million calls with random areas and parameters, in one process: soak [calls]. Memory must not grow after the
// first fifth of the calls, and no file may be left open.

#include "support/random.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t count);

namespace
{

size_t residentKilobytes()
{
    size_t total = 0;
    size_t resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return resident * static_cast<size_t>(sysconf(_SC_PAGESIZE)) / 1024;
}

ptrdiff_t openFiles()
{
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

} // namespace

int main(int argc, char** argv)
{
    const unsigned long calls = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 1000000;
    constexpr size_t slack = 1024; // KiB: pages of the grounds that are touched late
    const ptrdiff_t filesBefore = openFiles();
    size_t settled = 0;
    lxtest::Random random(1);
    for (unsigned long k = 0; k < calls; ++k) {
        uint8_t choices[400];
        random.fill(choices, sizeof choices);
        LLVMFuzzerTestOneInput(choices, sizeof choices);
        if (k + 1 == calls / 5)
            settled = residentKilobytes();
        if ((k + 1) % (calls / 10 + 1) == 0)
            std::printf("%lu calls, %zu KiB\n", k + 1, residentKilobytes());
    }
    const size_t resident = residentKilobytes();
    const ptrdiff_t files = openFiles();
    std::printf("%lu calls, %zu KiB (%zu after a fifth), %td open files (%td before)\n", calls, resident, settled,
                files, filesBefore);
    return resident <= settled + slack && files == filesBefore ? 0 : 1;
}
