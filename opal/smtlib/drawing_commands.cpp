// Drawings that accompany answers, where :opal-dot or :opal-svg asks for them.

#include <ostream>
#include <sstream>

#include "opal/smtlib/interpreter.h"

namespace opal::smtlib {

void Interpreter::draw(const std::string& dot, const std::string& what) {
  const auto tell = [&](const std::string& file) {
    diagnostics_ << "opal: " << file << " shows " << what << '\n';
    diagnostics_.flush();
  };
  if (!settings_.dot.empty()) tell(drawings_.write_dot(settings_.dot, dot));
  if (!settings_.svg.empty())
    tell(drawings_.write_svg(settings_.svg, dot, session_->limits()));
}

void Interpreter::draw_proof(const Command& command) {
  if (settings_.dot.empty() && settings_.svg.empty()) return;
  std::ostringstream dot;
  session_->draw_proof(dot);
  draw(dot.str(),
       "the proof of line " + std::to_string(command.source.position(Sexpr::ROOT).line));
}

void Interpreter::draw_interpolants(const Command& command,
                                    const host::InterpolationQuery& query,
                                    const host::Interpolants& answer) {
  if (settings_.dot.empty() && settings_.svg.empty()) return;
  const std::string line = std::to_string(command.source.position(Sexpr::ROOT).line);
  const std::string count = std::to_string(answer.terms.size());
  std::size_t number = 0;
  session_->draw_interpolants(query, answer, [&](const std::string& dot) {
    draw(dot,
         "interpolant " + std::to_string(++number) + " of " + count + " of line " + line);
  });
}

}  // namespace opal::smtlib
