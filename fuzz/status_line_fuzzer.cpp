// Fuzzes the property status line: random records of every data type, with
// random current values, current strings and candidate buffers, composed with
// the converters of every row of the property table. A line must never hold
// a line break or a zero byte, and nothing may be read outside the buffers
// (every buffer is a heap block of exactly its size).
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>
#include <vector>

#include "base/base.h"
#include "base/property_line.h"
#include "properties/property_table.h"

namespace {

constexpr uint32_t kTypes[] = {0,      1,      2,      3,      4,      5,      0x1001, 0x1002, 0x1003,
                               0x1004, 0x1005, 0x2001, 0x2002, 0x2003, 0x2004, 0x2005, 0x3001, 0x3002,
                               0x3003, 0x3004, 0x3005, 0x4001, 0x4002, 0x4003, 0x4004, 0x4005, 0x5001,
                               0x5002, 0x5003, 0x5004, 0x5005, 0xFFFF, 0x12002};

bool keep_all(uint64_t) { return false; }
void decimal(uint64_t value, TextWriter* out) { out->append(std::to_string(value)); }

[[noreturn]] void broken(const std::string& line, const char* what) {
  std::fprintf(stderr, "status line %s: %s\n", what, line.c_str());
  std::abort();
}

}  // namespace

// The composition writes "unhandled unit" for types without a width: keep
// standard output quiet.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
  if (std::freopen("/dev/null", "w", stdout) == nullptr) std::abort();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzedDataProvider in(data, size);
  static const std::vector<const PropertyInfo*> kRows = [] {
    std::vector<const PropertyInfo*> all;
    for (const auto& entry : propertyTable) all.push_back(&entry.second);
    return all;
  }();

  // The row whose converters compose the line, or the generic numeric one.
  const size_t row_index = in.ConsumeIntegralInRange<size_t>(0, kRows.size());
  ToTextFn to_text = decimal;
  SkipValueFn skip = keep_all;
  bool list = in.ConsumeBool();
  if (row_index < kRows.size()) {
    to_text = kRows[row_index]->toText;
    skip = kRows[row_index]->skipValue;
    list = kRows[row_index]->listValues;
  }

  PropertyFields fields;
  fields.type = in.ConsumeBool() ? in.PickValueInArray(kTypes) : in.ConsumeIntegral<uint32_t>();
  fields.current = in.ConsumeIntegral<uint64_t>();
  fields.writable = in.ConsumeBool();

  // The current string: a length field at most the bytes that follow it.
  std::vector<uint16_t> str;
  if (in.ConsumeBool()) {
    const std::string text = in.ConsumeRandomLengthString(300);
    str.resize(1 + (text.size() + 1) / 2, 0);
    if (!text.empty()) std::memcpy(str.data() + 1, text.data(), text.size());
    str[0] = in.ConsumeIntegralInRange<uint16_t>(0, static_cast<uint16_t>(text.size()));
    fields.current_str = str.data();
  }

  // The candidates: the rest of the input, in a block of exactly its size;
  // sometimes a size with no buffer.
  const bool no_buffer = in.ConsumeIntegralInRange<int>(0, 15) == 0;
  std::vector<uint8_t> bytes = in.ConsumeRemainingBytes<uint8_t>();
  auto* values = new uint8_t[bytes.size()];
  if (!bytes.empty()) std::memcpy(values, bytes.data(), bytes.size());
  fields.values = no_buffer ? nullptr : values;
  fields.size = static_cast<uint32_t>(no_buffer ? bytes.size() * 977 : bytes.size());

  const std::string line = compose_status_line("K", fields, to_text, skip, list);
  delete[] values;
  flush_raw_lines();  // "unhandled unit" waits for the next write otherwise
  if (line.find('\n') != std::string::npos || line.find('\r') != std::string::npos) broken(line, "breaks");
  if (line.find('\0') != std::string::npos) broken(line, "holds a zero byte");
  if (line.rfind("status K ", 0) != 0) broken(line, "starts wrong");
  return 0;
}
