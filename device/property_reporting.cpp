// Property reporting: fetching changed properties from the camera, caching
// them and writing their status lines.
#include <cstdint>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

#include "CameraRemote_SDK.h"
#include "base/base.h"
#include "device/camera_device.h"
#include "properties/property_table.h"

namespace {

constexpr uint32_t kBlackLevelCode = 0x2AC;

void numeric_text(uint64_t value, TextWriter* out) { out->append(std::to_string(value)); }

bool keep_all(uint64_t /*value*/) { return false; }

// Out of line and cold: composing a line of a supported code stays small
// without the text of this log line.
[[gnu::cold]] void log_unhandled_property(uint32_t code) {
  log_message("UNHANDLED property case : " + device_property_name(code) + " (" + std::to_string(code) + ")");
}

bool is_quiet_live_view_code(CrInt32u code) { return code == 0x121 || code == 0x122 || code == 0x582; }

// Whether two buffers of `size` bytes hold the same bytes; two absent
// buffers are the same.
bool same_bytes(const void* a, const void* b, size_t size) {
  if (a == nullptr || b == nullptr) return a == b;
  return a == b || std::memcmp(a, b, size) == 0;
}

// Whether the current string `a` equals `b`: a 16-bit length n, then n bytes.
bool same_current_str(const uint16_t* a, const uint16_t* b) {
  if (a == nullptr || b == nullptr) return a == b;
  return a[0] == b[0] && same_bytes(a, b, sizeof(uint16_t) + a[0]);
}

}  // namespace

void CachedProperty::read_getters() {
  code_ = record_.GetCode();
  fields_.type = static_cast<uint32_t>(record_.GetValueType());
  enable_flag_ = record_.GetPropertyEnableFlag();
  variable_flag_ = record_.GetPropertyVariableFlag();
  fields_.current = record_.GetCurrentValue();
  fields_.current_str = record_.GetCurrentStr();
  fields_.size = record_.GetValueSize();
  fields_.values = record_.GetValues();
  set_values_size_ = record_.GetSetValueSize();
  set_values_ = record_.GetSetValues();
  display_values_size_ = record_.GetDisplayValueSize();
  display_values_ = record_.GetDisplayValues();
  fields_.writable = record_.IsSetEnableCurrentValue();
}

bool CachedProperty::same_as(const SCRSDK::CrDeviceProperty& fresh) const {
  return code_ == fresh.GetCode() && fields_.type == static_cast<uint32_t>(fresh.GetValueType()) &&
         enable_flag_ == fresh.GetPropertyEnableFlag() && variable_flag_ == fresh.GetPropertyVariableFlag() &&
         fields_.current == fresh.GetCurrentValue() &&
         same_current_str(fields_.current_str, fresh.GetCurrentStr()) &&
         fields_.size == fresh.GetValueSize() &&
         (fields_.size == 0 || same_bytes(fields_.values, fresh.GetValues(), fields_.size)) &&
         set_values_size_ == fresh.GetSetValueSize() &&
         (set_values_size_ == 0 || same_bytes(set_values_, fresh.GetSetValues(), set_values_size_)) &&
         display_values_size_ == fresh.GetDisplayValueSize() &&
         (display_values_size_ == 0 ||
          same_bytes(display_values_, fresh.GetDisplayValues(), display_values_size_));
}

void CameraDevice::OnPropertyChangedCodes(CrInt32u num, CrInt32u* codes) {
  try {
    SCRSDK::CrDeviceProperty* list = nullptr;
    CrInt32 count = 0;
    if (SCRSDK::GetSelectDeviceProperties(device_handle, num, codes, &list, &count) != 0) {
      {
        // The camera changed these, but the cache cannot follow.
        std::lock_guard<std::mutex> lock(cache_mutex);
        for (CrInt32u i = 0; codes != nullptr && i < num; ++i) stale_codes_.insert(codes[i]);
      }
      write_raw_line("get prop failed");
      open_after_first_batch();
      return;
    }
    std::vector<const CachedProperty*> reported;
    reported.reserve(count > 0 ? static_cast<size_t>(count) : 0);
    {
      std::lock_guard<std::mutex> lock(cache_mutex);
      for (CrInt32 i = 0; list != nullptr && i < count; ++i) {
        const CrInt32u code = list[i].GetCode();
        CachedProperty& cached = properties[code];
        if (!cached.same_as(list[i])) cached.store(list[i]);
        if (!stale_codes_.empty()) stale_codes_.erase(code);
        reported.push_back(&cached);
      }
    }
    {
      std::lock_guard<std::mutex> lock(answer_mutex_);
      if (awaiting_ == Awaiting::kProperty && !quick_in_flight_) {
        for (CrInt32u i = 0; codes != nullptr && i < num; ++i) {
          if (codes[i] == awaited_codes_[0] || codes[i] == awaited_codes_[1]) {
            resolve(true);
            break;
          }
        }
      }
      if (quick_in_flight_) {
        // The "ACK" of the quick-acknowledged write comes first.
        held_entries_.insert(held_entries_.end(), reported.begin(), reported.end());
      } else {
        // The batch's status lines leave together, after the answer, and
        // READY with the first of them.
        OutputBatch lines;
        report_cached(reported);
        if (ready_armed.load() && !ready_sent.exchange(true)) lines.add("READY");
      }
    }
    if (ready_armed.load() && !ready_sent.exchange(true)) write_status_line("READY");
    open_after_first_batch();
    if (SCRSDK::ReleaseDeviceProperties(device_handle, list) != 0) write_raw_line("release prop failed");
  } catch (...) {
  }
}

