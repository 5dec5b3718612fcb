#ifndef OPAL_EXPLAIN_CHECK_SCRIPTS_H
#define OPAL_EXPLAIN_CHECK_SCRIPTS_H

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "opal/interfaces/proof.h"
#include "opal/interpolate/partition.h"
#include "opal/linear/mapper.h"
#include "opal/terms/terms.h"

namespace opal::host {

/// A check file, or the folder for it, that cannot be written; what() says which and why.
class CheckFileError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The two sides of a partition, as the atoms of each that an interpolant rests on. An atom
/// of both sides stands in both.
struct Sides {
  std::vector<const Term_*> of_A;
  std::vector<const Term_*> of_B;
};
/// The asserted atoms that a refutation uses, those of its cuts and equality sub-proofs
/// included, by their sides in the partition of `root`. Branches are no assertions.
Sides sides_of(const proof::Proof& proof, const Grouping& grouping, std::size_t root,
               const Mapper& mapper);

/// Writes the check files (see la::Interpolator::write_check_files) of an interpolant into
/// a folder, which is made if it is missing. Throws CheckFileError.
void write_check_files(Terms& terms, Mapper& mapper, const Sides& sides,
                       const Term_* interpolant, const std::string& folder,
                       std::int32_t number);

}  // namespace opal::host

#endif
