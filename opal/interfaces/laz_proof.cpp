// What nodes of integer proofs give back at their end.

#include "opal/interfaces/laz_proof.h"

namespace opal::laz {

LaZInternalBBProof::~LaZInternalBBProof() {
  release(left);
  release(right);
}

}  // namespace opal::laz
