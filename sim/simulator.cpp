// The simulated camera's state, its callback delivery thread, the control
// FIFO reader and the trace.
#include "sim/simulator.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "sim/trace_format.h"

namespace sim {

namespace {

std::string callback_trace(const Callback& c) {
  switch (c.kind) {
    case Callback::Kind::kConnected:
      return "callback OnConnected version=" + std::to_string(c.value);
    case Callback::Kind::kDisconnected:
      return "callback OnDisconnected error=" + hex(c.value);
    case Callback::Kind::kError:
      return "callback OnError error=" + hex(c.value);
    case Callback::Kind::kWarning:
      return "callback OnWarning warning=" + hex(c.value);
    case Callback::Kind::kWarningExt:
      return "callback OnWarningExt warning=" + hex(c.value) + " param1=" + std::to_string(c.params[0]) +
             " param2=" + std::to_string(c.params[1]) + " param3=" + std::to_string(c.params[2]);
    case Callback::Kind::kPropertyChanged:
      return "callback OnPropertyChanged";
    case Callback::Kind::kPropertyChangedCodes:
      return "callback OnPropertyChangedCodes codes=" + hex_list(c.codes);
    case Callback::Kind::kLvPropertyChangedCodes:
      return "callback OnLvPropertyChangedCodes codes=" + hex_list(c.codes);
    case Callback::Kind::kCompleteDownload:
      return "callback OnCompleteDownload filename=" + c.name;
    case Callback::Kind::kContentsTransfer:
      return "callback OnNotifyContentsTransfer notify=0x0 handle=0";
  }
  return "callback";
}

void deliver(SCRSDK::IDeviceCallback* target, Callback c) {
  switch (c.kind) {
    case Callback::Kind::kConnected:
      target->OnConnected(static_cast<SCRSDK::DeviceConnectionVersioin>(c.value));
      break;
    case Callback::Kind::kDisconnected:
      target->OnDisconnected(c.value);
      break;
    case Callback::Kind::kError:
      target->OnError(c.value);
      break;
    case Callback::Kind::kWarning:
      target->OnWarning(c.value);
      break;
    case Callback::Kind::kWarningExt:
      target->OnWarningExt(c.value, c.params[0], c.params[1], c.params[2]);
      break;
    case Callback::Kind::kPropertyChanged:
      target->OnPropertyChanged();
      break;
    case Callback::Kind::kPropertyChangedCodes:
      target->OnPropertyChangedCodes(static_cast<CrInt32u>(c.codes.size()), c.codes.data());
      break;
    case Callback::Kind::kLvPropertyChangedCodes:
      target->OnLvPropertyChangedCodes(static_cast<CrInt32u>(c.codes.size()), c.codes.data());
      break;
    case Callback::Kind::kCompleteDownload:
      target->OnCompleteDownload(&c.name[0]);
      break;
    case Callback::Kind::kContentsTransfer:
      target->OnNotifyContentsTransfer(0, 0);
      break;
  }
}

// Plain reads rather than a file stream: a stream would set up the C++
// locale, which is most of the work of a vk-sony -v under a scenario file.
bool read_file(const std::string& path, std::string* text, std::string* error) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    *error = std::strerror(errno);
    return false;
  }
  // Read straight into the string, sized by the file (one byte more, so the
  // read that sees the end needs no room of its own).
  struct stat info {};
  const bool sized = ::fstat(fd, &info) == 0 && info.st_size > 0;
  text->resize(sized ? static_cast<std::size_t>(info.st_size) + 1 : 4096);
  std::size_t used = 0;
  for (;;) {
    if (used == text->size()) text->resize(2 * used);
    const ssize_t n = ::read(fd, &(*text)[used], text->size() - used);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) {
      *error = std::strerror(errno);
      ::close(fd);
      return false;
    }
    if (n == 0) break;
    used += static_cast<std::size_t>(n);
  }
  text->resize(used);
  ::close(fd);
  return true;
}

