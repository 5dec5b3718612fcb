#ifndef OPAL_TESTS_HOST_PROOFS_H
#define OPAL_TESTS_HOST_PROOFS_H

// Small asserted problems with proofs built by hand.

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "opal/checker/proof_checker.h"
#include "opal/interfaces/la_proof.h"
#include "opal/interfaces/laz_proof.h"
#include "opal/interpolate/partition.h"
#include "tests/host/fixture.h"

namespace opal::host {

using la::LinearTerm;
using proof::Proof;
using proof::ProofRef;
using Ids = std::vector<int>;
using Weights = std::vector<QNumber>;

// A mapper that misreports one constraint.
class LyingMapper final : public la::ItpLinearTermMapper {
 public:
  LyingMapper(Mapper& honest, int id, LinearTerm lie)
      : honest_(honest), id_(id), lie_(std::move(lie)) {}
  LinearTerm linear_term(int id) override {
    return id == id_ ? lie_ : honest_.linear_term(id);
  }
  LinearTerm bb_linear_term(TheoryLit, int id) override { return linear_term(id); }
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
  const LinearTerm lie_;
};

class Proofs : public HostTest {
 protected:
  // The constraint of an atom, which is asserted on a side: 'A', 'B', or '-' for neither.
  int assert_on(char side, const Term_* atom) {
    if (side != '-') {
      asserted.push_back(atom);
      grouping->add(atom, side == 'A' ? 0 : 1);
    }
    return mapper.constraint(atom);
  }

  static Proof* hyp(int id, int sign = 0) { return new la::LaHyp(id, sign); }
  // c = 1 is a null multiplier.
  static Proof* comb(long c1, Proof* p1, long c2, Proof* p2) {
    const auto multiplier = [](long c) { return c == 1 ? nullptr : new QNumber(c); };
    return new la::LaComb(multiplier(c1), p1, multiplier(c2), p2, 0, 0, 0);
  }
  Proof* cut(Ids ids, Weights multipliers, const QNumber& k, int var = 0) {
    return new laz::LaZTighteningProof(std::move(ids), std::move(multipliers), k,
                                       var != 0 ? var : mapper.cut_variable());
  }
  static Proof* equalities(Ids ids, Weights multipliers) {
    return new laz::LaZEqSubProof(std::move(ids), std::move(multipliers));
  }
  // a*v + b*w related to c; nullptr for no variable
  LinearTerm bound(int kind, const Term_* v, const QNumber& c, const QNumber& a = 1,
                   const Term_* w = nullptr, const QNumber& b = 1) {
    la::Equation vars;
    if (v != nullptr) vars.add_var(a, mapper.variable(v));
    if (w != nullptr) vars.add_var(b, mapper.variable(w));
    return {kind, vars, c};
  }
  int below(const Term_* v, long c) {
    return mapper.branch_constraint(bound(LinearTerm::LEQ, v, c));
  }
  int above(const Term_* v, long c) {
    return mapper.branch_constraint(bound(LinearTerm::GEQ, v, c));
  }
  static Proof* node(Proof* l, Proof* r, int l_id, int r_id, const LinearTerm& l_term,
                     const LinearTerm& r_term) {
    return new laz::LaZInternalBBProof(l, r, l_id, r_id, l_term, r_term);
  }
  Proof* branches(const Term_* v, long c, Proof* l, Proof* r) {
    return node(l, r, below(v, c), above(v, c + 1), bound(LinearTerm::LEQ, v, c),
                bound(LinearTerm::GEQ, v, c + 1));
  }

  // What the checker says, "" for a sound proof. Releases the proof.
  std::string verdict(Proof* root) { return verdict(root, mapper); }
  std::string verdict(Proof* root, la::ItpLinearTermMapper& by) {
    const ProofRef owner(root);
    return ProofChecker(by, asserted).check(root).value_or("");
  }
  std::string verdict_on_sides(Proof* root, const itp::TheoryAtomClassifier& sides) {
    const ProofRef owner(root);
    return ProofChecker(mapper, asserted).check_partition(root, sides).value_or("");
  }
  std::shared_ptr<Partition> sides() { return std::make_shared<Partition>(grouping, 0); }

  Atoms asserted;
  std::shared_ptr<Grouping> grouping = std::make_shared<Grouping>(Grouping::sequence(2));
};

}  // namespace opal::host

#endif
