#include "opal/capi/session.h"

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <new>
#include <optional>

#include "opal/linear/linear_form.h"
#include "opal/linear/literals.h"
#include "opal/version.h"

namespace opal::capi {

namespace {

// The reason in words, kept as it is when memory for another one runs out.
void explain(opal_session& session, const char* reason) noexcept {
  try {
    session.error = reason;
  } catch (...) {
    session.error.clear();
  }
}

}  // namespace

opal_status failed(opal_session& session) noexcept {
  try {
    throw;
  } catch (const NoTerm& error) {
    if (session.error.empty()) explain(session, error.what());
    return OPAL_INVALID;
  } catch (const host::LimitReached& error) {
    explain(session, error.what());
    session.session.limits().clear_interrupt();
    return OPAL_LIMIT;
  } catch (const host::Unsupported& error) {
    explain(session, error.what());
    return OPAL_UNSUPPORTED;
  } catch (const host::NotLinear& error) {
    explain(session, error.what());
    return OPAL_UNSUPPORTED;
  } catch (const host::SessionError& error) {
    explain(session, error.what());
    return OPAL_INVALID;
  } catch (const std::invalid_argument& error) {  // Misuse, ExpressionError
    explain(session, error.what());
    return OPAL_INVALID;
  } catch (const std::bad_alloc&) {
    explain(session, "out of memory");
    return OPAL_NO_MEMORY;
  } catch (const std::exception& error) {
    explain(session, error.what());
    return OPAL_FAULT;
  } catch (...) {
    explain(session, "an unknown exception");
    return OPAL_FAULT;
  }
}

void start_limits(opal_session& session) {
  using Clock = host::Limits::Clock;
  std::optional<Clock::time_point> deadline;
  if (session.timeout > 0)
    deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                  std::chrono::duration<double>(session.timeout));
  session.session.limits().set_deadline(deadline);
}

const host::Expr& expression(const opal_session& session, const opal_term* term) {
  if (term == nullptr) throw NoTerm();
  if (term->owner != &session) throw Misuse("a term of another session");
  return term->expression;
}

const opal_term* handle(opal_session& session, const host::Expr& e) {
  host::Terms& terms = session.session.terms();
  const Term_* const term = e.term_in(terms);
  const auto [place, is_new] = session.handles.emplace(term, nullptr);
  if (!is_new) return place->second;
  try {
    session.terms.push_back({&session, {terms, term}});
  } catch (...) {
    session.handles.erase(place);
    throw;
  }
  return place->second = &session.terms.back();
}

char* copied(const std::string& text) {
  char* const copy = static_cast<char*>(std::malloc(text.size() + 1));
  if (copy == nullptr) throw std::bad_alloc();
  std::memcpy(copy, text.c_str(), text.size() + 1);
  return copy;
}

const char* present(const char* text, const char* what) {
  if (text == nullptr) throw Misuse(std::string(what) + " is NULL");
  return text;
}

}  // namespace opal::capi

using namespace opal::capi;

const char* opal_version(void) { return opal::VERSION; }

opal_session* opal_session_new(void) {
  try {
    return new opal_session;
  } catch (...) {
    return nullptr;
  }
}

void opal_session_free(opal_session* session) { delete session; }

const char* opal_error(const opal_session* session) {
  return session == nullptr ? "the session is NULL" : session->error.c_str();
}

void opal_string_free(char* string) { std::free(string); }

opal_status opal_set_timeout(opal_session* session, double seconds) {
  return performed(session, [&](opal_session& s) {
    if (!(seconds >= 0 && seconds < 1e9))
      throw Misuse("a time limit is a number of seconds from 0 to 10^9");
    s.timeout = seconds;
  });
}

opal_status opal_set_memory(opal_session* session, size_t megabytes) {
  return performed(session, [&](opal_session& s) {
    if (megabytes > SIZE_MAX >> 20U) throw Misuse("more megabytes than there are");
    s.session.limits().set_memory(megabytes << 20U);
  });
}

void opal_interrupt(opal_session* session) {
  if (session != nullptr) session->session.limits().interrupt();
}
