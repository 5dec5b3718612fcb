// What a theory does under the search.
//
// The search knows clauses only. Some of its variables are atoms: they stand for
// constraints, which one Theory knows. The theory hears of each literal of an atom that
// becomes true, and answers with clauses that hold in it:
//
//   propagate     after the clauses have nothing more to propagate: a conflict, implied
//                 literals, lemmas, or nothing. May be incomplete.
//   explain       the clause  literal or not r1 or ... or not rn  for a literal that
//                 propagate() implied. Asked for only when a conflict is analysed (and,
//                 with a proof recorded, for literals that are implied at level 0).
//   final_check   when every variable that matters has a value: consistent, or not, or not
//                 known. Must be complete: its CONSISTENT is believed.
//
// Every clause from a theory carries a tag, by which leaves of the proof name it. The
// search copies clauses; what it is given may be reused at once.
//
// Order of calls. The theory sees a stack of levels, level 0 at the bottom:
//
//   push_level()            one level more; literals asserted from here on belong to it
//   assert_literal(l)       in the order of the search's trail; each literal once while it
//                           is true; also the literals that the theory has implied itself.
//                           Not a literal that was decided and that no clause which is kept
//                           has: nothing depends on its being true, and the theory is
//                           spared the work of making it so
//   backtrack(k)            the levels above k are gone, with what was asserted in them;
//                           level 0 is never left
//
// Literals asserted at level 0 hold for good, across calls of solve(). While the theory is
// in one of these calls, it may make variables and read values, but it may not call
// anything else of the search. After a call of propagate() or final_check() that gave
// clauses, the search may backtrack before the theory sees the literals these clauses
// imply.
//
// A theory may throw: LimitReached ends solve() with UNKNOWN; whatever else it throws
// leaves solve(). Either way backtrack(0) is called first, and must succeed from any state.

#ifndef OPAL_SAT_THEORY_H
#define OPAL_SAT_THEORY_H

#include <string>
#include <vector>

#include "opal/proofs/resolution/literal.h"

namespace opal::sat {

using resolution::Literal;
using resolution::LiteralSpan;
using resolution::Sign;
using resolution::Tag;
using resolution::Variable;

enum class Value : std::int8_t { FALSE = -1, UNASSIGNED = 0, TRUE = 1 };

/// Whether a variable stands for a constraint of the theory.
enum class VariableKind : std::uint8_t { PLAIN, ATOM };

/// How long a lemma stays among the clauses. A lemma that has to stay for the search to
/// end, such as one that splits the values of an integer, is KEPT. A REDUCIBLE lemma may go
/// whenever clauses are thrown out; its unassigned variables are not decided for its sake.
enum class Retention : std::uint8_t { KEPT, REDUCIBLE };

/// Where a theory puts its answers. The search takes them up when the theory's call
/// returns.
class Consequences {
 public:
  virtual ~Consequences() = default;

  /// `literal` of an atom follows from what was asserted; explain() must be able to say
  /// why until backtrack() takes back the present level. May be true already (ignored) or
  /// false (then explain() is asked at once and gives a conflict; there is no need to imply
  /// a literal whose negation is true but was not asserted to the theory).
  virtual void imply(Literal literal) = 0;
  /// A clause that holds in the theory, all of whose literals are false now. It is used
  /// once and not kept. Only the first conflict of a call is looked at.
  virtual void add_conflict(LiteralSpan clause, Tag tag) = 0;
  /// A clause that holds in the theory, whatever values its literals have.
  virtual void add_lemma(LiteralSpan clause, Tag tag, Retention retention) = 0;

  /// A new variable, for instance an atom that a lemma branches on. It is decided only when
  /// a clause that is kept has it, or as a split.
  virtual Variable make_variable(VariableKind kind) = 0;
  /// Has `variable` decided from now on, whether or not a clause has it: for the atom
  /// x <= 3 of an integer, whose negation is x >= 4, where the lemma that splits the values
  /// of x would be a tautology. Counts as a lemma that is KEPT and has both literals.
  virtual void add_split(Variable variable) = 0;
  /// The sign that is tried first when `variable` is decided for the first time.
  virtual void suggest_phase(Variable variable, Sign sign) = 0;
  /// The value that the search gives `literal` now.
  [[nodiscard]] virtual Value value(Literal literal) const = 0;
};

/// What final_check() found. INCONSISTENT: a conflict or lemmas were given, one of which at
/// least is not true now, or a split of a variable without a value. UNKNOWN ends the
/// search.
enum class FinalCheck : std::uint8_t { CONSISTENT, INCONSISTENT, UNKNOWN };

class Theory {
 public:
  virtual ~Theory() = default;

  virtual void push_level() = 0;
  virtual void backtrack(std::uint32_t level) = 0;
  virtual void assert_literal(Literal literal) = 0;
  virtual void propagate(Consequences& consequences) = 0;
  /// Keeps the theory's model when it answers CONSISTENT: the search takes its levels back
  /// before solve() returns.
  [[nodiscard]] virtual FinalCheck final_check(Consequences& consequences) = 0;
  /// Puts into `clause` (empty when called) a clause that holds in the theory and in which
  /// `literal`, which imply() named, is the only literal that was not false before it.
  /// Returns the clause's tag.
  [[nodiscard]] virtual Tag explain(Literal literal, std::vector<Literal>& clause) = 0;
  /// Why the last final_check() answered UNKNOWN.
  [[nodiscard]] virtual std::string reason_unknown() const { return "incomplete"; }
};

}  // namespace opal::sat

#endif
