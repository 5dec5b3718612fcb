#ifndef OPAL_BASE_ERROR_H
#define OPAL_BASE_ERROR_H

#include <stdexcept>

namespace opal::host {

/// The root of what is thrown for causes outside of this library: a formula that is not
/// supported, a limit, a command that fails. what() says what is wrong, and where; classes
/// that derive from it tell callers apart what they may want to handle.
///
///     try {
///       use(linear_form(term));
///     } catch (const NotLinear& error) {
///       std::cerr << term_text(error.term) << " is no sum of variables\n";
///     } catch (const Error& error) {  // LimitReached, Unsupported, ...
///       std::cerr << error.what() << '\n';
///     }
///
/// A broken invariant of the library itself is no Error: it is an assertion.
class Error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace opal::host

#endif
