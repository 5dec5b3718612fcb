// Atoms as bounds on forms, and bounds as atoms.
//
//     2x - 4y <= 5          x - 2y <= 5/2         one form, so the two meet:
//     3 < 6y - 3x           x - 2y < -1           together they are the second
//
// Over Ints these are x - 2y <= 2 and x - 2y <= -2. Written again, the summands stand where
// their coefficients are positive: x + 2 <= 2y.
//
// Cost: linear in the atom, but for floor terms (floors.cpp); forms are found by a hash of
// their summands, so that reading many atoms over one sum makes one form.

#include "opal/simplify/atoms.h"

#include <algorithm>
#include <cassert>
#include <utility>

#include "opal/simplify/congruences.h"

namespace opal::host {

namespace {

using Relation = BoundLiteral::Relation;

bool is_comparison(Kind kind) {
  return kind == Kind::LEQ || kind == Kind::LT || kind == Kind::EQ || kind == Kind::NEQ;
}

Relation relation_of(Kind kind) {
  switch (kind) {
    case Kind::LEQ: return Relation::LEQ;
    case Kind::LT: return Relation::LT;
    case Kind::EQ: return Relation::EQ;
    default: assert(kind == Kind::NEQ); return Relation::NEQ;
  }
}

Relation negated(Relation r) {
  switch (r) {
    case Relation::LEQ: return Relation::GT;
    case Relation::LT: return Relation::GEQ;
    case Relation::GEQ: return Relation::LT;
    case Relation::GT: return Relation::LEQ;
    case Relation::EQ: return Relation::NEQ;
    case Relation::NEQ: return Relation::EQ;
    case Relation::CONGRUENT: return Relation::INCONGRUENT;
    case Relation::INCONGRUENT: break;
  }
  assert(r == Relation::INCONGRUENT);
  return Relation::CONGRUENT;
}

// The relation between -a and -b where r holds between a and b.
Relation mirrored(Relation r) {
  switch (r) {
    case Relation::LEQ: return Relation::GEQ;
    case Relation::LT: return Relation::GT;
    case Relation::GEQ: return Relation::LEQ;
    case Relation::GT: return Relation::LT;
    default: return r;
  }
}

// Whether a number of sign s stands in the relation to 0.
bool holds_for_sign(int s, Relation r) {
  switch (r) {
    case Relation::LEQ: return s <= 0;
    case Relation::LT: return s < 0;
    case Relation::GEQ: return s >= 0;
    case Relation::GT: return s > 0;
    case Relation::EQ: return s == 0;
    default: break;
  }
  assert(r == Relation::NEQ);
  return s != 0;
}

// The factor that makes coefficients coprime integers, the first of them positive.
QNumber primitive_factor(const std::vector<LinearForm::Summand>& summands) {
  assert(!summands.empty());
  QNumber denominator(1);
  for (const auto& [variable, a] : summands)
    denominator = lcm(denominator, a.get_den());
  QNumber divisor;
  for (const auto& [variable, a] : summands)
    divisor = gcd(divisor, a * denominator);
  assert(divisor.sign() > 0);
  const QNumber factor = denominator / divisor;
  return summands.front().second.sign() < 0 ? factor.neg() : factor;
}

// rule round-integer-bound
// match:  f r c, f integral
// result: f r' c' with an integer c' and r' not strict, or a truth value
AtomReading round_integer_bound(BoundLiteral literal) {
  assert(literal.is_normal());
  QNumber& c = literal.bound;
  const bool integer = c.is_integer();
  switch (literal.relation) {
    case Relation::LEQ: c = c.floor(); break;
    case Relation::LT:
      c = integer ? c - QNumber(1) : c.floor();
      literal.relation = Relation::LEQ;
      break;
    case Relation::GEQ:
      if (!integer) c = c.floor() + QNumber(1);
      break;
    case Relation::GT:
      c = c.floor() + QNumber(1);
      literal.relation = Relation::GEQ;
      break;
    case Relation::EQ:
      if (!integer) return {false, {}};
      break;
    case Relation::NEQ:
      if (!integer) return {true, {}};
      break;
    case Relation::CONGRUENT: break;
    case Relation::INCONGRUENT:
      if (literal.modulus != QNumber(2)) break;
      literal.relation = Relation::CONGRUENT;
      c = QNumber(1) - c;
      break;
  }
  assert(c.is_integer() && literal.is_normal());
  return {std::nullopt, std::move(literal)};
}

// a + b, where null stands for no summand.
const Term_* plus(Terms& terms, const Term_* a, const Term_* b) {
  if (a == nullptr) return b;
  return b == nullptr ? a : terms.make_plus(a, b);
}

}  // namespace

std::size_t AtomForms::SummandsHash::operator()(const Summands& summands) const {
  std::size_t h = summands.size();
  for (const auto& [variable, a] : summands) {
    h = (h ^ variable->id()) * 0x9E3779B97F4A7C15U;
    h = (h ^ (h >> 29U) ^ a.hash()) * 0xBF58476D1CE4E5B9U;
  }
  return h ^ (h >> 32U);
}

std::size_t AtomForms::linear_form_number(Summands summands) {
  assert(is_form(summands));
  const auto [entry, fresh] = linear_.try_emplace(std::move(summands), forms_.size());
  if (fresh) {
    const bool integral = is_over_integers(entry->first);
    forms_.push_back({entry->first, nullptr, integral, std::nullopt});
    if (integral) forms_.back().remainder = remainder_of(entry->first);
  }
  assert(entry->second < forms_.size() && forms_[entry->second].opaque == nullptr);
  return entry->second;
}

bool AtomForms::is_form(const Summands& summands) {
  if (summands.empty() || summands.front().second.sign() <= 0) return false;
  if (!LinearForm{summands, QNumber()}.is_normal()) return false;
  QNumber divisor;
  for (const auto& [variable, a] : summands) {
    if (!a.is_integer()) return false;
    divisor = gcd(divisor, a);
  }
  return divisor == QNumber(1);
}

std::optional<AtomForms::Remainder> AtomForms::remainder_of(
    const Summands& summands) const {
  for (const auto& [variable, a] : summands) {
    if (Terms::kind_of(variable) != Kind::FLOOR) continue;
    const FloorForms::Floor& floor = floors_.floor_of(variable);
    if (!floor.over_integers || floor.divisor != abs(a)) continue;
    assert(QNumber(1) < floor.divisor);
    const QNumber sign(a.sign() < 0 ? 1 : -1);
    Summands rest;
    for (const auto& summand : summands) {
      if (summand.first != variable)
        rest.emplace_back(summand.first, summand.second * sign);
    }
    if (rest == floor.numerator.summands) return Remainder{variable, sign};
  }
  return std::nullopt;
}

std::size_t AtomForms::opaque_form_number(const Term_* literal) {
  const auto [entry, fresh] = opaque_.try_emplace(literal, forms_.size());
  if (fresh) forms_.push_back({{}, literal, true, std::nullopt});
  assert(forms_[entry->second].opaque == literal);
  return entry->second;
}

AtomReading AtomForms::read(TheoryLit literal) {
  const Term_* const atom = literal.atom();
  const bool negate = literal.is_negated();
  if (atom == terms_.true_term()) return {!negate, {}};
  if (atom == terms_.false_term()) return {negate, {}};
  const Kind kind = Terms::kind_of(atom);
  assert(kind != Kind::AND && kind != Kind::OR && Terms::sort_of(atom) == Sort::BOOL);
  if (kind != Kind::CONGRUENCE &&
      (!is_comparison(kind) || Terms::sort_of(atom->arg(0)) == Sort::BOOL)) {
    return read_opaque(atom, negate);
  }
  try {
    LinearForm difference = linear_difference(atom->arg(0), atom->arg(1));
    floors_.normalize(difference);
    if (kind != Kind::CONGRUENCE) {
      const Relation relation = relation_of(kind);
      return read_linear(negate ? negated(relation) : relation, std::move(difference));
    }
    if (is_over_integers(difference.summands)) {
      return read_modular(std::move(difference), abs(Terms::symbol_of(atom).value), negate);
    }
  } catch (const NotLinear&) {
    // read as it stands
  }
  return read_opaque(atom, negate);
}

// rule normal-form
// match:  s r t
// result: f r' c with q(s - t) = f - c, q chosen such that f is a form; a truth value when
//         s - t is a constant
AtomReading AtomForms::read_linear(Relation relation, LinearForm difference) {
  do {
    assert(difference.is_normal());
    if (difference.is_constant()) {
      return {holds_for_sign(difference.constant.sign(), relation), {}};
    }
    const QNumber factor = primitive_factor(difference.summands);
    for (auto& summand : difference.summands)
      summand.second *= factor;
    difference.constant *= factor;
    if (factor.sign() < 0) relation = mirrored(relation);
  } while (take_off_floor(difference, relation));
  BoundLiteral literal{linear_form_number(std::move(difference.summands)), relation,
                       difference.constant.neg(), QNumber()};
  if (!is_integral(literal.form)) return {std::nullopt, std::move(literal)};
  AtomReading rounded = round_integer_bound(std::move(literal));
  return rounded.truth ? rounded : read_remainder(std::move(rounded.literal));
}

// rule floor-alone
// match:  floor(n/d) >= c,  floor(n/d) <= c,       floor(r) >= c,  floor(r) <= c
// result: n >= d*c,         n <= d*c + d - 1,      r >= c,         r < c + 1
bool AtomForms::take_off_floor(LinearForm& difference, Relation& relation) const {
  if (difference.summands.size() != 1 || !is_floor(difference.summands.front()) ||
      relation == Relation::EQ || relation == Relation::NEQ) {
    return false;
  }
  const FloorForms::Floor& floor = floors_.floor_of(difference.summands.front().first);
  const AtomReading rounded =
      round_integer_bound({0, relation, difference.constant.neg(), QNumber()});
  assert(!rounded.truth && difference.summands.front().second == QNumber(1));
  relation = rounded.literal.relation;
  QNumber bound = floor.divisor * rounded.literal.bound;
  if (relation == Relation::LEQ) {
    bound += floor.over_integers ? floor.divisor - QNumber(1) : QNumber(1);
    if (!floor.over_integers) relation = Relation::LT;
  }
  difference = floor.numerator;
  difference.constant -= bound;
  return true;
}

// rule remainder-range
// match:  n mod d r c, where the values 0 .. d-1 all satisfy or violate r c, or all but one
// result: true or false, or a congruence of n
AtomReading AtomForms::read_remainder(BoundLiteral literal) {
  assert(literal.is_normal() && is_integral(literal.form));
  const auto& remainder = forms_[literal.form].remainder;
  if (!remainder || literal.modulus.sign() > 0) return {std::nullopt, std::move(literal)};
  const FloorForms::Floor& floor = floors_.floor_of(remainder->floor);
  QNumber c = remainder->sign * literal.bound + floor.numerator.constant;
  Relation r = remainder->sign.sign() < 0 ? mirrored(literal.relation) : literal.relation;
  const QNumber one(1), zero, last = floor.divisor - one;
  if (r == Relation::LEQ) {
    if (c < zero || c >= last) return {c >= last, {}};
    if (!c.is_zero() && c + one != last) return {std::nullopt, std::move(literal)};
    r = c.is_zero() ? Relation::EQ : Relation::NEQ;
    if (!c.is_zero()) c = last;
  } else if (r == Relation::GEQ) {
    if (c <= zero || c > last) return {c <= zero, {}};
    if (c != last && c != one) return {std::nullopt, std::move(literal)};
    r = c == last ? Relation::EQ : Relation::NEQ;
    if (r == Relation::NEQ) c = zero;
  }
  assert(r == Relation::EQ || r == Relation::NEQ);
  if (c < zero || c > last) return {r == Relation::NEQ, {}};
  LinearForm difference = floor.numerator;
  difference.constant -= c;
  return read_modular(std::move(difference), floor.divisor, r == Relation::NEQ);
}

AtomReading AtomForms::read_modular(LinearForm difference, const QNumber& modulus,
                                    bool negate) {
  assert(is_over_integers(difference.summands) && modulus.sign() > 0);
  CongruenceReading reading = read_congruence(std::move(difference), modulus);
  if (reading.truth) return {*reading.truth != negate, {}};
  BoundLiteral literal{linear_form_number(std::move(reading.summands)), Relation::CONGRUENT,
                       reading.values.residue, reading.values.modulus};
  return {std::nullopt, negate ? negation(literal) : std::move(literal)};
}

// Non-linear comparisons are read as t <= u, t = u or the negation of one.
AtomReading AtomForms::read_opaque(const Term_* atom, bool negated) {
  const Kind kind = Terms::kind_of(atom);
  if (kind == Kind::LT) {
    atom = terms_.make_leq(atom->arg(1), atom->arg(0));
    negated = !negated;
  } else if (kind == Kind::NEQ) {
    atom = terms_.make_equal(atom->arg(0), atom->arg(1));
    negated = !negated;
  }
  return {std::nullopt,
          {opaque_form_number(atom), negated ? Relation::LEQ : Relation::GEQ,
           QNumber(negated ? 0 : 1), QNumber()}};
}

BoundLiteral AtomForms::negation(const BoundLiteral& literal) const {
  BoundLiteral result = literal;
  result.relation = negated(literal.relation);
  if (is_integral(literal.form)) {
    const AtomReading rounded = round_integer_bound(std::move(result));
    assert(!rounded.truth);
    return rounded.literal;
  }
  return result;
}

const Term_* AtomForms::write_opaque(const Form& form, bool negated) {
  const Term_* atom = form.opaque;
  assert(atom != nullptr && form.summands.empty());
  if (!negated) return atom;
  switch (Terms::kind_of(atom)) {
    case Kind::LEQ: return terms_.make_lt(atom->arg(1), atom->arg(0));
    case Kind::EQ: return terms_.make_distinct(atom->arg(0), atom->arg(1));
    default: return terms_.make_not(atom);
  }
}

// The literal as read() would give it: congruences of a smaller modulus than the form was
// made for are normalised again, as are bounds on remainder forms.
AtomReading AtomForms::canonical(const BoundLiteral& literal) {
  const Form& form = forms_[literal.form];
  assert(form.integral && form.opaque == nullptr && literal.bound.is_integer());
  if (literal.modulus.sign() <= 0) return read_remainder(literal);
  if (form.summands.size() == 1) return {std::nullopt, literal};
  return read_modular({form.summands, literal.bound.neg()}, literal.modulus,
                      literal.relation == Relation::INCONGRUENT);
}

const Term_* AtomForms::write(const BoundLiteral& literal) {
  assert(literal.is_normal() && literal.form < forms_.size());
  const Form& form = forms_[literal.form];
  if (form.opaque != nullptr) return write_opaque(form, literal.relation == Relation::LEQ);
  if (!form.integral) return write_sides(literal);
  const AtomReading reading = canonical(literal);
  if (reading.truth) return *reading.truth ? terms_.true_term() : terms_.false_term();
  const BoundLiteral& result = reading.literal;
  return forms_[result.form].remainder && result.modulus.is_zero() ? write_remainder(result)
                                                                   : write_sides(result);
}

// rule readable-sides
// match:  f r c
// result: the summands of f with positive coefficients on one side, those with negative
//         ones, negated, on the other; c joins the latter, or, if negative there, -c the
//         former. GEQ and GT are written with their sides exchanged.
const Term_* AtomForms::write_sides(const BoundLiteral& literal) {
  const Form& form = forms_[literal.form];
  assert(is_form(form.summands));
  const bool mixed =
      !form.integral &&
      std::any_of(form.summands.begin(), form.summands.end(),
                  [](const auto& s) { return Terms::sort_of(s.first) == Sort::INT; });
  const Term_* left = nullptr;
  const Term_* right = nullptr;
  for (const auto& [variable, a] : form.summands) {
    const Term_* product = variable;
    if (mixed && Terms::sort_of(variable) == Sort::INT) {
      product = terms_.make_to_real(variable);
    }
    const QNumber factor = abs(a);
    if (factor != QNumber(1)) {
      product = terms_.make_times(terms_.make_number(factor), product);
    }
    const Term_*& side = a.sign() > 0 ? left : right;
    side = plus(terms_, side, product);
  }
  const QNumber& c = literal.bound;
  assert(left != nullptr);  // the first coefficient is positive
  if (right == nullptr || c.sign() > 0) {
    right = plus(terms_, right, terms_.make_number(c));
  } else if (c.sign() < 0) {
    left = plus(terms_, left, terms_.make_number(c.neg()));
  }
  switch (literal.relation) {
    case Relation::LEQ: return terms_.make_leq(left, right);
    case Relation::LT: return terms_.make_lt(left, right);
    case Relation::GEQ: return terms_.make_leq(right, left);
    case Relation::GT: return terms_.make_lt(right, left);
    case Relation::EQ: return terms_.make_equal(left, right);
    case Relation::NEQ: return terms_.make_distinct(left, right);
    case Relation::CONGRUENT:
    case Relation::INCONGRUENT: break;
  }
  const Term_* t = terms_.make_int_modular_congruence(literal.modulus, left, right);
  return literal.relation == Relation::CONGRUENT ? t : terms_.make_not(t);
}

// A bound on a remainder form, as n - d*floor(n/d) <= c or c <= n - d*floor(n/d).
const Term_* AtomForms::write_remainder(const BoundLiteral& literal) {
  assert(forms_[literal.form].remainder && literal.bound.is_integer());
  const Remainder& remainder = *forms_[literal.form].remainder;
  const FloorForms::Floor& floor = floors_.floor_of(remainder.floor);
  const Term_* difference = terms_.make_plus(
      sum_term(terms_, floor.numerator),
      terms_.make_times(terms_.make_number(floor.divisor.neg()), remainder.floor));
  const Term_* c =
      terms_.make_number(remainder.sign * literal.bound + floor.numerator.constant);
  const bool mirror = remainder.sign.sign() < 0;
  const Relation r = mirror ? mirrored(literal.relation) : literal.relation;
  assert(r == Relation::LEQ || r == Relation::GEQ);
  return r == Relation::LEQ ? terms_.make_leq(difference, c)
                            : terms_.make_leq(c, difference);
}

}  // namespace opal::host
