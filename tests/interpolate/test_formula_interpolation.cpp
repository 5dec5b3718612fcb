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
  const long rounds = 40;
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
}

// One change in a leaf or a step: a literal left out, turned round or put in, another
// assertion, another antecedent.
resolution::ClauseRefutation changed(const resolution::ClauseRefutation& given,
                                     std::size_t assertions, std::mt19937_64& random) {
  const resolution::ClauseProof& proof = given.proof;
  resolution::ClauseRefutation result{{}, given.meanings, given.definitions};
  const auto at = static_cast<resolution::NodeIndex>(random() % proof.size());
  const std::size_t how = random() % 4;
  for (resolution::NodeIndex node = 0; node < proof.size(); ++node) {
    if (proof.kind(node) == resolution::NodeKind::CHAIN) {
      result.proof.begin_chain(proof.first(node));
      const std::size_t step_at =
          random() % std::max<std::size_t>(1, proof.steps(node).size());
      std::size_t i = 0;
      for (const resolution::Step& step : proof.steps(node)) {
        const bool here = node == at && i++ == step_at;
        result.proof.add_step(here && how == 1 ? ~step.pivot : step.pivot,
                              here && how != 1
                                  ? static_cast<resolution::NodeIndex>(random() % node)
                                  : step.antecedent);
      }
      continue;
    }
    std::vector<resolution::Literal> literals(proof.literals(node).begin(),
                                              proof.literals(node).end());
    resolution::Tag tag = proof.tag(node);
    if (node == at && !literals.empty()) {
      resolution::Literal& one = literals[random() % literals.size()];
      if (how == 0) literals.erase(literals.begin() + (&one - literals.data()));
      if (how == 1) one = ~one;
      if (how == 2) tag = static_cast<resolution::Tag>(random() % assertions);
      if (how == 3)
        literals.push_back(resolution::Literal::of_code(
            static_cast<std::uint32_t>(random() % (2 * proof.variable_end()))));
    }
    result.proof.add_leaf(proof.kind(node), literals, tag);
  }
  return result;
}

TEST_P(RandomFormulas, WhatTheCheckerAcceptsIsRight) {
  FormulaInterpolation interpolation(t, mapper, limits);
  std::size_t refused = 0;
  std::size_t accepted = 0;
  for (long round = 0; round < 15 && !HasFailure(); ++round) {
    draw(GetParam().integers, GetParam().tree);
    FormulaSolver solver(t, mapper, limits);
    for (std::size_t f = 0; f < task.formulas.size(); ++f)
      solver.assert_formula(task.formulas[f], static_cast<std::uint32_t>(f));
    ASSERT_EQ(solver.check(), FormulaSolver::Verdict::UNSAT);
    for (long change = 0; change < 12; ++change) {
      const auto mutant = changed(solver.refutation(), task.formulas.size(), random);
      if (interpolation.fault(mutant, task)) {
        ++refused;
        continue;
      }
      ++accepted;
      judge(interpolation.interpolants(mutant, task).terms);
    }
  }
  EXPECT_GT(refused, accepted);
}

INSTANTIATE_TEST_SUITE_P(Families, RandomFormulas,
                         testing::Values(Family{"IntSequences", true, false},
                                         Family{"RealSequences", false, false},
                                         Family{"IntTrees", true, true},
                                         Family{"RealTrees", false, true}),
                         [](const auto& family) { return std::string(family.param.name); });

}  // namespace
}  // namespace opal::host
