// KeyedTable: the separately chained hash table from ChartKey to a value that
// the registry, the element-handle table and the string-handle table share.
//
// Buckets start at 89 with a load factor of 0.75; when one more entry would
// pass the threshold the table grows to 2n+1 buckets before inserting. New
// nodes go to the head of their chain. Lookups allocate nothing.
#ifndef CHARTXML_COMMON_KEYEDTABLE_H_
#define CHARTXML_COMMON_KEYEDTABLE_H_

#include <memory>
#include <utility>
#include <vector>

#include "chartxml/host/ChartKey.h"

namespace chartxml {

template <class Value>
class KeyedTable {
 public:
  static constexpr int kInitialBuckets = 89;
  static constexpr float kLoadFactor = 0.75f;

  explicit KeyedTable(int buckets = kInitialBuckets) { reset(buckets); }
  KeyedTable(const KeyedTable&) = delete;
  KeyedTable& operator=(const KeyedTable&) = delete;
  ~KeyedTable() { unlinkAll(); }

  // Adds the pair unless the key is present; false (and nothing changed) if it is.
  bool insert(const ChartKey& key, Value value) {
    if (find(key) != nullptr) return false;
    if (count_ + 1 > threshold_) grow();
    auto node = std::make_unique<Node>(key, std::move(value));
    auto& head = buckets_[indexOf(key)];
    node->next = std::move(head);
    head = std::move(node);
    ++count_;
    return true;
  }

  // Adds the pair, replacing the value of a present key.
  void insertOrAssign(const ChartKey& key, Value value) {
    if (Value* present = find(key)) {
      *present = std::move(value);
      return;
    }
    insert(key, std::move(value));
  }

  Value* find(const ChartKey& key) {
    for (Node* n = buckets_[indexOf(key)].get(); n != nullptr; n = n->next.get()) {
      if (n->key.hashcode == key.hashcode && n->key == key) return &n->value;
    }
    return nullptr;
  }
  const Value* find(const ChartKey& key) const { return const_cast<KeyedTable*>(this)->find(key); }

  // Removes the key's entry; false if there was none.
  bool erase(const ChartKey& key) {
    std::unique_ptr<Node>* link = &buckets_[indexOf(key)];
    while (*link) {
      if ((*link)->key.hashcode == key.hashcode && (*link)->key == key) {
        std::unique_ptr<Node> doomed = std::move(*link);
        *link = std::move(doomed->next);
        --count_;
        return true;
      }
      link = &(*link)->next;
    }
    return false;
  }

  // Empties the table and returns it to its initial bucket count.
  void clear() {
    unlinkAll();
    reset(kInitialBuckets);
  }

  // Visits (key, value) pairs; stops early when `visit` returns false.
  template <class Visit>
  void forEach(Visit visit) {
    for (auto& head : buckets_) {
      for (Node* n = head.get(); n != nullptr; n = n->next.get()) {
        if (!visit(n->key, n->value)) return;
      }
    }
  }

  int size() const { return count_; }
  bool empty() const { return count_ == 0; }
  int bucketCount() const { return static_cast<int>(buckets_.size()); }
  int rehashCount() const { return rehashes_; }

 private:
  struct Node {
    Node(const ChartKey& k, Value v) : key(k), value(std::move(v)) {}
    ChartKey key;
    Value value;
    std::unique_ptr<Node> next;
  };

  void unlinkAll() {
    for (auto& head : buckets_) {
      // Unlink iteratively so that long chains cannot exhaust the stack.
      while (head) head = std::move(head->next);
    }
    count_ = 0;
  }

  void reset(int buckets) {
    buckets_.clear();
    buckets_.resize(buckets);
    threshold_ = static_cast<int>(static_cast<float>(buckets) * kLoadFactor);
  }

  int indexOf(const ChartKey& key) const {
    int index = key.hashcode % bucketCount();
    return index < 0 ? index + bucketCount() : index;
  }

  void grow() {
    std::vector<std::unique_ptr<Node>> old = std::move(buckets_);
    reset(static_cast<int>(old.size()) * 2 + 1);
    for (auto& head : old) {
      while (head) {
        std::unique_ptr<Node> node = std::move(head);
        head = std::move(node->next);
        auto& chain = buckets_[indexOf(node->key)];
        node->next = std::move(chain);
        chain = std::move(node);
      }
    }
    ++rehashes_;
  }

  std::vector<std::unique_ptr<Node>> buckets_;
  int count_ = 0;
  int threshold_ = 0;
  int rehashes_ = 0;
};

// A one-component key with its hash code up to date.
inline ChartKey keyOf(int value) {
  return ChartKey(value);
}

}  // namespace chartxml

#endif  // CHARTXML_COMMON_KEYEDTABLE_H_
