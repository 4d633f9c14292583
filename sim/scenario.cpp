// Parsing of scenario files and control lines.
#include <array>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <utility>

#include "sim/sim_internal.h"

namespace sim {

namespace {

struct TypeName {
  const char* name;
  uint32_t type;
};

constexpr TypeName kTypeNames[] = {
    {"Undefined", 0x0},      {"UInt8", 0x1},           {"UInt16", 0x2},         {"UInt32", 0x3},
    {"UInt64", 0x4},         {"UInt128", 0x5},         {"Int8", 0x1001},        {"Int16", 0x1002},
    {"Int32", 0x1003},       {"Int64", 0x1004},        {"Int128", 0x1005},      {"UInt8Array", 0x2001},
    {"UInt16Array", 0x2002}, {"UInt32Array", 0x2003},  {"UInt64Array", 0x2004}, {"UInt128Array", 0x2005},
    {"Int8Array", 0x3001},   {"Int16Array", 0x3002},   {"Int32Array", 0x3003},  {"Int64Array", 0x3004},
    {"Int128Array", 0x3005}, {"UInt8Range", 0x4001},   {"UInt16Range", 0x4002}, {"UInt32Range", 0x4003},
    {"UInt64Range", 0x4004}, {"UInt128Range", 0x4005}, {"Int8Range", 0x5001},   {"Int16Range", 0x5002},
    {"Int32Range", 0x5003},  {"Int64Range", 0x5004},   {"Int128Range", 0x5005}, {"STR", 0xFFFF},
    {"Button", 0x12002},
};

// Whether `c` separates words.
bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

// Whether a character ends a word that is not a quoted text: a blank or the
// start of a comment. A table, as the words of a line are read character by
// character.
constexpr std::array<bool, 256> kEndsWord = [] {
  std::array<bool, 256> ends{};
  for (const char c : {' ', '\t', '\r', '#'}) ends[static_cast<unsigned char>(c)] = true;
  return ends;
}();

// The value of a character as a hexadecimal digit; 16 for one that is not.
constexpr std::array<uint8_t, 256> kHexDigits = [] {
  std::array<uint8_t, 256> digits{};
  for (uint8_t& digit : digits) digit = 16;
  for (int i = 0; i < 10; ++i) digits['0' + i] = static_cast<uint8_t>(i);
  for (int i = 0; i < 6; ++i) {
    digits['a' + i] = static_cast<uint8_t>(10 + i);
    digits['A' + i] = static_cast<uint8_t>(10 + i);
  }
  return digits;
}();

bool is_digit(char c) { return c >= '0' && c <= '9'; }

// Reads a decimal or 0x-hexadecimal number, optionally negative (two's
// complement), from `p` up to the first character that cannot continue it.
// The end of the number; null when there is none or it needs more than 64
// bits.
const char* read_number(const char* p, const char* end, uint64_t* value) {
  const bool negative = p != end && *p == '-';
  if (negative) ++p;
  if (p == end || !is_digit(*p)) return nullptr;
  uint64_t parsed = 0;
  if (end - p > 1 && p[0] == '0' && (p[1] == 'x' || p[1] == 'X')) {
    p += 2;
    const char* const first = p;
    while (p != end && *p == '0') ++p;
    const char* const significant = p;
    for (; p != end && kHexDigits[static_cast<unsigned char>(*p)] != 16; ++p) {
      parsed = parsed << 4 | kHexDigits[static_cast<unsigned char>(*p)];
    }
    // Digits after the prefix, sixteen at most past leading zeros.
    if (p == first || p - significant > 16) return nullptr;
  } else {
    for (; p != end && is_digit(*p); ++p) {
      if (__builtin_mul_overflow(parsed, 10u, &parsed) ||
          __builtin_add_overflow(parsed, static_cast<unsigned>(*p - '0'), &parsed)) {
        return nullptr;
      }
    }
  }
  *value = negative ? static_cast<uint64_t>(0) - parsed : parsed;
  return p;
}

// A word that is a number of read_number and nothing else.
bool parse_number(std::string_view word, uint64_t* value) {
  const char* const end = word.data() + word.size();
  return read_number(word.data(), end, value) == end;
}

// A number of 32 bits, not negative.
bool parse_u32(std::string_view word, uint32_t* value) {
  uint64_t wide = 0;
  if (!parse_number(word, &wide) || word[0] == '-' || wide > 0xFFFFFFFFull) return false;
  *value = static_cast<uint32_t>(wide);
  return true;
}

// The words of a line one at a time, views into the line; a double-quoted
// text is one word (kept with its quotes) and `#` outside quotes starts a
// comment.
class Words {
 public:
  explicit Words(std::string_view line) : next_(line.data()), end_(line.data() + line.size()) {}

