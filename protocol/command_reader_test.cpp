// Tests of the command reader: the word split, the dispatch of each verb to a
// connected simulated camera, and the reading loop on a pipe.
#include "protocol/command_reader.h"

#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "CameraRemote_SDK.h"
#include "device/camera_device.h"
#include "device/device_test_support.h"
#include "properties/target_numbers.h"
#include "sim/sim_control.h"
#include "tests/support/stdout_capture.h"

namespace {

constexpr char kScenario[] = R"(camera USB ILME-FX6 D10042
property 0x729 UInt32 800 rw 400 800 1600
property 0x115 UInt16 5600 rw
property 0x126 Int8 0 rw
property 0x183 UInt16 1 rw
confirm 5
menu-result success
)";

TEST(SplitCommand, FourWordsOnAnyRunOfBlanks) {
  struct Case {
    const char* line;
    const char* verb;
    const char* name;
    const char* value;
    const char* extra;
  };
  const Case cases[] = {
      {"", "", "", "", ""},
      {"   \t ", "", "", "", ""},
      {"RESET", "RESET", "", "", ""},
      {"  set \t WB  5600", "set", "WB", "5600", ""},
      {"action BUTTON APS_C 250 ignored words", "action", "BUTTON", "APS_C", "250"},
      // Only the newline is stripped by the reader; a carriage return stays.
      {"set WB 5600\r", "set", "WB", "5600\r", ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.line);
    const CommandWords words = split_command(c.line);
    EXPECT_EQ(words.verb, c.verb);
    EXPECT_EQ(words.name, c.name);
    EXPECT_EQ(words.value, c.value);
    EXPECT_EQ(words.extra, c.extra);
  }
}

TEST(LineBuffer, SplitsBlocksIntoLines) {
  struct Case {
    std::vector<const char*> blocks;
    std::vector<std::string> lines;
    const char* rest;  // the last line without its newline, "" for none
  };
  const Case cases[] = {
      {{"RESET\n"}, {"RESET"}, ""},
      {{"RES", "ET\nget", " ISO\n"}, {"RESET", "get ISO"}, ""},
      {{"a\nb\n\nc\r\nd"}, {"a", "b", "", "c\r"}, "d"},
      {{"", "\n", "x"}, {""}, "x"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.lines.size());
    LineBuffer buffer;
    std::vector<std::string> lines;
    std::string line;
    for (const char* block : c.blocks) {
      buffer.append(block, std::strlen(block));
      while (buffer.next_line(line)) lines.push_back(line);
    }
    EXPECT_EQ(lines, c.lines);
    EXPECT_EQ(buffer.has_partial(), *c.rest != '\0');
    EXPECT_EQ(buffer.take_rest(line), *c.rest != '\0');
    if (*c.rest != '\0') {
      EXPECT_EQ(line, c.rest);
    }
    EXPECT_FALSE(buffer.take_rest(line));
  }
}

class CommandReaderTest : public CameraDeviceTest {
 protected:
  void SetUp() override {
    CameraDeviceTest::SetUp();
    ASSERT_NO_FATAL_FAILURE(connect_usb(kScenario, camera_model_number("ILME-FX6")));
    ASSERT_TRUE(device_->connected.load());
    for (const auto& [code, row] : propertyTable) codes_[row.name] = code;
    sim::clear_trace();
    first_line_ = capture_->lines().size();
  }

  // Dispatches `line` and waits for the camera's answers.
  void dispatch(const std::string& line) {
    dispatch_command(device_.get(), codes_, line);
    ASSERT_TRUE(sim::wait_idle());
  }

  // The stdout lines written since SetUp (or the last call).
  std::vector<std::string> new_lines() {
    std::vector<std::string> all = capture_->lines();
    std::vector<std::string> fresh(all.begin() + static_cast<std::ptrdiff_t>(first_line_), all.end());
    first_line_ = all.size();
    return fresh;
  }

  // The calls that ask the camera for something, in trace order.
  static std::vector<std::string> sent_calls() {
    std::vector<std::string> calls;
    for (const std::string& line : sim::trace()) {
      if (line.rfind("callback", 0) != 0 && line.rfind("Get", 0) != 0 && line.rfind("Release", 0) != 0) {
        calls.push_back(line);
      }
    }
    return calls;
  }

  PropertyCodes codes_;  // as the run builds it
  size_t first_line_ = 0;
};