void CameraDevice::open_after_first_batch() {
  if (!connected_once.load()) return;
  {
    std::lock_guard<std::mutex> lock(answer_mutex_);
    if (first_batch_seen_) return;
    first_batch_seen_ = true;
    answer_changed_.notify_all();
  }
  command_gate->release();
}

void CameraDevice::OnLvPropertyChangedCodes(CrInt32u num, CrInt32u* codes) {
  try {
    SCRSDK::CrLiveViewProperty* list = nullptr;
    CrInt32 count = 0;
    if (SCRSDK::GetSelectLiveViewProperties(device_handle, num, codes, &list, &count) != 0) {
      write_raw_line("get LV prop failed");
      return;
    }
    for (CrInt32 i = 0; i < count; ++i) {
      const CrInt32u code = list[i].GetCode();
      {
        std::lock_guard<std::mutex> lock(cache_mutex);
        lv_properties[code] = list[i];
      }
      if (!is_quiet_live_view_code(code)) {
        log_message("UNHANDLED LVproperty case : " + live_view_property_name(code));
      }
    }
    if (SCRSDK::ReleaseLiveViewProperties(device_handle, list) != 0) write_raw_line("release LV prop failed");
  } catch (...) {
  }
}

void CameraDevice::store_and_report(const SCRSDK::CrDeviceProperty& property) {
  const CrInt32u code = property.GetCode();
  {
    std::lock_guard<std::mutex> lock(cache_mutex);
    properties[code].store(property);
    stale_codes_.erase(code);
  }
  report_property(code);
}

void CameraDevice::report_property(uint32_t code) {
  // Under the answer lock, so that the line keeps its place among the lines
  // of the property batches.
  std::lock_guard<std::mutex> lock(answer_mutex_);
  report_cached(code);
}

void CameraDevice::flush_held_reports() {
  std::vector<const CachedProperty*> held;
  held.swap(held_entries_);
  OutputBatch lines;
  report_cached(held);
}

void CameraDevice::report_cached(uint32_t code) {
  // Composed from the cached record under the lock (no copy of the record
  // and its buffers); written without it.
  bool composed = false;
  line_buffer_.clear();
  {
    std::lock_guard<std::mutex> lock(cache_mutex);
    const auto found = properties.find(code);
    if (found != properties.end()) {
      composed = compose_cached_line(code, found->second, &line_buffer_);
    } else {
      const CachedProperty no_record;
      composed = compose_cached_line(code, no_record, &line_buffer_);
    }
  }
  if (!composed) return;
  write_report_line(line_buffer_.view());
  log_message(line_buffer_.view());
}

void CameraDevice::report_cached(const std::vector<const CachedProperty*>& entries) {
  // One lock for the whole batch: the lines are composed one after another
  // into one buffer, which joins the open batch at the end.
  std::lock_guard<std::mutex> lock(cache_mutex);
  const bool logging = log_enabled();
  line_buffer_.clear();
  for (const CachedProperty* entry : entries) {
    const size_t start = line_buffer_.size();
    if (!compose_cached_line(entry->code(), *entry, &line_buffer_)) continue;
    if (logging) log_message(line_buffer_.view().substr(start));
    line_buffer_.push_back('\n');
  }
  write_report_lines(line_buffer_.view());
}

bool CameraDevice::compose_cached_line(uint32_t code, const CachedProperty& cached, TextWriter* line) {
  const std::string_view kept = cached.kept_line();
  if (!kept.empty()) {
    line->append(kept);
    return true;
  }
  const PropertyInfo* row = find_property(code);
  const bool black_level_alias = (model == 20 || model == 21) && code == kBlackLevelCode;
  if (!black_level_alias && row == nullptr) {
    log_unhandled_property(code);
    return false;
  }
  const PropertyFields& fields = cached.fields();
  const size_t start = line->size();
  bool quiet = false;
  if (black_level_alias) {
    // These models carry their black level under 0x2AC; the parent knows
    // it by the name "PP_BLACK_LEVEL".
    constexpr std::string_view kBlackLevelKey = "PP_BLACK_LEVEL";
    if (row != nullptr) {
      append_status_line(kBlackLevelKey, fields, row->toText, row->skipValue, row->listValues, line);
    } else {
      append_status_line(kBlackLevelKey, fields, numeric_text, keep_all, false, line);
    }
  } else {
    quiet = append_status_line(row->name, fields, row->toText, row->skipValue, row->listValues, line);
  }
  // Kept unless its composition logged something (it is logged again next
  // time) or its key depends on the model (0x2AC).
  if (quiet && code != kBlackLevelCode) cached.keep_line(line->view().substr(start));
  return true;
}
