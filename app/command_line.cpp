// Start-up of vk-sony: the runtime-context log line, option parsing, the
// usage and version texts, the adapter check and the dispatch.
#include "app/command_line.h"

#include <getopt.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "base/base.h"
#include "connection/connection.h"
#include "git_version.h"

namespace {

// Writes `text` and a newline to `stream` and flushes it.
void console_line(FILE* stream, const std::string& text) {
  std::fputs(text.c_str(), stream);
  std::fputc('\n', stream);
  std::fflush(stream);
}

std::string env_or_empty(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string() : std::string(value);
}

}  // namespace

CommandLine parse_command_line(int argc, char** argv) {
  CommandLine result;
  Settings& s = result.settings;
  std::vector<char*> args(argv, argv + argc);
  args.push_back(nullptr);
  optind = 0;  // glibc: full re-initialisation, so parsing can run again
  int option;
  while ((option = getopt(argc, args.data(), "m:i:u:p:hlLv")) != -1) {
    switch (option) {
      case 'm':
        s.model = optarg;
        break;
      case 'i':
        s.address = optarg;
        s.camera_type = "IP";
        break;
      case 'u':
        s.user = optarg;
        s.camera_type = "IP";
        s.credentials_given = true;
        break;
      case 'p':
        s.password = optarg;
        s.camera_type = "IP";
        s.credentials_given = true;
        break;
      case 'l':
        result.action = Action::kListUsb;
        return result;
      case 'L':
        result.action = Action::kListAll;
        return result;
      case 'v':
        result.action = Action::kVersion;
        return result;
      default:  // 'h' and '?'
        result.action = Action::kUsageFailure;
        return result;
    }
  }
  const int positional = argc - optind;
  if (positional > 1) {
    result.action = Action::kUsageTooMany;
  } else if (positional == 1) {
    s.camera_id = args[static_cast<size_t>(optind)];
    std::vector<std::string> fields = split_camera_id(s.camera_id);
    if (fields.size() == 3) {
      s.camera_type = fields[0];
      s.model = fields[1];
      s.address = fields[2];
    }
  }
  return result;
}

std::string executable_directory() {
  char path[4096];
  ssize_t length = readlink("/proc/self/exe", path, sizeof path - 1);
  if (length <= 0) return ".";
  std::string exe(path, static_cast<size_t>(length));
  size_t slash = exe.rfind('/');
  if (slash == std::string::npos) return ".";
  return exe.substr(0, slash);
}

std::string runtime_context_line(int argc, char** argv) {
  char cwd_buffer[4096];
  std::string cwd = getcwd(cwd_buffer, sizeof cwd_buffer) != nullptr ? cwd_buffer : "(unknown)";
  std::string args;
  for (int i = 0; i < argc; ++i) {
    if (i > 0) args += ' ';
    args += argv[i];
  }
  return "Runtime context pid=" + std::to_string(getpid()) + " cwd=" + cwd +
         " exe_dir=" + executable_directory() + " HOME=" + env_or_empty("HOME") +
         " USER=" + env_or_empty("USER") + " VK_SONY_LOG=" + env_or_empty("VK_SONY_LOG") + " args=" + args;
}

bool adapter_directory_present() {
  const std::string path = executable_directory() + "/CrAdapter";
  struct stat info {};
  if (stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode)) return true;
  console_line(stderr, "Sony SDK CrAdapter directory not found: " + path);
  console_line(stderr, "Create a symlink next to the real vk-sony binary, for example:");
  console_line(stderr, "  ln -s /usr/lib/CrAdapter " + path);
  log_with_prefix("Sony SDK CrAdapter directory not found: ", path);
  return false;
}

void print_usage() {
  static const char* const kLines[] = {
      "-h : print this",
      "-v : print version",
      "-l : list USB cameras",
      "-L : list all USB and IP cameras using Sony SDK discovery",
      "-i : camera IP",
      "-u : camera user",
      "-p : camera password",
      "-m : camera model (optional for IP; discovered from the IP address when omitted)",
      "Examples:",
      "\tvk-sony -i 192.168.2.50 -u admin -p Pqrstu789 -m ILME-FX6",
  };
  for (const char* line : kLines) console_line(stdout, line);
}

void print_versions() {
  // One write for the three lines.
  console_line(stdout, std::string("soft version: ") + VK_SONY_SOFT_VERSION +
                           "\ngit version: " + VK_SONY_GIT_VERSION + "\nSDK version: " + sdk_version_text());
}

int run_command_line(int argc, char** argv) {
  // The line costs a getcwd, a readlink and a getpid: only for a reader.
  if (log_enabled()) log_message(runtime_context_line(argc, argv));
  const CommandLine command = parse_command_line(argc, argv);
  const Settings& s = command.settings;
  switch (command.action) {
    case Action::kUsageFailure:
      print_usage();
      return 1;
    case Action::kUsageTooMany:
      print_usage();
      return 0;
    case Action::kVersion:
      print_versions();
      return 0;
    case Action::kListUsb:
      print_camera_list(false);
      return 0;
    case Action::kListAll:
      if (!adapter_directory_present()) return 1;
      start_sdk();
      print_camera_list(true);
      release_sdk();
      return 0;
    case Action::kRun:
      break;
  }
  if (s.camera_type == "USB") {
    if (!adapter_directory_present()) return 1;
    run_usb(s.camera_id);
    return 1;
  }
  if (s.camera_type == "IP") {
    if (s.address.empty()) {
      console_line(stderr, "Missing Sony IP camera address. Use -i <ip>.");
      return 1;
    }
    // Checked before anything runs: the address goes to the neighbour-table
    // lookup and to the SDK.
    if (!is_ipv4_dotted_quad(s.address)) {
      console_line(stderr, "Invalid Sony IP camera address: " + s.address +
                               " (expected four decimal numbers 0-255, as in 192.168.2.50)");
      log_with_prefix("Invalid Sony IP camera address: ", s.address);
      return 1;
    }
    if (!adapter_directory_present()) return 1;
    run_ip(s.model.empty() ? "*" : s.model, s.address, s.user, s.password, s.credentials_given);
    return 1;
  }
  console_line(stderr, "Unknown camera type: " + s.camera_type);
  log_with_prefix("Unknown camera type: ", s.camera_type);
  return 0;
}
