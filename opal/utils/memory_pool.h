#ifndef OPAL_UTILS_MEMORY_POOL_H
#define OPAL_UTILS_MEMORY_POOL_H

// The memory of hash table nodes.

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <utility>

namespace opal {

/// A free node of a pool, which holds the link to the next one.
struct PoolNode {
  PoolNode* next;
};

/// Hands out unconstructed nodes of N bytes, cut from chunks that only the destructor
/// gives back. A chunk is one block:
///
///     | link to the previous chunk | node 0 | node 1 | ... |
///
/// The owner returns a node by pushing it on the free list; the pool does not do it.
///
///     MemoryPool<32, false> pool;
///     void* node = pool.allocate();
///     ...
///     pool.free_list() = new (node) PoolNode{pool.free_list()};
///
/// Nodes are aligned like pointers. The second parameter must be false.
template <std::size_t N, bool>
class MemoryPool;

template <std::size_t N>
class MemoryPool<N, false> {
  static_assert(N >= sizeof(PoolNode) && N % alignof(PoolNode) == 0,
                "a free node holds an aligned link");

 public:
  explicit MemoryPool(std::size_t chunk_size = 16, float growth_factor = 2.0F,
                      std::size_t max_chunk_size = 8192) noexcept
      : chunk_size_(chunk_size),
        growth_factor_(growth_factor),
        max_chunk_size_(max_chunk_size) {
    assert(is_normal());
  }
  MemoryPool(const MemoryPool&) = delete;
  MemoryPool& operator=(const MemoryPool&) = delete;
  ~MemoryPool() {
    while (chunks_ != nullptr)
      std::free(std::exchange(chunks_, chunks_->previous));
  }

  /// An unconstructed node. Throws std::bad_alloc, and changes nothing then.
  [[nodiscard]] void* allocate() {
    if (free_list_ == nullptr) add_chunk();
    assert(free_list_ != nullptr && chunks_ != nullptr);
    return std::exchange(free_list_, free_list_->next);
  }

  /// The head of the list of free nodes; null when the next node needs a new chunk.
  [[nodiscard]] PoolNode*& free_list() noexcept { return free_list_; }

  void swap(MemoryPool& other) noexcept {
    std::swap(chunk_size_, other.chunk_size_);
    std::swap(growth_factor_, other.growth_factor_);
    std::swap(max_chunk_size_, other.max_chunk_size_);
    std::swap(chunks_, other.chunks_);
    std::swap(free_list_, other.free_list_);
  }

  /// The class invariant, for assertions and tests: the sizes are in their ranges, no node
  /// is free without a chunk, and the list of free nodes ends. Linear in that list.
  [[nodiscard]] bool is_normal() const {
    if (chunk_size_ == 0 || !(growth_factor_ >= 1.0F)) return false;
    if (free_list_ != nullptr && chunks_ == nullptr) return false;
    const PoolNode* fast = free_list_;
    for (const PoolNode* slow = free_list_; fast != nullptr && fast->next != nullptr;) {
      slow = slow->next;
      fast = fast->next->next;
      if (slow == fast) return false;
    }
    return true;
  }

  /// Number of nodes of the next chunk.
  [[nodiscard]] std::size_t chunk_size() const { return chunk_size_; }
  [[nodiscard]] std::size_t num_chunks() const {
    std::size_t n = 0;
    for (const Chunk* c = chunks_; c != nullptr; c = c->previous)
      ++n;
    return n;
  }

 private:
  struct Chunk {
    Chunk* previous;
  };

  void add_chunk() {
    assert(free_list_ == nullptr);
    if (chunk_size_ > (PTRDIFF_MAX - sizeof(Chunk)) / N) throw std::bad_alloc();
    void* const block = std::malloc(chunk_size_ * N + sizeof(Chunk));
    if (block == nullptr) throw std::bad_alloc();
    chunks_ = new (block) Chunk{chunks_};
    char* const nodes = static_cast<char*>(block) + sizeof(Chunk);
    for (std::size_t i = chunk_size_; i-- > 0;)
      free_list_ = new (nodes + i * N) PoolNode{free_list_};
    chunk_size_ = next_chunk_size();
    assert(is_normal());
  }
  [[nodiscard]] std::size_t next_chunk_size() const {
    const float grown = static_cast<float>(chunk_size_) * growth_factor_;
    constexpr float LIMIT = 9.2233720368547758e18F;
    const std::size_t size = grown < LIMIT ? static_cast<std::size_t>(grown) : SIZE_MAX;
    assert(size >= chunk_size_);
    return max_chunk_size_ != 0 && max_chunk_size_ < size ? max_chunk_size_ : size;
  }

  std::size_t chunk_size_;      // nodes of the next chunk
  float growth_factor_;         // factor from one chunk to the next, at least 1
  std::size_t max_chunk_size_;  // upper bound of the chunk size; 0 means none
  Chunk* chunks_ = nullptr;     // newest first
  PoolNode* free_list_ = nullptr;
};

}  // namespace opal

#endif
