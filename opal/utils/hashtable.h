#ifndef OPAL_UTILS_HASHTABLE_H
#define OPAL_UTILS_HASHTABLE_H

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

#include "opal/utils/hash_primes.h"
#include "opal/utils/memory_pool.h"

namespace opal::hsh {

/// A separately chained hash table with prime bucket counts and pooled nodes, the base of
/// HashMap and HashSet. It suits tables that are filled and cleared often: removed nodes
/// wait in the pool for the next insertion, and the bucket array never shrinks, so a
/// table in steady use allocates nothing.
///
///     buckets_:  | 0 | 1 | 2 | ... | 30 |        count_ = number of nodes
///                  |       |
///                  v       v
///               (a, x)  (c, z)                   a chain starts with the key that was
///                  |                             inserted last
///                  v
///               (b, y)
///
/// Iteration goes through the buckets in order and down each chain. The order is a
/// function of the sequence of operations and the hashes: insertion puts a node at the
/// head of its chain, growth moves the nodes in iteration order to the heads of their new
/// chains, a copy keeps the order.
///
/// An element stays where it is until it is erased; growth does not move it. An operation
/// that throws leaves the table as it was.
template <class Value, class GetKey, class Key, class Hash, class Equal>
class Hashtable {
  struct Bucket {
    Bucket* next;
    Value value;
  };
  static_assert(alignof(Bucket) <= alignof(PoolNode), "the pool aligns like pointers");

  template <class V>
  class Iterator {
   public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = Value;
    using difference_type = std::ptrdiff_t;
    using pointer = V*;
    using reference = V&;

    Iterator() = default;
    /// A constant iterator from any iterator.
    template <class W, class = std::enable_if_t<std::is_convertible_v<W*, V*>>>
    Iterator(const Iterator<W>& other)
        : node_(other.node_), bucket_(other.bucket_), end_(other.end_) {}

    V& operator*() const {
      assert(node_ != nullptr);
      return node_->value;
    }
    V* operator->() const { return &**this; }
    Iterator& operator++() {
      assert(node_ != nullptr);
      node_ = node_->next;
      if (node_ == nullptr) {
        ++bucket_;
        skip_empty();
      }
      return *this;
    }
    Iterator operator++(int) {
      Iterator old = *this;
      ++*this;
      return old;
    }
    friend bool operator==(const Iterator& a, const Iterator& b) {
      return a.node_ == b.node_;
    }
    friend bool operator!=(const Iterator& a, const Iterator& b) { return !(a == b); }

   private:
    friend class Hashtable;
    template <class W>
    friend class Iterator;

    Iterator(Bucket* node, Bucket* const* bucket, Bucket* const* end)
        : node_(node), bucket_(bucket), end_(end) {}
    void skip_empty() {
      while (bucket_ != end_ && *bucket_ == nullptr)
        ++bucket_;
      node_ = bucket_ == end_ ? nullptr : *bucket_;
    }

    Bucket* node_ = nullptr;  // null at the end
    Bucket* const* bucket_ = nullptr;
    Bucket* const* end_ = nullptr;
  };

 public:
  using key_type = Key;
  using value_type = Value;
  /// Whoever changes an element through an iterator leaves its key alone; where the whole
  /// element is the key, it is constant.
  using const_iterator = Iterator<const Value>;
  using iterator =
      std::conditional_t<std::is_same_v<Key, Value>, const_iterator, Iterator<Value>>;

  /// An empty table of 31 buckets.
  Hashtable() : Hashtable(bucket_shape(1)) {}
  /// Same bucket count, same order.
  Hashtable(const Hashtable& other) : Hashtable(other.shape_) {
    for (std::size_t i = 0; i < buckets_.size(); ++i) {
      Bucket** tail = &buckets_[i];
      for (const Bucket* n = other.buckets_[i]; n != nullptr; n = n->next) {
        *tail = make_node(nullptr, n->value);
        tail = &(*tail)->next;
        ++count_;
      }
    }
    assert(count_ == other.count_);
  }
  /// The other table is left without elements and buckets, ready for use.
  Hashtable(Hashtable&& other) noexcept : Hashtable(BucketShape{}) { swap(other); }
  Hashtable& operator=(const Hashtable& other) {
    if (this != &other) Hashtable(other).swap(*this);
    return *this;
  }
  Hashtable& operator=(Hashtable&& other) noexcept {
    Hashtable(std::move(other)).swap(*this);
    return *this;
  }
  ~Hashtable() {
    if constexpr (!std::is_trivially_destructible_v<Value>) clear();
  }
  void swap(Hashtable& other) noexcept {
    pool_.swap(other.pool_);
    buckets_.swap(other.buckets_);
    std::swap(count_, other.count_);
    std::swap(shape_, other.shape_);
  }

  [[nodiscard]] std::size_t size() const { return count_; }
  [[nodiscard]] bool empty() const { return count_ == 0; }
  [[nodiscard]] std::size_t bucket_count() const { return buckets_.size(); }

