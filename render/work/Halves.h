// Work on millions of values split between this thread and one more: the
// machines this draws on have two cores or more, and a column of ten million
// numbers takes tens of milliseconds a pass. Each helper gives the result
// one thread gives; below a few hundred thousand values, or on one core, it
// runs on this thread alone.
#pragma once

#include <cstddef>
#include <exception>
#include <system_error>
#include <thread>

namespace chartxml::render {

// Below this many values a second thread costs more than it saves.
constexpr std::size_t kHalvesFrom = std::size_t{1} << 18;

// Whether the machine runs two threads at once (asked once a process).
bool twoCores();

// Runs `work` on a thread of its own beside `here` on this one; false when
// no thread could be started (then nothing ran). An exception of `work` is
// thrown here once both are done.
template <class Work, class Here>
bool alongside(Work work, Here here) {
  std::exception_ptr failed;
  std::thread thread;
  try {
    thread = std::thread([&] {
      try {
        work();
      } catch (...) {
        failed = std::current_exception();
      }
    });
  } catch (const std::system_error&) {
    return false;
  }
  try {
    here();
  } catch (...) {
    thread.join();
    throw;
  }
  thread.join();
  if (failed) std::rethrow_exception(failed);
  return true;
}

// Calls part(begin, end) over [0, count): in two halves at once when
// `count` is large and the machine has two cores, else once over it all.
// `part` writes only what its own range owns.
template <class Part>
void inHalves(std::size_t count, Part part) {
  const std::size_t middle = count / 2;
  if (count < kHalvesFrom || !twoCores() ||
      !alongside([&] { part(middle, count); }, [&] { part(std::size_t{0}, middle); })) {
    part(std::size_t{0}, count);
  }
}

}  // namespace chartxml::render
