#include "opal/smt/atom_table.h"

#include <algorithm>

namespace opal::smt {

using host::DeltaNumber;

void AtomTable::add(resolution::Variable atom, const Meaning& positive,
                    const Meaning& negative) {
  assert(!has(atom));
  if (atom >= is_atom_.size()) {
    is_atom_.resize(atom + 1, 0);
    meanings_.resize(2 * (std::size_t{atom} + 1));
  }
  const Literal literal(atom);
  is_atom_[atom] = 1;
  meanings_[literal.code()] = positive;
  meanings_[(~literal).code()] = negative;
  using Kind = Meaning::Kind;
  if (positive.kind == Kind::EQUAL || negative.kind == Kind::EQUAL) {
    const bool is_positive = positive.kind == Kind::EQUAL;
    const Meaning& equal = is_positive ? positive : negative;
    auto& points = by_var_[static_cast<std::size_t>(equal.var)].points;
    const auto place =
        points.begin() + static_cast<std::ptrdiff_t>(points_below(equal.var, equal.value));
    points.insert(place, {equal.value, is_positive ? literal : ~literal});
    assert(equal.value.strict.is_zero() && is_normal(equal.var));
  } else if (positive.kind == Kind::UPPER || positive.kind == Kind::LOWER) {
    const bool is_upper = positive.kind == Kind::UPPER;
    const Meaning& upper = is_upper ? positive : negative;
    const Meaning& lower = is_upper ? negative : positive;
    assert(upper.var == lower.var && upper.value < lower.value);
    auto& cuts = by_var_[static_cast<std::size_t>(upper.var)].cuts;
    const auto place =
        cuts.begin() + static_cast<std::ptrdiff_t>(cuts_below(upper.var, upper.value));
    cuts.insert(place, {upper.value, lower.value, is_upper ? literal : ~literal,
                        is_upper ? ~literal : literal});
    assert(is_normal(upper.var));
  }
}

std::size_t AtomTable::first_cut_above(int var, const DeltaNumber& u) const {
  const auto& cuts = at(var).cuts;
  const auto first = std::partition_point(cuts.begin(), cuts.end(),
                                          [&](const Cut& cut) { return cut.lower <= u; });
  return static_cast<std::size_t>(first - cuts.begin());
}

std::size_t AtomTable::cuts_below(int var, const DeltaNumber& l) const {
  const auto& cuts = at(var).cuts;
  const auto end = std::partition_point(cuts.begin(), cuts.end(),
                                        [&](const Cut& cut) { return cut.upper < l; });
  return static_cast<std::size_t>(end - cuts.begin());
}

std::size_t AtomTable::points_below(int var, const DeltaNumber& value) const {
  const auto& points = at(var).points;
  const auto end = std::partition_point(points.begin(), points.end(),
                                        [&](const Point& p) { return p.value < value; });
  return static_cast<std::size_t>(end - points.begin());
}

AtomTable::Points AtomTable::points_at(int var, const DeltaNumber& value) const {
  const auto& points = at(var).points;
  const Point* const first = points.data() + points_below(var, value);
  const Point* last = first;
  while (last != points.data() + points.size() && last->value == value)
    ++last;
  return {first, last};
}

bool AtomTable::is_normal(int var) const {
  const Atoms& atoms = at(var);
  const auto disordered = [](const Cut& a, const Cut& b) {
    return b.upper < a.upper || b.lower < a.lower;
  };
  return std::adjacent_find(atoms.cuts.begin(), atoms.cuts.end(), disordered) ==
             atoms.cuts.end() &&
         std::adjacent_find(atoms.points.begin(), atoms.points.end(),
                            [](const Point& a, const Point& b) {
                              return b.value < a.value;
                            }) == atoms.points.end();
}

}  // namespace opal::smt