  // The next word; false at the end of the line, or on an open quote (then
  // open_quote() says so).
  bool next(std::string_view* word) {
    while (next_ != end_ && is_blank(*next_)) ++next_;
    if (next_ == end_ || *next_ == '#') return false;
    const char* const start = next_;
    if (*start == '"') {
      const void* close = std::memchr(start + 1, '"', static_cast<std::size_t>(end_ - start - 1));
      if (close == nullptr) {
        open_quote_ = true;
        return false;
      }
      next_ = static_cast<const char*>(close) + 1;
    } else {
      while (next_ != end_ && !kEndsWord[static_cast<unsigned char>(*next_)]) ++next_;
    }
    *word = std::string_view(start, static_cast<std::size_t>(next_ - start));
    return true;
  }
  // The next word read as a number in the same pass, a number of
  // parse_number (with `u32`: of parse_u32): false at the end of the line
  // and, with *not_number set, on a word that is no such number.
  bool next_number(uint64_t* value, bool u32, bool* not_number) {
    while (next_ != end_ && is_blank(*next_)) ++next_;
    if (next_ == end_ || *next_ == '#') return false;
    const char* const after = u32 && *next_ == '-' ? nullptr : read_number(next_, end_, value);
    if (after == nullptr || (after != end_ && !kEndsWord[static_cast<unsigned char>(*after)]) ||
        (u32 && *value > 0xFFFFFFFFull)) {
      *not_number = true;
      return false;
    }
    next_ = after;
    return true;
  }
  // Whether the line is spent: no more words, no open quote.
  bool at_end() {
    std::string_view word;
    return !next(&word) && !open_quote_;
  }
  bool open_quote() const { return open_quote_; }

