#include "read/LargeBuffer.h"

#include <sys/mman.h>

#include <atomic>
#include <cstdint>

namespace chartxml::render {
namespace {

constexpr std::size_t kHugePage = kLargeBlockBytes;

std::atomic<std::size_t> live{0}, peak{0};

std::size_t rounded(std::size_t bytes) {
  return (bytes + kHugePage - 1) & ~(kHugePage - 1);
}

}  // namespace

void* allocateLarge(std::size_t bytes) {
  const std::size_t size = rounded(bytes);
  if (size < bytes) throw std::bad_alloc();
  // One huge page more than asked, so that an aligned block fits; the ends
  // beyond it go back at once.
  void* mapped = mmap(nullptr, size + kHugePage, PROT_READ | PROT_WRITE,
                      MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (mapped == MAP_FAILED) throw std::bad_alloc();
  const auto start = reinterpret_cast<std::uintptr_t>(mapped);
  const std::uintptr_t aligned = (start + kHugePage - 1) & ~(std::uintptr_t{kHugePage} - 1);
  if (aligned > start) munmap(mapped, aligned - start);
  const std::uintptr_t tail = start + size + kHugePage - (aligned + size);
  if (tail > 0) munmap(reinterpret_cast<void*>(aligned + size), tail);
  // Only a wish: without huge pages the block is ordinary memory.
  madvise(reinterpret_cast<void*>(aligned), size, MADV_HUGEPAGE);
  const std::size_t now = live += size;
  for (std::size_t most = peak; now > most && !peak.compare_exchange_weak(most, now);) {
  }
  return reinterpret_cast<void*>(aligned);
}

void releaseLarge(void* block, std::size_t bytes) noexcept {
  if (block == nullptr) return;
  munmap(block, rounded(bytes));
  live -= rounded(bytes);
}

std::size_t largeBytesLive() {
  return live;
}

std::size_t largeBytesPeak() {
  return peak;
}

void resetLargePeak() {
  peak = live.load();
}

}  // namespace chartxml::render
