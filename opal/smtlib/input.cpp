// Reading by blocks. A block ends where the system has nothing more at the moment, so a
// command from a pipe is seen as soon as its last byte has been sent. Cost: one copy.

#include "opal/smtlib/input.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace opal::smtlib {

namespace {

constexpr std::size_t BLOCK = 1U << 16U;

[[noreturn]] void fail(const std::string& name, int number) {
  throw InputError(name + ": " + std::strerror(number));
}

}  // namespace

Input::Input(std::string name, Origin origin, int descriptor)
    : name_(std::move(name)), origin_(origin), descriptor_(descriptor) {
  assert((origin == Origin::TEXT) == (descriptor == NONE));
}

Input::Input(Input&& other) noexcept
    : name_(std::move(other.name_)),
      origin_(other.origin_),
      descriptor_(std::exchange(other.descriptor_, NONE)),
      ended_(other.ended_),
      buffer_(std::move(other.buffer_)),
      next_(other.next_),
      position_(other.position_) {}

Input::~Input() {
  if (origin_ == Origin::FILE && descriptor_ != NONE) ::close(descriptor_);
}

Input Input::file(const std::string& path) {
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) fail(path, errno);
  Input result(path, Origin::FILE, descriptor);
  struct stat status {};
  if (::fstat(descriptor, &status) != 0) fail(path, errno);
  if (S_ISDIR(status.st_mode)) fail(path, EISDIR);
  return result;
}

Input Input::standard_input() {
  return Input("<stdin>", Origin::STANDARD_INPUT, STDIN_FILENO);
}

Input Input::text(std::string name, const std::string& bytes) {
  Input result(std::move(name), Origin::TEXT, NONE);
  result.buffer_.assign(bytes.begin(), bytes.end());
  result.ended_ = true;
  return result;
}

bool Input::fill() {
  assert(next_ == buffer_.size());
  if (ended_) return false;
  assert(descriptor_ != NONE);
  buffer_.resize(BLOCK);
  next_ = 0;
  ssize_t count = -1;
  do {
    count = ::read(descriptor_, buffer_.data(), buffer_.size());
  } while (count < 0 && errno == EINTR);
  const int number = errno;
  buffer_.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
  ended_ = count <= 0;
  if (count < 0) fail(name_, number);
  return !ended_;
}

}  // namespace opal::smtlib
