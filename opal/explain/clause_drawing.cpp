#include "opal/explain/clause_drawing.h"

#include <algorithm>
#include <ostream>
#include <vector>

#include "opal/explain/dot.h"
#include "opal/interpolate/labelled/labelled_system.h"
#include "opal/terms/print/infix.h"

namespace opal::host {

using resolution::ClauseProof;
using resolution::LiteralSpan;
using resolution::NodeIndex;
using resolution::NodeKind;

namespace {

class ClauseDrawing {
 public:
  ClauseDrawing(std::ostream& out, const ClauseView& view, const ClauseNotes& notes)
      : out_(out), view_(view), proof_(view.proof()), notes_(notes) {
    caption_.has_sides = notes.places != nullptr;
    caption_.has_shared = caption_.has_sides;
    caption_.name_of_A = notes.name_of_A;
    caption_.name_of_B = notes.name_of_B;
  }

  void write() {
    out_ << dot::HEADER;
    if (proof_.size() <= MOST_CLAUSES)
      write_all();
    else
      write_leaves();
    out_ << "}\n";
  }

 private:
  void write_all() {
    dot::write_caption(out_, caption_);
    const NodeClauses clauses(proof_);
    for (NodeIndex node = 0; node < proof_.size(); ++node) {
      begin(node);
      switch (proof_.kind(node)) {
        case NodeKind::INPUT: write_input(clauses[node], node); break;
        case NodeKind::LEMMA: write_lemma(node); break;
        case NodeKind::CHAIN: write_chain(clauses[node], node); break;
      }
      if (node == proof_.root()) out_ << ", penwidth=2";
      out_ << "];\n";
      if (proof_.kind(node) != NodeKind::CHAIN) continue;
      arrow(proof_.first(node), node, "");
      for (const resolution::Step& step : proof_.steps(node))
        arrow(step.antecedent, node, view_.clause_text({&step.pivot, 1}, dot::SHOWN / 2));
    }
  }

  void write_input(LiteralSpan clause, NodeIndex node) {
    const std::uint32_t assertion = proof_.tag(node);
    write_label(owner_of(assertion), "clause of " + assertion_text(assertion), clause);
    fill(owner_of(assertion));
  }

  void write_lemma(NodeIndex node) {
    const LiteralSpan clause = proof_.literals(node);
    const Owner owner = notes_.places == nullptr
                            ? Owner::NONE
                            : owner_of_clause(*notes_.places, clause, notes_.root);
    write_label(owner, "lemma", clause);
    fill(owner);
    out_ << ", style=\"rounded,filled\"";
  }

  void write_chain(LiteralSpan clause, NodeIndex node) {
    const std::size_t steps = proof_.steps(node).size();
    const std::string kind =
        steps == 1 ? "resolution" : std::to_string(steps) + " resolutions";
    write_label(Owner::NONE, kind, clause);
  }

  // Without the chains: what they end in, below the leaves.
  void write_leaves() {
    const auto& uses = view_.uses();
    const auto& lemmas = view_.lemmas();
    const std::size_t shown_uses = std::min(uses.size(), MOST_CLAUSES / 2);
    const std::size_t shown_lemmas = std::min(lemmas.size(), MOST_CLAUSES - shown_uses);
    caption_.remarks.push_back(
        std::to_string(view_.resolutions()) +
        " resolutions are not drawn; assertions by the use of their clauses");
    if (shown_uses < uses.size() || shown_lemmas < lemmas.size())
      caption_.remarks.push_back("not drawn: " + std::to_string(uses.size() - shown_uses) +
                                 " assertions, " +
                                 std::to_string(lemmas.size() - shown_lemmas) + " lemmas");
    dot::write_caption(out_, caption_);
    for (std::size_t i = 0; i < shown_uses; ++i) {
      const std::uint32_t assertion = uses[i].assertion;
      out_ << "  a" << assertion << " [";
      const std::string text = view_.assertion_text(assertion, dot::POINTED_AT);
      const std::string side = side_text(owner_of(assertion));
      dot::write_label(
          out_,
          {dot::small(side + "used " + std::to_string(uses[i].count) + " times"),
           dot::escaped(shortened(text, dot::SHOWN))},
          text);
      fill(owner_of(assertion));
      out_ << "];\n  a" << assertion << " -> n" << proof_.root() << ";\n";
    }
    for (std::size_t i = 0; i < shown_lemmas; ++i) {
      begin(lemmas[i]);
      write_lemma(lemmas[i]);
      out_ << "];\n";
      arrow(lemmas[i], proof_.root(), "");
    }
    begin(proof_.root());
    write_label(Owner::NONE, std::to_string(view_.resolutions()) + " resolutions",
                {nullptr, 0});
    out_ << ", penwidth=2];\n";
  }

  [[nodiscard]] Owner owner_of(std::uint32_t assertion) const {
    if (notes_.places == nullptr) return Owner::NONE;
    return owner_of_assertion(*notes_.places, assertion, notes_.root);
  }

  [[nodiscard]] std::string assertion_text(std::uint32_t assertion) const {
    return view_.assertion_text(assertion, dot::SHOWN / 2);
  }

  static std::string side_text(Owner owner) {
    if (owner == Owner::NONE) return "";
    return owner == Owner::BOTH ? "A and B: " : std::string(to_string(owner)) + ": ";
  }

  void begin(NodeIndex node) { out_ << "  n" << node << " ["; }

  // The interpolant is the last line below the empty clause.
  void write_label(Owner owner, const std::string& what, LiteralSpan clause) {
    const std::string kind = side_text(owner) + what;
    const std::string text = view_.clause_text(clause, dot::POINTED_AT);
    std::vector<std::string> lines{dot::small(kind)};
    if (clause.empty())
      lines.emplace_back("<B>false</B>");
    else
      lines.push_back(dot::escaped(view_.clause_text(clause, dot::SHOWN)));
    std::string more = kind + "\n" + text;
    if (clause.empty() && notes_.answer != nullptr) {
      const std::string answer = "I: " + infix_text(notes_.answer, dot::POINTED_AT);
      for (const std::string& line : dot::wrapped(answer, 4))
        lines.push_back("<I>" + dot::escaped(line) + "</I>");
      more += "\n" + answer;
    }
    dot::write_label(out_, lines, more);
  }

  void fill(Owner owner) {
    const char* colour = dot::FILL_OF_NEITHER;
    if (owner == Owner::A) colour = dot::FILL_OF_A;
    if (owner == Owner::B) colour = dot::FILL_OF_B;
    if (owner == Owner::BOTH) colour = dot::FILL_OF_BOTH;
    out_ << ", fillcolor=\"" << colour << "\"";
  }

  void arrow(NodeIndex from, NodeIndex to, const std::string& label) {
    out_ << "  n" << from << " -> n" << to;
    if (!label.empty()) out_ << " [label=\" " << dot::escaped(label) << " \"]";
    out_ << ";\n";
  }

  std::ostream& out_;
  const ClauseView& view_;
  const ClauseProof& proof_;
  const ClauseNotes& notes_;
  dot::Caption caption_;
};

}  // namespace

void draw_refutation(std::ostream& out, const ClauseView& view, const ClauseNotes& notes) {
  ClauseDrawing(out, view, notes).write();
}

}  // namespace opal::host