// The lines of `text` that hold the directive `name`.
std::string directive_lines(const std::string& text, const std::string& name) {
  // Searched for by name rather than line by line: the version lines of a
  // scenario of hundreds of properties are found at every start (vk-sony -v).
  std::string lines;
  for (std::size_t at = text.find(name); at != std::string::npos; at = text.find(name, at + 1)) {
    const std::size_t newline = at == 0 ? std::string::npos : text.rfind('\n', at - 1);
    const std::size_t start = newline == std::string::npos ? 0 : newline + 1;
    const std::size_t after = at + name.size();
    if (text.find_first_not_of(" \t", start) != at) continue;
    if (after < text.size() && text[after] != ' ' && text[after] != '\t' && text[after] != '\n') continue;
    std::size_t end = text.find('\n', after);
    if (end == std::string::npos) end = text.size();
    lines.append(text, start, end - start).push_back('\n');
    at = end;
  }
  return lines;
}

void report(const std::string& what) {
  const std::string line = "vk-sony simulator: " + what + "\n";
  std::fputs(line.c_str(), stderr);
  std::fflush(stderr);
}

void join_or_detach(std::thread* thread) {
  if (!thread->joinable()) return;
  // Release from inside a callback cannot join its own thread.
  if (thread->get_id() == std::this_thread::get_id()) {
    thread->detach();
  } else {
    thread->join();
  }
}

}  // namespace

Simulator& Simulator::instance() {
  static Simulator* simulator = new Simulator();  // never destroyed: threads may use it until exit
  return *simulator;
}

// ---- trace ----

void Simulator::trace(const std::string& line) {
  std::lock_guard<std::mutex> lock(trace_mu_);
  const Clock::time_point now = Clock::now();
  if (!t0_set_) {
    t0_ = now;
    t0_set_ = true;
  }
  if (keep_lines_) trace_lines_.push_back(line);
  if (trace_fd_ >= 0) {
    const long long us = std::chrono::duration_cast<std::chrono::microseconds>(now - t0_).count();
    const std::string out = std::to_string(us) + " " + line + "\n";
    // One write() on an O_APPEND descriptor keeps lines whole.
    if (::write(trace_fd_, out.data(), out.size()) < 0) {
      // Nothing to do: the trace is best effort.
    }
  }
}

void Simulator::keep_trace_lines() {
  std::lock_guard<std::mutex> lock(trace_mu_);
  keep_lines_ = true;
  update_tracing_locked();
}

void Simulator::update_tracing_locked() { tracing_.store(keep_lines_ || trace_fd_ >= 0); }

std::vector<std::string> Simulator::trace_lines() {
  std::lock_guard<std::mutex> lock(trace_mu_);
  return trace_lines_;
}

void Simulator::clear_trace() {
  std::lock_guard<std::mutex> lock(trace_mu_);
  trace_lines_.clear();
}

void Simulator::open_environment() {
  {
    std::lock_guard<std::mutex> lock(trace_mu_);
    const char* path = std::getenv("VK_SONY_SIM_TRACE");
    if (path != nullptr && *path != '\0' && trace_fd_ < 0) {
      trace_fd_ = ::open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
      if (trace_fd_ < 0) report(std::string(path) + ": " + std::strerror(errno));
      update_tracing_locked();
    }
  }
  const char* control = std::getenv("VK_SONY_SIM_CONTROL");
  std::lock_guard<std::mutex> lock(mu_);
  control_path_ = control != nullptr ? control : "";
}

// ---- scenario ----

bool Simulator::init_scenario() {
  std::lock_guard<std::mutex> lock(mu_);
  if (!loaded_by_test_) {
    const char* env = std::getenv("VK_SONY_SIM_SCENARIO");
    std::string path = "default.scenario";
    std::string text = kDefaultScenario;
    std::string error;
    if (env != nullptr && *env != '\0') {
      path = env;
      if (!read_file(path, &text, &error)) {
        report(path + ": " + error);
        return false;
      }
    }
    Scenario parsed;
    if (!parse_scenario(text, &parsed, &error)) {
      report(path + ":" + error);
      return false;
    }
    set_scenario_locked(std::move(parsed));
  }
  return !scenario_->fail_init;
}

