#ifndef OPAL_EXPLAIN_CLAUSE_VIEW_H
#define OPAL_EXPLAIN_CLAUSE_VIEW_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "opal/interpolate/labelled/atom_places.h"
#include "opal/interpolate/partition.h"
#include "opal/proofs/resolution/clause_refutation.h"
#include "opal/terms/terms.h"

namespace opal::host {

/// The sides that explanations and drawings tell apart; NONE where there is no partition.
enum class Owner : std::uint8_t { NONE, A, B, BOTH };
/// "A", "B", "AB", ""
const char* to_string(Owner owner);

/// A refutation of formulas for people to look at. Keeps references to it and
/// the terms.
class ClauseView {
 public:
  /// `names` are those of the assertions, "" for one without; `formulas` likewise, by
  /// number.
  ClauseView(Terms& terms, const resolution::ClauseRefutation& refutation,
             std::vector<const Term_*> formulas, std::vector<std::string> names);

  [[nodiscard]] const resolution::ClauseProof& proof() const { return refutation_.proof; }
  /// The leaves that are clauses of assertions, and those that are lemmas.
  [[nodiscard]] const std::vector<resolution::NodeIndex>& inputs() const { return inputs_; }
  [[nodiscard]] const std::vector<resolution::NodeIndex>& lemmas() const { return lemmas_; }
  /// The steps of all chains.
  [[nodiscard]] std::size_t resolutions() const { return refutation_.proof.step_count(); }

  /// An assertion, and how often a step or the beginning of a chain takes a clause of it.
  struct Use {
    std::uint32_t assertion = 0;
    std::size_t count = 0;
  };
  /// Of the assertions that have clauses in the refutation; the most used ones first, then
  /// by number.
  [[nodiscard]] const std::vector<Use>& uses() const { return uses_; }
  /// "[name]", or the formula cut at about `limit` characters.
  [[nodiscard]] std::string assertion_text(std::uint32_t assertion,
                                           std::size_t limit) const;
  /// The disjunction of the literals, cut at about `limit` characters.
  [[nodiscard]] std::string clause_text(resolution::LiteralSpan clause,
                                        std::size_t limit) const;

 private:
  Terms& terms_;
  const resolution::ClauseRefutation& refutation_;
  std::vector<const Term_*> formulas_;
  std::vector<std::string> names_;
  std::vector<resolution::NodeIndex> inputs_;
  std::vector<resolution::NodeIndex> lemmas_;
  std::vector<Use> uses_;
};

/// Whose an assertion is in the partition of `root`.
[[nodiscard]] Owner owner_of_assertion(const AtomPlaces& places, std::uint32_t assertion,
                                       std::size_t root);
/// Whose the literals of a clause are: of one side when all are its alone, else of both.
[[nodiscard]] Owner owner_of_clause(const AtomPlaces& places,
                                    resolution::LiteralSpan clause, std::size_t root);

}  // namespace opal::host

#endif
