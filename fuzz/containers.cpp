// A map and a set beside the standard ones, and a pool whose nodes must not overlap.

#include <map>
#include <set>
#include <string>

#include "fuzz/bytes.h"
#include "opal/utils/hash_map.h"
#include "opal/utils/hash_set.h"

namespace {

using opal::fuzz::Bytes;
using opal::fuzz::expect;

class Tables {
 public:
  void step(Bytes& bytes) {
    const unsigned operation = bytes.below(12);
    const int key = static_cast<int>(bytes.below(2) == 0 ? bytes.below(16) : bytes.word());
    const std::string value(bytes.below(40), 'x');
    switch (operation) {
      case 0:
      case 1: map_[key] = value, model_[key] = value; break;
      case 2:
        expect(map_.insert({key, value}).second == model_.insert({key, value}).second,
               "insert() into a map");
        break;
      case 3:
        expect(map_.erase(key) == (model_.erase(key) > 0), "erase() from a map");
        break;
      case 4:
      case 5: expect(set_.insert(key).second == names_.insert(key).second, "set"); break;
      case 6:
        expect(set_.erase(key) == (names_.erase(key) > 0), "erase() from a set");
        break;
      case 7: map_.rehash(bytes.word() % 5000); break;
      case 8: map_ = opal::hsh::HashMap<int, std::string>(map_); break;
      case 9: other_.swap(map_), other_model_.swap(model_); break;
      case 10: allocate(bytes); break;
      default:
        if (bytes.below(16) == 0) map_.clear(), model_.clear();
    }
    const auto found = map_.find(key);
    expect((found != map_.end()) == (model_.count(key) > 0), "find() in a map");
    expect(found == map_.end() || found->second == model_.at(key), "the value in a map");
    expect(set_.contains(key) == (names_.count(key) > 0), "contains() in a set");
  }
  void compare() const {
    expect(std::map<int, std::string>(map_.begin(), map_.end()) == model_, "the whole map");
    expect(std::set<int>(set_.begin(), set_.end()) == names_, "the whole set");
    expect(map_.size() == model_.size() && set_.size() == names_.size(), "the sizes");
  }

 private:
  void allocate(Bytes& bytes) {
    if (bytes.below(3) == 0 && !nodes_.empty()) {
      void* const node = *nodes_.begin();
      nodes_.erase(nodes_.begin());
      pool_.free_list() = new (node) opal::PoolNode{pool_.free_list()};
      return;
    }
    char* const node = static_cast<char*>(pool_.allocate());
    const auto next = nodes_.lower_bound(node);
    expect(next == nodes_.end() || static_cast<char*>(*next) >= node + 24, "pool: overlap");
    expect(next == nodes_.begin() || static_cast<char*>(*std::prev(next)) + 24 <= node,
           "pool: overlap");
    nodes_.insert(node);
  }

  opal::hsh::HashMap<int, std::string> map_, other_;
  std::map<int, std::string> model_, other_model_;
  opal::hsh::HashSet<int> set_;
  std::set<int> names_;
  opal::MemoryPool<24, false> pool_{2, 1.5F, 64};
  std::set<void*> nodes_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Bytes bytes(data, size);
  Tables tables;
  while (!bytes.empty())
    tables.step(bytes);
  tables.compare();
  return 0;
}
