#ifndef OPAL_SMTLIB_TERM_PARSER_H
#define OPAL_SMTLIB_TERM_PARSER_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "opal/smtlib/operators.h"
#include "opal/smtlib/sexpr.h"
#include "opal/smtlib/symbol_table.h"
#include "opal/terms/terms.h"

namespace opal::smtlib {

/// A term that was read, with the names that :named gives to it and to its parts. The
/// names are not in the symbol table yet.
struct ParsedTerm : TypedTerm {
  std::vector<std::pair<std::string, TypedTerm>> names;  // innermost first
  std::string name;  // of the term itself, the last one if it has several; may be empty
};

/// Bool, Int or Real. Throws Error for any other sort, and for one that a logic over
/// these numbers does not have.
host::Sort parse_sort(const Sexpr& source, Sexpr::Node n, Numbers numbers);
/// The name of a symbol that is about to be declared. Throws Error when it is no symbol,
/// a word that is reserved or predefined, or in the table.
std::string parse_new_symbol(const Sexpr& source, Sexpr::Node n, const SymbolTable& symbols,
                             Numbers numbers);

/// Makes terms from S-expressions. Iterative.
class TermParser {
 public:
  /// Keeps references, for one command.
  TermParser(host::Terms& terms, const SymbolTable& symbols, const Sexpr& source,
             Numbers numbers)
      : terms_(terms), symbols_(symbols), source_(source), numbers_(numbers) {}

  /// Enters a parameter of the definition whose body is read next; a product of two terms
  /// is allowed there, since an application may make it linear.
  void add_parameter(std::string_view name, const Term_* variable);

  /// Throws Error: an undeclared symbol, a sort mismatch, and so on.
  ParsedTerm parse(Sexpr::Node root);
  /// As parse, of the sort Bool.
  ParsedTerm parse_formula(Sexpr::Node root);
  /// As parse, of a sort; an Int is read as a Real where that is expected.
  ParsedTerm parse_body(Sexpr::Node root, host::Sort expected);

  /// The first S-expression below `root` that stands for `t`, if any: reads `root` once
  /// more. For messages.
  std::optional<Sexpr::Node> find(Sexpr::Node root, const Term_* t);

 private:
  using Node = Sexpr::Node;
  enum class Form : std::uint8_t { OPERATOR, APPLICATION, LET, ANNOTATION };
  /// A list whose parts are being read. Invariants: list < next <= end <=
  /// source_.end(list), and base ascends from frame to frame.
  ///
  ///     values_:  ... | the values of this list's parts so far | ...
  ///                     ^ base
  struct Frame {
    Node list;
    Node next;  // the part to be read next
    Node end;   // of the parts to be read; of a LET, first of its bindings, then itself
    std::size_t base;
    Form form;
    Operator op;                   // of an OPERATOR
    const Definition* definition;  // of an APPLICATION
    bool bound;                    // of a LET: whether its variables are in force
  };

  void run(Node root);
  void read(Node n);
  void read_list(Node list);
  void check_index(Node list) const;
  void start_let(Node list);
  void start_annotation(Node list);
  void step_let(Frame& frame);
  void bind(const Frame& frame);
  void close();
  void close_let(const Frame& frame);
  void close_annotation(const Frame& frame);
  void apply_operator(const Frame& frame);
  void apply_definition(const Frame& frame);
  [[nodiscard]] TypedTerm atom(Node n) const;
  [[nodiscard]] TypedTerm symbol(Node n) const;
  [[nodiscard]] std::vector<Node> bound_names(Node let) const;
  [[nodiscard]] Node part(Node list, std::size_t i) const;
  void deliver(Node n, TypedTerm t);
  [[noreturn]] void fail(Node n, const std::string& what) const;

  host::Terms& terms_;
  const SymbolTable& symbols_;
  const Sexpr& source_;
  const Numbers numbers_;
  std::vector<Frame> frames_;
  std::vector<TypedTerm> values_;
  // The terms of a local variable, innermost last. Keys are texts of the source.
  std::unordered_map<std::string_view, std::vector<TypedTerm>> local_;
  bool has_parameters_ = false;
  std::unordered_map<std::string_view, TypedTerm> named_;  // result_.names, by name
  ParsedTerm result_;
  Node root_ = 0;
  const Term_* sought_ = nullptr;  // by find()
  std::optional<Node> found_;
};

}  // namespace opal::smtlib

#endif
