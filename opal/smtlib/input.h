#ifndef OPAL_SMTLIB_INPUT_H
#define OPAL_SMTLIB_INPUT_H

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "opal/smtlib/error.h"

namespace opal::smtlib {

/// An input that cannot be opened or read; what() says which and why.
class InputError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The bytes of a file, a pipe or a text, with the place of the next one. The system is
/// asked for more only when a byte is wanted that it has not delivered, so that a program
/// at the other end of a pipe can wait for an answer before it sends the next command.
class Input {
 public:
  static constexpr int END = -1;

  /// Where the bytes come from. A file is closed with its input.
  enum class Origin : std::uint8_t { FILE, STANDARD_INPUT, TEXT };

  /// Opens a file. Throws InputError, for a directory too.
  static Input file(const std::string& path);
  static Input standard_input();
  static Input text(std::string name, const std::string& bytes);

  Input(Input&& other) noexcept;
  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;
  ~Input();

  /// What messages call this input.
  [[nodiscard]] const std::string& name() const { return name_; }
  [[nodiscard]] Origin origin() const { return origin_; }
  /// The place of the next byte.
  [[nodiscard]] Position position() const { return position_; }

  /// The next byte, or END. Throws InputError when the system cannot deliver it.
  int peek() {
    if (next_ == buffer_.size() && !fill()) return END;
    return static_cast<unsigned char>(buffer_[next_]);
  }
  /// Takes the next byte; peek() has just told that there is one.
  void take() {
    assert(next_ < buffer_.size());
    if (buffer_[next_++] == '\n') {
      ++position_.line;
      position_.column = 1;
    } else {
      ++position_.column;
    }
  }

 private:
  Input(std::string name, Origin origin, int descriptor);
  bool fill();

  static constexpr int NONE = -1;

  std::string name_;
  Origin origin_;
  int descriptor_;  // NONE for a text, and when it has been moved to another input
  bool ended_ = false;
  std::vector<char> buffer_;
  std::size_t next_ = 0;  // in the buffer
  Position position_;
};

}  // namespace opal::smtlib

#endif
