// A command with a text on its standard input, run to its end.
//
//     this process                         the child
//     script  ------ pipe: input ------->  standard input
//     output  <----- pipe: output -------  standard output
//     text    <----- pipe: diagnostics --  standard error
//
// All three pipes are served as they become ready (poll), since a child that waits for its
// output to be read would otherwise wait for ever, and so would we for it. Between two
// looks at the pipes the limits are looked at, every 50 ms at least. The child is the
// leader of a process group, and is killed together with what it started.

#include "opal/verify/child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cassert>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <utility>

extern char** environ;

namespace opal::host {

namespace {

// A file descriptor, closed at its end.
class Descriptor {
 public:
  explicit Descriptor(int fd = -1) : fd_(fd) {}
  Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  ~Descriptor() { close(); }

  [[nodiscard]] int get() const { return fd_; }
  [[nodiscard]] bool is_open() const { return fd_ >= 0; }
  void close() {
    if (fd_ >= 0) ::close(std::exchange(fd_, -1));
  }
  // Makes reads and writes return at once.
  void make_non_blocking() const {
    assert(is_open());
    ::fcntl(fd_, F_SETFL, ::fcntl(fd_, F_GETFL) | O_NONBLOCK);
  }

 private:
  int fd_;
};

struct Pipe {
  Descriptor read_end;
  Descriptor write_end;
};

Pipe make_pipe() {
  std::array<int, 2> fds{};
  if (::pipe2(fds.data(), O_CLOEXEC) != 0) {
    throw ChildProcessError(std::string("cannot make a pipe: ") + std::strerror(errno));
  }
  assert(fds[0] >= 0 && fds[1] >= 0);
  return {Descriptor(fds[0]), Descriptor(fds[1])};
}

// Keeps this thread from being killed for writing to a child that has ended: SIGPIPE is
// blocked, and one that arose meanwhile is taken back.
class BrokenPipeGuard {
 public:
  BrokenPipeGuard() {
    sigemptyset(&broken_pipe_);
    sigaddset(&broken_pipe_, SIGPIPE);
    sigset_t pending;
    sigpending(&pending);
    was_pending_ = sigismember(&pending, SIGPIPE) == 1;
    pthread_sigmask(SIG_BLOCK, &broken_pipe_, &saved_);
  }
  BrokenPipeGuard(const BrokenPipeGuard&) = delete;
  BrokenPipeGuard& operator=(const BrokenPipeGuard&) = delete;
  ~BrokenPipeGuard() {
    const timespec now{};
    while (!was_pending_ && sigtimedwait(&broken_pipe_, nullptr, &now) < 0 &&
           errno == EINTR) {
    }
    pthread_sigmask(SIG_SETMASK, &saved_, nullptr);
  }

 private:
  sigset_t broken_pipe_{};
  sigset_t saved_{};
  bool was_pending_ = false;
};

// A running command with pipes to its standard streams, in a process group of its own;
// killed with all that it started at the end of the object unless it was waited for.
class ChildProcess {
 public:
  explicit ChildProcess(std::vector<std::string> words) {
    Pipe in = make_pipe();
    Pipe out = make_pipe();
    Pipe err = make_pipe();
    spawn(words, in.read_end.get(), out.write_end.get(), err.write_end.get());
    input_ = std::move(in.write_end);
    outputs_[0].from = std::move(out.read_end);
    outputs_[1].from = std::move(err.read_end);
    input_.make_non_blocking();
    for (const Output& output : outputs_)
      output.from.make_non_blocking();
  }
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;
  ~ChildProcess() {
    if (pid_ <= 0) return;
    ::kill(-pid_, SIGKILL);
    wait_for_end();
  }

