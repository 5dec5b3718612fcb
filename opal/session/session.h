#ifndef OPAL_SESSION_SESSION_H
#define OPAL_SESSION_SESSION_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "opal/arith/solver.h"
#include "opal/base/limits.h"
#include "opal/proofs/exported_proof.h"
#include "opal/session/assertion_stack.h"
#include "opal/session/expression.h"
#include "opal/session/queries.h"
#include "opal/terms/evaluator.h"
#include "opal/terms/terms.h"

namespace opal::host {

/// A conversation with the host: assert, check, and ask about the answer. This is the
/// front door for programs that have no solver of their own, and what the command
/// interpreter is built on. Assertions are formulas of linear arithmetic with any Boolean
/// structure; while all of them are conjunctions of literals, the solver of conjunctions
/// answers (conjunctive_road.h), else the search for models of clauses (formula_road.h).
///
///     Session s;
///     const Expr x = s.declare("x", Sort::REAL), y = s.declare("y", Sort::REAL);
///     s.assert_into("A", x >= 1);
///     s.assert_into("A", y >= x + 2);
///     s.assert_into("B", 2 * y < 5);
///     if (s.check() == Session::Verdict::UNSAT)
///       std::cout << s.interpolant("A", "B");     // (<= 3.0 y)
///
/// The operations on terms and on names of assertions below give more control. Errors are
/// exceptions that say what is wrong, and leave the session as it was: a later check()
/// answers for exactly the assertions that were accepted.
class Session {
 public:
  using Verdict = host::Verdict;
  using Assertion = host::Assertion;

  Session();
  ~Session();

  Terms& terms();
  Limits& limits();
  /// How the solver decides, from the next check on.
  void set_method(la::Solver::Method method);

  // --- in a dozen lines: variables, groups of assertions, and their interpolants
  /// The variable of a name. Throws SessionError if the name is declared with another sort.
  Expr declare(const std::string& name, Sort sort);
  /// Adds a formula to a group, which begins with its first one; pop() takes it back.
  /// Throws as assert_formula(), and ExpressionError for an expression of another session
  /// or one that is no formula.
  void assert_into(const std::string& group, const Expr& formula);
  /// After UNSAT: what the first group implies, over symbols that it shares with the second
  /// one, and that contradicts the second one. Assertions of other groups are known to
  /// both. Throws SessionError for a group without assertions.
  Expr interpolant(const std::string& first, const std::string& second);
  /// After UNSAT: the interpolants of a sequence of groups, one fewer than groups; each one
  /// and the next group imply the next one.
  std::vector<Expr> interpolants_of(const std::vector<std::string>& groups,
                                    Mode mode = Mode::AUTO, Cuts cuts = Cuts::AUTO,
                                    Strength strength = Strength::AUTO);
  /// After UNSAT: the groups with an assertion in unsat_core(), in order of their first
  /// one.
  [[nodiscard]] std::vector<std::string> groups_in_core();
  /// After SAT: the value of a number in the model, 1 or 0 of a formula.
  [[nodiscard]] QNumber value(const Expr& e) const;

  // --- assertions; each of these ends the validity of the last answer
  void push();
  /// Throws SessionError when there is no matching push().
  void pop();
  [[nodiscard]] std::size_t levels() const;
  /// Takes back every assertion and level; terms stay.
  void reset_assertions();
  /// Asserts a formula, under a name if one is given (names are unique among the current
  /// assertions). Throws Unsupported, NotLinear, or SessionError for a name in use; then
  /// nothing is asserted. (After a check of formulas that are no conjunctions, a refused
  /// one too ends the validity of the last answer.)
  void assert_formula(const Term_* formula, const std::string& name = std::string());
  [[nodiscard]] const std::vector<Assertion>& assertions() const;

