// The search itself, behind the interface of search.h. Operations are grouped by the source
// that defines them.

#ifndef OPAL_SAT_ENGINE_H
#define OPAL_SAT_ENGINE_H

#include <string>
#include <vector>

#include "opal/sat/clause_arena.h"
#include "opal/sat/restarts.h"
#include "opal/sat/search.h"
#include "opal/sat/variable_heap.h"

namespace opal::sat {

using resolution::Chain;

// Invariants, between the steps of the search:
//
//   values_[l] == -values_[~l]; trail_ holds the literals that are true, in order
//   level(v) = number of entries of trail_limits_ that are <= position(v)
//   a clause of three or more literals is in watches_ of its literals 0 and 1, a clause of
//   two in binaries_ of both; an explanation in neither
//   clauses have been propagated for trail_[0, head_), the theory knows the atoms among
//   trail_[0, theory_head_)
//   with a proof recorded, unit_ids_[v] proves the literal of v for trail_[0, zero_head_)
//   the reason of a literal has it, and otherwise literals that were false before it
class Search::Engine final : private Consequences {
 public:
  Engine(Recording recording, host::Limits* limits)
      : recording_(recording), limits_(limits) {}

  // engine.cpp: editing and queries
  void set_theory(Theory* theory);
  Variable add_variable(VariableKind kind);
  void set_phase(Variable variable, Sign sign);
  void add_clause(LiteralSpan literals, Tag tag);
  void release_activation(Variable activation);
  void remove_lemmas();
  void edit();
  [[nodiscard]] Value model_value(Literal literal) const;

  // solving.cpp
  [[nodiscard]] Answer solve(LiteralSpan assumptions);

  // invariants.cpp
  [[nodiscard]] bool is_normal();

  enum class State : std::uint8_t {
    EDITING,
    SEARCHING,
    SATISFIABLE,
    UNSATISFIABLE,
    UNKNOWN
  };

  // What was asked and answered.
  const Recording recording_;
  host::Limits* const limits_;
  Theory* theory_ = nullptr;
  State state_ = State::EDITING;
  bool inconsistent_ = false;         // contradiction without assumptions
  std::vector<Literal> assumptions_;  // of the present solve()
  std::vector<Literal> failed_assumptions_;
  std::vector<Value> model_;           // by variable
  ClauseId final_clause_ = NO_CLAUSE;  // held
  ClauseId empty_clause_ = NO_CLAUSE;  // held, once inconsistent_
  std::string reason_unknown_;
  Statistics statistics_;
  ProofStore proofs_;
  std::size_t clause_count_ = 0;

  [[nodiscard]] Variable variable_count() const {
    return static_cast<Variable>(variables_.size());
  }

 private:
  struct VariableState {
    std::uint32_t level = 0;
    std::uint32_t position = 0;  // on the trail
    ClauseRef reason = NO_REF;
  };
  // A watch in the list of literal l: the clause has to be looked at when l becomes false,
  // unless the blocker, another literal of it, is true.
  struct Watch {
    ClauseRef clause;
    Literal blocker;
  };
  // Marks of variables during an analysis.
  enum Mark : std::uint8_t {
    IN_CLAUSE = 1,  // in the clause that is being learned
    REDUNDANT = 2,  // implied false by the clause's literals
    ESSENTIAL = 4,  // not so
    RESOLVED = 8,   // resolved away when the minimised clause is derived
    UNIT = 16       // of level 0, in units_
  };
  // A clause or literal from the theory, taken up when its call has returned.
  enum class GiftKind : std::uint8_t { CONFLICT, LEMMA, REDUCIBLE_LEMMA, TAKEN };
  struct Gift {
    GiftKind kind;
    Tag tag;
    std::size_t begin;  // in gift_literals_
    std::size_t size;
  };

  [[nodiscard]] std::int8_t truth(Literal literal) const { return values_[literal.code()]; }
  [[nodiscard]] std::uint32_t level() const {
    return static_cast<std::uint32_t>(trail_limits_.size());
  }
  [[nodiscard]] std::uint32_t level(Literal literal) const {
    return variables_[literal.variable()].level;
  }
  [[nodiscard]] Literal true_literal(Variable variable) const {
    assert(truth(Literal(variable)) != 0);
    return Literal(variable,
                   truth(Literal(variable)) > 0 ? Sign::POSITIVE : Sign::NEGATIVE);
  }
  [[nodiscard]] bool occurs(Variable variable) const {
    return occurrences_[Literal(variable).code()] > 0 ||
           occurrences_[(~Literal(variable)).code()] > 0;
  }
  [[nodiscard]] bool is_recording() const { return recording_ == Recording::ON; }

  // engine.cpp
  void release_final_clause();
  void become_inconsistent(ClauseId id);
  [[nodiscard]] bool normalise(std::vector<Literal>& literals) const;
  [[nodiscard]] ClauseId without_false_units(ClauseId id, std::vector<Literal>& literals);
  ClauseRef store(LiteralSpan literals, ClauseKind kind, std::uint32_t glue, ClauseId id);

  // solving.cpp
  void abandon();
  [[nodiscard]] Answer search();
  [[nodiscard]] bool propagate();
  [[nodiscard]] bool handle_conflict(ClauseRef conflict);
  [[nodiscard]] Answer conclude_unsatisfiable();
  void save_model();

  // decisions.cpp
  enum class Decision : std::uint8_t { MADE, NONE_LEFT, ASSUMPTION_FAILED };
  [[nodiscard]] Decision decide();
  void push_level();
  void backtrack(std::uint32_t level);
  void restart();
  [[nodiscard]] Literal choose_literal(Variable variable);