 private:
  const char* next_;  // the rest of the line
  const char* end_;
  bool open_quote_ = false;
};

// Splits a line into words (see Words). False on an open quote.
bool split(std::string_view line, std::vector<std::string_view>* words) {
  Words reader(line);
  std::string_view word;
  while (reader.next(&word)) words->push_back(word);
  return !reader.open_quote();
}

bool parse_type(const std::string& word, uint32_t* type) {
  for (const TypeName& entry : kTypeNames) {
    if (word == entry.name) {
      *type = entry.type;
      return true;
    }
  }
  return parse_u32(word, type);
}

bool parse_mac(const std::string& word, uint8_t mac[6]) {
  unsigned parts[6];
  char tail = 0;
  if (std::sscanf(word.c_str(), "%2x:%2x:%2x:%2x:%2x:%2x%c", &parts[0], &parts[1], &parts[2], &parts[3],
                  &parts[4], &parts[5], &tail) != 6) {
    return false;
  }
  for (int i = 0; i < 6; ++i) mac[i] = static_cast<uint8_t>(parts[i]);
  return true;
}

bool parse_ipv4(const std::string& word) {
  unsigned a, b, c, d;
  char tail = 0;
  return std::sscanf(word.c_str(), "%u.%u.%u.%u%c", &a, &b, &c, &d, &tail) == 4 && a < 256 && b < 256 &&
         c < 256 && d < 256;
}

bool is_failable_call(const std::string& call) {
  static const char* const kCalls[] = {"init",
                                       "enum",
                                       "enum-null",
                                       "create",
                                       "fingerprint",
                                       "connect",
                                       "get-properties",
                                       "release-properties",
                                       "get-lv-properties",
                                       "release-lv-properties",
                                       "menu",
                                       "lut",
                                       "live-view"};
  for (const char* name : kCalls) {
    if (call == name) return true;
  }
  return false;
}

// The largest candidate buffer a scenario may ask for (`size=`).
constexpr uint32_t kMaxDeclaredSize = 16u << 20;

bool parse_hex_bytes(const std::string& text, std::vector<uint8_t>* bytes) {
  if (text.size() % 2 != 0) return false;
  for (std::size_t i = 0; i < text.size(); i += 2) {
    unsigned value = 0;
    for (std::size_t k = i; k < i + 2; ++k) {
      const char c = text[k];
      unsigned digit = 0;
      if (c >= '0' && c <= '9') {
        digit = static_cast<unsigned>(c - '0');
      } else if (c >= 'a' && c <= 'f') {
        digit = static_cast<unsigned>(c - 'a' + 10);
      } else if (c >= 'A' && c <= 'F') {
        digit = static_cast<unsigned>(c - 'A' + 10);
      } else {
        return false;
      }
      value = value * 16 + digit;
    }
    bytes->push_back(static_cast<uint8_t>(value));
  }
  return true;
}

// One raw attribute of a `property` line (NAME=VALUE); "" or what is wrong.
std::string parse_property_attribute(const std::string& word, ScenarioProperty* p) {
  const std::size_t eq = word.find('=');
  const std::string name = word.substr(0, eq);
  const std::string value = word.substr(eq + 1);
  if (name == "type") {
    if (!parse_type(value, &p->declared_type)) return "unknown data type: " + value;
    p->declares_type = true;
  } else if (name == "bytes") {
    p->bytes.clear();
    if (!parse_hex_bytes(value, &p->bytes)) return "bytes needs pairs of hexadecimal digits: " + value;
    p->raw_bytes = true;
  } else if (name == "size") {
    if (!parse_u32(value, &p->declared_size)) return "bad size: " + value;
    p->declares_size = true;
  } else if (name == "values" && value == "null") {
    p->null_values = true;
  } else if (name == "str-length") {
    uint32_t length = 0;
    if (p->type != SCRSDK::CrDataType_STR) return "str-length needs a STR property";
    if (!parse_u32(value, &length) || length > 0xFFFF) return "bad str-length: " + value;
    p->declared_length = static_cast<uint16_t>(length);
    p->declares_length = true;
  } else if (name == "str" && value == "null") {
    if (p->type != SCRSDK::CrDataType_STR) return "str=null needs a STR property";
    p->null_str = true;
  } else {
    return "unknown property attribute: " + word;
  }
  return "";
}

// Parses the words of one directive; returns "" or what is wrong.
std::string parse_directive(const std::vector<std::string>& w, Scenario* s) {
  const std::string& d = w[0];
  const std::size_t n = w.size();
  if (d == "sdk-version") {
    unsigned major, minor, patch;
    char tail = 0;
    if (n != 2 || std::sscanf(w[1].c_str(), "%u.%u.%u%c", &major, &minor, &patch, &tail) != 3 ||
        major > 255 || minor > 255 || patch > 255) {
      return "sdk-version needs MAJOR.MINOR.PATCH";
    }
    s->sdk_version = major << 24 | minor << 16 | patch << 8;
  } else if (d == "camera") {
    if (n < 4) return "camera needs TYPE MODEL and an id";
    ScenarioCamera camera;
    camera.type = w[1];
    camera.model = w[2];
    camera.id = w[3];
    if (camera.type == "IP") {
      if (n < 5 || n > 6) return "camera IP needs MODEL ADDRESS MAC [ssh|no-ssh]";
      if (!parse_ipv4(w[3])) return "bad IPv4 address: " + w[3];
      if (!parse_mac(w[4], camera.mac)) return "bad MAC address: " + w[4];
      if (n == 6) {
        if (w[5] == "ssh") {
          camera.ssh = 1;
        } else if (w[5] == "no-ssh") {
          camera.ssh = 0;
        } else {
          return "expected ssh or no-ssh: " + w[5];
        }
      }
    } else if (n != 4) {
      return "camera " + camera.type + " needs MODEL and one id";
    }
    s->cameras.push_back(camera);
  } else if (d == "connect-version") {
    if (n != 2 || !parse_u32(w[1], &s->connect_version)) return "connect-version needs a number";
  } else if (d == "property") {
    if (n < 5) return "property needs CODE TYPE VALUE rw|ro";
    ScenarioProperty p;
    if (!parse_u32(w[1], &p.code)) return "bad property code: " + w[1];
    if (!parse_type(w[2], &p.type)) return "unknown data type: " + w[2];
    if (p.type == SCRSDK::CrDataType_STR) {
      if (w[3].size() < 2 || w[3].front() != '"') return "a STR value is a double-quoted text";
      p.text = w[3].substr(1, w[3].size() - 2);
    } else if (!parse_number(w[3], &p.value)) {
      return "bad value: " + w[3];
    }
    if (w[4] == "rw") {
      p.writable = true;
    } else if (w[4] == "ro") {
      p.writable = false;
    } else {
      return "expected rw or ro: " + w[4];
    }
    for (std::size_t i = 5; i < n; ++i) {
      if (w[i].find('=') != std::string::npos) {
        const std::string wrong = parse_property_attribute(w[i], &p);
        if (!wrong.empty()) return wrong;
        continue;
      }
      uint64_t candidate = 0;
      if (!parse_number(w[i], &candidate)) return "bad candidate: " + w[i];
      p.candidates.push_back(candidate);
    }
    if (p.declares_size && !p.null_values && p.declared_size > kMaxDeclaredSize) {
      return "size above " + std::to_string(kMaxDeclaredSize) + " needs values=null";
    }
    for (ScenarioProperty& existing : s->properties) {
      if (existing.code == p.code) {
        existing = p;
        return "";
      }
    }
    s->properties.push_back(p);
  } else if (d == "lv-property") {
    ScenarioLiveViewProperty lv;
    if (n < 2 || n > 3 || !parse_u32(w[1], &lv.code)) return "lv-property needs CODE [TIMECODE]";
    if (n == 3 && !parse_u32(w[2], &lv.time_code)) return "bad time code: " + w[2];
    s->lv_properties.push_back(lv);
  } else if (d == "confirm") {
    if (n == 2 && w[1] == "never") {
      s->confirm_never = true;
    } else if (n == 2 && parse_u32(w[1], &s->confirm_ms)) {
      s->confirm_never = false;
    } else {
      return "confirm needs DELAY_MS or never";
    }
  } else if (d == "live-view-buffer") {
    if (n != 2 || !parse_u32(w[1], &s->live_view_buffer)) return "live-view-buffer needs a byte count";
  } else if (d == "menu-result") {
    if (n != 2 || (w[1] != "success" && w[1] != "error")) return "menu-result needs success or error";
    s->menu_success = w[1] == "success";
  } else if (d == "fail") {
    if (n >= 2 && w[1] == "set") {
      uint32_t code = 0, result = 0;
      if (n != 4 || !parse_u32(w[2], &code) || !parse_u32(w[3], &result)) return "fail set needs CODE RESULT";
      s->set_failures[code] = result;
    } else {
      if (n < 2 || n > 3 || !is_failable_call(w[1])) return "fail needs a known CALL [CODE]";
      uint32_t result = SCRSDK::CrError_Generic;
      if (n == 3 && !parse_u32(w[2], &result)) return "bad result code: " + w[2];
      if (w[1] == "init") {
        s->fail_init = true;
      } else {
        s->failures[w[1]] = result;
      }
    }
  } else if (d == "after") {
    ScenarioEvent event;
    if (n < 3 || !parse_u32(w[1], &event.after_ms)) return "after needs MS EVENT";
    for (std::size_t i = 2; i < n; ++i) event.line += (i > 2 ? " " : "") + w[i];
    ControlEvent parsed;
    if (!parse_control_line(event.line, &parsed)) return "unknown event: " + event.line;
    s->events.push_back(event);
  } else {
    return "unknown directive: " + d;
  }
  return "";
}

}  // namespace

uint32_t element_width(uint32_t type) {
  if (type == SCRSDK::CrDataType_STR) return 1;
  switch (type & 0xF) {
    case 1:
      return 1;
    case 2:
      return 2;
    case 3:
      return 4;
    case 4:
      return 8;
    case 5:
      return 16;
    default:
      return 1;
  }
}

bool parse_scenario(const std::string& text, Scenario* scenario, std::string* error) {
  Scenario parsed;
  std::size_t start = 0;
  int line_no = 0;
  while (start <= text.size()) {
    std::size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    const std::string line = text.substr(start, end - start);
    start = end + 1;
    ++line_no;
    std::vector<std::string_view> views;
    std::string wrong;
    if (!split(line, &views)) {
      wrong = "unterminated text";
    } else if (!views.empty()) {
      wrong = parse_directive(std::vector<std::string>(views.begin(), views.end()), &parsed);
    }
    if (!wrong.empty()) {
      if (error != nullptr) *error = std::to_string(line_no) + ": " + wrong;
      return false;
    }
  }
  *scenario = parsed;
  return true;
}

bool parse_control_line(std::string_view line, ControlEvent* event) {
  // One pass over the line, words taken as views and numbers read in
  // place: a "notify" of every property is one line of hundreds of codes.
  Words words(line);
  std::string_view d;
  if (!words.next(&d)) return false;
  ControlEvent e;
  // Numbers are read as they are found; a word that is not one fails the
  // line.
  bool not_number = false;
  auto u32_word = [&](uint32_t* value) {
    uint64_t wide = 0;
    if (!words.next_number(&wide, true, &not_number)) return false;
    *value = static_cast<uint32_t>(wide);
    return true;
  };
  auto number_word = [&](uint64_t* value) { return words.next_number(value, false, &not_number); };
  std::string_view w;
  bool ok = false;
  if (d == "disconnect" || d == "error" || d == "warning") {
    e.kind = d == "disconnect" ? ControlKind::kDisconnect
             : d == "error"    ? ControlKind::kError
                               : ControlKind::kWarning;
    ok = u32_word(&e.code);
  } else if (d == "warning-ext") {
    e.kind = ControlKind::kWarningExt;
    ok = u32_word(&e.code);
    for (int i = 0; ok && i < 3; ++i) {
      uint64_t v = 0;
      ok = number_word(&v);
      e.params[i] = static_cast<int32_t>(static_cast<uint32_t>(v));
    }
  } else if (d == "change") {
    e.kind = ControlKind::kChange;
    ok = u32_word(&e.code) && number_word(&e.value);
  } else if (d == "notify" || d == "lv-notify") {
    e.kind = d == "notify" ? ControlKind::kNotify : ControlKind::kLvNotify;
    // A code and its blank take two characters at least: the list grows once.
    e.codes.reserve(line.size() / 2);
    uint32_t code = 0;
    while (u32_word(&code)) e.codes.push_back(code);
    ok = !not_number && !e.codes.empty();
  } else if (d == "download") {
    e.kind = ControlKind::kDownload;
    ok = words.next(&w);
    if (ok) e.name = std::string(w);
  } else if (d == "contents-transfer") {
    e.kind = ControlKind::kContentsTransfer;
    ok = true;
  }
  if (!ok || !words.at_end()) return false;
  *event = std::move(e);
  return true;
}

}  // namespace sim
