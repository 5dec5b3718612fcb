#ifndef OPAL_INTERPOLATE_INTERPOLATION_H
#define OPAL_INTERPOLATE_INTERPOLATION_H

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "opal/arith/solver.h"
#include "opal/base/limits.h"
#include "opal/checker/proof_checker.h"
#include "opal/interpolate/partition.h"
#include "opal/interpolate/strength.h"
#include "opal/la/interpolator.h"
#include "opal/linear/mapper.h"
#include "opal/terms/terms.h"

namespace opal::host {

/// How interpolants are built from a proof: the sum of A's part, the conjunction of its
/// unlinked parts, the negation of the sum of B's part, or the smallest of these.
enum class Mode : std::uint8_t { SUM, CONJ, DUAL, AUTO };
/// The mode of a name ("sum", "conj", "dual", "auto"), or nothing.
std::optional<Mode> mode_of(std::string_view name);
const char* to_string(Mode mode);

/// How cuts are expressed: by congruences over the values that they can take, by floors, or
/// by whichever gives the smaller interpolants.
enum class Cuts : std::uint8_t { MODULAR, FLOOR, AUTO };
/// The style of a name ("modular", "floor", "auto"), or nothing.
std::optional<Cuts> cuts_of(std::string_view name);
const char* to_string(Cuts cuts);

/// A mode or a style that does not fit the groups and the proof; what() says why.
class UnfitStyle : public std::invalid_argument {
 public:
  using std::invalid_argument::invalid_argument;
};

/// What is asked of a refutation.
struct InterpolationTask {
  std::shared_ptr<const Grouping> grouping;
  /// The atoms of each group, those of the background included. May be empty: then
  /// whether one of two groups is contradictory by itself is only seen from the proof.
  std::vector<std::vector<const Term_*>> atoms;
  Mode mode = Mode::AUTO;
  Cuts cuts = Cuts::AUTO;
  bool raw = false;  // leaves terms as built
};

/// Where an answer comes from: the proof, by the engine; or the fact that one of two groups
/// is contradictory by itself, which the proof shows or which was decided.
enum class Origin : std::uint8_t { PROOF, PROOF_OF_ONE_SIDE, DECISION_OF_ONE_SIDE };

/// Why cuts are expressed as they are: as the task says; nothing depends on it, since no
/// cut mixes both sides; more than two groups, or too many values of cuts, for congruences;
/// or both styles were tried.
enum class CutsReason : std::uint8_t { ASKED, NO_MIXED_CUT, GROUPS, VALUES, TRIED };

/// Interpolants of one query, with what they cost.
struct Interpolants {
  /// An answer that was looked at, with its size.
  struct Candidate {
    Mode mode;
    Cuts cuts;
    std::size_t size;
    Strength strength = Strength::STRONG;  // of formulas
  };

  std::vector<const Term_*> terms;  // one per group but the root, in post-order
  Mode mode = Mode::SUM;            // that was used; AUTO when lemmas of formulas differ
  Cuts cuts = Cuts::MODULAR;        // likewise; MODULAR for a proof without cuts
  Strength strength = Strength::STRONG;  // that was used, of formulas; never AUTO
  std::size_t raw_size = 0;              // distinct sub-terms in all, as built
  std::size_t size = 0;                  // and as answered
  double engine_seconds = 0;             // spent in the engine, all modes and styles
  Origin origin = Origin::PROOF;
  CutsReason cuts_reason = CutsReason::ASKED;
  std::vector<Candidate> candidates;  // in the order of the tries; none without the engine
};

/// Asks the engine for the interpolants of a query. Keeps one interpolator for each mode
/// and style that was used.
class Interpolation {
 public:
  /// Keeps references to all.
  Interpolation(Terms& terms, la::Solver& solver, Mapper& mapper, Limits& limits);
  ~Interpolation();

  /// The interpolants of all partitions of a task from one proof, all in one mode and style
  /// (so that they fit together). AUTO tries what fits and takes the answer with the fewest
  /// distinct sub-terms; the first one wins a tie, modular before floor and earlier modes
  /// before later ones.
  ///
  /// With two groups, and a proof that is not rational, the answer is false when the first
  /// group is contradictory by itself, and true when the second one is, as far as that is
  /// seen with small effort.
  ///
  /// With more than two groups and a proof that has cuts the style is FLOOR: congruences
  /// of neighbouring partitions need not fit together.
  ///
  /// Throws UnfitStyle for DUAL on a tree that is no sequence (the interpolants of siblings
  /// would not imply their parent's) and for MODULAR with more than two groups and a proof
  /// that has cuts, std::logic_error for a branch whose atoms have no colour,
  /// opal::Exception for an impossible proof, LimitReached at a limit.
  Interpolants interpolants(proof::Proof* proof, const InterpolationTask& task);
  /// The same for the partitions of the groups `roots` only, at least one, ascending.
  Interpolants interpolants(proof::Proof* proof, const InterpolationTask& task,
                            const std::vector<std::size_t>& roots);

  /// Has the checker look at what the engine is asked about for a grouping: the trimmed
  /// proof, and its colours in each partition. What is wrong, or nothing.
  [[nodiscard]] std::optional<std::string> fault(
      proof::Proof* proof, const std::shared_ptr<const Grouping>& grouping,
      ProofChecker& checker) const;

  /// See la::Interpolator; of all interpolators.
  [[nodiscard]] std::uint64_t combinations_visited() const;
  [[nodiscard]] std::uint64_t combinations_survived() const;

 private:
  la::Interpolator& interpolator(Mode mode, Cuts cuts);
  std::vector<const Term_*> raw_interpolants(
      proof::Proof* proof, const std::vector<laz::LaZInternalBBProof*>& branches,
      const std::shared_ptr<const Grouping>& grouping,
      const std::vector<std::size_t>& roots, la::Interpolator& interpolator);
  Interpolants smallest(proof::Proof* proof, const InterpolationTask& task,
                        const std::vector<std::size_t>& roots,
                        const std::vector<Mode>& modes, const std::vector<Cuts>& styles);
  [[nodiscard]] std::optional<Interpolants> one_sided(proof::Proof& proof,
                                                      const InterpolationTask& task);

  Terms& terms_;
  la::Solver& solver_;
  Mapper& mapper_;
  Limits& limits_;
  // by Mode and Cuts; null before the first use
  std::array<std::array<std::unique_ptr<la::Interpolator>, 2>, 3> interpolators_;
};

}  // namespace opal::host

#endif