bool Simulator::load_scenario_text(const std::string& text, std::string* error) {
  Scenario parsed;
  if (!parse_scenario(text, &parsed, error)) return false;
  std::lock_guard<std::mutex> lock(mu_);
  set_scenario_locked(std::move(parsed));
  loaded_by_test_ = true;
  return true;
}

void Simulator::set_scenario_locked(Scenario scenario) {
  props_ = scenario.properties;
  prop_index_.clear();
  packed_.clear();
  for (std::size_t i = 0; i < props_.size(); ++i) {
    prop_index_[props_[i].code] = i;
    packed_.push_back(packed_candidates(props_[i]));  // candidates never change after loading
  }
  scenario_ = std::make_shared<const Scenario>(std::move(scenario));
  loaded_ = true;
}

uint32_t Simulator::peek_sdk_version() {
  {
    std::lock_guard<std::mutex> lock(mu_);
    if (loaded_) return scenario_->sdk_version;
  }
  const char* env = std::getenv("VK_SONY_SIM_SCENARIO");
  std::string text;
  std::string error;
  Scenario parsed;
  if (env != nullptr && *env != '\0') {
    if (!read_file(env, &text, &error)) return parsed.sdk_version;
  } else {
    text = kDefaultScenario;
  }
  // Only the version lines are parsed, not every property at each start
  // (vk-sony -v); whether the rest parses is Init's business.
  if (!parse_scenario(directive_lines(text, "sdk-version"), &parsed, &error)) return Scenario().sdk_version;
  return parsed.sdk_version;
}

std::shared_ptr<const Scenario> Simulator::scenario() {
  std::lock_guard<std::mutex> lock(mu_);
  if (!loaded_) {
    // Calls made without Init see the default scenario.
    Scenario parsed;
    std::string error;
    if (parse_scenario(kDefaultScenario, &parsed, &error)) set_scenario_locked(std::move(parsed));
  }
  return scenario_;
}

// ---- device ----

void Simulator::connect(SCRSDK::IDeviceCallback* callback, CrInt64* handle) {
  {
    std::lock_guard<std::mutex> lock(mu_);
    connect_locked(callback, handle);
  }
  // Woken after the lock is released, the delivery thread does not block on it.
  wake_dispatcher();
  cv_.notify_all();
}

void Simulator::connect_locked(SCRSDK::IDeviceCallback* callback, CrInt64* handle) {
  handle_ = ++next_handle_;
  // Written under the lock that the delivery thread takes before each
  // callback, so callbacks see the handle.
  *handle = handle_;
  callback_ = callback;
  connected_ = true;
  ++generation_;
  start_threads_locked();
  std::vector<uint32_t> codes;
  for (const ScenarioProperty& p : props_) codes.push_back(p.code);
  std::vector<uint32_t> lv_codes;
  for (const ScenarioLiveViewProperty& p : scenario_->lv_properties) lv_codes.push_back(p.code);
  Callback connected;
  connected.kind = Callback::Kind::kConnected;
  connected.value = scenario_->connect_version;
  Callback changed;
  changed.kind = Callback::Kind::kPropertyChangedCodes;
  changed.codes = codes;
  Callback lv_changed;
  lv_changed.kind = Callback::Kind::kLvPropertyChangedCodes;
  lv_changed.codes = lv_codes;
  queue_locked({connected, changed, lv_changed}, std::chrono::milliseconds(0), true);
  for (const ScenarioEvent& event : scenario_->events) {
    ControlEvent parsed;
    if (parse_control_line(event.line, &parsed)) {
      apply_locked(parsed, std::chrono::milliseconds(event.after_ms), false);
    }
  }
}

