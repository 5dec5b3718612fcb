// Terms in the notation of mathematics.
//
// An operator is written between its operands, and an operand in parentheses where it binds
// less tightly than its place asks for (Precedence). What is to be written waits on a
// stack, pieces of text and terms with the precedence of their places, so depth does not
// matter:
//
//     waiting                            text
//     x + (-1)*y <= 3                    ""
//     3, " <= ", x + (-1)*y              ""
//     3, " <= ", the summand (-1)*y, x   ""
//     3, " <= ", the summand (-1)*y      "x"
//     3, " <= ", y                       "x - "
//
// (the top of the stack is on the right). The writing stops as soon as the text is longer
// than the limit, so a term with a huge tree costs no more than its first characters.

#include "opal/terms/print/infix.h"

#include <cassert>
#include <cstdint>
#include <utility>
#include <vector>

#include "opal/terms/print/printer.h"
#include "opal/terms/print/shapes.h"
#include "opal/terms/terms.h"

namespace opal::host {

namespace {

// How tightly an operator binds. A term is put in parentheses where a tighter one is due.
enum Precedence : std::uint8_t { OR, AND, LITERAL, SUM, PRODUCT, FACTOR };

// A relation; the opposite and the mirrored one are found by its place in a row.
constexpr const char* RELATIONS[] = {"<", "≤", "=", "≠", "≥", ">"};
constexpr std::size_t LESS = 0, AT_MOST = 1, EQUAL = 2, UNEQUAL = 3, AT_LEAST = 4,
                      GREATER = 5;
constexpr std::size_t OPPOSITE[] = {AT_LEAST, GREATER, UNEQUAL, EQUAL, LESS, AT_MOST};
constexpr std::size_t MIRRORED[] = {GREATER, AT_LEAST, EQUAL, UNEQUAL, AT_MOST, LESS};

// The opposite of the opposite, and the mirrored of the mirrored one, is the relation.
constexpr bool undo_themselves() {
  for (std::size_t r = LESS; r <= GREATER; ++r)
    if (OPPOSITE[OPPOSITE[r]] != r || MIRRORED[MIRRORED[r]] != r) return false;
  return true;
}
static_assert(undo_themselves(), "the rows of relations fit together");

bool is_comparison(Kind kind) {
  return kind == Kind::LEQ || kind == Kind::LT || kind == Kind::EQ || kind == Kind::NEQ;
}

std::size_t relation_of(Kind kind) {
  switch (kind) {
    case Kind::LEQ: return AT_MOST;
    case Kind::LT: return LESS;
    case Kind::EQ: return EQUAL;
    default: break;
  }
  assert(kind == Kind::NEQ);
  return UNEQUAL;
}

// What a product is of: `factor * term`.
struct Product {
  QNumber factor;
  const Term_* term;
};

// A null term stands for 1, and is no product by a numeral.
Product product_of(const Term_* t) {
  QNumber factor(1);
  while (true) {
    assert(Terms::sort_of(t) != Sort::BOOL);
    const Kind kind = Terms::kind_of(t);
    if (kind == Kind::NUMERAL) return {factor * Terms::symbol_of(t).value, nullptr};
    if (kind == Kind::TO_REAL) {
      t = t->arg(0);
    } else if (kind == Kind::TIMES && Terms::is_numeral(t->arg(0))) {
      factor *= Terms::symbol_of(t->arg(0)).value;
      t = t->arg(1);
    } else if (kind == Kind::TIMES && Terms::is_numeral(t->arg(1))) {
      factor *= Terms::symbol_of(t->arg(1)).value;
      t = t->arg(0);
    } else {
      return {factor, t};
    }
  }
}

// Appends to a text until that is longer than a limit. What is still to be written waits
// on a stack, the next piece on top.
class InfixWriter {
 public:
  explicit InfixWriter(std::size_t limit) : limit_(4 * limit) { assert(limit > 0); }

