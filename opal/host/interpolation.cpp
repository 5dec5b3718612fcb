#include "opal/host/interpolation.h"

#include <cassert>
#include <chrono>
#include <stdexcept>
#include <utility>

#include "opal/host/simplifier.h"

namespace opal::host {

namespace {

constexpr std::array<std::pair<std::string_view, Mode>, 4> MODE_NAMES = {
    {{"sum", Mode::SUM}, {"conj", Mode::CONJ}, {"dual", Mode::DUAL}, {"auto", Mode::AUTO}}};

std::vector<Mode> modes_to_try(Mode mode, const Grouping& grouping) {
  if (mode != Mode::AUTO) return {mode};
  if (!grouping.is_sequence()) return {Mode::SUM, Mode::CONJ};
  return {Mode::SUM, Mode::CONJ, Mode::DUAL};
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

Interpolation::Interpolation(Terms& terms, la::Solver& solver, Mapper& mapper)
    : terms_(terms) {
  constexpr std::array<la::Interpolator::Mode, 3> MODES = {
      la::Interpolator::MODE_SUM, la::Interpolator::MODE_CONJ, la::Interpolator::MODE_DUAL};
  for (std::size_t i = 0; i < MODES.size(); ++i) {
    interpolators_[i] =
        std::make_unique<la::Interpolator>(&terms, &solver, &mapper, MODES[i], false);
  }
}

std::vector<const Term_*> Interpolation::raw_interpolants(
    proof::Proof* proof, const std::shared_ptr<const Grouping>& grouping, Mode mode) {
  la::Interpolator& interpolator = *interpolators_[static_cast<std::size_t>(mode)];
  std::vector<const Term_*> terms;
  for (std::size_t root = 0; root + 1 < grouping->num_groups(); ++root) {
    itp::TheoryAtomClassifier classifier(std::make_shared<Partition>(grouping, root));
    terms.push_back(interpolator.get_interpolant(&classifier, proof));
  }
  return terms;
}

Interpolants Interpolation::interpolants(proof::Proof* proof,
                                         const std::shared_ptr<const Grouping>& grouping,
                                         Mode mode, bool raw) {
  assert(proof != nullptr);
  if (mode == Mode::DUAL && !grouping->is_sequence()) {
    throw std::invalid_argument("dual mode does not fit a tree of groups");
  }
  std::optional<Interpolants> best;
  double seconds = 0;
  for (const Mode m : modes_to_try(mode, *grouping)) {
    Interpolants candidate;
    candidate.mode = m;
    {
      const Stopwatch watch(seconds);
      candidate.terms = raw_interpolants(proof, grouping, m);
    }
    candidate.raw_size = dag_size(candidate.terms);
    if (!raw) {
      for (const Term_*& t : candidate.terms)
        t = simplify(terms_, t);
    }
    candidate.size = raw ? candidate.raw_size : dag_size(candidate.terms);
    if (!best || candidate.size < best->size) best = std::move(candidate);
  }
  best->engine_seconds = seconds;
  return std::move(*best);
}

}  // namespace opal::host
