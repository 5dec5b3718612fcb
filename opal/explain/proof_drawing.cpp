#include "opal/explain/proof_drawing.h"

#include <algorithm>
#include <cassert>
#include <ostream>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "opal/explain/dot.h"
#include "opal/terms/print/infix.h"
#include "opal/terms/terms.h"

namespace opal::host {

namespace {

using Side = ProofNotes::Side;
using dot::escaped;
using dot::FILL_OF_A;
using dot::FILL_OF_B;
using dot::FILL_OF_BOTH;
using dot::FILL_OF_NEITHER;
using dot::HEADER;
using dot::POINTED_AT;
using dot::SHOWN;
using dot::small;
using dot::wrapped;

std::string_view rule_of(const ExternalProof& p) { return p.rule(); }

bool is_numeral(const ExternalProof& p) {
  return p.is_leaf() && Terms::is_numeral(p.term());
}

std::string number_of(const ExternalProof& p) {
  assert(is_numeral(p));
  return Terms::symbol_of(p.term()).value.to_str();
}

int sign_of(const ExternalProof& p) {
  assert(is_numeral(p));
  return Terms::symbol_of(p.term()).value.sign();
}

// The node that stands for a proof: of a hypothesis on an inequality, its literal.
const ExternalProof* drawn(const ExternalProof* p) {
  return rule_of(*p) == "la-hyp" ? p->children().front() : p;
}

// Whether a step is a refutation by its rule, under the assumptions of cases around it.
bool is_refutation(const ExternalProof& p) {
  const std::string_view rule = rule_of(p);
  return rule == "la-neq" || rule == "la-branch-and-bound" || rule == "la-dioph";
}

const char* words_of(std::string_view rule) {
  constexpr std::pair<std::string_view, const char*> WORDS[] = {
      {"la-comb", "combination"},
      {"la-neq", "case split"},
      {"la-branch-and-bound", "branch"},
      {"la-dioph", "no integer solution"},
      {"la-tight", "cut"},
      {"la-spliteq", "lemma"},
      {"la-unit", "lemma"},
      {"la-branch-and-bound-lemma", "lemma"}};
  for (const auto& [name, words] : WORDS)
    if (name == rule) return words;
  return "";
}

class Drawing {
 public:
  Drawing(std::ostream& out, const ExternalProof& root, const ProofNotes& notes)
      : out_(out), root_(*drawn(&root)), notes_(notes), nodes_(nodes_of(root)) {
    for (const ExternalProof* p : nodes_)
      look_at(*p);
  }

  void write() {
    out_ << HEADER;
    write_caption();
    for (const ExternalProof* p : nodes_) {
      if (p->is_leaf() ? hypotheses_.count(p) != 0 : drawn(p) == p) {
        write_node(*p);
        write_edges(*p);
      }
    }
    out_ << "}\n";
  }

 private:
  // Finds out which literals are hypotheses, and which of them a branch assumes.
  void look_at(const ExternalProof& p) {
    const auto& children = p.children();
    const std::string_view rule = rule_of(p);
    if (rule == "la-hyp") hypotheses_.insert(children.front());
    if (rule == "la-dioph" || rule == "la-tight")
      for (const ExternalProof* child : children)
        if (!is_numeral(*child)) hypotheses_.insert(child);
    if (rule == "la-branch-and-bound") {
      assumed_.insert(children[0]);
      assumed_.insert(children[2]);
    }
  }

  [[nodiscard]] Side side_of(const ExternalProof& literal) const {
    const auto it = notes_.sides.find(&literal);
    return it == notes_.sides.end() ? Side::NONE : it->second;
  }

  void write_caption() {
    dot::Caption caption;
    caption.remarks = notes_.remarks;
    caption.has_sides = !notes_.sides.empty();
    caption.has_shared = has_shared();
    caption.name_of_A = notes_.name_of_A;
    caption.name_of_B = notes_.name_of_B;
    dot::write_caption(out_, caption);
  }

  [[nodiscard]] bool has_shared() const {
    return std::any_of(notes_.sides.begin(), notes_.sides.end(),
                       [](const auto& entry) { return entry.second == Side::SHARED; });
  }

  void write_node(const ExternalProof& p) {
    out_ << "  n" << p.id() << " [";
    if (p.is_leaf()) {
      write_hypothesis(p, "hypothesis", infix_text(p.term(), POINTED_AT));
    } else if (rule_of(p) == "la-hyp-eq") {
      const ExternalProof& literal = *p.children()[1];
      write_hypothesis(literal, "half of " + infix_text(literal.term(), SHOWN / 2),
                       half_text(literal.term(), sign_of(*p.children()[0]), POINTED_AT));
    } else {
      write_step(p);
    }
    out_ << "];\n";
  }

