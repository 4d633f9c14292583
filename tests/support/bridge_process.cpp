// Runs the built vk-sony as a child process with piped standard streams and
// reads its output with poll() deadlines.
#include "tests/support/bridge_process.h"

#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;

const char* const kClearedVariables[] = {"VK_SONY_LOG", "VK_SONY_SIM_SCENARIO", "VK_SONY_SIM_TRACE",
                                         "VK_SONY_SIM_CONTROL"};

std::vector<std::string> split_blanks(const std::string& text) {
  std::vector<std::string> words;
  std::istringstream in(text);
  std::string word;
  while (in >> word) words.push_back(word);
  return words;
}

void set_nonblocking(int fd) { fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) | O_NONBLOCK); }

int remaining_ms(Clock::time_point deadline) {
  auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
  return left < 0 ? 0 : static_cast<int>(left);
}

// Appends what `fd` holds now to `buffer`; false at end of stream or error.
bool drain(int fd, std::string& buffer) {
  char chunk[4096];
  for (;;) {
    ssize_t n = read(fd, chunk, sizeof chunk);
    if (n > 0) {
      buffer.append(chunk, static_cast<size_t>(n));
      continue;
    }
    if (n < 0 && errno == EINTR) continue;
    if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return true;
    return false;
  }
}

// The command that runs vk-sony on this host, split at blanks before the
// binary's path: VK_SONY_TEST_EMULATOR when set (even empty), else the cross
// build's emulator (e.g. "qemu-arm -L /usr/arm-linux-gnueabihf"), else "".
std::string emulator_command() {
  if (const char* from_env = std::getenv("VK_SONY_TEST_EMULATOR"); from_env != nullptr) return from_env;
#ifdef VK_SONY_EMULATOR
  return VK_SONY_EMULATOR;
#else
  return "";
#endif
}

int decode_status(int raw) {
  if (WIFEXITED(raw)) return WEXITSTATUS(raw);
  if (WIFSIGNALED(raw)) return 128 + WTERMSIG(raw);
  return -1;
}

}  // namespace

std::string bridge_binary() {
  if (const char* from_env = std::getenv("VK_SONY_BINARY"); from_env != nullptr && *from_env != '\0')
    return from_env;
#ifdef VK_SONY_BINARY
  return VK_SONY_BINARY;
#else
  return "vk-sony";
#endif
}

BridgeProcess::BridgeProcess(const std::vector<std::string>& args, const EnvChanges& env,
                             const std::string& stdin_path) {
  std::vector<std::string> argv_text;
  argv_text = split_blanks(emulator_command());
  argv_text.push_back(bridge_binary());
  argv_text.insert(argv_text.end(), args.begin(), args.end());

  // Build the child's environment here, before fork, so the child only execs.
  EnvChanges changes = env;
  for (const char* name : kClearedVariables)
    if (changes.find(name) == changes.end()) changes[name] = std::nullopt;
  std::vector<std::string> env_text;
  for (char** entry = environ; *entry != nullptr; ++entry) {
    std::string item(*entry);
    std::string name = item.substr(0, item.find('='));
    if (changes.find(name) == changes.end()) env_text.push_back(item);
  }
  for (const auto& [name, value] : changes)
    if (value) env_text.push_back(name + "=" + *value);

  std::vector<char*> argv;
  for (auto& a : argv_text) argv.push_back(a.data());
  argv.push_back(nullptr);
  std::vector<char*> envp;
  for (auto& e : env_text) envp.push_back(e.data());
  envp.push_back(nullptr);

  int in_pipe[2], out_pipe[2], err_pipe[2];
  if (pipe2(in_pipe, O_CLOEXEC) != 0 || pipe2(out_pipe, O_CLOEXEC) != 0 || pipe2(err_pipe, O_CLOEXEC) != 0)
    return;

  const int stdin_file = stdin_path.empty() ? -1 : open(stdin_path.c_str(), O_RDONLY | O_CLOEXEC);
  pid_ = fork();
  if (pid_ == 0) {
    dup2(stdin_file >= 0 ? stdin_file : in_pipe[0], 0);
    dup2(out_pipe[1], 1);
    dup2(err_pipe[1], 2);
    ::signal(SIGPIPE, SIG_DFL);
    execve(argv[0], argv.data(), envp.data());
    if (std::strchr(argv[0], '/') == nullptr) execvpe(argv[0], argv.data(), envp.data());
    _exit(127);
  }
  close(in_pipe[0]);
  close(out_pipe[1]);
  close(err_pipe[1]);
  if (stdin_file >= 0) close(stdin_file);
  stdin_fd_ = in_pipe[1];
  stdout_fd_ = out_pipe[0];
  stderr_fd_ = err_pipe[0];
  set_nonblocking(stdout_fd_);
  set_nonblocking(stderr_fd_);
  // Writing to a child that is gone must fail with EPIPE, not kill the test.
  ::signal(SIGPIPE, SIG_IGN);
}

BridgeProcess::~BridgeProcess() {
  if (pid_ > 0 && !status_) {
    kill(pid_, SIGKILL);
    int raw = 0;
    while (waitpid(pid_, &raw, 0) < 0 && errno == EINTR) {
    }
  }
  for (int fd : {stdin_fd_, stdout_fd_, stderr_fd_})
    if (fd >= 0) close(fd);
}

