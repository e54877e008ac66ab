// operator new and delete that count, for the programs that link this file.
#include "bench_support.h"

#include <malloc.h>

#include <atomic>
#include <new>

namespace {

std::atomic<std::size_t> calls{0};
std::atomic<std::int64_t> live{0};
std::atomic<std::int64_t> peak{0};

}  // namespace

namespace bench {

std::size_t newCalls() {
  return calls.load();
}
std::int64_t liveBytes() {
  return live.load();
}
std::int64_t peakBytes() {
  return peak.load();
}
void resetPeak() {
  peak.store(live.load());
}

}  // namespace bench

// Blocks are counted at their usable size, the same on the way in and out.
void* operator new(std::size_t size) {
  calls.fetch_add(1, std::memory_order_relaxed);
  void* block = std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) throw std::bad_alloc();
  const auto bytes = static_cast<std::int64_t>(malloc_usable_size(block));
  const std::int64_t now = live.fetch_add(bytes) + bytes;
  std::int64_t most = peak.load();
  while (now > most && !peak.compare_exchange_weak(most, now)) {
  }
  return block;
}
void operator delete(void* p) noexcept {
  if (p == nullptr) return;
  live.fetch_sub(static_cast<std::int64_t>(malloc_usable_size(p)));
  std::free(p);
}
void operator delete(void* p, std::size_t) noexcept {
  operator delete(p);
}
