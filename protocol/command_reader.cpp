// The command reader: reads the parent's command lines from standard input and
// hands each to the dispatch.
#include "protocol/command_reader.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>

#include "base/base.h"

namespace {

// Without a wake-up descriptor the reader looks at the run flag this often.
constexpr int kFallbackPollMs = 100;
constexpr size_t kBlockSize = 4096;

std::string to_hex(unsigned value) {
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, "%x", value);
  return buffer;
}

bool still_running() { return running.load(std::memory_order_seq_cst); }

// Reads one block: its size, 0 when a non-blocking input has nothing after
// all, -1 at end of input or on a read error.
ssize_t read_block(int fd, char* block) {
  for (;;) {
    const ssize_t n = ::read(fd, block, kBlockSize);
    if (n > 0) return n;
    if (n < 0 && errno == EINTR) continue;
    if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return 0;
    return -1;
  }
}

}  // namespace

void LineBuffer::append(const char* data, size_t size) {
  if (start_ > 0) {
    data_.erase(0, start_);
    start_ = 0;
  }
  data_.append(data, size);
}

bool LineBuffer::next_line(std::string& line) {
  const size_t end = data_.find('\n', start_);
  if (end == std::string::npos) return false;
  line.assign(data_, start_, end - start_);
  start_ = end + 1;
  if (start_ == data_.size()) {
    data_.clear();
    start_ = 0;
  }
  return true;
}

bool LineBuffer::take_rest(std::string& line) {
  if (start_ >= data_.size()) return false;
  line.assign(data_, start_, std::string::npos);
  data_.clear();
  start_ = 0;
  return true;
}

void read_commands(int input_fd, CameraDevice* device, PropertyCodes& codes) {
  const int wake_fd = shutdown_wake_fd();
  LineBuffer input;
  std::string line;
  char block[kBlockSize];
  for (;;) {
    // Every whole line read so far is carried out before the next poll, which
    // would not see lines already taken from the descriptor.
    while (still_running() && input.next_line(line)) dispatch_command(device, codes, line);
    if (!still_running()) break;

    pollfd fds[2] = {{input_fd, POLLIN, 0}, {wake_fd, POLLIN, 0}};
    const int ready = poll(fds, wake_fd >= 0 ? 2 : 1, wake_fd >= 0 ? -1 : kFallbackPollMs);
    if (!still_running()) {
      log_message("elixir_handler_stdin exits because shutdown was requested");
      break;
    }
    if (ready <= 0) continue;
    // Checked before the input: a hang-up ends the reader even when unread
    // input is still pending.
    if ((fds[0].revents & (POLLERR | POLLHUP | POLLNVAL)) != 0) {
      // Only a line already begun is finished, as its first bytes were read.
      if (input.has_partial()) {
        ssize_t n;
        while (input.has_partial() && (n = read_block(input_fd, block)) > 0) {
          input.append(block, static_cast<size_t>(n));
        }
        if (input.next_line(line) || input.take_rest(line)) dispatch_command(device, codes, line);
      }
      log_message("elixir_handler_stdin exits on stdin poll revents=0x" +
                  to_hex(static_cast<unsigned>(static_cast<unsigned short>(fds[0].revents))));
      break;
    }
    if ((fds[0].revents & POLLIN) == 0) continue;
    const ssize_t n = read_block(input_fd, block);
    if (n == 0) continue;
    if (n < 0) {
      if (input.take_rest(line)) dispatch_command(device, codes, line);
      log_message("elixir_handler_stdin exits because stdin reached EOF");
      break;
    }
    input.append(block, static_cast<size_t>(n));
  }
  write_status_line("END - elixir_handler_stdin");
  // End of input without a hang-up is noticed only here; whatever ended the
  // reader, the run is over.
  request_shutdown();
}

void command_reader(CameraDevice* device, PropertyCodes& codes) {
  read_commands(STDIN_FILENO, device, codes);
}
