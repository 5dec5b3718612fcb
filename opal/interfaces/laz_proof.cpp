#include "opal/interfaces/laz_proof.h"

namespace opal::laz {

LaZInternalBBProof::~LaZInternalBBProof() {
  release(left);
  release(right);
}

}  // namespace opal::laz
