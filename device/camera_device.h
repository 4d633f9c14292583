// The connected camera: SDK callbacks, the acknowledgement gate, property
// reporting and the camera operations that the parent's commands drive.
#ifndef VK_SONY_DEVICE_CAMERA_DEVICE_H
#define VK_SONY_DEVICE_CAMERA_DEVICE_H

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "CameraRemote_SDK.h"
#include "IDeviceCallback.h"
#include "base/base.h"

// ---- Camera model table --------------------------------------------------

// The SDK's model number for a model name (exact, case-sensitive); 0 for any
// unlisted name, the same number as "ILCE-7RM4".
uint32_t camera_model_number(std::string_view name);
// The model name of a model number, or "" for numbers without a name.
const char* camera_model_name(uint32_t number);

// A property record of the cache, and what its getters return, read once
// when the record is stored: most records of a batch report no change, and
// telling so then takes the getters of the fresh record only (each getter is
// a call into the SDK).
class CachedProperty {
 public:
  CachedProperty() { read_getters(); }
  CachedProperty(const CachedProperty& other) : record_(other.record_) { read_getters(); }
  CachedProperty& operator=(const CachedProperty& other) {
    store(other.record_);
    return *this;
  }

  // Copies `fresh` (and its buffers) into the cache.
  void store(const SCRSDK::CrDeviceProperty& fresh) {
    record_ = fresh;
    read_getters();
    line_.clear();
  }
  // Whether the cached record already holds all that `fresh` reports (every
  // field and the bytes of every buffer), so that storing it can be skipped.
  bool same_as(const SCRSDK::CrDeviceProperty& fresh) const;
  const SCRSDK::CrDeviceProperty& record() const { return record_; }
  CrInt32u code() const { return code_; }
  // The fields of the record that its status line shows.
  const PropertyFields& fields() const { return fields_; }
  // The status line composed from this record, kept so that a record
  // reported again unchanged is not composed again; empty when none is kept.
  // The record's owner guards it as it guards the record.
  std::string_view kept_line() const { return line_; }
  void keep_line(std::string_view line) const { line_.assign(line.data(), line.size()); }

 private:
  void read_getters();

  SCRSDK::CrDeviceProperty record_;
  // What record_'s getters return; the buffers are record_'s own.
  CrInt32u code_ = 0;
  PropertyFields fields_;  // type, current value and string, candidates, writable
  SCRSDK::CrPropertyEnableFlag enable_flag_{};
  SCRSDK::CrPropertyVariableFlag variable_flag_{};
  CrInt32u set_values_size_ = 0;
  const CrInt8u* set_values_ = nullptr;
  CrInt32u display_values_size_ = 0;
  const CrInt8u* display_values_ = nullptr;
  mutable std::string line_;  // see kept_line()
};

// ---- The command gate ----------------------------------------------------

// A binary semaphore used as a baton: one camera operation takes it and
// gives it back when the operation has been answered. Releasing an open gate
// is harmless. Once aborted, every acquire (waiting or later) returns false
// at once without taking the gate.
class CommandGate {
 public:
  explicit CommandGate(bool open = true);
  // Waits until the gate is open and takes it; false when aborted.
  bool acquire();
  void release();
  void abort();

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool open_;             // GUARDED_BY(mutex_)
  bool aborted_ = false;  // GUARDED_BY(mutex_)
};

// ---- Absolute-by-steps memory -------------------------------------------

// The clock of the absolute-by-steps memory (WB on the stepping IP models,
// WB_TINT, SHUTTER_ECS_NUMBER), in nanoseconds. A target within 2 s of the
// previous one steps from that previous target instead of the cache.
using StepClockFn = int64_t (*)();
// Replaces the clock; nullptr restores the wall clock. For tests.
void set_step_clock(StepClockFn clock);
// Forgets every remembered target, as at process start. For tests.
void reset_step_memory();

// ---- Property codes the operations take ---------------------------------

// SDK property codes that the command dispatch hands to the operations by
// name (absolute-by-steps bases, their step properties, zoom and focus drive).
inline constexpr uint32_t kWbTintCode = 0x15D;
inline constexpr uint32_t kShutterEcsNumberCode = 0x161;
inline constexpr uint32_t kShutterEcsNumberStepCode = 0x162;
inline constexpr uint32_t kZoomOperationCode = 0x126;
inline constexpr uint32_t kFocusOperationCode = 0x15F;

// ---- CameraDevice ---------------------------------------------------------

// The confirmation deadline when VK_SONY_CONFIRM_TIMEOUT_MS is unset or not a
// positive decimal integer.
inline constexpr int kDefaultConfirmTimeoutMs = 3000;

