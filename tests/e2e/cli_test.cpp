// Process-level tests of the command line: usage, versions, listings,
// start-up failures and their exit statuses, and the log file.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>

#include "tests/support/bridge_process.h"
#include "tests/support/temp_dir.h"

namespace {

const char kUsage[] =
    "-h : print this\n"
    "-v : print version\n"
    "-l : list USB cameras\n"
    "-L : list all USB and IP cameras using Sony SDK discovery\n"
    "-i : camera IP\n"
    "-u : camera user\n"
    "-p : camera password\n"
    "-m : camera model (optional for IP; discovered from the IP address when omitted)\n"
    "Examples:\n"
    "\tvk-sony -i 192.168.2.50 -u admin -p Pqrstu789 -m ILME-FX6\n";

std::vector<std::string> split_lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  std::string line;
  while (std::getline(in, line)) lines.push_back(line);
  return lines;
}

// `line` is `prefix` and three dot-separated decimal numbers.
bool is_version_number(const std::string& line, const std::string& prefix) {
  if (line.rfind(prefix, 0) != 0) return false;
  unsigned major = 0, minor = 0, patch = 0;
  char end = 0;
  return std::sscanf(line.c_str() + prefix.size(), "%u.%u.%u%c", &major, &minor, &patch, &end) == 3;
}

TEST(Usage, TextAndStatus) {
  struct Case {
    std::vector<std::string> args;
    int status;
  };
  const Case cases[] = {
      {{"-h"}, 1},
      {{"-x"}, 1},  // unknown option
      {{"-i"}, 1},  // missing argument
      {{"-i", "1.2.3.4", "-h"}, 1},
      {{"one", "two"}, 0},  // two positionals
  };
  for (const Case& c : cases) {
    const BridgeResult result = run_bridge_to_end(c.args);
    EXPECT_EQ(result.status, c.status) << c.args[0];
    EXPECT_EQ(result.out, kUsage) << c.args[0];
    if (c.args[0] == "-x") {
      EXPECT_NE(result.err.find("invalid option"), std::string::npos) << result.err;  // getopt's own
    }
  }
}

