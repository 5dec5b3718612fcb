// The printer of scripts, which asks the one that the term manager made for it.

#include "opal/interfaces/term_printer.h"

#include <cassert>

#include "opal/interfaces/exception.h"

namespace opal {

SmtLib2TermPrinter::SmtLib2TermPrinter(TermManager* mgr,
                                       Configuration::Printer* configuration,
                                       const std::string& logic, const std::string& status,
                                       bool declares, const TermAttributes* attributes)
    : printer_(
          mgr->make_script_printer({configuration, logic, status, declares, attributes})) {
  if (printer_ == nullptr)
    throw Exception("the term manager makes no printer of scripts", true);
}
SmtLib2TermPrinter::~SmtLib2TermPrinter() = default;

void SmtLib2TermPrinter::print_formula(std::ostream& out, const Term_* formula) {
  assert(formula != nullptr);
  printer_->print_formula(out, formula);
}
void SmtLib2TermPrinter::print_logic(std::ostream& out, const Term_* formula) {
  assert(formula != nullptr);
  printer_->print_logic(out, formula);
}
void SmtLib2TermPrinter::print_declarations(std::ostream& out, const Term_* formula) {
  assert(formula != nullptr);
  printer_->print_declarations(out, formula);
}
void SmtLib2TermPrinter::print_symbol(std::ostream& out, const Symbol* symbol) {
  assert(symbol != nullptr);
  printer_->print_symbol(out, symbol);
}
void SmtLib2TermPrinter::print_sort(std::ostream& out, const Term_* t) {
  assert(t != nullptr);
  printer_->print_sort(out, t);
}
void SmtLib2TermPrinter::print_term(std::ostream& out, const Term_* t) {
  assert(t != nullptr);
  printer_->print_term(out, t);
}
void SmtLib2TermPrinter::print_define_section_start(std::ostream& out) {
  printer_->print_define_section_start(out);
}
void SmtLib2TermPrinter::print_define_section_end(std::ostream& out) {
  printer_->print_define_section_end(out);
}
void SmtLib2TermPrinter::print_definition(std::ostream& out, const std::string& name,
                                          const Term_* t) {
  assert(t != nullptr);
  printer_->print_definition(out, name, t);
}
void SmtLib2TermPrinter::print_assertion(std::ostream& out, const Term_* formula) {
  assert(formula != nullptr);
  printer_->print_assertion(out, formula);
}
void SmtLib2TermPrinter::print_start(std::ostream& out) { printer_->print_start(out); }
void SmtLib2TermPrinter::print_end(std::ostream& out) { printer_->print_end(out); }
void SmtLib2TermPrinter::print_comment(std::ostream& out, const std::string& text) {
  printer_->print_comment(out, text);
}

}  // namespace opal
