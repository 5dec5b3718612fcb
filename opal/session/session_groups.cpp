// Variables and groups of assertions by name: the session for programs in C++.

#include <algorithm>
#include <unordered_set>

#include "opal/interpolate/partition.h"
#include "opal/session/session_impl.h"
#include "opal/terms/evaluator.h"
#include "opal/terms/print/printer.h"

namespace opal::host {

Expr Session::declare(const std::string& name, Sort sort) {
  const auto known = impl_->variables.find(name);
  const Term_* const variable = known != impl_->variables.end()
                                    ? known->second
                                    : impl_->terms.make_variable(name, sort);
  if (Terms::sort_of(variable) != sort)
    throw SessionError(symbol_text(name) + " is declared already, as " +
                       to_string(Terms::sort_of(variable)));
  impl_->variables.emplace(name, variable);
  return {impl_->terms, variable};
}

// The assertion's name has a number, the first one that makes it new.
void Session::assert_into(const std::string& group, const Expr& formula) {
  const Term_* const term = formula.term_in(impl_->terms);
  if (!formula.is_formula())
    throw ExpressionError("an assertion is no formula: " + formula.to_string());
  auto& groups = impl_->groups;
  auto place = std::find_if(groups.begin(), groups.end(),
                            [&](const auto& entry) { return entry.first == group; });
  if (place == groups.end()) place = groups.insert(place, {group, {}});
  auto& names = place->second;
  std::size_t number = names.size();
  std::string name;
  do {
    name = group + '.' + std::to_string(++number);
  } while (impl_->stack.find(name));
  names.push_back(name);
  try {
    impl_->assert_formula(term, name);
  } catch (...) {
    names.pop_back();
    throw;
  }
}

std::vector<std::string> Session::Impl::names_in(const std::string& group) const {
  std::vector<std::string> names;
  for (const auto& [other, members] : groups) {
    if (other == group) names = members;
  }
  if (names.empty() && stack.find(group)) names.push_back(group);
  if (names.empty()) throw SessionError("no assertion is in a group " + symbol_text(group));
  return names;
}

// In each group they are the last ones.
void Session::Impl::shrink_groups() {
  for (auto& [group, members] : groups) {
    while (!members.empty() && !stack.find(members.back()))
      members.pop_back();
  }
}

Expr Session::interpolant(const std::string& first, const std::string& second) {
  return interpolants_of({first, second}).front();
}

std::vector<Expr> Session::interpolants_of(const std::vector<std::string>& groups,
                                           Mode mode, Cuts cuts, Strength strength) {
  InterpolationQuery query;
  query.first = Grouping::sequence(groups.size());
  query.mode = mode;
  query.cuts = cuts;
  query.strength = strength;
  for (const std::string& group : groups)
    query.groups.push_back(impl_->names_in(group));
  std::vector<Expr> result;
  for (const Term_* term : interpolants(query).terms)
    result.emplace_back(impl_->terms, term);
  return result;
}

std::vector<std::string> Session::groups_in_core() {
  const std::vector<std::string> names = unsat_core();
  const std::unordered_set<std::string> core(names.begin(), names.end());
  const auto in_core = [&](const std::string& name) { return core.count(name) > 0; };
  std::vector<std::string> result;
  for (const auto& [group, members] : impl_->groups)
    if (std::any_of(members.begin(), members.end(), in_core)) result.push_back(group);
  return result;
}

QNumber Session::value(const Expr& e) const {
  const Term_* const term = e.term_in(impl_->terms);
  const Model& values = model();
  if (e.is_formula()) return holds(term, values) ? 1 : 0;
  return evaluate(term, values);
}

}  // namespace opal::host
