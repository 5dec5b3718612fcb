#include "opal/host/mapper.h"

#include <algorithm>
#include <cassert>
#include <deque>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "opal/host/linear_form.h"
#include "opal/host/literals.h"
#include "opal/host/printer.h"

namespace opal::host {

namespace {

using la::Equation;
using la::LinearTerm;

// The relation of an atom's constraint, or -1 for another term.
int relation_of(const Term_* atom) {
  switch (Terms::kind_of(atom)) {
    case Kind::LEQ:
    case Kind::FALSE: return LinearTerm::LEQ;
    case Kind::LT: return LinearTerm::LT;
    case Kind::EQ: return LinearTerm::EQ;
    case Kind::NEQ: return LinearTerm::NEQ;
    default: break;
  }
  return -1;
}

bool is_atom(const Term_* t) {
  const Kind kind = Terms::kind_of(t);
  if (kind == Kind::FALSE) return true;
  return relation_of(t) >= 0 && Terms::sort_of(t->arg(0)) != Sort::BOOL;
}

}  // namespace

class Mapper::Impl {
 public:
  Impl(Terms& t, Limits& l) : terms(t), limits(l) {}

  // The number kept for a term: the id of an atom's constraint, or of a variable; 0 for
  // a term that was not seen.
  [[nodiscard]] int number_of(const Term_* t) const {
    return t->id() < numbers.size() ? numbers[t->id()] : 0;
  }
  void set_number(const Term_* t, int number) {
    if (t->id() >= numbers.size())
      numbers.resize(std::max<std::size_t>(t->id() + 1, 2 * numbers.size()), 0);
    assert(numbers[t->id()] == 0);
    numbers[t->id()] = number;
  }

  struct Constraint {
    const Term_* atom;
    LinearTerm term;
  };

  [[nodiscard]] bool has_constraint(int id) const {
    return id >= 1 && static_cast<std::size_t>(id) <= constraints.size();
  }

  Terms& terms;
  Limits& limits;
  std::vector<int> numbers;             // by the id of the term
  std::vector<const Term_*> variables;  // the variable of id i is variables[i - 2]
  std::deque<Constraint> constraints;   // the constraint of id i is constraints[i - 1]
};

Mapper::Mapper(Terms& terms, Limits& limits)
    : impl_(std::make_unique<Impl>(terms, limits)) {}

Mapper::~Mapper() = default;

int Mapper::constraint(const Term_* atom) {
  if (const int known = impl_->number_of(atom)) return known;
  if (atom == impl_->terms.true_term()) return ZERO_CONSTRAINT;
  if (!is_atom(atom)) throw std::invalid_argument("not an atom: " + term_text(atom));

  LinearForm form;
  if (Terms::kind_of(atom) == Kind::FALSE) {
    form.constant = QNumber(1);  // 1 <= 0
  } else {
    form = linear_difference(atom->arg(0), atom->arg(1));
  }
  std::vector<std::pair<int, const QNumber*>> sum;
  sum.reserve(form.summands.size());
  for (const LinearForm::Summand& summand : form.summands)
    sum.emplace_back(variable(summand.first), &summand.second);
  std::sort(sum.begin(), sum.end());
  Equation vars;
  for (const auto& [var, coefficient] : sum)
    vars.add_var(*coefficient, var);
  assert(vars.is_normal());
  impl_->constraints.push_back(
      {atom, LinearTerm(relation_of(atom), std::move(vars), form.constant.neg())});
  impl_->set_number(atom, num_constraints());
  return num_constraints();
}

const LinearTerm& Mapper::constraint_term(int constr_id) const {
  assert(impl_->has_constraint(constr_id));
  return impl_->constraints[static_cast<std::size_t>(constr_id) - 1].term;
}

const Term_* Mapper::constraint_atom(int constr_id) const {
  assert(impl_->has_constraint(constr_id));
  return impl_->constraints[static_cast<std::size_t>(constr_id) - 1].atom;
}

int Mapper::variable(const Term_* var) {
  assert(Terms::kind_of(var) == Kind::VARIABLE && Terms::sort_of(var) != Sort::BOOL);
  if (const int known = impl_->number_of(var)) return known;
  impl_->variables.push_back(var);
  impl_->set_number(var, num_variables() + 1);
  return num_variables() + 1;
}

int Mapper::num_variables() const { return static_cast<int>(impl_->variables.size()); }

int Mapper::num_constraints() const { return static_cast<int>(impl_->constraints.size()); }

LinearTerm Mapper::linear_term(int constr_id) {
  impl_->limits.poll();
  if (constr_id == ZERO_CONSTRAINT)
    return LinearTerm(LinearTerm::GEQ, Equation(), QNumber());
  if (!impl_->has_constraint(constr_id))
    throw std::out_of_range("no constraint has the id " + std::to_string(constr_id));
  return constraint_term(constr_id);
}

LinearTerm Mapper::bb_linear_term(TheoryLit /*lit*/, int constr_id) {
  return linear_term(constr_id);
}

int Mapper::lit_constraint(TheoryLit lit) {
  impl_->limits.poll();
  if (lit.has_no_atom()) return 0;
  const Term_* atom = lit.atom();
  if (!is_atom(atom)) return 0;
  return constraint(lit.is_negated() ? negated_atom(impl_->terms, atom) : atom);
}

TheoryLit Mapper::constraint_lit(int constr_id) {
  impl_->limits.poll();
  if (!impl_->has_constraint(constr_id)) return TheoryLit();
  return TheoryLit(constraint_atom(constr_id));
}

const Term_* Mapper::var_term(int var) {
  impl_->limits.poll();
  if (var <= DELTA_VAR || var > num_variables() + 1) return nullptr;
  return impl_->variables[static_cast<std::size_t>(var) - 2];
}

int Mapper::term_var(const Term_* term, bool make) {
  impl_->limits.poll();
  if (Terms::kind_of(term) != Kind::VARIABLE || Terms::sort_of(term) == Sort::BOOL)
    return 0;
  return make ? variable(term) : impl_->number_of(term);
}

int Mapper::atom_constraint(const Term_* atom) {
  impl_->limits.poll();
  return constraint(atom);
}

int Mapper::term_def_var(const Term_* /*term*/) {
  impl_->limits.poll();
  return 0;
}

}  // namespace opal::host
