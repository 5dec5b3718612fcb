#include "opal/interpolate/interpolation.h"

#include <cassert>
#include <chrono>
#include <map>
#include <numeric>
#include <utility>

#include "opal/interpolate/branch_colours.h"
#include "opal/interpolate/cut_styles.h"
#include "opal/interpolate/one_sided.h"
#include "opal/interpolate/trimming.h"
#include "opal/proofs/branch_steps.h"
#include "opal/simplify/simplifier.h"

namespace opal::host {

namespace {

constexpr std::array<std::pair<std::string_view, Mode>, 4> MODE_NAMES = {
    {{"sum", Mode::SUM}, {"conj", Mode::CONJ}, {"dual", Mode::DUAL}, {"auto", Mode::AUTO}}};

constexpr std::array<std::pair<std::string_view, Cuts>, 3> CUTS_NAMES = {
    {{"modular", Cuts::MODULAR}, {"floor", Cuts::FLOOR}, {"auto", Cuts::AUTO}}};

std::vector<Mode> modes_to_try(Mode mode, const Grouping& grouping) {
  if (mode != Mode::AUTO) return {mode};
  if (!grouping.is_sequence()) return {Mode::SUM, Mode::CONJ};
  return {Mode::SUM, Mode::CONJ, Mode::DUAL};
}

struct Styles {
  std::vector<Cuts> styles;
  CutsReason reason;
};

// With two groups the styles are tried that are cheap; MODULAR alone where they do not
// differ. Congruences of neighbouring partitions need not fit together: each says which
// values its own part of a cut may have, and not which of them the next part may add.
Styles styles_to_try(Cuts cuts, const Grouping& grouping, proof::Proof& proof,
                     const Mapper& mapper) {
  const QNumber most_combinations(512);
  if (grouping.num_groups() > 2) {
    if (cuts_in(proof).empty())
      return {{cuts == Cuts::FLOOR ? cuts : Cuts::MODULAR}, CutsReason::NO_MIXED_CUT};
    if (cuts == Cuts::MODULAR) {
      throw UnfitStyle(
          "modular cuts are for two groups: this proof has cuts, and congruences of "
          "neighbouring partitions need not fit together");
    }
    return {{Cuts::FLOOR}, CutsReason::GROUPS};
  }
  if (cuts != Cuts::AUTO) return {{cuts}, CutsReason::ASKED};
  const QNumber combinations =
      cut_combinations(branch_tree(proof).leaves, grouping, 0, mapper, most_combinations);
  if (combinations.is_zero()) return {{Cuts::MODULAR}, CutsReason::NO_MIXED_CUT};
  if (combinations > most_combinations) return {{Cuts::FLOOR}, CutsReason::VALUES};
  return {{Cuts::MODULAR, Cuts::FLOOR}, CutsReason::TRIED};
}

// Adds the time of a scope to a sum, also when an exception ends the scope.
class Stopwatch {
 public:
  explicit Stopwatch(double& seconds) : seconds_(seconds) {}
  Stopwatch(const Stopwatch&) = delete;
  Stopwatch& operator=(const Stopwatch&) = delete;
  ~Stopwatch() { seconds_ += std::chrono::duration<double>(Clock::now() - start_).count(); }

 private:
  using Clock = std::chrono::steady_clock;

