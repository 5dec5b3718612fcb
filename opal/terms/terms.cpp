// Terms, each built once (hash-consing).
//
// A term is a node in an arena: its id, its symbol and pointers to its arguments. Before a
// node is made, it is looked for by its symbol and arguments; equal constructions are one
// pointer, so comparing terms is comparing pointers, and a term is its own hash. Ids are
// handed out in the order of construction, which puts arguments before the terms that have
// them: walks that must not recurse, and orders that must not depend on addresses, go by
// id.
//
// Example: x + 1 and, later, x + 1 again. The first call makes the nodes x (id 3, after
// true and false), 1 (4) and the sum (5); the second finds 3, 4 and 5.
//
// Cost: a lookup in a hash table for each construction, and 16 bytes and a pointer for each
// argument of each term. Nothing is freed before the manager is.

#include "opal/terms/terms.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstddef>
#include <deque>
#include <map>
#include <stdexcept>
#include <type_traits>
#include <unordered_map>
#include <utility>

#include "opal/base/hash_index.h"

namespace opal {

class Type {
 public:
  explicit Type(host::Sort s) : sort(s) {}

  const host::Sort sort;
};

}  // namespace opal

namespace opal::host {

const char* to_string(Sort sort) {
  switch (sort) {
    case Sort::BOOL: return "Bool";
    case Sort::INT: return "Int";
    case Sort::REAL: break;
  }
  return "Real";
}

namespace {

// Memory for nodes, freed at once: terms have nothing to destroy.
class Arena {
 public:
  void* allocate(std::size_t bytes) {
    assert(bytes % alignof(const Term_*) == 0 && bytes <= CHUNK_BYTES);
    if (bytes > left_) {
      chunks_.push_back(std::make_unique<std::byte[]>(CHUNK_BYTES));
      next_ = chunks_.back().get();
      left_ = CHUNK_BYTES;
    }
    assert(next_ != nullptr && bytes <= left_);
    left_ -= bytes;
    return std::exchange(next_, next_ + bytes);
  }

 private:
  static constexpr std::size_t CHUNK_BYTES = std::size_t{1} << 16U;

  std::vector<std::unique_ptr<std::byte[]>> chunks_;
  std::byte* next_ = nullptr;
  std::size_t left_ = 0;
};

static_assert(std::is_trivially_destructible_v<Term_>, "the arena destroys no node");

// One value for equal constructions: kind, sort and argument ids. Congruences of the same
// arguments collide, whatever their moduli.
std::uint32_t hash_of(const TermSymbol& symbol, const Term_* const* args) {
  std::uint64_t h =
      static_cast<std::uint64_t>(symbol.kind) * 4 + static_cast<std::uint64_t>(symbol.sort);
  for (std::size_t i = 0; i < symbol.arity(); ++i) {
    h = (h ^ args[i]->id()) * 0x9E3779B97F4A7C15U;
    h ^= h >> 32U;
  }
  return static_cast<std::uint32_t>(h);
}

bool both_numerals(const Term_* a, const Term_* b) {
  return Terms::is_numeral(a) && Terms::is_numeral(b);
}

const QNumber& value_of(const Term_* numeral) {
  assert(Terms::is_numeral(numeral));
  return Terms::symbol_of(numeral).value;
}

bool is_numeral_of(const Term_* t, int value) {
  return Terms::is_numeral(t) && value_of(t) == QNumber(value);
}

bool is_formula(const Term_* t) { return Terms::sort_of(t) == Sort::BOOL; }

[[maybe_unused]] bool is_arithmetic(const Term_* a, const Term_* b) {
  return !is_formula(a) && !is_formula(b);
}

Sort common_sort(const Term_* a, const Term_* b) {
  const bool integers = Terms::sort_of(a) == Sort::INT && Terms::sort_of(b) == Sort::INT;
  return integers ? Sort::INT : Sort::REAL;
}

}  // namespace

// Terms with arguments are found by their kinds, sorts and arguments, those without by
// their symbols.
class Terms::Impl {
 public:
  // A symbol without a name or value; there is one for each kind and sort.
  const TermSymbol* symbol(Kind kind, Sort sort, std::size_t arity) {
    const TermSymbol*& found =
        plain_symbols_[static_cast<std::size_t>(kind)][static_cast<std::size_t>(sort)];
    if (found == nullptr) found = &symbols_.emplace_back(kind, sort, arity, "", QNumber());
    assert(found->arity() == arity && found->kind == kind && found->sort == sort);
    return found;
  }

