#include "opal/interpolate/partition.h"

#include <algorithm>
#include <cassert>
#include <utility>

#include "opal/terms/sub_terms.h"
#include "opal/terms/terms.h"

namespace opal::host {

namespace {

// Every sub-tree is an interval that holds the whole sub-tree of each of its groups, and
// the last group has them all.
[[maybe_unused]] bool is_tree(const std::vector<std::size_t>& first) {
  std::vector<std::size_t> open;  // the groups so far that have no parent yet
  for (std::size_t group = 0; group < first.size(); ++group) {
    if (first[group] > group) return false;
    for (; !open.empty() && open.back() >= first[group]; open.pop_back())
      if (first[open.back()] < first[group]) return false;
    open.push_back(group);
  }
  return open.size() == 1;
}

}  // namespace

Grouping::Grouping(std::vector<std::size_t> first) : first_(std::move(first)) {
  assert(is_tree(first_));
}

Grouping::Grouping(std::shared_ptr<const Grouping> symbols)
    : first_(symbols->first_), symbols_(std::move(symbols)) {}

std::vector<std::size_t> Grouping::sequence(std::size_t n) {
  return std::vector<std::size_t>(n, 0);
}

// Atoms are mostly small: they are walked as trees, which needs no tables. What is visited
// after the first few dozen terms is remembered. Floor terms nest and share: each is opened
// once for a group.
void Grouping::add(const Term_* atom, std::size_t group) {
  place_atom(atom, group);
  add_symbols(atom, group);
}

void Grouping::place_atom(const Term_* atom, std::size_t group) {
  assert(group < num_groups() || group == BACKGROUND);
  const auto [entry, is_new] = place_.insert({atom, group});
  if (!is_new) entry->second = std::max(entry->second, group);
}

void Grouping::add_symbols(const Term_* term, std::size_t group) {
  constexpr int VISITS_WITHOUT_TABLE = 64;
  assert(group < num_groups() || group == BACKGROUND);
  assert(symbols_ == nullptr);
  seen_.clear();
  open_.assign(1, term);
  for (int visits = 0; !open_.empty(); ++visits) {
    const Term_* const t = open_.back();
    open_.pop_back();
    if (visits > VISITS_WITHOUT_TABLE) {
      visits = VISITS_WITHOUT_TABLE;
      if (!seen_.insert(t).second) continue;
    }
    const Kind kind = Terms::kind_of(t);
    const bool is_symbol = kind == Kind::VARIABLE || kind == Kind::FLOOR;
    if (is_symbol && !enter(t, group)) continue;
    open_.insert(open_.end(), t->begin(), t->end());
  }
}

bool Grouping::enter(const Term_* symbol, std::size_t group) {
  std::vector<std::size_t>& groups = groups_of_[symbol];
  const auto at = std::lower_bound(groups.begin(), groups.end(), group);
  if (at != groups.end() && *at == group) return false;
  groups.insert(at, group);
  return true;
}

std::size_t Grouping::place(const Term_* atom) const {
  const auto entry = place_.find(atom);
  return entry == place_.end() ? num_groups() : entry->second;
}

bool Grouping::is_sequence() const {
  return std::all_of(first_.begin(), first_.end(), [](std::size_t f) { return f == 0; });
}

std::size_t Grouping::lowest_common(std::size_t a, std::size_t b) const {
  std::size_t group = std::max(a, b);
  const std::size_t low = std::min(a, b);
  while (first_[group] > low)
    ++group;
  return group;
}

const std::vector<std::size_t>* Grouping::groups_of(const Term_* symbol) const {
  const auto& table = symbols_ ? symbols_->groups_of_ : groups_of_;
  const auto found = table.find(symbol);
  return found == table.end() ? nullptr : &found->second;
}

std::vector<std::size_t> Grouping::children(std::size_t group) const {
  std::vector<std::size_t> result;
  for (std::size_t end = group; end > first_[group]; end = first_[end - 1])
    result.push_back(end - 1);
  std::reverse(result.begin(), result.end());
  return result;
}

Grouping::status Grouping::atom_colour(const Term_* atom, std::size_t root) const {
  const auto place = place_.find(atom);
  if (place == place_.end()) return status::UNKNOWN;
  if (place->second == BACKGROUND)
    return num_groups() == 2 ? status::SHARED : status::B_LOCAL;
  return in_subtree(place->second, root) ? status::A_LOCAL : status::B_LOCAL;
}

Grouping::status Grouping::symbols_colour(const Term_* term, std::size_t root) const {
  bool a_local = false;
  bool b_local = false;
  for (const Term_* t : SubTerms({term})) {
    if (Terms::kind_of(t) != Kind::VARIABLE) continue;
    const std::vector<std::size_t>* const found = groups_of(t);
    if (found == nullptr) return status::UNKNOWN;
    const std::vector<std::size_t>& groups = *found;
    const bool background = groups.back() == BACKGROUND;
    const auto inside = std::lower_bound(groups.begin(), groups.end(), first_[root]);
    const bool in_a = background || (inside != groups.end() && *inside <= root);
    const bool in_b = groups.front() < first_[root] || groups.back() > root;
    a_local = a_local || !in_b;
    b_local = b_local || !in_a;
  }
  if (a_local && b_local) return status::AB_MIXED;
  if (a_local) return status::A_LOCAL;
  return b_local ? status::B_LOCAL : status::SHARED;
}

// Let top(s) be the lowest group whose sub-tree has all groups of s. In the partition of r
// the symbol is local to A when top(s) is below r, and local to B when none of its groups
// is. So a place fits when it is below every top, and above or at a group of each symbol.
std::optional<std::size_t> Grouping::place_by_symbols(const Term_* atom) const {
  std::size_t place = num_groups() - 1;
  std::vector<const std::vector<std::size_t>*> all;
  for (const Term_* t : SubTerms({atom})) {
    if (Terms::kind_of(t) != Kind::VARIABLE) continue;
    const std::vector<std::size_t>* const groups = groups_of(t);
    if (groups == nullptr) return std::nullopt;
    if (groups->back() == BACKGROUND) continue;
    all.push_back(groups);
    const std::size_t top = lowest_common(groups->front(), groups->back());
    if (in_subtree(top, place))
      place = top;
    else if (!in_subtree(place, top))
      return std::nullopt;
  }
  for (const auto* groups : all) {
    const auto inside = std::lower_bound(groups->begin(), groups->end(), first_[place]);
    if (inside == groups->end() || *inside > place) return std::nullopt;
  }
  return place;
}

Partition::Partition(std::shared_ptr<const Grouping> grouping, std::size_t root)
    : grouping_(std::move(grouping)), root_(root) {
  assert(grouping_ != nullptr && root_ < grouping_->num_groups());
}

Partition::status Partition::atom_colour(const Term_* atom) const {
  const auto entered = entered_.find(atom);
  return entered != entered_.end() ? entered->second : grouping_->atom_colour(atom, root_);
}

Partition::status Partition::term_colour(const Term_* term) const {
  const status colour = atom_colour(term);
  return colour != status::UNKNOWN ? colour : grouping_->symbols_colour(term, root_);
}

void Partition::enter_atom(const Term_* atom, status colour) {
  assert(colour == status::A_LOCAL || colour == status::B_LOCAL);
  entered_[atom] = colour;
}

}  // namespace opal::host
