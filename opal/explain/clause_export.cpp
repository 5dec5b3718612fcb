// Refutations of formulas as other programs read them.
//
//     leaf of an assertion    cl-input      its number, from 1; the literals
//     lemma                   cl-lemma      a refutation of the literals' negations; these
//     chain                   cl-resolve    c0, p1, c1, ..., pn, cn
//
// Example: (or (<= x 0) p), (<= 1 x) and (not p), in this order, are refuted by
//
//     cl-resolve (cl-input 1 (<= x 0) p)
//                (not (<= x 0)) (cl-resolve (cl-lemma ... (not (<= x 0)) (<= x 0) ...
//
// where each pi is a literal of ci whose negation the clause so far has. A chain without
// steps is what it starts with. A lemma's proof is exported as every proof of a
// conjunction.

#include "opal/explain/clause_export.h"

#include "opal/explain/exported_formulas.h"
#include "opal/la/interpolator.h"

namespace opal::host {

using resolution::ClauseProof;
using resolution::Literal;
using resolution::NodeIndex;
using resolution::NodeKind;

namespace {

class Export {
 public:
  Export(ExternalProofs& nodes, const resolution::ClauseRefutation& refutation,
         Terms& terms, Mapper& mapper, const LemmaProver& prove)
      : nodes_(nodes),
        terms_(terms),
        proof_(refutation.proof),
        prove_(prove),
        formulas_(nodes, terms, refutation),
        exporter_(&terms, nullptr, &mapper, la::Interpolator::MODE_SUM, false) {}

  const ExternalProof* root() {
    for (NodeIndex node = 0; node < proof_.size(); ++node) {
      terms_.poll();
      ExternalProof* const step = made(node);
      if (step == nullptr) return nullptr;
      steps_.push_back(step);
    }
    return steps_.back();
  }

 private:
  ExternalProof* made(NodeIndex node) {
    children_.clear();
    switch (proof_.kind(node)) {
      case NodeKind::INPUT:
        children_.push_back(nodes_.get_term_proof(
            terms_.make_number(QNumber(static_cast<long>(proof_.tag(node)) + 1))));
        return leaf("cl-input", node);
      case NodeKind::LEMMA:
        children_.push_back(exporter_.get_external_proof(&nodes_, prove_(node)));
        return children_.front() == nullptr ? nullptr : leaf("cl-lemma", node);
      case NodeKind::CHAIN: break;
    }
    if (proof_.steps(node).empty()) return steps_[proof_.first(node)];
    children_.push_back(steps_[proof_.first(node)]);
    for (const resolution::Step& step : proof_.steps(node)) {
      children_.push_back(formulas_.literal(step.pivot));
      children_.push_back(steps_[step.antecedent]);
    }
    return step("cl-resolve");
  }

  ExternalProof* leaf(const char* rule, NodeIndex node) {
    for (const Literal literal : proof_.literals(node))
      children_.push_back(formulas_.literal(literal));
    return step(rule);
  }

  ExternalProof* step(const char* rule) {
    return nodes_.new_ExternalProof(rule, children_.size(), children_.data());
  }

  ExternalProofs& nodes_;
  Terms& terms_;
  const ClauseProof& proof_;
  const LemmaProver& prove_;
  ExportedFormulas formulas_;
  la::Interpolator exporter_;
  std::vector<ExternalProof*> steps_;     // by node
  std::vector<ExternalProof*> children_;  // of the node at hand
};

}  // namespace

const ExternalProof* exported(ExternalProofs& nodes,
                              const resolution::ClauseRefutation& refutation, Terms& terms,
                              Mapper& mapper, const LemmaProver& prove) {
  return Export(nodes, refutation, terms, mapper, prove).root();
}

}  // namespace opal::host