void BridgeProcess::send(const std::string& line) {
  if (stdin_fd_ < 0) return;
  std::string data = line + "\n";
  size_t done = 0;
  while (done < data.size()) {
    ssize_t n = write(stdin_fd_, data.data() + done, data.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return;
    done += static_cast<size_t>(n);
  }
}

void BridgeProcess::close_stdin() {
  if (stdin_fd_ >= 0) close(stdin_fd_);
  stdin_fd_ = -1;
}

void BridgeProcess::close_stdout() {
  if (stdout_fd_ >= 0) close(stdout_fd_);
  stdout_fd_ = -1;
  stdout_eof_ = true;
}

void BridgeProcess::signal(int signo) {
  if (pid_ > 0 && !status_) kill(pid_, signo);
}

std::optional<std::string> BridgeProcess::read_line(std::chrono::milliseconds timeout) {
  const auto deadline = Clock::now() + timeout;
  for (;;) {
    if (auto newline = out_buffer_.find('\n'); newline != std::string::npos) {
      std::string line = out_buffer_.substr(0, newline);
      out_buffer_.erase(0, newline + 1);
      lines_.push_back(line);
      return line;
    }
    if (stdout_eof_ || stdout_fd_ < 0) {
      if (out_buffer_.empty()) return std::nullopt;
      std::string line;
      line.swap(out_buffer_);  // a last line without its newline
      lines_.push_back(line);
      return line;
    }
    pollfd fds[2] = {{stdout_fd_, POLLIN, 0}, {stderr_fd_, POLLIN, 0}};  // poll() skips a -1
    int ready = poll(fds, 2, remaining_ms(deadline));
    if (ready < 0 && errno == EINTR) continue;
    if (ready <= 0) return std::nullopt;
    if (fds[1].revents != 0) drain_stderr();
    if (fds[0].revents != 0 && !drain(stdout_fd_, out_buffer_)) stdout_eof_ = true;
  }
}

bool BridgeProcess::expect_line(const std::string& line, std::chrono::milliseconds timeout) {
  const auto deadline = Clock::now() + timeout;
  while (auto got = read_line(std::chrono::milliseconds(remaining_ms(deadline))))
    if (*got == line) return true;
  return false;
}

const std::vector<std::string>& BridgeProcess::read_all(std::chrono::milliseconds timeout) {
  const auto deadline = Clock::now() + timeout;
  while (read_line(std::chrono::milliseconds(remaining_ms(deadline)))) {
  }
  return lines_;
}

std::optional<int> BridgeProcess::wait_exit(std::chrono::milliseconds timeout) {
  if (status_) return status_;
  if (pid_ <= 0) return std::nullopt;
  const auto deadline = Clock::now() + timeout;
  for (;;) {
    int raw = 0;
    pid_t done = waitpid(pid_, &raw, WNOHANG);
    if (done == pid_) {
      status_ = decode_status(raw);
      return status_;
    }
    if (done < 0 && errno != EINTR) return std::nullopt;
    if (Clock::now() >= deadline) return std::nullopt;
    // Keep the pipes drained meanwhile so a chatty child cannot block on a
    // full pipe; poll() doubles as the short wait between status checks.
    pollfd fds[2] = {{stdout_eof_ ? -1 : stdout_fd_, POLLIN, 0}, {stderr_fd_, POLLIN, 0}};
    if (poll(fds, 2, std::min(remaining_ms(deadline), 10)) > 0) {
      if (fds[0].revents != 0 && !drain(stdout_fd_, out_buffer_)) stdout_eof_ = true;
      if (fds[1].revents != 0) drain_stderr();
    }
  }
}

void BridgeProcess::drain_stderr() {
  if (stderr_fd_ >= 0 && !drain(stderr_fd_, err_buffer_)) {
    close(stderr_fd_);
    stderr_fd_ = -1;
  }
}

std::string BridgeProcess::process_state() const {
  if (pid_ <= 0 || status_) return "not running";
  const std::string proc = "/proc/" + std::to_string(pid_);
  std::string state;
  for (const std::string& line : read_lines(proc + "/status")) {
    if (line.rfind("State:", 0) == 0 || line.rfind("Sig", 0) == 0 || line.rfind("ShdPnd:", 0) == 0)
      state += line + "\n";
  }
  if (DIR* tasks = opendir((proc + "/task").c_str())) {
    while (const dirent* task = readdir(tasks)) {
      if (task->d_name[0] == '.') continue;
      const std::vector<std::string> wchan = read_lines(proc + "/task/" + task->d_name + "/wchan");
      state += std::string("thread ") + task->d_name + " waits in " + (wchan.empty() ? "?" : wchan[0]) + "\n";
    }
    closedir(tasks);
  }
  return state;
}

std::string BridgeProcess::stderr_text() {
  drain_stderr();
  return err_buffer_;
}

BridgeResult run_bridge_to_end(const std::vector<std::string>& args, const EnvChanges& env,
                               std::chrono::milliseconds timeout) {
  const auto deadline = Clock::now() + timeout;
  BridgeProcess child(args, env);
  child.close_stdin();
  BridgeResult result;
  const auto& lines = child.read_all(std::chrono::milliseconds(remaining_ms(deadline)));
  auto status = child.wait_exit(std::chrono::milliseconds(remaining_ms(deadline)));
  result.status = status ? *status : -1;
  for (const auto& line : lines) result.out += line + "\n";
  // The child has ended, so everything it wrote to stderr is in the pipe.
  result.err = child.stderr_text();
  return result;
}

std::vector<std::string> read_lines(const std::string& path) {
  std::vector<std::string> lines;
  std::ifstream in(path);
  std::string line;
  while (std::getline(in, line)) lines.push_back(line);
  return lines;
}

std::unique_ptr<BridgeProcess> start_until_ready(const std::vector<std::string>& args, const EnvChanges& env,
                                                 std::chrono::milliseconds timeout) {
  auto bridge = std::make_unique<BridgeProcess>(args, env);
  if (!bridge->expect_line("READY", timeout)) ADD_FAILURE() << "no READY from vk-sony";
  return bridge;
}
