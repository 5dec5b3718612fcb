#ifndef OPAL_SESSION_SESSION_IMPL_H
#define OPAL_SESSION_SESSION_IMPL_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "opal/explain/check_scripts.h"
#include "opal/explain/clause_view.h"
#include "opal/session/assertion_stack.h"
#include "opal/session/conjunctive_road.h"
#include "opal/session/formula_road.h"
#include "opal/session/session.h"
#include "opal/terms/print/printable_terms.h"
#include "opal/verify/verification.h"

namespace opal::host {

/// The names of the assertions of A, or of B, in the partition of `root`.
enum class SideOfQuery : std::uint8_t { A, B };
[[nodiscard]] std::string names_of_side(const InterpolationQuery& query, std::size_t root,
                                        SideOfQuery side);

/// Which strategy decides.
enum class Road : std::uint8_t { CONJUNCTIVE, FORMULA };

/// What the last check left, until the next change or check.
struct LastAnswer {
  std::optional<Verdict> verdict;
  Road road = Road::CONJUNCTIVE;
  std::string reason_unknown;
  std::vector<const Term_*> assumptions;
  Model model;  // after SAT
  /// After UNSAT, once it was asked for: the proof in the form that other programs read.
  struct Export {
    ExternalProofs nodes;
    const ExternalProof* root = nullptr;
  };
  std::unique_ptr<Export> exported;
  std::optional<std::vector<std::size_t>> core;  // likewise; see core()
};

/// Totals since a session was made.
struct SessionTotals {
  double solve_seconds = 0;
  double engine_seconds = 0;
  double raw_size = 0;
  double size = 0;
  double shared_terms = 0;
  double completed_halves = 0;
};

/// What a session is made of; the operations are in
///   session.cpp           construction, assertions, the decision
///   session_groups.cpp    variables and groups by name, over all that
///   session_answers.cpp   what a decision left: model, refutation, core, statistics
///   session_queries.cpp   interpolants, shared terms, and their verification
///   session_showing.cpp   drawings, dumps, explanations, check files
///   formula_showing.cpp   the same for formulas that are no conjunctions
class Session::Impl {
 public:
  Impl();

  // --- session.cpp
  void push();
  void pop();
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
  // The refutation of a conjunction; throws when there is none.
  [[nodiscard]] proof::Proof& conjunctive_proof() const;
  // The refutation for other programs, kept by `nodes`; null when it has no such form.
  [[nodiscard]] const ExternalProof* exported(ExternalProofs& nodes);
  // Every formula that is asserted or assumed; assertion i is at i.
  [[nodiscard]] std::vector<const Term_*> formulas() const;
  // After UNSAT: positions in formulas(), ascending.
  [[nodiscard]] const std::vector<std::size_t>& core();

  // --- session_queries.cpp
  [[nodiscard]] ResolvedQuery resolved(const SharedTermQuery& query);
  // Throws when there is no refutation or the answer does not belong to the query.
  [[nodiscard]] ResolvedQuery resolved(const InterpolationQuery& query,
                                       const Interpolants& answer);
  Interpolants interpolants(const InterpolationQuery& query);
  std::optional<std::string> fault(const ResolvedQuery& query);
  // The atoms of both groups; throws for assertions that are no conjunctions.
  [[nodiscard]] GroupedAtoms shared_term_groups(const ResolvedQuery& resolved);
  VerificationReport check_steps(const std::vector<std::vector<const Term_*>>& steps,
                                 const std::string& commands);

  // --- session_showing.cpp
  // The name of an interpolant of an answer, as explanations begin.
  static void print_heading(std::ostream& out, const Interpolants& answer,
                            std::size_t number, std::size_t first);
  void write_check_files(const Sides& sides, const Term_* interpolant,
                         const std::string& folder, std::int32_t number);

  // --- formula_showing.cpp: the same for a refutation of formulas
  void draw_formulas(std::ostream& out);
  void draw_formulas(const InterpolationQuery& query, const Interpolants& answer,
                     const std::function<void(const std::string&)>& take);
  void explain_formulas(std::ostream& out, const InterpolationQuery& query,
                        const Interpolants& answer);
  // The formulas of the two sides of an interpolant; those of every group are in both.
  static Sides sides_of_formulas(const ResolvedQuery& query, std::size_t root);

  PrintableTerms terms;
  Limits limits;
  Mapper mapper{terms, limits};
  AssertionStack stack;
  ConjunctiveRoad conjunctive{terms, mapper, limits};
  FormulaRoad formula{terms, mapper, limits};
  std::unordered_map<std::string, const Term_*> variables;  // that were declared, by name
  // The names of each group's assertions, in order.
  std::vector<std::pair<std::string, std::vector<std::string>>> groups;
  LastAnswer last;
  SessionTotals totals;

 private:
  void decide_conjunction(std::vector<Conjunction> assumptions);
  void decide_formulas();
  // The assumptions taken apart, or nothing when something is no conjunction.
  std::optional<std::vector<Conjunction>> conjunctions(
      const std::vector<const Term_*>& assumptions);
  void add_to_roads(const Term_* formula);
  [[nodiscard]] ClauseView formula_view();
  template <typename ValueOf>
  void take_model(const ValueOf& value_of);
};

}  // namespace opal::host

#endif
