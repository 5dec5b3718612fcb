#ifndef OPAL_CAPI_OPAL_H
#define OPAL_CAPI_OPAL_H

/** @file
 * Opal for C, and for every language that calls C: terms, groups of assertions, a decision,
 * and Craig interpolants.
 *
 *     opal_session* s = opal_session_new();
 *     const opal_term* x = opal_variable(s, "x", OPAL_REAL);
 *     opal_assert(s, "A", opal_le(s, opal_integer(s, 3), x));    // 3 <= x
 *     opal_assert(s, "B", opal_lt(s, x, opal_integer(s, 2)));    // x < 2
 *     opal_verdict verdict;
 *     opal_check(s, &verdict);                                   // OPAL_UNSAT
 *     const char* groups[] = {"A", "B"};
 *     const opal_term* answer = NULL;
 *     opal_interpolants(s, groups, 2, OPAL_MODE_AUTO, OPAL_CUTS_AUTO,
 *                       OPAL_STRENGTH_AUTO, &answer);
 *     char* text = opal_term_text(s, answer);                    // (<= 3.0 x)
 *     puts(text != NULL ? text : opal_error(s));
 *     opal_string_free(text);
 *     opal_session_free(s);
 *
 * Errors. A function that returns a status says by it what went wrong; one that returns a
 * pointer returns NULL. Either way opal_error() has the reason in words, and the session is
 * as it was before the call: a later opal_check() answers for exactly the assertions whose
 * status was OPAL_OK, so look at each. Arguments that are NULL are errors as well, also
 * terms that a failed call has returned, so that the results of a nested expression need
 * not be checked one by one: the assertion reports it. No exception leaves these functions,
 * and none of them ends the process, but for an allocation of GMP's that fails.
 *
 * Ownership. A session owns its terms, which stay valid until it is freed; equal terms have
 * one address. Results of type char* are the caller's, to be given back by
 * opal_string_free(). Results of type const char* belong to the library, for as long as the
 * function says.
 *
 * Threads. A session is used by one thread at a time; different sessions are independent.
 * opal_interrupt() may be called by any thread at any time.
 */

#include <stddef.h>
#include <stdint.h>

