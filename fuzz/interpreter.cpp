// Any bytes as a script: each command is answered or refused, and the session goes on.

#include <sstream>
#include <string>

#include "opal/smtlib/interpreter.h"

namespace {

// Options by which a script starts programs, writes files, or lifts the limits.
bool reaches_outside(const std::string& script) {
  for (const char* option : {":opal-verify", ":opal-dot", ":opal-svg", ":opal-check-files",
                             ":opal-timeout", ":opal-memory"})
    if (script.find(option) != std::string::npos) return true;
  return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace opal::smtlib;
  const std::string script(reinterpret_cast<const char*>(data), size);
  if (reaches_outside(script)) return -1;
  Settings settings;
  settings.timeout = 0.2;
  settings.memory = 1500;
  std::ostringstream answers, diagnostics;
  Drawings drawings;
  Interpreter interpreter(settings, answers, diagnostics, drawings);
  Input input = Input::text("script", script);
  interpreter.run(input);
  return 0;
}