TEST_F(CommandReaderTest, EachVerbReachesItsOperation) {
  struct Case {
    const char* line;
    std::vector<std::string> calls;  // trace prefixes expected, in order
    const char* reply;               // expected stdout line, "" for none
  };
  const Case cases[] = {
      {"action SHUTTER_PRESS 0", {"SendCommand id=0 param=1", "SendCommand id=0 param=0"}, "ACK"},
      {"action BUTTON APS_C", {"SendCommand id=10 param=1", "SendCommand id=10 param=0"}, "ACK"},
      {"action BUTTON APS_C 5", {"SendCommand id=10 param=1", "SendCommand id=10 param=0"}, "ACK"},
      {"RESET anything at all", {}, "ACK"},
      {"set REC ON", {"SendCommand id=1 param=1"}, "ACK"},
      {"set WB 3200", {"SetDeviceProperty code=0x115 value=3200 "}, "ACK"},
      {"set COLORTEMP 4300", {"SetDeviceProperty code=0x115 value=4300 "}, "ACK"},
      {"set ZOOM_OPERATION -1",
       {"SetDeviceProperty code=0x126 value=18446744073709551615 type=0x1001"},
       "ACK"},
      {"set PROPERTY_BUTTON AWB",
       {"SetDeviceProperty code=0x183 value=1 type=0x2002",
        "SetDeviceProperty code=0x183 value=2 type=0x2002"},
       "ACK"},
      {"set LUT_FILE /luts/look.cube 3", {"ImportLUTFile file=/luts/look.cube slot=3"}, "ACK"},
      {"get ISO_SENSITIVITY", {}, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.line);
    sim::clear_trace();
    dispatch(c.line);
    const std::vector<std::string> calls = sent_calls();
    ASSERT_EQ(calls.size(), c.calls.size());
    for (size_t i = 0; i < calls.size(); ++i) EXPECT_EQ(calls[i].rfind(c.calls[i], 0), 0u) << calls[i];
    // Exactly its own answer, once (status lines aside).
    std::vector<std::string> answers;
    for (const std::string& line : new_lines()) {
      if (line == "ACK" || line == "NACK") answers.push_back(line);
    }
    EXPECT_EQ(answers, *c.reply != '\0' ? std::vector<std::string>{c.reply} : std::vector<std::string>{});
  }
}

// Each is answered "NACK" once, sends nothing to the camera and leaves
// nothing behind; none ends the process.
TEST_F(CommandReaderTest, BadInputIsRefusedWithoutSending) {
  const PropertyCodes before = codes_;
  const char* const lines[] = {"",
                               "   ",
                               "reset",
                               "action SHUTTER_PRESS",
                               "action SHUTTER_PRESS soon",
                               "action SHUTTER_PRESS x",
                               "action SHUTTER_PRESS 60001",
                               "action BUTTON APS_C -5",
                               "action BUTTON APS_C soon",
                               "action BUTTON MENU",
                               "action ZOOM 1",
                               "set REC on",
                               "set WB warm",
                               "set WB 2147483648",
                               "set ZOOM_OPERATION 99999999999",
                               "set WB_TINT x",
                               "set FOCUS_OPERATION",
                               "set ISO NOPE",
                               "set FSTOP abc",
                               "set ISO",
                               "set FOCUS_MODE AF_C\r",
                               "set NO_SUCH_KEY 1",
                               "set PROPERTY_BUTTON NO_SUCH_KEY",
                               "set MENU x",
                               "set TC x",
                               "set RESET 1",
                               "set WB_TINT_STEP -2147483648",
                               "set COLORTEMP_STEP 40000",
                               "set SHUTTER_ECS_NUMBER_STEP -2147483648",
                               "get NO_SUCH_KEY"};
  for (const char* line : lines) {
    SCOPED_TRACE(line);
    sim::clear_trace();
    dispatch(line);
    EXPECT_EQ(new_lines(), std::vector<std::string>{"NACK"});
    EXPECT_TRUE(sent_calls().empty());
  }
  EXPECT_EQ(codes_, before);
  // "set MENU" and "set TC" left "get MENU" and "get TC" working.
  dispatch("get MENU");
  EXPECT_EQ(new_lines(), std::vector<std::string>{"ACK"});
  dispatch("get TC");
  EXPECT_EQ(1u, traced("GetLiveViewProperties").size());
}

