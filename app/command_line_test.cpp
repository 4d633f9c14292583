// Tests of option parsing: order, overriding, the acting options and the
// positional camera id.
#include "app/command_line.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

namespace {

CommandLine parse(std::vector<std::string> words) {
  words.insert(words.begin(), "vk-sony");
  std::vector<char*> argv;
  for (auto& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  return parse_command_line(static_cast<int>(words.size()), argv.data());
}

struct ParseCase {
  const char* name = "";
  std::vector<std::string> args = {};
  Action action = Action::kRun;
  std::string type = "";
  std::string model = "";
  std::string address = "";
  std::string camera_id = "";
  std::string user = "";
  bool credentials = false;
};

void PrintTo(const ParseCase& c, std::ostream* out) { *out << c.name; }

class ParseTest : public ::testing::TestWithParam<ParseCase> {};

TEST_P(ParseTest, SettingsAndAction) {
  const ParseCase& c = GetParam();
  const CommandLine got = parse(c.args);
  EXPECT_EQ(got.action, c.action);
  if (got.action != Action::kRun) return;
  EXPECT_EQ(got.settings.camera_type, c.type);
  EXPECT_EQ(got.settings.model, c.model);
  EXPECT_EQ(got.settings.address, c.address);
  EXPECT_EQ(got.settings.camera_id, c.camera_id);
  EXPECT_EQ(got.settings.user, c.user);
  EXPECT_EQ(got.settings.credentials_given, c.credentials);
}

INSTANTIATE_TEST_SUITE_P(
    CommandLine, ParseTest,
    ::testing::Values(
        ParseCase{"Defaults", {}, Action::kRun, "USB", "", "", "*", "admin", false},
        ParseCase{"UserAloneMakesIp", {"-u", "bob"}, Action::kRun, "IP", "", "", "*", "bob", true},
        ParseCase{"PasswordGivesCredentials", {"-p", "x"}, Action::kRun, "IP", "", "", "*", "admin", true},
        ParseCase{
            "ModelKeepsUsb", {"-m", "ILCE-7SM3"}, Action::kRun, "USB", "ILCE-7SM3", "", "*", "admin", false},
        ParseCase{"LaterOptionWins",
                  {"-i", "1.1.1.1", "-i", "2.2.2.2"},
                  Action::kRun,
                  "IP",
                  "",
                  "2.2.2.2",
                  "*",
                  "admin",
                  false},
        ParseCase{"IpPositional",
                  {"IP|ILCE-7SM3|192.168.1.10"},
                  Action::kRun,
                  "IP",
                  "ILCE-7SM3",
                  "192.168.1.10",
                  "IP|ILCE-7SM3|192.168.1.10",
                  "admin",
                  false},
        ParseCase{"PositionalOverridesOptions",
                  {"-i", "9.9.9.9", "USB|ILME-FX6|D1"},
                  Action::kRun,
                  "USB",
                  "ILME-FX6",
                  "D1",
                  "USB|ILME-FX6|D1",
                  "admin",
                  false},
        ParseCase{"TwoFieldsIgnored",
                  {"IP|ILCE-7SM3"},
                  Action::kRun,
                  "USB",
                  "",
                  "",
                  "IP|ILCE-7SM3",
                  "admin",
                  false},
        ParseCase{"EmptyModelField",
                  {"IP||10.0.0.5"},
                  Action::kRun,
                  "IP",
                  "",
                  "10.0.0.5",
                  "IP||10.0.0.5",
                  "admin",
                  false},
        ParseCase{
            "OtherType", {"SERIAL|x|y"}, Action::kRun, "SERIAL", "x", "y", "SERIAL|x|y", "admin", false},
        ParseCase{"Help", {"-h"}, Action::kUsageFailure},
        ParseCase{"UnknownOption", {"-x"}, Action::kUsageFailure},
        ParseCase{"MissingArgument", {"-i"}, Action::kUsageFailure},
        ParseCase{"TwoPositionals", {"a", "b"}, Action::kUsageTooMany},
        ParseCase{"VersionAfterAddress", {"-i", "1.2.3.4", "-v"}, Action::kVersion},
        ParseCase{"ActingOptionStopsParsing", {"-v", "-x"}, Action::kVersion},
        ParseCase{"ListUsb", {"-l", "-h"}, Action::kListUsb}, ParseCase{"ListAll", {"-L"}, Action::kListAll}),
    [](const ::testing::TestParamInfo<ParseCase>& param_info) { return std::string(param_info.param.name); });

TEST(CommandLine, ParsingTwiceGivesTheSameResult) {
  EXPECT_EQ(parse({"-i", "1.2.3.4"}).settings.address, "1.2.3.4");
  EXPECT_EQ(parse({"-i", "5.6.7.8"}).settings.address, "5.6.7.8");
}

TEST(CommandLine, RuntimeContextLine) {
  std::vector<std::string> words = {"vk-sony", "-l"};
  std::vector<char*> argv = {words[0].data(), words[1].data(), nullptr};
  const std::string line = runtime_context_line(2, argv.data());
  EXPECT_EQ(line.rfind("Runtime context pid=" + std::to_string(getpid()) + " cwd=", 0), 0u) << line;
  EXPECT_NE(line.find(" exe_dir=" + executable_directory() + " HOME="), std::string::npos) << line;
  EXPECT_EQ(line.substr(line.size() - 16), " args=vk-sony -l") << line;
}

}  // namespace
