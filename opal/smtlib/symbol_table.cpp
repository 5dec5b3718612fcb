// Symbols by name, in scopes; and definitions applied to arguments.
//
// A name finds its definition by a hash table of numbers, so that the definitions keep the
// order in which models print them. An application walks the DAG of the body without
// recursion, and builds each node once: `(define-fun f ((x Real)) Real (+ x x))` applied a
// thousand times in a row makes a thousand sums.

#include "opal/smtlib/symbol_table.h"

#include <algorithm>
#include <cassert>
#include <unordered_map>
#include <utility>

#include "opal/smtlib/arithmetic.h"

namespace opal::smtlib {

using host::Kind;
using host::Terms;

const Definition* SymbolTable::find(std::string_view name) const {
  const auto has_name = [&](host::HashIndex::Number n) {
    return definitions_[n - 1].name == name;
  };
  const auto found = by_name_.find(host::hash_of(name), has_name);
  return found == 0 ? nullptr : &definitions_[found - 1];
}

void SymbolTable::add(Definition definition) {
  assert(!definition.name.empty() && find(definition.name) == nullptr);
  assert(definition.body.term != nullptr && definition.body.is_well_sorted());
  assert(!definition.declared || definition.parameters.empty());
  assert(!definition.named_formula || definition.body.sort == host::Sort::BOOL);
  by_name_.make_room();
  definitions_.push_back(std::move(definition));
  by_name_.insert(host::hash_of(definitions_.back().name), definitions_.size());
}

void SymbolTable::pop(std::size_t count, AtPop symbols) {
  assert(count <= scopes_.size());
  if (count == 0) return;
  const std::size_t remaining = scopes_[scopes_.size() - count];
  scopes_.resize(scopes_.size() - count);
  assert(remaining <= definitions_.size());
  while (symbols == AtPop::END && definitions_.size() > remaining) {
    by_name_.erase(host::hash_of(definitions_.back().name), definitions_.size());
    definitions_.pop_back();
  }
  assert(by_name_.size() == definitions_.size());
}

bool SymbolTable::is_normal() const {
  if (by_name_.size() != definitions_.size()) return false;
  for (const Definition& definition : definitions_)
    if (find(definition.name) != &definition) return false;
  return std::is_sorted(scopes_.begin(), scopes_.end()) &&
         (scopes_.empty() || scopes_.back() <= definitions_.size());
}

void SymbolTable::clear() {
  by_name_.clear();
  definitions_.clear();
  scopes_.clear();
  assert(is_normal());
}

namespace {

// `t` built anew over other arguments.
const Term_* rebuilt(Terms& terms, const Term_* t, const std::vector<const Term_*>& args) {
  assert(args.size() == t->num_args());
  switch (Terms::kind_of(t)) {
    case Kind::PLUS: return terms.make_plus(args[0], args[1]);
    case Kind::TIMES:
      // A product keeps its numeral in front.
      return Terms::is_numeral(args[1]) ? terms.make_times(args[1], args[0])
                                        : terms.make_times(args[0], args[1]);
    case Kind::LEQ: return terms.make_leq(args[0], args[1]);
    case Kind::LT: return terms.make_lt(args[0], args[1]);
    case Kind::EQ: return terms.make_equal(args[0], args[1]);
    case Kind::NEQ: return terms.make_distinct(args[0], args[1]);
    case Kind::NOT: return terms.make_not(args[0]);
    case Kind::AND: return terms.make_and(args[0], args[1]);
    case Kind::OR: return terms.make_or(args[0], args[1]);
    case Kind::TO_REAL: return terms.make_to_real(args[0]);
    case Kind::FLOOR: return floor_of(terms, args[0]);
    default: return terms.make_term(t->symbol(), args);
  }
}

}  // namespace

const Term_* instantiate(Terms& terms, const Definition& definition,
                         const Term_* const* arguments) {
  if (definition.parameters.empty()) return definition.body.term;
  assert(arguments != nullptr);
  std::unordered_map<const Term_*, const Term_*> done;
  for (std::size_t i = 0; i < definition.parameters.size(); ++i) {
    assert(Terms::sort_of(arguments[i]) == Terms::sort_of(definition.parameters[i]) ||
           Terms::is_numeral(arguments[i]));
    done.emplace(definition.parameters[i], arguments[i]);
  }
  std::vector<const Term_*> work{definition.body.term};
  std::vector<const Term_*> args;
  while (!work.empty()) {
    const Term_* t = work.back();
    if (done.count(t) != 0) {
      work.pop_back();
      continue;
    }
    args.clear();
    for (const Term_* arg : *t) {
      const auto found = done.find(arg);
      if (found == done.end()) {
        work.push_back(arg);
      } else {
        args.push_back(found->second);
      }
    }
    if (work.back() != t) continue;
    const bool same = std::equal(args.begin(), args.end(), t->begin(), t->end());
    done.emplace(t, same ? t : rebuilt(terms, t, args));
    work.pop_back();
  }
  assert(done.count(definition.body.term) == 1);
  return done.at(definition.body.term);
}

}  // namespace opal::smtlib
