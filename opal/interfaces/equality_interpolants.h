#ifndef OPAL_INTERFACES_EQUALITY_INTERPOLANTS_H
#define OPAL_INTERFACES_EQUALITY_INTERPOLANTS_H

// The equalities that were split for a partition.

#include <cassert>
#include <unordered_map>

#include "opal/interfaces/term.h"

namespace opal::itp {

/// How an equality between an A term and a B term was split: a_side = shared_term on A's
/// side, shared_term = b_side on B's.
struct EqItpInfo {
  const Term_* a_side = nullptr;
  const Term_* b_side = nullptr;
  const Term_* shared_term = nullptr;
};

/// The equalities that were split for one partition, by atom. The caller of the engine
/// owns it and passes it to every split request over that partition.
class EqItpMap {
 public:
  /// Records the split of `atom`, replacing an earlier one.
  void insert(const Term_* atom, const EqItpInfo& info) {
    assert(atom != nullptr && info.a_side != info.b_side);
    assert(info.a_side != nullptr && info.b_side != nullptr);
    assert(info.shared_term != nullptr);
    splits_[atom] = info;
  }
  [[nodiscard]] bool empty() const { return splits_.empty(); }
  /// The split of `atom`, or null. Valid until the next insert.
  [[nodiscard]] const EqItpInfo* find(const Term_* atom) const {
    assert(atom != nullptr);
    auto it = splits_.find(atom);
    return it == splits_.end() ? nullptr : &it->second;
  }

 private:
  std::unordered_map<const Term_*, EqItpInfo> splits_;
};

}  // namespace opal::itp

#endif
