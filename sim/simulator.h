// The simulated camera's state: the loaded scenario, the connected device,
// the callback queue with its delivery thread (which also reads the control
// FIFO) and the trace. One process-wide instance; every member is thread-safe.
#ifndef VK_SONY_SIM_SIMULATOR_H
#define VK_SONY_SIM_SIMULATOR_H

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <unordered_map>
#include <vector>

#include "CameraRemote_SDK.h"
#include "IDeviceCallback.h"
#include "sim/sim_internal.h"

namespace sim {

// One callback to deliver.
struct Callback {
  enum class Kind {
    kConnected,
    kDisconnected,
    kError,
    kWarning,
    kWarningExt,
    kPropertyChanged,
    kPropertyChangedCodes,
    kLvPropertyChangedCodes,
    kCompleteDownload,
    kContentsTransfer,
  };
  Kind kind = Kind::kWarning;
  uint32_t value = 0;  // version, error or warning code
  int32_t params[3] = {};
  std::vector<uint32_t> codes;
  std::string name;
  // A timed `change` stores its value when it is delivered.
  bool store = false;
  uint32_t store_code = 0;
  uint64_t store_value = 0;
};

class Simulator {
 public:
  using Clock = std::chrono::steady_clock;

  static Simulator& instance();

  // Trace: one line per SDK call and per delivered callback. `line` is
  // without the time stamp. Lines are streamed to the trace file; they are
  // also kept in memory (for trace_lines()) only once keep_trace_lines() has
  // been called, which the in-process test control does. tracing() is false
  // when a line would go nowhere, so callers can skip composing it.
  void trace(const std::string& line);
  bool tracing() const { return tracing_.load(std::memory_order_relaxed); }
  void keep_trace_lines();
  std::vector<std::string> trace_lines();
  void clear_trace();

  // Scenario. init_scenario() loads the one named by VK_SONY_SIM_SCENARIO
  // (or the default) unless a test loaded one; errors go to stderr and make
  // it return false. peek_sdk_version() never reports anything and reads
  // only the scenario's sdk-version lines.
  [[nodiscard]] bool init_scenario();
  [[nodiscard]] bool load_scenario_text(const std::string& text, std::string* error);
  uint32_t peek_sdk_version();
  // The loaded scenario, shared and never changed once loaded: a reload
  // replaces the pointer, so a caller may keep what it got.
  std::shared_ptr<const Scenario> scenario();

  // Opens the trace file named by VK_SONY_SIM_TRACE (if any) and notes the
  // control FIFO path of VK_SONY_SIM_CONTROL.
  void open_environment();

  // Device life cycle. connect() stores the new handle in `*handle` before
  // any callback can run, then queues the connection callbacks and the
  // scenario's timed events and starts the control reader.
  void connect(SCRSDK::IDeviceCallback* callback, CrInt64* handle);
  void disconnect(CrInt64 handle);
  void release_device(CrInt64 handle);
  // True while `handle` names the device (from Connect to ReleaseDevice).
  bool knows(CrInt64 handle);

  // Properties of the connected camera (live values).
  bool find_property(uint32_t code, ScenarioProperty* property);
  // Calls `use(const std::vector<PropertySource>& found)` once, under the
  // simulator's lock, with each of `codes` the camera has, in the order
  // given, and its packed_candidates() (computed when the scenario loaded):
  // `use` must not call into the simulator, and `found` points into the
  // simulator's state only while `use` runs.
  template <typename Use>
  void with_properties(const uint32_t* codes, uint32_t count, Use use) {
    std::lock_guard<std::mutex> lock(mu_);
    std::vector<PropertySource> found;
    found.reserve(codes != nullptr ? count : 0);
    for (uint32_t i = 0; codes != nullptr && i < count; ++i) {
      const auto index = prop_index_.find(codes[i]);
      if (index != prop_index_.end()) found.push_back({&props_[index->second], &packed_[index->second]});
    }
    use(found);
  }
  // Stores `value`; returns true when it differed from the current one.
  bool store_value(uint32_t code, uint64_t value);