void Simulator::disconnect(CrInt64 handle) {
  std::lock_guard<std::mutex> lock(mu_);
  if (handle != handle_) return;
  connected_ = false;
  ++generation_;  // drops whatever is still queued
  cv_.notify_all();
}

void Simulator::release_device(CrInt64 handle) {
  std::lock_guard<std::mutex> lock(mu_);
  if (handle != handle_ || handle_ == 0) return;
  connected_ = false;
  ++generation_;
  handle_ = 0;
  callback_ = nullptr;
  cv_.notify_all();
}

bool Simulator::knows(CrInt64 handle) {
  std::lock_guard<std::mutex> lock(mu_);
  return handle_ != 0 && handle == handle_;
}

// ---- properties ----

ScenarioProperty* Simulator::find_locked(uint32_t code) {
  const auto found = prop_index_.find(code);
  return found == prop_index_.end() ? nullptr : &props_[found->second];
}

bool Simulator::find_property(uint32_t code, ScenarioProperty* property) {
  std::lock_guard<std::mutex> lock(mu_);
  const ScenarioProperty* found = find_locked(code);
  if (found != nullptr) *property = *found;
  return found != nullptr;
}

bool Simulator::store_value(uint32_t code, uint64_t value) {
  std::lock_guard<std::mutex> lock(mu_);
  return store_value_locked(code, value);
}

bool Simulator::store_value_locked(uint32_t code, uint64_t value) {
  ScenarioProperty* p = find_locked(code);
  if (p == nullptr || p->value == value) return false;
  p->value = value;
  return true;
}

// ---- callback queue ----

void Simulator::queue(std::vector<Callback> callbacks, std::chrono::milliseconds delay, bool awaited) {
  {
    std::lock_guard<std::mutex> lock(mu_);
    queue_locked(std::move(callbacks), delay, awaited);
  }
  wake_dispatcher();
  cv_.notify_all();
}

void Simulator::queue_locked(std::vector<Callback> callbacks, std::chrono::milliseconds delay, bool awaited) {
  if (!connected_) return;
  const Clock::time_point due = Clock::now() + delay;
  for (Callback& c : callbacks) queue_.push_back(Entry{due, seq_++, generation_, awaited, std::move(c)});
}

void Simulator::apply(const ControlEvent& event, std::chrono::milliseconds delay, bool awaited) {
  {
    std::lock_guard<std::mutex> lock(mu_);
    apply_locked(event, delay, awaited);
  }
  wake_dispatcher();
  cv_.notify_all();
}

void Simulator::apply_locked(const ControlEvent& event, std::chrono::milliseconds delay, bool awaited) {
  Callback c;
  c.value = event.code;
  switch (event.kind) {
    case ControlKind::kDisconnect:
      c.kind = Callback::Kind::kDisconnected;
      break;
    case ControlKind::kError:
      c.kind = Callback::Kind::kError;
      break;
    case ControlKind::kWarning:
      c.kind = Callback::Kind::kWarning;
      break;
    case ControlKind::kWarningExt:
      c.kind = Callback::Kind::kWarningExt;
      std::copy(event.params, event.params + 3, c.params);
      break;
    case ControlKind::kChange: {
      // A timed change takes effect when it is due, not when it is queued.
      if (delay.count() == 0) store_value_locked(event.code, event.value);
      Callback changed;
      changed.kind = Callback::Kind::kPropertyChanged;
      Callback codes;
      codes.kind = Callback::Kind::kPropertyChangedCodes;
      codes.codes = {event.code};
      if (delay.count() != 0) {
        changed.store = true;
        changed.store_code = event.code;
        changed.store_value = event.value;
      }
      queue_locked({changed, codes}, delay, awaited);
      return;
    }
    case ControlKind::kNotify:
      c.kind = Callback::Kind::kPropertyChangedCodes;
      c.codes = event.codes;
      break;
    case ControlKind::kLvNotify:
      c.kind = Callback::Kind::kLvPropertyChangedCodes;
      c.codes = event.codes;
      break;
    case ControlKind::kDownload:
      c.kind = Callback::Kind::kCompleteDownload;
      c.name = event.name;
      break;
    case ControlKind::kContentsTransfer:
      c.kind = Callback::Kind::kContentsTransfer;
      break;
  }
  std::vector<Callback> callbacks;
  callbacks.push_back(std::move(c));  // a notify's codes are not copied again
  queue_locked(std::move(callbacks), delay, awaited);
}

