#include "support/guarded_memory.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#ifdef _WIN32
#include <windows.h>
#else
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace lxtest
{

namespace
{

#ifdef _WIN32

size_t pageSize()
{
    SYSTEM_INFO info;
    GetSystemInfo(&info);
    return info.dwPageSize;
}

// Inaccessible memory, or null.
void* reserve(size_t bytes)
{
    return VirtualAlloc(nullptr, bytes, MEM_RESERVE, PAGE_NOACCESS);
}

bool makeAccessible(void* memory, size_t bytes)
{
    return VirtualAlloc(memory, bytes, MEM_COMMIT, PAGE_READWRITE) != nullptr;
}

void release(void* memory, size_t)
{
    VirtualFree(memory, 0, MEM_RELEASE);
}

#else

size_t pageSize()
{
    return static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

// Inaccessible memory, or null.
void* reserve(size_t bytes)
{
    void* memory = mmap(nullptr, bytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    return memory != MAP_FAILED ? memory : nullptr;
}

bool makeAccessible(void* memory, size_t bytes)
{
    return mprotect(memory, bytes, PROT_READ | PROT_WRITE) == 0;
}

void release(void* memory, size_t bytes)
{
    munmap(memory, bytes);
}

#endif

} // namespace

GuardedMemory::GuardedMemory(size_t bytes, size_t blocks)
    : guard_(pageSize()), bytes_((std::max<size_t>(bytes, 1) + guard_ - 1) / guard_ * guard_), blocks_(blocks),
      memory_(static_cast<uint8_t*>(reserve(blocks * distance() + guard_)))
{
    bool accessible = memory_ != nullptr;
    for (size_t block = 0; accessible && block < blocks; ++block)
        accessible = makeAccessible(begin(block), bytes_);
    if (!accessible) {
        std::perror("GuardedMemory");
        std::abort();
    }
}

GuardedMemory::~GuardedMemory()
{
    release(memory_, blocks_ * distance() + guard_);
}

} // namespace lxtest
