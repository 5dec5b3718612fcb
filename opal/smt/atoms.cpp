#include "opal/smt/atoms.h"

#include <algorithm>
#include <cassert>
#include <utility>

#include "opal/linear/literals.h"

namespace opal::smt {

using host::Kind;
using host::LinearForm;
using host::Sort;
using host::Terms;
using la::LinearTerm;
using sat::Literal;
using sat::Sign;
using sat::Variable;
using sat::VariableKind;

namespace {

int relation_of(Kind kind) {
  switch (kind) {
    case Kind::LEQ: return LinearTerm::LEQ;
    case Kind::LT: return LinearTerm::LT;
    case Kind::EQ: return LinearTerm::EQ;
    default: break;
  }
  assert(kind == Kind::NEQ);
  return LinearTerm::NEQ;
}

bool holds(const QNumber& value, int relation) {
  switch (relation) {
    case LinearTerm::LT: return value.sign() < 0;
    case LinearTerm::LEQ: return value.sign() <= 0;
    case LinearTerm::EQ: return value.is_zero();
    case LinearTerm::NEQ: return !value.is_zero();
    case LinearTerm::GEQ: return value.sign() >= 0;
    default: break;
  }
  assert(relation == LinearTerm::GT);
  return value.sign() > 0;
}

// The relation that holds between the negations of two numbers.
int mirrored(int relation) {
  switch (relation) {
    case LinearTerm::LT: return LinearTerm::GT;
    case LinearTerm::LEQ: return LinearTerm::GEQ;
    case LinearTerm::GEQ: return LinearTerm::LEQ;
    case LinearTerm::GT: return LinearTerm::LT;
    default: break;
  }
  return relation;
}

// The number for which all coefficients divided by it are coprime integers and the first
// one is positive.
QNumber signed_content(const LinearForm& form) {
  const QNumber one(1);
  QNumber divisor;
  QNumber multiple(1);
  for (const auto& [variable, coefficient] : form.summands) {
    if (!coefficient.is_integer()) multiple = lcm(multiple, coefficient.get_den());
    if (divisor != one) divisor = gcd(divisor, coefficient);
  }
  const QNumber content = multiple == one ? divisor : divisor / multiple;
  return form.summands.front().second.sign() < 0 ? content.neg() : content;
}

bool has_integers_only(const LinearForm& form) {
  return std::all_of(form.summands.begin(), form.summands.end(), [](const auto& summand) {
    return Terms::sort_of(summand.first) == Sort::INT;
  });
}

QNumber ceiling(const QNumber& x) { return x.neg().floor().neg(); }

// `sum relation bound` over integers by `sum <= c` and `sum = c` alone, with a sum that has
// all integers as values.
CanonicalLiteral integer_literal(Terms& terms, const Term_* sum, int relation,
                                 const QNumber& bound) {
  const auto at_most = [&](const QNumber& c, Sign sign) {
    return CanonicalLiteral{terms.make_leq(sum, terms.make_number(c)), sign};
  };
  switch (relation) {
    case LinearTerm::LEQ: return at_most(bound.floor(), Sign::POSITIVE);
    case LinearTerm::LT: return at_most(ceiling(bound) - QNumber(1), Sign::POSITIVE);
    case LinearTerm::GEQ: return at_most(ceiling(bound) - QNumber(1), Sign::NEGATIVE);
    case LinearTerm::GT: return at_most(bound.floor(), Sign::NEGATIVE);
    default: break;
  }
  const bool equal = relation == LinearTerm::EQ;
  assert(equal || relation == LinearTerm::NEQ);
  if (!bound.is_integer())
    return {terms.true_term(), equal ? Sign::NEGATIVE : Sign::POSITIVE};
  return {terms.make_equal(sum, terms.make_number(bound)),
          equal ? Sign::POSITIVE : Sign::NEGATIVE};
}

CanonicalLiteral real_literal(Terms& terms, const Term_* sum, int relation,
                              const QNumber& value) {
  const Term_* const bound = terms.make_number(value);
  switch (relation) {
    case LinearTerm::LEQ: return {terms.make_leq(sum, bound), Sign::POSITIVE};
    case LinearTerm::LT: return {terms.make_leq(bound, sum), Sign::NEGATIVE};
    case LinearTerm::GEQ: return {terms.make_leq(bound, sum), Sign::POSITIVE};
    case LinearTerm::GT: return {terms.make_leq(sum, bound), Sign::NEGATIVE};
    case LinearTerm::EQ: return {terms.make_equal(sum, bound), Sign::POSITIVE};
    default: break;
  }
  assert(relation == LinearTerm::NEQ);
  return {terms.make_equal(sum, bound), Sign::NEGATIVE};
}

}  // namespace

// sum + k rel 0, divided by the content g with its sign:  sum/g rel' -k/g.
CanonicalLiteral canonical_literal(Terms& terms, LinearForm form, int relation) {
  assert(form.is_normal());
  if (form.is_constant()) {
    const bool truth = holds(form.constant, relation);
    return {terms.true_term(), truth ? Sign::POSITIVE : Sign::NEGATIVE};
  }
  const QNumber content = signed_content(form);
  if (content != QNumber(1)) {
    const QNumber factor = content.inv();
    for (auto& [variable, coefficient] : form.summands) {
      coefficient *= factor;
      coefficient.shrink();
    }
    form.constant *= factor;
    if (content.sign() < 0) relation = mirrored(relation);
  }
  QNumber bound = form.constant.neg();
  bound.shrink();
  form.constant = QNumber();
  const BuildingFlagScope simplified(terms, 1);
  const Term_* const sum = sum_term(terms, form);
  return has_integers_only(form) ? integer_literal(terms, sum, relation, bound)
                                 : real_literal(terms, sum, relation, bound);
}

CanonicalLiteral canonical_literal(Terms& terms, const Term_* atom) {
  assert(Terms::sort_of(atom->arg(0)) != Sort::BOOL);
  return canonical_literal(terms, host::linear_difference(atom->arg(0), atom->arg(1)),
                           relation_of(Terms::kind_of(atom)));
}

Atoms::Atoms(Terms& terms, host::Mapper& mapper, sat::Search& search, AtomObserver observer)
    : terms_(terms), mapper_(mapper), search_(search), observer_(std::move(observer)) {}

Literal Atoms::literal(const Term_* atom) {
  const Literal known = known_literal(atom);
  if (known.is_valid()) return known;
  const auto make = [this](VariableKind kind) { return search_.make_variable(kind); };
  if (Terms::kind_of(atom) == Kind::VARIABLE) {
    assert(Terms::sort_of(atom) == Sort::BOOL);
    const Literal made(make(VariableKind::PLAIN));
    remember(atom, made);
    return made;
  }
  const Literal made = canonical_variable(canonical_literal(terms_, atom), make);
  if (!known_literal(atom).is_valid()) remember(atom, made);
  return made;
}

Literal Atoms::literal(const LinearTerm& constraint, sat::Consequences& consequences) {
  LinearForm form;
  form.summands.reserve(constraint.vars.coeffs().size());
  for (const auto& [variable, coefficient] : constraint.vars.coeffs())
    form.summands.emplace_back(mapper_.var_term(variable), coefficient);
  form.merge_summands();
  form.constant = constraint.constant.neg();
  return canonical_variable(
      canonical_literal(terms_, std::move(form), constraint.kind),
      [&](VariableKind kind) { return consequences.make_variable(kind); });
}

// The literal of a canonical atom, made a variable at first sight.
Literal Atoms::canonical_variable(const CanonicalLiteral& canonical,
                                  const VariableMaker& make_variable) {
  const Term_* const atom = canonical.atom;
  const auto with_sign = [&](Literal literal) {
    return canonical.sign == Sign::POSITIVE ? literal : ~literal;
  };
  if (atom == terms_.true_term()) return with_sign(TRUE_LITERAL);
  const Literal known = known_literal(atom);
  if (known.is_valid()) return with_sign(known);
  const int positive = mapper_.constraint(atom);
  const int negative = mapper_.constraint(host::negated_atom(terms_, atom));
  const Variable variable = make_variable(VariableKind::ATOM);
  if (observer_) observer_(variable, positive, negative);
  remember(atom, Literal(variable));
  arithmetic_count_++;
  return with_sign(Literal(variable));
}

// `atom` was not seen; when it is not the canonical one, that one was.
void Atoms::remember(const Term_* atom, Literal literal) {
  assert(literal.is_valid());
  if (atom->id() >= literals_.size())
    literals_.resize(terms_.size() + terms_.size() / 4 + 64);
  literals_[atom->id()] = literal;
  const Variable variable = literal.variable();
  if (literal.is_negative() || variable == TRUE_LITERAL.variable()) return;
  if (variable >= atoms_.size()) atoms_.resize(variable + variable / 4 + 64, nullptr);
  if (atoms_[variable] == nullptr) atoms_[variable] = atom;
}

}  // namespace opal::smt
