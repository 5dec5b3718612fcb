#ifndef OPAL_TERMS_SUB_TERMS_H
#define OPAL_TERMS_SUB_TERMS_H

#include <cstddef>
#include <vector>

#include "opal/interfaces/term.h"

namespace opal::host {

/// The sub-terms of some terms, themselves included, each once and ascending by id: the
/// arguments of a term come before it. The order for computing over shared terms of any
/// depth without recursion:
///
///     SubTerms order({formula});
///     std::vector<bool> truth(order.size());
///     for (std::size_t i = 0; i < order.size(); ++i)
///       truth[i] = ... truth[order.position(order[i]->arg(0))] ...
class SubTerms {
 public:
  /// What is inside of a floor term: with ATOMIC it is not listed, as if the floor term had
  /// no argument.
  enum class Floors { OPEN, ATOMIC };

  explicit SubTerms(const std::vector<const Term_*>& roots, Floors floors = Floors::OPEN);

  [[nodiscard]] std::size_t size() const { return terms_.size(); }
  const Term_* operator[](std::size_t i) const { return terms_[i]; }
  [[nodiscard]] std::vector<const Term_*>::const_iterator begin() const {
    return terms_.begin();
  }
  [[nodiscard]] std::vector<const Term_*>::const_iterator end() const {
    return terms_.end();
  }
  /// The index of a term that is among them. Time logarithmic in size(), constant where
  /// the ids are dense.
  [[nodiscard]] std::size_t position(const Term_* t) const;

 private:
  std::vector<const Term_*> terms_;
};

}  // namespace opal::host

#endif
