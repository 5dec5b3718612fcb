// Terms from S-expressions, without recursion.
//
// A stack of frames holds the lists that are being read, a stack of values the terms of
// their parts so far; a list that ends takes its parts' values from the top and leaves its
// own. Reading (+ x (* 2 y)), when y is next:
//
//     frames   (+ ...)  base 0    (* ...)  base 1
//     values   x  2
//
// A `let` keeps a stack of terms for each of its names, which shadow what stands below;
// the terms are shared, so that nested bindings cost no more than their text. Cost: linear
// in the text, and a definition's body for each application.

#include "opal/smtlib/term_parser.h"

#include <cassert>

#include "opal/terms/print/printer.h"
#include "opal/utils/qnumber.h"

namespace opal::smtlib {

using host::Sort;
using host::Terms;

Sort parse_sort(const Sexpr& source, Sexpr::Node n, Numbers numbers) {
  if (!source.is_symbol(n)) fail_quoting(source, n, "unknown sort");
  const std::string_view name = source.text(n);
  if (name == "Bool") return Sort::BOOL;
  const bool integer = name == "Int";
  if (!integer && name != "Real") fail_quoting(source, n, "unknown sort");
  if (numbers == (integer ? Numbers::REALS : Numbers::INTEGERS)) {
    fail_quoting(source, n, "the logic does not have the sort");
  }
  return integer ? Sort::INT : Sort::REAL;
}

std::string parse_new_symbol(const Sexpr& source, Sexpr::Node n, const SymbolTable& symbols,
                             Numbers numbers) {
  if (!source.is_symbol(n)) fail_quoting(source, n, "expected a symbol");
  const std::string_view name = source.text(n);
  // A symbol that was written without bars needs them only if it is a reserved word.
  if (source.kind(n) == Token::SYMBOL && host::symbol_text(name) != name) {
    fail_quoting(source, n, "reserved word used as a symbol");
  }
  if (operator_of(name, numbers) || name == "true" || name == "false") {
    fail_quoting(source, n, "the symbol is predefined");
  }
  if (symbols.find(name) != nullptr)
    fail_quoting(source, n, "the symbol is already in use");
  return std::string(name);
}

void TermParser::add_parameter(std::string_view name, const Term_* variable) {
  assert(frames_.empty() && local_.count(name) == 0);
  local_[name].push_back({variable, Terms::sort_of(variable)});
  has_parameters_ = true;
}

ParsedTerm TermParser::parse(Node root) {
  run(root);
  return std::move(result_);
}

ParsedTerm TermParser::parse_formula(Node root) {
  ParsedTerm result = parse(root);
  if (result.sort != Sort::BOOL) {
    fail(root, std::string("sort mismatch: expected a formula, got ") +
                   (result.sort == Sort::INT ? "an Int term" : "a Real term"));
  }
  return result;
}

ParsedTerm TermParser::parse_body(Node root, Sort expected) {
  if (expected == Sort::BOOL) return parse_formula(root);
  ParsedTerm result = parse(root);
  static_cast<TypedTerm&>(result) = read_as(terms_, expected, result);
  if (result.sort != expected) {
    fail(root, std::string("sort mismatch: the body is ") + to_string(result.sort) +
                   ", expected " + to_string(expected));
  }
  return result;
}

std::optional<Sexpr::Node> TermParser::find(Node root, const Term_* t) {
  sought_ = t;
  found_.reset();
  run(root);
  sought_ = nullptr;
  return found_;
}

void TermParser::run(Node root) {
  result_ = ParsedTerm();
  root_ = root;
  frames_.clear();
  values_.clear();
  named_.clear();
  read(root);
  while (!frames_.empty()) {
    Frame& frame = frames_.back();
    if (frame.next < frame.end) {
      if (frame.form == Form::LET) {
        step_let(frame);
      } else {
        const Node n = frame.next;
        frame.next = source_.end(n);
        read(n);
      }
    } else if (frame.form == Form::LET && !frame.bound) {
      bind(frame);
      frame.bound = true;
      frame.end = source_.end(frame.list);
    } else {
      close();
    }
  }
  assert(values_.size() == 1 && (has_parameters_ || local_.empty()));
  static_cast<TypedTerm&>(result_) = values_.back();
}

// Reads a node: the value of an atom at once, that of a list when its parts are read.
void TermParser::read(Node n) {
  if (source_.is_list(n)) {
    read_list(n);
  } else {
    deliver(n, atom(n));
  }
}

void TermParser::read_list(Node list) {
  assert(source_.is_list(list));
  const Node head = list + 1;
  if (head >= source_.end(list)) fail(list, "expected a term");
  if (source_.is_word(head, "let")) return start_let(list);
  if (source_.is_word(head, "!")) return start_annotation(list);
  Frame frame{list,           source_.end(head), source_.end(list), values_.size(),
              Form::OPERATOR, Operator::AND,     nullptr,           false};
  if (source_.is_list(head)) {
    check_index(list);
    frame.op = Operator::DIVISIBLE;
    return frames_.push_back(frame);
  }
  if (!source_.is_symbol(head)) fail(head, "expected the name of a function");
  const std::string_view name = source_.text(head);
  if (const auto op = operator_of(name, numbers_)) {
    frame.op = *op;
  } else {
    frame.form = Form::APPLICATION;
    frame.definition = symbols_.find(name);
    if (frame.definition == nullptr) {
      const std::string_view why = why_unavailable(name, numbers_);
      if (!why.empty()) fail(list, std::string(name) + " " + std::string(why));
      fail(head, "undeclared function");
    }
    if (frame.definition->parameters.empty()) fail(list, "a constant takes no arguments");
  }
  frames_.push_back(frame);
}

// ((_ divisible n) term)
void TermParser::check_index(Node list) const {
  const Node head = list + 1;
  const std::vector<Node> parts = source_.children(head);
  if (parts.size() < 2 || !source_.is_word(parts[0], "_") ||
      !source_.is_word(parts[1], "divisible")) {
    fail(head, "expected the name of a function");
  }
  const bool fits = parts.size() == 3 && source_.kind(parts[2]) == Token::NUMERAL &&
                    source_.text(parts[2]) != "0";
  if (!fits) fail(head, "expected (_ divisible n), n a numeral above 0");
}

// (let ((name term) ...) body)
void TermParser::start_let(Node list) {
  const Node bindings = source_.end(list + 1);
  const Node end = source_.end(list);
  if (bindings >= end || !source_.is_list(bindings) ||
      bindings + 1 == source_.end(bindings) || source_.end(bindings) >= end ||
      source_.end(source_.end(bindings)) != end) {
    fail(list, "expected (let ((name term) ...) term)");
  }
  frames_.push_back({list, bindings + 1, source_.end(bindings), values_.size(), Form::LET,
                     Operator::AND, nullptr, false});
}

void TermParser::step_let(Frame& frame) {
  const Node n = frame.next;
  frame.next = source_.end(n);
  assert(frame.form == Form::LET && n < frame.end);
  if (frame.bound) return read(n);
  const bool pair = source_.is_list(n) && n + 1 < source_.end(n) &&
                    source_.is_symbol(n + 1) && n + 2 < source_.end(n) &&
                    source_.end(n + 2) == source_.end(n);
  if (!pair) fail(n, "expected (name term)");
  read(n + 2);
}

std::vector<Sexpr::Node> TermParser::bound_names(Node let) const {
  std::vector<Node> names = source_.children(source_.end(let + 1));
  for (Node& n : names)
    ++n;
  return names;
}

// Bindings are parallel: all terms are read before the first name comes into force.
void TermParser::bind(const Frame& frame) {
  assert(frame.form == Form::LET && !frame.bound);
  const std::vector<Node> names = bound_names(frame.list);
  assert(values_.size() == frame.base + names.size());
  if (names.size() > 1) {
    std::unordered_map<std::string_view, Node> seen;
    for (const Node n : names) {
      if (!seen.emplace(source_.text(n), n).second) fail(n, "name bound twice by one let");
    }
  }
  for (std::size_t i = 0; i < names.size(); ++i) {
    local_[source_.text(names[i])].push_back(values_[frame.base + i]);
  }
  values_.resize(frame.base);
}

// (! term :named name ...)
void TermParser::start_annotation(Node list) {
  const Node body = source_.end(list + 1);
  const Node end = source_.end(list);
  if (body >= end || source_.end(body) >= end) {
    fail(list, "expected (! term :attribute ...)");
  }
  frames_.push_back({list, body, source_.end(body), values_.size(), Form::ANNOTATION,
                     Operator::AND, nullptr, false});
}

void TermParser::close() {
  const Frame frame = frames_.back();
  frames_.pop_back();
  assert(frame.next == frame.end && frame.base <= values_.size());
  switch (frame.form) {
    case Form::OPERATOR: return apply_operator(frame);
    case Form::APPLICATION: return apply_definition(frame);
    case Form::LET: return close_let(frame);
    case Form::ANNOTATION: return close_annotation(frame);
  }
}

void TermParser::close_let(const Frame& frame) {
  for (const Node n : bound_names(frame.list)) {
    const auto entry = local_.find(source_.text(n));
    assert(entry != local_.end() && !entry->second.empty());
    entry->second.pop_back();
    if (entry->second.empty()) local_.erase(entry);
  }
  assert(values_.size() == frame.base + 1);
  const TypedTerm body = values_.back();
  values_.pop_back();
  deliver(frame.list, body);
}

void TermParser::close_annotation(const Frame& frame) {
  assert(values_.size() == frame.base + 1);
  const TypedTerm body = values_.back();
  values_.pop_back();
  const Node end = source_.end(frame.list);
  for (Node n = source_.end(source_.end(frame.list + 1)); n < end;) {
    if (source_.kind(n) != Token::KEYWORD) fail(n, "expected an attribute");
    const Node value = source_.end(n);
    const bool has_value = value < end && source_.kind(value) != Token::KEYWORD;
    if (source_.text(n) == ":named") {
      if (!has_value) fail(n, "expected a symbol after");
      if (!local_.empty()) fail(frame.list, "a term with local variables cannot be named");
      const std::string name = parse_new_symbol(source_, value, symbols_, numbers_);
      if (!named_.emplace(source_.text(value), body).second) {
        fail(value, "the symbol is already in use");
      }
      result_.names.emplace_back(name, body);
      if (frame.list == root_) result_.name = name;
    }
    n = has_value ? source_.end(value) : value;
  }
  deliver(frame.list, body);
}

void TermParser::apply_operator(const Frame& frame) {
  const Arguments args{values_.data() + frame.base, values_.size() - frame.base};
  Application application{frame.op, numbers_,
                          has_parameters_ ? Products::ANY : Products::LINEAR};
  if (frame.op == Operator::DIVISIBLE) {
    // The index of ((_ divisible n) t), four nodes behind the list.
    assert(source_.kind(frame.list + 4) == Token::NUMERAL);
    application.index = QNumber::from_decimal(source_.text(frame.list + 4));
  }
  TypedTerm t;
  try {
    t = apply(terms_, application, args);
  } catch (const OperatorError& error) {
    fail(error.argument == OperatorError::ALL ? frame.list
                                              : part(frame.list, error.argument + 1),
         error.what());
  }
  values_.resize(frame.base);
  deliver(frame.list, t);
}

void TermParser::apply_definition(const Frame& frame) {
  assert(frame.definition != nullptr);
  const std::vector<const Term_*>& parameters = frame.definition->parameters;
  const std::size_t count = values_.size() - frame.base;
  if (count != parameters.size()) {
    fail(frame.list, frame.definition->name + " takes " +
                         std::to_string(parameters.size()) + " argument(s), not " +
                         std::to_string(count));
  }
  std::vector<const Term_*> arguments;
  for (std::size_t i = 0; i < count; ++i) {
    const Sort expected = Terms::sort_of(parameters[i]);
    const TypedTerm argument = read_as(terms_, expected, values_[frame.base + i]);
    if (argument.sort != expected) {
      fail(part(frame.list, i + 1), "sort mismatch: argument " + std::to_string(i + 1) +
                                        " of " + frame.definition->name + " is " +
                                        to_string(argument.sort) + ", expected " +
                                        to_string(expected));
    }
    arguments.push_back(argument.term);
  }
  const Term_* t = instantiate(terms_, *frame.definition, arguments.data());
  values_.resize(frame.base);
  deliver(frame.list, {t, frame.definition->body.sort});
}

TypedTerm TermParser::atom(Node n) const {
  switch (source_.kind(n)) {
    case Token::NUMERAL:
    case Token::DECIMAL: {
      const bool real = numbers_ == Numbers::REALS || source_.kind(n) == Token::DECIMAL;
      return {terms_.make_number(QNumber::from_decimal(source_.text(n))),
              real ? Sort::REAL : Sort::INT};
    }
    case Token::SYMBOL:
    case Token::QUOTED: return symbol(n);
    case Token::HEXADECIMAL:
    case Token::BINARY: fail(n, "bit-vector constants are not supported");
    default: fail(n, "expected a term");
  }
}

TypedTerm TermParser::symbol(Node n) const {
  assert(source_.is_symbol(n));
  const std::string_view name = source_.text(n);
  const auto local = local_.find(name);
  if (local != local_.end()) return local->second.back();
  if (name == "true") return {terms_.true_term(), Sort::BOOL};
  if (name == "false") return {terms_.false_term(), Sort::BOOL};
  const auto named = named_.find(name);
  if (named != named_.end()) return named->second;
  const Definition* definition = symbols_.find(name);
  if (definition == nullptr) {
    if (operator_of(name, numbers_)) fail(n, "a function needs arguments");
    const bool negative =
        name.size() > 1 && name[0] == '-' && name[1] >= '0' && name[1] <= '9';
    fail(n, negative ? "a negative number is written (- 1), undeclared symbol"
                     : "undeclared symbol");
  }
  if (!definition->parameters.empty()) fail(n, "a function needs arguments");
  return definition->body;
}

Sexpr::Node TermParser::part(Node list, std::size_t i) const {
  Node n = list + 1;
  for (; i > 0; --i)
    n = source_.end(n);
  assert(n < source_.end(list));
  return n;
}

void TermParser::deliver(Node n, TypedTerm t) {
  assert(t.term != nullptr && t.is_well_sorted());
  if (t.term == sought_ && !found_) found_ = n;
  values_.push_back(t);
}

void TermParser::fail(Node n, const std::string& what) const {
  fail_quoting(source_, n, what);
}

}  // namespace opal::smtlib