#if defined(__cplusplus)
extern "C" {
#endif

#if defined(__GNUC__)
#define OPAL_API __attribute__((visibility("default")))
#else
#define OPAL_API
#endif

typedef struct opal_session opal_session;
typedef struct opal_term opal_term;

typedef enum opal_status {
  OPAL_OK = 0,
  OPAL_INVALID = 1,     /* a call that makes no sense: NULL, a bad number, a wrong state */
  OPAL_UNSUPPORTED = 2, /* a formula outside of linear arithmetic */
  OPAL_LIMIT = 3,       /* a limit ended the call */
  OPAL_NO_MEMORY = 4,   /* an allocation failed */
  OPAL_FAULT = 5        /* a fault of the library; please report it */
} opal_status;

typedef enum opal_sort { OPAL_INT = 0, OPAL_REAL = 1, OPAL_BOOL = 2 } opal_sort;
typedef enum opal_verdict { OPAL_SAT = 0, OPAL_UNSAT = 1, OPAL_UNKNOWN = 2 } opal_verdict;

/** How interpolants are built: one inequality, a conjunction, the negation of B's
 * inequality, or the smallest of these. */
typedef enum opal_mode {
  OPAL_MODE_SUM = 0,
  OPAL_MODE_CONJ = 1,
  OPAL_MODE_DUAL = 2,
  OPAL_MODE_AUTO = 3
} opal_mode;
/** How integer cuts are expressed: by congruences, by integer divisions, or by whichever is
 * smaller. */
typedef enum opal_cuts {
  OPAL_CUTS_MODULAR = 0,
  OPAL_CUTS_FLOOR = 1,
  OPAL_CUTS_AUTO = 2
} opal_cuts;
/** How interpolants are read off a refutation of formulas that are no conjunctions: the
 * side an atom is counted for that both sides have is the second, both, the first, or
 * whichever makes the smallest interpolants. A strong interpolant implies the middle one,
 * and that the weak one, unless parts of the refutation are simplified away. */
typedef enum opal_strength {
  OPAL_STRENGTH_STRONG = 0,
  OPAL_STRENGTH_MIDDLE = 1,
  OPAL_STRENGTH_WEAK = 2,
  OPAL_STRENGTH_AUTO = 3
} opal_strength;

/** The version of the library, such as "0.1.0"; valid for ever. */
OPAL_API const char* opal_version(void);

/* --- sessions */

/** A new session, the caller's to free; NULL when memory runs out. */
OPAL_API opal_session* opal_session_new(void);
/** Ends a session, with all its terms. NULL is ignored. */
OPAL_API void opal_session_free(opal_session* session);
/** Why a call on this session failed: the last one that returns a status, or a call since
 * then that returns a pointer; "" when none did. Valid until the next call. A term that is
 * NULL because its own call failed leaves that call's reason. For a NULL session, that
 * there is none. */
OPAL_API const char* opal_error(const opal_session* session);
/** Gives back a string. NULL is ignored. */
OPAL_API void opal_string_free(char* string);

/* --- terms: numbers and formulas. An Int next to a Real is read as a Real; a number fits
 * both. */

/** The variable of a name, any UTF-8 text without | and \. It has one sort in a session; of
 * the sort OPAL_BOOL it is a formula. */
OPAL_API const opal_term* opal_variable(opal_session* session, const char* name,
                                        int sort /* opal_sort */);
OPAL_API const opal_term* opal_integer(opal_session* session, int64_t value);
/** The number of a text: "-12", "0.25" or "3/4". */
OPAL_API const opal_term* opal_number(opal_session* session, const char* text);

OPAL_API const opal_term* opal_add(opal_session*, const opal_term* a, const opal_term* b);
OPAL_API const opal_term* opal_sub(opal_session*, const opal_term* a, const opal_term* b);
/** One factor must be a number. */
OPAL_API const opal_term* opal_mul(opal_session*, const opal_term* a, const opal_term* b);
/** The divisor must be a number, and not 0. */
OPAL_API const opal_term* opal_div(opal_session*, const opal_term* a, const opal_term* b);
/** The greatest integer that is not above a. */
OPAL_API const opal_term* opal_floor(opal_session*, const opal_term* a);

OPAL_API const opal_term* opal_le(opal_session*, const opal_term* a, const opal_term* b);
OPAL_API const opal_term* opal_lt(opal_session*, const opal_term* a, const opal_term* b);
/** Of two numbers; of two formulas, whether both hold or neither does. */
OPAL_API const opal_term* opal_eq(opal_session*, const opal_term* a, const opal_term* b);
/** The negation of opal_eq(). */
OPAL_API const opal_term* opal_ne(opal_session*, const opal_term* a, const opal_term* b);
/** Whether the modulus, an integer above 0, divides a - b; these are integers. */
OPAL_API const opal_term* opal_congruent(opal_session*, const opal_term* a,
                                         const opal_term* b, int64_t modulus);

OPAL_API const opal_term* opal_true(opal_session*);
OPAL_API const opal_term* opal_false(opal_session*);
OPAL_API const opal_term* opal_and(opal_session*, const opal_term* a, const opal_term* b);
OPAL_API const opal_term* opal_or(opal_session*, const opal_term* a, const opal_term* b);
/** Not a, or b. */
OPAL_API const opal_term* opal_implies(opal_session*, const opal_term* a,
                                       const opal_term* b);
OPAL_API const opal_term* opal_not(opal_session*, const opal_term* a);
/** a where the condition, a formula, holds, else b: two numbers, or two formulas. */
OPAL_API const opal_term* opal_ite(opal_session*, const opal_term* condition,
                                   const opal_term* a, const opal_term* b);

/** The term as SMT-LIB text. */
OPAL_API char* opal_term_text(opal_session*, const opal_term* term);

/* --- assertions; each of these ends the validity of the last answer */

/** Adds a formula to a group, which begins with its first one. */
OPAL_API opal_status opal_assert(opal_session*, const char* group,
                                 const opal_term* formula);
OPAL_API opal_status opal_push(opal_session*);
/** Takes back what was asserted since the push that it belongs to. */
OPAL_API opal_status opal_pop(opal_session*);
/** Takes back every assertion and level; terms stay. */
OPAL_API opal_status opal_reset(opal_session*);

/* --- limits */

/** The seconds that each later call may take, 0 (the initial state) for no limit. */
OPAL_API opal_status opal_set_timeout(opal_session*, double seconds);
/** The megabytes that the process may hold during later calls, 0 for no limit. */
OPAL_API opal_status opal_set_memory(opal_session*, size_t megabytes);
/** Makes the call that is running in another thread give up, as at a limit; without one,
 * the next call that begins. */
OPAL_API void opal_interrupt(opal_session*);

/* --- answers */

/** Decides the assertions. OPAL_UNKNOWN, which is no error, at a limit or when the solver
 * gives up on unbounded integers. */
OPAL_API opal_status opal_check(opal_session*, opal_verdict* verdict);
/** After OPAL_UNKNOWN: "timeout", "memout", "interrupted" or "incomplete"; else "". Valid
 * until the next assertion or check. */
OPAL_API const char* opal_reason_unknown(opal_session*);
/** After OPAL_SAT: the value of a number, as "-7" or "3/4", or of a formula, "1" or "0". */
OPAL_API char* opal_value(opal_session*, const opal_term* term);
/** After OPAL_UNSAT: writes the count - 1 interpolants of a sequence of groups into
 * `answers`, which has room for them. Each one and the next group imply the next one; each
 * has only symbols that both sides of it share. Assertions in other groups are known to
 * all. With two groups it is Craig's interpolant between them. */
OPAL_API opal_status opal_interpolants(opal_session*, const char* const* groups,
                                       size_t count, int mode /* opal_mode */,
                                       int cuts /* opal_cuts */,
                                       int strength /* opal_strength */,
                                       const opal_term** answers);
/** After OPAL_UNSAT: the number of groups that the refutation uses, and their names, valid
 * until the next assertion or check; 0 and NULL when there is no such group. */
OPAL_API size_t opal_core_size(opal_session*);
OPAL_API const char* opal_core_group(opal_session*, size_t index);
/** After OPAL_UNSAT: has the proof checker, which shares no arithmetic with the solver,
 * confirm the refutation. */
OPAL_API opal_status opal_check_proof(opal_session*);
/** After OPAL_UNSAT: the refutation, as opal-check-proof reads it. */
OPAL_API char* opal_proof(opal_session*);

#if defined(__cplusplus)
}
#endif

#endif
