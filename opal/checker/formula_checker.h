// Checks refutations of formulas, without the clausifier and the search that make them.
//
// Of a refutation (opal/proofs/resolution/clause_refutation.h) it demands that
//
//   - it is a resolution proof of the empty clause, each step with one pivot, without
//     tautologies (resolution_checker.h),
//   - every input clause follows from the assertion whose number it has, an auxiliary being
//     read as its formula and a defined constant as its term; or is valid by itself, as
//     clauses are that say what a floor is,
//   - every lemma has a proof that the checker of such proofs accepts (proof_checker.h),
//     whose leaves are denials of the lemma's literals,
//   - an auxiliary occurs in clauses of its own assertion only, and in no lemma; and so
//     does a defined constant, but for lemmas.
//
// That a clause follows is shown by propagation: its literals are assumed false, the
// assertion true, and truth goes up and down through the connectives until there is a
// contradiction. Clauses of a definition by cases need that much and no more. Time is
// linear in the assertion for each of its clauses, and about that in most.

#ifndef OPAL_CHECKER_FORMULA_CHECKER_H
#define OPAL_CHECKER_FORMULA_CHECKER_H

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "opal/interfaces/proof.h"
#include "opal/interfaces/term_mapper.h"
#include "opal/proofs/resolution/clause_refutation.h"
#include "opal/terms/terms.h"

namespace opal::checker {

/// Who refutes the conjunction of some arithmetic atoms; null when it cannot.
using LemmaProver = std::function<proof::ProofRef(const std::vector<const Term_*>& atoms)>;

/// Nothing when `refutation` refutes the formulas `assertions` (by number; null for a
/// number that nothing has), as above; else what is wrong, and where. Iterative.
[[nodiscard]] std::optional<std::string> fault_of_refutation(
    const resolution::ClauseRefutation& refutation,
    const std::vector<const Term_*>& assertions, host::Terms& terms,
    la::ItpLinearTermMapper& mapper, const LemmaProver& prove);

/// The places of a refutation's variables in a tree of groups (see
/// interpolate/partition.h).
struct VariablePlaces {
  std::vector<std::size_t> first;         // the tree, in post-order
  std::vector<std::size_t> of_assertion;  // by number: a group
  std::vector<std::size_t> of_variable;   // by variable: a group
};

/// Nothing when the places can be what all partitions of the tree go by: in each of them,
/// an atom that counts as A's has no symbol that only B has, one that counts as B's no
/// symbol that only A has, and what B counts and a clause of A has occurs in B too; an
/// auxiliary lies where its assertion does. Else what is wrong.
[[nodiscard]] std::optional<std::string> fault_of_places(
    const resolution::ClauseRefutation& refutation,
    const std::vector<const Term_*>& assertions, const VariablePlaces& places);

}  // namespace opal::checker

#endif
