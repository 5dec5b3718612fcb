// Labelled interpolation systems: the interpolant of one partition, read off a resolution
// proof.
//
// Each clause C of the proof gets a partial interpolant I with
//
//     A and the denial of C's literals that A has          imply  I
//     I, B and the denial of C's literals that B has       contradict each other
//
// so that the empty clause's is an interpolant. Whether A, B or both have a literal that is
// counted for both sides is the label of its atom: B in the strong system, both in the
// middle one. (The weak system, A, is the strong one with A and B exchanged, negated.)
//
//                          strong                        middle
//     clause of A          C's literals that are not     false
//                          A's alone, or'ed
//     clause of B          true                          true
//     lemma                what its proof says, the literals being A's or B's by place
//     resolution, pivot p
//       A's alone          I1 or I2                      I1 or I2
//       B's alone          I1 and I2                     I1 and I2
//       of both            I1 and I2                     (p or I1) and (not p or I2)
//
// with p in the clause of I1. (McMillan, "An interpolating theorem prover", 2005; D'Silva,
// Kroening, Purandare, Weissenbacher, "Interpolant strength", 2010.)
//
// Example. A: p or q, not q. B: not p. In the strong system the clauses of A have p and
// false; on q, A's alone, they resolve to p with (p or false); with B's clause, on p, to
// p and true.
//
// Contraction. A part of the proof that uses no clause of B follows from A alone. So its
// conclusion counts as a clause of A, when each of its literals that is not A's alone is in
// a clause of A (strong) or none of its literals is B's alone (middle). A part without
// clauses of A, whose conclusion has no literal that is A's alone, contributes true. What
// is inside of such parts is not looked at.
//
// Sequences and trees. Let I, J be what C has in the partitions of a group g's children and
// of g itself. In both systems
//
//     all I, the clauses of g, and the denial of R    imply  J
//
// where R are C's literals but for those that lie within one child alone, and those that no
// assertion below g has. For a leaf this is checked case by case, for a resolution on p in
// R one assumes p, then not p; a p outside of R is `or` in one child and `and` in the
// others, or `and` in all. A contracted part has it since the above holds for its own
// leaves: say it is contracted to a clause of A for g and to nothing for the children; then
// I and the clauses of g imply the conclusion. In the weak system a sequence is one read
// backwards; trees it does not fit. (Gurfinkel, Rollini, Sharygina, "Interpolation
// properties and SAT-based model checking", 2013.)
//
// Cost: linear in the steps of the proof, for each partition.

#ifndef OPAL_INTERPOLATE_LABELLED_LABELLED_SYSTEM_H
#define OPAL_INTERPOLATE_LABELLED_LABELLED_SYSTEM_H

#include <cstddef>
#include <vector>

#include "opal/interpolate/labelled/atom_places.h"
#include "opal/interpolate/labelled/lemma_interpolants.h"
#include "opal/interpolate/strength.h"
#include "opal/proofs/resolution/clause_refutation.h"
#include "opal/simplify/formula_graph.h"

namespace opal::host {

/// Whether parts of a proof that one side alone has are contracted.
enum class Contraction : std::uint8_t { OFF, ON };

/// The clauses of all nodes of a resolution proof, computed once.
class NodeClauses {
 public:
  explicit NodeClauses(const resolution::ClauseProof& proof);
  [[nodiscard]] resolution::LiteralSpan operator[](resolution::NodeIndex node) const {
    return {literals_.data() + begin_[node], begin_[node + 1] - begin_[node]};
  }

 private:
  std::vector<std::size_t> begin_;             // by node, and the end
  std::vector<resolution::Literal> literals_;  // of all nodes
};

/// The interpolant of the partition of `root`.
class LabelledSystem {
 public:
  /// Keeps references to all. `clauses` may be null with contraction OFF. STRONG or MIDDLE.
  LabelledSystem(const resolution::ClauseRefutation& refutation, const AtomPlaces& places,
                 const NodeClauses* clauses, Strength strength, std::size_t root);

  /// The lemmas that interpolant() will ask for.
  [[nodiscard]] std::vector<resolution::NodeIndex> lemmas() const;
  /// Throws NotInterpolated for a resolution on an atom that has no place.
  [[nodiscard]] FormulaGraph::Node interpolant(const LemmaInterpolants& lemmas,
                                               FormulaGraph& graph) const;

 private:
  // What a node contributes.
  enum class Part : std::uint8_t {
    UNUSED,    // nothing: it is inside of contracted parts only
    TRUE,      // a clause of B, or a part that is contracted to true
    CLAUSE_A,  // a clause of A, or a part that is contracted to one
    LEMMA,
    CHAIN
  };

  [[nodiscard]] Part part_of(resolution::NodeIndex node, const NodeClauses* clauses,
                             const std::vector<char>& uses) const;
  [[nodiscard]] bool counts_for_B(resolution::Literal literal) const {
    return sides_[literal.variable()] != Side::A;
  }
  [[nodiscard]] FormulaGraph::Node literal(resolution::Literal literal,
                                           FormulaGraph& graph) const;
  [[nodiscard]] FormulaGraph::Node clause_of_A(resolution::LiteralSpan clause,
                                               FormulaGraph& graph) const;
  [[nodiscard]] FormulaGraph::Node chain(
      resolution::NodeIndex node, const std::vector<FormulaGraph::Node>& interpolants,
      FormulaGraph& graph) const;

  const resolution::ClauseRefutation& refutation_;
  const AtomPlaces& places_;
  const NodeClauses* const clauses_;
  const Strength strength_;
  const std::size_t root_;
  std::vector<Side> sides_;  // by variable
  std::vector<Part> parts_;  // by node
};

}  // namespace opal::host

#endif
