#ifndef OPAL_TERMS_PRINT_PRINTABLE_TERMS_H
#define OPAL_TERMS_PRINT_PRINTABLE_TERMS_H

#include <iosfwd>
#include <memory>

#include "opal/terms/terms.h"

namespace opal::host {

/// Terms that can be written down: what programs make. Everything else takes a Terms&.
class PrintableTerms final : public Terms {
 public:
  /// Prints a term in SMT-LIB's notation (see print_term).
  void print(std::ostream& out, const Term_* t) const override;
  /// A printer of whole scripts (see ScriptPrinter).
  std::unique_ptr<TermPrinter> make_script_printer(const ScriptStyle& style) override;
};

}  // namespace opal::host

#endif
