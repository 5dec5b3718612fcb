// Whole scripts: the logic, the declarations, the assertion.
//
//     numbers of a formula        logic
//     Reals only, or none         QF_LRA
//     Ints only                   QF_LIA
//     both, to_real, floors       QF_LIRA
//
// A logic that was asked for stays if it has the sorts of the numbers: QF_IDL for a formula
// over Ints does, QF_LRA does not and becomes QF_LIA.

#include "opal/terms/print/script_printer.h"

#include <algorithm>
#include <cassert>
#include <ostream>
#include <utility>

#include "opal/terms/print/printer.h"
#include "opal/terms/sub_terms.h"

namespace opal::host {

namespace {

// Whether a logic has the sorts of a formula's numbers.
bool covers(const std::string& logic, const NumberSorts& sorts) {
  if (logic == "ALL" || logic == "QF_LIRA") return true;
  if (logic == "QF_LIA" || logic == "QF_IDL") return !sorts.reals && sorts.integers;
  return !logic.empty() && !sorts.integers;
}

}  // namespace

NumberSorts number_sorts(const std::vector<const Term_*>& formulas) {
  NumberSorts sorts;
  for (const Term_* t : SubTerms(formulas)) {
    const TermSymbol& symbol = Terms::symbol_of(t);
    const bool both = symbol.kind == Kind::TO_REAL || symbol.kind == Kind::FLOOR;
    const bool variable = symbol.kind == Kind::VARIABLE;
    const bool fraction = symbol.kind == Kind::NUMERAL && symbol.sort == Sort::REAL;
    if (both || symbol.kind == Kind::CONGRUENCE || (variable && symbol.sort == Sort::INT)) {
      sorts.integers = true;
    }
    if (both || fraction || (variable && symbol.sort == Sort::REAL)) sorts.reals = true;
  }
  return sorts;
}

std::string logic_for(const std::string& wanted, const NumberSorts& sorts) {
  if (covers(wanted, sorts)) return wanted;
  const std::string logic = !sorts.integers ? "QF_LRA" : sorts.reals ? "QF_LIRA" : "QF_LIA";
  assert(covers(logic, sorts));
  return logic;
}

void print_declaration(std::ostream& out, const Term_* variable) {
  assert(Terms::kind_of(variable) == Kind::VARIABLE);
  const TermSymbol& symbol = Terms::symbol_of(variable);
  out << "(declare-fun " << symbol_text(symbol.name) << " () " << to_string(symbol.sort)
      << ")\n";
}

ScriptPrinter::ScriptPrinter(ScriptStyle style) : style_(std::move(style)) {}

void ScriptPrinter::print_formula(std::ostream& out, const Term_* formula) {
  assert(Terms::sort_of(formula) == Sort::BOOL);
  print_start(out);
  if (!style_.status.empty()) out << "(set-info :status " << style_.status << ")\n";
  print_logic(out, formula);
  if (style_.declares) print_declarations(out, formula);
  print_define_section_start(out);
  print_define_section_end(out);
  print_assertion(out, formula);
  print_end(out);
}

void ScriptPrinter::print_logic(std::ostream& out, const Term_* formula) {
  out << "(set-logic " << logic_for(style_.logic, number_sorts({formula})) << ")\n";
}

void ScriptPrinter::print_declarations(std::ostream& out, const Term_* formula) {
  for (const Term_* v : variables_of({formula}))
    print_declaration(out, v);
}

void ScriptPrinter::print_symbol(std::ostream& out, const Symbol* symbol) {
  assert(static_cast<const TermSymbol&>(*symbol).kind == Kind::VARIABLE);
  out << symbol_text(static_cast<const TermSymbol&>(*symbol).name);
}

void ScriptPrinter::print_sort(std::ostream& out, const Term_* t) {
  out << to_string(Terms::sort_of(t));
}

void ScriptPrinter::print_term(std::ostream& out, const Term_* t) {
  host::print_term(out, t, is_real(number_sorts({t})));
}

void ScriptPrinter::print_definition(std::ostream& out, const std::string& name,
                                     const Term_* t) {
  out << "(define-fun " << symbol_text(name) << " () ";
  print_sort(out, t);
  out << ' ';
  print_term(out, t);
  out << ")\n";
}

void ScriptPrinter::print_assertion(std::ostream& out, const Term_* formula) {
  assert(Terms::sort_of(formula) == Sort::BOOL);
  out << "(assert ";
  const bool annotated = style_.attributes != nullptr &&
                         style_.attributes->find(formula) != style_.attributes->end();
  if (annotated) out << "(! ";
  print_term(out, formula);
  if (annotated) {
    for (const auto& [name, value] : style_.attributes->find(formula)->second)
      out << ' ' << name << ' ' << value;
    out << ')';
  }
  out << ")\n";
}

void ScriptPrinter::print_comment(std::ostream& out, const std::string& text) {
  std::string line = text;
  std::replace(line.begin(), line.end(), '\n', ' ');
  assert(line.find('\n') == std::string::npos);
  out << "; " << line << '\n';
}

}  // namespace opal::host
