// Tests of the value converters, reached through the rows that use them.
#include "properties/formatters.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "properties/property_table.h"

namespace {

const PropertyInfo& row(const std::string& key) {
  for (const auto& [code, info] : propertyTable) {
    if (info.name == key) return info;
  }
  ADD_FAILURE() << "no row " << key;
  static const PropertyInfo kEmpty;
  return kEmpty;
}

struct TextCase {
  const char* key;
  uint64_t value;
  const char* text;
};

TEST(Formatters, ValuesRenderAsTheParentExpects) {
  const TextCase cases[] = {
      // shared converters
      {"EXPOSURE_INDEX", UINT64_MAX, "18446744073709551615"},
      {"EXPOSURE_INDEX", 1005, "1005"},
      {"EXPOSURE_INDEX", 0, "0"},
      {"EXPOSURE_INDEX", 9, "9"},
      {"EXPOSURE_INDEX", 10, "10"},
      {"EXPOSURE_INDEX", 99, "99"},
      {"EXPOSURE_INDEX", 100, "100"},
      {"EXPOSURE_INDEX", 9999999999999999999ull, "9999999999999999999"},
      {"EXPOSURE_INDEX", 10000000000000000000ull, "10000000000000000000"},
      {"WB_R_GAIN", 0xFFFF, "-1"},
      {"WB_R_GAIN", 0x8000, "-32768"},
      {"WB_R_GAIN", 0x17FFF, "32767"},
      {"WB_TINT", 0xF6, "-10"},
      {"WB_TINT", 0x7F, "127"},
      {"B1", 0, "UNKOWN"},
      // two-state maps keep their own spellings
      {"FOCUS_TRACKING_STATUS", 1, "OFF"},
      {"MOVIE_SHOOTING_MODE", 1, "Off"},
      {"ND_FILTER", 2, "ON"},
      {"SHUTTER_SLOW", 2, "On"},
      {"GAIN_UNIT_SETTING", 2, "ISO"},
      // multi-value maps, fallbacks and the whole-64-bit match
      {"FOCUS_MODE", 0x100000002ull, "UNKNOWN"},
      {"FOCUS_AREA", 0, "Unknown"},
      {"FOCUS_AREA", 9, "UNKNOWN"},
      {"EXPOSURE_MODE", 0x100000001ull, "CrExposure_M_Manual"},
      {"EXPOSURE_MODE", 0, "UNKNOWN"},
      {"EXPOSURE_MODE", 8, "UNKNOWN"},
      {"BAT_LEVEL", 0x10000, "USB"},
      {"BAT_LEVEL", 0xFFFFFFFD, "Fake"},
      {"BAT_LEVEL", 9, "UNKNOWN"},
      {"RECORDER_MAIN_STATUS", 6, "UNKNOWN"},
      // measured quantities (EXPOSURE_BIAS and FSTOP: OneDecimalRenderingsMatchPrintf too)
      {"FSTOP", 0, "32"},
      {"FSTOP", 0xFFFD, "32"},
      {"FSTOP", 0xFFFE, "-"},
      {"ISO", 0xFFFFFF, "AUTO"},
      {"ISO", 2, ""},
      {"ISO", 0x10000640, "1600"},
      {"SHUTTER", 0, "Bulb"},
      {"SHUTTER", 0x0001000A, "1/10"},
      {"SHUTTER", 0x000A0001, "10/1"},
      {"SHUTTER_SPEED_VALUE", 0x0000000100120019ull, "1/25"},
      {"SHUTTER_SPEED_VALUE", 0, "Bulb"},
      {"ND_FILTER_VALUE", UINT64_MAX, "Nothing"},
      {"ND_FILTER_VALUE", 0x00000001FFFFFFFFull, "1/4294967295"},
      {"SHUTTER_ANGLE", 180000, "180"},
      {"SHUTTER_ANGLE", 172800, "172.8"},
      // single-row renderings
      {"PAINTLOOK_KNEE_POINT", 0x1FF, "255"},
      {"PAINTLOOK_KNEE_SLOPE", 0xFF, "-1"},
      {"SHUTTER_ECS_FREQUENCY", 0xFFFFFFFF, "-1"},
      {"PP_KNEE_AUTO_MAX_POINT", 0, "INVALID"},
      {"PP_KNEE_AUTO_MAX_POINT", 0x12345, "9029"},
      {"PP_KNEE_MANUAL_POINT", 0, "INVALID"},
      {"PP_KNEE_MANUAL_POINT", 0x100000000ull, "4294967296"},
      {"PP_LUT", 0x80, "-128"},
      {"SOFTWARE", 0, "UNKNOWN"},
  };
  for (const TextCase& c : cases) {
    SCOPED_TRACE(std::string(c.key) + " " + std::to_string(c.value));
    const PropertyInfo& info = row(c.key);
    ASSERT_NE(info.toText, nullptr);
    EXPECT_EQ(value_text(info.toText, c.value), c.text);
  }
}

// EXPOSURE_BIAS and FSTOP show their value rounded to one decimal, halves
// away from zero, as printf's %g prints it: checked for every 16-bit code
// and for F-numbers past six significant digits.
TEST(Formatters, OneDecimalRenderingsMatchPrintf) {
  const auto printed = [](double value) {
    const double rounded = std::round(value * 10) / 10;
    char text[32];
    std::snprintf(text, sizeof text, "%g", rounded == 0 && value < 0 ? -0.0 : rounded);
    return std::string(text);
  };
  const PropertyInfo& bias = row("EXPOSURE_BIAS");
  const PropertyInfo& fstop = row("FSTOP");
  for (uint64_t code = 0; code <= 0xFFFF; ++code) {
    SCOPED_TRACE(code);
    ASSERT_EQ(value_text(bias.toText, code), printed(static_cast<int16_t>(code) / 1000.0));
    if (code == 0 || code >= 0xFFFD) continue;  // "32" and "-"
    ASSERT_EQ(value_text(fstop.toText, code), printed(code / 100.0));
  }
  const uint64_t kLarge[] = {9999999, 10000001, 12345678, 99999995, 123456789012, UINT64_MAX};
  for (uint64_t code : kLarge) {
    SCOPED_TRACE(code);
    EXPECT_EQ(value_text(fstop.toText, code), printed(static_cast<double>(code) / 100.0));
  }
}

// SHUTTER_ANGLE shows thousandths of a degree as printf's %g shows the
// quotient: checked for every code below 2^17, around a million (where the
// exact rendering stops) and for large codes.
TEST(Formatters, ThousandthsRenderingsMatchPrintf) {
  const PropertyInfo& angle = row("SHUTTER_ANGLE");
  std::vector<uint64_t> codes;
  for (uint64_t code = 0; code < 0x20000; ++code) codes.push_back(code);
  for (uint64_t code = 999000; code <= 1001000; ++code) codes.push_back(code);
  const uint64_t kLarge[] = {123456789, 999999999999, UINT64_MAX};
  codes.insert(codes.end(), std::begin(kLarge), std::end(kLarge));
  for (uint64_t code : codes) {
    SCOPED_TRACE(code);
    char text[32];
    std::snprintf(text, sizeof text, "%g", static_cast<double>(code) / 1000.0);
    ASSERT_EQ(value_text(angle.toText, code), text);
  }
}

TEST(Formatters, TextsParseToTheSdkValue) {
  const TextCase cases[] = {
      {"EXPOSURE_INDEX", static_cast<uint64_t>(-3), "-3"},
      {"EXPOSURE_INDEX", 12, "12abc"},
      {"GAIN_UNIT_SETTING", 2, "2"},  // numeric, not the map
      // measured quantities
      {"EXPOSURE_BIAS", 65236, "65236"},
      {"EXPOSURE_BIAS", 0, "-0.3"},  // negative saturates to 0
      {"EXPOSURE_BIAS", 0x1000 & 0xFFFF, "69632"},
      {"FSTOP", 280, "2.8"},
      {"FSTOP", 400, "4 trailing"},
      {"FSTOP", 0, "-1"},
      {"ISO", 0xFFFFFF, "AUTO"},
      {"ISO", 0xFFFFFFFF, "-1"},
      {"ISO", 800, "800"},
      {"SHUTTER", 0x1000A, "1/10"},
      {"SHUTTER", 0x10001, "10/1"},
      {"SHUTTER", 0x100FA, "250"},
      {"SHUTTER_SPEED_VALUE", 0x0000000500000005ull, "5"},
      {"SHUTTER_SPEED_VALUE", 0x0000000100000019ull, "1/25"},
      {"ND_FILTER_VALUE", 0x00000002000000FFull, "2/255"},
      {"SHUTTER_ANGLE", 172800, "172.8"},
      {"SHUTTER_ANGLE", 0, "-90"},
      {"PAINTLOOK_DETAIL_LEVEL", static_cast<uint64_t>(-5), "-5"},
      {"PAINTLOOK_DETAIL_LEVEL", 0, "none"},
      {"PAINTLOOK_KNEE_POINT", 0xFF, "-1"},
      {"PAINTLOOK_KNEE_SLOPE", static_cast<uint64_t>(-1), "255"},
  };
  for (const TextCase& c : cases) {
    SCOPED_TRACE(std::string(c.key) + " \"" + c.text + "\"");
    const PropertyInfo& info = row(c.key);
    ASSERT_NE(info.fromText, nullptr);
    EXPECT_EQ(info.fromText(c.text), c.value);
  }
}

TEST(Formatters, MalformedNumbersAndUnknownWordsRaise) {
  const struct {
    const char* key;
    const char* text;
    bool out_of_range;
    const char* what;
  } cases[] = {
      {"EXPOSURE_INDEX", "abc", false, "stoi"},
      {"EXPOSURE_INDEX", "2147483648", true, "stoi"},
      {"SHUTTER", "Bulb", false, "stoi"},
      {"ISO", "auto", false, "stoi"},
      {"EXPOSURE_BIAS", "high", false, "stof"},
      {"FSTOP", "1e99", true, "stof"},
      {"SHUTTER_SPEED_VALUE", "1/4294967296", true, "stol"},
      {"ND_FILTER_VALUE", "x/2", false, "stol"},
      // Words a map does not know: exact and case-sensitive, no trimming, a
      // trailing carriage return included.
      {"B1", "up", false, "not a word of the map"},
      {"WB_MODE", "ColorTemp ", false, "not a word of the map"},
      {"PP_GAMMA", "SCinetone", false, "not a word of the map"},
      {"FOCUS_MODE", "AF_C\r", false, "not a word of the map"},
      {"EXPOSURE_MODE", "Manual", false, "not an exposure program"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.key) + " \"" + c.text + "\"");
    const PropertyInfo& info = row(c.key);
    try {
      (void)info.fromText(c.text);
      ADD_FAILURE() << "no exception";
    } catch (const std::out_of_range& e) {
      EXPECT_TRUE(c.out_of_range);
      EXPECT_STREQ(e.what(), c.what);
    } catch (const std::invalid_argument& e) {
      EXPECT_FALSE(c.out_of_range);
      EXPECT_STREQ(e.what(), c.what);
    }
  }
}

