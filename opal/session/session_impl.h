#ifndef OPAL_SESSION_SESSION_IMPL_H
#define OPAL_SESSION_SESSION_IMPL_H

#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "opal/linear/mapper.h"
#include "opal/session/assertion_stack.h"
#include "opal/session/session.h"
#include "opal/terms/print/printable_terms.h"
#include "opal/verify/verification.h"

namespace opal::host {

/// What a session is made of; the operations are in
///   session.cpp           construction, assertions, the decision
///   session_groups.cpp    variables and groups by name, over all that
///   session_answers.cpp   what a decision left: model, refutation, core, statistics
///   session_queries.cpp   interpolants, shared terms, and their verification
///   session_showing.cpp   drawings, dumps, explanations, check files
class Session::Impl {
 public:
  Impl();

  // --- session.cpp
  void assert_formula(const Term_* formula, const std::string& name);
  void reset_assertions();
  void forget_answer();
  void decide(const std::vector<const Term_*>& assumptions);

  // --- session_groups.cpp
  // The names of the assertions in a group, or of the assertion that is called so.
  [[nodiscard]] std::vector<std::string> names_in(const std::string& group) const;
  // Takes the assertions that the stack has no more from the groups.
  void shrink_groups();

  // --- session_answers.cpp
  // Throws unless the last check answered so.
  void need(Verdict wanted) const;
  // The atoms of the proof's leaves.
  [[nodiscard]] std::unordered_set<const Term_*> used_atoms(const proof::Proof& root) const;

  // --- session_queries.cpp
  // Every atom that is asserted or assumed.
  [[nodiscard]] std::vector<const Term_*> atoms() const;
  [[nodiscard]] ResolvedQuery resolved(const SharedTermQuery& query);
  // Throws when there is no refutation or the answer does not belong to the query.
  [[nodiscard]] ResolvedQuery resolved(const InterpolationQuery& query,
                                       const Interpolants& answer);
  Interpolants interpolants(ResolvedQuery& resolved, const InterpolationQuery& query);
  VerificationReport check_steps(const std::vector<std::vector<const Term_*>>& steps,
                                 const std::string& commands);

  PrintableTerms terms;
  Limits limits;
  Mapper mapper{terms, limits};
  la::Solver solver{mapper, limits};
  Interpolation interpolation{terms, solver, mapper, limits};
  AssertionStack stack;
  std::unordered_map<std::string, const Term_*> variables;  // that were declared, by name
  // The names of each group's assertions, in order.
  std::vector<std::pair<std::string, std::vector<std::string>>> groups;

  // The last answer.
  std::optional<Verdict> verdict;
  std::string reason_unknown;
  std::vector<Conjunction> assumptions;
  Model model;            // after SAT
  proof::ProofRef proof;  // after UNSAT
  struct Export {
    ExternalProofs nodes;
    const ExternalProof* root = nullptr;
  };
  std::unique_ptr<Export> exported;  // once asked for

  // Totals since construction.
  double solve_seconds = 0;
  double engine_seconds = 0;
  double raw_size = 0;
  double size = 0;
  double shared_terms = 0;
  double completed_halves = 0;

 private:
  Conjunction take_apart(const Term_* formula);
  void assert_atoms(const Conjunction& conjunction);
  void take_model();
  void check_model();
  [[nodiscard]] std::vector<const Term_*> formulas() const;
};

}  // namespace opal::host

#endif
