// Tests of the scenario and control-line parsers and of the record classes.
#include <gtest/gtest.h>

#include <cstring>
#include <iterator>
#include <string>
#include <vector>

#include "CameraRemote_SDK.h"
#include "sim/sim_internal.h"

namespace {

using sim::parse_scenario;
using sim::Scenario;

// Directives whose effect the simulator, device and process tests do not show.
TEST(SimScenario, ParsesDirectives) {
  const std::string text =
      "# comment line\n"
      "\n"
      "sdk-version 1.2.3\n"
      "connect-version 0x12c  # trailing comment\n"
      "camera USB ILME-FX6 D10042\n"
      "camera IP ILCE-7SM3 10.0.0.7 00:1A:2b:3c:4d:5e ssh\n"
      "camera IP ILCE-1 10.0.0.8 00:00:00:00:00:01\n"
      "property 0x104 UInt32 800 rw 0xFFFFFF 100 200\n"
      "property 0x101 Int16 -300 rw -3000 3000\n"
      "property 0x765 STR \"FE 24-70mm # F2.8\" ro\n"
      "property 0x104 0x3 400 ro\n"
      "lv-property 0x121 0x01020304\n"
      "lv-property 0x122\n"
      "after 20 warning-ext 0x20002 1 -2 3\n";
  Scenario s;
  std::string error;
  ASSERT_TRUE(parse_scenario(text, &s, &error)) << error;
  EXPECT_EQ(s.sdk_version, 0x01020300u);
  EXPECT_EQ(s.connect_version, 300u);
  ASSERT_EQ(s.cameras.size(), 3u);
  EXPECT_EQ(s.cameras[0].type, "USB");
  EXPECT_EQ(s.cameras[0].id, "D10042");
  EXPECT_EQ(s.cameras[1].mac[1], 0x1A);
  EXPECT_EQ(s.cameras[1].ssh, 1);
  EXPECT_EQ(s.cameras[2].ssh, -1);
  ASSERT_EQ(s.properties.size(), 3u);  // the second 0x104 replaced the first in place
  EXPECT_EQ(s.properties[0].code, 0x104u);
  EXPECT_EQ(s.properties[0].value, 400u);
  EXPECT_FALSE(s.properties[0].writable);
  EXPECT_TRUE(s.properties[0].candidates.empty());
  EXPECT_EQ(static_cast<int16_t>(s.properties[1].value), -300);
  EXPECT_EQ(s.properties[1].type, 0x1002u);
  EXPECT_EQ(s.properties[2].type, 0xFFFFu);
  EXPECT_EQ(s.properties[2].text, "FE 24-70mm # F2.8");
  ASSERT_EQ(s.lv_properties.size(), 2u);
  EXPECT_EQ(s.lv_properties[0].time_code, 0x01020304u);
  ASSERT_EQ(s.events.size(), 1u);
  EXPECT_EQ(s.events[0].after_ms, 20u);
  EXPECT_EQ(s.events[0].line, "warning-ext 0x20002 1 -2 3");
}

TEST(SimScenario, Defaults) {
  Scenario s;
  ASSERT_TRUE(parse_scenario("", &s, nullptr));
  EXPECT_EQ(s.sdk_version, 0x02010000u);
  EXPECT_EQ(s.connect_version, 300u);
  EXPECT_EQ(s.confirm_ms, 5u);
  EXPECT_TRUE(s.menu_success);
}

TEST(SimScenario, RejectsWithLineNumber) {
  const struct {
    const char* text;
    const char* error;
  } cases[] = {
      {"frobnicate 1", "1: unknown directive: frobnicate"},
      {"\n\nsdk-version 2.1", "3: sdk-version needs MAJOR.MINOR.PATCH"},
      {"camera IP ILCE-1 300.1.1.1 00:00:00:00:00:01", "1: bad IPv4 address: 300.1.1.1"},
      {"camera IP ILCE-1 1.1.1.1 00:00:00:00:01", "1: bad MAC address: 00:00:00:00:01"},
      {"camera IP ILCE-1 1.1.1.1 00:00:00:00:00:01 maybe", "1: expected ssh or no-ssh: maybe"},
      {"camera USB ILME-FX6", "1: camera needs TYPE MODEL and an id"},
      {"property 0x104 Float 1 rw", "1: unknown data type: Float"},
      {"property 0x104 UInt32 12x rw", "1: bad value: 12x"},
      {"property 0x104 UInt32 1 rx", "1: expected rw or ro: rx"},
      {"property 0x765 STR \"open ro", "1: unterminated text"},
      {"property 0x765 STR bare ro", "1: a STR value is a double-quoted text"},
      {"confirm soon", "1: confirm needs DELAY_MS or never"},
      {"menu-result maybe", "1: menu-result needs success or error"},
      {"fail everything", "1: fail needs a known CALL [CODE]"},
      {"fail set 0x100", "1: fail set needs CODE RESULT"},
      {"after 10 explode", "1: unknown event: explode"},
      {"lv-property", "1: lv-property needs CODE [TIMECODE]"},
      {"property 0x104 UInt32 1 rw bytes=123", "1: bytes needs pairs of hexadecimal digits: 123"},
      {"property 0x104 UInt32 1 rw size=0x2000000", "1: size above 16777216 needs values=null"},
      {"property 0x104 UInt32 1 rw str-length=3", "1: str-length needs a STR property"},
      {"property 0x104 UInt32 1 rw type=Float", "1: unknown data type: Float"},
      {"property 0x104 UInt32 1 rw colour=red", "1: unknown property attribute: colour=red"},
      {"live-view-buffer many", "1: live-view-buffer needs a byte count"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    Scenario s;
    std::string error;
    EXPECT_FALSE(parse_scenario(c.text, &s, &error));
    EXPECT_EQ(error, c.error);
  }
}

TEST(SimScenario, ControlLines) {
  sim::ControlEvent e;
  ASSERT_TRUE(sim::parse_control_line("change 0x104 400", &e));
  EXPECT_EQ(e.kind, sim::ControlKind::kChange);
  EXPECT_EQ(e.code, 0x104u);
  EXPECT_EQ(e.value, 400u);
  ASSERT_TRUE(sim::parse_control_line("notify 0x100 0x101", &e));
  EXPECT_EQ(e.codes, (std::vector<uint32_t>{0x100, 0x101}));
  ASSERT_TRUE(sim::parse_control_line("warning-ext 0x20002 1 -1 3", &e));
  EXPECT_EQ(e.params[1], -1);
  ASSERT_TRUE(sim::parse_control_line("download DSC0001.JPG", &e));
  EXPECT_EQ(e.name, "DSC0001.JPG");
  // Words are split at blanks, tabs and carriage returns; "#" starts a
  // comment; a quoted text is one word, quotes kept.
  ASSERT_TRUE(sim::parse_control_line("\tnotify  0x100\t0xA1b2 # 0x102", &e));
  EXPECT_EQ(e.kind, sim::ControlKind::kNotify);
  EXPECT_EQ(e.codes, (std::vector<uint32_t>{0x100, 0xA1B2}));
  ASSERT_TRUE(sim::parse_control_line("lv-notify 4294967295 0xFFFFFFFF 0x00000000000001\r", &e));
  EXPECT_EQ(e.kind, sim::ControlKind::kLvNotify);
  EXPECT_EQ(e.codes, (std::vector<uint32_t>{0xFFFFFFFF, 0xFFFFFFFF, 1}));
  ASSERT_TRUE(sim::parse_control_line("download \"a b#c\"", &e));
  EXPECT_EQ(e.name, "\"a b#c\"");
  ASSERT_TRUE(sim::parse_control_line("disconnect 0x8207#x", &e));
  EXPECT_EQ(e.code, 0x8207u);
  // Numbers: decimal or 0x-hexadecimal, a leading minus as two's complement,
  // 64 bits at most, nothing after the digits.
  const struct {
    const char* number;
    uint64_t value;
  } numbers[] = {{"0", 0},
                 {"007", 7},
                 {"0x1F", 0x1F},
                 {"0X1f", 0x1F},
                 {"-1", UINT64_MAX},
                 {"-0x10", 0 - 16ull},
                 {"18446744073709551615", UINT64_MAX},
                 {"0xFFFFFFFFFFFFFFFF", UINT64_MAX},
                 {"0x000000000000000000000A", 10},
                 {"0x0FFFFFFFFFFFFFFFF", UINT64_MAX}};
  for (const auto& c : numbers) {
    SCOPED_TRACE(c.number);
    ASSERT_TRUE(sim::parse_control_line(std::string("change 0x104 ") + c.number, &e));
    EXPECT_EQ(e.value, c.value);
  }
  for (const char* bad : {"",
                          "disconnect",
                          "warning 1 2",
                          "change 0x104",
                          "notify",
                          "download",
                          "reboot now",
                          "contents-transfer 1",
                          "error zz",
                          "change 0x104 18446744073709551616",
                          "change 0x104 0x10000000000000000",
                          "change 0x104 0x00010000000000000000",
                          "change 0x104 0x",
                          "change 0x104 0x1g",
                          "change 0x104 +5",
                          "change 0x104 12abc",
                          "change 0x104 -",
                          "disconnect -1",
                          "disconnect 0x100000000",
                          "change 0x104 0x 1",
                          "change 0x104 1 2",
                          "change 0x104 \"1\"",
                          "download \"a b",
                          "# notify 0x100",
                          "notify 0x100 0x"}) {
    SCOPED_TRACE(bad);
    EXPECT_FALSE(sim::parse_control_line(bad, &e));
  }
}

// A list holds all its records' buffers in one block: each record must see
// exactly its own bytes, raw attributes included.
TEST(SimRecords, PropertyListRecordsHoldTheirOwnBuffers) {
  Scenario s;
  std::string error;
  ASSERT_TRUE(
      parse_scenario("property 0x104 UInt32 800 rw 0xFFFFFF 100\n"
                     "property 0x705 UInt8 1 ro 0 1 2\n"
                     "property 0x765 STR \"FE 50mm\" ro\n"
                     "property 0x751 STR \"1.02\" ro str-length=7\n"
                     "property 0x766 STR \"x\" ro str=null\n"
                     "property 0x103 UInt16 5 rw 1 2 size=6\n"
                     "property 0x101 Int16 -1 rw values=null size=8\n"
                     "property 0x108 UInt8 3 rw bytes=0A0B0C type=0x2\n",
                     &s, &error))
      << error;
  std::vector<std::vector<uint8_t>> packed;
  for (const sim::ScenarioProperty& p : s.properties) packed.push_back(sim::packed_candidates(p));
  std::vector<sim::PropertySource> sources;
  for (size_t i = 0; i < s.properties.size(); ++i) sources.push_back({&s.properties[i], &packed[i]});

  const struct {
    uint32_t type;
    uint64_t current;
    bool writable;
    std::vector<uint8_t> str;  // the bytes after the length field; "null" when absent
    bool has_str;
    uint32_t size;
    std::vector<uint8_t> values;  // empty: no buffer
  } expected[] = {
      {0x3, 800, true, {}, false, 8, {0xFF, 0xFF, 0xFF, 0, 100, 0, 0, 0}},
      {0x1, 1, false, {}, false, 3, {0, 1, 2}},
      {0xFFFF, 0, false, {'F', 'E', ' ', '5', '0', 'm', 'm'}, true, 0, {}},
      {0xFFFF, 0, false, {'1', '.', '0', '2', 0, 0, 0}, true, 0, {}},
      {0xFFFF, 0, false, {}, false, 0, {}},
      {0x2, 5, true, {}, false, 6, {1, 0, 2, 0, 0, 0}},
      {0x1002, static_cast<uint64_t>(-1), true, {}, false, 8, {}},
      {0x2, 3, true, {}, false, 3, {0x0A, 0x0B, 0x0C}},
  };
  ASSERT_EQ(sources.size(), std::size(expected));
  SCRSDK::CrDeviceProperty* list = sim::new_property_list(sources);
  ASSERT_NE(list, nullptr);
  // Copies, made by construction and by assignment, hold buffers of their own.
  std::vector<SCRSDK::CrDeviceProperty> built(list, list + sources.size());
  std::vector<SCRSDK::CrDeviceProperty> assigned(sources.size());
  for (size_t i = 0; i < sources.size(); ++i) assigned[i] = list[i];
  for (const SCRSDK::CrDeviceProperty* records : {built.data(), assigned.data(), list}) {
    for (size_t i = 0; i < sources.size(); ++i) {
      SCOPED_TRACE(i);
      const SCRSDK::CrDeviceProperty& r = records[i];
      const auto& e = expected[i];
      if (records != list) {
        EXPECT_TRUE(r.GetCurrentStr() == nullptr || r.GetCurrentStr() != list[i].GetCurrentStr());
        EXPECT_TRUE(r.GetValues() == nullptr || r.GetValues() != list[i].GetValues());
      }
      EXPECT_EQ(r.GetCode(), s.properties[i].code);
      EXPECT_EQ(static_cast<uint32_t>(r.GetValueType()), e.type);
      EXPECT_EQ(r.GetCurrentValue(), e.current);
      EXPECT_EQ(r.IsSetEnableCurrentValue(), e.writable);
      ASSERT_EQ(r.GetCurrentStr() != nullptr, e.has_str);
      if (e.has_str) {
        EXPECT_EQ(r.GetCurrentStr()[0], e.str.size());
        const auto* bytes = reinterpret_cast<const uint8_t*>(r.GetCurrentStr() + 1);
        EXPECT_EQ(std::vector<uint8_t>(bytes, bytes + e.str.size()), e.str);
      }
      EXPECT_EQ(r.GetValueSize(), e.size);
      ASSERT_EQ(r.GetValues() != nullptr, !e.values.empty());
      if (!e.values.empty()) {
        EXPECT_EQ(std::vector<uint8_t>(r.GetValues(), r.GetValues() + e.size), e.values);
      }
      EXPECT_EQ(r.GetSetValueSize(), e.writable ? e.size : 0u);
      if (e.writable && !e.values.empty()) {
        EXPECT_NE(r.GetSetValues(), r.GetValues());
        EXPECT_EQ(std::vector<uint8_t>(r.GetSetValues(), r.GetSetValues() + e.size), e.values);
      } else {
        EXPECT_EQ(r.GetSetValues(), nullptr);
      }
    }
  }
  sim::delete_property_list(list);
  EXPECT_EQ(sim::new_property_list({}), nullptr);
}

}  // namespace
