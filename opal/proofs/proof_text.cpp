// Exported proofs as S-expressions and as JSON.
//
// A proof is a DAG whose tree may be too large to write; so what occurs more than once gets
// a name, in the order of the nodes' ids, in which a name is bound before it is used. In
// JSON every step is a node of a list, and names are the numbers in that list.
//
// Example: the hypothesis (la-hyp a), used in both cases of a disequality, is written as
//
//     (let ((@1 (la-hyp a))) (la-neq ... (la-comb 1 @1 ...) (la-comb 1 @1 ...)))
//
// Cost: linear in the nodes and in the text of their literals and numerals.

#include "opal/proofs/proof_text.h"

#include <algorithm>
#include <cassert>
#include <ostream>
#include <sstream>
#include <string>

#include "opal/base/utf8.h"
#include "opal/terms/print/printer.h"

namespace opal::host {

namespace {

const QNumber& number_of(const ExternalProof& p) {
  assert(p.is_leaf() && Terms::is_numeral(p.term()));
  return Terms::symbol_of(p.term()).value;
}

bool is_number(const ExternalProof& p) {
  return p.is_leaf() && Terms::is_numeral(p.term());
}

// 3, (- 3), (/ 1 2), (- (/ 1 2))
std::string number_expression(const QNumber& value) {
  if (value.is_integer()) return number_text(value, Sort::INT);
  const QNumber magnitude = abs(value);
  std::string text =
      "(/ " + magnitude.get_num().to_str() + " " + magnitude.get_den().to_str() + ")";
  return value.sign() < 0 ? "(- " + text + ")" : text;
}

// Whether a name is shorter than what it would stand for.
bool is_worth_a_name(const ExternalProof& p) {
  constexpr std::size_t LONG = 20;
  if (!p.is_leaf()) return true;
  if (is_number(p)) return number_of(p).to_str().size() > LONG;
  return p.term()->num_args() > 0;
}

// The nodes of a proof, and which of them are named because they occur more than once.
class NamedNodes {
 public:
  explicit NamedNodes(const ExternalProof& root)
      : nodes_(nodes_of(root)), numbers_(root.id() + 1, 0) {
    for (const ExternalProof* p : nodes_)
      for (const ExternalProof* child : p->children())
        ++numbers_[child->id()];
    for (const ExternalProof* p : nodes_) {
      std::uint64_t& number = numbers_[p->id()];
      if (p->constant() != nullptr)
        number = ++count_;
      else
        number = number > 1 && is_worth_a_name(*p) ? ++count_ : 0;
    }
    assert(!nodes_.empty() && nodes_.back() == &root && count_ <= nodes_.size());
  }

  [[nodiscard]] const std::vector<const ExternalProof*>& nodes() const { return nodes_; }
  // 0 for a node without a name; names are numbered in the order of the nodes.
  [[nodiscard]] std::uint64_t number(const ExternalProof& p) const {
    assert(p.id() < numbers_.size());
    return numbers_[p.id()];
  }
  [[nodiscard]] std::uint64_t count() const { return count_; }

 private:
  std::vector<const ExternalProof*> nodes_;
  std::vector<std::uint64_t> numbers_;  // by id
  std::uint64_t count_ = 0;
};

// A start of names that no variable of the literals has.
std::string unused_prefix(const NamedNodes& named) {
  std::string prefix = "@";
  if (named.count() == 0) return prefix;
  std::vector<const Term_*> literals;
  for (const ExternalProof* p : named.nodes())
    if (p->is_leaf()) literals.push_back(p->term());
  for (const Term_* v : variables_of(literals)) {
    const std::string& name = Terms::symbol_of(v).name;
    while (name.compare(0, prefix.size(), prefix) == 0)
      prefix += '@';
  }
  return prefix;
}

// Writes S-expressions. A step above other steps has a line for each of them, together with
// the number or literal before it, indented up to some depth (by more, the text of a chain
// would be quadratic).
class ExpressionWriter {
 public:
  ExpressionWriter(std::ostream& out, const NamedNodes& named, bool real)
      : out_(out), named_(named), real_(real), prefix_(unused_prefix(named)) {}

  void write_name(const ExternalProof& p) {
    assert(1 <= named_.number(p) && named_.number(p) <= named_.count());
    if (p.constant() != nullptr)
      out_ << symbol_text(Terms::symbol_of(p.constant()).name);
    else
      out_ << prefix_ << named_.number(p);
  }

  // Writes a node; its own name, if it has one, is not used.
  void write(const ExternalProof& root) {
    assert(open_.empty());
    open(root);
    while (!open_.empty()) {
      Open& top = open_.back();
      const auto& children = top.node->children();
      assert(top.next <= children.size());
      if (top.next == children.size()) {
        out_ << ')';
        open_.pop_back();
        continue;
      }
      const bool begins_line = top.next == 0 || children[top.next - 1]->is_step();
      if (top.has_lines && begins_line)
        indent();
      else
        out_ << ' ';
      const ExternalProof& child = *children[top.next++];
      if (named_.number(child) > 0)
        write_name(child);
      else
        open(child);
    }
  }