  // Queues callbacks `delay` from now (`awaited`: wait_idle waits for them
  // even before they are due).
  void queue(std::vector<Callback> callbacks, std::chrono::milliseconds delay, bool awaited = true);
  // Applies one parsed control event (store a change, queue its callbacks).
  void apply(const ControlEvent& event, std::chrono::milliseconds delay = std::chrono::milliseconds(0),
             bool awaited = true);

  [[nodiscard]] bool wait_idle(std::chrono::milliseconds timeout);

  uint32_t next_frame();

  // Stops and joins every simulator thread and forgets the device.
  // `forget_scenario` also unloads the scenario, empties the trace and
  // closes the trace file (reset()).
  void shut_down(bool forget_scenario);
  void close_trace();

 private:
  struct Entry {
    Clock::time_point due;
    uint64_t seq;
    uint64_t generation;
    bool awaited;
    Callback callback;
  };

  Simulator() = default;
  // The delivery thread: delivers the queued callbacks when due and, with
  // `control_fd` (the FIFO's read end, closed at the end; -1 for none),
  // reads control lines while nothing is due.
  void dispatch_loop(uint64_t run, const std::string& control_path, int control_fd);
  // Reads what the FIFO holds and applies every whole line of it.
  void read_control(int fd, std::string* pending);
  void handle_control_line(std::string_view line);
  void start_threads_locked();
  // Makes the delivery thread look at the queue again. Best called without
  // mu_, so that the woken thread does not block on it.
  void wake_dispatcher();
  void connect_locked(SCRSDK::IDeviceCallback* callback, CrInt64* handle);
  // The two below queue without waking the delivery thread: the caller
  // wakes it (wake_dispatcher) and notifies cv_.
  void queue_locked(std::vector<Callback> callbacks, std::chrono::milliseconds delay, bool awaited);
  void apply_locked(const ControlEvent& event, std::chrono::milliseconds delay, bool awaited);
  bool store_value_locked(uint32_t code, uint64_t value);
  ScenarioProperty* find_locked(uint32_t code);
  void set_scenario_locked(Scenario scenario);
  void update_tracing_locked();
  void write_trace_file(const std::string& line);

  std::mutex trace_mu_;
  Clock::time_point t0_;                  // guarded by trace_mu_
  bool t0_set_ = false;                   // guarded by trace_mu_
  std::vector<std::string> trace_lines_;  // guarded by trace_mu_
  bool keep_lines_ = false;               // guarded by trace_mu_
  int trace_fd_ = -1;                     // guarded by trace_mu_
  std::atomic<bool> tracing_{false};      // written under trace_mu_

  std::mutex mu_;
  std::condition_variable cv_;
  bool loaded_ = false;                                                            // guarded by mu_
  bool loaded_by_test_ = false;                                                    // guarded by mu_
  std::shared_ptr<const Scenario> scenario_ = std::make_shared<const Scenario>();  // guarded by mu_
  std::vector<ScenarioProperty> props_;                                            // guarded by mu_
  std::unordered_map<uint32_t, std::size_t> prop_index_;  // guarded by mu_; code -> index in props_
  std::vector<std::vector<uint8_t>> packed_;              // guarded by mu_; packed_candidates of props_
  std::string control_path_;                              // guarded by mu_
  SCRSDK::IDeviceCallback* callback_ = nullptr;           // guarded by mu_
  CrInt64 handle_ = 0;                                    // guarded by mu_
  CrInt64 next_handle_ = 0;                               // guarded by mu_
  bool connected_ = false;                                // guarded by mu_
  uint64_t generation_ = 0;                               // guarded by mu_
  std::vector<Entry> queue_;                              // guarded by mu_
  uint64_t seq_ = 0;                                      // guarded by mu_
  bool busy_ = false;                                     // guarded by mu_
  bool stop_ = false;                                     // guarded by mu_
  uint64_t run_ = 0;                                      // guarded by mu_; a dispatcher serves one run
  uint32_t frame_no_ = 0;                                 // guarded by mu_
  std::thread dispatcher_;                                // guarded by mu_
  // An eventfd the delivery thread polls: made under mu_ by the first
  // start_threads_locked, never closed.
  std::atomic<int> wake_fd_{-1};
};

}  // namespace sim

#endif  // VK_SONY_SIM_SIMULATOR_H
