// What every term manager does alike.

#include "opal/interfaces/term_manager.h"

#include <cassert>
#include <ostream>

#include "opal/interfaces/term_printer.h"

namespace opal {

std::unique_ptr<TermPrinter> TermManager::make_script_printer(
    const ScriptStyle& /*style*/) {
  return nullptr;
}

std::ostream& operator<<(std::ostream& out, const outterm& t) {
  t.mgr->print(out, t.term);
  return out;
}

const Term_* make_interface_equality(TermManager* mgr, const Term_* x, const Term_* t) {
  assert(mgr != nullptr && x != nullptr && t != nullptr);
  const Term_* const atom = mgr->make_equal(x, t);
  assert(atom != nullptr);
  return atom;
}

}  // namespace opal
