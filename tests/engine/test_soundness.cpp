// Interpolants of random proofs, checked at points of a box.

#include <cstdlib>
#include <iostream>

#include "tests/engine/random_problem.h"

namespace opal::small {
namespace {

// Most problems must have points on both sides, or the check says little.
TEST(Soundness, InterpolantsHoldWhereAHoldsAndFailWhereBHolds) {
  const char* const scale = std::getenv("OPAL_RANDOM_SCALE");
  const unsigned factor =
      scale == nullptr ? 1 : static_cast<unsigned>(std::max(1, std::atoi(scale)));
  for (const auto& [sorts, problems] : {std::pair(RandomProblem::INTEGERS, 300U),
                                        {RandomProblem::BOTH, 120U},
                                        {RandomProblem::REALS, 150U}}) {
    RandomProblem::Figures f;
    std::size_t points = 0;
    unsigned both_hold = 0;
    for (unsigned seed = 0; seed < problems * factor; ++seed) {
      RandomProblem problem(seed, sorts, f);
      for (const auto mode : {Probe::MODE_SUM, Probe::MODE_CONJ, Probe::MODE_DUAL})
        for (const bool floor_cuts : {false, true}) {
          SCOPED_TRACE("seed " + std::to_string(seed) + " mode " + std::to_string(mode) +
                       (floor_cuts ? " floor" : " modular"));
          Probe probe(problem, mode, floor_cuts);
          problem.check(probe.get_interpolant(&problem.classifier, problem.root()));
          if (HasFatalFailure()) return;
        }
      points += problem.points(true).size() + problem.points(false).size();
      if (!problem.points(true).empty() && !problem.points(false).empty()) ++both_hold;
    }
    std::cout << problems * factor << " problems of sorts " << sorts << ": " << f.cuts
              << " cuts, " << f.branches << " branches, " << f.equality_proofs
              << " equality proofs, " << f.disequalities << " disequalities, "
              << f.implications << " implications, " << points << " points, both sides at "
              << both_hold << "\n";
    EXPECT_GT(both_hold, problems * factor / 4);
  }
}

}  // namespace
}  // namespace opal::small
