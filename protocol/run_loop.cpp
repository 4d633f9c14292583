// The run loop: the run flag, the two run threads, and the ordered teardown.
#include "protocol/protocol.h"

std::atomic<bool> running{true};

void request_shutdown() { running.store(false, std::memory_order_seq_cst); }