  // --- answers
  /// Decides the assertions together with some further literals, which hold for this
  /// check only. UNKNOWN when a limit was reached, which reason_unknown() names, or when
  /// the solver gives up on unbounded integers ("incomplete"). A model is checked by
  /// evaluation against every assertion before SAT is answered. Throws
  /// Unsupported or NotLinear for an assumption, as assert_formula().
  Verdict check(const std::vector<const Term_*>& assumptions = {});
  [[nodiscard]] std::optional<Verdict> last_verdict() const;
  [[nodiscard]] const std::string& reason_unknown() const;
  /// After SAT.
  [[nodiscard]] const Model& model() const;
  /// After UNSAT of a conjunction: the proof; the session keeps it until the next change or
  /// check. Throws SessionError where the refutation is one of clauses.
  [[nodiscard]] proof::Proof* refutation() const;
  /// After UNSAT: the proof in the form that other programs read (see proof_text.h). The
  /// session owns it and keeps it until the next change or check; asked again, it is the
  /// same. Throws SessionError when a node of the proof has no such form, LimitReached at a
  /// limit.
  const ExternalProof& external_proof();
  /// After UNSAT: the names of the assertions that the proof uses, in order of assertion;
  /// of two that provide the same constraint one is enough, an unnamed one first.
  [[nodiscard]] std::vector<std::string> unsat_core();
  /// After UNSAT: the assumptions that the proof uses.
  [[nodiscard]] std::vector<const Term_*> unsat_assumptions();
  /// After UNSAT: the interpolants of a query. Assumptions count as unmentioned
  /// assertions. Throws SessionError for unknown names, names in two groups, an empty
  /// group, fewer than two groups, dual mode on a tree, modular cuts with more than two
  /// groups and a proof that has cuts; LimitReached at a limit.
  Interpolants interpolants(const InterpolationQuery& query);
  /// The number of assertions and assumptions that a query does not mention.
  [[nodiscard]] std::size_t count_unmentioned(const InterpolationQuery& query) const;
  /// After UNSAT: has the proof checker confirm the proof. Throws SessionError with what is
  /// wrong if it does not.
  void check_proof();
  /// Checks the proof with the proof checker, its promises for the partitions of the query
  /// included, and the answer for shared symbols and with outside solvers: command lines
  /// separated by semicolons, each for the steps that those before it leave undecided.
  /// Throws SessionError for a wrong answer or one
  /// that all of them leave undecided (what() says which step), OutsideSolverError (see
  /// verification.h), LimitReached.
  VerificationReport verify(const InterpolationQuery& query, const Interpolants& answer,
                            const std::string& outside_solvers);

  // --- drawings, in the language DOT of Graphviz; see proof_drawing.h
  /// After UNSAT: the proof, with what each step derives unless there are many. Changes no
  /// later answer.
  void draw_proof(std::ostream& out);
  /// The proof in each partition of a query, with the sides of its leaves and how the
  /// answered interpolant grew (see PartialInterpolants): calls `take` with one drawing
  /// after the other. Changes no later answer. Throws as interpolants().
  void draw_interpolants(const InterpolationQuery& query, const Interpolants& answer,
                         const std::function<void(const std::string&)>& take);
  // --- the answer for people who ask why; each is for the last UNSAT
  /// Prints the proof: of a conjunction as a tree (see proof_listing.h), of other formulas
  /// as other programs read it (see proof_text.h).
  void dump_proof(std::ostream& out);
  /// Prints for each interpolant of an answer what the proof used and did (see
  /// explanation.h).
  void explain(std::ostream& out, const InterpolationQuery& query,
               const Interpolants& answer);
  /// Writes the five check files of each interpolant of an answer into a folder, which is
  /// made if it is missing, numbered from `number` on; the next number. Throws
  /// SessionError, naming the file, for one that cannot be written.
  std::int32_t write_check_files(const InterpolationQuery& query,
                                 const Interpolants& answer, const std::string& folder,
                                 std::int32_t number);

  // --- equalities between the groups; these need no check
  /// Proves that two groups of assertions imply an equality, and splits the proof by a
  /// shared term. Assumptions count as for interpolants(). Throws SessionError for names as
  /// interpolants() does, for groups that contradict each other, for terms that do not fit
  /// them, for an equality that is not implied (what() has a model in which it fails), and
  /// for one whose proof needs a cut; NotLinear for terms that are not linear, LimitReached
  /// at a limit.
  SharedTerm shared_term(const SharedTermQuery& query);
  /// Has outside solvers confirm the term and both interpolants, as verify() does; throws
  /// as that does.
  VerificationReport verify(const SharedTermQuery& query, const SharedTerm& answer,
                            const std::string& outside_solvers);

  /// Work done and memory used, as name and value, in a fixed order.
  [[nodiscard]] std::vector<std::pair<std::string, double>> statistics() const;

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace opal::host

#endif
