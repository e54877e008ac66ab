#include "chartxml/host/ChartKey.h"

#include <cstdint>

ChartKey::ChartKey(int first) {
  setComponent(0, first);
  UpdateHashCode();
}

void ChartKey::setComponent(std::size_t i, int value) {
  if (i >= kMaxComponents) return;
  values_[i] = value;
  if (count_ < i + 1) count_ = i + 1;
}

void ChartKey::UpdateHashCode() {
  // Unsigned arithmetic so that negative components and overflow are defined;
  // the sign bit is masked off because tables take the code modulo their size.
  std::uint32_t h = static_cast<std::uint32_t>(count_);
  for (std::size_t i = 0; i < count_; ++i) h = h * 31u + static_cast<std::uint32_t>(values_[i]);
  hashcode = static_cast<int>(h & 0x7fffffffu);
}

bool ChartKey::operator==(const ChartKey& other) const {
  if (count_ != other.count_) return false;
  for (std::size_t i = 0; i < count_; ++i) {
    if (values_[i] != other.values_[i]) return false;
  }
  return true;
}