  void push(const Term_* t, Precedence least) { waiting_.push_back({t, least, false, {}}); }
  void push(std::string text) { waiting_.push_back({nullptr, OR, false, std::move(text)}); }
  // Pushes the parts of `a relation b`, a numeral on the right.
  void push_comparison(const Term_* a, const Term_* b, std::size_t relation) {
    assert(relation <= GREATER);
    assert((Terms::sort_of(a) == Sort::BOOL) == (Terms::sort_of(b) == Sort::BOOL));
    if (Terms::is_numeral(a) && !Terms::is_numeral(b)) {
      std::swap(a, b);
      relation = MIRRORED[relation];
    }
    const bool formulas = Terms::sort_of(a) == Sort::BOOL;
    push(b, formulas ? FACTOR : SUM);
    push(" " + std::string(RELATIONS[relation]) + " ");
    push(a, formulas ? FACTOR : SUM);
  }

  // Writes what was pushed, as far as the limit allows.
  std::string write() {
    while (!waiting_.empty() && text_.size() <= limit_) {
      const Piece piece = std::move(waiting_.back());
      assert(piece.term == nullptr || piece.text.empty());
      waiting_.pop_back();
      if (piece.term == nullptr)
        text_ += piece.text;
      else if (piece.is_summand)
        open_summand(piece.term);
      else
        open(piece.term, piece.least);
    }
    return std::move(text_);
  }

 private:
  struct Piece {
    const Term_* term;  // or null
    Precedence least;
    bool is_summand;  // follows another one, so that its sign is written as an operator
    std::string text;
  };

  void open(const Term_* t, Precedence least) {
    const Precedence own = precedence(t);
    if (own < least) {
      push(")");
      text_ += "(";
    }
    switch (Terms::kind_of(t)) {
      case Kind::TRUE: push("true"); break;
      case Kind::FALSE: push("false"); break;
      case Kind::VARIABLE: push(symbol_text(Terms::symbol_of(t).name)); break;
      case Kind::TO_REAL: push(t->arg(0), own); break;
      case Kind::NUMERAL:
      case Kind::TIMES: open_product(product_of(t)); break;
      case Kind::PLUS: open_sum(t); break;
      case Kind::FLOOR:
        push("⌋");
        push(t->arg(0), SUM);
        push("⌊");
        break;
      case Kind::CONGRUENCE:
        push(" (mod " + abs(Terms::symbol_of(t).value).to_str() + ")");
        push_comparison_text(t->arg(0), " ≡ ", t->arg(1));
        break;
      case Kind::NOT: open_denial(t->arg(0)); break;
      case Kind::AND:
      case Kind::OR: {
        const bool is_and = Terms::kind_of(t) == Kind::AND;
        push(t->arg(1), own);
        push(is_and ? " ∧ " : " ∨ ");
        push(t->arg(0), own);
        break;
      }
      case Kind::ITE:
        push(t->arg(2), LITERAL);
        push(" : ");
        push(t->arg(1), LITERAL);
        push(" ? ");
        push(t->arg(0), LITERAL);
        break;
      default: push_comparison(t->arg(0), t->arg(1), relation_of(Terms::kind_of(t)));
    }
  }

  void push_comparison_text(const Term_* a, const char* relation, const Term_* b) {
    assert(Terms::sort_of(a) != Sort::BOOL && Terms::sort_of(b) != Sort::BOOL);
    push(b, SUM);
    push(relation);
    push(a, SUM);
  }

  void open_denial(const Term_* t) {
    assert(Terms::sort_of(t) == Sort::BOOL);
    const Kind kind = Terms::kind_of(t);
    if (is_comparison(kind)) {
      push_comparison(t->arg(0), t->arg(1), OPPOSITE[relation_of(kind)]);
    } else if (kind == Kind::CONGRUENCE) {
      push(" (mod " + abs(Terms::symbol_of(t).value).to_str() + ")");
      push_comparison_text(t->arg(0), " ≢ ", t->arg(1));
    } else {
      push(t, FACTOR);
      push("¬");
    }
  }

