// The diagnostic log: a process-wide file descriptor opened on first use,
// one write per line under a mutex.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <mutex>

#include "base/base.h"

namespace {

class Log {
 public:
  Log() {
    if (std::getenv("VK_SONY_LOG") == nullptr) return;
    // O_NOFOLLOW: a symbolic link planted at the fixed path must not
    // redirect the log into some other file. O_NONBLOCK: a FIFO planted
    // there must not block the start waiting for a reader; only a regular
    // file is kept.
    fd_ = ::open(kLogPath, O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK, 0644);
    struct stat info {};
    if (fd_ >= 0 && (::fstat(fd_, &info) != 0 || !S_ISREG(info.st_mode))) {
      ::close(fd_);
      fd_ = -1;
    }
    if (fd_ >= 0) {
      // Writes to a regular file never block; the flag only served the open.
      const int flags = ::fcntl(fd_, F_GETFL);
      if (flags >= 0) (void)::fcntl(fd_, F_SETFL, flags & ~O_NONBLOCK);
    }
    if (fd_ < 0) {
      std::fputs("Failed to open log file: ", stderr);
      std::fputs(kLogPath, stderr);
      std::fputs("\n", stderr);
      std::fflush(stderr);
    }
    enabled_ = fd_ >= 0;
  }
  Log(const Log&) = delete;
  Log& operator=(const Log&) = delete;

  bool enabled() const { return enabled_; }

  void write_line(std::string_view text) {
    if (!enabled_) return;
    std::string line;
    line.reserve(text.size() + 1);
    line.append(text.data(), text.size());
    line.push_back('\n');
    std::lock_guard<std::mutex> lock(mutex_);
    if (fd_ < 0) return;
    // O_APPEND makes each write land at the end; a failed write is dropped.
    size_t done = 0;
    while (done < line.size()) {
      ssize_t n = ::write(fd_, line.data() + done, line.size() - done);
      if (n < 0 && errno == EINTR) continue;
      if (n <= 0) return;
      done += static_cast<size_t>(n);
    }
  }

 private:
  std::mutex mutex_;
  int fd_ = -1;           // GUARDED_BY(mutex_)
  bool enabled_ = false;  // written only by the constructor
};

// Never destroyed: SDK threads may still log while the process exits, and
// the kernel closes the descriptor.
Log& the_log() {
  static Log* log = new Log();
  return *log;
}

}  // namespace

void log_message(std::string_view text) { the_log().write_line(text); }

bool log_enabled() { return the_log().enabled(); }

void log_with_prefix(const char* prefix, const std::string& text) {
  std::string line(prefix);
  line += text;
  log_message(line);
}
