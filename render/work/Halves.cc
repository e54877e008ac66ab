#include "work/Halves.h"

namespace chartxml::render {

bool twoCores() {
  // hardware_concurrency() reads the system's files each time.
  static const bool two = std::thread::hardware_concurrency() >= 2;
  return two;
}

}  // namespace chartxml::render
