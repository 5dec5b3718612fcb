#ifndef OPAL_UTILS_HASHTABLE_H
#define OPAL_UTILS_HASHTABLE_H

// The hash table under HashMap and HashSet.

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
        : node_(node), bucket_(bucket), end_(end) {
      assert(bucket_ < end_);
    }
    void skip_empty() {
      assert(node_ == nullptr);
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
  Hashtable() : Hashtable(bucket_shape(1).count) {}
  /// Same bucket count, same order.
  Hashtable(const Hashtable& other) : Hashtable(other.buckets_.size()) {
    for (std::size_t i = 0; i < buckets_.size(); ++i) {
      Bucket** tail = &buckets_[i];
      for (const Bucket* n = other.buckets_[i]; n != nullptr; n = n->next) {
        *tail = make_node(nullptr, n->value);
        tail = &(*tail)->next;
        ++count_;
      }
    }
    assert(count_ == other.count_);
    assert(is_normal());
  }
  /// The other table is left without elements and buckets, ready for use.
  Hashtable(Hashtable&& other) noexcept : Hashtable(0) { swap(other); }
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
    return erase_after(key, [](const Value&) {});
  }

  /// Removes everything and keeps the buckets.
  void clear() noexcept {
    if (count_ == 0) return;
    for (Bucket*& head : buckets_)
      while (head != nullptr)
        release(std::exchange(head, head->next));
    count_ = 0;
    assert(pool_.is_normal());
  }

  /// Grows to the first prime bucket count that is at least n; never shrinks.
  void rehash(std::size_t n) {
    if (buckets_.size() >= n) return;
    const BucketShape& shape = bucket_shape(n);
    assert(shape.count > buckets_.size() || n > shape.count);
    std::vector<Bucket*> grown(shape.count);
    for (Bucket* head : buckets_) {
      while (head != nullptr) {
        Bucket* const node = std::exchange(head, head->next);
        Bucket*& chain = grown[shape.index(Hash()(GetKey()(node->value)))];
        node->next = std::exchange(chain, node);
      }
    }
    buckets_.swap(grown);
    assert(is_normal());
  }

  [[nodiscard]] iterator begin() { return first<iterator>(); }
  [[nodiscard]] iterator end() { return iterator(); }
  [[nodiscard]] const_iterator begin() const { return first<const_iterator>(); }
  [[nodiscard]] const_iterator end() const { return const_iterator(); }

  /// The pool of the nodes, for measurements.
  [[nodiscard]] const auto& pool() const { return pool_; }

  /// The class invariant, for assertions and tests: the bucket count is one of the table of
  /// primes or 0, each element is in the chain of its hash, and the count is that of the
  /// elements, which never are more than a table may hold. Linear in the table.
  [[nodiscard]] bool is_normal() const {
    const BucketShape& shape = shape_of(buckets_.size());
    const bool can_grow = bucket_shape(shape.count + 1).count > shape.count;
    if (count_ > shape.full && can_grow) return false;
    std::size_t found = 0;
    for (std::size_t i = 0; i < buckets_.size(); ++i)
      for (const Bucket* n = buckets_[i]; n != nullptr; n = n->next, ++found)
        if (found == count_ || shape.index(Hash()(GetKey()(n->value))) != i) return false;
    return found == count_;
  }

 protected:
  /// Finds the key or inserts a value made from `args`, whose key must be `key`.
  template <class... Args>
  std::pair<iterator, bool> find_or_make(const Key& key, Args&&... args) {
    if (count_ >= shape_of(buckets_.size()).full) rehash(buckets_.size() + 1);
    assert(!buckets_.empty());
    Bucket** const head = &buckets_[index(key)];
    for (Bucket* n = *head; n != nullptr; n = n->next)
      if (Equal()(GetKey()(n->value), key)) return {iterator_at<iterator>(n, head), false};
    *head = make_node(*head, std::forward<Args>(args)...);
    assert(Equal()(GetKey()((*head)->value), key));
    ++count_;
    return {iterator_at<iterator>(*head, head), true};
  }

  /// Removes the key after its element was used, if there is one; tells whether there was.
  template <class Use>
  bool erase_after(const Key& key, Use use) {
    if (count_ == 0) return false;
    assert(!buckets_.empty());
    for (Bucket** link = &buckets_[index(key)]; *link != nullptr; link = &(*link)->next) {
      if (!Equal()(GetKey()((*link)->value), key)) continue;
      Bucket* const node = *link;
      use(node->value);
      *link = node->next;
      --count_;
      release(node);
      return true;
    }
    return false;
  }

 private:
  explicit Hashtable(std::size_t bucket_count) : buckets_(bucket_count) {}

  [[nodiscard]] std::size_t index(const Key& key) const {
    return shape_of(buckets_.size()).index(Hash()(key));
  }
  template <class I>
  [[nodiscard]] I iterator_at(Bucket* node, Bucket* const* bucket) const {
    return I(node, bucket, buckets_.data() + buckets_.size());
  }
  template <class I>
  [[nodiscard]] I find_as(const Key& key) const {
    if (count_ == 0) return I();
    assert(!buckets_.empty());
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
    assert(result.node_ != nullptr);
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
    assert(node != nullptr);
    node->~Bucket();
    recycle(node);
  }
  void recycle(void* memory) noexcept {
    pool_.free_list() = new (memory) PoolNode{pool_.free_list()};
  }

  MemoryPool<sizeof(Bucket), false> pool_{16, 2.0F, 8192};
  std::vector<Bucket*> buckets_;  // heads of the chains; as many as a shape has, or none
  std::size_t count_ = 0;         // number of elements
};

}  // namespace opal::hsh

#endif
