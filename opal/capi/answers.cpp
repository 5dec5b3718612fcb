#include <algorithm>
#include <sstream>

#include "opal/capi/session.h"
#include "opal/proofs/proof_text.h"

using namespace opal::capi;
namespace host = opal::host;
using host::Session;

namespace {

void end_answer(opal_session& s) {
  s.core.clear();
  s.has_core = false;
}

const std::vector<std::string>& core_of(opal_session& s) {
  if (!s.has_core) s.core = s.session.groups_in_core();
  s.has_core = true;
  return s.core;
}

}  // namespace

opal_status opal_assert(opal_session* session, const char* group,
                        const opal_term* formula) {
  return performed(session, [&](opal_session& s) {
    const std::string name = present(group, "the name of a group");
    if (name.empty()) throw Misuse("the name of a group is empty");
    s.session.assert_into(name, expression(s, formula));
    end_answer(s);
  });
}

opal_status opal_push(opal_session* session) {
  return performed(session, [](opal_session& s) {
    s.session.push();
    end_answer(s);
  });
}

opal_status opal_pop(opal_session* session) {
  return performed(session, [](opal_session& s) {
    s.session.pop();
    end_answer(s);
  });
}

opal_status opal_reset(opal_session* session) {
  return performed(session, [](opal_session& s) {
    s.session.reset_assertions();
    end_answer(s);
  });
}

opal_status opal_check(opal_session* session, opal_verdict* verdict) {
  return performed(session, [&](opal_session& s) {
    if (verdict == nullptr) throw Misuse("the place for the verdict is NULL");
    end_answer(s);
    switch (s.session.check()) {
      case Session::Verdict::SAT: *verdict = OPAL_SAT; break;
      case Session::Verdict::UNSAT: *verdict = OPAL_UNSAT; break;
      case Session::Verdict::UNKNOWN: *verdict = OPAL_UNKNOWN; break;
    }
    s.session.limits().clear_interrupt();
  });
}

const char* opal_reason_unknown(opal_session* session) {
  return session == nullptr ? "" : session->session.reason_unknown().c_str();
}

char* opal_value(opal_session* session, const opal_term* term) {
  return guarded<char*>(session, nullptr, [&](opal_session& s) {
    return copied(s.session.value(expression(s, term)).to_str());
  });
}

opal_status opal_interpolants(opal_session* session, const char* const* groups,
                              size_t count, int mode, int cuts, int strength,
                              const opal_term** answers) {
  return performed(session, [&](opal_session& s) {
    if (groups == nullptr || answers == nullptr)
      throw Misuse("the list of groups or of answers is NULL");
    if (mode < OPAL_MODE_SUM || mode > OPAL_MODE_AUTO || cuts < OPAL_CUTS_MODULAR ||
        cuts > OPAL_CUTS_AUTO)
      throw Misuse("there is no such mode or style of cuts");
    if (strength < OPAL_STRENGTH_STRONG || strength > OPAL_STRENGTH_AUTO)
      throw Misuse("there is no such strength");
    if (count < 2) throw Misuse("interpolants need two groups or more");
    std::vector<std::string> names;
    for (size_t i = 0; i < count; ++i)
      names.emplace_back(present(groups[i], "the name of a group"));
    std::vector<const opal_term*> handles;
    for (const host::Expr& e : s.session.interpolants_of(
             names, static_cast<host::Mode>(mode), static_cast<host::Cuts>(cuts),
             static_cast<host::Strength>(strength)))
      handles.push_back(handle(s, e));
    std::copy(handles.begin(), handles.end(), answers);
  });
}

size_t opal_core_size(opal_session* session) {
  return guarded<size_t>(session, 0, [](opal_session& s) { return core_of(s).size(); });
}

const char* opal_core_group(opal_session* session, size_t index) {
  return guarded<const char*>(session, nullptr, [&](opal_session& s) {
    const auto& core = core_of(s);
    if (index >= core.size()) throw Misuse("the core has no group of that number");
    return core[index].c_str();
  });
}

opal_status opal_check_proof(opal_session* session) {
  return performed(session, [](opal_session& s) { s.session.check_proof(); });
}

char* opal_proof(opal_session* session) {
  return guarded<char*>(session, nullptr, [](opal_session& s) {
    std::ostringstream out;
    host::print_proof(out, s.session.external_proof());
    return copied(out.str());
  });
}