  // Writes the input and reads both outputs to their ends, as they become ready.
  void converse(const std::string& input, Limits& limits) {
    assert(pid_ > 0);
    std::size_t written = 0;
    if (input.empty()) input_.close();
    while (outputs_[0].from.is_open() || outputs_[1].from.is_open()) {
      limits.look();
      std::array<pollfd, 3> fds{{{input_.get(), POLLOUT, 0},
                                 {outputs_[0].from.get(), POLLIN, 0},
                                 {outputs_[1].from.get(), POLLIN, 0}}};
      constexpr int MILLISECONDS = 50;  // between two looks at the limits
      if (::poll(fds.data(), fds.size(), MILLISECONDS) <= 0) continue;
      if (fds[0].revents != 0) write_some(input, written);
      for (std::size_t i = 0; i < outputs_.size(); ++i) {
        if (fds[i + 1].revents != 0) read_some(outputs_[i]);
      }
    }
    input_.close();
  }

  // The status of the ended child, as waitpid() tells it.
  int wait_for_end() {
    assert(pid_ > 0);
    int status = 0;
    while (::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
    }
    pid_ = -1;
    return status;
  }

  [[nodiscard]] const std::string& output() const { return outputs_[0].text; }
  [[nodiscard]] const std::string& diagnostics() const { return outputs_[1].text; }

 private:
  struct Output {
    Descriptor from;
    std::string text;
  };

  void spawn(std::vector<std::string>& words, int in, int out, int err) {
    assert(pid_ < 0 && !words.empty());
    std::vector<char*> argv;
    for (std::string& word : words)
      argv.push_back(word.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, out, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, err, STDERR_FILENO);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setpgroup(&attributes, 0);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETPGROUP);
    const int error =
        ::posix_spawnp(&pid_, argv[0], &actions, &attributes, argv.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    assert(error != 0 || pid_ > 0);
    if (error == 0) return;
    pid_ = -1;
    throw ChildProcessError(std::strerror(error));
  }

  // A child that closes its standard input ends the writing. Whether that is a failure
  // shows in how the child ends, and in what it answered.
  void write_some(const std::string& text, std::size_t& written) {
    assert(input_.is_open() && written < text.size());
    const ssize_t n = ::write(input_.get(), text.data() + written, text.size() - written);
    if (n >= 0) {
      written += static_cast<std::size_t>(n);
    } else if (errno != EAGAIN && errno != EINTR) {
      written = text.size();
    }
    assert(written <= text.size());
    if (written == text.size()) input_.close();
  }

  static void read_some(Output& output) {
    assert(output.from.is_open());
    std::array<char, 65536> buffer;
    const ssize_t n = ::read(output.from.get(), buffer.data(), buffer.size());
    if (n > 0) {
      output.text.append(buffer.data(), static_cast<std::size_t>(n));
    } else if (n == 0 || (errno != EAGAIN && errno != EINTR)) {
      output.from.close();
    }
  }

  pid_t pid_ = -1;
  Descriptor input_;
  std::array<Output, 2> outputs_;  // standard output, standard error
};

// How a child ended, by its status and its standard error; empty for success.
std::string failure_of(int status, const std::string& diagnostics) {
  std::string what;
  if (WIFSIGNALED(status)) {
    what = "was ended by signal " + std::to_string(WTERMSIG(status));
  } else if (WEXITSTATUS(status) != 0) {
    what = "ended with exit status " + std::to_string(WEXITSTATUS(status));
  } else {
    return what;
  }
  const std::vector<std::string> said = lines_of(diagnostics);
  return said.empty() ? what : what + ": " + said.front();
}

}  // namespace

std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines;
  std::size_t begin = 0;
  while (begin < text.size()) {
    const std::size_t end = std::min(text.find('\n', begin), text.size());
    const std::size_t length = end - begin - (end > begin && text[end - 1] == '\r' ? 1 : 0);
    if (length > 0) lines.push_back(text.substr(begin, length));
    assert(begin <= end);
    begin = end + 1;
  }
  return lines;
}

ChildOutcome run_child_process(std::vector<std::string> words, const std::string& input,
                               Limits& limits) {
  assert(!words.empty());
  const BrokenPipeGuard guard;
  ChildProcess child(std::move(words));
  child.converse(input, limits);
  const int status = child.wait_for_end();
  return {child.output(), failure_of(status, child.diagnostics())};
}

}  // namespace opal::host
