// Process-level tests of whole camera runs against the simulated camera: the
// parent's commands, the ways a run ends, and the teardown the SDK sees.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/bridge_process.h"
#include "tests/support/temp_dir.h"

namespace {

constexpr char kUsbId[] = "USB|ILME-FX6|D10042";

constexpr char kScenario[] = R"(camera USB ILME-FX6 D10042
property 0x729 UInt32 800 rw 400 800 1600
property 0x115 UInt16 5600 rw
lv-property 0x1 3600
)";

// Writes one control line to the simulator's FIFO, waiting (with a deadline)
// until the simulator has opened it for reading.
bool send_control(const std::string& fifo, const std::string& line) {
  const auto deadline = std::chrono::steady_clock::now() + 5s;
  while (std::chrono::steady_clock::now() < deadline) {
    int fd = open(fifo.c_str(), O_WRONLY | O_NONBLOCK);
    if (fd >= 0) {
      const std::string text = line + "\n";
      const bool ok = write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
      close(fd);
      return ok;
    }
    if (errno != ENXIO && errno != ENOENT) return false;
    std::this_thread::sleep_for(10ms);  // polling the FIFO's open state
  }
  return false;
}

// The names of the teardown calls in the trace, in order.
std::vector<std::string> teardown_calls(const std::string& trace_path) {
  std::vector<std::string> calls;
  for (const std::string& line : read_lines(trace_path)) {
    // "<microseconds> <name> ..."
    const size_t start = line.find(' ') + 1;
    const std::string name = line.substr(start, line.find(' ', start) - start);
    if (name == "Disconnect" || name == "ReleaseDevice" || name == "Release") calls.push_back(name);
  }
  return calls;
}

class BridgeRunTest : public ::testing::Test {
 protected:
  EnvChanges env(const std::string& scenario) {
    return {{"VK_SONY_SIM_SCENARIO", dir_.write("camera.scenario", scenario)},
            {"VK_SONY_SIM_TRACE", trace_path()},
            {"VK_SONY_SIM_CONTROL", control_path()}};
  }
  std::string trace_path() const { return dir_.file("trace"); }
  std::string control_path() const { return dir_.file("control"); }

  std::vector<std::string> trace_with(const std::string& needle) const {
    std::vector<std::string> found;
    for (const std::string& line : read_lines(trace_path())) {
      if (line.find(needle) != std::string::npos) found.push_back(line);
    }
    return found;
  }

  TempDir dir_;
};

