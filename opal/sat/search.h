// A search for a model of clauses, with a theory under it and a proof when there is none.
//
// Conflict-driven clause learning: decide a literal, propagate what follows; at a conflict
// learn a clause that says why, go back to where it implies something, go on.
// (Marques-Silva and Sakallah, "GRASP", 1999; Moskewicz and others, "Chaff", 2001; Een and
// Soerensson, "An extensible SAT-solver", 2003; Audemard and Simon, "Predicting learnt
// clauses quality in modern SAT solvers", 2009.)
//
//     Search search(Recording::ON);
//     Variable a = search.make_variable(), b = search.make_variable();
//     search.add_clause({a or b}, 7);                    // 7 and 8: tags of the caller
//     search.add_clause({not a or b}, 8);
//     search.solve({not b})       == Answer::UNSATISFIABLE
//     search.failed_assumptions() == {not b}
//     search.proof()                  // proves {b} from the clauses 7 and 8
//     search.solve()              == Answer::SATISFIABLE
//     search.value(b)             == Value::TRUE
//
// States, and what may be called in them:
//
//              make_variable, add_clause, release_activation, remove_lemmas,
//              suggest_phase, set_theory
//                 +--------+
//                 |        v          solve
//              +-> EDITING ------------------------> (searching) --+
//              |                                                   |
//              | any of the above           +----------------------+
//              +--- SATISFIABLE <-----------+   value
//              +--- UNSATISFIABLE <---------+   failed_assumptions, final_clause, proof
//              +--- UNKNOWN <---------------+   reason_unknown
//
// solve() may be called in every state. While it searches, only the theory speaks with the
// search, through Consequences (theory.h). Queries of a state are errors of the caller
// elsewhere, found by assertions. Once the clauses contradict each other without
// assumptions the search is inconsistent for good: is_inconsistent().
//
// Levels that are popped. Clauses cannot be taken back, but a clause can be given a
// condition:
//
//     push:    Variable k = search.make_variable();          // "level k stands"
//     assert:  search.add_clause({not k or c1 or ... or cn}, tag);
//     solve:   search.solve({k, ...});
//     pop:     search.release_activation(k);                 // k is false for good
//
// What is learned from clauses of the level has `not k` in it and goes with them, by the
// time of the next solve(); what does not depend on the level stays. In a proof, `not k`
// shows in leaves and is resolved by nothing: it is part of the final clause, where it says
// that the level was needed. A variable that no longer occurs in any clause that is kept is
// neither decided nor, if it is an atom, told to the theory. Lemmas of the theory hold
// without condition and stay, so their variables do: remove_lemmas() after a pop.
//
// Proofs. With Recording::ON every clause has an id in a ProofStore, and proof() hands out
// the part that the last answer needs. Leaves are the clauses of add_clause(), sorted, each
// literal once, with their tags, and the theory's lemmas with theirs. Clauses that are
// tautologies, or true already at level 0, are forgotten, and so are in no proof.
//
// The same calls give the same answers, models and proofs on every run and machine: there
// is no clock, no address and no random number in a decision. Limits are looked at once a
// conflict and every few hundred decisions.

#ifndef OPAL_SAT_SEARCH_H
#define OPAL_SAT_SEARCH_H

#include <memory>
#include <string>
#include <vector>

#include "opal/host/limits.h"
#include "opal/proofs/resolution/proof_store.h"
#include "opal/sat/theory.h"

namespace opal::sat {

using resolution::ClauseId;
using resolution::ClauseProof;
using resolution::NO_CLAUSE;
using resolution::ProofStore;

enum class Answer : std::uint8_t { SATISFIABLE, UNSATISFIABLE, UNKNOWN };

/// Whether proofs are kept. OFF costs nothing.
enum class Recording : std::uint8_t { OFF, ON };

/// What a search has done since it was made.
struct Statistics {
  std::uint64_t conflicts = 0;
  std::uint64_t decisions = 0;
  std::uint64_t propagations = 0;
  std::uint64_t restarts = 0;
  std::uint64_t reductions = 0;  // of the database of learned clauses
  std::uint64_t learned_literals = 0;
  std::uint64_t minimised_literals = 0;  // left out of learned clauses
  std::uint64_t theory_conflicts = 0;
  std::uint64_t theory_implications = 0;
  std::uint64_t explanations = 0;
  std::uint64_t lemmas = 0;
  std::uint64_t final_checks = 0;
};

class Search {
 public:
  /// `limits` may be null and must outlive the search.
  explicit Search(Recording recording = Recording::OFF, host::Limits* limits = nullptr);
  ~Search();
  Search(const Search&) = delete;
  Search& operator=(const Search&) = delete;

  // ---- Editing

  /// The theory of the atoms; it must outlive the search. Before the first atom is made.
  void set_theory(Theory* theory);
  Variable make_variable(VariableKind kind = VariableKind::PLAIN);
  /// The sign that `variable` is given when it is decided for the first time; NEGATIVE when
  /// nothing is suggested.
  void suggest_phase(Variable variable, Sign sign);
  /// Adds a clause; literals may be repeated, in any order.
  void add_clause(LiteralSpan literals, Tag tag = 0);
  /// Makes `activation` false for good: the clauses with its negation go. It must occur in
  /// no clause positively. (This is no clause: no proof mentions it.)
  void release_activation(Variable activation);
  /// Forgets the theory's lemmas; they will be made again where they are needed.
  void remove_lemmas();

  // ---- Solving

  /// Looks for a model of the clauses in which the assumptions are true.
  [[nodiscard]] Answer solve(LiteralSpan assumptions = {});

  // ---- Queries

  /// After SATISFIABLE: the value in the model. UNASSIGNED when either value will do.
  [[nodiscard]] Value value(Literal literal) const;
  [[nodiscard]] Value value(Variable variable) const { return value(Literal(variable)); }
  /// After UNSATISFIABLE: those of the assumptions that contradict the clauses; a part of
  /// them, not always a smallest one, in the order in which they were given.
  [[nodiscard]] const std::vector<Literal>& failed_assumptions() const;
  /// After UNSATISFIABLE, with a proof recorded: the clause of the failed assumptions'
  /// negations, or a part of it. NO_CLAUSE when two assumptions are negations of each
  /// other, which needs no clause. Held by the search until the next editing or solving.
  [[nodiscard]] ClauseId final_clause() const;
  /// The proof of final_clause(), which is not NO_CLAUSE; unreduced.
  [[nodiscard]] ClauseProof proof() const;
  /// After UNKNOWN: the limit that was reached, or what the theory says.
  [[nodiscard]] const std::string& reason_unknown() const;

  /// Whether the clauses contradict each other without any assumption.
  [[nodiscard]] bool is_inconsistent() const;
  [[nodiscard]] Recording recording() const;
  [[nodiscard]] Variable variable_count() const;
  /// The clauses that are there at the moment, learned ones included.
  [[nodiscard]] std::size_t clause_count() const;
  [[nodiscard]] const Statistics& statistics() const;
  /// The bytes that the proof store holds; 0 when nothing is recorded.
  [[nodiscard]] std::size_t proof_bytes() const;

  /// Whether watches, trail, reasons, levels and counts of occurrences agree. Between
  /// calls.
  [[nodiscard]] bool is_normal() const;

 private:
  class Engine;
  std::unique_ptr<Engine> engine_;
};

}  // namespace opal::sat

#endif
