#include "opal/checker/assertion_graph.h"

#include <algorithm>
#include <cassert>

#include "opal/terms/sub_terms.h"

namespace opal::checker {

using host::CheckedSum;
using host::Kind;
using host::Sort;
using host::SubTerms;
using host::Terms;
using resolution::Definition;
using resolution::Literal;
using resolution::LiteralSpan;
using resolution::Meaning;

namespace {

constexpr std::size_t NO_VERTEX = static_cast<std::size_t>(-1);

bool is_formula(const Term_* t) { return Terms::sort_of(t) == Sort::BOOL; }

bool is_connective(const Term_* t) {
  switch (Terms::kind_of(t)) {
    case Kind::NOT:
    case Kind::AND:
    case Kind::OR: return true;
    case Kind::EQ:
    case Kind::NEQ: return is_formula(t->arg(0));
    case Kind::ITE: return is_formula(t);
    default: return false;
  }
}

bool is_number_by_cases(const Term_* t) {
  return Terms::kind_of(t) == Kind::ITE && !is_formula(t);
}

bool compares_numbers(const Term_* t) {
  switch (Terms::kind_of(t)) {
    case Kind::LEQ:
    case Kind::LT:
    case Kind::EQ:
    case Kind::NEQ: return !is_formula(t->arg(0));
    default: return false;
  }
}

}  // namespace

AssertionGraph::AssertionGraph(const resolution::ClauseRefutation& refutation,
                               host::Terms& terms, const Term_* formula,
                               std::uint32_t number,
                               const std::vector<LiteralSpan>& clauses)
    : refutation_(refutation), terms_(terms) {
  std::vector<const Term_*> roots{formula};
  for (const LiteralSpan clause : clauses)
    for (const Literal literal : clause) {
      const Meaning& meaning = refutation.meaning(literal.variable());
      if (meaning.kind == Meaning::Kind::AUXILIARY) roots.push_back(meaning.formula);
    }
  for (const Definition& definition : refutation.definitions) {
    if (definition.assertion != number) continue;
    constants_.emplace(definition.term, definition.constant);
    roots.push_back(definition.term);
  }
  add_floors(clauses);
  add_cases(roots);
  const SubTerms order(roots);
  for (const Term_* t : order)
    replaced(t);
  for (const Term_* t : order)
    add_vertex(t);
  for (const auto& [comparison, cases] : cases_)
    parents_[vertices_.at(cases)].push_back(vertices_.at(comparison));
  is_false_ = !set(vertices_.at(formula), Value::TRUE) || !propagate();
  changed_.clear();
}

// A comparison with a number by cases is one by cases too: x <= ite(c, s, t) is true when c
// and x <= s are, or when c is not and x <= t is. Appends these to the terms.
void AssertionGraph::add_cases(std::vector<const Term_*>& terms) {
  const BuildingFlagScope as_written(terms_, 0);
  std::vector<const Term_*> open;
  for (const Term_* t : SubTerms(terms))
    if (compares_numbers(t)) open.push_back(t);
  while (!open.empty()) {
    const Term_* const t = open.back();
    open.pop_back();
    const bool on_left = is_number_by_cases(t->arg(0));
    if (on_left == is_number_by_cases(t->arg(1)) || cases_.count(t) != 0) continue;
    const Term_* const choice = t->arg(on_left ? 0 : 1);
    const auto compared = [&](const Term_* value) {
      std::vector<const Term_*> sides(t->begin(), t->end());
      sides[on_left ? 0 : 1] = value;
      open.push_back(terms_.make_term(t->symbol(), sides));
      return open.back();
    };
    const Term_* const then = compared(choice->arg(1));
    const Term_* const otherwise = compared(choice->arg(2));
    cases_.emplace(t, terms_.make_ite(choice->arg(0), then, otherwise));
    terms.push_back(cases_.at(t));
  }
}

void AssertionGraph::add_floors(const std::vector<LiteralSpan>& clauses) {
  std::vector<const Term_*> atoms;
  for (const LiteralSpan clause : clauses)
    for (const Literal literal : clause)
      if (const Term_* atom = refutation_.meaning(literal.variable()).atom)
        atoms.push_back(atom);
  if (!terms_.has_floors() || atoms.empty()) return;
  for (const Term_* t : SubTerms(atoms))
    if (Terms::kind_of(t) == Kind::FLOOR) floors_.push_back(t);
}

// The term with constants instead of numbers by cases; its arguments were replaced before.
const Term_* AssertionGraph::replaced(const Term_* t) {
  const auto known = replaced_.find(t);
  if (known != replaced_.end()) return known->second;
  const Term_* result = t;
  const auto constant = constants_.find(t);
  if (constant != constants_.end()) {
    result = constant->second;
  } else if (!is_connective(t)) {
    std::vector<const Term_*> arguments(t->begin(), t->end());
    bool changed = false;
    for (const Term_*& argument : arguments) {
      const Term_* const other = replaced_.at(argument);
      changed = changed || other != argument;
      argument = other;
    }
    if (changed) result = terms_.make_term(t->symbol(), arguments);
  }
  replaced_.emplace(t, result);
  return result;
}

AssertionGraph::Vertex AssertionGraph::key_vertex(std::size_t key) {
  if (key >= of_key_.size()) of_key_.resize(key + 1, NO_VERTEX);
  Vertex& v = of_key_[key];
  if (v == NO_VERTEX) {
    v = values_.size();
    values_.push_back(Value::UNKNOWN);
    terms_of_.push_back(nullptr);
    parents_.emplace_back();
    atoms_.emplace_back();
  }
  return v;
}

void AssertionGraph::add_vertex(const Term_* t) {
  const bool by_cases = constants_.count(t) != 0;
  if (!is_formula(t) && !by_cases) return;
  const Vertex v = values_.size();
  vertices_.emplace(t, v);
  values_.push_back(Value::UNKNOWN);
  terms_of_.push_back(t);
  parents_.emplace_back();
  atoms_.emplace_back();
  if (by_cases) {
    link_definition(v, t);
  } else if (is_connective(t)) {
    for (const Term_* argument : *t)
      parents_[vertices_.at(argument)].push_back(v);
  } else if (Terms::kind_of(t) == Kind::CONGRUENCE) {
    link_congruence(v, replaced(t));
  } else if (const auto atom = keys_.keyed(replaced(t))) {
    link_atom(v, *atom);
  }
}

void AssertionGraph::link_atom(Vertex v, const KeyedAtom& atom) {
  if (atom.truth) {
    is_false_ = !set(v, value_of(*atom.truth)) || is_false_;
    return;
  }
  const Vertex key = key_vertex(atom.key);
  atoms_[v] = {atom};
  parents_[key].push_back(v);
}

// m divides a - b where a - b = m * f, f being the floor of (a - b)/m.
void AssertionGraph::link_congruence(Vertex v, const Term_* t) {
  const QNumber modulus = abs(Terms::symbol_of(t).value);
  auto difference = host::checked_form(t->arg(0));
  const auto subtrahend = host::checked_form(t->arg(1));
  if (!difference || !subtrahend) return;
  difference->add(QNumber(-1), *subtrahend);
  for (const Term_* floor : floors_) {
    auto rest = host::checked_form(floor->arg(0));
    if (!rest) continue;
    rest->scale(modulus);
    rest->add(QNumber(-1), *difference);
    if (rest->first_variable() != nullptr || !rest->constant.is_zero()) continue;
    CheckedSum equality = *difference;
    equality.add(floor, modulus.neg());
    link_atom(v, keys_.keyed(std::move(equality), Kind::EQ));
    return;
  }
}

// The constant v of ite(c, s, t): v = s when c holds, v = t when it does not.
void AssertionGraph::link_definition(Vertex v, const Term_* t) {
  if (Terms::kind_of(t) != Kind::ITE) return;
  for (const std::size_t branch : {1U, 2U}) {
    auto sum = host::checked_form(replaced(t->arg(branch)));
    if (!sum) {
      atoms_[v].clear();
      return;
    }
    sum->add(constants_.at(t), QNumber(-1));
    atoms_[v].push_back(keys_.keyed(std::move(*sum), Kind::EQ));
    if (!atoms_[v].back().truth) key_vertex(atoms_[v].back().key);
  }
  parents_[vertices_.at(t->arg(0))].push_back(v);
}

bool AssertionGraph::set(Vertex v, Value value) {
  assert(value != Value::UNKNOWN);
  if (values_[v] != Value::UNKNOWN) return values_[v] == value;
  values_[v] = value;
  changed_.push_back(v);
  queue_.push_back(v);
  return true;
}

bool AssertionGraph::set_atom(const KeyedAtom& atom, Value value) {
  if (atom.truth) return value_of(*atom.truth) == value;
  return set(key_vertex(atom.key), atom.negated ? negation(value) : value);
}

bool AssertionGraph::propagate() {
  bool consistent = true;
  while (consistent && !queue_.empty()) {
    const Vertex v = queue_.back();
    queue_.pop_back();
    for (std::size_t i = 0; consistent && i < parents_[v].size(); ++i)
      consistent = update(parents_[v][i]);
  }
  queue_.clear();
  return consistent;
}

bool AssertionGraph::update(Vertex parent) {
  const Term_* const t = terms_of_[parent];
  if (constants_.count(t) != 0) {
    const Value condition = values_[vertices_.at(t->arg(0))];
    if (condition == Value::UNKNOWN) return true;
    return set_atom(atoms_[parent][condition == Value::TRUE ? 0 : 1], Value::TRUE);
  }
  const Value value = evaluate(parent);
  return value == Value::UNKNOWN || set(parent, value);
}

AssertionGraph::Value AssertionGraph::evaluate(Vertex v) const {
  if (!atoms_[v].empty()) {
    const Value value = values_[of_key_[atoms_[v].front().key]];
    if (value != Value::UNKNOWN) return atoms_[v].front().negated ? negation(value) : value;
  }
  const Term_* const t = terms_of_[v];
  if (const auto cases = cases_.find(t); cases != cases_.end())
    return values_[vertices_.at(cases->second)];
  const auto value = [&](std::size_t i) { return values_[vertices_.at(t->arg(i))]; };
  switch (Terms::kind_of(t)) {
    case Kind::NOT: return negation(value(0));
    case Kind::AND: return std::min(value(0), value(1));
    case Kind::OR: return std::max(value(0), value(1));
    case Kind::EQ:
    case Kind::NEQ: {
      if (value(0) == Value::UNKNOWN || value(1) == Value::UNKNOWN) return Value::UNKNOWN;
      return value_of((value(0) == value(1)) == (Terms::kind_of(t) == Kind::EQ));
    }
    case Kind::ITE: {
      if (value(0) == Value::UNKNOWN)
        return value(1) == value(2) ? value(1) : Value::UNKNOWN;
      return value(value(0) == Value::TRUE ? 1 : 2);
    }
    default: break;
  }
  return Value::UNKNOWN;
}

// Assumes a literal false; false when it is true already.
bool AssertionGraph::deny(Literal literal) {
  const Meaning& meaning = refutation_.meaning(literal.variable());
  const Value value = value_of(literal.is_negative());
  if (meaning.kind == Meaning::Kind::AUXILIARY)
    return set(vertices_.at(meaning.formula), value);
  if (meaning.kind != Meaning::Kind::ATOM) return true;
  const auto atom = keys_.keyed(meaning.atom);
  return !atom || set_atom(*atom, value);
}

bool AssertionGraph::implies(LiteralSpan clause) {
  if (is_false_) return true;
  bool consistent = true;
  for (const Literal literal : clause)
    consistent = consistent && deny(literal);
  consistent = consistent && propagate();
  queue_.clear();
  for (const Vertex v : changed_)
    values_[v] = Value::UNKNOWN;
  changed_.clear();
  return !consistent || is_about_floors(clause);
}

// Whether a literal says that a floor f of t is at most t, or that t is less than f + 1.
bool AssertionGraph::is_about_floors(LiteralSpan clause) {
  return std::any_of(clause.begin(), clause.end(), [&](Literal literal) {
    const Meaning& meaning = refutation_.meaning(literal.variable());
    if (meaning.kind != Meaning::Kind::ATOM) return false;
    const auto atom = keys_.keyed(meaning.atom);
    if (!atom || atom->truth) return false;
    for (const Term_* floor : floors_) {
      const auto argument = host::checked_form(floor->arg(0));
      if (!argument) continue;
      CheckedSum below;  // floor - t <= 0
      below.add(floor, QNumber(1));
      below.add(QNumber(-1), *argument);
      CheckedSum above = *argument;  // t - floor - 1 < 0
      above.add(floor, QNumber(-1));
      above.constant -= QNumber(1);
      for (const KeyedAtom& fact : {keys_.keyed(std::move(below), Kind::LEQ),
                                    keys_.keyed(std::move(above), Kind::LT)})
        if (!fact.truth && fact.key == atom->key &&
            fact.negated == (atom->negated != literal.is_negative()))
          return true;
    }
    return false;
  });
}

}  // namespace opal::checker