  void open_sum(const Term_* t) {
    assert(Terms::kind_of(t) == Kind::PLUS);
    if (printing::is_integer_remainder(t)) {
      push(" mod " + abs(Terms::symbol_of(t->arg(1)->arg(0)).value).to_str());
      push(t->arg(0), FACTOR);
      return;
    }
    waiting_.push_back({t->arg(1), SUM, true, {}});
    push(t->arg(0), SUM);
  }

  void open_summand(const Term_* t) {
    if (Terms::kind_of(t) == Kind::PLUS && !printing::is_integer_remainder(t)) {
      waiting_.push_back({t->arg(1), SUM, true, {}});
      waiting_.push_back({t->arg(0), SUM, true, {}});
      return;
    }
    const Product product = product_of(t);
    text_ += product.factor.sign() < 0 ? " - " : " + ";
    open_product({abs(product.factor), product.term});
  }

  // 3·x, x/2, 3/2·x, -x, 7
  void open_product(const Product& product) {
    if (product.term == nullptr) return push(product.factor.to_str());
    assert(!Terms::is_numeral(product.term));
    const QNumber size = abs(product.factor);
    const bool is_quotient = size.get_num() == QNumber(1) && !size.is_integer();
    if (is_quotient) push("/" + size.get_den().to_str());
    if (Terms::kind_of(product.term) == Kind::TIMES) {
      push(product.term->arg(1), FACTOR);
      push("·");
      push(product.term->arg(0), FACTOR);
    } else {
      push(product.term, FACTOR);
    }
    if (!is_quotient && size != QNumber(1)) push(size.to_str() + "·");
    if (product.factor.sign() < 0) push("-");
  }

  static Precedence precedence(const Term_* t) {
    switch (Terms::kind_of(t)) {
      case Kind::ITE:
      case Kind::OR: return OR;
      case Kind::AND: return AND;
      case Kind::PLUS: return SUM;
      case Kind::TIMES: return PRODUCT;
      case Kind::NUMERAL: return Terms::symbol_of(t).value.sign() < 0 ? SUM : FACTOR;
      case Kind::TO_REAL: return precedence(t->arg(0));
      case Kind::TRUE:
      case Kind::FALSE:
      case Kind::VARIABLE:
      case Kind::FLOOR: return FACTOR;
      default: return LITERAL;
    }
  }

  const std::size_t limit_;  // in bytes: a character has at most four
  std::vector<Piece> waiting_;
  std::string text_;
};

}  // namespace

std::string infix_text(const Term_* t, std::size_t limit) {
  InfixWriter writer(limit);
  writer.push(t, OR);
  return shortened(writer.write(), limit);
}

std::string half_text(const Term_* literal, int sign, std::size_t limit) {
  assert(Terms::sort_of(literal) == Sort::BOOL && sign >= -1 && sign <= 1);
  const bool denied = Terms::kind_of(literal) == Kind::NOT;
  const Term_* const atom = denied ? literal->arg(0) : literal;
  const Kind kind = Terms::kind_of(atom);
  if (sign == 0 || (kind != Kind::EQ && kind != Kind::NEQ))
    return infix_text(literal, limit);
  const bool strict = (kind == Kind::NEQ) != denied;
  InfixWriter writer(limit);
  if (sign < 0)
    writer.push_comparison(atom->arg(0), atom->arg(1), strict ? LESS : AT_MOST);
  else
    writer.push_comparison(atom->arg(0), atom->arg(1), strict ? GREATER : AT_LEAST);
  return shortened(writer.write(), limit);
}

std::string shortened(const std::string& text, std::size_t limit) {
  assert(limit > 0);
  std::size_t characters = 0;
  std::size_t last = 0;  // where the last character that is kept begins
  for (std::size_t i = 0; i < text.size(); ++i) {
    if ((static_cast<unsigned char>(text[i]) & 0xC0U) == 0x80U) continue;
    if (++characters == limit) last = i;
    assert(last <= i && characters <= limit + 1);
    if (characters > limit) return text.substr(0, last) + "…";
  }
  return text;
}

}  // namespace opal::host
