// Tests of option parsing: order, overriding, the acting options and the
// positional camera id.
#include "app/command_line.h"

#include <gtest/gtest.h>

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

// The run settings in one text: type, model, address, camera id, user,
// password and whether credentials were given.
std::string settings_text(const Settings& s) {
  return s.camera_type + "," + s.model + "," + s.address + "," + s.camera_id + "," + s.user + "," +
         s.password + (s.credentials_given ? ",1" : ",0");
}

TEST(CommandLine, SettingsAndAction) {
  struct Case {
    std::vector<std::string> args;
    Action action;
    const char* settings;  // for a run
  };
  const Case cases[] = {
      {{}, Action::kRun, "USB,,,*,admin,Pqrstu789,0"},
      {{"-u", "bob"}, Action::kRun, "IP,,,*,bob,Pqrstu789,1"},  // a user alone makes an IP run
      {{"-p", "x"}, Action::kRun, "IP,,,*,admin,x,1"},
      {{"-m", "ILCE-7SM3"}, Action::kRun, "USB,ILCE-7SM3,,*,admin,Pqrstu789,0"},
      {{"-i", "1.1.1.1", "-i", "2.2.2.2"}, Action::kRun, "IP,,2.2.2.2,*,admin,Pqrstu789,0"},
      {{"IP|ILCE-7SM3|192.168.1.10"},
       Action::kRun,
       "IP,ILCE-7SM3,192.168.1.10,IP|ILCE-7SM3|192.168.1.10,admin,Pqrstu789,0"},
      // The positional id overrides the options.
      {{"-i", "9.9.9.9", "USB|ILME-FX6|D1"},
       Action::kRun,
       "USB,ILME-FX6,D1,USB|ILME-FX6|D1,admin,Pqrstu789,0"},
      {{"IP|ILCE-7SM3"}, Action::kRun, "USB,,,IP|ILCE-7SM3,admin,Pqrstu789,0"},  // two fields: ignored
      {{"IP||10.0.0.5"}, Action::kRun, "IP,,10.0.0.5,IP||10.0.0.5,admin,Pqrstu789,0"},
      {{"SERIAL|x|y"}, Action::kRun, "SERIAL,x,y,SERIAL|x|y,admin,Pqrstu789,0"},
      {{"-h"}, Action::kUsageFailure, ""},
      {{"-x"}, Action::kUsageFailure, ""},
      {{"-i"}, Action::kUsageFailure, ""},
      {{"a", "b"}, Action::kUsageTooMany, ""},
      {{"-i", "1.2.3.4", "-v"}, Action::kVersion, ""},
      {{"-v", "-x"}, Action::kVersion, ""},  // an acting option stops parsing
      {{"-l", "-h"}, Action::kListUsb, ""},
      {{"-L"}, Action::kListAll, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::PrintToString(c.args));
    const CommandLine got = parse(c.args);
    EXPECT_EQ(got.action, c.action);
    if (c.action == Action::kRun) {
      EXPECT_EQ(settings_text(got.settings), c.settings);
    }
  }
}

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