  // propagation.cpp
  void assign(Literal literal, ClauseRef reason);
  void assign_unit(Literal literal, ClauseId id);
  void attach(ClauseRef ref);
  void detach(ClauseRef ref);
  [[nodiscard]] ClauseRef propagate_clauses();
  [[nodiscard]] ClauseRef propagate_long(Literal falsified);

  // theory_clauses.cpp
  void imply(Literal literal) override;
  void add_conflict(LiteralSpan clause, Tag tag) override;
  void add_lemma(LiteralSpan clause, Tag tag, Retention retention) override;
  Variable make_variable(VariableKind kind) override;
  void add_split(Variable variable) override;
  void suggest_phase(Variable variable, Sign sign) override;
  [[nodiscard]] Value value(Literal literal) const override;
  void tell_theory();
  void wake(Literal literal);
  [[nodiscard]] bool take_up_gifts();
  [[nodiscard]] bool take_up_implications();
  [[nodiscard]] bool take_up(Gift& gift);
  void save_lemmas();
  [[nodiscard]] bool add_theory_clause(std::vector<Literal>& literals, Tag tag,
                                       GiftKind kind);
  [[nodiscard]] bool use_conflict(LiteralSpan literals, ClauseId id);
  [[nodiscard]] Tag explain(Literal literal);
  [[nodiscard]] ClauseRef explained_reason(Literal literal);
  void drop_explanation(Variable variable);
  [[nodiscard]] FinalCheck final_check();

  // analysis.cpp
  enum class Preparation : std::uint8_t { CONFLICT, IMPLICATION, REFUTATION };
  [[nodiscard]] Preparation prepare_conflict(ClauseRef conflict);
  void order_watches(Literal* begin, Literal* end) const;
  void learn_from(ClauseRef conflict);
  void resolve_back(ClauseRef conflict);
  void visit(ClauseRef ref, Literal implied, std::uint32_t& open);
  void use_learned(Clause clause);
  void learn();
  std::uint32_t glue(LiteralSpan literals);
  void clear_marks();
  void analyse_failed_assumption(Literal failed);
  void resolve_to_assumptions(Literal implied);

  // minimisation.cpp
  void minimise();
  [[nodiscard]] bool is_redundant(Literal literal);
  void add_mark(Variable variable, Mark mark);
  void derive_minimised();

  // units.cpp: the proofs of what holds at level 0
  void settle_level_zero();
  void derive_false(ClauseRef ref, Literal kept);
  void mark_unit(Variable variable);
  void resolve_units();
  [[nodiscard]] ClauseId refutation(ClauseRef conflict);

  // database.cpp
  void simplify();
  void reduce();
  void remove(ClauseRef ref);
  void remove_garbage();
  [[nodiscard]] bool is_reason(ClauseRef ref);
  [[nodiscard]] bool is_satisfied_for_good(ClauseRef ref);

  // invariants.cpp
  [[nodiscard]] bool is_trail_normal() const;
  [[nodiscard]] bool are_clauses_normal();
  [[nodiscard]] bool are_watches_normal();

  // Variables.
  std::vector<VariableState> variables_;
  std::vector<VariableKind> kinds_;
  std::vector<Sign> phases_;  // the sign to decide next
  // By literal: in clauses that are kept; those in splits_ count for both literals.
  std::vector<std::uint32_t> occurrences_;
  std::vector<Variable> splits_;            // that are decided without a clause
  std::vector<ClauseId> unit_ids_;          // held; NO_CLAUSE where nothing is proved
  std::vector<std::uint8_t> is_idle_;       // decided, and not told to the theory
  std::vector<std::uint8_t> is_explained_;  // whether the reason is an EXPLANATION
  std::vector<std::uint8_t> marks_;         // Mark, all 0 between analyses
  VariableHeap heap_;  // every unassigned variable with occurrences, and perhaps others
  std::size_t atom_count_ = 0;

  // Assignment.
  std::vector<std::int8_t> values_;  // by literal: 1 true, -1 false, 0 unassigned
  std::vector<Literal> trail_;
  std::vector<std::uint32_t> trail_limits_;  // where on the trail each level begins
  std::size_t head_ = 0;
  std::size_t theory_head_ = 0;
  std::size_t zero_head_ = 0;

  // Clauses.
  ClauseArena arena_;
  std::vector<std::vector<Watch>> watches_;   // by literal; the clauses of 3 and more
  std::vector<std::vector<Watch>> binaries_;  // by literal; blocker is the other literal
  std::size_t learned_count_ = 0;
  std::size_t simplified_trail_ = 0;       // the trail at level 0 when last simplified
  std::uint64_t next_simplification_ = 0;  // by propagations
  std::uint64_t next_reduction_ = 300;     // by conflicts
  Restarts restarts_;

  // Analysis: working lists.
  std::vector<Literal> learned_;             // the clause that is being learned
  std::vector<Variable> marked_;             // variables with marks to clear
  std::vector<Variable> units_;              // those with the mark UNIT
  std::vector<Literal> removed_;             // left out of the learned clause as redundant
  std::vector<Variable> resolved_;           // resolved away for their sake
  Chain chain_;                              // the derivation of the learned clause
  std::vector<std::uint64_t> level_stamps_;  // by level, for counting levels
  std::uint64_t stamp_ = 0;
  struct Frame {
    Variable variable;
    std::uint32_t next;  // the next literal of its reason to look at
  };
  std::vector<Frame> frames_;  // of is_redundant()

  ClauseRef conflict_in_use_ = NO_REF;  // of the theory, an EXPLANATION of nothing yet

  // What the theory has given in the present call.
  std::vector<Literal> implied_;
  std::vector<Gift> gifts_;
  std::vector<Literal> gift_literals_;
  std::vector<Literal> explanation_;  // the clause that explain() fills
};

}  // namespace opal::sat

#endif
