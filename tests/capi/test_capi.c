/* The C interface: its own example, values, limits, and every misuse with its message. */

#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include "opal/capi/opal.h"

static int faults = 0;

static void expect(int holds, int line, const char* what) {
  if (holds) return;
  printf("line %d: %s\n", line, what);
  ++faults;
}
#define EXPECT(condition) expect((condition) != 0, __LINE__, #condition)

/* Compares a text that the library handed over, and gives it back. */
static void expect_text(char* text, const char* expected, int line) {
  if (text == NULL || strcmp(text, expected) != 0) {
    printf("line %d: %s instead of %s\n", line, text == NULL ? "NULL" : text, expected);
    ++faults;
  }
  opal_string_free(text);
}
#define EXPECT_TEXT(text, expected) expect_text(text, expected, __LINE__)

static void expect_error(opal_session* s, const char* expected, int line) {
  if (strcmp(opal_error(s), expected) == 0) return;
  printf("line %d: '%s' instead of '%s'\n", line, opal_error(s), expected);
  ++faults;
}
#define EXPECT_ERROR(s, expected) expect_error(s, expected, __LINE__)

static opal_verdict check(opal_session* s) {
  opal_verdict verdict = OPAL_UNKNOWN;
  EXPECT(opal_check(s, &verdict) == OPAL_OK);
  return verdict;
}

static const opal_term* sum(opal_session* s, const opal_term* a, int64_t factor,
                            const opal_term* b) {
  return opal_add(s, a, opal_mul(s, opal_integer(s, factor), b));
}

static void test_interpolants(void) {
  opal_session* s = opal_session_new();
  const opal_term* x = opal_variable(s, "x", OPAL_REAL);
  const opal_term* y = opal_variable(s, "y", OPAL_REAL);
  const opal_term* z = opal_variable(s, "a name", OPAL_REAL);
  const opal_term* answers[2] = {NULL, NULL};
  const char* groups[] = {"A", "B", "C"};
  EXPECT(x == opal_variable(s, "x", OPAL_REAL) && x != y);
  EXPECT(opal_assert(s, "A", opal_le(s, opal_number(s, "3/2"), x)) == OPAL_OK);
  EXPECT(opal_assert(s, "A", opal_le(s, x, y)) == OPAL_OK);
  EXPECT(opal_assert(s, "B", opal_eq(s, z, sum(s, y, 1, y))) == OPAL_OK);
  EXPECT(opal_push(s) == OPAL_OK);
  EXPECT(opal_assert(s, "C", opal_lt(s, z, opal_number(s, "2.5"))) == OPAL_OK);
  EXPECT(opal_assert(s, "D", opal_lt(s, z, opal_integer(s, 100))) == OPAL_OK);
  EXPECT(check(s) == OPAL_UNSAT);
  EXPECT(opal_interpolants(s, groups, 3, OPAL_MODE_AUTO, OPAL_CUTS_AUTO, OPAL_STRENGTH_AUTO,
                           answers) == OPAL_OK);
  EXPECT_TEXT(opal_term_text(s, answers[0]), "(<= (/ 3.0 2.0) y)");
  EXPECT_TEXT(opal_term_text(s, answers[1]), "(<= 3.0 |a name|)");
  EXPECT(opal_core_size(s) == 3 && strcmp(opal_core_group(s, 2), "C") == 0);
  EXPECT(opal_core_group(s, 3) == NULL);
  EXPECT(opal_check_proof(s) == OPAL_OK);
  char* proof = opal_proof(s);
  EXPECT(proof != NULL && strstr(proof, "la-comb") != NULL);
  opal_string_free(proof);

  /* An interpolant is a term like others: it follows from A. */
  EXPECT(opal_pop(s) == OPAL_OK);
  EXPECT(opal_assert(s, "not I", opal_not(s, answers[0])) == OPAL_OK);
  EXPECT(check(s) == OPAL_UNSAT);
  EXPECT(opal_reset(s) == OPAL_OK && check(s) == OPAL_SAT);
  opal_session_free(s);
}

