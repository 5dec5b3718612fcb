// Refutations of the host's solver, changed: the checker refuses them, or they prove what
// they claim and their interpolants separate the two sides at every point of a box.

#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "fuzz/mutation.h"
#include "opal/checker/proof_checker.h"
#include "opal/interpolate/interpolation.h"
#include "opal/interpolate/partition.h"
#include "opal/linear/literals.h"
#include "opal/proofs/farkas.h"
#include "opal/terms/evaluator.h"
#include "opal/terms/print/printable_terms.h"

namespace {

using namespace opal;
using fuzz::Bytes;
using fuzz::expect;
using host::Sort;

constexpr std::size_t VARIABLES = 4;

struct Problem {
  explicit Problem(Bytes& bytes) : sort(bytes.below(2) == 0 ? Sort::REAL : Sort::INT) {
    terms.set_limits(&limits);
    for (std::size_t v = 0; v < VARIABLES; ++v)
      variables.push_back(terms.make_variable("x" + std::to_string(v), sort));
    for (unsigned i = 3 + bytes.below(8); i > 0; --i)
      add(bytes);
  }

  // A's are x0 to x2, B's x1 to x3.
  void add(Bytes& bytes) {
    const unsigned side = bytes.below(2);
    const Term_* sum = number(static_cast<long>(bytes.below(9)) - 4);
    for (std::size_t v = side; v < side + 3; ++v) {
      const long c = static_cast<long>(bytes.below(7)) - 3;
      if (c != 0) sum = terms.make_plus(sum, terms.make_times(number(c), variables[v]));
    }
    const Term_* const zero = number(0);
    const unsigned kind = bytes.below(sort == Sort::REAL ? 4 : 3);
    const Term_* atom = kind == 0   ? terms.make_leq(zero, sum)
                        : kind == 1 ? terms.make_equal(zero, sum)
                        : kind == 2 ? terms.make_not(terms.make_equal(zero, sum))
                                    : terms.make_lt(zero, sum);
    for (const Term_* literal : host::conjuncts(terms, atom)) {
      atoms[side].push_back(literal);
      all.push_back(literal);
      grouping->add(literal, side);
      solver.assert_constraint(mapper.constraint(literal));
    }
  }
  const Term_* number(long n) { return terms.make_number(QNumber(n)); }

  Sort sort;
  host::PrintableTerms terms;
  host::Limits limits;
  host::Mapper mapper{terms, limits};
  la::Solver solver{mapper, limits};
  std::shared_ptr<host::Grouping> grouping =
      std::make_shared<host::Grouping>(host::Grouping::sequence(2));
  std::vector<const Term_*> variables;
  std::vector<const Term_*> atoms[2];
  std::vector<const Term_*> all;
};

// The greatest id among the atoms and in a proof.
int last_id(Problem& problem, const proof::Proof& root) {
  int last = 0;
  for (const Term_* atom : problem.all)
    last = std::max(last, problem.mapper.constraint(atom));
  for (const int id : host::proof_constraints(root))
    last = std::max(last, id);
  return last;
}

void check_points(Problem& problem, const Term_* interpolant) {
  const auto all_hold = [](const std::vector<const Term_*>& formulas,
                           const host::Model& m) {
    return std::all_of(formulas.begin(), formulas.end(),
                       [&](const Term_* f) { return host::holds(f, m); });
  };
  for (int point = 0; point < 625; ++point) {
    host::Model model;
    for (int v = 0, rest = point; v < 4; ++v, rest /= 5)
      model[problem.variables[static_cast<std::size_t>(v)]] = QNumber(rest % 5 - 2);
    const bool is_true = host::holds(interpolant, model);
    expect(is_true || !all_hold(problem.atoms[0], model), "A does not imply the answer");
    expect(!is_true || !all_hold(problem.atoms[1], model),
           "the answer is consistent with B");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Bytes bytes(data, size);
  host::InterpolationTask task;
  task.mode = static_cast<host::Mode>(bytes.below(4));
  task.cuts = static_cast<host::Cuts>(bytes.below(3));
  task.raw = bytes.below(2) == 0;
  Problem problem(bytes);
  problem.limits.set_deadline(host::Limits::Clock::now() + std::chrono::seconds(1));
  try {
    if (problem.solver.check() != la::Solver::Verdict::UNSAT) return 0;
    const proof::ProofRef root = problem.solver.refutation();
    fuzz::Mutation mutation(bytes, last_id(problem, *root), problem.mapper);
    const proof::ProofRef changed(mutation.copy(root.get()));
    host::ProofChecker checker(problem.mapper, problem.all);
    const auto refused = checker.check(changed.get());
    expect(!refused || mutation.changed(), refused.value_or("").c_str());
    if (refused) return 0;
    host::Interpolation interpolation(problem.terms, problem.solver, problem.mapper,
                                      problem.limits);
    if (interpolation.fault(changed.get(), problem.grouping, checker)) return 0;
    task.grouping = problem.grouping;
    for (const Term_* answer : interpolation.interpolants(changed.get(), task).terms)
      check_points(problem, answer);
  } catch (const host::LimitReached&) {
  }
  return 0;
}