bool Simulator::wait_idle(std::chrono::milliseconds timeout) {
  std::unique_lock<std::mutex> lock(mu_);
  const Clock::time_point called = Clock::now();
  return cv_.wait_until(lock, called + timeout, [&] {
    if (busy_) return false;
    for (const Entry& e : queue_) {
      if (e.generation == generation_ && (e.awaited || e.due <= called)) return false;
    }
    return true;
  });
}

uint32_t Simulator::next_frame() {
  std::lock_guard<std::mutex> lock(mu_);
  return ++frame_no_;
}

void Simulator::start_threads_locked() {
  stop_ = false;
  if (dispatcher_.joinable()) return;
  if (wake_fd_.load() < 0) wake_fd_.store(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC));
  int control_fd = -1;
  if (!control_path_.empty()) {
    // The FIFO exists and is open for reading before Connect returns, so a
    // writer may open it at once.
    if (::mkfifo(control_path_.c_str(), 0600) != 0 && errno != EEXIST) {
      report("control: " + control_path_ + ": " + std::strerror(errno));
    } else if ((control_fd = ::open(control_path_.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)) < 0) {
      report("control: " + control_path_ + ": " + std::strerror(errno));
    }
  }
  dispatcher_ = std::thread(
      [this, run = run_, path = control_path_, control_fd] { dispatch_loop(run, path, control_fd); });
}

void Simulator::wake_dispatcher() {
  const uint64_t one = 1;
  const int fd = wake_fd_.load();
  if (fd >= 0 && ::write(fd, &one, sizeof one) < 0) {
    // Already readable (the counter is full): the dispatcher wakes anyway.
  }
}

