#ifndef OPAL_INTERPOLATE_LABELLED_LEMMA_INTERPOLANTS_H
#define OPAL_INTERPOLATE_LABELLED_LEMMA_INTERPOLANTS_H

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "opal/interpolate/interpolation.h"
#include "opal/interpolate/labelled/atom_places.h"
#include "opal/linear/mapper.h"
#include "opal/proofs/resolution/clause_refutation.h"
#include "opal/terms/terms.h"

namespace opal::host {

/// Proofs of the lemmas of a refutation: the negations of a lemma's literals contradict
/// each other, and the solver of conjunctions proves it, when a proof is asked for.
class LemmaProofs {
 public:
  /// Keeps references to all.
  LemmaProofs(Terms& terms, Mapper& mapper, Limits& limits,
              const resolution::ClauseRefutation& refutation)
      : terms_(terms), mapper_(mapper), limits_(limits), refutation_(refutation) {}

  /// The atoms that deny the literals of a lemma, in their order.
  [[nodiscard]] std::vector<const Term_*> denials(resolution::NodeIndex lemma) const;
  /// A refutation of these; null when the solver finds none.
  [[nodiscard]] proof::ProofRef refuted(const std::vector<const Term_*>& atoms);
  /// The proof of a leaf; made once. Throws NotInterpolated when there is none.
  proof::Proof* proof(resolution::NodeIndex lemma);

  [[nodiscard]] const resolution::ClauseRefutation& refutation() const {
    return refutation_;
  }

 private:
  Terms& terms_;
  Mapper& mapper_;
  Limits& limits_;
  const resolution::ClauseRefutation& refutation_;
  std::unordered_map<resolution::NodeIndex, proof::ProofRef> proofs_;
};

/// What the lemmas of a refutation contribute to interpolants: false where all that a
/// lemma's proof uses is A's, true where nothing is, and else the interpolant of its proof.
/// Partitions that colour a lemma alike share it.
class LemmaInterpolants {
 public:
  /// How the engine is asked; modes and styles that it used.
  struct Style {
    Mode mode = Mode::AUTO;
    Cuts cuts = Cuts::AUTO;
    bool raw = false;
  };

  /// Keeps references to all but the style.
  LemmaInterpolants(Terms& terms, Mapper& mapper, Interpolation& engine,
                    LemmaProofs& proofs, const AtomPlaces& places, Style style)
      : terms_(terms),
        mapper_(mapper),
        engine_(engine),
        proofs_(proofs),
        places_(places),
        style_(style) {}

  /// The groups and places of a lemma's denials, for the engine. Throws NotInterpolated
  /// when one of them has no place.
  [[nodiscard]] std::shared_ptr<const Grouping> grouping(resolution::NodeIndex lemma) const;
  /// Computes what `interpolant` answers for a lemma in the partitions of `roots`, in one
  /// mode and style, unless all of it is known. Throws what Interpolation::interpolants()
  /// throws, and NotInterpolated.
  void prepare(resolution::NodeIndex lemma, const std::vector<std::size_t>& roots);
  [[nodiscard]] const Term_* interpolant(resolution::NodeIndex lemma,
                                         std::size_t root) const;

  /// Of all lemmas so far. SUM and MODULAR where the engine was not needed.
  [[nodiscard]] Mode mode() const;
  [[nodiscard]] Cuts cuts() const;
  [[nodiscard]] CutsReason cuts_reason() const { return cuts_reason_; }
  /// What the engine took since the last call.
  [[nodiscard]] double take_engine_seconds() { return std::exchange(engine_seconds_, 0); }

 private:
  [[nodiscard]] Mode mode_for(proof::Proof& proof) const;
  std::string colours(const std::vector<int>& constraints, const Grouping& grouping,
                      std::size_t root) const;
  void note(const Interpolants& answer);

  Terms& terms_;
  Mapper& mapper_;
  Interpolation& engine_;
  LemmaProofs& proofs_;
  const AtomPlaces& places_;
  const Style style_;
  std::map<std::pair<resolution::NodeIndex, std::size_t>, const Term_*> answers_;
  std::vector<Mode> modes_;  // each once
  std::vector<Cuts> cuts_;
  CutsReason cuts_reason_ = CutsReason::NO_MIXED_CUT;
  double engine_seconds_ = 0;
};

}  // namespace opal::host

#endif