// The confirmation deadline from VK_SONY_CONFIRM_TIMEOUT_MS: a positive
// decimal integer, else kDefaultConfirmTimeoutMs with a log line saying so.
int confirm_timeout_from_environment();

// Stands for the connected camera for the whole run. The SDK calls the
// callbacks on its own threads; the command reader calls the operations,
// one at a time.
//
// Answers: every operation writes exactly one "ACK" or "NACK" (unless
// ack_suppressed is set). A gated operation that awaits the camera (a
// normal-mode property write, a menu request) records what it awaits under
// the answer lock and waits for it; whoever resolves it writes the answer
// once: the property batch that reports the written code ("ACK", after the
// batch is cached and before its status lines), the menu warning, the
// deadline ("NACK" and a log line) or abort_operations ("NACK"). The camera's
// own reports never answer.
//
// The gate: a new device starts closed; the first property batch after
// OnConnected (fetched or not) opens it, so commands that arrive earlier are
// carried out after it.
class CameraDevice : public SCRSDK::IDeviceCallback {
 public:
  CameraDevice();
  virtual ~CameraDevice();
  CameraDevice(const CameraDevice&) = delete;
  CameraDevice& operator=(const CameraDevice&) = delete;

  // SDK callbacks. None of them throws.
  void OnConnected(SCRSDK::DeviceConnectionVersioin version) override;
  void OnDisconnected(CrInt32u error) override;
  void OnPropertyChanged() override;
  void OnPropertyChangedCodes(CrInt32u num, CrInt32u* codes) override;
  void OnLvPropertyChanged() override;
  void OnLvPropertyChangedCodes(CrInt32u num, CrInt32u* codes) override;
  void OnCompleteDownload(CrChar* filename, CrInt32u type = 0xFFFFFFFF) override;
  void OnNotifyContentsTransfer(CrInt32u notify, SCRSDK::CrContentHandle handle,
                                CrChar* filename = 0) override;
  void OnWarning(CrInt32u warning) override;
  void OnWarningExt(CrInt32u warning, CrInt32 param1, CrInt32 param2, CrInt32 param3) override;
  void OnError(CrInt32u error) override;

  // Transport-specific operations; the base versions write the raw lines
  // "UNUSED" and "ABSTRACT".
  virtual void set_wb(uint64_t kelvin);
  virtual void set_recording(uint64_t value);

  // Acknowledgement primitives: resolve the pending answer, if one is due,
  // with "ACK" / "NACK" (the latter also logged "NACK"), writing nothing when
  // acknowledgements are suppressed. Neither touches the gate.
  void ack();
  void nack();

  // Property reporting.
  void store_and_report(const SCRSDK::CrDeviceProperty& property);
  void report_property(uint32_t code);

  // Camera operations (command-reader thread). Each ends in exactly one
  // "ACK" or "NACK" unless acknowledgements are suppressed; the gated ones
  // take command_gate and give it back once they have been answered.
  void send_command(uint32_t id, uint32_t param);
  void press_button(uint32_t id, int hold_ms);
  // Writes `value` to `code` with data type `type` (both taken from
  // `property` when `code` is 0). The no-change rule compares with the cache
  // as it is after the gate.
  void set_property(const SCRSDK::CrDeviceProperty& property, uint64_t value, uint32_t code = 0,
                    uint32_t type = 0);
  // Writes `code` from text parsed by the table row. Unsupported codes, and
  // texts the row's parser refuses, are logged and answered "NACK".
  void set_property_from_text(uint32_t code, const std::string& text);
  void set_operation(uint32_t code, int32_t amount);
  void property_button(uint32_t code);
  // A signed 16-bit step of 0x15B, 0x15E or 0x162; a step outside
  // -32768..32767 is refused, a step of 0 answered "ACK" without a write.
  void step_property(uint32_t step_code, int32_t step);
  // base_code 0x15D (WB_TINT, steps 0x15E) or 0x161 (SHUTTER_ECS_NUMBER,
  // steps 0x162); any other code is answered "NACK".
  void set_absolute_by_steps(uint32_t base_code, int32_t target);
  void request_menu();
  void read_timecode();
  void import_lut(const std::string& path, const std::string& slot_text);
  void plain_ack();
  // Logs `reason` and answers "NACK" (unless suppressed), touching no pending
  // answer: the refusal of a command that is not carried out.
  void refuse(const std::string& reason);

  // Ends every wait of the device: a taker waiting at the gate, an operation
  // waiting for the camera's confirmation and the timed sleeps (button
  // holds, the REC toggle, colour-temperature steps) return at once, and so
  // does every later wait. An operation whose answer is still due answers
  // "NACK". Thread-safe, idempotent; called by the run loop when the run
  // ends.
  void abort_operations() noexcept;
  // Waits until the first property batch after OnConnected has come (fetched
  // or not), so that a command is carried out against the camera's reported
  // state; false when the operations were aborted first.
  bool wait_for_first_batch();
  bool aborted() const { return aborted_.load(); }

