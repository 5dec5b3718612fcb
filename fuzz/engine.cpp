// Random proofs, valid by construction: the engine's answers are right. Changed ones: it
// answers something or throws its own exception, in every mode and style of cuts.

#include "fuzz/mutation.h"
#include "opal/interfaces/exception.h"
#include "tests/engine/random_problem.h"

using opal::small::Probe;
using opal::small::RandomProblem;

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  // What the problem's own check finds ends the process.
  testing::GTEST_FLAG(break_on_failure) = true;
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  opal::fuzz::Bytes bytes(data, size);
  const auto seed = static_cast<unsigned>(bytes.byte() | bytes.byte() << 8);
  const auto sorts = static_cast<RandomProblem::Sorts>(bytes.below(3));
  const auto mode = static_cast<Probe::Mode>(bytes.below(3));
  const bool floor_cuts = bytes.below(2) == 1;
  RandomProblem::Figures figures;
  RandomProblem problem(seed, sorts, figures);
  opal::fuzz::Mutation mutation(bytes, problem.mapper->last_id(), *problem.mapper);
  const opal::proof::ProofRef changed(mutation.copy(problem.root()));
  Probe probe(problem, mode, floor_cuts);
  try {
    const opal::Term_* const answer =
        probe.get_interpolant(&problem.classifier, changed.get());
    if (!mutation.changed()) problem.check(answer);
  } catch (const opal::Exception&) {
    opal::fuzz::expect(mutation.changed(), "a right proof is refused");
  }
  // Afterwards the next request is answered as if nothing had been.
  problem.check(probe.get_interpolant(&problem.classifier, problem.root()));
  return 0;
}
