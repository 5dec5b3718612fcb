// The notation that the engine and its users see terms in: SMT-LIB, by the printers of this
// folder. It stands apart from Terms so that terms know nothing of how they are written.

#include "opal/terms/print/printable_terms.h"

#include "opal/terms/print/printer.h"
#include "opal/terms/print/script_printer.h"

namespace opal::host {

void PrintableTerms::print(std::ostream& out, const Term_* t) const {
  print_term(out, t, false);
}

std::unique_ptr<TermPrinter> PrintableTerms::make_script_printer(const ScriptStyle& style) {
  return std::make_unique<ScriptPrinter>(style);
}

}  // namespace opal::host
