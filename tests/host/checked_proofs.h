#ifndef OPAL_TESTS_HOST_CHECKED_PROOFS_H
#define OPAL_TESTS_HOST_CHECKED_PROOFS_H

// Small asserted problems with proofs built by hand, for the tests of the proof checker.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "opal/host/evaluator.h"
#include "opal/host/mapper.h"
#include "opal/host/partition.h"
#include "opal/host/proof_checker.h"
#include "opal/interfaces/la_proof.h"
#include "opal/interfaces/laz_proof.h"
#include "opal/la/interpolator.h"

namespace opal::host {

using proof::Proof;
using proof::ProofRef;
using status = itp::TheoryAtomClassifier::status;

// A mapper that misreports one constraint.
class LyingMapper final : public la::ItpLinearTermMapper {
 public:
  LyingMapper(Mapper& honest, int id, la::LinearTerm lie)
      : honest_(honest), id_(id), lie_(std::move(lie)) {}
  la::LinearTerm linear_term(int id) override {
    return id == id_ ? lie_ : honest_.linear_term(id);
  }
  la::LinearTerm bb_linear_term(TheoryLit, int id) override { return linear_term(id); }
  int lit_constraint(TheoryLit lit) override { return honest_.lit_constraint(lit); }
  TheoryLit constraint_lit(int id) override { return honest_.constraint_lit(id); }
  const Term_* var_term(int var) override { return honest_.var_term(var); }
  int term_var(const Term_* t, bool make) override { return honest_.term_var(t, make); }
  int atom_constraint(const Term_* atom) override { return honest_.atom_constraint(atom); }
  int term_def_var(const Term_* t) override { return honest_.term_def_var(t); }
  int delta_var() override { return Mapper::DELTA_VAR; }
  int zero_constraint() override { return Mapper::ZERO_CONSTRAINT; }

 private:
  Mapper& honest_;
  const int id_;
  const la::LinearTerm lie_;
};

class CheckedProofs : public testing::Test {
 protected:
  // The constraint of an atom, which is asserted on a side: 'A', 'B', or '-' for neither.
  int assert_on(char side, const Term_* atom) {
    if (side != '-') {
      asserted.push_back(atom);
      grouping->add(atom, side == 'A' ? 0 : 1);
    }
    return mapper.constraint(atom);
  }
  const Term_* num(long a) { return t.make_number(QNumber(a)); }
  const Term_* times(long a, const Term_* v) { return t.make_times(num(a), v); }

  static Proof* hyp(int id, int sign = 0) { return new la::LaHyp(id, sign); }
  // c = 1 is a null multiplier.
  static Proof* comb(long c1, Proof* p1, long c2, Proof* p2) {
    const auto multiplier = [](long c) { return c == 1 ? nullptr : new QNumber(c); };
    return new la::LaComb(multiplier(c1), p1, multiplier(c2), p2, 0, 0, 0);
  }

  // What the checker says, "" for a sound proof. Releases the proof.
  std::string verdict(Proof* root) {
    const ProofRef owner(root);
    return ProofChecker(mapper, asserted).check(root).value_or("");
  }
  const Term_* interpolant(Proof* root, std::shared_ptr<itp::AtomColouring> colours,
                           la::Interpolator::Mode mode = la::Interpolator::MODE_SUM) {
    const ProofRef owner(root);
    itp::TheoryAtomClassifier classifier(std::move(colours));
    return la::Interpolator(&t, nullptr, &mapper, mode, false)
        .get_interpolant(&classifier, root);
  }
  std::shared_ptr<Partition> sides() { return std::make_shared<Partition>(grouping, 0); }
  Model point(long at_x, long at_y = 0) { return {{x, QNumber(at_x)}, {y, QNumber(at_y)}}; }

  Terms t;
  Limits limits;
  Mapper mapper{t, limits};
  std::vector<const Term_*> asserted;
  std::shared_ptr<Grouping> grouping = std::make_shared<Grouping>(Grouping::sequence(2));
  const Term_* x = t.make_variable("x", Sort::REAL);
  const Term_* y = t.make_variable("y", Sort::REAL);
};

}  // namespace opal::host

#endif
