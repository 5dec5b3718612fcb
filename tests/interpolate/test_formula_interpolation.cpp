// Interpolants of refutations of formulas: every strength, mode and style, on pairs,
// sequences and trees.

#include <map>

#include "tests/interpolate/random_formulas.h"

namespace opal::host {
namespace {

struct Family {
  const char* name;
  bool integers;
  bool tree;
};

class RandomFormulas : public FormulaTest, public testing::WithParamInterface<Family> {};

TEST_P(RandomFormulas, AllSystemsFit) {
  const long rounds = 60;
  std::map<Strength, std::size_t> sizes;
  std::size_t raw_size = 0;
  FormulaInterpolation interpolation(t, mapper, limits);
  for (long round = 0; round < rounds && !HasFailure(); ++round) {
    draw(GetParam().integers, GetParam().tree);
    FormulaSolver solver(t, mapper, limits);
    for (std::size_t f = 0; f < task.formulas.size(); ++f)
      solver.assert_formula(task.formulas[f], static_cast<std::uint32_t>(f));
    SCOPED_TRACE(text());
    ASSERT_EQ(solver.check(), FormulaSolver::Verdict::UNSAT);
    const auto& refutation = solver.refutation();
    EXPECT_EQ(interpolation.fault(refutation, task), std::nullopt);
    const bool is_sequence = Grouping(task.first).is_sequence();
    for (const Strength strength :
         {Strength::STRONG, Strength::MIDDLE, Strength::WEAK, Strength::AUTO}) {
      if (strength == Strength::WEAK && !is_sequence) continue;
      task.strength = strength;
      task.mode = Mode::AUTO;
      task.cuts = Cuts::AUTO;
      for (const bool raw : {false, true}) {
        task.raw = raw;
        const Interpolants answer = interpolation.interpolants(refutation, task);
        SCOPED_TRACE(std::string(to_string(strength)) + (raw ? " raw" : ""));
        judge(answer.terms);
        if (!raw) sizes[strength] += answer.size;
        if (raw && strength == Strength::STRONG) raw_size += answer.size;
      }
      for (const Mode mode : {Mode::SUM, Mode::CONJ, Mode::DUAL}) {
        if (mode == Mode::DUAL && !is_sequence) continue;
        task.mode = mode;
        task.cuts = Cuts::FLOOR;
        SCOPED_TRACE(std::string(to_string(strength)) + " " + to_string(mode));
        judge(interpolation.interpolants(refutation, task).terms);
      }
    }
  }
  for (const auto& [strength, size] : sizes)
    RecordProperty(to_string(strength), static_cast<int>(size));
  RecordProperty("raw", static_cast<int>(raw_size));
  std::string line = "raw strong " + std::to_string(raw_size);
  for (const auto& [strength, size] : sizes)
    line += std::string(" ") + to_string(strength) + " " + std::to_string(size);
  std::puts(line.c_str());
}

INSTANTIATE_TEST_SUITE_P(Families, RandomFormulas,
                         testing::Values(Family{"IntSequences", true, false},
                                         Family{"RealSequences", false, false},
                                         Family{"IntTrees", true, true},
                                         Family{"RealTrees", false, true}),
                         [](const auto& family) { return std::string(family.param.name); });

}  // namespace
}  // namespace opal::host