  const TermSymbol* congruence_symbol(const QNumber& modulus) {
    const TermSymbol*& found = congruences_[modulus];
    if (found == nullptr)
      found = &symbols_.emplace_back(Kind::CONGRUENCE, Sort::BOOL, 2, "", modulus);
    return found;
  }

  const Term_* number(const QNumber& value) {
    const Term_*& found = numbers_[value];
    if (found == nullptr) {
      const Sort sort = value.is_integer() ? Sort::INT : Sort::REAL;
      found = leaf(symbols_.emplace_back(Kind::NUMERAL, sort, 0, "", value));
    }
    return found;
  }

  const Term_* variable(std::string_view name, Sort sort) {
    HashIndex& variables = variables_[static_cast<std::size_t>(sort)];
    const std::uint32_t hash = hash_of(name);
    const auto has_name = [&](HashIndex::Number id) {
      return static_cast<const TermSymbol*>(term(id)->symbol())->name == name;
    };
    if (const HashIndex::Number found = variables.find(hash, has_name)) return term(found);
    variables.make_room();
    const Term_* const made =
        leaf(symbols_.emplace_back(Kind::VARIABLE, sort, 0, std::string(name), QNumber()));
    variables.insert(hash, made->id());
    assert(variables.find(hash, has_name) == made->id());
    return made;
  }

  const Term_* fresh_variable(std::string_view prefix, Sort sort) {
    const std::string name = std::string(prefix) + std::to_string(fresh_.size() + 1);
    const TermSymbol& symbol =
        symbols_.emplace_back(Kind::VARIABLE, sort, 0, name, QNumber());
    return fresh_.emplace(&symbol, leaf(symbol)).first->second;
  }

  const Term_* variable(const TermSymbol& symbol) {
    const auto found = fresh_.find(&symbol);
    return found != fresh_.end() ? found->second : variable(symbol.name, symbol.sort);
  }

  const Term_* constant(Kind kind) { return leaf(*symbol(kind, Sort::BOOL, 0)); }

  // The one term of a symbol with arguments.
  const Term_* apply(const TermSymbol* symbol, const Term_* const* args) {
    if (limits != nullptr) limits->poll();
    assert(symbol->arity() > 0 && owns_all(args, args + symbol->arity()));
    const std::uint32_t hash = hash_of(*symbol, args);
    const auto is_it = [&](HashIndex::Number id) {
      const Term_* const t = term(id);
      return t->symbol() == symbol && std::equal(t->begin(), t->end(), args);
    };
    if (const HashIndex::Number found = applications_.find(hash, is_it)) return term(found);
    applications_.make_room();
    const Term_* const made = make(*symbol, args);
    applications_.insert(hash, made->id());
    return made;
  }

  [[nodiscard]] bool has_symbol(Kind kind, Sort sort) const {
    return plain_symbols_[static_cast<std::size_t>(kind)][static_cast<std::size_t>(sort)] !=
           nullptr;
  }
  [[nodiscard]] std::size_t size() const { return terms_.size(); }
  [[nodiscard]] const Type* type(Sort sort) const {
    return &types_[static_cast<std::size_t>(sort)];
  }

  Limits* limits = nullptr;