// Every way a run ends: the last lines, the exit status and the teardown.
// With a write the camera never confirms and another command queued behind
// it ("stuck"), the waiting write is answered "NACK" and the queued one is
// never sent.
TEST_F(BridgeRunTest, EveryEndOfRunTearsDownInOrder) {
  struct Case {
    const char* name;
    const char* control;  // control line to fire, or nullptr
    int signo;            // signal to send, or 0
    bool close_stdin;
    bool close_stdout;  // both closed: the parent was killed
    bool stuck;
    bool camera_gone;  // no Disconnect call
    bool disconnected_line;
  };
  const Case cases[] = {
      {"stdin closed", nullptr, 0, true, false, false, false, false},
      {"stdout closed", nullptr, 0, false, true, false, false, false},
      {"SIGTERM", nullptr, SIGTERM, false, false, false, false, false},
      {"SIGINT", nullptr, SIGINT, false, false, false, false, false},
      {"SIGHUP", nullptr, SIGHUP, false, false, false, false, false},
      {"camera disconnects", "disconnect 0x8207", 0, false, false, false, true, true},
      {"fatal warning", "warning 0x20002", 0, false, false, false, false, true},
      {"camera error", "error 0x8202", 0, false, false, false, false, true},
      {"stuck, SIGTERM", nullptr, SIGTERM, false, false, true, false, false},
      {"stuck, parent killed", nullptr, 0, true, true, true, false, false},
      {"stuck, camera disconnects", "disconnect 0x8207", 0, false, false, true, true, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    unlink(trace_path().c_str());  // the simulator appends: one run per trace
    auto started =
        start_until_ready({kUsbId}, env(std::string(kScenario) + (c.stuck ? "confirm never\n" : "")));
    ASSERT_TRUE(started);
    BridgeProcess& bridge = *started;
    if (c.stuck) {
      bridge.send("set ISO_SENSITIVITY 1600");
      bridge.send("set ISO_SENSITIVITY 400");
      const auto deadline = std::chrono::steady_clock::now() + 5s;
      while (trace_with("SetDeviceProperty").empty() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::yield();
      }
      ASSERT_EQ(trace_with("SetDeviceProperty").size(), 1u);
    }
    if (c.control != nullptr) {
      ASSERT_TRUE(send_control(control_path(), c.control));
    }
    if (c.signo != 0) bridge.signal(c.signo);
    if (c.close_stdin) bridge.close_stdin();
    if (c.close_stdout) bridge.close_stdout();

    const auto start = std::chrono::steady_clock::now();
    const std::vector<std::string> lines = c.close_stdout ? std::vector<std::string>{} : bridge.read_all(5s);
    EXPECT_EQ(bridge.wait_exit(5s), 1) << bridge.process_state();
    EXPECT_LT(std::chrono::steady_clock::now() - start, 4s);

    if (!c.close_stdout) {
      // Camera reports may still come until the camera is released, after
      // "CLOSED" too: their status lines and the raw lines of failed calls.
      std::vector<std::string> run_lines;
      for (const std::string& line : lines) {
        const bool camera_report = line.rfind("status ", 0) == 0 || line == "READY" ||
                                   (line.size() > 7 && line.compare(line.size() - 7, 7, " failed") == 0);
        if (!camera_report) run_lines.push_back(line);
      }
      ASSERT_GE(run_lines.size(), 2u);
      const std::vector<std::string> last(run_lines.end() - 2, run_lines.end());
      if (!c.stuck) {  // a stuck command's NACK may come between them
        EXPECT_TRUE(
            std::is_permutation(last.begin(), last.end(),
                                std::vector<std::string>{"END - elixir_handler_stdin", "CLOSED"}.begin()))
            << ::testing::PrintToString(lines);
      }
      EXPECT_EQ(std::count(lines.begin(), lines.end(), "END - elixir_handler_stdin"), 1);
      EXPECT_EQ(std::count(lines.begin(), lines.end(), "CLOSED"), 1);
      EXPECT_EQ(std::count(lines.begin(), lines.end(), "DISCONNECTED"), c.disconnected_line ? 1 : 0);
      if (c.disconnected_line) {
        EXPECT_NE(bridge.stderr_text().find(" status: 0x"), std::string::npos);
      }
      // The waiting write is answered; so is the queued one if the reader
      // had already taken it to the gate. Never twice, never "ACK".
      const auto nacks = std::count(lines.begin(), lines.end(), "NACK");
      EXPECT_GE(nacks, c.stuck ? 1 : 0);
      EXPECT_LE(nacks, c.stuck ? 2 : 0);
      EXPECT_EQ(std::count(lines.begin(), lines.end(), "ACK"), 0);
    }
    if (c.stuck) {
      EXPECT_EQ(trace_with("SetDeviceProperty").size(), 1u);
    }
    const std::vector<std::string> expected =
        c.camera_gone ? std::vector<std::string>{"ReleaseDevice", "Release"}
                      : std::vector<std::string>{"Disconnect", "ReleaseDevice", "Release"};
    EXPECT_EQ(teardown_calls(trace_path()), expected);
  }
}

// A blocked signal mask is inherited across exec: a parent that starts the
// bridge with the shutdown signals blocked must still be able to end it.
TEST_F(BridgeRunTest, ShutdownSignalsEndTheRunWhenTheParentBlockedThem) {
  const int shutdown_signals[] = {SIGTERM, SIGINT, SIGHUP};
  sigset_t blocked, saved;
  sigemptyset(&blocked);
  for (int signo : shutdown_signals) sigaddset(&blocked, signo);
  for (int signo : shutdown_signals) {
    SCOPED_TRACE(signo);
    ASSERT_EQ(pthread_sigmask(SIG_BLOCK, &blocked, &saved), 0);
    auto started = start_until_ready({kUsbId}, env(kScenario));  // forked with the mask
    pthread_sigmask(SIG_SETMASK, &saved, nullptr);
    ASSERT_TRUE(started);
    started->signal(signo);
    const std::vector<std::string>& lines = started->read_all(5s);
    EXPECT_EQ(started->wait_exit(5s), 1) << started->process_state();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "CLOSED"), 1);
  }
}

// End of input without a hang-up (here /dev/null) ends the run as a hang-up
// does.
TEST_F(BridgeRunTest, EndOfInputEndsRun) {
  BridgeProcess bridge({kUsbId}, env(kScenario), "/dev/null");
  const std::vector<std::string>& lines = bridge.read_all(5s);
  EXPECT_EQ(bridge.wait_exit(5s), 1);
  // The reader ends first and ends the run. (The camera's first report may
  // still come later, before the teardown.)
  const auto end = std::find(lines.begin(), lines.end(), "END - elixir_handler_stdin");
  const auto closed = std::find(lines.begin(), lines.end(), "CLOSED");
  ASSERT_NE(closed, lines.end());
  EXPECT_LT(end, closed);
  EXPECT_EQ(std::count(lines.begin(), lines.end(), "CLOSED"), 1);
  // Disconnect only when the camera had already reported the connection.
  std::vector<std::string> calls = teardown_calls(trace_path());
  if (!calls.empty() && calls.front() == "Disconnect") calls.erase(calls.begin());
  EXPECT_EQ(calls, (std::vector<std::string>{"ReleaseDevice", "Release"}));
}

}  // namespace
