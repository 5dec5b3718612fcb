#include "opal/explain/proof_drawing.h"

#include <algorithm>
#include <cassert>
#include <ostream>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "opal/base/utf8.h"
#include "opal/terms/print/infix.h"
#include "opal/terms/terms.h"

namespace opal::host {

namespace {

using Side = ProofNotes::Side;

constexpr std::size_t SHOWN = 60;        // characters of a text in a node
constexpr std::size_t POINTED_AT = 600;  // and in what pops up

// Of the Okabe-Ito palette, lightened; in grey A is darker than B.
constexpr const char* FILL_OF_A = "#8CC4EA";
constexpr const char* FILL_OF_B = "#FBE3A6";
constexpr const char* FILL_OF_BOTH = "#8CC4EA;0.5:#FBE3A6";
constexpr const char* FILL_OF_NEITHER = "#F2F2F2";

constexpr const char* HEADER = R"(digraph proof {
  graph [rankdir=TB, ranksep=0.35, nodesep=0.25, fontname="Helvetica", fontsize=11,
         labelloc=t, tooltip=" "];
  node [shape=box, fontname="Helvetica", fontsize=12, margin="0.12,0.06", height=0.3,
        style=filled, fillcolor=white, color="#555555"];
  edge [fontname="Helvetica", fontsize=10, color="#777777", arrowsize=0.6, tooltip=" "];
)";

// The bytes of the character that begins at `i`, or 0 where there is none that XML has.
std::size_t character_length(const std::string& text, std::size_t i) {
  const std::string_view rest = std::string_view(text).substr(i, 3);
  return rest == "\xEF\xBF\xBE" || rest == "\xEF\xBF\xBF" ? 0 : utf8_length(text, i);
}

// A text inside of a label or a quoted string: Graphviz reads entities in both. What XML
// has no character for becomes a blank or a question mark.
std::string escaped(const std::string& text) {
  std::string result;
  for (std::size_t i = 0; i < text.size();) {
    const std::size_t length = character_length(text, i);
    const char c = text[i];
    if (length == 0)
      result += '?';
    else if (length > 1)
      result += text.substr(i, length);
    else if (c == '\n')
      result += "&#10;";
    else if (static_cast<unsigned char>(c) < 0x20U || c == 0x7F)
      result += ' ';
    else if (c == '&')
      result += "&amp;";
    else if (c == '<')
      result += "&lt;";
    else if (c == '>')
      result += "&gt;";
    else if (c == '"')
      result += "&quot;";
    else if (c == '\\')
      result += "&#92;";
    else
      result += c;
    i += std::max<std::size_t>(length, 1);
  }
  return result;
}

// A text in lines of about SHOWN characters, broken at blanks; the last line is cut.
std::vector<std::string> wrapped(const std::string& text, std::size_t most_lines) {
  std::vector<std::string> lines;
  std::size_t begin = 0;
  while (lines.size() + 1 < most_lines) {
    const std::string rest = text.substr(begin);
    if (shortened(rest, SHOWN) == rest) break;
    const std::size_t end = rest.rfind(' ', shortened(rest, SHOWN).rfind("…"));
    if (end == std::string::npos || end == 0) break;
    lines.push_back(rest.substr(0, end));
    begin += end + 1;
  }
  lines.push_back(shortened(text.substr(begin), SHOWN));
  return lines;
}

std::string small(const std::string& text) {
  return R"(<FONT POINT-SIZE="9" COLOR="#444444">)" + escaped(text) + "</FONT>";
}

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
    std::string rows;
    for (const std::string& line : notes_.remarks)
      rows += "<TR><TD COLSPAN=\"3\" BORDER=\"0\">" + escaped(line) + "</TD></TR>";
    if (!notes_.sides.empty()) {
      const auto cell = [](const char* fill, const std::string& side,
                           const std::string& name) {
        const std::string text = name.empty() ? side : side + ": " + name;
        return std::string("<TD BGCOLOR=\"") + fill + "\">" +
               escaped(shortened(text, SHOWN)) + "</TD>";
      };
      rows += "<TR>" + cell(FILL_OF_A, "A", notes_.name_of_A) +
              cell(FILL_OF_B, "B", notes_.name_of_B);
      if (has_shared()) rows += cell("#8CC4EA:#FBE3A6", "A and B", "");
      rows += "</TR>";
    }
    if (rows.empty()) return;
    out_ << "  label=<<TABLE BORDER=\"0\" CELLBORDER=\"1\" CELLSPACING=\"4\" "
         << "CELLPADDING=\"4\" COLOR=\"#555555\">" << rows << "</TABLE>>;\n";
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
    const char* separator = "label=<";
    for (const std::string& line : lines)
      out_ << std::exchange(separator, "<BR/>") << line;
    out_ << ">, tooltip=\"" << escaped(tooltip) << "\"";
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
