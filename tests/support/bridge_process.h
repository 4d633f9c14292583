// Runs the built vk-sony as a child process for process-level tests: send a
// line, expect a line within a deadline, check the exit status.
#ifndef VK_SONY_TESTS_SUPPORT_BRIDGE_PROCESS_H
#define VK_SONY_TESTS_SUPPORT_BRIDGE_PROCESS_H

#include <sys/types.h>

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

using namespace std::chrono_literals;

// Path of the vk-sony executable under test.
std::string bridge_binary();

// Environment changes for a child: a value sets the variable, std::nullopt
// removes it. VK_SONY_LOG, VK_SONY_SIM_SCENARIO, VK_SONY_SIM_TRACE and
// VK_SONY_SIM_CONTROL are removed unless given here.
using EnvChanges = std::map<std::string, std::optional<std::string>>;

class BridgeProcess {
 public:
  // Starts vk-sony with `args` (without the program name), through the
  // emulator when there is one (VK_SONY_TEST_EMULATOR, else the cross
  // build's). With `stdin_path` the child reads its standard input from that
  // file instead of a pipe from us.
  explicit BridgeProcess(const std::vector<std::string>& args, const EnvChanges& env = {},
                         const std::string& stdin_path = "");
  // Kills the child (SIGKILL) if it is still running and reaps it.
  ~BridgeProcess();
  BridgeProcess(const BridgeProcess&) = delete;
  BridgeProcess& operator=(const BridgeProcess&) = delete;

  // Writes `line` and a newline to the child's stdin.
  void send(const std::string& line);
  // Closes the child's stdin (the parent hangs up).
  void close_stdin();
  // Closes our end of the child's stdout (the parent stops reading).
  void close_stdout();
  void signal(int signo);

  // The next stdout line (without its newline), or nullopt when none arrives
  // within `timeout` or stdout reached its end.
  std::optional<std::string> read_line(std::chrono::milliseconds timeout = 5s);
  // Reads lines until one equals `line`; true when it came within `timeout`.
  // Every line read is also kept in lines().
  bool expect_line(const std::string& line, std::chrono::milliseconds timeout = 5s);
  // Every stdout line read so far, in order.
  const std::vector<std::string>& lines() const { return lines_; }
  // Reads the rest of stdout until it ends (or `timeout`) and returns all lines.
  const std::vector<std::string>& read_all(std::chrono::milliseconds timeout = 10s);

  // Waits for the child to end: its exit status, 128 + signal number when a
  // signal ended it, or nullopt when it is still running after `timeout`.
  std::optional<int> wait_exit(std::chrono::milliseconds timeout = 10s);
  // Everything the child wrote to stderr so far.
  std::string stderr_text();
  // For a failure message about a child that did not end: its state and
  // signal masks, and where each of its threads waits (from /proc).
  std::string process_state() const;

 private:
  void drain_stderr();  // closes our end when the child's stderr has ended

  pid_t pid_ = -1;
  int stdin_fd_ = -1;
  int stdout_fd_ = -1;
  int stderr_fd_ = -1;
  std::string out_buffer_;
  std::string err_buffer_;
  std::vector<std::string> lines_;
  std::optional<int> status_;
  bool stdout_eof_ = false;
};

// Starts vk-sony and reads its output until READY. When READY does not come
// within `timeout` the current test fails; the process is returned all the
// same, so that the caller can still look at what it wrote.
std::unique_ptr<BridgeProcess> start_until_ready(const std::vector<std::string>& args, const EnvChanges& env,
                                                 std::chrono::milliseconds timeout = 5s);

// Runs vk-sony to completion with stdin closed and returns its status,
// stdout and stderr.
struct BridgeResult {
  int status = -1;
  std::string out;
  std::string err;
};
BridgeResult run_bridge_to_end(const std::vector<std::string>& args, const EnvChanges& env = {},
                               std::chrono::milliseconds timeout = 20s);

// Reads the lines of a text file (e.g. a simulator trace); empty when absent.
std::vector<std::string> read_lines(const std::string& path);

#endif  // VK_SONY_TESTS_SUPPORT_BRIDGE_PROCESS_H
