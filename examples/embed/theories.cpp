// Two theories, one interpolant: uninterpreted functions need an equality that arithmetic
// proves, and which mixes A and B.
//
//     A:  y + 1 <= a,  a <= x + 1,  f(a) <= 0      B:  x + 1 <= b,  b <= y + 1,  f(b) >= 1
//
// a is A's and b is B's; x, y and f are shared. The refutation is a = b by arithmetic,
// f(a) = f(b) by congruence, 0 >= f(a) = f(b) >= 1 by arithmetic. For its interpolant
//   1. the proof of a = b is split by a shared term t: a = t becomes A's, b = t B's;
//   2. the congruence goes through t: f(a) = f(t) is A's, f(b) = f(t) is B's, and the rest
//      of the refutation, which mixes nothing any more, has an interpolant J;
//   3. with the interpolants Ia and Ib of a = t and b = t, (Ia or J) and Ib is the answer.
//
// It uses the reference host, whose EqualitySplitter proves the equality, has
// la::Interpolator::split_mixed_proof split it, and completes halves that do not stand
// alone. The host knows no uninterpreted functions, so f(a), f(b) and f(t) are variables
// here, and the steps of congruence, which the solver of the other theory would find, are
// written by hand.
//
// Build it against an installed Opal with
//     g++ -std=c++17 theories.cpp -lopal_host $(pkg-config --cflags --libs opal)

#include <iostream>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "opal/arith/solver.h"
#include "opal/interpolate/equality_split.h"
#include "opal/interpolate/interpolation.h"
#include "opal/linear/linear_form.h"
#include "opal/linear/literals.h"
#include "opal/terms/print/printable_terms.h"
#include "opal/terms/print/printer.h"

using opal::Term_;
using opal::proof::ProofRef;
namespace host = opal::host;
namespace la = opal::la;
using Formulas = std::vector<const Term_*>;

constexpr std::size_t A = 0;
constexpr std::size_t B = 1;

Formulas operator+(Formulas left, const Formulas& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

// The arithmetic of a solver: terms, ids of constraints, decisions, interpolants.
class Arithmetic {
 public:
  const Term_* variable(const std::string& name) {
    return terms.make_variable(name, host::Sort::REAL);
  }
  const Term_* f(const Term_* t) { return variable("f(" + host::term_text(t) + ")"); }

  // A refutation of the conjunction of formulas, or null.
  ProofRef refutation(const Formulas& formulas) {
    la::Solver solver(mapper, limits);
    for (const Term_* formula : formulas)
      for (const Term_* atom : host::conjuncts(terms, formula))
        solver.assert_constraint(mapper.constraint(atom));
    if (solver.check() != la::Solver::Verdict::UNSAT) return ProofRef();
    return solver.refutation();
  }
  bool contradictory(const Formulas& formulas) {
    return refutation(formulas).get() != nullptr;
  }
  const Term_* interpolant(const ProofRef& proof,
                           const std::shared_ptr<const host::Grouping>& groups) {
    host::InterpolationTask task;
    task.grouping = groups;
    return engine_.interpolants(proof.get(), task).terms.at(0);
  }

  host::PrintableTerms terms;
  host::Limits limits;
  host::Mapper mapper{terms, limits};

 private:
  la::Solver solver_{mapper, limits};
  host::Interpolation engine_{terms, solver_, mapper, limits};
};

void print(const std::string& what, const Term_* t) {
  std::cout << what << ": " << host::term_text(t) << '\n';
}

int main() {
  Arithmetic arith;
  host::Terms& terms = arith.terms;
  const Term_* const one = terms.make_number(1);
  const Term_* const a = arith.variable("a");
  const Term_* const b = arith.variable("b");
  const Term_* const x1 = terms.make_plus(arith.variable("x"), one);
  const Term_* const y1 = terms.make_plus(arith.variable("y"), one);
  const Term_* const fa = arith.f(a);
  const Term_* const fb = arith.f(b);
  const Formulas of_A = {terms.make_leq(y1, a), terms.make_leq(a, x1),
                         terms.make_leq(fa, terms.make_number(0))};
  const Formulas of_B = {terms.make_leq(x1, b), terms.make_leq(b, y1),
                         terms.make_leq(one, fb)};
  host::Grouping groups(host::Grouping::sequence(2));
  for (const Term_* atom : of_A)
    groups.add(atom, A);
  for (const Term_* atom : of_B)
    groups.add(atom, B);

  // 1. The equality that congruence asks for. `split` does not prove what does not hold:
  // its other answer would be a model with a /= b.
  host::EqualitySplitter splitter(terms, arith.mapper, arith.limits, groups, of_A + of_B);
  const auto outcome = splitter.split(terms.make_equal(a, b));
  const auto* split = std::get_if<host::EqualitySplit>(&outcome);
  if (split == nullptr || !split->of_A.proof || !split->of_B.proof) {
    std::cerr << "nothing to split\n";
    return 1;
  }
  const Term_* const t = host::sum_term(terms, host::linear_form(split->terms.shared_term));
  const Term_* const i_a = arith.interpolant(split->of_A.proof, splitter.grouping());
  const Term_* const i_b = arith.interpolant(split->of_B.proof, splitter.grouping());

  // 2. What congruence makes of a = t and of b = t, each an atom of one side, and the
  // refutation that rests on both. If that used a = b itself, as an equality between
  // numbers, it would go through splitter.rewritten() first.
  const Term_* const ft = arith.f(t);
  const Term_* const congruent_A = terms.make_equal(fa, ft);
  const Term_* const congruent_B = terms.make_equal(fb, ft);
  const auto all_groups = std::make_shared<host::Grouping>(*splitter.grouping());
  all_groups->add(congruent_A, A);
  all_groups->add(congruent_B, B);
  const ProofRef rest = arith.refutation(of_A + of_B + Formulas{congruent_A, congruent_B});
  if (!rest) {
    std::cerr << "no refutation\n";
    return 1;
  }
  const Term_* const j = arith.interpolant(rest, all_groups);

  // 3. With several equalities, from the last one to the first.
  const Term_* const k = terms.make_and(terms.make_or(i_a, j), i_b);
  print("t", t);
  print("Ia", i_a);
  print("Ib", i_b);
  print("J", j);
  print("K", k);

  // A and not K, and B and K, by cases: of K, and of congruence, by which a /= t or
  // f(a) = f(t) holds, and likewise for b.
  const Term_* const apart_A = terms.make_distinct(a, t);
  const Term_* const apart_B = terms.make_distinct(b, t);
  const auto no = [&](const Term_* formula) { return terms.make_not(formula); };
  const bool follows_from_A = arith.contradictory(of_A + Formulas{no(i_b)}) &&
                              arith.contradictory(of_A + Formulas{apart_A, no(i_a)}) &&
                              arith.contradictory(of_A + Formulas{congruent_A, no(j)});
  const bool contradicts_B = arith.contradictory(of_B + Formulas{i_a}) &&
                             arith.contradictory(of_B + Formulas{apart_B, i_b}) &&
                             arith.contradictory(of_B + Formulas{congruent_B, j});
  const bool shared = all_groups->symbols_colour(k, 0) == host::Grouping::status::SHARED;
  const bool right = follows_from_A && contradicts_B && shared;
  std::cout << (right ? "K is an interpolant\n" : "K is no interpolant\n");
  return right ? 0 : 1;
}
