// Storage for the millions: a data column, a layer's positions, a file's
// text. Elements are not zeroed when a vector grows by resize() (its owner
// writes each before reading it), and large blocks are aligned to huge pages
// and ask for them where the kernel offers them: ten million numbers then
// fault in 40 times instead of 20,000, which on a virtual machine is most of
// the cost of touching them.
#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <utility>
#include <vector>

namespace chartxml::render {

// Blocks of at least this many bytes are large.
constexpr std::size_t kLargeBlockBytes = std::size_t{1} << 21;

// `bytes` (at least kLargeBlockBytes) of memory aligned to a huge page.
// Throws std::bad_alloc when the kernel has none.
void* allocateLarge(std::size_t bytes);
// Gives back a block of allocateLarge(`bytes`).
void releaseLarge(void* block, std::size_t bytes) noexcept;

// The bytes of large blocks held now, and the most held at once since
// resetLargePeak(): these bypass operator new, so a count of its bytes
// misses them.
std::size_t largeBytesLive();
std::size_t largeBytesPeak();
void resetLargePeak();

template <class T>
struct LargeAllocator {
  using value_type = T;
  LargeAllocator() = default;
  template <class U>
  LargeAllocator(const LargeAllocator<U>&) noexcept {}

  T* allocate(std::size_t n) {
    if (n > static_cast<std::size_t>(-1) / sizeof(T)) throw std::bad_array_new_length();
    const std::size_t bytes = n * sizeof(T);
    if (bytes >= kLargeBlockBytes) return static_cast<T*>(allocateLarge(bytes));
    return std::allocator<T>().allocate(n);
  }
  void deallocate(T* p, std::size_t n) noexcept {
    const std::size_t bytes = n * sizeof(T);
    if (bytes >= kLargeBlockBytes) {
      releaseLarge(p, bytes);
    } else {
      std::allocator<T>().deallocate(p, n);
    }
  }
  // Default-initialised, not value-initialised: resize() leaves numbers as
  // they come, for their writer.
  template <class U, class... Args>
  void construct(U* p, Args&&... args) {
    if constexpr (sizeof...(Args) == 0) {
      ::new (static_cast<void*>(p)) U;
    } else {
      ::new (static_cast<void*>(p)) U(std::forward<Args>(args)...);
    }
  }
  template <class U>
  bool operator==(const LargeAllocator<U>&) const noexcept {
    return true;
  }
};

template <class T>
using LargeVector = std::vector<T, LargeAllocator<T>>;

}  // namespace chartxml::render