  double& seconds_;
  const Clock::time_point start_ = Clock::now();
};

}  // namespace

std::optional<Mode> mode_of(std::string_view name) {
  for (const auto& [text, mode] : MODE_NAMES) {
    if (text == name) return mode;
  }
  return std::nullopt;
}

const char* to_string(Mode mode) {
  return MODE_NAMES[static_cast<std::size_t>(mode)].first.data();
}

std::optional<Cuts> cuts_of(std::string_view name) {
  for (const auto& [text, cuts] : CUTS_NAMES) {
    if (text == name) return cuts;
  }
  return std::nullopt;
}

const char* to_string(Cuts cuts) {
  return CUTS_NAMES[static_cast<std::size_t>(cuts)].first.data();
}

Interpolation::Interpolation(Terms& terms, la::Solver& solver, Mapper& mapper,
                             Limits& limits)
    : terms_(terms), solver_(solver), mapper_(mapper), limits_(limits) {}

// An interpolator whose last request ended with an exception still holds its lists.
Interpolation::~Interpolation() {
  for (auto& by_cuts : interpolators_)
    for (auto& interpolator : by_cuts)
      if (interpolator) interpolator->clear_cache();
}

la::Interpolator& Interpolation::interpolator(Mode mode, Cuts cuts) {
  assert(mode != Mode::AUTO && cuts != Cuts::AUTO);
  constexpr std::array<la::Interpolator::Mode, 3> MODES = {
      la::Interpolator::MODE_SUM, la::Interpolator::MODE_CONJ, la::Interpolator::MODE_DUAL};
  const auto i = static_cast<std::size_t>(mode);
  auto& entry = interpolators_[i][static_cast<std::size_t>(cuts)];
  if (!entry) {
    entry = std::make_unique<la::Interpolator>(&terms_, &solver_, &mapper_, MODES[i],
                                               cuts == Cuts::FLOOR);
  }
  return *entry;
}

std::vector<const Term_*> Interpolation::raw_interpolants(
    proof::Proof* proof, const std::vector<laz::LaZInternalBBProof*>& branches,
    const std::shared_ptr<const Grouping>& grouping, const std::vector<std::size_t>& roots,
    la::Interpolator& interpolator) {
  std::vector<const Term_*> terms;
  for (const std::size_t root : roots) {
    itp::TheoryAtomClassifier classifier(std::make_shared<Partition>(grouping, root));
    colour_branches(branches, mapper_, classifier);
    terms.push_back(interpolator.get_interpolant(&classifier, proof));
  }
  return terms;
}

Interpolants Interpolation::smallest(proof::Proof* proof, const InterpolationTask& task,
                                     const std::vector<std::size_t>& roots,
                                     const std::vector<Mode>& modes,
                                     const std::vector<Cuts>& styles) {
  const auto branches = branch_tree(*proof).branches;
  std::optional<Interpolants> best;
  std::vector<Interpolants::Candidate> candidates;
  std::map<std::vector<const Term_*>, std::size_t> sizes;  // of raw answers
  double seconds = 0;
  for (const Cuts cuts : styles) {
    for (const Mode mode : modes) {
      Interpolants candidate;
      candidate.mode = mode;
      candidate.cuts = cuts;
      {
        const Stopwatch watch(seconds);
        candidate.terms = raw_interpolants(proof, branches, task.grouping, roots,
                                           interpolator(mode, cuts));
      }
      const auto [entry, is_new] = sizes.emplace(candidate.terms, 0);
      if (!is_new) {
        candidates.push_back({mode, cuts, entry->second, Strength::STRONG});
        continue;
      }
      candidate.raw_size = dag_size(candidate.terms);
      if (!task.raw) {
        for (const Term_*& t : candidate.terms)
          t = simplify(terms_, t);
      }
      candidate.size = task.raw ? candidate.raw_size : dag_size(candidate.terms);
      entry->second = candidate.size;
      candidates.push_back({mode, cuts, candidate.size, Strength::STRONG});
      if (!best || candidate.size < best->size) best = std::move(candidate);
    }
  }
  best->engine_seconds = seconds;
  best->candidates = std::move(candidates);
  return std::move(*best);
}

std::optional<Interpolants> Interpolation::one_sided(proof::Proof& proof,
                                                     const InterpolationTask& task) {
  if (task.grouping->num_groups() != 2 || is_rational(proof)) return std::nullopt;
  Interpolants result;
  result.origin = Origin::PROOF_OF_ONE_SIDE;
  auto answer = one_sided_by_proof(proof, *task.grouping, mapper_);
  if (!answer && !task.atoms.empty()) {
    assert(task.atoms.size() == 2);
    result.origin = Origin::DECISION_OF_ONE_SIDE;
    answer = one_sided_by_deciding(task.atoms[0], task.atoms[1], mapper_, limits_);
  }
  if (!answer) return std::nullopt;
  result.terms = {*answer ? terms_.true_term() : terms_.false_term()};
  result.raw_size = result.size = 1;
  return result;
}

Interpolants Interpolation::interpolants(proof::Proof* proof,
                                         const InterpolationTask& task) {
  std::vector<std::size_t> roots(task.grouping->num_groups() - 1);
  std::iota(roots.begin(), roots.end(), std::size_t{0});
  return interpolants(proof, task, roots);
}

Interpolants Interpolation::interpolants(proof::Proof* proof, const InterpolationTask& task,
                                         const std::vector<std::size_t>& roots) {
  assert(proof != nullptr);
  const Grouping& grouping = *task.grouping;
  if (task.mode == Mode::DUAL && !grouping.is_sequence()) {
    throw UnfitStyle(
        "dual mode is for sequences: in a tree the interpolants of siblings would "
        "not imply their parent's");
  }
  const proof::ProofRef part = trimmed(*proof, grouping, mapper_);
  const std::vector<Mode> modes = modes_to_try(task.mode, grouping);
  const Styles styles = styles_to_try(task.cuts, grouping, *part, mapper_);
  auto result = one_sided(*part, task);
  if (result) {
    result->mode = modes.front();
    result->cuts = styles.styles.front();
  } else {
    result = smallest(part.get(), task, roots, modes, styles.styles);
  }
  result->cuts_reason = styles.reason;
  return std::move(*result);
}

std::optional<std::string> Interpolation::fault(
    proof::Proof* proof, const std::shared_ptr<const Grouping>& grouping,
    ProofChecker& checker) const {
  const proof::ProofRef part = trimmed(*proof, *grouping, mapper_);
  if (auto what = checker.check(part.get())) return what;
  const auto branches = branch_tree(*part).branches;
  for (std::size_t root = 0; root + 1 < grouping->num_groups(); ++root) {
    itp::TheoryAtomClassifier classifier(std::make_shared<Partition>(grouping, root));
    colour_branches(branches, mapper_, classifier);
    if (auto what = checker.check_partition(part.get(), classifier))
      return "in the partition of group " + std::to_string(root + 1) + ": " + *what;
  }
  return std::nullopt;
}

std::uint64_t Interpolation::combinations_visited() const {
  std::uint64_t sum = 0;
  for (const auto& by_cuts : interpolators_)
    for (const auto& interpolator : by_cuts)
      if (interpolator) sum += interpolator->combinations_visited();
  return sum;
}

std::uint64_t Interpolation::combinations_survived() const {
  std::uint64_t sum = 0;
  for (const auto& by_cuts : interpolators_)
    for (const auto& interpolator : by_cuts)
      if (interpolator) sum += interpolator->combinations_survived();
  return sum;
}

}  // namespace opal::host
