// Interpolants of random integer and mixed proofs, checked at all points of a box.

#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>

#include "tests/engine/integer_problems.h"

namespace opal::small {
namespace {

struct Figures {
  int cuts = 0, branches = 0, equality_proofs = 0, disequalities = 0;
  int both_sides_hold = 0, interpolants = 0;
  std::size_t points = 0;
};

void run(unsigned first, unsigned count, bool mixed, Figures& figures) {
  for (unsigned seed = first; seed < first + count && !testing::Test::HasFatalFailure();
       ++seed) {
    IntegerProblem problem(seed, mixed);
    problem.try_box();
    for (const auto mode : {Probe::MODE_SUM, Probe::MODE_CONJ, Probe::MODE_DUAL})
      for (const bool floor_cuts : {false, true}) {
        SCOPED_TRACE("seed " + std::to_string(seed) + " mode " + std::to_string(mode) +
                     (floor_cuts ? " floor" : " modular") + (mixed ? " mixed" : ""));
        Probe probe(problem, mode, floor_cuts);
        problem.check(probe.get_interpolant(&problem.classifier, problem.root()));
        ++figures.interpolants;
      }
    figures.cuts += problem.cuts;
    figures.branches += problem.branches;
    figures.equality_proofs += problem.equality_proofs;
    figures.disequalities += problem.disequalities;
    figures.both_sides_hold += problem.both_sides_hold() ? 1 : 0;
    figures.points += problem.points();
  }
}

// Most problems must have points on both sides, or the check says little.
TEST(IntegerSoundness, InterpolantsHoldWhereAHoldsAndFailWhereBHolds) {
  const char* const scale = std::getenv("OPAL_RANDOM_SCALE");
  const int factor = scale == nullptr ? 1 : std::atoi(scale);
  const unsigned times = factor < 1 ? 1 : static_cast<unsigned>(factor);
  for (const bool mixed : {false, true}) {
    Figures f;
    const unsigned count = (mixed ? 120 : 300) * times;
    run(0, count, mixed, f);
    std::cout << count << (mixed ? " mixed" : " integer") << " problems: " << f.cuts
              << " cuts, " << f.branches << " branches, " << f.equality_proofs
              << " equality proofs, " << f.disequalities << " disequalities, "
              << f.interpolants << " interpolants, " << f.points
              << " points, both sides at " << f.both_sides_hold << "\n";
    EXPECT_GT(f.both_sides_hold, static_cast<int>(count / 4));
  }
}

}  // namespace
}  // namespace opal::small
