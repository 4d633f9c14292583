// The program-wide run flag: true from process start until the first
// shutdown request.
#include <atomic>

#include "base/base.h"

std::atomic<bool> running{true};

void request_shutdown() { running.store(false, std::memory_order_seq_cst); }
