#ifndef OPAL_EXPLAIN_EXPORTED_FORMULAS_H
#define OPAL_EXPLAIN_EXPORTED_FORMULAS_H

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "opal/proofs/exported_proof.h"
#include "opal/proofs/resolution/clause_refutation.h"
#include "opal/terms/sub_terms.h"
#include "opal/terms/terms.h"

namespace opal::host {

/// The formulas of a refutation as nodes of an exported proof: connectives are rules, atoms
/// leaves. An `ite` of numbers in an atom is a constant, as it is for the refutation's
/// clauses; the constant stands for a node.
///
///     (or p (<= (+ x (ite c 1 y)) 2))     a leaf p, a leaf (<= (+ x .ite1) 2) with a node
///                                         (ite c 1 y), called .ite1; and the rule `or`
///
/// Chains of `and` and of `or` are one rule with many children, as far as no other formula
/// has a part of the chain.
class ExportedFormulas {
 public:
  /// Keeps references to all; `nodes` has no leaf yet.
  ExportedFormulas(ExternalProofs& nodes, Terms& terms,
                   const resolution::ClauseRefutation& refutation);

  /// What a literal of the refutation's leaves stands for.
  ExternalProof* literal(resolution::Literal literal);

 private:
  // A formula that is written down, and what its node has for children.
  struct Formula {
    bool needed = false;
    std::uint8_t occurrences = 0;  // in other formulas; 2 for more
    std::vector<const Term_*> operands;
    ExternalProof* node = nullptr;
  };
  using Constants = std::vector<const Term_*>;

  [[nodiscard]] std::vector<const Term_*> roots() const;
  void find_needed(const SubTerms& terms, const std::vector<const Term_*>& roots);
  [[nodiscard]] std::vector<const Term_*> operands_of(const Term_* t) const;
  void export_formula(const Term_* t);
  void export_number(const Term_* t);
  ExternalProof* export_branch(const Term_* number, Sort sort);
  const Term_* with_replaced_arguments(const Term_* t);
  [[nodiscard]] const Term_* replaced(const Term_* t) const;

  ExternalProofs& nodes_;
  Terms& terms_;
  const resolution::ClauseRefutation& refutation_;
  std::unordered_map<const Term_*, Constants> constants_;    // of an `ite` of numbers
  std::unordered_map<const Term_*, const Term_*> replaced_;  // terms with `ite` in them
  std::unordered_map<const Term_*, Formula> formulas_;
  std::vector<ExternalProof*> literals_;  // by code; null: not asked for yet
};

}  // namespace opal::host

#endif
