// Atoms as linear constraints with ids, and back.
//
// Example, with Int variables x and y and nothing seen before: the atom 2x < 4y + 5 gives
//
//     variables     x = 2, y = 3        (1 is the strictness variable)
//     linear form   2*x2 - 4*x3 < 5
//     normalised    1*x2 - 2*x3 <= 2    (integer_constraints.cpp)
//     constraint    1, with the literal 2x < 4y + 5
//
// An id is kept in a table by the id of its term, so that the next call for the same atom
// costs a look into a vector. Branches, exact constraints and shared terms have tables of
// their own, since the same atom may be asserted too and then has another id for that.

#include "opal/linear/mapper.h"

#include <algorithm>
#include <cassert>
#include <deque>
#include <optional>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "opal/linear/integer_constraints.h"
#include "opal/linear/linear_form.h"
#include "opal/linear/literals.h"
#include "opal/terms/print/printer.h"

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

bool is_variable(const Term_* t) {
  const Kind kind = Terms::kind_of(t);
  return (kind == Kind::VARIABLE && Terms::sort_of(t) != Sort::BOOL) || kind == Kind::FLOOR;
}

}  // namespace

class Mapper::Impl {
 public:
  Impl(Terms& t, Limits& l) : terms(t), limits(l) {}

  // The number kept for a term: the id of an atom's constraint (of the zero constraint for
  // a disequality that always holds), or of a variable; 0 for a term that was not seen.
  [[nodiscard]] int number_of(const Term_* t) const {
    return t->id() < numbers.size() ? numbers[t->id()] : 0;
  }
  void set_number(const Term_* t, int number) {
    assert(number != 0);
    if (t->id() >= numbers.size())
      numbers.resize(std::max<std::size_t>(t->id() + 1, 2 * numbers.size()), 0);
    assert(numbers[t->id()] == 0);  // ids are never taken back
    numbers[t->id()] = number;
    assert(number_of(t) == number);
  }

  struct Constraint {
    TheoryLit lit;
    LinearTerm term;
  };

  [[nodiscard]] bool has_constraint(int id) const {
    return id >= 1 && static_cast<std::size_t>(id) <= constraints.size();
  }

  [[nodiscard]] bool has_variable(int var) const {
    return var > DELTA_VAR && static_cast<std::size_t>(var) < variables.size() + 2;
  }
  [[nodiscard]] const Term_* variable_term(int var) const {
    assert(has_variable(var));
    return variables[static_cast<std::size_t>(var) - 2];
  }
  [[nodiscard]] bool is_integer(int var) const {
    return Terms::sort_of(variable_term(var)) == Sort::INT;
  }
  // Whether there are variables, all of them Ints; the first Real decides.
  [[nodiscard]] bool is_integer(const Equation& vars) const {
    const auto& coeffs = vars.coeffs();
    return vars.has_vars() &&
           std::all_of(coeffs.begin(), coeffs.end(),
                       [this](const auto& pair) { return is_integer(pair.first); });
  }

  int add(TheoryLit lit, LinearTerm&& term) {
    assert(!lit.has_no_atom() && term.is_normal());
    assert(std::all_of(term.vars.coeffs().begin(), term.vars.coeffs().end(),
                       [this](const auto& pair) { return has_variable(pair.first); }));
    constraints.push_back({lit, std::move(term)});
    return static_cast<int>(constraints.size());
  }
  int add(const Term_* atom, LinearTerm&& term) {
    return add(TheoryLit(atom), std::move(term));
  }
  [[nodiscard]] const Constraint& constraint(int id) const {
    assert(has_constraint(id));
    return constraints[static_cast<std::size_t>(id) - 1];
  }
  [[nodiscard]] const Term_* branch_atom(const LinearTerm& branch);

  Terms& terms;
  Limits& limits;
  std::vector<int> numbers;             // by the id of the term
  std::vector<const Term_*> variables;  // the variable of id i is variables[i - 2]
  std::deque<Constraint> constraints;   // the constraint of id i is constraints[i - 1]
  std::unordered_map<const Term_*, int> branches;  // by the branch's atom
  std::unordered_map<const Term_*, int> exact[2];  // by the equality; denied ones second
  std::unordered_map<const Term_*, int> defined;   // variables by the terms they stand for
};

Mapper::Mapper(Terms& terms, Limits& limits)
    : impl_(std::make_unique<Impl>(terms, limits)) {}

Mapper::~Mapper() = default;

LinearTerm Mapper::unnormalised(const Term_* atom) {
  assert(is_atom(atom));
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
  vars.reserve(sum.size());
  for (const auto& [var, coefficient] : sum)
    vars.add_var(*coefficient, var);
  assert(vars.is_normal() && vars.coeffs().size() == form.summands.size());
  return LinearTerm(relation_of(atom), std::move(vars), form.constant.neg());
}

