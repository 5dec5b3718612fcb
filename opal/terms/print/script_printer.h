#ifndef OPAL_TERMS_PRINT_SCRIPT_PRINTER_H
#define OPAL_TERMS_PRINT_SCRIPT_PRINTER_H

#include <iosfwd>
#include <string>
#include <vector>

#include "opal/interfaces/term_printer.h"
#include "opal/terms/terms.h"

namespace opal::host {

/// The sorts of numbers that occur in formulas.
struct NumberSorts {
  bool integers = false;  // an Int, to_real, a floor or a congruence
  bool reals = false;     // a Real, to_real, a floor of a Real, or a fraction
};
NumberSorts number_sorts(const std::vector<const Term_*>& formulas);
/// Whether a number that has no sort of its own is a Real among them.
inline bool is_real(const NumberSorts& sorts) { return sorts.reals || !sorts.integers; }
/// The wanted logic if it has these sorts, else the smallest one that has.
std::string logic_for(const std::string& wanted, const NumberSorts& sorts);
/// The command that declares a variable.
void print_declaration(std::ostream& out, const Term_* variable);

/// Writes SMT-LIB 2.6 scripts of host terms (see printer.h) that other solvers accept as
/// they are: with every variable declared, and in a logic that has the sorts of their
/// numbers, whatever logic was asked for. Attributes are written for the formula that is
/// asserted.
class ScriptPrinter final : public TermPrinter {
 public:
  explicit ScriptPrinter(ScriptStyle style);

  void print_formula(std::ostream& out, const Term_* formula) override;
  void print_logic(std::ostream& out, const Term_* formula) override;
  void print_declarations(std::ostream& out, const Term_* formula) override;
  /// A variable's name.
  void print_symbol(std::ostream& out, const Symbol* symbol) override;
  void print_sort(std::ostream& out, const Term_* t) override;
  void print_term(std::ostream& out, const Term_* t) override;
  void print_definition(std::ostream& out, const std::string& name,
                        const Term_* t) override;
  void print_assertion(std::ostream& out, const Term_* formula) override;
  void print_comment(std::ostream& out, const std::string& text) override;

 private:
  const ScriptStyle style_;
};

}  // namespace opal::host

#endif
