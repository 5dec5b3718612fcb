// How a term lies in memory.

#include "opal/interfaces/term.h"

#include <algorithm>
#include <cassert>
#include <new>

namespace opal {

const Term_* Term_::construct(void* memory, std::uint64_t id, const Symbol* symbol,
                              const Term_* const* args) {
  assert(memory != nullptr && symbol != nullptr);
  assert(reinterpret_cast<std::uintptr_t>(memory) % alignof(Term_) == 0);
  assert(args != nullptr || symbol->arity() == 0);
  assert(std::find(args, args + symbol->arity(), nullptr) == args + symbol->arity());
  auto* term = new (memory) Term_(id, symbol);
  std::copy_n(args, symbol->arity(), reinterpret_cast<const Term_**>(term + 1));
  assert(term->num_args() == symbol->arity());
  return term;
}

}  // namespace opal
