#include "support/guarded_memory.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include <sys/mman.h>
#include <unistd.h>

namespace lxtest
{

GuardedMemory::GuardedMemory(size_t bytes, size_t blocks)
    : guard_(static_cast<size_t>(sysconf(_SC_PAGESIZE))),
      bytes_((std::max<size_t>(bytes, 1) + guard_ - 1) / guard_ * guard_), blocks_(blocks), memory_(nullptr)
{
    constexpr int flags = MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE;
    void* memory = mmap(nullptr, blocks * distance() + guard_, PROT_NONE, flags, -1, 0);
    bool mapped = memory != MAP_FAILED;
    memory_ = static_cast<uint8_t*>(memory);
    for (size_t block = 0; mapped && block < blocks; ++block)
        mapped = mprotect(begin(block), bytes_, PROT_READ | PROT_WRITE) == 0;
    if (!mapped) {
        std::perror("GuardedMemory");
        std::abort();
    }
}

GuardedMemory::~GuardedMemory()
{
    munmap(memory_, blocks_ * distance() + guard_);
}

} // namespace lxtest