  SCRSDK::CrDeviceHandle device_handle = 0;
  std::unordered_map<CrInt32u, CachedProperty> properties;       // GUARDED_BY(cache_mutex)
  std::map<CrInt32u, SCRSDK::CrLiveViewProperty> lv_properties;  // GUARDED_BY(cache_mutex)
  uint32_t reserved_word = 0;
  uint32_t model = 0;
  std::atomic<bool> ready_armed{false};
  std::atomic<bool> connected{false};
  std::atomic<bool> ready_sent{false};
  // An awaited answer is due (set and cleared under the answer lock).
  std::atomic<bool> ack_pending{false};
  std::atomic<bool> ack_suppressed{false};
  std::atomic<bool> connected_once{false};
  std::atomic<bool> quick_ack{false};
  // How long a write or menu request waits for the camera, in ms.
  std::atomic<int> confirm_timeout_ms{kDefaultConfirmTimeoutMs};
  std::unique_ptr<CommandGate> command_gate;
  std::mutex cache_mutex;

 protected:
  // Sleeps `ms` milliseconds unless the operations are aborted first; false
  // when aborted.
  bool pause_ms(int ms);
  // Takes the gate; when aborted answers "NACK" and returns false.
  bool enter_gate(const char* operation);
  // The cached record of `code`; false when the camera never reported it.
  bool cached(uint32_t code, SCRSDK::CrDeviceProperty* out);
  // The write behind every property operation: true when answered "ACK".
  // `step` marks the signed step properties; a `type` of 0 is taken from the
  // cached record once the gate is held.
  bool write_property(uint32_t code, uint64_t value, uint32_t type, bool step);

 private:
  enum class Awaiting { kNothing, kProperty, kMenu };

  // Writes the answer line of a resolved command. Caller holds answer_mutex_.
  void write_answer(bool ok);
  // Resolves the pending answer if it is still due. Caller holds
  // answer_mutex_.
  bool resolve(bool ok);
  // Waits for the pending answer until the deadline or abort; answers "NACK"
  // itself when it is still due then. True when answered "ACK".
  bool await_answer(const char* what, uint32_t code);
  // Writes the status lines held back while a quick-ack write was in flight.
  // Caller holds answer_mutex_.
  void flush_held_reports();
  // Writes the status line of the cached record of `code` (or logs a code
  // the bridge does not support). Caller holds answer_mutex_.
  void report_cached(uint32_t code);
  // The same for each of `entries` (entries of `properties`), into the
  // OutputBatch the caller has open. Caller holds answer_mutex_.
  void report_cached(const std::vector<const CachedProperty*>& entries);
  // Appends the status line of `cached`, the cache's record of `code`, to
  // `*line` (no newline); false (and logged) for a code the bridge does not
  // support. Caller holds cache_mutex.
  bool compose_cached_line(uint32_t code, const CachedProperty& cached, TextWriter* line);
  // Opens the gate and ends wait_for_first_batch, once, after OnConnected.
  void open_after_first_batch();

  std::atomic<bool> aborted_{false};
  bool first_batch_seen_ = false;  // GUARDED_BY(answer_mutex_)
  std::mutex answer_mutex_;
  std::condition_variable answer_changed_;
  Awaiting awaiting_ = Awaiting::kNothing;  // GUARDED_BY(answer_mutex_)
  uint32_t awaited_codes_[2] = {0, 0};      // GUARDED_BY(answer_mutex_)
  bool last_answer_ok_ = false;             // GUARDED_BY(answer_mutex_)
  bool quick_in_flight_ = false;            // GUARDED_BY(answer_mutex_)
  // Entries of `properties` to report; entries are never erased, so the
  // pointers stay valid.
  std::vector<const CachedProperty*> held_entries_;  // GUARDED_BY(answer_mutex_)
  TextWriter line_buffer_;                           // GUARDED_BY(answer_mutex_): report_cached's line
  // Codes whose cached value may be out of date (a fetch failed, or a write
  // went unconfirmed): the no-change rule does not trust them.
  std::set<uint32_t> stale_codes_;  // GUARDED_BY(cache_mutex)
};

class CameraDeviceUSB : public CameraDevice {
 public:
  void set_wb(uint64_t kelvin) override;
  void set_recording(uint64_t value) override;
};

class CameraDeviceIP : public CameraDevice {
 public:
  void set_wb(uint64_t kelvin) override;
  void set_recording(uint64_t value) override;
};

#endif  // VK_SONY_DEVICE_CAMERA_DEVICE_H
