// The page tool's readers on any bytes: a page or a PageError, and nothing else.

#include "error.h"
#include "files/page_file.h"

#include <cstdio>
#include <cstdlib>

#include <sys/mman.h>
#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t count);

// The linker sends the readers' calls of checkPageSize here: they may take gigabytes for a page of a few bytes, which
// is sound, but no use here.
extern "C" void __wrap__ZN6lxpage13checkPageSizeEmmj(uint64_t width, uint64_t height, unsigned bytesPerPixel);
extern "C" void __real__ZN6lxpage13checkPageSizeEmmj(uint64_t width, uint64_t height, unsigned bytesPerPixel);

extern "C" void __wrap__ZN6lxpage13checkPageSizeEmmj(uint64_t width, uint64_t height, unsigned bytesPerPixel)
{
    __real__ZN6lxpage13checkPageSizeEmmj(width, height, bytesPerPixel);
    if (width * height > 1U << 20)
        throw lxpage::PageError(lxpage::ExitCode::TooLarge, "too large");
}

int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t count)
{
    static const int file = memfd_create("page", 0);
    static const std::string path = "/proc/self/fd/" + std::to_string(file);
    if (file < 0 || ftruncate(file, 0) != 0 || pwrite(file, bytes, count, 0) != static_cast<ssize_t>(count)) {
        std::perror("memfd");
        std::abort();
    }
    try {
        const auto pages = lxpage::openPages(path);
        for (unsigned index = 0; index < pages->count() && index < 4; ++index)
            pages->read(index);
    } catch (const lxpage::PageError&) {
    }
    return 0;
}
