// Tests of the scenario and control-line parsers and of the record classes.
#include <gtest/gtest.h>

#include <cstring>
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
  for (const char* bad : {"", "disconnect", "warning 1 2", "change 0x104", "notify", "download", "reboot now",
                          "contents-transfer 1", "error zz"}) {
    SCOPED_TRACE(bad);
    EXPECT_FALSE(sim::parse_control_line(bad, &e));
  }
}

TEST(SimRecords, DevicePropertyCopiesAreDeep) {
  std::vector<SCRSDK::CrDeviceProperty> kept;
  {
    SCRSDK::CrDeviceProperty original;
    original.SetCode(0x765);
    original.SetValueType(SCRSDK::CrDataType_STR);
    CrInt16u str[4] = {5, 0, 0, 0};
    std::memcpy(&str[1], "ab cd", 5);
    original.SetCurrentStr(str);
    CrInt8u values[4] = {1, 2, 3, 4};
    original.SetValueSize(4);
    original.SetValues(values);
    original.SetSetValueSize(2);
    original.SetSetValues(values);
    kept.push_back(original);
    SCRSDK::CrDeviceProperty assigned;
    assigned = original;
    kept.push_back(assigned);
    values[0] = 9;  // the record holds its own copy
    str[0] = 1;
  }
  for (const SCRSDK::CrDeviceProperty& p : kept) {
    EXPECT_EQ(p.GetCode(), 0x765u);
    ASSERT_NE(p.GetCurrentStr(), nullptr);
    EXPECT_EQ(p.GetCurrentStr()[0], 5);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(p.GetCurrentStr() + 1), 5), "ab cd");
    ASSERT_EQ(p.GetValueSize(), 4u);
    EXPECT_EQ(p.GetValues()[0], 1);
    EXPECT_EQ(p.GetValues()[3], 4);
    ASSERT_EQ(p.GetSetValueSize(), 2u);
    EXPECT_EQ(p.GetSetValues()[1], 2);
  }
  EXPECT_NE(kept[0].GetValues(), kept[1].GetValues());
  SCRSDK::CrDeviceProperty empty;
  EXPECT_EQ(empty.GetValues(), nullptr);
  EXPECT_EQ(empty.GetCurrentStr(), nullptr);
  EXPECT_EQ(empty.GetValueSize(), 0u);
}

TEST(SimRecords, LiveViewPropertyCopyKeepsTimeCode) {
  SCRSDK::CrLiveViewProperty original;
  original.SetCode(0x121);
  sim::set_live_view_time_code(&original, 0x01020304);
  CrInt8u value[3] = {7, 8, 9};
  original.SetValueSize(3);
  original.SetValue(value);
  SCRSDK::CrLiveViewProperty copy(original);
  value[0] = 0;
  EXPECT_EQ(copy.GetTimeCode(), 0x01020304u);
  EXPECT_EQ(copy.GetCode(), 0x121u);
  ASSERT_EQ(copy.GetValueSize(), 3u);
  EXPECT_EQ(copy.GetValue()[0], 7);
  EXPECT_NE(copy.GetValue(), original.GetValue());
}

}  // namespace
