#include "opal/session/assertion_stack.h"

#include <cassert>
#include <utility>

#include "opal/interpolate/partition.h"
#include "opal/terms/print/printer.h"

namespace opal::host {

void AssertionStack::shrink(std::size_t size) {
  assert(size <= assertions_.size());
  for (std::size_t i = size; i < assertions_.size(); ++i) {
    if (!assertions_[i].name.empty()) position_.erase(assertions_[i].name);
  }
  assertions_.resize(size);
  parts_.resize(size);
}

void AssertionStack::pop() {
  assert(!levels_.empty());
  shrink(levels_.back());
  levels_.pop_back();
}

void AssertionStack::clear() {
  levels_.clear();
  shrink(0);
  assert(position_.empty());
}

void AssertionStack::add(Conjunction conjunction, const std::string& name) {
  const std::size_t size = assertions_.size();
  assert(name.empty() || !find(name));
  try {
    assertions_.push_back({conjunction.formula, name});
    parts_.push_back(std::move(conjunction));
    if (!name.empty()) position_.emplace(name, size);
  } catch (...) {  // the step that failed changed nothing
    assertions_.resize(size);
    parts_.resize(size);
    throw;
  }
}

std::optional<std::size_t> AssertionStack::find(const std::string& name) const {
  const auto entry = position_.find(name);
  if (entry == position_.end()) return std::nullopt;
  return entry->second;
}

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

std::string description(const Conjunction& part, const std::string& name) {
  return name.empty() ? term_text(part.formula, 80) : symbol_text(name);
}

}  // namespace

std::vector<bool> mentioned(const AssertionStack& stack, const InterpolationQuery& query) {
  std::vector<bool> result;
  for (const std::size_t group : groups_of_assertions(stack, query)) {
    result.push_back(group != NO_GROUP);
  }
  return result;
}

ResolvedQuery resolve(const AssertionStack& stack,
                      const std::vector<Conjunction>& assumptions,
                      const InterpolationQuery& query, Limits& limits) {
  check_groups(query);
  const std::vector<std::size_t> groups = groups_of_assertions(stack, query);
  const std::size_t last = query.groups.size() - 1;
  auto grouping = std::make_shared<Grouping>(query.first);
  ResolvedQuery result;
  result.groups.resize(query.groups.size());
  if (query.groups.size() == 2) result.atoms.resize(2);
  const auto enter = [&](const Conjunction& part, const std::string& name,
                         std::size_t group) {
    if (group == NO_GROUP && query.unmentioned == Unmentioned::ERROR) {
      throw SessionError("no group mentions assertion " + description(part, name));
    }
    if (group == NO_GROUP && query.unmentioned == Unmentioned::LAST_GROUP) group = last;
    const bool background = group == NO_GROUP;
    result.places.push_back(background ? Grouping::BACKGROUND : group);
    (background ? result.background : result.groups[group]).push_back(part.formula);
    for (const Term_* atom : part.atoms) {
      limits.poll();
      grouping->add(atom, background ? Grouping::BACKGROUND : group);
    }
    for (std::size_t g = 0; g < result.atoms.size(); ++g) {
      if (!background && g != group) continue;
      result.atoms[g].insert(result.atoms[g].end(), part.atoms.begin(), part.atoms.end());
    }
  };
  for (std::size_t i = 0; i < groups.size(); ++i) {
    enter(stack.parts()[i], stack.assertions()[i].name, groups[i]);
  }
  for (const Conjunction& part : assumptions)
    enter(part, "", NO_GROUP);
  result.places.resize(groups.size());
  result.grouping = std::move(grouping);
  return result;
}

std::unordered_map<const Term_*, std::string> names_of(
    const AssertionStack& stack, const ResolvedQuery& query,
    std::unordered_set<const Term_*> atoms) {
  std::unordered_map<const Term_*, std::string> names;
  for (std::size_t i = 0; i < stack.parts().size(); ++i) {
    const std::string& name = stack.assertions()[i].name;
    for (const Term_* atom : stack.parts()[i].atoms)
      if (query.places[i] == query.grouping->place(atom) && atoms.erase(atom) > 0 &&
          !name.empty())
        names.emplace(atom, symbol_text(name));
  }
  return names;
}

}  // namespace opal::host
