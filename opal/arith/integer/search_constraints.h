#ifndef OPAL_ARITH_INTEGER_SEARCH_CONSTRAINTS_H
#define OPAL_ARITH_INTEGER_SEARCH_CONSTRAINTS_H

#include <cstddef>
#include <deque>
#include <optional>
#include <utility>
#include <vector>

#include "opal/arith/integer/cuts.h"
#include "opal/interfaces/proof.h"
#include "opal/linear/constraint_terms.h"
#include "opal/linear/mapper.h"
#include "opal/proofs/farkas.h"

namespace opal::host {

/// The constraints of a search: those of the mapper under their own ids, and branches and
/// cuts that the search adds, under negative ids below the zero constraint's.
class SearchConstraints final : public ConstraintTerms {
 public:
  /// Keeps the reference.
  explicit SearchConstraints(Mapper& mapper) : mapper_(mapper) {}

  [[nodiscard]] const la::LinearTerm& constraint_term(int constr_id) const override;

  /// The id of a branch, `t <= c` or `t >= c` for an integral t.
  int add_branch(la::LinearTerm branch);
  /// The id of a cut. Its premises are constraints of the mapper or branches.
  int add_cut(Cut cut);
  /// Forgets branches and cuts. Nobody may use their ids afterwards.
  void clear() { added_.clear(); }

  /// The branches among the premises of a cut, and a branch itself: ascending, each once.
  [[nodiscard]] std::vector<int> branches_below(int constr_id) const;

  // --- proofs
  /// The refutation of a combination, in which cuts are tightening nodes.
  proof::ProofRef refutation(FarkasCombination combination);
  /// The refutation by two branches, each refuted.
  proof::ProofRef join(int left, proof::ProofRef left_proof, int right,
                       proof::ProofRef right_proof);

 private:
  struct Added {
    la::LinearTerm term;
    std::optional<Cut> cut;     // nothing for a branch
    std::vector<int> branches;  // see branches_below()
    proof::ProofRef node;       // of a cut, once a refutation has used it
  };

  [[nodiscard]] static bool is_added(int constr_id) {
    return constr_id < Mapper::ZERO_CONSTRAINT;
  }
  [[nodiscard]] const Added& added(int constr_id) const;
  /// The index in added_ of a constraint that was added.
  [[nodiscard]] std::size_t place_of(int constr_id) const;
  /// A branch's term is integral and it is its own only branch; a cut is in normal form,
  /// and its branches ascend.
  [[maybe_unused, nodiscard]] bool is_normal(const Added& constraint) const;
  int add(Added constraint);
  /// The mapper's id of a constraint that is no cut.
  int mapper_id(int constr_id);
  proof::ProofRef leaf(const FarkasLeaf& leaf);
  proof::ProofRef tightening_node(const Cut& cut);

  Mapper& mapper_;
  std::deque<Added> added_;  // the constraint of id -2 - i is added_[i]
};

}  // namespace opal::host

#endif
