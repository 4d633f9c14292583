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

constexpr int kNotCreated = -2;
std::atomic<int> wake_fd{kNotCreated};
static_assert(std::atomic<int>::is_always_lock_free, "used from a signal handler");

// Created on first use, not before main: vk-sony -v, -h and -l never need it.
// A signal handler may get here first, or interrupt a thread that is
// creating it: whoever stores first wins, the other closes its own.
int wake_descriptor() {
  int fd = wake_fd.load(std::memory_order_acquire);
  if (fd != kNotCreated) return fd;
  int created = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (created < 0) created = -1;
  if (wake_fd.compare_exchange_strong(fd, created, std::memory_order_acq_rel)) return created;
  if (created >= 0) ::close(created);
  return fd;
}

}  // namespace

void request_shutdown() {
  running.store(false, std::memory_order_seq_cst);
  const int saved_errno = errno;
  const int fd = wake_descriptor();
  if (fd >= 0) {
    const uint64_t one = 1;
    // Non-blocking; a full counter (never reached) is readable all the same.
    (void)!::write(fd, &one, sizeof one);
  }
  errno = saved_errno;
}

int shutdown_wake_fd() { return wake_descriptor(); }

void reset_run_flag() {
  uint64_t count = 0;
  const int fd = wake_descriptor();
  if (fd >= 0) (void)!::read(fd, &count, sizeof count);
  running.store(true, std::memory_order_seq_cst);
}