int Mapper::constraint(const Term_* atom) {
  if (const int known = impl_->number_of(atom)) return known;
  if (atom == impl_->terms.true_term()) return ZERO_CONSTRAINT;
  if (!is_atom(atom)) throw std::invalid_argument("not an atom: " + term_text(atom));

  LinearTerm term = unnormalised(atom);
  int id = ZERO_CONSTRAINT;
  if (!impl_->is_integer(term.vars)) {
    id = impl_->add(atom, std::move(term));
  } else if (std::optional<LinearTerm> normal = integer_normal_form(std::move(term))) {
    id = impl_->add(atom, std::move(*normal));
  }
  impl_->set_number(atom, id);
  assert(id == ZERO_CONSTRAINT || constraint_atom(id) == atom);
  return id;
}

const LinearTerm& Mapper::constraint_term(int constr_id) const {
  return impl_->constraint(constr_id).term;
}

const Term_* Mapper::constraint_atom(int constr_id) const {
  return impl_->constraint(constr_id).lit.atom();
}

int Mapper::variable(const Term_* var) {
  assert(is_variable(var));
  if (const int known = impl_->number_of(var)) return known;
  impl_->variables.push_back(var);
  impl_->set_number(var, num_variables() + 1);
  assert(impl_->variable_term(num_variables() + 1) == var);
  return num_variables() + 1;
}

int Mapper::num_variables() const { return static_cast<int>(impl_->variables.size()); }

int Mapper::num_constraints() const { return static_cast<int>(impl_->constraints.size()); }

bool Mapper::is_integer(int var) const { return impl_->is_integer(var); }

// As the engine builds it: sum := 0; sum := sum + a*x ...
const Term_* Mapper::Impl::branch_atom(const LinearTerm& branch) {
  assert(branch.is_normal() && branch.vars.has_vars());
  const BuildingFlagScope simplified(terms, 1);
  const Term_* sum = terms.make_number(0);
  for (const auto& [var, coefficient] : branch.vars.coeffs()) {
    assert(coefficient.is_integer() && is_integer(var));
    const Term_* const product =
        terms.make_times(terms.make_number(coefficient), variable_term(var));
    sum = terms.make_plus(sum, product);
  }
  const Term_* const bound = terms.make_number(branch.constant);
  return branch.kind == LinearTerm::LEQ ? terms.make_leq(sum, bound)
                                        : terms.make_leq(bound, sum);
}

// The atom tells branches apart: it has the variables, the coefficients, the constant and
// the direction. It may be asserted too, and then has a number of its own for that.
int Mapper::branch_constraint(const LinearTerm& branch) {
  assert(branch.kind == LinearTerm::LEQ || branch.kind == LinearTerm::GEQ);
  assert(branch.vars.has_vars() && branch.constant.is_integer());
  const Term_* const atom = impl_->branch_atom(branch);
  int& id = impl_->branches[atom];
  if (id == 0) id = impl_->add(atom, LinearTerm(branch));
  assert(is_branch(id) && constraint_term(id).kind == branch.kind);
  assert(constraint_term(id).vars.coeffs() == branch.vars.coeffs());
  return id;
}

bool Mapper::is_branch(int constr_id) const {
  if (!impl_->has_constraint(constr_id)) return false;
  const auto found = impl_->branches.find(constraint_atom(constr_id));
  return found != impl_->branches.end() && found->second == constr_id;
}

// A name that begins with a dot is reserved for solvers, so no user's symbol has it.
int Mapper::cut_variable() {
  return variable(impl_->terms.make_fresh_variable(".cut", Sort::INT));
}

int Mapper::exact_constraint(TheoryLit equality) {
  const Term_* const atom = equality.atom();
  assert(Terms::kind_of(atom) == Kind::EQ && is_atom(atom));
  int& id = impl_->exact[equality.is_negated() ? 1 : 0][atom];
  if (id == 0) {
    LinearTerm term = unnormalised(atom);
    if (equality.is_negated()) term.kind = LinearTerm::NEQ;
    id = impl_->add(equality, std::move(term));
  }
  assert(impl_->constraint(id).lit.bits() == equality.bits());
  return id;
}

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
  return impl_->constraint(constr_id).lit;
}

const Term_* Mapper::var_term(int var) {
  impl_->limits.poll();
  return impl_->has_variable(var) ? impl_->variable_term(var) : nullptr;
}

int Mapper::term_var(const Term_* term, bool make) {
  impl_->limits.poll();
  if (!is_variable(term)) return 0;
  return make ? variable(term) : impl_->number_of(term);
}

int Mapper::atom_constraint(const Term_* atom) {
  impl_->limits.poll();
  return constraint(atom);
}

int Mapper::term_def_var(const Term_* term) {
  impl_->limits.poll();
  assert(Terms::sort_of(term) != Sort::BOOL);
  if (is_variable(term)) return variable(term);
  int& var = impl_->defined[term];
  if (var == 0) {
    impl_->variables.push_back(term);
    var = num_variables() + 1;
  }
  assert(impl_->variable_term(var) == term);
  return var;
}

}  // namespace opal::host