 private:
  struct Open {
    const ExternalProof* node;
    std::size_t next;
    bool has_lines;
  };

  void open(const ExternalProof& p) {
    if (is_number(p)) {
      out_ << number_expression(number_of(p));
    } else if (p.is_leaf()) {
      print_term(out_, p.term(), real_);
    } else {
      out_ << '(' << p.rule();
      const bool has_lines = std::any_of(
          p.children().begin(), p.children().end(), [this](const ExternalProof* child) {
            return child->is_step() && named_.number(*child) == 0;
          });
      open_.push_back({&p, 0, has_lines});
    }
  }

  void indent() {
    constexpr std::size_t DEEPEST = 10;
    out_ << '\n';
    for (std::size_t i = std::min(open_.size(), DEEPEST); i > 0; --i)
      out_ << "  ";
  }

  std::ostream& out_;
  const NamedNodes& named_;
  const bool real_;
  const std::string prefix_;
  std::vector<Open> open_;
};

// A JSON string.
void write_string(std::ostream& out, const std::string& text) {
  constexpr const char* DIGITS = "0123456789abcdef";
  out << '"';
  for (std::size_t i = 0; i < text.size();) {
    const std::size_t length = utf8_length(text, i);
    const char c = text[i];
    assert(length <= text.size() - i);
    if (length == 0)
      out << "\\ufffd";
    else if (c == '"' || c == '\\')
      out << '\\' << c;
    else if (c >= 0 && c < 0x20)
      out << "\\u00" << DIGITS[c / 16] << DIGITS[c % 16];
    else
      out.write(&text[i], static_cast<std::streamsize>(length));
    i += std::max<std::size_t>(length, 1);
  }
  out << '"';
}

// Writes nodes as JSON.
class JsonWriter {
 public:
  JsonWriter(std::ostream& out, bool real) : out_(out), real_(real) {}

  // The one member of a leaf.
  void write_leaf(const ExternalProof& p) {
    assert(p.is_leaf());
    if (is_number(p)) {
      out_ << "\"number\": \"" << number_of(p).to_str() << '"';
      return;
    }
    std::ostringstream text;
    print_term(text, p.term(), real_);
    out_ << "\"term\": ";
    write_string(out_, text.str());
  }

  void write_constant(const ExternalProof& p) {
    out_ << "\"name\": ";
    write_string(out_, Terms::symbol_of(p.constant()).name);
    out_ << ", ";
  }

  // `ids` are those of the nodes, 0 for a leaf that is none.
  void write_step(const ExternalProof& p, const std::vector<std::uint64_t>& ids) {
    assert(!p.is_leaf() && ids[p.id()] > 0);
    out_ << "\"rule\": ";
    write_string(out_, p.rule());
    out_ << ", \"children\": [";
    const char* separator = "";
    for (const ExternalProof* child : p.children()) {
      out_ << separator;
      separator = ", ";
      assert(child->is_leaf() || (0 < ids[child->id()] && ids[child->id()] < ids[p.id()]));
      if (ids[child->id()] > 0) {
        out_ << ids[child->id()];
        continue;
      }
      out_ << '{';
      write_leaf(*child);
      out_ << '}';
    }
    out_ << ']';
  }

 private:
  std::ostream& out_;
  const bool real_;
};

}  // namespace

void print_proof(std::ostream& out, const ExternalProof& root, bool real) {
  const NamedNodes named(root);
  ExpressionWriter writer(out, named, real);
  for (const ExternalProof* p : named.nodes()) {
    if (named.number(*p) == 0) continue;
    out << "(let ((";
    writer.write_name(*p);
    out << ' ';
    writer.write(*p);
    out << "))\n";
  }
  writer.write(root);
  for (std::uint64_t i = 0; i < named.count(); ++i)
    out << ')';
}

void print_proof_json(std::ostream& out, const ExternalProof& root, bool real) {
  const NamedNodes named(root);
  JsonWriter writer(out, real);
  const auto is_node = [&](const ExternalProof& p) {
    return !p.is_leaf() || named.number(p) > 0 || &p == &root;
  };
  std::vector<std::uint64_t> ids(root.id() + 1, 0);
  std::uint64_t count = 0;
  for (const ExternalProof* p : named.nodes())
    if (is_node(*p)) ids[p->id()] = ++count;
  out << "{\"root\": " << ids[root.id()] << ", \"nodes\": [";
  const char* separator = "\n";
  for (const ExternalProof* p : named.nodes()) {
    if (!is_node(*p)) continue;
    out << separator << "{\"id\": " << ids[p->id()] << ", ";
    separator = ",\n";
    if (p->constant() != nullptr) writer.write_constant(*p);
    if (p->is_leaf())
      writer.write_leaf(*p);
    else
      writer.write_step(*p, ids);
    out << '}';
  }
  out << "\n]}";
}

}  // namespace opal::host
