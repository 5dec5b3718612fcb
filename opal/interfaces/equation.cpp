// Sorted lists of coefficients: how they change, and their text.

#include "opal/interfaces/equation.h"

#include <algorithm>
#include <cassert>
#include <iterator>
#include <sstream>

namespace opal::la {

namespace {

bool id_less(const Equation::VarCoeff& pair, int var) { return pair.first < var; }

}  // namespace

const QNumber Equation::coeff_zero;

void Equation::add_var(const QNumber& q, int var) {
  if (q.is_zero()) return;
  auto it = coeffs_.end();
  if (!coeffs_.empty() && coeffs_.back().first >= var)
    it = std::lower_bound(coeffs_.begin(), coeffs_.end(), var, id_less);
  if (it == coeffs_.end() || it->first != var) {
    assert(it == coeffs_.end() || it->first > var);
    assert(it == coeffs_.begin() || std::prev(it)->first < var);
    coeffs_.emplace(it, var, q);
    return;
  }
  assert(!it->second.is_zero());
  it->second += q;
  if (it->second.is_zero()) coeffs_.erase(it);
}

void Equation::add_const(const QNumber& c) {
  if (!constant_) {
    if (!c.is_zero()) constant_ = c;
    return;
  }
  assert(!constant_->is_zero());
  *constant_ += c;
  if (constant_->is_zero()) constant_.reset();
}

void Equation::mult(const QNumber& q) {
  if (q.is_zero()) {
    constant_.reset();
    coeffs_.clear();
    return;
  }
  // q may be part of this constraint: a copy keeps it fixed while we scale.
  const QNumber factor = q;
  for (VarCoeff& pair : coeffs_)
    pair.second *= factor;
  if (constant_) *constant_ *= factor;
  assert(is_normal());
}

const QNumber& Equation::coeff(int var) const {
  auto it = std::lower_bound(coeffs_.begin(), coeffs_.end(), var, id_less);
  assert(coeff_zero.is_zero());
  return it != coeffs_.end() && it->first == var ? it->second : coeff_zero;
}

std::string Equation::to_str(bool relation) const {
  assert(is_normal());
  std::ostringstream out;
  const char* separator = "";
  auto write = [&](const QNumber& q, const std::string& name) {
    const bool negative = q.sign() < 0;
    const QNumber magnitude = abs(q);
    assert(!q.is_zero());
    if (*separator != '\0')
      out << (negative ? " - " : " + ");
    else if (negative)
      out << '-';
    if (name.empty() || !(magnitude == QNumber(1)))
      out << magnitude << (name.empty() ? "" : "*");
    out << name;
    separator = " ";
  };
  for (const VarCoeff& pair : coeffs_)
    write(pair.second, "x" + std::to_string(pair.first));
  if (constant_) write(*constant_, "");
  if (*separator == '\0') out << '0';
  if (relation) out << " >= 0";
  return out.str();
}

bool Equation::is_normal() const {
  if (constant_ && constant_->is_zero()) return false;
  for (std::size_t i = 0; i < coeffs_.size(); ++i) {
    assert(coeffs_[i].second.is_normal());
    if (coeffs_[i].second.is_zero()) return false;
    if (i > 0 && coeffs_[i - 1].first >= coeffs_[i].first) return false;
  }
  return true;
}

}  // namespace opal::la