TEST(Formatters, MapWordsRoundTrip) {
  // Every word a map row renders for codes 0..1300 parses back to its code
  // (when the row parses words at all).
  size_t checked = 0;
  for (const auto& [code, info] : propertyTable) {
    if (info.fromText == parseDecimal) continue;
    for (uint64_t value = 0; value < 1300; ++value) {
      const std::string text = value_text(info.toText, value);
      if (text.empty() || text == "UNKNOWN" || text == "UNKOWN" || text == "Bulb" ||
          text.find_first_not_of("0123456789-./") == std::string::npos) {
        continue;
      }
      SCOPED_TRACE(info.name + " " + std::to_string(value) + " \"" + text + "\"");
      EXPECT_EQ(info.fromText(text), value);
      ++checked;
    }
  }
  EXPECT_GT(checked, 200u);
}

// The text rows' converter is handed numbers only: it must never take one
// for an address.
TEST(Formatters, TextConverterNeverDereferences) {
  EXPECT_EQ(value_text(sdkStringToText, 0), "UNKNOWN");
  EXPECT_EQ(value_text(sdkStringToText, 1), "1");
  EXPECT_EQ(value_text(sdkStringToText, UINT64_MAX), "18446744073709551615");
  EXPECT_TRUE(is_text_converter(&sdkStringToText));
  EXPECT_FALSE(is_text_converter(&formatUnsigned));
}

}  // namespace