  [[nodiscard]] iterator find(const Key& key) { return find_as<iterator>(key); }
  [[nodiscard]] const_iterator find(const Key& key) const {
    return find_as<const_iterator>(key);
  }
  [[nodiscard]] bool contains(const Key& key) const { return find(key) != end(); }

  /// Inserts the value unless its key is present; tells where that key is, and whether it
  /// was inserted.
  std::pair<iterator, bool> insert(const Value& value) {
    return find_or_make(GetKey()(value), value);
  }
  std::pair<iterator, bool> insert(Value&& value) {
    return find_or_make(GetKey()(value), std::move(value));
  }

  /// Removes the key; tells whether it was present.
  bool erase(const Key& key) {
    if (count_ == 0) return false;
    for (Bucket** link = &buckets_[index(key)]; *link != nullptr; link = &(*link)->next) {
      if (!Equal()(GetKey()((*link)->value), key)) continue;
      Bucket* const node = *link;
      *link = node->next;
      --count_;
      release(node);
      return true;
    }
    return false;
  }

  /// Removes everything and keeps the buckets.
  void clear() noexcept {
    if (count_ == 0) return;
    for (Bucket*& head : buckets_)
      while (head != nullptr)
        release(std::exchange(head, head->next));
    count_ = 0;
  }

  /// Grows to the first prime bucket count that is at least n; never shrinks.
  void rehash(std::size_t n) {
    if (buckets_.size() >= n) return;
    const BucketShape shape = bucket_shape(n);
    std::vector<Bucket*> grown(shape.count);
    for (Bucket* head : buckets_) {
      while (head != nullptr) {
        Bucket* const node = std::exchange(head, head->next);
        Bucket*& chain = grown[shape.index(Hash()(GetKey()(node->value)))];
        node->next = std::exchange(chain, node);
      }
    }
    buckets_.swap(grown);
    shape_ = shape;
  }

  [[nodiscard]] iterator begin() { return first<iterator>(); }
  [[nodiscard]] iterator end() { return iterator(); }
  [[nodiscard]] const_iterator begin() const { return first<const_iterator>(); }
  [[nodiscard]] const_iterator end() const { return const_iterator(); }

  /// The pool of the nodes, for measurements.
  [[nodiscard]] const auto& pool() const { return pool_; }

 protected:
  /// Finds the key or inserts a value made from `args`, whose key must be `key`.
  template <class... Args>
  std::pair<iterator, bool> find_or_make(const Key& key, Args&&... args) {
    if (count_ >= shape_.full) rehash(buckets_.size() + 1);
    Bucket** const head = &buckets_[index(key)];
    for (Bucket* n = *head; n != nullptr; n = n->next)
      if (Equal()(GetKey()(n->value), key)) return {iterator_at<iterator>(n, head), false};
    *head = make_node(*head, std::forward<Args>(args)...);
    ++count_;
    return {iterator_at<iterator>(*head, head), true};
  }

 private:
  explicit Hashtable(const BucketShape& shape) : buckets_(shape.count), shape_(shape) {}

  [[nodiscard]] std::size_t index(const Key& key) const {
    assert(shape_.count == buckets_.size());
    return shape_.index(Hash()(key));
  }
  template <class I>
  [[nodiscard]] I iterator_at(Bucket* node, Bucket* const* bucket) const {
    return I(node, bucket, buckets_.data() + buckets_.size());
  }
  template <class I>
  [[nodiscard]] I find_as(const Key& key) const {
    if (count_ == 0) return I();
    Bucket* const* const head = &buckets_[index(key)];
    for (Bucket* n = *head; n != nullptr; n = n->next)
      if (Equal()(GetKey()(n->value), key)) return iterator_at<I>(n, head);
    return I();
  }
  template <class I>
  [[nodiscard]] I first() const {
    if (count_ == 0) return I();
    I result = iterator_at<I>(nullptr, buckets_.data());
    result.skip_empty();
    return result;
  }

  template <class... Args>
  Bucket* make_node(Bucket* next, Args&&... args) {
    void* const memory = pool_.allocate();
    try {
      return new (memory) Bucket{next, Value(std::forward<Args>(args)...)};
    } catch (...) {
      recycle(memory);
      throw;
    }
  }
  void release(Bucket* node) noexcept {
    node->~Bucket();
    recycle(node);
  }
  void recycle(void* memory) noexcept {
    pool_.free_list() = new (memory) PoolNode{pool_.free_list()};
  }

  MemoryPool<sizeof(Bucket), false> pool_{16, 2.0F, 8192};
  std::vector<Bucket*> buckets_;  // heads of the chains
  std::size_t count_ = 0;         // number of elements
  BucketShape shape_;             // shape_.count = buckets_.size()
};

}  // namespace opal::hsh

#endif
