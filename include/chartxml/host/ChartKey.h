// ChartKey: a small tuple of integers with a cached hash code, the key of every
// hash table in the library (charts, element handles, string handles).
//
// The hash code is not kept current automatically: set the components, then
// call UpdateHashCode() before using the key in a table.
#ifndef CHARTXML_HOST_CHARTKEY_H_
#define CHARTXML_HOST_CHARTKEY_H_

#include <cstddef>

#include "chartxml/export.h"

class CHARTXML_HOST_EXPORT ChartKey {
 public:
  static constexpr std::size_t kMaxComponents = 3;

  ChartKey() = default;
  // A one-component key; the hash code is already up to date.
  explicit ChartKey(int first);

  // Number of components in use (0 to kMaxComponents).
  std::size_t size() const { return count_; }
  int component(std::size_t i) const { return values_[i]; }
  // Sets component i (i < kMaxComponents), growing size() to i + 1 if needed.
  void setComponent(std::size_t i, int value);

  // Recomputes hashcode from the components. Never negative.
  void UpdateHashCode();

  // Equal when both hold the same components in the same order.
  bool operator==(const ChartKey& other) const;
  bool operator!=(const ChartKey& other) const { return !(*this == other); }

  int hashcode = 0;

 private:
  int values_[kMaxComponents] = {0, 0, 0};
  std::size_t count_ = 0;
};

#endif  // CHARTXML_HOST_CHARTKEY_H_