// Commands that arrive before the camera's first property batch are carried
// out after it, so that they see the reported state; the end of the run ends
// the wait.
TEST_F(CameraDeviceTest, CommandsBeforeTheFirstBatchWaitForIt) {
  PropertyCodes codes;
  for (const auto& [code, row] : propertyTable) codes[row.name] = code;
  ASSERT_TRUE(sim::load_scenario(kUsbFx6Scenario));
  device_ = std::make_unique<CameraDeviceUSB>();
  auto early = std::async(std::launch::async, [&] {
    dispatch_command(device_.get(), codes, "RESET");
    dispatch_command(device_.get(), codes, "get ISO");
  });
  EXPECT_EQ(std::future_status::timeout, early.wait_for(std::chrono::milliseconds(30)));
  EXPECT_TRUE(capture_->lines().empty());
  connect_existing(10);
  ASSERT_EQ(std::future_status::ready, early.wait_for(std::chrono::seconds(5)));
  const std::vector<std::string> lines = capture_->lines();
  const auto ready = std::find(lines.begin(), lines.end(), "READY");
  ASSERT_NE(ready, lines.end());
  EXPECT_EQ(std::vector<std::string>(ready + 1, lines.end()),
            (std::vector<std::string>{"ACK", "status ISO 400 [100 200 400 800] RW"}));

  disconnect_all();
  device_ = std::make_unique<CameraDeviceUSB>();
  const size_t before = capture_->lines().size();
  auto stranded = std::async(std::launch::async, [&] {
    dispatch_command(device_.get(), codes, "get ISO");
    dispatch_command(device_.get(), codes, "RESET");
  });
  device_->abort_operations();
  ASSERT_EQ(std::future_status::ready, stranded.wait_for(std::chrono::seconds(5)));
  // Not carried out: no report of the empty cache, the RESET refused.
  const std::vector<std::string> after = capture_->lines();
  EXPECT_EQ(std::vector<std::string>(after.begin() + static_cast<std::ptrdiff_t>(before), after.end()),
            std::vector<std::string>{"NACK"});
}

// parse_int32 reads as the standard conversion does, without throwing: it
// agrees with stoi32 on every text.
TEST(ParseInt32, AgreesWithTheStandardConversion) {
  for (const char* text : {"42", " \t-17", "+8", "12abc", "5600\r", "2147483647", "-2147483648", "2147483648",
                           "-2147483649", "99999999999999999999", "", "-", "abc", " +", "0x10"}) {
    SCOPED_TRACE(text);
    int32_t value = -1;
    const bool ok = parse_int32(text, &value);
    try {
      EXPECT_EQ(stoi32(text), value);
      EXPECT_TRUE(ok);
    } catch (const std::exception&) {
      EXPECT_FALSE(ok);
      EXPECT_EQ(value, -1);
    }
  }
}

// Runs the reading loop on a pipe fed with `input`. With `hang_up_first` the
// write end is closed before the reader starts; otherwise only once the
// reader has taken every byte.
void feed_reader(CameraDevice* device, PropertyCodes& codes, const std::string& input, bool hang_up_first) {
  int fds[2];
  ASSERT_EQ(pipe(fds), 0);
  ASSERT_EQ(write(fds[1], input.data(), input.size()), static_cast<ssize_t>(input.size()));
  if (hang_up_first) close(fds[1]);
  reset_run_flag();  // the reader requests shutdown when it ends
  std::thread reader(read_commands, fds[0], device, std::ref(codes));
  if (!hang_up_first) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    int pending = 1;
    while (std::chrono::steady_clock::now() < deadline && ioctl(fds[0], FIONREAD, &pending) == 0 &&
           pending > 0) {
      std::this_thread::yield();
    }
    EXPECT_EQ(pending, 0);
    close(fds[1]);
  }
  reader.join();
  close(fds[0]);
}

TEST_F(CommandReaderTest, ReadsLinesInOrderUntilHangUp) {
  const std::string end = "END - elixir_handler_stdin";
  struct Case {
    const char* input;
    bool hang_up_first;
    std::vector<std::string> lines;
  };
  const Case cases[] = {
      // Lines that arrive together are all carried out.
      {"RESET\nbogus\nRESET\n", false, {"ACK", "NACK", "ACK", end}},
      {"RESET", false, {"ACK", end}},   // a last line without its newline
      {"RESET\nRESET\n", true, {end}},  // the hang-up wins over unread input
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.input);
    feed_reader(device_.get(), codes_, c.input, c.hang_up_first);
    EXPECT_EQ(new_lines(), c.lines);
    EXPECT_FALSE(running.load());  // the end of the reader ends the run
  }
}

TEST_F(CommandReaderTest, ShutdownRequestEndsReaderWithInputPending) {
  int fds[2];
  ASSERT_EQ(pipe(fds), 0);
  ASSERT_EQ(write(fds[1], "RESET\n", 6), 6);
  request_shutdown();
  read_commands(fds[0], device_.get(), codes_);  // returns without reading
  close(fds[0]);
  close(fds[1]);
  EXPECT_EQ(new_lines(), std::vector<std::string>{"END - elixir_handler_stdin"});
}

}  // namespace
