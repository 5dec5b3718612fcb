// What nodes of rational proofs give back at their end.

#include "opal/interfaces/la_proof.h"

namespace opal::la {

const QNumber LaComb::one(1);

LaComb::~LaComb() {
  delete coeff1;
  delete coeff2;
  release(premise1);
  release(premise2);
}

LaCombImp::~LaCombImp() { release(premise); }

LaNeq::~LaNeq() {
  release(case1);
  release(case2);
}

}  // namespace opal::la
