// Small cores by leaving out.
//
// Each assertion has a guard of its own, and the search is asked with the guards of those
// that are still in question. Where the others contradict each other without an assertion,
// it stays out, and with it all whose guards did not fail; where they have a model, it
// stays in. What the search learns it keeps from one question to the next.
//
//     {x <= 0, y <= 0, x >= 1, x + y <= 0}      without x <= 0: a model, stays in
//                                               without y <= 0: x <= 0, x >= 1 fail
//                                               without x >= 1: a model, stays in
//
// (Chinneck and Dravnieks, "Locating minimal infeasible constraint sets in linear
// programs", 1991: the deletion filter.)

#include <algorithm>
#include <cassert>
#include <chrono>
#include <optional>
#include <vector>

#include "opal/smt/formula_solver.h"
#include "opal/smt/guarded_solver.h"

namespace opal::smt {

namespace {

using Clock = host::Limits::Clock;
using sat::Answer;
using sat::Literal;

// A nearer deadline, until the end of the scope.
class NearerDeadline {
 public:
  NearerDeadline(host::Limits& limits, double seconds)
      : limits_(limits), saved_(limits.deadline()) {
    const Clock::time_point end =
        Clock::now() + std::chrono::duration_cast<Clock::duration>(
                           std::chrono::duration<double>(std::max(0.0, seconds)));
    limits.set_deadline(saved_ ? std::min(*saved_, end) : end);
  }
  ~NearerDeadline() { limits_.set_deadline(saved_); }
  NearerDeadline(const NearerDeadline&) = delete;
  NearerDeadline& operator=(const NearerDeadline&) = delete;

 private:
  host::Limits& limits_;
  const std::optional<Clock::time_point> saved_;
};

struct GuardedFormula {
  std::uint32_t number;
  Literal guard;
};

std::vector<Literal> guards_of(const std::vector<GuardedFormula>& formulas) {
  std::vector<Literal> guards;
  for (const GuardedFormula& formula : formulas)
    guards.push_back(formula.guard);
  return guards;
}

// Of the formulas those whose guards failed in the last search.
void keep_failed(std::vector<GuardedFormula>& formulas, const sat::Search& search) {
  std::vector<Literal> failed = search.failed_assumptions();
  std::sort(failed.begin(), failed.end());
  const auto stays_out = [&](const GuardedFormula& formula) {
    return !std::binary_search(failed.begin(), failed.end(), formula.guard);
  };
  formulas.erase(std::remove_if(formulas.begin(), formulas.end(), stays_out),
                 formulas.end());
}

// Leaves out what can be left out, until a limit is reached.
void minimise(host::Terms& terms, host::Mapper& mapper, host::Limits& limits,
              const std::vector<NumberedFormula>& assertions,
              std::vector<GuardedFormula>& core) {
  GuardedSolver solver(terms, mapper, limits, sat::Recording::OFF);
  sat::Search& search = solver.search();
  std::vector<GuardedFormula> left;
  for (const NumberedFormula& assertion : assertions) {
    left.push_back({assertion.number, solver.make_guard()});
    solver.add(assertion.formula, assertion.number, left.back().guard);
  }
  if (search.solve(guards_of(left)) != Answer::UNSATISFIABLE) return;
  keep_failed(left, search);
  core = left;
  std::size_t needed = 0;  // of `core`, how many of the first ones cannot be left out
  while (needed < core.size()) {
    limits.look();
    left = core;
    left.erase(left.begin() + static_cast<std::ptrdiff_t>(needed));
    if (search.solve(guards_of(left)) != Answer::UNSATISFIABLE) {
      needed++;
      continue;
    }
    keep_failed(left, search);
    core = left;
  }
}

}  // namespace

std::vector<std::uint32_t> minimised_core(host::Terms& terms, host::Mapper& mapper,
                                          host::Limits& limits,
                                          const std::vector<NumberedFormula>& assertions,
                                          CoreEffort effort) {
  std::vector<GuardedFormula> core;
  for (const NumberedFormula& assertion : assertions)
    core.push_back({assertion.number, Literal()});
  try {
    const NearerDeadline deadline(limits, effort.seconds);
    minimise(terms, mapper, limits, assertions, core);
  } catch (const host::LimitReached&) {  // the effort's, unless a look at the others throws
  }
  limits.look();
  std::vector<std::uint32_t> numbers;
  for (const GuardedFormula& formula : core)
    numbers.push_back(formula.number);
  std::sort(numbers.begin(), numbers.end());
  return numbers;
}

}  // namespace opal::smt
