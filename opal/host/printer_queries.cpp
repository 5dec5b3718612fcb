#include <algorithm>
#include <ostream>
#include <unordered_set>

#include "opal/host/printer.h"

namespace opal::host {

namespace {

// Calls visit for each distinct sub-term, in no particular order.
template <typename Visit>
void for_each_subterm(const std::vector<const Term_*>& terms, Visit visit) {
  std::unordered_set<const Term_*> seen;
  std::vector<const Term_*> stack(terms);
  while (!stack.empty()) {
    const Term_* t = stack.back();
    stack.pop_back();
    if (!seen.insert(t).second) continue;
    visit(t);
    stack.insert(stack.end(), t->begin(), t->end());
  }
}

// The sorts of numbers that occur.
struct NumberSorts {
  bool integers = false;
  bool reals = false;
};

NumberSorts number_sorts(const std::vector<const Term_*>& terms) {
  NumberSorts sorts;
  for_each_subterm(terms, [&](const Term_* t) {
    const TermSymbol& symbol = Terms::symbol_of(t);
    const bool both = symbol.kind == Kind::TO_REAL || symbol.kind == Kind::FLOOR;
    const bool variable = symbol.kind == Kind::VARIABLE;
    const bool fraction = symbol.kind == Kind::NUMERAL && symbol.sort == Sort::REAL;
    if (both || symbol.kind == Kind::CONGRUENCE || (variable && symbol.sort == Sort::INT)) {
      sorts.integers = true;
    }
    if (both || fraction || (variable && symbol.sort == Sort::REAL)) sorts.reals = true;
  });
  return sorts;
}

}  // namespace

std::vector<const Term_*> variables_of(const std::vector<const Term_*>& terms) {
  std::vector<const Term_*> variables;
  for_each_subterm(terms, [&](const Term_* t) {
    if (Terms::kind_of(t) == Kind::VARIABLE) variables.push_back(t);
  });
  std::sort(variables.begin(), variables.end(),
            [](const Term_* a, const Term_* b) { return a->id() < b->id(); });
  return variables;
}

void print_queries(std::ostream& out,
                   const std::vector<std::vector<const Term_*>>& queries) {
  std::vector<const Term_*> all;
  for (const auto& query : queries)
    all.insert(all.end(), query.begin(), query.end());
  const NumberSorts sorts = number_sorts(all);
  const bool real = sorts.reals || !sorts.integers;
  out << "(set-logic "
      << (!sorts.integers ? "QF_LRA"
          : real          ? "QF_LIRA"
                          : "QF_LIA")
      << ")\n";
  for (const Term_* v : variables_of(all)) {
    const TermSymbol& symbol = Terms::symbol_of(v);
    out << "(declare-fun " << symbol_text(symbol.name) << " () " << to_string(symbol.sort)
        << ")\n";
  }
  for (const auto& query : queries) {
    out << "(push 1)\n";
    for (const Term_* formula : query) {
      out << "(assert ";
      print_term(out, formula, real);
      out << ")\n";
    }
    out << "(check-sat)\n(pop 1)\n";
  }
}

}  // namespace opal::host