 private:
  [[nodiscard]] const Term_* term(HashIndex::Number id) const {
    assert(id >= 1 && id <= terms_.size());
    return terms_[id - 1];
  }
  // Whether terms are of this manager; for assertions.
  [[maybe_unused, nodiscard]] bool owns_all(const Term_* const* begin,
                                            const Term_* const* end) const {
    return std::all_of(begin, end, [this](const Term_* t) {
      return t != nullptr && t->id() <= terms_.size() && terms_[t->id() - 1] == t;
    });
  }
  const Term_* leaf(const TermSymbol& symbol) { return make(symbol, nullptr); }

  const Term_* make(const TermSymbol& symbol, const Term_* const* args) {
    const std::uint64_t id = terms_.size() + 1;
    if (id > UINT32_MAX) throw std::length_error("too many terms");
    void* memory = arena_.allocate(Term_::size_of(symbol.arity()));
    terms_.push_back(Term_::construct(memory, id, &symbol, args));
    assert(terms_.back()->id() == terms_.size());
    return terms_.back();
  }

  static constexpr std::size_t KINDS = static_cast<std::size_t>(Kind::ITE) + 1;
  static constexpr std::size_t SORTS = 3;

  const std::array<Type, SORTS> types_{Type(Sort::BOOL), Type(Sort::INT), Type(Sort::REAL)};
  std::deque<TermSymbol> symbols_;  // owns them; their addresses stay
  std::array<std::array<const TermSymbol*, SORTS>, KINDS> plain_symbols_{};
  std::map<QNumber, const TermSymbol*> congruences_;
  std::unordered_map<QNumber, const Term_*> numbers_;
  std::unordered_map<const TermSymbol*, const Term_*> fresh_;
  Arena arena_;
  std::vector<const Term_*> terms_;         // the term of id i is terms_[i - 1]
  HashIndex applications_;                  // ids of terms with arguments
  std::array<HashIndex, SORTS> variables_;  // ids of variables that are not fresh, by sort
};

Terms::Terms() : impl_(std::make_unique<Impl>()) {
  true_ = impl_->constant(Kind::TRUE);
  false_ = impl_->constant(Kind::FALSE);
  integer_type_ = impl_->type(Sort::INT);
}

Terms::~Terms() = default;

void Terms::set_limits(Limits* limits) { impl_->limits = limits; }
void Terms::poll() {
  if (impl_->limits != nullptr) impl_->limits->poll();
}

const Term_* Terms::apply(Kind kind, Sort sort, const Term_* a) {
  return impl_->apply(impl_->symbol(kind, sort, 1), &a);
}

const Term_* Terms::apply(Kind kind, Sort sort, const Term_* a, const Term_* b) {
  const std::array<const Term_*, 2> args{a, b};
  return impl_->apply(impl_->symbol(kind, sort, 2), args.data());
}

const Term_* Terms::truth(bool value) const { return value ? true_ : false_; }

const Term_* Terms::make_number(const QNumber& value) { return impl_->number(value); }

const Term_* Terms::make_variable(std::string_view name, Sort sort) {
  return impl_->variable(name, sort);
}

const Term_* Terms::make_fresh_variable(std::string_view prefix, Sort sort) {
  return impl_->fresh_variable(prefix, sort);
}

const Term_* Terms::make_plus(const Term_* a, const Term_* b) {
  assert(is_arithmetic(a, b));
  if (building_flag() != 0) {
    if (both_numerals(a, b)) return make_number(value_of(a) + value_of(b));
    if (is_numeral_of(a, 0)) return b;
    if (is_numeral_of(b, 0)) return a;
  }
  return apply(Kind::PLUS, common_sort(a, b), a, b);
}

const Term_* Terms::make_times(const Term_* a, const Term_* b) {
  assert(is_arithmetic(a, b));
  if (building_flag() != 0) {
    if (both_numerals(a, b)) return make_number(value_of(a) * value_of(b));
    if (is_numeral_of(a, 1) || is_numeral_of(b, 0)) return b;
    if (is_numeral_of(b, 1) || is_numeral_of(a, 0)) return a;
  }
  return apply(Kind::TIMES, common_sort(a, b), a, b);
}

const Term_* Terms::make_floor(const Term_* t) {
  assert(!is_formula(t));
  if (building_flag() != 0) {
    if (is_numeral(t)) return make_number(value_of(t).floor());
    if (sort_of(t) == Sort::INT) return t;
  }
  return apply(Kind::FLOOR, Sort::INT, t);
}

// Whatever the flag: a numeral fits a place of either sort.
const Term_* Terms::make_to_real(const Term_* t) {
  assert(!is_formula(t));
  if (is_numeral(t) || sort_of(t) == Sort::REAL) return t;
  return apply(Kind::TO_REAL, Sort::REAL, t);
}

const Term_* Terms::make_leq(const Term_* a, const Term_* b) {
  assert(is_arithmetic(a, b));
  if (building_flag() != 0 && both_numerals(a, b)) return truth(value_of(a) <= value_of(b));
  return apply(Kind::LEQ, Sort::BOOL, a, b);
}

const Term_* Terms::make_lt(const Term_* a, const Term_* b) {
  assert(is_arithmetic(a, b));
  if (building_flag() != 0 && both_numerals(a, b)) return truth(value_of(a) < value_of(b));
  return apply(Kind::LT, Sort::BOOL, a, b);
}

// Numerals, and formulas, are equal as soon as they are one term; numerals and the two
// truth values differ as soon as they are not.
const Term_* Terms::make_equal(const Term_* a, const Term_* b) {
  assert(is_formula(a) == is_formula(b));
  if (building_flag() != 0) {
    if (both_numerals(a, b)) return truth(a == b);
    if (is_formula(a)) {
      if (a == b) return true_;
      if (a == true_) return b;
      if (b == true_) return a;
      if (a == false_) return make_not(b);
      if (b == false_) return make_not(a);
    }
  }
  return apply(Kind::EQ, Sort::BOOL, a, b);
}

const Term_* Terms::make_distinct(const Term_* a, const Term_* b) {
  assert(is_formula(a) == is_formula(b));
  if (building_flag() != 0) {
    if (both_numerals(a, b)) return truth(a != b);
    if (is_formula(a) && (a == b || a == true_ || b == true_ || a == false_ || b == false_))
      return make_not(make_equal(a, b));
  }
  return apply(Kind::NEQ, Sort::BOOL, a, b);
}

const Term_* Terms::make_int_modular_congruence(const QNumber& m, const Term_* a,
                                                const Term_* b) {
  assert(m.is_integer() && !m.is_zero() && is_arithmetic(a, b));
  if (building_flag() != 0 && both_numerals(a, b))
    return truth(((value_of(a) - value_of(b)) / m).is_integer());
  const std::array<const Term_*, 2> args{a, b};
  return impl_->apply(impl_->congruence_symbol(m), args.data());
}

const Term_* Terms::make_not(const Term_* t) {
  assert(is_formula(t));
  if (building_flag() != 0) {
    if (t == true_ || t == false_) return truth(t == false_);
    if (kind_of(t) == Kind::NOT) return t->arg(0);
  }
  return apply(Kind::NOT, Sort::BOOL, t);
}

const Term_* Terms::make_and(const Term_* a, const Term_* b) {
  assert(is_formula(a) && is_formula(b));
  if (building_flag() != 0) {
    if (a == true_ || b == false_ || a == b) return b;
    if (b == true_ || a == false_) return a;
  }
  return apply(Kind::AND, Sort::BOOL, a, b);
}

const Term_* Terms::make_or(const Term_* a, const Term_* b) {
  assert(is_formula(a) && is_formula(b));
  if (building_flag() != 0) {
    if (a == false_ || b == true_ || a == b) return b;
    if (b == false_ || a == true_) return a;
  }
  return apply(Kind::OR, Sort::BOOL, a, b);
}

const Term_* Terms::make_ite(const Term_* condition, const Term_* a, const Term_* b,
                             Sort of_numerals) {
  assert(is_formula(condition) && is_formula(a) == is_formula(b));
  if (building_flag() != 0) {
    if (condition == true_ || a == b) return a;
    if (condition == false_) return b;
    if (a == true_ && b == false_) return condition;
    if (a == false_ && b == true_) return make_not(condition);
  }
  Sort sort = is_formula(a) ? Sort::BOOL : common_sort(a, b);
  if (sort == Sort::INT && both_numerals(a, b)) sort = of_numerals;
  assert(sort != Sort::BOOL || is_formula(a));
  const std::array<const Term_*, 3> args{condition, a, b};
  return impl_->apply(impl_->symbol(Kind::ITE, sort, 3), args.data());
}

const Term_* Terms::make_term(const Symbol* symbol, const std::vector<const Term_*>& args) {
  const auto& s = static_cast<const TermSymbol&>(*symbol);
  assert(args.size() == s.arity());
  switch (s.kind) {
    case Kind::VARIABLE: return impl_->variable(s);
    case Kind::NUMERAL: return make_number(s.value);
    case Kind::TRUE: return true_;
    case Kind::FALSE: return false_;
    case Kind::TO_REAL: return make_to_real(args[0]);
    case Kind::FLOOR: return make_floor(args[0]);
    case Kind::PLUS: return make_plus(args[0], args[1]);
    case Kind::TIMES: return make_times(args[0], args[1]);
    case Kind::LEQ: return make_leq(args[0], args[1]);
    case Kind::LT: return make_lt(args[0], args[1]);
    case Kind::EQ: return make_equal(args[0], args[1]);
    case Kind::NEQ: return make_distinct(args[0], args[1]);
    case Kind::CONGRUENCE: return make_int_modular_congruence(s.value, args[0], args[1]);
    case Kind::NOT: return make_not(args[0]);
    case Kind::AND: return make_and(args[0], args[1]);
    case Kind::OR: return make_or(args[0], args[1]);
    case Kind::ITE: break;
  }
  assert(s.kind == Kind::ITE);
  return make_ite(args[0], args[1], args[2], s.sort);
}

// One symbol serves all types: equal terms of different sorts differ in their arguments.
const Symbol* Terms::make_equality_symbol(const Type* /*type*/) {
  return impl_->symbol(Kind::EQ, Sort::BOOL, 2);
}

const Symbol* Terms::make_int_modular_congruence_symbol(const QNumber& m) {
  return impl_->congruence_symbol(m);
}

bool Terms::is_int_modular_congruence(const Symbol* symbol, QNumber* m) const {
  const auto& s = static_cast<const TermSymbol&>(*symbol);
  if (s.kind != Kind::CONGRUENCE) return false;
  if (m != nullptr) *m = s.value;
  return true;
}

bool Terms::is_interpreted(const Symbol* symbol) const {
  return kind(symbol) != static_cast<int>(Kind::VARIABLE);
}

bool Terms::is_equality(const Symbol* symbol) const {
  return kind(symbol) == static_cast<int>(Kind::EQ);
}

bool Terms::is_number(const Symbol* symbol, QNumber* value) const {
  const auto& s = static_cast<const TermSymbol&>(*symbol);
  if (s.kind != Kind::NUMERAL) return false;
  if (value != nullptr) *value = s.value;
  return true;
}

int Terms::kind(const Symbol* symbol) const {
  return static_cast<int>(static_cast<const TermSymbol&>(*symbol).kind);
}

bool Terms::has_floors() const { return impl_->has_symbol(Kind::FLOOR, Sort::INT); }

std::size_t Terms::size() const { return impl_->size(); }

}  // namespace opal::host
