#ifndef OPAL_INTERFACES_EXCEPTION_H
#define OPAL_INTERFACES_EXCEPTION_H

#include <exception>
#include <sstream>
#include <string>

namespace opal {

/// Base of every exception that the engine throws. The message is kept in a stream, so
/// that a thrower can append to it:
///
///     Exception e("unknown constraint ", true);
///     e << id;
///     throw e;
class Exception : public std::exception {
 public:
  /// Starts the message with `msg`. With `flag` set, runs the hook of
  /// dump_msg_and_raise_assertion() afterwards.
  Exception(const std::string& msg, bool flag);
  /// A new stream that starts with the text of `other`.
  Exception(const Exception& other);
  Exception& operator=(const Exception&) = delete;
  ~Exception() override;

  /// The message so far, or "" when its copy cannot be built. The pointer is valid until
  /// the next call or the end of the object.
  const char* what() const noexcept override;

  template <typename T>
  Exception& operator<<(const T& value) {
    stream_ << value;
    return *this;
  }

  /// What dump_msg_and_raise_assertion() calls with the exception being built.
  using Hook = void (*)(const Exception&);
  /// Installs a hook for all threads, or none (nullptr, the initial state), and returns
  /// the one that was installed. A hook that returns lets the exception be thrown.
  static Hook set_hook(Hook hook) noexcept;
  /// Runs the installed hook: the place to stop in a debugger or to abort.
  void dump_msg_and_raise_assertion() const;

 private:
  std::ostringstream stream_;
  mutable std::string text_;  // what() points into it
};

}  // namespace opal

#endif
