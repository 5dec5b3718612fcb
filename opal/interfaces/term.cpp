#include "opal/interfaces/term.h"

#include <algorithm>
#include <new>

namespace opal {

const Term_* Term_::construct(void* memory, std::uint64_t id, const Symbol* symbol,
                              const Term_* const* args) {
  auto* term = new (memory) Term_(id, symbol);
  std::copy_n(args, symbol->arity(), reinterpret_cast<const Term_**>(term + 1));
  return term;
}

}  // namespace opal