static void test_integers(void) {
  opal_session* s = opal_session_new();
  const opal_term* a = opal_variable(s, "a", OPAL_INT);
  const opal_term* b = opal_variable(s, "b", OPAL_INT);
  const opal_term* answer = NULL;
  const char* groups[] = {"even", "odd"};
  EXPECT(opal_assert(s, "even", opal_eq(s, a, sum(s, b, 1, b))) == OPAL_OK);
  EXPECT(check(s) == OPAL_SAT);
  EXPECT_TEXT(opal_value(s, opal_congruent(s, a, opal_integer(s, 0), 2)), "1");
  EXPECT_TEXT(opal_value(s, opal_sub(s, a, sum(s, b, 1, b))), "0");
  EXPECT_TEXT(opal_value(s, opal_floor(s, opal_number(s, "-7/2"))), "-4");
  EXPECT(opal_assert(s, "odd", opal_congruent(s, a, opal_integer(s, 1), 2)) == OPAL_OK);
  EXPECT(check(s) == OPAL_UNSAT);
  EXPECT(opal_interpolants(s, groups, 2, OPAL_MODE_SUM, OPAL_CUTS_MODULAR,
                           OPAL_STRENGTH_AUTO, &answer) == OPAL_OK);
  EXPECT_TEXT(opal_term_text(s, answer), "(= (mod a 2) 0)");
  opal_session_free(s);
}

/* p, or x is 1; not p, or x is 2: so x is not below 1. */
static void test_formulas(void) {
  opal_session* s = opal_session_new();
  const opal_term* x = opal_variable(s, "x", OPAL_REAL);
  const opal_term* p = opal_variable(s, "p", OPAL_BOOL);
  const opal_term* q = opal_variable(s, "q", OPAL_BOOL);
  const opal_term* one = opal_integer(s, 1);
  const opal_term* two = opal_integer(s, 2);
  const opal_term* answer = NULL;
  const char* groups[] = {"A", "B"};
  EXPECT(opal_assert(s, "C", opal_and(s, q, opal_eq(s, p, opal_not(s, q)))) == OPAL_OK);
  EXPECT(opal_assert(s, "B", opal_lt(s, x, opal_ite(s, q, one, two))) == OPAL_OK);
  EXPECT(check(s) == OPAL_SAT);
  EXPECT_TEXT(opal_value(s, opal_ite(s, p, two, opal_integer(s, 7))), "7");
  EXPECT_TEXT(opal_value(s, opal_or(s, opal_ne(s, p, q), opal_false(s))), "1");
  EXPECT(opal_push(s) == OPAL_OK);
  EXPECT(opal_assert(s, "A", opal_or(s, p, opal_eq(s, x, one))) == OPAL_OK);
  EXPECT(opal_assert(s, "A", opal_implies(s, p, opal_eq(s, x, two))) == OPAL_OK);
  EXPECT(check(s) == OPAL_UNSAT && opal_check_proof(s) == OPAL_OK);
  for (int strength = OPAL_STRENGTH_STRONG; strength <= OPAL_STRENGTH_AUTO; ++strength)
    EXPECT(opal_interpolants(s, groups, 2, OPAL_MODE_AUTO, OPAL_CUTS_AUTO, strength,
                             &answer) == OPAL_OK);
  EXPECT(opal_pop(s) == OPAL_OK && check(s) == OPAL_SAT);
  EXPECT(opal_assert(s, "A", answer) == OPAL_OK && check(s) == OPAL_UNSAT);
  opal_session_free(s);
}

static void test_limits(void) {
  opal_session* s = opal_session_new();
  const opal_term* x = opal_variable(s, "x", OPAL_INT);
  EXPECT(opal_assert(s, "A", opal_lt(s, x, opal_integer(s, 5))) == OPAL_OK);
  EXPECT(opal_set_timeout(s, 1000) == OPAL_OK);
  opal_interrupt(s);
  EXPECT(check(s) == OPAL_UNKNOWN);
  EXPECT(strcmp(opal_reason_unknown(s), "interrupted") == 0);
  EXPECT(check(s) == OPAL_SAT);
  EXPECT(strcmp(opal_reason_unknown(s), "") == 0);
  opal_session_free(s);
}

