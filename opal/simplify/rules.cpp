#include "opal/simplify/rules.h"

#include <cassert>
#include <unordered_set>
#include <utility>

namespace opal::host {

namespace {

bool is_connective(const Term_* t, bool conjunction) {
  return Terms::kind_of(t) == (conjunction ? Kind::AND : Kind::OR);
}

}  // namespace

// The operands of the connective at the top of `t`, or `t` alone.
OperandRules::Operands OperandRules::operands_of(bool conjunction, const Term_* t) const {
  Operands result;
  Operands stack{t};
  while (!stack.empty()) {
    const Term_* top = stack.back();
    stack.pop_back();
    if (is_connective(top, conjunction)) {
      stack.push_back(top->arg(1));
      stack.push_back(top->arg(0));
    } else {
      result.push_back(top);
    }
  }
  return result;
}

const Term_* OperandRules::build(bool conjunction, const Operands& operands) const {
  if (operands.empty()) return neutral(conjunction);
  const Term_* result = operands.front();
  for (std::size_t i = 1; i < operands.size(); ++i) {
    result = conjunction ? terms_.make_and(result, operands[i])
                         : terms_.make_or(result, operands[i]);
  }
  return result;
}

OperandRules::Member OperandRules::read(bool conjunction, const Term_* operand) {
  if (is_connective(operand, true) || is_connective(operand, false) || is_truth(operand)) {
    return {operand, false, {}};
  }
  auto entry = readings_.find(operand);
  if (entry == readings_.end()) {
    const bool negated = Terms::kind_of(operand) == Kind::NOT;
    const AtomReading reading = forms_.read(negated ? operand->arg(0) : operand, negated);
    assert(!reading.truth);
    entry = readings_.emplace(operand, reading.literal).first;
  }
  return {operand, true, conjunction ? entry->second : forms_.negation(entry->second)};
}

// rule flatten
// match:  (and ... (and a b) ...), (and ... true ...), (and ... a ... a ...)
// result: (and ... a b ...),       (and ...),          (and ... a ...)
// rule absorb-false
// match:  (and ... false ...)
// result: false
void OperandRules::flatten(bool conjunction, Operands& operands) const {
  std::unordered_set<const Term_*> seen{neutral(conjunction)};
  Operands result;
  for (const Term_* operand : operands) {
    for (const Term_* t : operands_of(conjunction, operand)) {
      if (t == neutral(!conjunction)) {
        operands = {t};
        return;
      }
      if (seen.insert(t).second) result.push_back(t);
    }
  }
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
OperandRules::Merged OperandRules::merge_bounds(bool conjunction, Operands& operands) {
  Regions regions;
  bool moved = false;
  std::vector<Member> members;
  for (const Term_* operand : operands) {
    members.push_back(read(conjunction, operand));
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
    const Region& region = regions.at(form);
    if (region.empty()) {
      operands = {neutral(!conjunction)};
      return {};
    }
    for (const BoundLiteral& literal : region.literals(form)) {
      const Term_* t = forms_.write(conjunction ? literal : forms_.negation(literal));
      operands.push_back(t);
      moved = moved || (forms_.is_integral(form) &&
                        (is_truth(t) || read(conjunction, t).literal.form != form));
    }
  }
  return {std::move(regions), moved};
}

// rule unit-in-disjunct
// match:  (and ... l ... (or ... m ...) ...) where the bounds on m's form among the
//         conjuncts exclude m, or exclude its negation
// result: the `or` without m, or true in place of the `or`
const Term_* OperandRules::use_units_in(bool conjunction, const Term_* operand,
                                        const Regions& regions) {
  Operands kept;
  bool changed = false;
  for (const Term_* t : operands_of(!conjunction, operand)) {
    const Member member = read(conjunction, t);
    const auto region =
        member.is_literal ? regions.find(member.literal.form) : regions.end();
    if (region != regions.end()) {
      if (region->second.excludes(forms_.negation(member.literal))) {
        return neutral(conjunction);
      }
      if (region->second.excludes(member.literal)) {
        changed = true;
        continue;
      }
    }
    kept.push_back(t);
  }
  return changed ? build_rest(!conjunction, kept) : operand;
}

bool OperandRules::use_units(bool conjunction, Operands& operands, const Regions& regions) {
  bool changed = false;
  if (regions.empty()) return changed;
  for (const Term_*& operand : operands) {
    if (!is_connective(operand, !conjunction)) continue;
    const Term_* result = use_units_in(conjunction, operand, regions);
    changed = changed || result != operand;
    operand = result;
  }
  return changed;
}

// Applies the rules above until none matches. A round after the first one is caused by an
// operand that got smaller.
void OperandRules::reduce(bool conjunction, Operands& operands) {
  Merged merged;
  do {
    flatten(conjunction, operands);
    if (operands.size() < 2) return;
    merged = merge_bounds(conjunction, operands);
  } while (merged.moved || use_units(conjunction, operands, merged.regions));
  drop_subsumed(conjunction, operands);
}

// The operands that all operands, connectives of the other kind, have in common.
OperandRules::Operands OperandRules::common_operands(bool conjunction,
                                                     const Operands& operands) const {
  if (operands.size() < 2) return {};
  std::unordered_map<const Term_*, std::size_t> count;
  for (const Term_* operand : operands) {
    if (!is_connective(operand, !conjunction)) return {};
    for (const Term_* t : operands_of(!conjunction, operand))
      ++count[t];
  }
  Operands common;
  for (const Term_* t : operands_of(!conjunction, operands.front())) {
    if (count.at(t) == operands.size()) common.push_back(t);
  }
  return common;
}

// rule factor
// match:  (and (or c a1) ... (or c an)), n > 1
// result: (or c (and a1 ... an))
// Returns the common operands, which are removed from all; what is left of an operand may
// be false.
OperandRules::Operands OperandRules::take_common(bool conjunction, Operands& operands) {
  Operands common = common_operands(conjunction, operands);
  if (common.empty()) return common;
  const std::unordered_set<const Term_*> taken(common.begin(), common.end());
  for (const Term_*& operand : operands) {
    Operands rest;
    for (const Term_* t : operands_of(!conjunction, operand)) {
      if (taken.count(t) == 0) rest.push_back(t);
    }
    operand = build_rest(!conjunction, rest);
  }
  return common;
}

// What is left of a simplified connective that lost operands.
const Term_* OperandRules::build_rest(bool conjunction, const Operands& rest) {
  another_pass_ = another_pass_ || !common_operands(conjunction, rest).empty();
  return build(conjunction, rest);
}

const Term_* OperandRules::join(bool conjunction, Operands operands) {
  std::vector<Operands> waiting;  // common operands, connectives alternate
  for (;;) {
    reduce(conjunction, operands);
    Operands common = take_common(conjunction, operands);
    if (!common.empty()) {
      waiting.push_back(std::move(common));
      continue;
    }
    const Term_* result = build(conjunction, operands);
    if (waiting.empty()) return result;
    operands = std::move(waiting.back());
    waiting.pop_back();
    operands.push_back(result);
    conjunction = !conjunction;
  }
}

}  // namespace opal::host
