#ifndef OPAL_CAPI_SESSION_H
#define OPAL_CAPI_SESSION_H

#include <deque>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <vector>

#include "opal/capi/opal.h"
#include "opal/session/session.h"

/// A term as C has it: of one session, which owns it.
struct opal_term {
  opal_session* owner;
  opal::host::Expr expression;
};

/// What C calls a session. Invariant: `handles` has exactly the terms of `terms`.
struct opal_session {
  opal::host::Session session;
  std::deque<opal_term> terms;
  std::unordered_map<const opal::Term_*, const opal_term*> handles;
  std::string error;              // see opal_error()
  double timeout = 0;             // seconds a call may take
  std::vector<std::string> core;  // of the last answer, once it was asked for
  bool has_core = false;
};

namespace opal::capi {

/// A call that makes no sense; what() says why.
class Misuse : public std::invalid_argument {
 public:
  using std::invalid_argument::invalid_argument;
};

/// A NULL in the place of a term; see opal_error().
class NoTerm : public Misuse {
 public:
  NoTerm() : Misuse("a term is NULL") {}
};

/// Starts the time that a call may take.
void start_limits(opal_session& session);
/// Turns the exception at hand into a status and the session's error.
opal_status failed(opal_session& session) noexcept;

/// The result of an action on a session, within the session's time; `otherwise` when it
/// throws, or there is none.
template <class Result, class Action>
Result guarded(opal_session* session, Result otherwise, Action action) noexcept {
  if (session == nullptr) return otherwise;
  try {
    start_limits(*session);
    return action(*session);
  } catch (...) {
    failed(*session);
    return otherwise;
  }
}

/// The same for actions whose result is their success.
template <class Action>
opal_status performed(opal_session* session, Action action) noexcept {
  if (session == nullptr) return OPAL_INVALID;
  try {
    start_limits(*session);
    action(*session);
    session->error.clear();
    return OPAL_OK;
  } catch (...) {
    return failed(*session);
  }
}

/// The expression of a term. Throws NoTerm; Misuse for one of another session.
const host::Expr& expression(const opal_session& session, const opal_term* term);
/// The handle of an expression's term.
const opal_term* handle(opal_session& session, const host::Expr& e);
/// A copy that C owns. Throws std::bad_alloc.
char* copied(const std::string& text);
/// Throws Misuse for NULL, naming what is.
const char* present(const char* text, const char* what);

}  // namespace opal::capi

#endif
