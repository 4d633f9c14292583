// Tests of the SDK code names.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

#include "base/base.h"
#include "base/device_property_names.h"

namespace {

TEST(SdkCodeNames, StatusTexts) {
  const struct {
    uint32_t code;
    const char* text;
  } cases[] = {
      {0, "0x0 (0) SDK::CrError_None"},
      {33281, "0x8201 (33281) SDK::CrError_Connect_Connect"},
      {0x8202, "0x8202 (33282) UNKNOWN"},
      {0x811A, "0x811a (33050) SDK::CrError_File_SameNameFull"},
      {0x8001, "0x8001 (32769) SDK::CrError_Genric_Notimpl"},
      {0x8007, "0x8007 (32775) SDK::CrError_Generic"},
      {0x840A, "0x840a (33802) SDK::CrError_Api"},
      {0x8C01, "0x8c01 (35841) UNKNOWN"},
      {0x2003D, "0x2003d (131133) SDK::CrWarning_RequestLensInformation_Result_Error"},
      {0x2003E, "0x2003e (131134) UNKNOWN"},
      {1, "0x1 (1) UNKNOWN"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.code);
    EXPECT_EQ(status_text(c.code), c.text);
  }
  EXPECT_EQ(sdk_code_name(0x100008201ull), "UNKNOWN");
}

TEST(SdkCodeNames, SmallLookups) {
  EXPECT_EQ(display_string_type_name(11), "SDK::CrDisplayStringType_Button_Assign_ShortDisplay");
  EXPECT_EQ(display_string_type_name(12), "UNKNOWN");
  EXPECT_EQ(exposure_program_name(0), "UNKNOWN");
  EXPECT_EQ(exposure_program_name(-1), "UNKNOWN");
  EXPECT_EQ(exposure_program_name(1), "CrExposure_M_Manual");
  EXPECT_EQ(exposure_program_name(8), "UNKNOWN");
  EXPECT_EQ(live_view_property_name(5), "UNKNOWN : 5");
  EXPECT_EQ(live_view_property_name(0x582), "CrLiveViewProperty_Level");
  EXPECT_EQ(live_view_property_name(0x1000), "CrLiveViewProperty_LiveViewUndefined");
}

// Counts the enumerators of the device-property code enum by reading the
// header the build used, independently of the generator.
size_t count_header_enumerators() {
  std::ifstream in(VK_SONY_DEVICE_PROPERTY_HEADER);
  std::stringstream content;
  content << in.rdbuf();
  const std::string text = content.str();
  const size_t start = text.find("enum CrDevicePropertyCode");
  if (start == std::string::npos) return 0;
  const std::string body = text.substr(start, text.find("};", start) - start);
  // One enumerator a line: a line whose first word starts with the prefix.
  size_t count = 0;
  std::istringstream lines(body);
  for (std::string line; std::getline(lines, line);) {
    const size_t first = line.find_first_not_of(" \t");
    if (first != std::string::npos && line.compare(first, 17, "CrDeviceProperty_") == 0) ++count;
  }
  return count;
}

TEST(SdkCodeNames, DevicePropertyNamesFollowTheHeader) {
  EXPECT_EQ(kDevicePropertyNameCount, count_header_enumerators());
  EXPECT_GT(kDevicePropertyNameCount, 800u);
  EXPECT_STREQ(kDevicePropertyNames[0].text, "CrDeviceProperty_Undefined");
  for (size_t i = 0; i < kDevicePropertyNameCount; ++i) {
    EXPECT_EQ(std::strlen(kDevicePropertyNames[i].text), kDevicePropertyNames[i].length);
  }
  EXPECT_EQ(device_property_name(0), "CrDeviceProperty_Undefined");
  EXPECT_EQ(device_property_name(0x101), "CrDeviceProperty_ExposureBiasCompensation");
  EXPECT_EQ(device_property_name(0x1000), "CrDeviceProperty_MaxVal");
  EXPECT_EQ(device_property_name(0x7FFFFFFF), "UNKNOWN");
}

TEST(SdkCodeNames, CurrentNameWinsOverItsAlias) {
  // 0x107 carries a current name and an older alias declared after it.
  EXPECT_EQ(device_property_name(0x107), "CrDeviceProperty_StillImageQuality");
}

}  // namespace
