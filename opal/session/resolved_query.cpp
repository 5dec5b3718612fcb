// Looks up what an interpolation query names: the groups' assertions, and the rest.

#include "opal/session/resolved_query.h"

#include <cassert>

#include "opal/terms/print/printer.h"

namespace opal::host {

namespace {

constexpr std::size_t NO_GROUP = static_cast<std::size_t>(-1);

// The group of each assertion, or NO_GROUP.
std::vector<std::size_t> groups_of_assertions(const AssertionStack& stack,
                                              const InterpolationQuery& query) {
  std::vector<std::size_t> result(stack.assertions().size(), NO_GROUP);
  for (std::size_t g = 0; g < query.groups.size(); ++g) {
    for (const std::string& name : query.groups[g]) {
      const auto position = name.empty() ? std::nullopt : stack.find(name);
      if (!position) throw SessionError("no assertion is named " + symbol_text(name));
      std::size_t& group = result[*position];
      if (group != NO_GROUP && group != g) {
        throw SessionError("assertion " + symbol_text(name) + " stands in two groups");
      }
      group = g;
    }
  }
  return result;
}

// Whether the sub-trees first[g] .. g of groups in post-order are those of one tree.
bool is_tree(const std::vector<std::size_t>& first) {
  std::vector<std::size_t> roots;  // of the finished sub-trees that have no parent yet
  for (std::size_t g = 0; g < first.size(); ++g) {
    if (first[g] > g) return false;
    std::size_t begin = g;
    while (!roots.empty() && first[roots.back()] >= first[g]) {
      begin = first[roots.back()];
      roots.pop_back();
    }
    if (begin != first[g]) return false;
    roots.push_back(g);
  }
  return roots.size() == 1;
}

void check_groups(const InterpolationQuery& query) {
  if (query.groups.size() < 2) throw SessionError("interpolants need two groups or more");
  for (std::size_t g = 0; g < query.groups.size(); ++g) {
    if (!query.groups[g].empty()) continue;
    throw SessionError("group " + std::to_string(g + 1) + " is empty");
  }
  if (query.first.size() != query.groups.size() || !is_tree(query.first)) {
    throw SessionError("the groups do not form one tree in post-order");
  }
}

std::string description(const Assertion& assertion) {
  return assertion.name.empty() ? term_text(assertion.formula, 80)
                                : symbol_text(assertion.name);
}

}  // namespace

std::vector<bool> mentioned(const AssertionStack& stack, const InterpolationQuery& query) {
  std::vector<bool> result;
  for (const std::size_t group : groups_of_assertions(stack, query))
    result.push_back(group != NO_GROUP);
  return result;
}

ResolvedQuery resolve(const AssertionStack& stack,
                      const std::vector<const Term_*>& assumptions,
                      const InterpolationQuery& query) {
  check_groups(query);
  const std::vector<std::size_t> groups = groups_of_assertions(stack, query);
  const std::size_t last = query.groups.size() - 1;
  ResolvedQuery result;
  result.first = query.first;
  const auto enter = [&](const Assertion& assertion, std::size_t group) {
    if (group == NO_GROUP && query.unmentioned == Unmentioned::ERROR)
      throw SessionError("no group mentions assertion " + description(assertion));
    if (group == NO_GROUP)
      group = query.unmentioned == Unmentioned::LAST_GROUP ? last : Grouping::BACKGROUND;
    result.formulas.push_back(assertion.formula);
    result.places.push_back(group);
  };
  for (std::size_t i = 0; i < groups.size(); ++i)
    enter(stack.assertions()[i], groups[i]);
  for (const Term_* assumption : assumptions)
    enter({assumption, ""}, NO_GROUP);
  assert(result.formulas.size() == stack.size() + assumptions.size());
  return result;
}

std::vector<std::vector<const Term_*>> ResolvedQuery::groups() const {
  std::vector<std::vector<const Term_*>> result(first.size());
  for (std::size_t i = 0; i < formulas.size(); ++i)
    if (places[i] != Grouping::BACKGROUND) result[places[i]].push_back(formulas[i]);
  return result;
}

std::vector<const Term_*> ResolvedQuery::background() const {
  std::vector<const Term_*> result;
  for (std::size_t i = 0; i < formulas.size(); ++i)
    if (places[i] == Grouping::BACKGROUND) result.push_back(formulas[i]);
  return result;
}

}  // namespace opal::host