static void test_misuse(void) {
  opal_session* s = opal_session_new();
  opal_session* other = opal_session_new();
  const opal_term* x = opal_variable(s, "x", OPAL_REAL);
  const opal_term* foreign = opal_variable(other, "x", OPAL_REAL);
  const opal_term* answer = NULL;
  const char* groups[] = {"A", "B"};
  const char* unnamed[] = {"A", NULL};

  EXPECT(opal_variable(NULL, "x", OPAL_REAL) == NULL);
  EXPECT(opal_check(NULL, NULL) == OPAL_INVALID);
  EXPECT_ERROR(NULL, "the session is NULL");
  EXPECT(opal_variable(s, NULL, OPAL_REAL) == NULL);
  EXPECT_ERROR(s, "the name of a variable is NULL");
  EXPECT(opal_variable(s, "a|b", OPAL_REAL) == NULL);
  EXPECT_ERROR(s, "the name of a variable has | or \\: a|b");
  EXPECT(opal_variable(s, "x", OPAL_INT) == NULL);
  EXPECT_ERROR(s, "x is declared already, as Real");
  static const char* const wrong[] = {"", "-", "1/0", "1/-2", "2/", "1e5", "x", "1.5/2"};
  for (size_t i = 0; i < sizeof wrong / sizeof *wrong; ++i) {
    char message[40];
    snprintf(message, sizeof message, "no number: %s", wrong[i]);
    EXPECT(opal_number(s, wrong[i]) == NULL);
    EXPECT_ERROR(s, message);
  }
  EXPECT(opal_add(s, x, foreign) == NULL);
  EXPECT_ERROR(s, "a term of another session");
  EXPECT(opal_mul(s, x, x) == NULL);
  EXPECT_ERROR(s, "a product of two terms is not linear: x times x");

  /* The assertion reports what went wrong inside of it. */
  EXPECT(opal_assert(s, "A", opal_le(s, opal_div(s, x, opal_integer(s, 0)), x)) ==
         OPAL_INVALID);
  EXPECT_ERROR(s, "a division by zero: x");
  EXPECT(opal_assert(s, "A", opal_or(s, opal_false(s), x)) == OPAL_INVALID);
  EXPECT_ERROR(s, "an operand of || is no formula: x");
  EXPECT(opal_ite(s, opal_true(s), x, NULL) == NULL);
  EXPECT(opal_assert(s, "A", x) == OPAL_INVALID);
  EXPECT(opal_assert(s, "", opal_le(s, x, x)) == OPAL_INVALID);
  EXPECT(opal_pop(s) == OPAL_INVALID);
  EXPECT_ERROR(s, "there is no level to pop");
  EXPECT(opal_set_timeout(s, -1) == OPAL_INVALID && opal_set_timeout(s, 0.0) == OPAL_OK);
  EXPECT_ERROR(s, "");
  EXPECT(opal_assert(s, "A", NULL) == OPAL_INVALID);
  EXPECT_ERROR(s, "a term is NULL");

  EXPECT(opal_assert(s, "A", opal_le(s, x, opal_integer(s, 1))) == OPAL_OK);
  EXPECT(opal_value(s, x) == NULL);
  EXPECT_ERROR(s, "there is no model: the last check did not answer sat");
  EXPECT(check(s) == OPAL_SAT);
  EXPECT(opal_interpolants(s, groups, 2, OPAL_MODE_AUTO, OPAL_CUTS_AUTO, OPAL_STRENGTH_AUTO,
                           &answer) == OPAL_INVALID);
  EXPECT(opal_proof(s) == NULL && opal_core_size(s) == 0);
  EXPECT(opal_assert(s, "B", opal_lt(s, opal_integer(s, 1), x)) == OPAL_OK);
  EXPECT(check(s) == OPAL_UNSAT);
  EXPECT(opal_interpolants(s, groups, 1, OPAL_MODE_AUTO, OPAL_CUTS_AUTO, OPAL_STRENGTH_AUTO,
                           &answer) == OPAL_INVALID);
  EXPECT(opal_interpolants(s, unnamed, 2, OPAL_MODE_AUTO, OPAL_CUTS_AUTO,
                           OPAL_STRENGTH_AUTO, &answer) == OPAL_INVALID);
  EXPECT(opal_interpolants(s, groups, 2, 7, OPAL_CUTS_AUTO, OPAL_STRENGTH_AUTO, &answer) ==
         OPAL_INVALID);
  EXPECT(opal_interpolants(s, groups, 2, 0, OPAL_CUTS_AUTO, 4, &answer) == OPAL_INVALID);
  EXPECT(answer == NULL);
  EXPECT(opal_interpolants(s, groups, 2, OPAL_MODE_AUTO, OPAL_CUTS_AUTO, OPAL_STRENGTH_AUTO,
                           &answer) == OPAL_OK);
  opal_session_free(other);
  opal_session_free(s);
  opal_session_free(NULL);
}

int main(void) {
  EXPECT(strcmp(opal_version(), "0.") > 0);
  test_interpolants();
  test_integers();
  test_formulas();
  test_limits();
  test_misuse();
  printf(faults == 0 ? "no fault\n" : "%d faults\n", faults);
  return faults != 0;
}
