#include "opal/smt/linear_forms.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace opal::smt {

using host::BoundSimplex;
using host::Row;
using host::RowEntry;

namespace {

std::size_t hash_of(const Row& form) {
  std::size_t hash = form.size();
  for (const RowEntry& entry : form) {
    const std::size_t one = entry.coeff.hash() * 31 + static_cast<std::size_t>(entry.var);
    hash = (hash ^ one) * 0x9e3779b97f4a7c15U;
  }
  return hash;
}

bool equal(const Row& a, const Row& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](const RowEntry& x, const RowEntry& y) {
                      return x.var == y.var && x.coeff == y.coeff;
                    });
}

}  // namespace

LinearForms::Scaled LinearForms::variable_of(const la::Equation& sum) {
  const auto& coeffs = sum.coeffs();
  assert(!coeffs.empty());
  if (coeffs.size() == 1) {
    const int var = structural(coeffs[0].first);
    simplex_.expect_bounds(var);
    return {var, coeffs[0].second};
  }
  Row form;
  form.reserve(coeffs.size() + 1);
  QNumber denominator(1);
  for (const auto& [mapper_var, coeff] : coeffs) {
    form.push_back({structural(mapper_var), coeff});
    if (!coeff.is_integer()) denominator = lcm(denominator, coeff.get_den());
  }
  std::sort(form.begin(), form.end(),
            [](const RowEntry& a, const RowEntry& b) { return a.var < b.var; });
  const QNumber original = form.front().coeff;
  if (original.sign() < 0) denominator = denominator.neg();
  for (RowEntry& entry : form)
    entry.coeff *= denominator;
  make_coprime(form);
  const QNumber scale = original / form.front().coeff;
  assert(form.front().coeff.sign() > 0 && host::is_normal(form));
  return {slack(std::move(form)), scale};
}

int LinearForms::structural(int mapper_var) {
  const auto id = static_cast<std::size_t>(mapper_var);
  if (id >= by_mapper_var_.size()) by_mapper_var_.resize(id + 1, BoundSimplex::NONE);
  if (by_mapper_var_[id] == BoundSimplex::NONE) {
    const int var = simplex_.make_variable();
    by_mapper_var_[id] = var;
    structurals_.push_back({mapper_var, var});
    is_integer_.push_back(mapper_.is_integer(mapper_var));
    forms_.emplace_back();
  }
  return by_mapper_var_[id];
}

int LinearForms::slack(Row form) {
  const std::size_t hash = hash_of(form);
  if (const int known = find(form, hash); known != BoundSimplex::NONE) return known;
  const int var = simplex_.make_slack(form);
  assert(static_cast<std::size_t>(var) == size());
  is_integer_.push_back(std::all_of(form.begin(), form.end(),
                                    [&](const RowEntry& e) { return is_integer(e.var); }));
  forms_.push_back(std::move(form));
  slacks_.emplace(hash, var);
  return var;
}

int LinearForms::find(const Row& form, std::size_t hash) const {
  const auto [begin, end] = slacks_.equal_range(hash);
  for (auto it = begin; it != end; ++it)
    if (equal(form, forms_[static_cast<std::size_t>(it->second)])) return it->second;
  return BoundSimplex::NONE;
}

}  // namespace opal::smt
