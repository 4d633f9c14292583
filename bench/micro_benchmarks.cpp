// Micro-benchmarks of the work done per reported property (composing its
// status line) and per command value (the converters between SDK values and
// protocol text). Run: build/<dir>/micro_benchmarks
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <vector>

#include "CameraRemote_SDK.h"
#include "base/property_line.h"
#include "properties/formatters.h"
#include "properties/property_table.h"

namespace {

// Candidates packed little-endian at `width` bytes each, as the SDK hands them.
std::vector<uint8_t> pack(const std::vector<uint64_t>& values, unsigned width) {
  std::vector<uint8_t> packed;
  for (uint64_t v : values) {
    for (unsigned i = 0; i < width; ++i) packed.push_back(static_cast<uint8_t>(v >> (8 * i)));
  }
  return packed;
}

void compose(benchmark::State& state, uint32_t code, uint32_t type, unsigned width, uint64_t current,
             const std::vector<uint64_t>& candidates) {
  const PropertyInfo* row = find_property(code);
  if (row == nullptr) {
    state.SkipWithError("no table row");
    return;
  }
  const std::vector<uint8_t> packed = pack(candidates, width);
  PropertyFields fields;
  fields.type = type;
  fields.current = current;
  fields.values = packed.data();
  fields.size = static_cast<uint32_t>(packed.size());
  fields.writable = true;
  TextWriter line;
  for (auto _ : state) {
    line.clear();
    append_status_line(row->name, fields, row->toText, row->skipValue, row->listValues, &line);
    benchmark::DoNotOptimize(line.view().data());
  }
}

void BM_ComposeIso(benchmark::State& state) {
  compose(state, 0x104, SCRSDK::CrDataType_UInt32, 4, 800,
          {0xFFFFFF, 100, 200, 400, 800, 1600, 3200, 6400, 12800});
}
BENCHMARK(BM_ComposeIso);

void BM_ComposeShutter(benchmark::State& state) {
  std::vector<uint64_t> speeds;
  for (uint64_t d : {8000, 6400, 5000, 4000, 3200, 2500, 2000, 1600, 1250, 1000, 800, 640, 500, 400, 320,
                     250,  200,  160,  125,  100,  80,   60,   50,   40,   30,   25,  15,  8,   4,   2}) {
    speeds.push_back((uint64_t{1} << 16) | d);
  }
  compose(state, 0x103, SCRSDK::CrDataType_UInt32, 4, (uint64_t{1} << 16) | 50, speeds);
}
BENCHMARK(BM_ComposeShutter);

void BM_ComposeFocusMode(benchmark::State& state) {
  compose(state, 0x109, SCRSDK::CrDataType_UInt16, 2, 2, {2, 3, 4, 5, 1});
}
BENCHMARK(BM_ComposeFocusMode);

// Every row's value-to-text converter once, on a small value (the string
// rows read an SDK string and are left out).
void BM_ToTextEveryRow(benchmark::State& state) {
  std::vector<ToTextFn> converters;
  for (const auto& entry : propertyTable) {
    if (entry.second.toText != &sdkStringToText) converters.push_back(entry.second.toText);
  }
  TextWriter text;
  for (auto _ : state) {
    for (ToTextFn to_text : converters) {
      text.clear();
      to_text(1, &text);
      benchmark::DoNotOptimize(text.view().data());
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(converters.size()));
}
BENCHMARK(BM_ToTextEveryRow);

void BM_FromText(benchmark::State& state, FromTextFn from_text, const char* text) {
  const std::string input = text;
  for (auto _ : state) benchmark::DoNotOptimize(from_text(input));
}
BENCHMARK_CAPTURE(BM_FromText, iso, &isoFromText, "800");
BENCHMARK_CAPTURE(BM_FromText, exposure_bias, &exposureBiasFromText, "-1000");
BENCHMARK_CAPTURE(BM_FromText, f_number, &fNumberFromText, "2.8");
BENCHMARK_CAPTURE(BM_FromText, shutter, &shutterSpeedFromText, "1/50");
BENCHMARK_CAPTURE(BM_FromText, decimal, &parseDecimal, "12345");

void BM_FocusModeFromText(benchmark::State& state) {
  const PropertyInfo* row = find_property(0x109);
  const std::string input = "AF_C";
  for (auto _ : state) benchmark::DoNotOptimize(row->fromText(input));
}
BENCHMARK(BM_FocusModeFromText);

void BM_FindProperty(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(find_property(0x104));
}
BENCHMARK(BM_FindProperty);

}  // namespace

BENCHMARK_MAIN();
