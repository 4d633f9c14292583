// Fuzzes every converter of the property table in both directions: any
// 64-bit value to text (which must stay one word of a line: no line break,
// no zero byte), and any text to a value (the parsers may refuse a text with
// the standard conversion errors, nothing else).
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

#include "properties/property_table.h"

namespace {

const std::vector<const PropertyInfo*>& rows() {
  static const std::vector<const PropertyInfo*> all = [] {
    std::vector<const PropertyInfo*> list;
    for (const auto& entry : propertyTable) list.push_back(&entry.second);
    return list;
  }();
  return all;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzedDataProvider in(data, size);
  const PropertyInfo& row = *rows()[in.ConsumeIntegralInRange<size_t>(0, rows().size() - 1)];
  const uint64_t value = in.ConsumeIntegral<uint64_t>();
  const std::string text = in.ConsumeRemainingBytesAsString();

  const std::string shown = value_text(row.toText, value);
  if (shown.find_first_of(std::string("\n\r\0", 3)) != std::string::npos) {
    std::fprintf(stderr, "%s shows %llu with a line break or zero byte\n", row.name.c_str(),
                 static_cast<unsigned long long>(value));
    std::abort();
  }
  if (row.skipValue != nullptr) (void)row.skipValue(value);
  if (row.fromText == nullptr) return 0;
  try {
    const uint64_t parsed = row.fromText(text);
    // What a parser accepts must show again.
    (void)value_text(row.toText, parsed);
  } catch (const std::invalid_argument&) {
  } catch (const std::out_of_range&) {
  }
  return 0;
}
