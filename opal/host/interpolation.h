#ifndef OPAL_HOST_INTERPOLATION_H
#define OPAL_HOST_INTERPOLATION_H

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "opal/host/mapper.h"
#include "opal/host/partition.h"
#include "opal/host/solver.h"
#include "opal/host/terms.h"
#include "opal/la/interpolator.h"

namespace opal::host {

/// How interpolants are built from a proof: the sum of A's part, the conjunction of its
/// unlinked parts, the negation of the sum of B's part, or the smallest of these.
enum class Mode : std::uint8_t { SUM, CONJ, DUAL, AUTO };
/// The mode of a name ("sum", "conj", "dual", "auto"), or nothing.
std::optional<Mode> mode_of(std::string_view name);
const char* to_string(Mode mode);

/// Interpolants of one query, with what they cost.
struct Interpolants {
  std::vector<const Term_*> terms;  // one per group but the root, in post-order
  Mode mode = Mode::SUM;            // the one that was used, never AUTO
  std::size_t raw_size = 0;         // distinct sub-terms in all, as built
  std::size_t size = 0;             // and as answered
  double engine_seconds = 0;        // spent in the engine, all modes
};

/// Asks the engine for the interpolants of a query. Keeps one interpolator per mode.
class Interpolation {
 public:
  /// Keeps references to all.
  Interpolation(Terms& terms, la::Solver& solver, Mapper& mapper);

  /// The interpolants of all partitions of `grouping` from one proof, all in one mode (so
  /// that they fit together). AUTO tries each mode that fits and takes the one with the
  /// fewest distinct sub-terms; the earlier mode wins a tie. `raw` leaves terms as built.
  /// Throws std::invalid_argument for DUAL on a tree that is no sequence (the interpolants
  /// of siblings would not imply their parent's), opal::Exception for an impossible proof,
  /// LimitReached at a limit.
  Interpolants interpolants(proof::Proof* proof,
                            const std::shared_ptr<const Grouping>& grouping, Mode mode,
                            bool raw);

 private:
  std::vector<const Term_*> raw_interpolants(
      proof::Proof* proof, const std::shared_ptr<const Grouping>& grouping, Mode mode);

  Terms& terms_;
  std::array<std::unique_ptr<la::Interpolator>, 3> interpolators_;  // by Mode
};

}  // namespace opal::host

#endif