  void write_hypothesis(const ExternalProof& literal, std::string kind,
                        const std::string& text) {
    const bool assumed = assumed_.count(&literal) != 0;
    if (assumed) kind = "assumed in a branch";
    const char* fill = FILL_OF_NEITHER;
    switch (side_of(literal)) {
      case Side::NONE: break;
      case Side::A:
        kind = "A: " + kind;
        fill = FILL_OF_A;
        break;
      case Side::B:
        kind = "B: " + kind;
        fill = FILL_OF_B;
        break;
      case Side::SHARED:
        kind = "A and B: " + kind;
        fill = FILL_OF_BOTH;
        break;
    }
    write_label({small(kind), escaped(shortened(text, SHOWN))}, kind + "\n" + text);
    out_ << ", style=\"rounded,filled" << (assumed ? ",dashed" : "") << "\", fillcolor=\""
         << fill << "\"";
    if (&literal == &root_) out_ << ", penwidth=2";
  }

  void write_step(const ExternalProof& p) {
    const std::string kind = step_kind(p);
    std::vector<std::string> lines{small(kind)};
    std::string more = kind;
    const auto add = [&](const Term_* term) {
      lines.push_back(escaped(infix_text(term, SHOWN)));
      more += "\n" + infix_text(term, POINTED_AT);
    };
    const auto add_interpolant = [&](const Term_* term, std::size_t most_lines) {
      const std::string text = "I: " + infix_text(term, POINTED_AT);
      for (const std::string& line : wrapped(text, most_lines))
        lines.push_back("<I>" + escaped(line) + "</I>");
      more += "\n" + text;
    };
    const auto derived = notes_.derived.find(&p);
    const auto partial = notes_.interpolants.find(&p);
    if (&p == &root_) {
      lines.emplace_back("<B>false</B>");
      if (notes_.answer != nullptr) add_interpolant(notes_.answer, 4);
    } else {
      if (derived != notes_.derived.end())
        add(derived->second);
      else if (is_refutation(p))
        lines.emplace_back("false");
      if (partial != notes_.interpolants.end()) add_interpolant(partial->second, 1);
    }
    write_label(lines, more);
    if (&p == &root_) out_ << ", penwidth=2";
    if (rule_of(p) == "la-tight") out_ << ", style=\"filled,diagonals\"";
    if (is_refutation(p) && rule_of(p) != "la-dioph") out_ << ", peripheries=2";
  }

  static std::string step_kind(const ExternalProof& p) {
    std::string text = words_of(rule_of(p));
    if (text.empty()) text = p.rule();
    if (rule_of(p) == "la-tight") {
      text += ": divided by " + number_of(*p.children()[0]) + ", rounded";
    } else if (rule_of(p) == "la-neq") {
      text += " on " + infix_text(p.children()[0]->term(), SHOWN);
    } else if (text == "lemma") {
      for (const ExternalProof* child : p.children())
        text += (child == p.children()[0] ? ": " : " or ") +
                infix_text(child->term(), SHOWN / 2);
    }
    return text;
  }

  void write_label(const std::vector<std::string>& lines, const std::string& tooltip) {
    dot::write_label(out_, lines, tooltip);
  }

  void write_edges(const ExternalProof& p) {
    const auto& children = p.children();
    const std::string_view rule = rule_of(p);
    if (rule == "la-comb" || rule == "la-dioph") {
      write_weighted(p, 0);
    } else if (rule == "la-tight") {
      write_weighted(p, 1);
    } else if (rule == "la-neq") {
      const Term_* const literal = children[0]->term();
      write_edge(*children[1], p, half_text(literal, -1, SHOWN / 2));
      write_edge(*children[2], p, half_text(literal, 1, SHOWN / 2));
    } else if (rule == "la-branch-and-bound") {
      for (const std::size_t i : {0U, 2U})
        write_edge(*children[i + 1], p, infix_text(children[i]->term(), SHOWN / 2));
    }
  }

  // The premises from children[begin] on, each after its multiplier.
  void write_weighted(const ExternalProof& p, std::size_t begin) {
    for (std::size_t i = begin; i + 1 < p.children().size(); i += 2) {
      const std::string number = number_of(*p.children()[i]);
      write_edge(*p.children()[i + 1], p, number == "1" ? "" : "× " + number);
    }
  }

  void write_edge(const ExternalProof& from, const ExternalProof& to,
                  const std::string& label) {
    out_ << "  n" << drawn(&from)->id() << " -> n" << to.id();
    if (!label.empty()) out_ << " [label=\" " << escaped(label) << " \"]";
    out_ << ";\n";
  }

  std::ostream& out_;
  const ExternalProof& root_;
  const ProofNotes& notes_;
  const std::vector<const ExternalProof*> nodes_;
  std::unordered_set<const ExternalProof*>
      hypotheses_;                                    // literals with a node of their own
  std::unordered_set<const ExternalProof*> assumed_;  // literals of branches
};

}  // namespace

void draw_proof(std::ostream& out, const ExternalProof& root, const ProofNotes& notes) {
  Drawing(out, root, notes).write();
}

}  // namespace opal::host
