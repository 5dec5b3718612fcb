// How the simplified operands of a connective become a simplified formula.
//
// The rules are written for a conjunction. A round flattens the operands, merges the
// literals over each form, and uses the merged bounds inside of the disjunctions beside
// them; rounds go on until nothing changes. Then disjunctions that others imply are
// dropped, and what the remaining ones have in common is taken out. Example:
//
//     (and (<= x 5) (or (<= x 7) F) (<= 2x 6))        merge-bounds
//     (and (<= x 3) (or (<= x 7) F))                  unit-in-disjunct
//     (<= x 3)
//
// Cost: a round is linear in the operands and their operands, but for sorting; each round
// after the first one is due to an operand that got smaller.

#include "opal/simplify/rules.h"

#include <algorithm>
#include <cassert>
#include <unordered_set>
#include <utility>

namespace opal::host {

namespace {

bool is_connective(const Term_* t, Connective c) {
  return Terms::kind_of(t) == (c == Connective::AND ? Kind::AND : Kind::OR);
}

}  // namespace

// The operands of the connective at the top of `t`, or `t` alone.
OperandRules::Operands OperandRules::operands_of(Connective c, const Term_* t) const {
  Operands result;
  Operands stack{t};
  while (!stack.empty()) {
    const Term_* top = stack.back();
    stack.pop_back();
    if (is_connective(top, c)) {
      stack.push_back(top->arg(1));
      stack.push_back(top->arg(0));
    } else {
      result.push_back(top);
    }
  }
  return result;
}

const Term_* OperandRules::build(Connective c, const Operands& operands) const {
  assert(std::find(operands.begin(), operands.end(), nullptr) == operands.end());
  if (operands.empty()) return neutral(c);
  const Term_* result = operands.front();
  for (std::size_t i = 1; i < operands.size(); ++i) {
    result = c == Connective::AND ? terms_.make_and(result, operands[i])
                                  : terms_.make_or(result, operands[i]);
  }
  return result;
}

OperandRules::Member OperandRules::read(Connective c, const Term_* operand) {
  if (is_connective(operand, Connective::AND) || is_connective(operand, Connective::OR) ||
      is_truth(operand)) {
    return {operand, false, {}};
  }
  auto entry = readings_.find(operand);
  if (entry == readings_.end()) {
    const bool negated = Terms::kind_of(operand) == Kind::NOT;
    const AtomReading reading =
        forms_.read(TheoryLit(negated ? operand->arg(0) : operand, negated));
    assert(!reading.truth);
    entry = readings_.emplace(operand, reading.literal).first;
  }
  assert(entry->second.is_normal());
  return {operand, true,
          c == Connective::AND ? entry->second : forms_.negation(entry->second)};
}

// rule flatten
// match:  (and ... (and a b) ...), (and ... true ...), (and ... a ... a ...)
// result: (and ... a b ...),       (and ...),          (and ... a ...)
// rule absorb-false
// match:  (and ... false ...)
// result: false
void OperandRules::flatten(Connective c, Operands& operands) const {
  std::unordered_set<const Term_*> seen{neutral(c)};
  Operands result;
  for (const Term_* operand : operands) {
    for (const Term_* t : operands_of(c, operand)) {
      if (t == neutral(dual(c))) {
        operands = {t};
        return;
      }
      if (seen.insert(t).second) result.push_back(t);
    }
  }
  assert(seen.size() == result.size() + 1);
  operands = std::move(result);
}

// rule merge-bounds
// match:  the literals f r1 c1, ..., f rn cn over one form f among the conjuncts
// result: the fewest literals with the same values of f, where the first of them stood; or
//         false for the whole when there is no such value.
// x <= 3, x <= 5 is x <= 3; x <= 3, x >= 3 is x = 3; x <= 3, x != 3 is x < 3; x < 3, x > 5
// is false. In a disjunction x < 3, x > 3 is x != 3 and x <= 3, x > 2 is true.
// x = 1 mod 2, x = 2 mod 3 is x = 5 mod 6; x = 0 mod 2, x >= 3 is x = 0 mod 2, x >= 4. In a
// disjunction all residues of one modulus are true.
OperandRules::Merged OperandRules::merge_bounds(Connective c, Operands& operands) {
  assert(operands.size() >= 2);
  Regions regions;
  bool moved = false;
  std::vector<Member> members;
  for (const Term_* operand : operands) {
    members.push_back(read(c, operand));
    if (!members.back().is_literal) continue;
    const BoundLiteral& literal = members.back().literal;
    regions.try_emplace(literal.form, forms_.is_integral(literal.form))
        .first->second.add(literal);
  }
  for (auto& [form, region] : regions)
    region.settle();
  operands.clear();
  std::unordered_set<std::size_t> written;
  for (const Member& member : members) {
    if (!member.is_literal) {
      operands.push_back(member.term);
      continue;
    }
    const std::size_t form = member.literal.form;
    if (!written.insert(form).second) continue;
    assert(regions.count(form) == 1);
    const Region& region = regions.at(form);
    if (region.empty()) {
      operands = {neutral(dual(c))};
      return {};
    }
    for (const BoundLiteral& literal : region.literals(form)) {
      const Term_* t =
          forms_.write(c == Connective::AND ? literal : forms_.negation(literal));
      operands.push_back(t);
      moved = moved || (forms_.is_integral(form) &&
                        (is_truth(t) || read(c, t).literal.form != form));
    }
  }
  return {std::move(regions), moved};
}

// rule unit-in-disjunct
// match:  (and ... l ... (or ... m ...) ...) where the bounds on m's form among the
//         conjuncts exclude m, or exclude its negation
// result: the `or` without m, or true in place of the `or`
const Term_* OperandRules::use_units_in(Connective c, const Term_* operand,
                                        const Regions& regions) {
  assert(is_connective(operand, dual(c)) && !regions.empty());
  Operands kept;
  bool changed = false;
  for (const Term_* t : operands_of(dual(c), operand)) {
    const Member member = read(c, t);
    const auto region =
        member.is_literal ? regions.find(member.literal.form) : regions.end();
    if (region != regions.end()) {
      if (region->second.excludes(forms_.negation(member.literal))) {
        return neutral(c);
      }
      if (region->second.excludes(member.literal)) {
        changed = true;
        continue;
      }
    }
    kept.push_back(t);
  }
  return changed ? build_rest(dual(c), kept) : operand;
}

bool OperandRules::use_units(Connective c, Operands& operands, const Regions& regions) {
  bool changed = false;
  if (regions.empty()) return changed;
  for (const Term_*& operand : operands) {
    if (!is_connective(operand, dual(c))) continue;
    const Term_* result = use_units_in(c, operand, regions);
    changed = changed || result != operand;
    operand = result;
  }
  return changed;
}

// Applies the rules above until none matches. A round after the first one is caused by an
// operand that got smaller.
void OperandRules::reduce(Connective c, Operands& operands) {
  Merged merged;
  do {
    flatten(c, operands);
    if (operands.size() < 2) return;
    merged = merge_bounds(c, operands);
  } while (merged.moved || use_units(c, operands, merged.regions));
  drop_subsumed(c, operands);
}

// The operands that all operands, connectives of the other kind, have in common.
OperandRules::Operands OperandRules::common_operands(Connective c,
                                                     const Operands& operands) const {
  if (operands.size() < 2) return {};
  std::unordered_map<const Term_*, std::size_t> count;
  for (const Term_* operand : operands) {
    if (!is_connective(operand, dual(c))) return {};
    for (const Term_* t : operands_of(dual(c), operand))
      ++count[t];
  }
  Operands common;
  for (const Term_* t : operands_of(dual(c), operands.front())) {
    assert(1 <= count.at(t) && count.at(t) <= operands.size());
    if (count.at(t) == operands.size()) common.push_back(t);
  }
  return common;
}

// rule factor
// match:  (and (or c a1) ... (or c an)), n > 1
// result: (or c (and a1 ... an))
// Returns the common operands, which are removed from all; what is left of an operand may
// be false.
OperandRules::Operands OperandRules::take_common(Connective c, Operands& operands) {
  Operands common = common_operands(c, operands);
  if (common.empty()) return common;
  const std::unordered_set<const Term_*> taken(common.begin(), common.end());
  assert(taken.size() == common.size());
  for (const Term_*& operand : operands) {
    Operands rest;
    for (const Term_* t : operands_of(dual(c), operand)) {
      if (taken.count(t) == 0) rest.push_back(t);
    }
    operand = build_rest(dual(c), rest);
  }
  return common;
}

// What is left of a simplified connective that lost operands.
const Term_* OperandRules::build_rest(Connective c, const Operands& rest) {
  another_pass_ = another_pass_ || !common_operands(c, rest).empty();
  return build(c, rest);
}

const Term_* OperandRules::join(Connective c, Operands operands) {
  std::vector<Operands> waiting;  // common operands, connectives alternate
  for (;;) {
    assert(std::find(operands.begin(), operands.end(), nullptr) == operands.end());
    reduce(c, operands);
    Operands common = take_common(c, operands);
    if (!common.empty()) {
      waiting.push_back(std::move(common));
      continue;
    }
    const Term_* result = build(c, operands);
    if (waiting.empty()) return result;
    operands = std::move(waiting.back());
    waiting.pop_back();
    operands.push_back(result);
    c = dual(c);
  }
}

}  // namespace opal::host
