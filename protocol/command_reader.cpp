// The command reader: reads the parent's command lines from standard input and
// hands each to the dispatch.
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>

#include "base/base.h"
#include "protocol/command_reader.h"

namespace {

constexpr int kPollTimeoutMs = 100;

std::string to_hex(unsigned value) {
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, "%x", value);
  return buffer;
}

// Reads one line from `fd` up to "\n", byte by byte so nothing beyond the
// line is consumed. False at end of input or on a read error with nothing
// read; a last line without a newline is still returned.
bool read_line(int fd, std::string& line) {
  line.clear();
  bool got_any = false;
  for (;;) {
    char c;
    ssize_t n = read(fd, &c, 1);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return got_any;
    got_any = true;
    if (c == '\n') return true;
    line.push_back(c);
  }
}

bool still_running() { return running.load(std::memory_order_seq_cst); }

}  // namespace

void read_commands(int input_fd, CameraDevice* device, PropertyCodes& codes) {
  std::string line;
  while (still_running()) {
    pollfd pfd{input_fd, POLLIN, 0};
    int ready = poll(&pfd, 1, kPollTimeoutMs);
    if (!still_running()) {
      log_message("elixir_handler_stdin exits because shutdown was requested");
      break;
    }
    if (ready <= 0) continue;
    // Checked before the input: a hang-up ends the reader even when unread
    // input is still pending.
    if ((pfd.revents & (POLLERR | POLLHUP | POLLNVAL)) != 0) {
      log_message("elixir_handler_stdin exits on stdin poll revents=0x" +
                  to_hex(static_cast<unsigned>(pfd.revents)));
      break;
    }
    if ((pfd.revents & POLLIN) == 0) continue;
    if (!read_line(input_fd, line)) {
      log_message("elixir_handler_stdin exits because stdin reached EOF");
      break;
    }
    dispatch_command(device, codes, line);
  }
  write_status_line("END - elixir_handler_stdin");
}

void command_reader(CameraDevice* device, PropertyCodes& codes) {
  read_commands(STDIN_FILENO, device, codes);
}
