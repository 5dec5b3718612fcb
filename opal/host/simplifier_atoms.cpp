#include "opal/host/simplifier_atoms.h"

#include <algorithm>
#include <cassert>
#include <utility>

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
    case Relation::NEQ: break;
  }
  return Relation::EQ;
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
    case Relation::NEQ: break;
  }
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
  }
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
  const auto [entry, fresh] = linear_.try_emplace(std::move(summands), forms_.size());
  if (fresh) {
    const bool integral =
        std::all_of(entry->first.begin(), entry->first.end(),
                    [](const auto& s) { return Terms::sort_of(s.first) == Sort::INT; });
    forms_.push_back({entry->first, nullptr, integral});
  }
  return entry->second;
}

std::size_t AtomForms::opaque_form_number(const Term_* literal) {
  const auto [entry, fresh] = opaque_.try_emplace(literal, forms_.size());
  if (fresh) forms_.push_back({{}, literal, true});
  return entry->second;
}

AtomReading AtomForms::read(const Term_* atom, bool negated) {
  if (atom == terms_.true_term()) return {!negated, {}};
  if (atom == terms_.false_term()) return {negated, {}};
  if (!is_comparison(Terms::kind_of(atom)) || Terms::sort_of(atom->arg(0)) == Sort::BOOL) {
    return read_opaque(atom, negated);
  }
  try {
    return read_linear(atom, negated, linear_difference(atom->arg(0), atom->arg(1)));
  } catch (const NotLinear&) {
    return read_opaque(atom, negated);
  }
}

// rule normal-form
// match:  s r t
// result: f r' c with q(s - t) = f - c, q chosen such that f is a form; a truth value when
//         s - t is a constant
AtomReading AtomForms::read_linear(const Term_* atom, bool negate, LinearForm difference) {
  Relation relation = relation_of(Terms::kind_of(atom));
  if (negate) relation = negated(relation);
  if (difference.is_constant()) {
    return {holds_for_sign(difference.constant.sign(), relation), {}};
  }
  const QNumber factor = primitive_factor(difference.summands);
  for (auto& summand : difference.summands)
    summand.second *= factor;
  if (factor.sign() < 0) relation = mirrored(relation);
  BoundLiteral literal{linear_form_number(std::move(difference.summands)), relation,
                       difference.constant.neg() * factor};
  if (is_integral(literal.form)) return round_integer_bound(std::move(literal));
  return {std::nullopt, std::move(literal)};
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
           QNumber(negated ? 0 : 1)}};
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
  if (!negated) return atom;
  switch (Terms::kind_of(atom)) {
    case Kind::LEQ: return terms_.make_lt(atom->arg(1), atom->arg(0));
    case Kind::EQ: return terms_.make_distinct(atom->arg(0), atom->arg(1));
    default: return terms_.make_not(atom);
  }
}

// rule readable-sides
// match:  f r c
// result: the summands of f with positive coefficients on one side, those with negative
//         ones, negated, on the other; c joins the latter, or, if negative there, -c the
//         former. GEQ and GT are written with their sides exchanged.
const Term_* AtomForms::write(const BoundLiteral& literal) {
  const Form& form = forms_[literal.form];
  if (form.opaque != nullptr) return write_opaque(form, literal.relation == Relation::LEQ);
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
    case Relation::NEQ: break;
  }
  return terms_.make_distinct(left, right);
}

}  // namespace opal::host
