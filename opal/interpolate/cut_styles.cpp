#include "opal/interpolate/cut_styles.h"

#include <algorithm>

#include "opal/interpolate/branch_colours.h"
#include "opal/proofs/branch_steps.h"

namespace opal::host {

namespace {

using la::LinearTerm;
using Status = Grouping::status;

// Atoms of the background count for neither side alone: the styles treat them differently.
bool has_one_side(const laz::LaZTighteningProof& cut, const Grouping& grouping,
                  std::size_t root, const Mapper& mapper) {
  const auto all_have = [&](Status colour) {
    return std::all_of(cut.constraints.begin(), cut.constraints.end(), [&](int id) {
      return constraint_side(id, grouping, root, mapper) == colour;
    });
  };
  return all_have(Status::A_LOCAL) || all_have(Status::B_LOCAL);
}

// What the cut rounds off: the constant of the combined constraint, read as `... >= 0`,
// modulo the divisor. The cut's variable has the values 0 .. residue.
QNumber residue(const laz::LaZTighteningProof& cut, const Mapper& mapper) {
  const LinearTerm& conclusion = mapper.constraint_term(cut.constraints.back());
  const bool at_most = conclusion.kind == LinearTerm::LEQ;
  QNumber constant = at_most ? conclusion.constant : conclusion.constant.neg();
  for (std::size_t i = 0; i + 1 < cut.constraints.size(); ++i) {
    const LinearTerm& premise = mapper.constraint_term(cut.constraints[i]);
    const bool upper = premise.kind == LinearTerm::EQ
                           ? at_most == (cut.coeffs[i].sign() > 0)
                           : premise.kind == LinearTerm::LEQ;
    const QNumber weighted = abs(cut.coeffs[i]) * premise.constant;
    constant += upper ? weighted : weighted.neg();
  }
  return constant - cut.divisor * (constant / cut.divisor).floor();
}

}  // namespace

QNumber cut_combinations(const std::vector<proof::Proof*>& leaves, const Grouping& grouping,
                         std::size_t root, const Mapper& mapper, const QNumber& most) {
  QNumber total;
  for (proof::Proof* leaf : leaves) {
    QNumber product;  // 0: no cut so far
    for (const laz::LaZTighteningProof* cut : cuts_in(*leaf)) {
      if (has_one_side(*cut, grouping, root, mapper)) continue;
      if (product.is_zero()) product = QNumber(1);
      product *= residue(*cut, mapper) + QNumber(1);
      if (total + product > most) return total + product;
    }
    total += product;
  }
  return total;
}

}  // namespace opal::host