TEST(Version, ThreeLinesAndNoCameraRun) {
  const BridgeResult result = run_bridge_to_end({"-i", "10.0.0.5", "-v", "-i"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  const std::vector<std::string> lines = split_lines(result.out);
  ASSERT_EQ(lines.size(), 3u) << result.out;
  EXPECT_EQ(lines[0], "soft version: 26.11.1rc2");
  EXPECT_EQ(lines[1].size(), 22u) << lines[1];
  EXPECT_EQ(lines[1].rfind("git version: ", 0), 0u) << lines[1];
  EXPECT_EQ(lines[1].find_first_not_of("0123456789abcdef", 13), std::string::npos) << lines[1];
  EXPECT_TRUE(is_version_number(lines[2], "SDK version: ")) << lines[2];
}

// The default scenario's ids; nothing when the enumeration fails.
TEST(ListAll, PrintsTheIdsOrNothing) {
  TempDir dir;
  const struct {
    const char* scenario;
    int status;
    const char* out;
  } cases[] = {
      {nullptr, 0, "USB|ILME-FX6|D10042\nIP|ILCE-7SM3|192.168.1.10\n"},
      {"camera USB ILME-FX6 D10042\nfail enum\n", 1, ""},
      {"camera USB ILME-FX6 D10042\nfail enum-null\n", 1, ""},
  };
  for (const auto& c : cases) {
    EnvChanges env;
    if (c.scenario != nullptr) env["VK_SONY_SIM_SCENARIO"] = dir.write("scenario.txt", c.scenario);
    const BridgeResult result = run_bridge_to_end({"-L"}, env);
    EXPECT_EQ(result.status, c.status) << c.out;
    EXPECT_EQ(result.out, c.out);
  }
}

// A copy of the binary in a directory without CrAdapter (a symbolic link
// would not do: the executable's directory is that of the real file).
class MissingAdapter : public ::testing::Test {
 protected:
  void SetUp() override {
    copy_ = dir_.file("vk-sony");
    std::filesystem::copy_file(bridge_binary(), copy_);
    std::filesystem::permissions(copy_, std::filesystem::perms::owner_all);
    const char* old = std::getenv("VK_SONY_BINARY");
    if (old != nullptr) saved_ = old;
    setenv("VK_SONY_BINARY", copy_.c_str(), 1);
  }
  void TearDown() override {
    if (saved_)
      setenv("VK_SONY_BINARY", saved_->c_str(), 1);
    else
      unsetenv("VK_SONY_BINARY");
  }
  std::string advice() const {
    const std::string path = dir_.path() + "/CrAdapter";
    return "Sony SDK CrAdapter directory not found: " + path +
           "\nCreate a symlink next to the real vk-sony binary, for example:\n"
           "  ln -s /usr/lib/CrAdapter " +
           path + "\n";
  }
  TempDir dir_;
  std::string copy_;
  std::optional<std::string> saved_;
};

TEST_F(MissingAdapter, RunsAndSdkListingStopWithAdviceUntilLinked) {
  for (const std::vector<std::string>& args :
       {std::vector<std::string>{"-L"}, {}, {"-i", "10.0.0.5", "-m", "ILCE-7SM3"}}) {
    const BridgeResult result = run_bridge_to_end(args);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, advice());
  }
  // The version and the USB listing need no adapter.
  EXPECT_EQ(run_bridge_to_end({"-v"}).status, 0);
  EXPECT_EQ(run_bridge_to_end({"-l"}).status, 0);

  TempDir adapters;
  ASSERT_EQ(symlink(adapters.path().c_str(), (dir_.path() + "/CrAdapter").c_str()), 0);
  const BridgeResult result = run_bridge_to_end({"-L"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
}

TEST(StartUp, FailuresBeforeTheRun) {
  const auto model_advice = [](const std::string& model) {
    return "Unknown or missing Sony camera model for IP connection: " + model +
           "\nUse -m with a Sony SDK model name, for example: -m ILCE-7SM3.\n";
  };
  const auto bad_address = [](const std::string& address) {
    return "Invalid Sony IP camera address: " + address +
           " (expected four decimal numbers 0-255, as in 192.168.2.50)\n";
  };
  struct Case {
    std::vector<std::string> args;
    int status;
    std::string err;
  };
  const Case cases[] = {
      {{"SERIAL|x|y"}, 0, "Unknown camera type: SERIAL\n"},
      {{"-u", "admin"}, 1, "Missing Sony IP camera address. Use -i <ip>.\n"},
      {{"IP|ILCE-7SM3|"}, 1, ""},  // two fields: a USB run that finds no match
      {{"-i", "10.0.0.5"}, 1, model_advice("*")},
      {{"IP||10.0.0.5"}, 1, model_advice("*")},
      {{"-m", "ILCE-7RM4", "-i", "10.0.0.5"}, 1, model_advice("ILCE-7RM4")},
      // An address is checked before anything runs: never an option of the
      // neighbour-table lookup, never a host name.
      {{"-m", "ILCE-7SM3", "-i", "-a"}, 1, bad_address("-a")},
      {{"IP|ILCE-7SM3|10.0.0"}, 1, bad_address("10.0.0")},
      {{"-i", "camera.local"}, 1, bad_address("camera.local")},
  };
  for (const Case& c : cases) {
    const BridgeResult result = run_bridge_to_end(c.args);
    EXPECT_EQ(result.status, c.status) << c.args[0];
    EXPECT_EQ(result.out, "") << c.args[0];
    EXPECT_EQ(result.err, c.err) << c.args[0];
  }
}

TEST(StartUp, ScenarioWithABadLineStopsTheSdk) {
  TempDir dir;
  const std::string scenario = dir.write("bad.txt", "camera USB ILME-FX6 D10042\nfrobnicate\n");
  const BridgeResult result = run_bridge_to_end({}, {{"VK_SONY_SIM_SCENARIO", scenario}});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err.rfind("vk-sony simulator: " + scenario + ":2: ", 0), 0u) << result.err;
}

// ---- The log file (suites named LogFile* share a lock on the fixed path) ----

const char kLog[] = "/tmp/vk-sony.log";

std::string file_text(const std::string& path) {
  std::ifstream in(path);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

// Moves whatever is at the log path aside and puts it back afterwards.
class LogFile : public ::testing::Test {
 protected:
  void SetUp() override {
    saved_ = dir_.file("saved-log");
    had_log_ = std::rename(kLog, saved_.c_str()) == 0;
  }
  void TearDown() override {
    std::remove(kLog);
    if (had_log_) std::rename(saved_.c_str(), kLog);
  }
  TempDir dir_;
  std::string saved_;
  bool had_log_ = false;
};

TEST_F(LogFile, OffWhenTheVariableIsUnset) {
  EXPECT_EQ(run_bridge_to_end({"-v"}).status, 0);
  struct stat info {};
  EXPECT_NE(lstat(kLog, &info), 0);
}

TEST_F(LogFile, EmptyValueLogsToTheFixedFileAndRunsAppend) {
  const std::string elsewhere = dir_.file("elsewhere.log");
  EXPECT_EQ(run_bridge_to_end({"-v"}, {{"VK_SONY_LOG", ""}}).status, 0);
  EXPECT_EQ(run_bridge_to_end({"SERIAL|x|y"}, {{"VK_SONY_LOG", elsewhere}}).status, 0);
  const std::vector<std::string> lines = read_lines(kLog);
  ASSERT_EQ(lines.size(), 3u) << file_text(kLog);
  EXPECT_EQ(lines[0].rfind("Runtime context pid=", 0), 0u) << lines[0];
  EXPECT_NE(lines[0].find(" VK_SONY_LOG= args=" + bridge_binary() + " -v"), std::string::npos) << lines[0];
  EXPECT_NE(lines[1].find(" VK_SONY_LOG=" + elsewhere + " args="), std::string::npos) << lines[1];
  EXPECT_EQ(lines[2], "Unknown camera type: SERIAL");
  EXPECT_FALSE(std::filesystem::exists(elsewhere));
  struct stat info {};
  ASSERT_EQ(stat(kLog, &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0644u);
}

// Neither a planted symbolic link, nor a FIFO (whose open would wait for a
// reader), nor a directory is a log file.
TEST_F(LogFile, NoRegularFileIsRefusedWithoutBlocking) {
  const std::string target = dir_.write("target", "untouched\n");
  const std::function<int()> plant[] = {[&] { return symlink(target.c_str(), kLog); },
                                        [] { return mkfifo(kLog, 0644); }, [] { return mkdir(kLog, 0755); }};
  for (const auto& make : plant) {
    std::filesystem::remove(kLog);
    ASSERT_EQ(make(), 0);
    const BridgeResult result = run_bridge_to_end({"-v"}, {{"VK_SONY_LOG", "1"}}, 10s);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "Failed to open log file: /tmp/vk-sony.log\n");
  }
  EXPECT_EQ(file_text(target), "untouched\n");
}

TEST_F(LogFile, SdkListingLogsItsSteps) {
  EXPECT_EQ(run_bridge_to_end({"-L"}, {{"VK_SONY_LOG", "1"}}).status, 0);
  const std::string text = file_text(kLog);
  for (const char* line :
       {"\nSony Camera Control SDK initialized\n", "\nEnumCameraObjects returned 0x0 (0)\n",
        "\nCamera enumeration returned 2 device(s) before all-device listing\n",
        "\nCamera[0] USB|ILME-FX6|D10042 connection=USB\n",
        "\nCamera[1] IP|ILCE-7SM3|192.168.1.10 connection=IP\n",
        "\nCamera listing printed 2 device(s)\nSDK cleanup\n"})
    EXPECT_NE(text.find(line), std::string::npos) << line << "in:\n" << text;
}

}  // namespace
