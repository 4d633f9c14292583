// The program-wide run flag: true from process start until the first
// shutdown request, and the wake-up descriptor that tells the run's threads.
#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>

#include "base/base.h"

std::atomic<bool> running{true};

namespace {

// Created before main, so that a signal handler always finds it ready.
const int wake_fd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);

}  // namespace

void request_shutdown() {
  running.store(false, std::memory_order_seq_cst);
  if (wake_fd < 0) return;
  const int saved_errno = errno;
  const uint64_t one = 1;
  // Non-blocking; a full counter (never reached) is readable all the same.
  (void)!::write(wake_fd, &one, sizeof one);
  errno = saved_errno;
}

int shutdown_wake_fd() { return wake_fd; }

void reset_run_flag() {
  uint64_t count = 0;
  if (wake_fd >= 0) (void)!::read(wake_fd, &count, sizeof count);
  running.store(true, std::memory_order_seq_cst);
}
