#ifndef OPAL_INTERFACES_TERM_PRINTER_H
#define OPAL_INTERFACES_TERM_PRINTER_H

// Printers of scripts for other solvers.

#include <iosfwd>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "opal/interfaces/term.h"
#include "opal/interfaces/term_manager.h"
#include "opal/utils/hash_map.h"

namespace opal {

/// What a host lets its users choose.
class Configuration {
 public:
  /// How terms are printed; the host's own.
  class Printer;
};

/// Attributes of terms, as name and value.
using TermAttributes =
    hsh::HashMap<const Term_*, std::vector<std::pair<std::string, std::string>>>;

/// What a script for another solver is to look like.
struct ScriptStyle {
  Configuration::Printer* configuration = nullptr;  // null: as the host likes
  std::string logic;                                // widened where a formula needs more
  std::string status;                               // announced when not empty
  bool declares = true;                             // symbols are declared
  const TermAttributes* attributes = nullptr;       // of terms; null for none
};

/// Writes terms as scripts. The order of the virtual operations is fixed.
class TermPrinter {
 public:
  TermPrinter() = default;
  TermPrinter(const TermPrinter&) = delete;
  TermPrinter& operator=(const TermPrinter&) = delete;
  virtual ~TermPrinter() = default;

  /// A complete script that asserts a formula, without a question about it.
  virtual void print_formula(std::ostream& out, const Term_* formula) = 0;
  /// The line that sets the logic which a formula needs.
  virtual void print_logic(std::ostream& out, const Term_* formula) = 0;
  /// Declares the symbols of a formula.
  virtual void print_declarations(std::ostream& out, const Term_* formula) = 0;
  virtual void print_symbol(std::ostream& out, const Symbol* symbol) = 0;
  /// The sort of a term.
  virtual void print_sort(std::ostream& out, const Term_* t) = 0;
  virtual void print_term(std::ostream& out, const Term_* t) = 0;
  /// Around the definitions of a script.
  virtual void print_define_section_start(std::ostream& /*out*/) {}
  virtual void print_define_section_end(std::ostream& /*out*/) {}
  /// Gives a term a name.
  virtual void print_definition(std::ostream& out, const std::string& name,
                                const Term_* t) = 0;
  virtual void print_assertion(std::ostream& out, const Term_* formula) = 0;
  /// Around a script.
  virtual void print_start(std::ostream& /*out*/) {}
  virtual void print_end(std::ostream& /*out*/) {}
  /// A line that other solvers skip. Line breaks in the text become blanks.
  virtual void print_comment(std::ostream& out, const std::string& text) = 0;
};

/// Writes SMT-LIB 2 scripts by the printer that a term manager makes for them.
class SmtLib2TermPrinter final : public TermPrinter {
 public:
  /// Throws Exception when the manager makes no printer.
  SmtLib2TermPrinter(TermManager* mgr, Configuration::Printer* configuration,
                     const std::string& logic, const std::string& status, bool declares,
                     const TermAttributes* attributes);
  ~SmtLib2TermPrinter() override;

  void print_formula(std::ostream& out, const Term_* formula) override;
  void print_logic(std::ostream& out, const Term_* formula) override;
  void print_declarations(std::ostream& out, const Term_* formula) override;
  void print_symbol(std::ostream& out, const Symbol* symbol) override;
  void print_sort(std::ostream& out, const Term_* t) override;
  void print_term(std::ostream& out, const Term_* t) override;
  void print_define_section_start(std::ostream& out) override;
  void print_define_section_end(std::ostream& out) override;
  void print_definition(std::ostream& out, const std::string& name,
                        const Term_* t) override;
  void print_assertion(std::ostream& out, const Term_* formula) override;
  void print_start(std::ostream& out) override;
  void print_end(std::ostream& out) override;
  void print_comment(std::ostream& out, const std::string& text) override;

 private:
  std::unique_ptr<TermPrinter> printer_;
};

}  // namespace opal

#endif
