#include "read/LargeBuffer.h"

#include <sys/mman.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>

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
  // From the C library's heap, not straight from the kernel: where the
  // process keeps big blocks there, the memory of data read and dropped
  // before (the file's text, another program stage's columns) is used
  // again instead of faulting in fresh pages.
  void* block = std::aligned_alloc(kHugePage, size);
  if (block == nullptr) throw std::bad_alloc();
  // Only a wish: without huge pages the block is ordinary memory.
  madvise(block, size, MADV_HUGEPAGE);
  const std::size_t now = live += size;
  for (std::size_t most = peak; now > most && !peak.compare_exchange_weak(most, now);) {
  }
  return block;
}

void releaseLarge(void* block, std::size_t bytes) noexcept {
  if (block == nullptr) return;
  std::free(block);
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