void Simulator::dispatch_loop(uint64_t run, const std::string& control_path, int control_fd) {
  // Holding a write end ourselves keeps the FIFO from reporting end of file
  // between writers that open and close it.
  const int keep_open = control_fd < 0 ? -1 : ::open(control_path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
  std::string pending;  // control text not yet ended by a newline
  std::unique_lock<std::mutex> lock(mu_);
  // A dispatcher left running by a Release made from inside a callback ends
  // when that callback returns, even if a new run has started meanwhile.
  while (!stop_ && run == run_) {
    auto next = std::min_element(queue_.begin(), queue_.end(), [](const Entry& a, const Entry& b) {
      return a.due != b.due ? a.due < b.due : a.seq < b.seq;
    });
    const Clock::time_point now = Clock::now();
    if (next == queue_.end() || next->due > now) {
      // Nothing due: sleep until the next entry is, a wake-up or a control
      // line, without the lock. A line read here is queued and delivered by
      // this same thread, with no hand-over to another.
      const int wake_fd = wake_fd_.load();
      std::chrono::nanoseconds wait = std::chrono::nanoseconds::max();
      if (next != queue_.end()) wait = next->due - now;
      // Without a wake-up descriptor (none could be made) it looks again
      // every millisecond.
      if (wake_fd < 0) wait = std::min<std::chrono::nanoseconds>(wait, std::chrono::milliseconds(1));
      const bool timed = wait != std::chrono::nanoseconds::max();
      lock.unlock();
      const timespec timeout{static_cast<time_t>(wait.count() / 1000000000),
                             static_cast<long>(wait.count() % 1000000000)};
      pollfd fds[2] = {{wake_fd, POLLIN, 0}, {control_fd, POLLIN, 0}};
      const int ready = ::ppoll(fds, control_fd < 0 ? 1 : 2, timed ? &timeout : nullptr, nullptr);
      if (ready > 0 && (fds[0].revents & POLLIN) != 0) {
        uint64_t count = 0;
        if (::read(wake_fd, &count, sizeof count) < 0) {
          // Drained by nobody else; nothing to do.
        }
      }
      if (ready > 0 && (fds[1].revents & POLLIN) != 0) read_control(control_fd, &pending);
      lock.lock();
      continue;
    }
    Entry entry = std::move(*next);
    queue_.erase(next);
    if (entry.generation != generation_ || !connected_ || callback_ == nullptr) {
      cv_.notify_all();
      continue;
    }
    if (entry.callback.store) store_value_locked(entry.callback.store_code, entry.callback.store_value);
    SCRSDK::IDeviceCallback* target = callback_;
    const bool ends_connection = entry.callback.kind == Callback::Kind::kDisconnected;
    busy_ = true;
    lock.unlock();
    if (tracing()) trace(callback_trace(entry.callback));
    deliver(target, std::move(entry.callback));
    lock.lock();
    busy_ = false;
    if (ends_connection && entry.generation == generation_) {
      connected_ = false;
      ++generation_;
    }
    cv_.notify_all();
  }
  lock.unlock();
  if (keep_open >= 0) ::close(keep_open);
  if (control_fd >= 0) ::close(control_fd);
}

// ---- control FIFO ----

void Simulator::read_control(int fd, std::string* pending) {
  // Room for a whole line of hundreds of codes, so that it takes one read.
  char buffer[8192];
  const ssize_t got = ::read(fd, buffer, sizeof buffer);
  if (got <= 0) return;
  pending->append(buffer, static_cast<std::size_t>(got));
  std::size_t start = 0;
  for (std::size_t newline; (newline = pending->find('\n', start)) != std::string::npos;
       start = newline + 1) {
    handle_control_line(std::string_view(*pending).substr(start, newline - start));
  }
  pending->erase(0, start);
}

void Simulator::handle_control_line(std::string_view line) {
  while (!line.empty() && (line.back() == '\r' || line.back() == ' ' || line.back() == '\t'))
    line.remove_suffix(1);
  if (line.find_first_not_of(" \t") == std::string_view::npos) return;
  ControlEvent event;
  if (!parse_control_line(line, &event)) {
    report("control: " + std::string(line));
    return;
  }
  // Read by the dispatcher itself, which looks at the queue next: no wake-up.
  std::lock_guard<std::mutex> lock(mu_);
  apply_locked(event, std::chrono::milliseconds(0), true);
}

// ---- shutdown ----

void Simulator::shut_down(bool forget_scenario) {
  std::thread dispatcher;
  {
    std::lock_guard<std::mutex> lock(mu_);
    stop_ = true;
    ++run_;
    connected_ = false;
    ++generation_;
    cv_.notify_all();
    wake_dispatcher();
    dispatcher = std::move(dispatcher_);
  }
  join_or_detach(&dispatcher);
  {
    std::lock_guard<std::mutex> lock(mu_);
    stop_ = false;
    queue_.clear();
    busy_ = false;
    callback_ = nullptr;
    handle_ = 0;
    if (forget_scenario) {
      loaded_ = false;
      loaded_by_test_ = false;
      scenario_ = std::make_shared<const Scenario>();
      props_.clear();
      prop_index_.clear();
      packed_.clear();
      frame_no_ = 0;
    }
  }
  if (forget_scenario) {
    close_trace();
    std::lock_guard<std::mutex> lock(trace_mu_);
    trace_lines_.clear();
    t0_set_ = false;
  }
}

void Simulator::close_trace() {
  std::lock_guard<std::mutex> lock(trace_mu_);
  if (trace_fd_ >= 0) ::close(trace_fd_);
  trace_fd_ = -1;
  update_tracing_locked();
}

}  // namespace sim
