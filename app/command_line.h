// The command line of vk-sony: its settings, what it asks the process to do,
// and the start-up steps that decide the exit status.
#ifndef VK_SONY_APP_COMMAND_LINE_H
#define VK_SONY_APP_COMMAND_LINE_H

#include <string>
#include <vector>

// The start-up settings, with their defaults before the options are read.
struct Settings {
  std::string user = "admin";
  std::string password = "Pqrstu789";
  std::string address;
  std::string model;
  std::string camera_id = "*";  // the positional argument, kept whole
  std::string camera_type = "USB";
  bool credentials_given = false;
};

// What the command line asks for. -h, -l, -L and -v act when read.
enum class Action {
  kRun,           // a camera run of settings.camera_type
  kUsageFailure,  // -h, unknown option, missing argument: usage, status 1
  kUsageTooMany,  // more than one positional argument: usage, status 0
  kVersion,       // -v
  kListUsb,       // -l
  kListAll,       // -L
};

struct CommandLine {
  Action action = Action::kRun;
  Settings settings;
};

// Reads the options with getopt ("m:i:u:p:hlLv") and the positional camera
// id. getopt's own diagnostics go to stderr. May be called more than once.
CommandLine parse_command_line(int argc, char** argv);

// "Runtime context pid=... cwd=... exe_dir=... HOME=... USER=...
// VK_SONY_LOG=... args=...".
std::string runtime_context_line(int argc, char** argv);
// The directory of the real executable ("." when it cannot be read).
std::string executable_directory();
// True when EXEDIR/CrAdapter is a directory (through links); otherwise tells
// the three advice lines on stderr, logs the first and returns false.
bool adapter_directory_present();

void print_usage();
void print_versions();

// The whole start-up: logs the runtime context, parses, dispatches; returns
// the exit status (connection failures exit the process themselves).
int run_command_line(int argc, char** argv);

#endif  // VK_SONY_APP_COMMAND_LINE_H
