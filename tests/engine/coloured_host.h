#ifndef OPAL_TESTS_ENGINE_COLOURED_HOST_H
#define OPAL_TESTS_ENGINE_COLOURED_HOST_H

// A small host with coloured variables, and short names for nodes of proofs.

#include "tests/engine/small_host.h"

namespace opal::small {

constexpr int LT = 0, LEQ = 1, EQ = 2, NEQ = 3, GEQ = 4, GT = 5;
constexpr auto A = Status::A_LOCAL, B = Status::B_LOCAL, AB = Status::SHARED,
               MIXED = Status::AB_MIXED, UNKNOWN = Status::UNKNOWN;

inline Proof* hyp(int id, int sign = 0) { return new la::LaHyp(id, sign); }
inline Proof* cut(std::vector<int> ids, std::vector<QNumber> multipliers, long k,
                  int var = 100) {
  return new laz::LaZTighteningProof(std::move(ids), std::move(multipliers), k, var);
}
inline Proof* equalities(std::vector<int> ids, std::vector<QNumber> multipliers) {
  return new laz::LaZEqSubProof(std::move(ids), std::move(multipliers));
}
inline Proof* plus(Proof* p, Proof* q) { return comb(nullptr, p, nullptr, q); }
inline Proof* sum(const std::vector<Proof*>& leaves) {
  Proof* result = hyp(Mapper::ZERO);
  for (Proof* leaf : leaves)
    result = plus(result, leaf);
  return result;
}

// x2 and x3 are A's, x4 and x5 shared, x6 and x7 B's; x100 and x101 stand for cuts.
struct ColouredHost : Host {
  ColouredHost() {
    terms.any_flag = true;
    mapper->first_definition = 500;
    const Status colours[] = {A, A, AB, AB, B, B};
    for (int v = 2; v < 8; ++v)
      mapper->set_variable_colour(v, colours[v - 2]);
  }
  int add(int kind, const Row& coeffs, const QNumber& c, Status colour) {
    return mapper->add(kind, coeffs, c, colour);
  }
  /// A branch on two constraints of the mapper.
  Proof* branch(Proof* l, Proof* r, int l_id, int r_id) {
    return new laz::LaZInternalBBProof(l, r, l_id, r_id, mapper->linear_term(l_id),
                                       mapper->linear_term(r_id));
  }
  std::string interpolant(Proof* proof, bool floor_cuts = false) {
    const ProofRef root(proof);
    Probe probe(*this, Probe::MODE_SUM, floor_cuts);
    const std::string text = Terms::text(probe.get_interpolant(&classifier, root.get()));
    EXPECT_TRUE(probe.tight_vars_.empty() && probe.side_constraints_.empty());
    return text;
  }
};

}  // namespace opal::small

#endif
