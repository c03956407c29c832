// Memory with inaccessible pages around it: a byte touched outside is a crash, not a silent mistake.

#pragma once

#include <cstddef>
#include <cstdint>

namespace lxtest
{

// Blocks of accessible memory, each with an inaccessible page before and after it, at equal distances.
class GuardedMemory
{
  public:
    // `bytes` of each block are rounded up to whole pages.
    explicit GuardedMemory(size_t bytes, size_t blocks = 1);
    ~GuardedMemory();
    GuardedMemory(const GuardedMemory&) = delete;
    GuardedMemory& operator=(const GuardedMemory&) = delete;

    uint8_t* begin(size_t block = 0) const { return memory_ + guard_ + block * distance(); }
    uint8_t* end(size_t block = 0) const { return begin(block) + bytes_; }
    size_t size() const { return bytes_; }
    size_t blocks() const { return blocks_; }
    size_t distance() const { return bytes_ + guard_; }

  private:
    size_t guard_;
    size_t bytes_;
    size_t blocks_;
    uint8_t* memory_;
};

// An array that ends exactly at an inaccessible page.
template <class T>
class GuardedArray
{
  public:
    explicit GuardedArray(size_t count) : memory_(count * sizeof(T)), count_(count) {}

    T* data() const { return reinterpret_cast<T*>(memory_.end()) - count_; }
    size_t size() const { return count_; }
    T* begin() const { return data(); }
    T* end() const { return data() + count_; }
    T& operator[](size_t i) const { return data()[i]; }

  private:
    GuardedMemory memory_;
    size_t count_;
};

} // namespace lxtest
